#include "base/LReadFileBuffered.h"

#include <algorithm>
#include <cstring>

bool LReadFileBuffered::Open(const char* path)
{
    Close();
    if (!_file.Open(path))
        return false;
    _buffer.resize(kBufferBytes);
    return true;
}

void LReadFileBuffered::Close()
{
    _file.Close();
    _bufferUsed = _bufferEnd = 0;
    _position = 0;
}

bool LReadFileBuffered::_Fill()
{
    _bufferUsed = 0;
    _bufferEnd = _file.Read(_buffer.data(), _buffer.size());
    return _bufferEnd > 0;
}

size_t LReadFileBuffered::Read(void* dest, size_t bytes)
{
    auto* out = static_cast<unsigned char*>(dest);
    size_t done = 0;
    while (done < bytes && _file.IsOpen()) {
        if (_Buffered() == 0) {
            // A large read goes straight to the file rather than through the buffer.
            if (bytes - done >= _buffer.size()) {
                _bufferUsed = _bufferEnd = 0;
                size_t got = _file.Read(out + done, bytes - done);
                done += got;
                _position += static_cast<int64_t>(got);
                break;
            }
            if (!_Fill())
                break;
        }
        size_t take = std::min(_Buffered(), bytes - done);
        memcpy(out + done, _buffer.data() + _bufferUsed, take);
        _bufferUsed += take;
        done += take;
        _position += static_cast<int64_t>(take);
    }
    return done;
}

bool LReadFileBuffered::Seek64(int64_t offset)
{
    if (!_file.IsOpen() || offset < 0)
        return false;
    // A target inside the buffer moves within it; anything else drops the buffer.
    int64_t bufferStart = _position - static_cast<int64_t>(_bufferUsed);
    if (offset >= bufferStart && offset <= bufferStart + static_cast<int64_t>(_bufferEnd)) {
        _bufferUsed = static_cast<size_t>(offset - bufferStart);
        _position = offset;
        return true;
    }
    if (!_file.Seek64(offset))
        return false;
    _bufferUsed = _bufferEnd = 0;
    _position = offset;
    return true;
}

bool LReadFileBuffered::SeekOffset64(int64_t offset)
{
    return Seek64(_position + offset);
}
