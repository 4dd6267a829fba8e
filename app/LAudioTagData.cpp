#include "app/LAudioTagData.h"

#include "app/LTrackOpener.h"
#include "base/LFile.h"
#include "base/LFileRef.h"
#include "base/LSafeWrite.h"
#include "files/LGenSource.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <vector>

namespace {

constexpr size_t kValueChars = kLTextBytes - 1;
constexpr size_t kID3v1Bytes = 128;
constexpr size_t kID3v2HeaderBytes = 10;
constexpr unsigned char kID3FlagUnsync = 0x80;
constexpr unsigned char kID3FlagExtended = 0x40;
constexpr unsigned char kID3v2FlagCompressed = 0x40;  // version 2: the whole tag, unreadable
// Frame format flags (second flag byte).
constexpr unsigned char kV3Compressed = 0x80, kV3Encrypted = 0x40, kV3Grouping = 0x20;
constexpr unsigned char kV4Grouping = 0x40, kV4Compressed = 0x08, kV4Encrypted = 0x04;
constexpr unsigned char kV4Unsync = 0x02, kV4DataLength = 0x01;
constexpr size_t kBextFixedBytes = 602;
constexpr size_t kCartFixedBytes = 2048;
// Bytes of an ID3v2 tag held in memory at most; frames behind them are not read. Covers any
// cover picture a tagger writes, while a damaged size cannot ask for hundreds of megabytes.
constexpr uint64_t kMaxID3v2Bytes = 32u << 20;
constexpr const char* kPictureName = "vantreltempartwork";

class _FileSource : public LTagByteSource {
public:
    explicit _FileSource(const char* path) : _file(path)
    {
        const int64_t size = _file.GetFileSizeBytes64();
        _size = size > 0 ? static_cast<uint64_t>(size) : 0;
    }
    bool IsOpen() const { return _file.IsOpen(); }
    uint64_t Size() const override { return _size; }
    bool ReadAt(uint64_t offset, void* dest, size_t bytes) const override
    {
        if (offset > _size || bytes > _size - offset)
            return false;
        auto& file = const_cast<LReadFileRef&>(_file);
        return file.Seek64(static_cast<int64_t>(offset)) && file.Read(dest, bytes) == bytes;
    }

private:
    LReadFileRef _file;
    uint64_t _size = 0;
};

class _MemorySource : public LTagByteSource {
public:
    _MemorySource(const void* bytes, size_t count) : _bytes(static_cast<const uint8_t*>(bytes)), _count(count) {}
    uint64_t Size() const override { return _count; }
    bool ReadAt(uint64_t offset, void* dest, size_t bytes) const override
    {
        if (offset > _count || bytes > _count - offset)
            return false;
        if (bytes > 0)  // an empty read may come with no buffer at all
            std::memcpy(dest, _bytes + offset, bytes);
        return true;
    }

private:
    const uint8_t* _bytes;
    size_t _count;
};

uint32_t _BigEndian32(const uint8_t* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

uint32_t _LittleEndian32(const uint8_t* p)
{
    return (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
}

// Four 7-bit groups, most significant first; false when a byte has its top bit set.
bool _Synchsafe32(const uint8_t* p, uint32_t& value)
{
    if ((p[0] | p[1] | p[2] | p[3]) & 0x80)
        return false;
    value = (uint32_t(p[0]) << 21) | (uint32_t(p[1]) << 14) | (uint32_t(p[2]) << 7) | p[3];
    return true;
}

// Drops the zero byte that unsynchronisation puts behind every 0xFF.
void _Resynchronise(std::vector<uint8_t>& bytes)
{
    size_t out = 0;
    for (size_t in = 0; in < bytes.size(); ++in) {
        bytes[out++] = bytes[in];
        if (bytes[in] == 0xff && in + 1 < bytes.size() && bytes[in + 1] == 0)
            ++in;
    }
    bytes.resize(out);
}

void _AppendUtf8(std::string& out, uint32_t code)
{
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xc0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xe0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (code & 0x3f));
    } else {
        out += static_cast<char>(0xf0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3f));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (code & 0x3f));
    }
}

std::string _FromISO88591(const uint8_t* text, size_t bytes)
{
    std::string out;
    for (size_t i = 0; i < bytes && text[i]; ++i)
        _AppendUtf8(out, text[i]);
    return out;
}

