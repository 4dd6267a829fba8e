#include "base/LReadFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool LReadFile::Open(const char* path)
{
    Close();
    do {
        _fd = open(path, O_RDONLY | O_CLOEXEC);
    } while (_fd < 0 && errno == EINTR);
    return _fd >= 0;
}

void LReadFile::Close()
{
    if (_fd >= 0)
        close(_fd);
    _fd = -1;
}

int LReadFile::TakeDescriptor()
{
    int fd = _fd;
    _fd = -1;
    return fd;
}

size_t LReadFile::Read(void* dest, size_t bytes)
{
    return _fd < 0 ? 0 : LReadFully(_fd, dest, bytes);
}

bool LReadFile::Seek64(int64_t offset)
{
    return _fd >= 0 && lseek(_fd, offset, SEEK_SET) >= 0;
}

bool LReadFile::SeekOffset64(int64_t offset)
{
    return _fd >= 0 && lseek(_fd, offset, SEEK_CUR) >= 0;
}

int64_t LReadFile::Tell64() const
{
    return _fd < 0 ? -1 : lseek(_fd, 0, SEEK_CUR);
}

int64_t LReadFile::GetFileSizeBytes64() const
{
    struct stat st {};
    if (_fd < 0 || fstat(_fd, &st) != 0)
        return -1;
    return st.st_size;
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
