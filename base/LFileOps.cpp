// Files and folders on disk: copy, delete, create, iterate, lock tests.
#include "base/LFile.h"

#include "base/LFileRef.h"
#include "base/LRunProgram.h"

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
constexpr mode_t kAllAccess = 0777;
constexpr const char* kPartSuffix = ".part";

bool _CopyFileContents(const char* from, const char* to)
{
    LReadFileRef in(from);
    LWriteFileRef out;
    if (!in.IsOpen() || !out.Create(to, kAllAccess))
        return false;
    unsigned char block[kCopyBlockBytes];
    for (;;) {
        size_t got = in.Read(block, sizeof block);
        if (got > 0 && out.Write(block, got) != got)
            return false;
        if (got < sizeof block)
            break;
    }
    // The umask may have narrowed the mode given at creation.
    return fchmod(out.GetDescriptor(), kAllAccess) == 0;
}

// The copy is made under a name of its own and renamed over `to` once whole, so a failed copy
// leaves an earlier file at `to` as it was. A name too long for the suffix is written directly.
bool _CopyPlainFile(const char* from, const char* to)
{
    char part[LFile::kPathBytes];
    LFile::_MakeFilePath(part, "", to, kPartSuffix);
    bool direct = strlen(to) + strlen(kPartSuffix) > LFile::kMaxPathChars;
    const char* target = direct ? to : part;
    if (_CopyFileContents(from, target) && (direct || rename(part, to) == 0))
        return true;
    unlink(target);
    return false;
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
    if (IsFolder(from)) {
        const char* argv[] = {"cp", "-R", from, to, nullptr};
        int status = LRunProgram(argv);
        // Without a status (reaped elsewhere) the copy is judged by its result.
        return status == 0 || (status == -2 && Exists(to));
    }
    return _CopyPlainFile(from, to);
}

bool LFile::CopyFolderFiles(const char* from, const char* to)
{
    if (!CreateFolderTree(to))
        return false;
    bool all = true;
    FolderIterator entries(from);
    while (entries.Next()) {
        char source[kPathBytes];
        entries.GetPath(source);
        if (IsFolder(source))
            continue;
        char target[kPathBytes];
        _MakeFilePath(target, to, entries.GetName());
        all = CopyFile(source, target) && all;
    }
    return all;
}

bool LFile::DeleteFolderTree(const char* path)
{
    // A link given as the tree is removed itself; what it points to is not ours to delete.
    struct stat top {};
    if (lstat(path, &top) == 0 && S_ISLNK(top.st_mode))
        return unlink(path) == 0;
    bool all = true;
    FolderIteratorAllFiles entries(path);
    while (entries.Next()) {
        char entry[kPathBytes];
        entries.GetPath(entry);
        struct stat st {};
        if (lstat(entry, &st) == 0 && S_ISDIR(st.st_mode))
            all = DeleteFolderTree(entry) && all;
        else
            all = unlink(entry) == 0 && all;
    }
    return rmdir(path) == 0 && all;
}

bool LFile::CreateFolderTree(const char* path)
{
    char level[kPathBytes];
    _MakeFilePath(level, "", path);
    // Each separator after the first character ends a level; a level that exists (or is made by
    // another thread at the same moment) fails mkdir harmlessly.
    for (char* c = level + 1; *c; ++c) {
        if (*c != '/' && *c != '\\')
            continue;
        char kept = *c;
        *c = 0;
        mkdir(level, kAllAccess);
        *c = kept;
    }
    mkdir(level, kAllAccess);
    return IsFolder(level);
}

bool LFile::SetFolderSecurityAllAccess(const char* path)
{
    return chmod(path, kAllAccess) == 0;
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
    _MakeFilePath(_folder, "", folder);
    _MakeFilePath(_pattern, "", pattern);
    _dir = opendir(_folder);
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
