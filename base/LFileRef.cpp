#include "base/LFileRef.h"

#include "base/flocktimed.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Length of the well-formed UTF-8 sequence at text, or 0 if the bytes there are not one.
size_t _Utf8SequenceLength(const unsigned char* text)
{
    unsigned char lead = text[0];
    if (lead < 0x80)
        return 1;
    size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 0;
    if (length == 0 || lead > 0xf4)
        return 0;
    for (size_t i = 1; i < length; ++i)
        if ((text[i] & 0xc0) != 0x80)
            return 0;  // also stops at the terminating zero
    // Overlong forms, UTF-16 surrogates and code points above U+10FFFF are not well formed.
    if ((lead == 0xe0 && text[1] < 0xa0) || (lead == 0xed && text[1] >= 0xa0) ||
        (lead == 0xf0 && text[1] < 0x90) || (lead == 0xf4 && text[1] >= 0x90))
        return 0;
    return length;
}

}  // namespace

LFileRef& LFileRef::operator=(LFileRef&& other) noexcept
{
    if (this != &other) {
        Close();
        _fd = other.TakeDescriptor();
    }
    return *this;
}

void LFileRef::Close()
{
    if (_fd >= 0)
        close(_fd);
    _fd = -1;
}

int LFileRef::TakeDescriptor()
{
    int fd = _fd;
    _fd = -1;
    return fd;
}

bool LFileRef::Lock(int operation, unsigned int ms)
{
    return _fd >= 0 && flocktimed(_fd, operation, ms) == 0;
}

bool LFileRef::Seek64(int64_t offset)
{
    return _fd >= 0 && lseek(_fd, offset, SEEK_SET) >= 0;
}

bool LFileRef::SeekOffset64(int64_t offset)
{
    return _fd >= 0 && lseek(_fd, offset, SEEK_CUR) >= 0;
}

int64_t LFileRef::Tell64() const
{
    return _fd < 0 ? -1 : lseek(_fd, 0, SEEK_CUR);
}

int64_t LFileRef::GetFileSizeBytes64() const
{
    struct stat st {};
    if (_fd < 0 || fstat(_fd, &st) != 0)
        return -1;
    return st.st_size;
}

bool LFileRef::_OpenWith(const char* path, int flags, unsigned int mode)
{
    Close();
    do {
        _fd = open(path, flags | O_CLOEXEC, static_cast<mode_t>(mode));
    } while (_fd < 0 && errno == EINTR);
    return _fd >= 0;
}

bool LReadFileRef::Open(const char* path)
{
    return _OpenWith(path, O_RDONLY, 0);
}

size_t LReadFileRef::Read(void* dest, size_t bytes)
{
    return _fd < 0 ? 0 : LReadFully(_fd, dest, bytes);
}

bool LReadFileRef::_ReadByte(char& byte)
{
    return Read(&byte, 1) == 1;
}

void LReadFileRef::_UnreadByte()
{
    SeekOffset64(-1);
}

bool LReadFileRef::ReadLine(char* dest, unsigned long size)
{
    if (size == 0)
        return false;
    unsigned long used = 0;
    bool any = false;
    char byte = 0;
    while (_ReadByte(byte)) {
        any = true;
        if (byte == '\r' || byte == '\n') {
            char next = 0;
            // The other end character completes the pair; anything else belongs to the next line.
            if (_ReadByte(next) && (next == byte || (next != '\r' && next != '\n')))
                _UnreadByte();
            break;
        }
        if (used + 1 >= size) {
            _UnreadByte();
            break;
        }
        dest[used++] = byte;
    }
    dest[used] = 0;
    return any;
}

bool LSharedReadFile::Open(const char* path, unsigned int lockWaitMs)
{
    if (!LReadFileRef::Open(path))
        return false;
    Lock(LOCK_SH, lockWaitMs);
    return true;
}

bool LWriteFileRef::Create(const char* path, unsigned int mode)
{
    return _OpenWith(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

bool LWriteFileRef::OpenExisting(const char* path)
{
    return _OpenWith(path, O_RDWR, 0);
}

size_t LWriteFileRef::Write(const void* src, size_t bytes)
{
    return _fd < 0 ? 0 : LWriteFully(_fd, src, bytes);
}

bool LWriteFileRef::WriteString(const char* text)
{
    size_t length = strlen(text);
    return Write(text, length) == length;
}

bool LWriteFileRef::WriteStringUTF8(const char* text)
{
    constexpr size_t kChunkBytes = 512;
    unsigned char chunk[kChunkBytes + 4];
    size_t used = 0;
    const auto* in = reinterpret_cast<const unsigned char*>(text);
    while (*in) {
        size_t length = _Utf8SequenceLength(in);
        if (length > 0) {
            memcpy(chunk + used, in, length);
            used += length;
            in += length;
        } else {
            chunk[used++] = static_cast<unsigned char>(0xc0 | (*in >> 6));
            chunk[used++] = static_cast<unsigned char>(0x80 | (*in & 0x3f));
            ++in;
        }
        if (used >= kChunkBytes) {
            if (Write(chunk, used) != used)
                return false;
            used = 0;
        }
    }
    return Write(chunk, used) == used;
}

size_t LReadFully(int fd, void* dest, size_t bytes)
{
    auto* out = static_cast<unsigned char*>(dest);
    size_t done = 0;
    while (done < bytes) {
        ssize_t got = read(fd, out + done, bytes - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

size_t LWriteFully(int fd, const void* src, size_t bytes)
{
    const auto* in = static_cast<const unsigned char*>(src);
    size_t done = 0;
    while (done < bytes) {
        ssize_t put = write(fd, in + done, bytes - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            break;
        done += static_cast<size_t>(put);
    }
    return done;
}
