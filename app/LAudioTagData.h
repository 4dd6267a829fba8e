#pragma once

#include "app/LHashTable.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Bytes of a file the tag readers see: a file on disk or bytes in memory.
class LTagByteSource {
public:
    virtual ~LTagByteSource() = default;
    virtual uint64_t Size() const = 0;
    // Reads `bytes` at `offset`; false unless all of them were there.
    virtual bool ReadAt(uint64_t offset, void* dest, size_t bytes) const = 0;
};

// The text metadata of an audio file in one table of upper-case keys, whatever the format:
// ID3v1 and ID3v2 (MP3), RIFF LIST INFO, DISP, bext and cart (WAVE), and for other files the
// container's own tags (Vorbis comments, MP4 atoms) as FFmpeg reads them. Values are at most
// 259 characters, trimmed of leading and trailing spaces. Reading stops quietly at anything
// malformed; what was set stays.
class LAudioTagData : public LHashTable {
public:
    enum ReadKind : int {
        kReadInfo = 0,  // WAVE: LIST INFO and DISP
        kReadBext = 1,
        kReadCart = 2,
        kReadAll = 3,   // cart, then bext, then LIST INFO, whose values win
    };

    // The 148 ID3v1 genre names.
    static constexpr int kGenreCount = 148;
    static const char* const Genres[kGenreCount];

    // By the extension in any case: ".wav" by `kind`, ".mp3" ID3v2 then ID3v1, any other type
    // ID3 and then the container's tags. True if a tag was found.
    bool ReadTags(const char* path, int kind);
    // The same over bytes in memory, for a file of the given extension (".wav", ".mp3").
    bool ReadTagsFromBytes(const char* extension, const void* bytes, size_t count, int kind);

    // Unless `overwrite`, a key with a non-empty value stays. The value is trimmed of spaces
    // and cut at 259 characters (never inside a UTF-8 sequence).
    void SetTag(const char* key, const char* value, bool overwrite);

    bool ReadTagsMP3(const LTagByteSource& file);
    bool ReadTagsID3v1(const LTagByteSource& file);
    bool ReadTagsID3v2(const LTagByteSource& file);
    bool ReadTagsWAV(const LTagByteSource& file, bool overwrite);
    bool ReadTagsBWF(const LTagByteSource& file);
    bool ReadTagsCART(const LTagByteSource& file);
    // Vorbis comments, MP4 atoms and the like through libavformat; fills only empty keys.
    bool ReadTagsContainer(const char* path);

    // The ID3v2 version of the tag being read: 2, 3 or 4.
    int GetMinorVersion() const { return _minorVersion; }
    // Where APIC pictures go ("/var/tmp" by default); "" keeps pictures out of files.
    void SetPictureFolder(const char* folder) { _pictureFolder = folder; }

    // Text of an ID3v2 string at the start of `data` (at most `size` bytes) in `encoding` 0-3,
    // as UTF-8 into `dest`; returns the bytes consumed, its terminator included; 0 for an
    // unknown encoding.
    static size_t ReadID3String(std::string& dest, unsigned char encoding, const uint8_t* data, size_t size);

private:
    struct _Frame;

    bool _ReadWave(const LTagByteSource& file, int kind);
    bool _ReadID3v2Frames(const uint8_t* tag, size_t size);
    bool _GetID3v2FrameDescription(const uint8_t* tag, size_t size, size_t offset, _Frame& frame) const;
    void _AddTagID3v2(const char* id, const uint8_t* data, size_t size);
    void _AddTagID3v2_GenericTBlock(const char* key, const uint8_t* data, size_t size);
    void _AddPicture(const uint8_t* data, size_t size);
    void _AddComment(const uint8_t* data, size_t size);
    bool _ReadListInfo(const LTagByteSource& file, uint64_t offset, uint32_t size, bool overwrite);
    void _ReadDisp(const LTagByteSource& file, uint64_t offset, uint32_t size, bool overwrite);
    void _SetRiffText(const char* key, const std::string& text, bool overwrite);

    int _minorVersion = 0;
    std::string _pictureFolder = "/var/tmp";
};
