#include "base/LLockFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A holder that releases deletes the lock file; one who opened it just before can win the lock
// on the deleted file. Those tries are repeated on the file now at the path.
constexpr int kLockTries = 3;

}  // namespace

bool LLockFile::Lock(const char* path)
{
    Unlock();
    // A cut path would lock (and on release delete) the lock file of another path.
    if (!LFile::_MakeFilePath(_lockPath, "", path) || !LFile::_ApplyNewFileExtension(_lockPath, ".lck")) {
        _lockPath[0] = 0;
        return false;
    }
    for (int i = 0; i < kLockTries; ++i) {
        if (_TryLock())
            return true;
        if (errno != ESTALE)
            break;
    }
    _lockPath[0] = 0;
    return false;
}

bool LLockFile::_TryLock()
{
    int fd = open(_lockPath, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, LFile::kFileMode);
    if (fd < 0)
        return false;
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        close(fd);
        errno = EWOULDBLOCK;
        return false;
    }
    struct stat held {}, now {};
    if (fstat(fd, &held) != 0 || stat(_lockPath, &now) != 0 || held.st_ino != now.st_ino ||
        held.st_dev != now.st_dev) {
        close(fd);
        errno = ESTALE;
        return false;
    }
    _fd = fd;
    return true;
}

void LLockFile::Unlock()
{
    if (_fd < 0)
        return;
    unlink(_lockPath);
    close(_fd);
    _fd = -1;
    _lockPath[0] = 0;
}