// UTF-16 units to UTF-8; a lone surrogate becomes U+FFFD.
std::string _FromUTF16(const std::vector<uint16_t>& units)
{
    constexpr uint32_t kReplacement = 0xfffd;
    std::string out;
    for (size_t i = 0; i < units.size(); ++i) {
        const uint32_t unit = units[i];
        if (unit >= 0xd800 && unit < 0xdc00 && i + 1 < units.size() && units[i + 1] >= 0xdc00 && units[i + 1] < 0xe000) {
            _AppendUtf8(out, 0x10000 + ((unit - 0xd800) << 10) + (units[i + 1] - 0xdc00u));
            ++i;
        } else if (unit >= 0xd800 && unit < 0xe000) {
            _AppendUtf8(out, kReplacement);
        } else {
            _AppendUtf8(out, unit);
        }
    }
    return out;
}

// The text of a fixed field: up to its first zero byte.
std::string _FixedText(const uint8_t* field, size_t bytes)
{
    return std::string(reinterpret_cast<const char*>(field), strnlen(reinterpret_cast<const char*>(field), bytes));
}

struct _KeyMap {
    const char* from;
    const char* to;
};

constexpr _KeyMap kID3v22Frames[] = {
    {"TT2", "TIT2"}, {"TP1", "TPE1"}, {"TAL", "TALB"}, {"TRK", "TRCK"}, {"TCO", "TCON"}, {"TLE", "TLEN"},
    {"TIM", "TIME"}, {"TBP", "TBPM"}, {"CNT", "PCNT"}, {"TCM", "TCOM"}, {"TT1", "TIT1"}, {"TYE", "TYER"},
    {"TDA", "TDAT"}, {"WXX", "WXXX"}, {"POP", "POPM"}, {"COM", "COMM"}, {"TPB", "TPUB"}, {"TCR", "TCOP"},
    {"TSS", "TSSE"}, {"TEN", "TENC"},
};

constexpr _KeyMap kID3v2Keys[] = {
    {"TIT2", "TITLE"},     {"TPE1", "ARTIST"},   {"TALB", "ALBUM"},    {"TYER", "YEAR"},
    {"COMM", "COMMENT"},   {"TRCK", "TRACKNUMBER"}, {"TCON", "GENRE"}, {"TCOP", "COPYRIGHT"},
    {"TPUB", "PRODUCER"},  {"TSSE", "ENCODER"},  {"TIT1", "CATEGORY"}, {"TPOS", "DISKNUMBER"},
    {"TLEN", "LENGTH"},    {"TBPM", "BPM"},      {"PCNT", "PLAYCOUNT"}, {"TCOM", "COMPOSER"},
    {"TDAT", "DATE"},      {"TIME", "TIME"},     {"POPM", "RATING"},   {"TENC", "ENCODEDBY"},
    {"WXXX", "URL"},       {"APIC", "IMAGE"},
};

constexpr _KeyMap kInfoKeys[] = {
    {"INAM", "TITLE"},   {"IART", "ARTIST"},      {"IPRD", "ALBUM"},     {"ICRD", "YEAR"},
    {"ICMT", "COMMENT"}, {"ITRK", "TRACKNUMBER"}, {"IGNR", "GENRE"},     {"ICOP", "COPYRIGHT"},
    {"ISRC", "PRODUCER"}, {"ISFT", "ENCODER"},    {"ISBJ", "CATEGORY"},
};

template <size_t N>
const char* _Lookup(const _KeyMap (&map)[N], const char* from)
{
    for (const _KeyMap& entry : map)
        if (strcmp(entry.from, from) == 0)
            return entry.to;
    return nullptr;
}

const char* MapID3v2TagToHashTag(const char* id)
{
    const char* key = _Lookup(kID3v2Keys, id);
    return key ? key : id;
}

bool _IsFrameIdChar(uint8_t c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
}

