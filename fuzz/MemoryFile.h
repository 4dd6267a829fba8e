#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

// A fuzz input as a file the readers open by path: an anonymous memory file, reached through
// /proc so nothing touches the disk.
class MemoryFile {
public:
    MemoryFile(const char* name, const uint8_t* data, size_t size) : _fd(memfd_create(name, MFD_CLOEXEC))
    {
        if (_fd >= 0 && size > 0 && write(_fd, data, size) != static_cast<ssize_t>(size)) {
            close(_fd);
            _fd = -1;
        }
        std::snprintf(_path, sizeof _path, "/proc/self/fd/%d", _fd);
    }
    ~MemoryFile()
    {
        if (_fd >= 0)
            close(_fd);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    bool IsOpen() const { return _fd >= 0; }
    const char* Path() const { return _path; }

private:
    int _fd;
    char _path[64] = "";
};
