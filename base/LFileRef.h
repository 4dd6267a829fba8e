#pragma once

#include <cstddef>
#include <cstdint>

// Small file handles over a descriptor (-1 when closed). Each object owns its descriptor and
// closes it when it goes; a handle belongs to one thread.
class LFileRef {
public:
    LFileRef() = default;
    ~LFileRef() { Close(); }
    LFileRef(const LFileRef&) = delete;
    LFileRef& operator=(const LFileRef&) = delete;
    LFileRef(LFileRef&& other) noexcept : _fd(other.TakeDescriptor()) {}
    LFileRef& operator=(LFileRef&& other) noexcept;

    void Close();
    bool IsOpen() const { return _fd >= 0; }
    int GetDescriptor() const { return _fd; }
    // Hands the descriptor to the caller and leaves this object closed.
    int TakeDescriptor();

    // flock through flocktimed: LOCK_SH or LOCK_EX, waiting at most `ms` milliseconds.
    bool Lock(int operation, unsigned int ms);

    bool Seek64(int64_t offset);        // from the start
    bool SeekOffset64(int64_t offset);  // from the present offset
    int64_t Tell64() const;             // -1 when closed
    int64_t GetFileSizeBytes64() const; // -1 when closed

protected:
    bool _OpenWith(const char* path, int flags, unsigned int mode);

    int _fd = -1;
};

class LReadFileRef : public LFileRef {
public:
    LReadFileRef() = default;
    explicit LReadFileRef(const char* path) { Open(path); }

    bool Open(const char* path);
    // Reads up to `bytes`, retrying interrupted and partial reads; returns the bytes read (short
    // only at the end of the file or on an error).
    size_t Read(void* dest, size_t bytes);

    // One line into dest (always zero-ended when size > 0). CR LF and LF CR end a line as one;
    // a repeated CR or LF is left for the next line, so blank lines survive. A line of size - 1
    // or more characters is cut there and its rest comes as the next line. False only at the
    // end of the file with nothing read.
    bool ReadLine(char* dest, unsigned long size);

private:
    bool _ReadByte(char& byte);
    void _UnreadByte();
};

// A reader that waits (bounded) for writers holding an exclusive lock before it reads, so that a
// file being saved by another process is read whole. The lock is held until Close.
class LSharedReadFile : public LReadFileRef {
public:
    static constexpr unsigned int kLockWaitMs = 1000;  // milliseconds

    LSharedReadFile() = default;
    explicit LSharedReadFile(const char* path) { Open(path); }

    // False only if the file can't be opened; a lock that can't be had in time is read anyway.
    bool Open(const char* path, unsigned int lockWaitMs = kLockWaitMs);
};

class LWriteFileRef : public LFileRef {
public:
    LWriteFileRef() = default;

    // Creates or truncates `path` for writing, with `mode` (before the umask, which is 0 in the
    // program). A file the user keeps is better written whole through LSafeWrite.
    bool Create(const char* path, unsigned int mode = kCreateMode);

    static constexpr unsigned int kCreateMode = 0644;  // never writable by others
    // Opens an existing file for reading and writing, without truncating it.
    bool OpenExisting(const char* path);

    // Writes all `bytes`; returns the bytes written (short only on an error).
    size_t Write(const void* src, size_t bytes);
    bool WriteString(const char* text);
    // Writes text as valid UTF-8: well-formed sequences as they are, any other byte taken as
    // ISO 8859-1 and encoded.
    bool WriteStringUTF8(const char* text);
};

// Reads until `bytes` are read, the end, or an error; retries EINTR. Returns bytes read.
size_t LReadFully(int fd, void* dest, size_t bytes);
// Writes all `bytes`, retrying EINTR and partial writes. Returns bytes written.
size_t LWriteFully(int fd, const void* src, size_t bytes);