// Walks the chunks of the RIFF WAVE form and calls `use(id, dataOffset, size)` for each of its
// sub-chunks until `use` returns false. Other top-level chunks are skipped.
template <class Use>
void _ForEachWaveChunk(const LTagByteSource& file, Use use)
{
    const uint64_t fileSize = file.Size();
    uint64_t offset = 0;
    uint8_t header[12];
    while (offset + 8 <= fileSize && file.ReadAt(offset, header, 8)) {
        const uint64_t size = _LittleEndian32(header + 4);
        if (memcmp(header, "RIFF", 4) == 0 && file.ReadAt(offset + 8, header + 8, 4) && memcmp(header + 8, "WAVE", 4) == 0) {
            const uint64_t formEnd = std::min(offset + 8 + size, fileSize);
            uint64_t chunk = offset + 12;
            uint8_t sub[8];
            while (chunk + 8 <= formEnd && file.ReadAt(chunk, sub, 8)) {
                const uint32_t subSize = _LittleEndian32(sub + 4);
                const char id[5] = {char(sub[0]), char(sub[1]), char(sub[2]), char(sub[3]), 0};
                if (!use(id, chunk + 8, subSize))
                    return;
                chunk += 8 + uint64_t(subSize) + (subSize & 1);
            }
            return;
        }
        offset += 8 + size + (size & 1);
    }
}

}  // namespace

struct LAudioTagData::_Frame {
    char id[5] = {};
    size_t headerBytes = 0;
    size_t size = 0;
    unsigned char statusFlags = 0;
    unsigned char formatFlags = 0;
};

void LAudioTagData::SetTag(const char* key, const char* value, bool overwrite)
{
    if (!overwrite && GetParm(key, "")[0] != 0)
        return;
    while (*value == ' ')
        ++value;
    size_t length = strlen(value);
    while (length > 0 && value[length - 1] == ' ')
        --length;
    if (length > kValueChars) {
        length = kValueChars;
        while (length > 0 && (static_cast<unsigned char>(value[length]) & 0xc0) == 0x80)
            --length;  // the cut falls before the sequence it would split
    }
    SetParmBottom(key, std::string(value, length).c_str());
}

bool LAudioTagData::ReadTags(const char* path, int kind)
{
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    const bool wave = strcasecmp(extension, ".wav") == 0, mp3 = strcasecmp(extension, ".mp3") == 0;
    if (!wave && !mp3 && !LGenSourceIsSupported(extension))
        return false;
    _FileSource file(path);
    if (!file.IsOpen())
        return false;
    if (wave)
        return _ReadWave(file, kind);
    const bool id3 = ReadTagsMP3(file);
    if (mp3)
        return id3;
    // Other types carry their own tags; those fill what ID3 left empty.
    const bool container = ReadTagsContainer(path);
    return id3 || container;
}

bool LAudioTagData::ReadTagsFromBytes(const char* extension, const void* bytes, size_t count, int kind)
{
    _MemorySource file(bytes, count);
    if (strcasecmp(extension, ".mp3") == 0)
        return ReadTagsMP3(file);
    return strcasecmp(extension, ".wav") == 0 && _ReadWave(file, kind);
}

bool LAudioTagData::_ReadWave(const LTagByteSource& file, int kind)
{
    bool found = false;
    if (kind == kReadCart || kind == kReadAll)
        found |= ReadTagsCART(file);
    if (kind == kReadBext || kind == kReadAll)
        found |= ReadTagsBWF(file);
    if (kind == kReadInfo || kind == kReadAll)
        found |= ReadTagsWAV(file, true);
    return found;
}

bool LAudioTagData::ReadTagsMP3(const LTagByteSource& file)
{
    const bool v2 = ReadTagsID3v2(file);
    const bool v1 = ReadTagsID3v1(file);
    return v2 || v1;
}

bool LAudioTagData::ReadTagsID3v1(const LTagByteSource& file)
{
    uint8_t tag[kID3v1Bytes];
    if (file.Size() < kID3v1Bytes || !file.ReadAt(file.Size() - kID3v1Bytes, tag, kID3v1Bytes) || memcmp(tag, "TAG", 3) != 0)
        return false;
    SetTag("TITLE", _FromISO88591(tag + 3, 30).c_str(), false);
    SetTag("ARTIST", _FromISO88591(tag + 33, 30).c_str(), false);
    SetTag("ALBUM", _FromISO88591(tag + 63, 30).c_str(), false);
    if (tag[93] != 0)
        SetTag("YEAR", _FromISO88591(tag + 93, 4).c_str(), false);
    if (tag[125] == 0 && tag[126] != 0) {
        char track[8];
        std::snprintf(track, sizeof track, "%d", tag[126]);
        SetTag("TRACKNUMBER", track, false);
    }
    SetTag("COMMENT", _FromISO88591(tag + 97, 30).c_str(), false);
    SetTag("GENRE", tag[127] < kGenreCount ? Genres[tag[127]] : "", false);
    return true;
}

