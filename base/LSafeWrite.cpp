#include "base/LSafeWrite.h"

#include "base/LFileRef.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kTemporaryEnd = ".tmp";
// Room a temporary's name keeps for "." + "." + pid + "-" + counter + ".tmp".
constexpr size_t kTemporaryExtraChars = 40;
constexpr size_t kStemNameChars = NAME_MAX - kTemporaryExtraChars;

// Tells temporaries of one process apart when several threads write the same target.
std::atomic<unsigned long> gTemporaryCounter{0};

// Reads decimal digits at `text`; false if there are none or they overflow.
bool _ReadNumber(const char*& text, unsigned long& value)
{
    if (*text < '0' || *text > '9')
        return false;
    errno = 0;
    char* end = nullptr;
    value = std::strtoul(text, &end, 10);
    text = end;
    return errno == 0;
}

bool _ProcessIsGone(pid_t pid)
{
    return kill(pid, 0) != 0 && errno == ESRCH;
}

void _SyncFolder(const std::string& folder)
{
    int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    // Some file systems cannot sync a folder; the rename has been made either way.
    fsync(fd);
    close(fd);
}

}  // namespace

LSafeWrite::LSafeWrite(const char* target, mode_t mode) : _target(target ? target : ""), _mode(mode & 0777)
{
    size_t slash = _target.rfind('/');
    _folder = slash == std::string::npos ? "." : slash == 0 ? "/" : _target.substr(0, slash);
    std::string name = slash == std::string::npos ? _target : _target.substr(slash + 1);
    if (!name.empty())
        _stem = "." + name.substr(0, kStemNameChars) + ".";
}

bool LSafeWrite::Begin()
{
    Abandon();
    if (_stem.empty())
        return false;
    _RemoveStaleTemporaries();
    std::string temporary = _folder + "/" + _stem + std::to_string(getpid()) + "-" +
                            std::to_string(gTemporaryCounter.fetch_add(1)) + kTemporaryEnd;
    do {
        _fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, _ModeForNewFile());
    } while (_fd < 0 && errno == EINTR);
    if (_fd < 0)
        return false;
    _temporary = std::move(temporary);
    _failed = false;
    return true;
}

bool LSafeWrite::Write(const void* data, size_t bytes)
{
    bool ok = _fd >= 0 && LWriteFully(_fd, data, bytes) == bytes;
    _failed = _failed || !ok;
    return ok;
}

bool LSafeWrite::Commit()
{
    if (_fd < 0)
        return false;
    // Whatever a writer by path did to the mode, the file gets no more than was asked.
    struct stat now {};
    bool ok = !_failed && fstat(_fd, &now) == 0;
    mode_t wanted = _ModeForNewFile();
    if (ok && (now.st_mode & 07777 & ~wanted) != 0)
        ok = fchmod(_fd, now.st_mode & wanted) == 0;
    ok = ok && fsync(_fd) == 0;
    ok = close(_fd) == 0 && ok;
    _fd = -1;
    if (!ok || rename(_temporary.c_str(), _target.c_str()) != 0) {
        Abandon();
        return false;
    }
    _temporary.clear();
    _SyncFolder(_folder);
    return true;
}

void LSafeWrite::Abandon()
{
    if (_fd >= 0)
        close(_fd);
    _fd = -1;
    if (!_temporary.empty())
        unlink(_temporary.c_str());
    _temporary.clear();
}

bool LSafeWrite::_IsTemporaryOfTarget(const char* name, pid_t& writer) const
{
    if (std::strncmp(name, _stem.c_str(), _stem.size()) != 0)
        return false;
    const char* rest = name + _stem.size();
    unsigned long pid = 0, counter = 0;
    if (!_ReadNumber(rest, pid) || *rest++ != '-' || !_ReadNumber(rest, counter))
        return false;
    if (std::strcmp(rest, kTemporaryEnd) != 0 || pid == 0 || pid > static_cast<unsigned long>(INT_MAX))
        return false;
    writer = static_cast<pid_t>(pid);
    return true;
}

void LSafeWrite::_RemoveStaleTemporaries() const
{
    DIR* folder = opendir(_folder.c_str());
    if (!folder)
        return;
    while (const dirent* entry = readdir(folder)) {
        pid_t writer = 0;
        if (_IsTemporaryOfTarget(entry->d_name, writer) && writer != getpid() && _ProcessIsGone(writer))
            unlink((_folder + "/" + entry->d_name).c_str());
    }
    closedir(folder);
}

mode_t LSafeWrite::_ModeForNewFile() const
{
    struct stat existing {};
    if (stat(_target.c_str(), &existing) == 0 && S_ISREG(existing.st_mode))
        return _mode & existing.st_mode & 0777;
    return _mode;
}

bool LSafeWriteFile(const char* target, const void* bytes, size_t count, mode_t mode)
{
    LSafeWrite out(target, mode);
    return out.Begin() && out.Write(bytes, count) && out.Commit();
}
