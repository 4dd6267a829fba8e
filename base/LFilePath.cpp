// Path text helpers of LFile: pure string work, nothing touches the disk.
#include "base/LFile.h"

#include <cstring>
#include <string_view>

namespace {

constexpr size_t kMaxFolderChars = 258;  // characters of a folder used when joining

bool _IsSeparator(char c)
{
    return c == '/' || c == '\\';
}

// Index of the last separator, or npos.
size_t _LastSeparator(std::string_view path)
{
    return path.find_last_of("/\\");
}

// Index of the "." that begins the extension, or npos. Only a "." behind the last separator
// counts, and not one that begins the path.
size_t _ExtensionStart(std::string_view path)
{
    size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return std::string_view::npos;
    size_t separator = _LastSeparator(path);
    if (separator != std::string_view::npos && dot < separator)
        return std::string_view::npos;
    return dot;
}

// A fixed buffer that collects text and cuts what doesn't fit; Store copies it out, so dest
// may be one of the inputs, and tells whether anything was cut.
class _PathText {
public:
    bool Append(std::string_view text)
    {
        size_t take = std::min(text.size(), LFile::kMaxPathChars - _used);
        if (take > 0)
            memcpy(_text + _used, text.data(), take);
        _used += take;
        _cut = _cut || take != text.size();
        return take == text.size();
    }
    bool Append(char c) { return Append(std::string_view(&c, 1)); }
    void MarkCut() { _cut = true; }
    size_t Room() const { return LFile::kMaxPathChars - _used; }
    bool Store(char* dest) const
    {
        memcpy(dest, _text, _used);
        dest[_used] = 0;
        return !_cut;
    }

private:
    char _text[LFile::kPathBytes];
    size_t _used = 0;
    bool _cut = false;
};

bool _Store(char* dest, std::string_view text)
{
    _PathText out;
    out.Append(text);
    return out.Store(dest);
}

}  // namespace

bool LFile::_FitsPath(const char* path)
{
    return strnlen(path, kPathBytes) <= kMaxPathChars;
}

bool LFile::_MakeFilePath(char* dest, const char* folder, const char* file)
{
    return _MakeFilePath(dest, folder, file, "");
}

bool LFile::_MakeFilePath(char* dest, const char* folder, const char* file, const char* extension)
{
    std::string_view folderText(folder, strnlen(folder, kMaxFolderChars + 1));
    _PathText out;
    if (folderText.size() > kMaxFolderChars) {
        folderText.remove_suffix(1);
        out.MarkCut();
    }
    out.Append(folderText);
    if (!folderText.empty() && !_IsSeparator(folderText.back()) && !_IsSeparator(file[0]))
        out.Append('/');
    out.Append(file);
    out.Append(extension);
    return out.Store(dest);
}

bool LFile::_MakeEntryPath(char* dest, const char* folder, const char* name)
{
    std::string_view folderText(folder);
    _PathText out;
    out.Append(folderText);
    if (folderText.empty() || folderText.back() != '/')
        out.Append('/');
    out.Append(name);
    return out.Store(dest);
}

bool LFile::_GetFolderFromPath(char* dest, const char* path)
{
    std::string_view text(path);
    size_t separator = _LastSeparator(text);
    if (separator == std::string_view::npos)
        return _Store(dest, "");
    if (separator == 0)
        return _Store(dest, "/");
    return _Store(dest, text.substr(0, separator));
}

bool LFile::_GetFileFromPath(char* dest, const char* path)
{
    std::string_view text(path);
    size_t separator = _LastSeparator(text);
    return _Store(dest, separator == std::string_view::npos ? text : text.substr(separator + 1));
}

bool LFile::_GetFileNameFromPath(char* dest, const char* path)
{
    std::string_view text(path);
    size_t separator = _LastSeparator(text);
    std::string_view file = separator == std::string_view::npos ? text : text.substr(separator + 1);
    size_t dot = file.rfind('.');
    return _Store(dest, dot == std::string_view::npos || dot == 0 ? file : file.substr(0, dot));
}

bool LFile::_GetFileExtensionFromPath(char* dest, const char* path)
{
    std::string_view text(path);
    size_t dot = _ExtensionStart(text);
    return _Store(dest, dot == std::string_view::npos ? std::string_view() : text.substr(dot));
}

bool LFile::_ApplyNewFileExtension(char* path, const char* extension)
{
    std::string_view text(path);
    size_t dot = _ExtensionStart(text);
    _PathText out;
    out.Append(dot == std::string_view::npos ? text : text.substr(0, dot));
    out.Append(extension);
    return out.Store(path);
}

bool LFile::EscapeFilePath(char* dest, const char* path)
{
    _PathText out;
    for (const char* c = path; *c; ++c) {
        bool special = strchr("\"\\$`", *c) != nullptr;
        if (out.Room() < (special ? 2u : 1u)) {
            out.MarkCut();
            break;
        }
        if (special)
            out.Append('\\');
        out.Append(*c);
    }
    return out.Store(dest);
}

bool LFile::PreprocessName(char* dest, const char* name)
{
    _PathText out;
    const char* c = name;
    for (; *c && out.Room() > 0; ++c) {
        bool unfit = _IsSeparator(*c) || *c == ':' || static_cast<unsigned char>(*c) < 0x20 || *c == 0x7f;
        out.Append(unfit ? '_' : *c);
    }
    if (*c)
        out.MarkCut();
    return out.Store(dest);
}
