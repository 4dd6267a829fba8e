#include "app/LPlayList.h"

#include "app/LAudioTagData.h"
#include "app/LLoadText.h"
#include "app/LTrackOpener.h"
#include "app/LXMLElement.h"
#include "base/LFileRef.h"
#include "base/LSafeWrite.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <strings.h>

namespace {

constexpr size_t kRunItems = 50;  // items a run holds before merging
constexpr size_t kEscapedChars = LFile::kMaxPathChars;
constexpr size_t kXmlPieceBytes = 256 * 1024;  // bytes of a list file read or written at a time
constexpr const char* kXmlHead = "<playlist>\n\n";
constexpr const char* kXmlTail = "</playlist>\n";

bool _HasExtension(const char* path, const char* extension)
{
    char own[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(own, path);
    return strcasecmp(own, extension) == 0;
}

bool _HasLowerExtension(const char* path, const char* extension)
{
    char own[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(own, path);
    return strcmp(own, extension) == 0;
}

// Cuts leading and trailing spaces and tabs in place; returns the first kept character.
char* _Trim(char* text)
{
    while (*text == ' ' || *text == '\t')
        ++text;
    size_t end = strlen(text);
    while (end > 0 && (text[end - 1] == ' ' || text[end - 1] == '\t'))
        text[--end] = 0;
    return text;
}

void _AppendF(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void _AppendF(std::string& out, const char* format, ...)
{
    char buffer[64];
    va_list args;
    va_start(args, format);
    const int wanted = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (wanted < 0)
        return;
    if (static_cast<size_t>(wanted) < sizeof buffer) {
        out.append(buffer, static_cast<size_t>(wanted));
        return;
    }
    std::string big(static_cast<size_t>(wanted) + 1, '\0');
    va_start(args, format);
    std::vsnprintf(big.data(), big.size(), format, args);
    va_end(args);
    out.append(big.data(), static_cast<size_t>(wanted));
}

// Bytes written as a writer answers them, held at the largest int.
int _WriteResult(size_t bytes)
{
    return static_cast<int>(std::min<size_t>(bytes, std::numeric_limits<int>::max()));
}

int _WriteWhole(const char* path, const std::string& bytes)
{
    if (!LSafeWriteFile(path, bytes.data(), bytes.size()))
        return kPlayListWriteFailed;
    return _WriteResult(bytes.size());
}

// Each line of `text` (ended by LF, CR, CR LF or LF CR), cut at 259 characters like a line read
// from the file, to `use`.
template <class Use>
void _ForEachLine(const char* text, size_t bytes, Use use)
{
    char line[LFile::kPathBytes];
    size_t i = 0;
    while (i < bytes) {
        size_t used = 0;
        while (i < bytes && text[i] != '\r' && text[i] != '\n' && used < LFile::kMaxPathChars)
            line[used++] = text[i++];
        if (i < bytes && (text[i] == '\r' || text[i] == '\n')) {
            const char end = text[i++];
            if (i < bytes && (text[i] == '\r' || text[i] == '\n') && text[i] != end)
                ++i;
        }
        line[used] = 0;
        use(line);
    }
}

// The whole of a small list file; false if it can't be read.
bool _ReadListFile(const char* path, std::string& text)
{
    return LLoadText(path, text);
}

// Text of all the text children of an element, as one value.
std::string _TextOf(const LXMLElement& element)
{
    std::string text;
    for (const auto& child : element.GetChildren())
        if (child->IsText())
            text += child->GetData();
    return text;
}

// The escaped form of one character, or null when it is copied as it is.
const char* _EntityOf(const char* text, size_t& consumed)
{
    consumed = 1;
    switch (text[0]) {
    case '&': return "&amp;";
    case '"': return "&quot;";
    case '\r':
    case '\n': {
        // A line end is CR, LF or a pair of the two; a second line end right behind makes "<p>".
        size_t length = 1;
        if ((text[1] == '\r' || text[1] == '\n') && text[1] != text[0])
            length = 2;
        if (text[length] == '\r' || text[length] == '\n') {
            size_t second = 1;
            if ((text[length + 1] == '\r' || text[length + 1] == '\n') && text[length + 1] != text[length])
                second = 2;
            consumed = length + second;
            return "<p>";
        }
        consumed = length;
        return "<br>";
    }
    default: return nullptr;
    }
}

// Bytes of the UTF-8 sequence at `text` (1 for a byte that begins none, or whose sequence is
// broken off), so that a cut never splits a character and never swallows a byte of markup.
size_t _SequenceBytes(const char* text)
{
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    const size_t bytes = lead >= 0xf0 && lead < 0xf8 ? 4 : lead >= 0xe0 && lead < 0xf0 ? 3 : lead >= 0xc0 && lead < 0xe0 ? 2 : 1;
    for (size_t i = 1; i < bytes; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xc0) != 0x80)
            return 1;
    return bytes;
}

}  // namespace

void LHTMLEncodeToWriter(std::string& out, const char* text)
{
    size_t written = 0;
    for (size_t i = 0; text[i] != 0;) {
        if (text[i] == '<' || text[i] == '>') {
            ++i;
            continue;
        }
        size_t consumed = 1;
        const char* entity = _EntityOf(text + i, consumed);
        const size_t bytes = entity ? strlen(entity) : _SequenceBytes(text + i);
        if (written + bytes > kEscapedChars)
            break;
        if (entity)
            out += entity;
        else
            out.append(text + i, bytes);
        written += bytes;
        i += entity ? consumed : bytes;
    }
}

void LPlayItem::SetPath(const char* path)
{
    _path.assign(path, strnlen(path, LFile::kMaxPathChars));
}

bool LPlayList::IsPlayListFile(const char* path)
{
    return _HasExtension(path, ".pls") || _HasExtension(path, ".m3u") || _HasExtension(path, ".xml");
}

void LPlayList::Load(const char* path)
{
    // By the extension in any case; the readers below insist on lower case, so read here.
    const bool m3u = _HasExtension(path, ".m3u"), pls = _HasExtension(path, ".pls");
    if (!m3u && !pls && !_HasExtension(path, ".xml"))
        return;
    if (!m3u && !pls) {
        LoadXmlFile(path);
        return;
    }
    std::string text;
    if (!_ReadListFile(path, text))
        return;
    if (m3u)
        LoadM3uText(text.data(), text.size(), path);
    else
        LoadPlsText(text.data(), text.size(), path);
}

int LPlayList::Save(const char* path, bool extended) const
{
    if (_HasExtension(path, ".pls"))
        return SaveToPls(path, extended);
    if (_HasExtension(path, ".m3u"))
        return SaveToM3u(path, extended);
    if (_HasExtension(path, ".xml"))
        return SaveToXml(path);
    return 0;
}

void LPlayList::LoadM3u(const char* path)
{
    std::string text;
    if (_HasLowerExtension(path, ".m3u") && _ReadListFile(path, text))
        LoadM3uText(text.data(), text.size(), path);
}

void LPlayList::LoadPls(const char* path)
{
    std::string text;
    if (_HasLowerExtension(path, ".pls") && _ReadListFile(path, text))
        LoadPlsText(text.data(), text.size(), path);
}

void LPlayList::LoadXml(const char* path)
{
    if (_HasLowerExtension(path, ".xml"))
        LoadXmlFile(path);
}

bool LPlayList::LoadXmlFile(const char* path)
{
    {
        LSharedReadFile file;
        if (!file.Open(path))
            return false;
        LPlayListWrittenXmlReader reader;
        std::vector<char> piece(kXmlPieceBytes);
        for (;;) {
            const size_t got = file.Read(piece.data(), piece.size());
            if (got == 0) {
                if (reader.Finish(*this))
                    return true;
                break;
            }
            if (!reader.Feed(piece.data(), got))
                break;
        }
    }
    std::string text;  // not in the written form: the tree reader takes the whole text
    return _ReadListFile(path, text) && LoadXmlTree(text.c_str());
}

void LPlayList::_AddLine(const char* line, const char* listFolder)
{
    if (line[0] == 0 || line[0] == '#')
        return;
    if (line[0] == '/' || line[0] == '\\' || line[1] == ':') {
        AddSingleTrack(line);
        return;
    }
    char joined[LFile::kPathBytes];
    if (LFile::_MakeFilePath(joined, listFolder, line))
        AddSingleTrack(joined);  // a cut path would name another file
}

void LPlayList::LoadM3uText(const char* text, size_t bytes, const char* listPath)
{
    char folder[LFile::kPathBytes];
    if (!LFile::_GetFolderFromPath(folder, listPath))
        return;
    _ForEachLine(text, bytes, [&](char* line) { _AddLine(_Trim(line), folder); });
}

void LPlayList::LoadPlsText(const char* text, size_t bytes, const char* listPath)
{
    char folder[LFile::kPathBytes];
    if (!LFile::_GetFolderFromPath(folder, listPath))
        return;
    _ForEachLine(text, bytes, [&](char* line) {
        line = _Trim(line);
        if (strncmp(line, "File", 4) != 0 && strncmp(line, "file", 4) != 0)
            return;
        // A lower-case "file" line is read like an upper-case one: the path follows the "=".
        const char* equals = strchr(line + 4, '=');
        if (equals)
            _AddLine(_Trim(const_cast<char*>(equals + 1)), folder);
    });
}

bool LPlayList::LoadXmlText(const char* text)
{
    return LPlayListReadWrittenXml(*this, text) || LoadXmlTree(text);
}

bool LPlayList::LoadXmlTree(const char* text)
{
    LXMLDocument document;
    const bool clean = document.Parse(text);
    bool found = false;
    NamedElementIterator list(document, "playlist");
    while (list.Next()) {
        found = true;
        NamedElementIterator entry(*list, "playitem");
        while (entry.Next()) {
            auto item = std::make_unique<LPlayItem>();
            for (const auto& child : entry->GetChildren()) {
                const char* name = child->GetName();
                if (!name)
                    continue;
                const std::string value = _TextOf(*child);
                if (strcmp(name, "path") == 0)
                    item->SetPath(value.c_str());
                else if (!value.empty())
                    item->Parms().SetParmBottom(name, value.c_str());
            }
            AddItem(std::move(item));
        }
    }
    return clean && found;
}

namespace {

void _AppendXmlItem(std::string& out, const LPlayItem& item)
{
    out += "\t<playitem>\n\t\t<path>";
    LHTMLEncodeToWriter(out, item.GetPath());
    out += "</path>\n";
    for (const LHashNode& parm : item.Parms()) {
        out += "\t\t<";
        out += parm.GetKey();
        out += '>';
        LHTMLEncodeToWriter(out, parm.GetData());
        out += "</";
        out += parm.GetKey();
        out += ">\n";
    }
    out += "\t</playitem>\n\n";
}

}  // namespace

std::string LPlayList::FormatXml() const
{
    std::string out = kXmlHead;
    for (const auto& item : _items)
        _AppendXmlItem(out, *item);
    out += kXmlTail;
    return out;
}

int LPlayList::SaveToXml(const char* path) const
{
    // Written a piece at a time, so a large library is never held twice in memory.
    LSafeWrite out(path);
    if (!out.Begin())
        return kPlayListWriteFailed;
    std::string piece = kXmlHead;
    size_t written = 0;
    auto flush = [&] {
        written += piece.size();
        const bool ok = out.Write(piece.data(), piece.size());
        piece.clear();
        return ok;
    };
    for (const auto& item : _items) {
        _AppendXmlItem(piece, *item);
        if (piece.size() >= kXmlPieceBytes && !flush())
            return kPlayListWriteFailed;
    }
    piece += kXmlTail;
    if (!flush() || !out.Commit())
        return kPlayListWriteFailed;
    return _WriteResult(written);
}

int LPlayList::SaveToM3u(const char* path, bool extended) const
{
    std::string out = extended ? "#EXTM3U\n" : "";
    char relative[LFile::kPathBytes];
    for (const auto& item : _items) {
        if (extended) {
            int seconds = 0;
            char title[LFile::kPathBytes];
            GetTrackTimeSeconds(seconds, item->GetPath());
            GetTrackTitle(title, item->GetPath());
            _AppendF(out, "#EXTINF:%d,%s\n", seconds, title);
        }
        MakePathRelative(relative, item->GetPath(), path);
        _AppendF(out, "%s\n", relative);
    }
    return _WriteWhole(path, out);
}

int LPlayList::SaveToPls(const char* path, bool extended) const
{
    std::string out = "[playlist]\n";
    char relative[LFile::kPathBytes];
    int number = 0;
    for (const auto& item : _items) {
        ++number;
        MakePathRelative(relative, item->GetPath(), path);
        _AppendF(out, "File%d=%s\n", number, relative);
        if (extended) {
            int seconds = 0;
            char title[LFile::kPathBytes];
            GetTrackTimeSeconds(seconds, item->GetPath());
            GetTrackTitle(title, item->GetPath());
            _AppendF(out, "Title%d=%s\nLength%d=%d\n", number, title, number, seconds);
        }
    }
    _AppendF(out, "NumberOfEntries=%d\n\nVersion=2", number);
    return _WriteWhole(path, out);
}

void LPlayList::AddSingleTrack(const char* path)
{
    auto item = std::make_unique<LPlayItem>(path);
    item->SetIndex(static_cast<int>(_items.size()));
    _items.push_back(std::move(item));
}

void LPlayList::AddItem(const LPlayItem& item)
{
    auto copy = std::make_unique<LPlayItem>(item);
    copy->SetIndex(static_cast<int>(_items.size()));
    _items.push_back(std::move(copy));
}

void LPlayList::AddItem(std::unique_ptr<LPlayItem> item)
{
    item->SetIndex(static_cast<int>(_items.size()));
    _items.push_back(std::move(item));
}

void LPlayList::_Renumber()
{
    int index = 0;
    for (auto& item : _items)
        item->SetIndex(index++);
}

LPlayItem* LPlayList::_FindByIndex(int index)
{
    for (auto& item : _items)
        if (item->GetIndex() == index)
            return item.get();
    return nullptr;
}

void LPlayList::RemoveSingleItem(int index)
{
    for (auto it = _items.begin(); it != _items.end(); ++it) {
        if ((*it)->GetIndex() == index) {
            _items.erase(it);
            break;
        }
    }
    _Renumber();
}

void LPlayList::MoveSingleItem(int from, int to)
{
    LPlayItem* moved = _FindByIndex(from);
    const LPlayItem* target = _FindByIndex(to);
    if (!moved || (target && strcmp(moved->GetPath(), target->GetPath()) == 0))
        return;
    moved->SetIndex(to);
    const int low = from > to ? to : from, high = from > to ? from : to, step = from > to ? 1 : -1;
    for (auto& item : _items) {
        if (strcmp(item->GetPath(), moved->GetPath()) == 0)
            continue;  // told apart by path: the moved item and its namesakes stay
        if (item->GetIndex() >= low && item->GetIndex() <= high)
            item->SetIndex(item->GetIndex() + step);
    }
    Sort();
}

bool LPlayList::Sort()
{
    if (_items.size() < 2)
        return false;
    bool moved = false;
    // Runs of kRunItems, each sorted by exchanging neighbours (stable).
    for (size_t start = 0; start < _items.size(); start += kRunItems) {
        const size_t end = std::min(start + kRunItems, _items.size());
        for (size_t pass = end; pass > start + 1; --pass) {
            bool swapped = false;
            for (size_t i = start; i + 1 < pass; ++i) {
                if (_items[i + 1]->GetIndex() < _items[i]->GetIndex()) {
                    std::swap(_items[i], _items[i + 1]);
                    swapped = moved = true;
                }
            }
            if (!swapped)
                break;
        }
    }
    // Neighbouring runs merged pairwise until one is left; ties keep the left run first.
    Items merged;
    merged.reserve(_items.size());
    for (size_t width = kRunItems; width < _items.size(); width *= 2) {
        merged.clear();
        for (size_t left = 0; left < _items.size(); left += 2 * width) {
            const size_t middle = std::min(left + width, _items.size());
            const size_t right = std::min(left + 2 * width, _items.size());
            size_t a = left, b = middle;
            while (a < middle || b < right) {
                const bool takeRight = a == middle || (b < right && _items[b]->GetIndex() < _items[a]->GetIndex());
                if (takeRight && a < middle)
                    moved = true;
                merged.push_back(std::move(_items[takeRight ? b++ : a++]));
            }
        }
        _items.swap(merged);
    }
    return moved;
}

void LPlayList::MakePathRelative(char* dest, const char* path, const char* listPath)
{
    // Only a path inside the list's folder is made relative: a folder name met elsewhere in the
    // path (for "/music" in "/data/music/a.mp3") would name another file.
    char folder[LFile::kPathBytes];
    LFile::_GetFolderFromPath(folder, listPath);
    const size_t length = strlen(folder);
    const bool inside = length > 0 && strncmp(path, folder, length) == 0 &&
                        (path[length] == '/' || path[length] == '\\' || folder[length - 1] == '/');
    const char* rest = inside ? path + length + (folder[length - 1] == '/' ? 0 : 1) : nullptr;
    std::snprintf(dest, LFile::kPathBytes, "%s", rest && *rest ? rest : path);
}

void LPlayList::GetTrackTitle(char* dest, const char* path)
{
    if (path[0] == 0)
        return;
    LAudioTagData tags;
    tags.SetPictureFolder("");  // only the title and artist are wanted
    tags.ReadTags(path, LAudioTagData::kReadAll);
    const char* title = tags.GetParm("TITLE", "");
    const char* artist = tags.GetParm("ARTIST", "");
    if (title[0] && artist[0])
        std::snprintf(dest, LFile::kPathBytes, "%s - %s", artist, title);
    else
        LFile::_GetFileNameFromPath(dest, path);
}

bool LPlayList::GetTrackTimeSeconds(int& seconds, const char* path)
{
    seconds = 0;
    LTrackFacts facts;
    LProcessInterfaceVoid quiet;
    if (!LGetTrackOpener().Open(path, facts, quiet) || facts.rate <= 0)
        return false;
    const long long ms = static_cast<long long>(facts.lengthSamples) * 1000 / facts.rate;
    seconds = static_cast<int>(std::lround(static_cast<double>(ms) * 0.001));
    return true;
}