bool LAudioTagData::ReadTagsID3v2(const LTagByteSource& file)
{
    uint8_t header[kID3v2HeaderBytes];
    if (!file.ReadAt(0, header, sizeof header) || memcmp(header, "ID3", 3) != 0)
        return false;
    if (header[3] < 2 || header[3] > 4)
        return false;
    _minorVersion = header[3];
    uint32_t size = 0;
    if (!_Synchsafe32(header + 6, size))
        return false;  // not a size a tag can have: no tag
    if (size == 0)
        return true;
    if (_minorVersion == 2 && (header[5] & kID3v2FlagCompressed))
        return true;  // a compression that was never defined: nothing can be read
    // The tag is read whole (never past the file) so that unsynchronisation can be undone.
    const uint64_t available = file.Size() - std::min<uint64_t>(file.Size(), kID3v2HeaderBytes);
    std::vector<uint8_t> tag(static_cast<size_t>(std::min(std::min<uint64_t>(size, available), kMaxID3v2Bytes)));
    if (!file.ReadAt(kID3v2HeaderBytes, tag.data(), tag.size()))
        return true;
    if ((header[5] & kID3FlagUnsync) && _minorVersion < 4)
        _Resynchronise(tag);
    size_t start = 0;
    if ((header[5] & kID3FlagExtended) && _minorVersion >= 3 && tag.size() >= 4) {
        uint32_t extended = 0;
        if (_minorVersion == 3)
            extended = _BigEndian32(tag.data()) + 4;  // the size leaves out its own four bytes
        else if (!_Synchsafe32(tag.data(), extended))
            return true;
        start = extended;
    }
    if (start < tag.size())
        _ReadID3v2Frames(tag.data() + start, tag.size() - start);
    return true;
}

bool LAudioTagData::_GetID3v2FrameDescription(const uint8_t* tag, size_t size, size_t offset, _Frame& frame) const
{
    const size_t idBytes = _minorVersion == 2 ? 3 : 4;
    frame.headerBytes = _minorVersion == 2 ? 6 : 10;
    if (offset > size || size - offset < frame.headerBytes)
        return false;
    const uint8_t* p = tag + offset;
    for (size_t i = 0; i < idBytes; ++i)
        if (!_IsFrameIdChar(p[i]))
            return false;  // padding, or the end of what a writer filled in
    std::memcpy(frame.id, p, idBytes);
    frame.id[idBytes] = 0;
    if (_minorVersion == 2) {
        const char* mapped = _Lookup(kID3v22Frames, frame.id);
        if (mapped)
            std::snprintf(frame.id, sizeof frame.id, "%s", mapped);
        frame.size = (size_t(p[3]) << 16) | (size_t(p[4]) << 8) | p[5];
    } else {
        uint32_t value = _BigEndian32(p + 4);
        // Version 4 sizes are 7-bit groups as the standard has them; a size that is not (some
        // writers put plain integers there) is read as a plain integer.
        if (_minorVersion == 4)
            _Synchsafe32(p + 4, value);
        frame.size = value;
        frame.statusFlags = p[8];
        frame.formatFlags = p[9];
    }
    return frame.size <= size - offset - frame.headerBytes;
}

bool LAudioTagData::_ReadID3v2Frames(const uint8_t* tag, size_t size)
{
    size_t offset = 0;
    _Frame frame;
    while (_GetID3v2FrameDescription(tag, size, offset, frame)) {
        const uint8_t* data = tag + offset + frame.headerBytes;
        offset += frame.headerBytes + frame.size;
        size_t dataSize = frame.size;
        const unsigned char f = frame.formatFlags;
        const bool v3 = _minorVersion == 3, v4 = _minorVersion == 4;
        if ((v3 && (f & (kV3Compressed | kV3Encrypted))) || (v4 && (f & (kV4Compressed | kV4Encrypted))))
            continue;  // not readable without the codec or the key
        const size_t skip = (v3 && (f & kV3Grouping) ? 1 : 0) + (v4 && (f & kV4Grouping) ? 1 : 0) +
                            (v4 && (f & kV4DataLength) ? 4 : 0);
        if (skip > dataSize)
            continue;
        data += skip;
        dataSize -= skip;
        if (v4 && (f & kV4Unsync)) {
            std::vector<uint8_t> plain(data, data + dataSize);
            _Resynchronise(plain);
            _AddTagID3v2(frame.id, plain.data(), plain.size());
        } else {
            _AddTagID3v2(frame.id, data, dataSize);
        }
    }
    return true;
}

