#pragma once

#include "base/LFileRef.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// A read handle with a buffer, for parsers that read many small pieces. Positions are 64-bit
// and count from the start of the file, whatever the buffer holds.
class LReadFileBuffered {
public:
    static constexpr size_t kBufferBytes = 64 * 1024;

    LReadFileBuffered() = default;
    explicit LReadFileBuffered(const char* path) { Open(path); }

    bool Open(const char* path);
    void Close();
    bool IsOpen() const { return _file.IsOpen(); }

    // Returns the bytes read; short only at the end of the file or on an error.
    size_t Read(void* dest, size_t bytes);
    bool Seek64(int64_t offset);        // from the start; not past 0 backwards
    bool SeekOffset64(int64_t offset);  // from the present position
    int64_t Tell64() const { return _file.IsOpen() ? _position : -1; }
    int64_t GetFileSizeBytes64() const { return _file.GetFileSizeBytes64(); }

private:
    size_t _Buffered() const { return _bufferEnd - _bufferUsed; }
    bool _Fill();

    LReadFileRef _file;
    std::vector<unsigned char> _buffer;
    size_t _bufferUsed = 0;  // bytes of _buffer already handed out
    size_t _bufferEnd = 0;   // bytes of _buffer that hold file data
    int64_t _position = 0;   // file position of the next byte handed out
};
