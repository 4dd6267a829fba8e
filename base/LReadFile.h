#pragma once

#include <cstddef>
#include <cstdint>

// An owned read-only file descriptor (-1 when closed). Sources that take over the descriptor
// call TakeDescriptor, which leaves this object closed.
class LReadFile {
public:
    LReadFile() = default;
    explicit LReadFile(const char* path) { Open(path); }
    ~LReadFile() { Close(); }
    LReadFile(const LReadFile&) = delete;
    LReadFile& operator=(const LReadFile&) = delete;

    bool Open(const char* path);
    void Close();
    bool IsOpen() const { return _fd >= 0; }
    int GetDescriptor() const { return _fd; }
    int TakeDescriptor();

    // Reads up to `bytes`, retrying interrupted and partial reads; returns bytes read (0 at
    // the end or on error).
    size_t Read(void* dest, size_t bytes);
    bool Seek64(int64_t offset);          // from the start
    bool SeekOffset64(int64_t offset);    // from the present offset
    int64_t Tell64() const;
    int64_t GetFileSizeBytes64() const;

private:
    int _fd = -1;
};

// Reads until `bytes` are read, the end, or an error; retries EINTR. Returns bytes read.
size_t LReadFully(int fd, void* dest, size_t bytes);
// Writes all `bytes`, retrying EINTR and partial writes. Returns bytes written.
size_t LWriteFully(int fd, const void* src, size_t bytes);