size_t LAudioTagData::ReadID3String(std::string& dest, unsigned char encoding, const uint8_t* data, size_t size)
{
    dest.clear();
    if (encoding == 0 || encoding == 3) {
        size_t length = 0;
        while (length < size && data[length] != 0)
            ++length;
        if (encoding == 0)
            dest = _FromISO88591(data, length);
        else
            dest.assign(reinterpret_cast<const char*>(data), length);
        return length < size ? length + 1 : length;
    }
    if (encoding != 1 && encoding != 2)
        return 0;
    std::vector<uint16_t> units;
    size_t used = 0;
    bool swap = encoding == 2;
    bool first = true;
    while (used + 2 <= size) {
        uint16_t unit = 0;
        if (encoding == 2)
            unit = static_cast<uint16_t>((data[used] << 8) | data[used + 1]);
        else
            std::memcpy(&unit, data + used, 2);  // the machine's order unless a mark says otherwise
        used += 2;
        if (unit == 0)
            break;
        if (encoding == 1 && first && (unit == 0xfffe || unit == 0xfeff)) {
            swap = unit == 0xfffe;
            first = false;
            continue;
        }
        first = false;
        if (encoding == 1 && swap)
            unit = static_cast<uint16_t>((unit >> 8) | (unit << 8));
        units.push_back(unit);
    }
    if (used < size && used + 2 > size)
        ++used;  // a lone last byte belongs to no unit
    dest = _FromUTF16(units);
    return used;
}

void LAudioTagData::_AddTagID3v2_GenericTBlock(const char* key, const uint8_t* data, size_t size)
{
    if (size < 1)
        return;
    std::string text;
    ReadID3String(text, data[0], data + 1, size - 1);
    SetTag(key, text.c_str(), true);
}

void LAudioTagData::_AddPicture(const uint8_t* data, size_t size)
{
    if (size < 1 || _pictureFolder.empty())
        return;
    const unsigned char encoding = data[0];
    std::string mime, description;
    size_t used = 1;
    used += ReadID3String(mime, 0, data + used, size - used);
    if (used >= size)
        return;
    ++used;  // picture type
    const size_t consumed = ReadID3String(description, encoding, data + used, size - used);
    if (consumed == 0)
        return;
    used += consumed;
    const size_t slash = mime.find('/');
    const std::string type = slash == std::string::npos ? mime : mime.substr(slash + 1);
    const char* extension = strcasecmp(type.c_str(), "jpeg") == 0 || strcasecmp(type.c_str(), "jpg") == 0 ? ".jpg"
                            : strcasecmp(type.c_str(), "png") == 0                                        ? ".png"
                            : strcasecmp(type.c_str(), "bmp") == 0                                        ? ".bmp"
                                                                                                          : nullptr;
    char picture[LFile::kPathBytes];
    if (!extension || used > size || !LFile::_MakeFilePath(picture, _pictureFolder.c_str(), kPictureName, extension))
        return;
    if (LSafeWriteFile(picture, data + used, size - used))
        SetTag("IMAGE", picture, true);
}

void LAudioTagData::_AddComment(const uint8_t* data, size_t size)
{
    if (size < 4)
        return;
    const unsigned char encoding = data[0];
    std::string description, text;
    const size_t consumed = ReadID3String(description, encoding, data + 4, size - 4);
    if (consumed == 0)
        return;
    ReadID3String(text, encoding, data + 4 + consumed, size - 4 - consumed);
    if (description == "iTunNORM" || description == "iTunSMPB" || description == "iTunes_CDDB_IDs" || text.empty())
        return;
    SetTag("COMMENT", text.c_str(), true);
}

