#pragma once

#include "base/LFile.h"

// A lock between processes on a path, held as an exclusive lock on a file beside it whose
// extension is ".lck". The lock file is deleted when the lock is released.
class LLockFile {
public:
    LLockFile() = default;
    ~LLockFile() { Unlock(); }
    LLockFile(const LLockFile&) = delete;
    LLockFile& operator=(const LLockFile&) = delete;

    // Releases any earlier lock of this object, then takes the lock for `path` without waiting.
    // False if someone else holds it, the lock file's path does not fit, or it can't be made.
    bool Lock(const char* path);
    void Unlock();
    bool IsLocked() const { return _fd >= 0; }
    const char* GetLockPath() const { return _lockPath; }

private:
    bool _TryLock();

    int _fd = -1;
    char _lockPath[LFile::kPathBytes] = "";
};
