// Files and folders on disk: copy, delete, create, iterate, lock tests.
#include "base/LFile.h"

#include "base/LFileRef.h"
#include "base/LRunProgram.h"
#include "base/LSafeWrite.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kCopyBlockBytes = 8192;

// The mode of a copy: a program stays runnable, anything else is a plain user file.
mode_t _CopyMode(const struct stat& original)
{
    return (original.st_mode & S_IXUSR) ? LFile::kProgramFileMode : LFile::kFileMode;
}

bool _CopyPlainFile(const char* from, const char* to)
{
    LReadFileRef in(from);
    struct stat original {};
    if (!in.IsOpen() || fstat(in.GetDescriptor(), &original) != 0)
        return false;
    LSafeWrite out(to, _CopyMode(original));
    if (!out.Begin())
        return false;
    unsigned char block[kCopyBlockBytes];
    for (;;) {
        size_t got = in.Read(block, sizeof block);
        if (got > 0 && !out.Write(block, got))
            return false;
        if (got < sizeof block)
            break;
    }
    return out.Commit();
}

}  // namespace

bool LFile::Exists(const char* path)
{
    struct stat st {};
    return stat(path, &st) == 0;
}

bool LFile::IsFolder(const char* path)
{
    struct stat st {};
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool LFile::CopyFile(const char* from, const char* to)
{
    if (!_FitsPath(from) || !_FitsPath(to))
        return false;
    if (IsFolder(from)) {
        // "--": a path that begins with "-" is a path, not an option.
        const char* argv[] = {"cp", "-R", "--", from, to, nullptr};
        int status = LRunProgram(argv);
        // Without a status (reaped elsewhere) the copy is judged by its result.
        return status == 0 || (status == kRunProgramStatusTaken && Exists(to));
    }
    return _CopyPlainFile(from, to);
}

bool LFile::CopyFolderFiles(const char* from, const char* to)
{
    if (!_FitsPath(from) || !CreateFolderTree(to))
        return false;
    bool all = true;
    FolderIterator entries(from);
    while (entries.Next()) {
        char source[kPathBytes];
        char target[kPathBytes];
        if (!entries.GetPath(source) || !_MakeEntryPath(target, to, entries.GetName())) {
            all = false;
            continue;
        }
        if (!IsFolder(source))
            all = CopyFile(source, target) && all;
    }
    return all;
}

bool LFile::DeleteFolderTree(const char* path)
{
    if (!_FitsPath(path))
        return false;
    // A link given as the tree is removed itself; what it points to is not ours to delete.
    struct stat top {};
    if (lstat(path, &top) == 0 && S_ISLNK(top.st_mode))
        return unlink(path) == 0;
    bool all = true;
    FolderIteratorAllFiles entries(path);
    while (entries.Next()) {
        // Every level adds to the path, so the depth of this recursion is bounded by the
        // path's length; an entry whose path would be cut is never acted on.
        char entry[kPathBytes];
        if (!entries.GetPath(entry)) {
            all = false;
            continue;
        }
        struct stat st {};
        if (lstat(entry, &st) == 0 && S_ISDIR(st.st_mode))
            all = DeleteFolderTree(entry) && all;
        else
            all = unlink(entry) == 0 && all;
    }
    return rmdir(path) == 0 && all;
}

bool LFile::CreateFolderTree(const char* path, mode_t mode)
{
    if (!_FitsPath(path) || !path[0])
        return false;
    char level[kPathBytes];
    memcpy(level, path, strlen(path) + 1);
    // Each "/" after the first character ends a level; a level that exists (or is made by
    // another thread at the same moment) fails mkdir harmlessly. Levels that exist keep their
    // mode: only what is made here gets `mode`.
    for (char* c = level + 1; *c; ++c) {
        if (*c != '/')
            continue;
        *c = 0;
        mkdir(level, mode);
        *c = '/';
    }
    mkdir(level, mode);
    return IsFolder(level);
}

bool LFile::SetFolderSecurityAllAccess(const char* path)
{
    return _FitsPath(path) && chmod(path, kFolderMode) == 0;
}

bool LFile::TestFileShareWriteBlocked(const char* path)
{
    // Non-blocking, so that a FIFO or device at the path cannot hold the caller.
    int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool blocked = flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(fd);
    return blocked;
}

LFile::FolderIterator::FolderIterator(const char* folder, const char* pattern)
{
    bool fits = _MakeFilePath(_folder, "", folder);
    _MakeFilePath(_pattern, "", pattern);
    _dir = fits ? opendir(_folder) : nullptr;
}

LFile::FolderIterator::~FolderIterator()
{
    if (_dir)
        closedir(_dir);
}

bool LFile::FolderIterator::Next()
{
    while (_dir) {
        const dirent* entry = readdir(_dir);
        if (!entry)
            break;
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
            continue;
        if (_Matches(entry->d_name)) {
            _MakeFilePath(_name, "", entry->d_name);
            return true;
        }
    }
    if (_dir)
        closedir(_dir);
    _dir = nullptr;
    _name[0] = 0;
    return false;
}

bool LFile::FolderIterator::_Matches(const char* name)
{
    return name[0] != '.' && fnmatch(_pattern, name, FNM_CASEFOLD) == 0;
}

bool LFile::FolderIteratorAllFiles::_Matches(const char*)
{
    return true;
}