void LAudioTagData::_AddTagID3v2(const char* id, const uint8_t* data, size_t size)
{
    char number[16];
    if (strcmp(id, "APIC") == 0) {
        _AddPicture(data, size);
    } else if (strcmp(id, "WXXX") == 0) {
        if (size < 1)
            return;
        std::string description;
        const size_t consumed = ReadID3String(description, data[0], data + 1, size - 1);
        if (consumed == 0)
            return;
        SetTag("URL", _FromISO88591(data + 1 + consumed, size - 1 - consumed).c_str(), true);
    } else if (strcmp(id, "COMM") == 0) {
        _AddComment(data, size);
    } else if (strcmp(id, "POPM") == 0) {
        std::string email;
        const size_t consumed = ReadID3String(email, 0, data, size);
        if (consumed >= size)
            return;
        std::snprintf(number, sizeof number, "%d", data[consumed]);
        SetTag("RATING", number, true);
    } else if (strcmp(id, "PCNT") == 0) {
        if (size < 4)
            return;
        std::snprintf(number, sizeof number, "%d", static_cast<int>(_BigEndian32(data)));
        SetTag("PLAYCOUNT", number, true);
    } else if (strcmp(id, "TCON") == 0) {
        if (size < 1)
            return;
        std::string text;
        ReadID3String(text, data[0], data + 1, size - 1);
        unsigned genre = 0;
        int end = 0;
        if (std::sscanf(text.c_str(), "(%3u)%n", &genre, &end) == 1 && end > 2 && size_t(end) == text.size() &&
            text[1] >= '0' && text[1] <= '9' && genre < kGenreCount)
            SetTag("GENRE", Genres[genre], true);
        else
            SetTag("GENRE", text.c_str(), true);
    } else if (id[0] == 'T' && strcmp(id, "TXXX") != 0) {
        _AddTagID3v2_GenericTBlock(MapID3v2TagToHashTag(id), data, size);
    }
}

void LAudioTagData::_SetRiffText(const char* key, const std::string& text, bool overwrite)
{
    char value[kLTextBytes];
    std::snprintf(value, sizeof value, "%s", text.c_str());
    SetString(key, value);
    SetTag(key, value, overwrite);
}

bool LAudioTagData::_ReadListInfo(const LTagByteSource& file, uint64_t offset, uint32_t size, bool overwrite)
{
    uint8_t type[4];
    if (size > file.Size() || size < 4 || !file.ReadAt(offset, type, 4) || memcmp(type, "INFO", 4) != 0)
        return false;
    const uint64_t end = std::min(offset + size, file.Size());
    uint64_t chunk = offset + 4;
    uint8_t header[8];
    while (chunk + 8 <= end && file.ReadAt(chunk, header, 8)) {
        const uint64_t chunkSize = _LittleEndian32(header + 4);
        if (chunk + 8 + chunkSize > end)
            break;
        const char id[5] = {char(header[0]), char(header[1]), char(header[2]), char(header[3]), 0};
        const char* key = _Lookup(kInfoKeys, id);
        if (key) {
            uint8_t text[kValueChars];
            const size_t bytes = static_cast<size_t>(std::min<uint64_t>(chunkSize, sizeof text));
            if (file.ReadAt(chunk + 8, text, bytes))
                _SetRiffText(key, _FixedText(text, bytes), overwrite);
        }
        chunk += 8 + chunkSize + (chunkSize & 1);
    }
    return true;
}

void LAudioTagData::_ReadDisp(const LTagByteSource& file, uint64_t offset, uint32_t size, bool overwrite)
{
    uint8_t head[4];
    if (size < 4 || !file.ReadAt(offset, head, 4) || _LittleEndian32(head) == 0)
        return;
    uint8_t text[kValueChars];
    const size_t bytes = std::min<size_t>(size - 4, sizeof text);
    if (file.ReadAt(offset + 4, text, bytes))
        _SetRiffText("TITLE", _FixedText(text, bytes), overwrite);
}

bool LAudioTagData::ReadTagsWAV(const LTagByteSource& file, bool overwrite)
{
    bool found = false;
    _ForEachWaveChunk(file, [&](const char* id, uint64_t offset, uint32_t size) {
        if (strcmp(id, "LIST") == 0) {
            if (size > file.Size())
                return false;
            found |= _ReadListInfo(file, offset, size, overwrite);
        } else if (strcmp(id, "DISP") == 0) {
            _ReadDisp(file, offset, size, overwrite);
            found = true;
        }
        return true;
    });
    return found;
}

namespace {

// The fixed part of a chunk (zero where the chunk is shorter) and what follows it, at most 259
// characters of it; false when the form has no such chunk.
bool _ReadFixedChunk(const LTagByteSource& file, const char* wanted, std::vector<uint8_t>& fixed, std::string& rest)
{
    bool found = false;
    _ForEachWaveChunk(file, [&](const char* id, uint64_t offset, uint32_t size) {
        if (strcmp(id, wanted) != 0)
            return true;
        const uint64_t available = std::min<uint64_t>(size, file.Size() - std::min(offset, file.Size()));
        const size_t fixedBytes = static_cast<size_t>(std::min<uint64_t>(available, fixed.size()));
        found = file.ReadAt(offset, fixed.data(), fixedBytes);
        if (found && available > fixed.size()) {
            uint8_t text[kValueChars];
            const size_t bytes = static_cast<size_t>(std::min<uint64_t>(available - fixed.size(), sizeof text));
            if (file.ReadAt(offset + fixed.size(), text, bytes))
                rest = _FixedText(text, bytes);
        }
        return false;
    });
    return found;
}

}  // namespace

bool LAudioTagData::ReadTagsBWF(const LTagByteSource& file)
{
    std::vector<uint8_t> bwf(kBextFixedBytes, 0);
    std::string history;
    if (!_ReadFixedChunk(file, "bext", bwf, history))
        return false;
    const uint8_t* p = bwf.data();
    char number[16];
    SetTag("COMMENT", _FixedText(p, 256).c_str(), true);
    SetTag("ORIGINATOR", _FixedText(p + 256, 32).c_str(), true);
    SetTag("REFERENCE", _FixedText(p + 288, 32).c_str(), true);
    SetTag("DATE", _FixedText(p + 320, 10).c_str(), true);
    SetTag("TIME", _FixedText(p + 330, 8).c_str(), true);
    std::snprintf(number, sizeof number, "%u", _LittleEndian32(p + 338));
    SetTag("TIMEREFLOW", number, true);
    std::snprintf(number, sizeof number, "%u", _LittleEndian32(p + 342));
    SetTag("TIMEREFHIGH", number, true);
    std::snprintf(number, sizeof number, "%x", unsigned(p[346] | (p[347] << 8)));
    SetTag("BWFVERSION", number, true);
    std::string umid;
    for (size_t i = 0; i < 64; ++i) {
        std::snprintf(number, sizeof number, "%d,", p[348 + i]);
        umid += number;
    }
    SetTag("UMID", umid.c_str(), true);
    SetTag("CODINGHISTORY", history.c_str(), true);
    return true;
}

bool LAudioTagData::ReadTagsCART(const LTagByteSource& file)
{
    std::vector<uint8_t> cart(kCartFixedBytes, 0);
    std::string tagText;
    if (!_ReadFixedChunk(file, "cart", cart, tagText))
        return false;
    const uint8_t* p = cart.data();
    struct Field {
        const char* key;
        size_t bytes;
    };
    static constexpr Field kTexts[] = {
        {"CARTVERSION", 4}, {"TITLE", 64},     {"ARTIST", 64},    {"CUTID", 64},
        {"CLIENTID", 64},   {"CATEGORY", 64},  {"CLASSIFICATION", 64}, {"OUTCUE", 64},
        {"STARTDATE", 10},  {"STARTTIME", 8},  {"ENDDATE", 10},   {"ENDTIME", 8},
        {"PRODUCER", 64},   {"PRODUCERAPPVERSION", 64}, {"USERDEF", 64},
    };
    size_t at = 0;
    for (const Field& field : kTexts) {
        SetTag(field.key, _FixedText(p + at, field.bytes).c_str(), true);
        at += field.bytes;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(_LittleEndian32(p + at)));
    SetTag("LEVELREFERENCE", text, true);
    at += 4;
    for (int timer = 1; timer <= 8; ++timer, at += 8) {
        char key[32];
        std::snprintf(key, sizeof key, "POSTTIMER%dUSAGE", timer);
        SetTag(key, _FixedText(p + at, 4).c_str(), true);
        std::snprintf(key, sizeof key, "POSTTIMER%dVALUE", timer);
        std::snprintf(text, sizeof text, "%d", static_cast<int>(_LittleEndian32(p + at + 4)));
        SetTag(key, text, true);
    }
    at += 276;  // reserved
    SetTag("URL", _FixedText(p + at, 1024).c_str(), true);
    SetTag("TAGTEXT", tagText.c_str(), true);
    return true;
}
