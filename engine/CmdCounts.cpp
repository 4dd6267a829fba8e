#include "engine/CmdCounts.h"

#include "base/LFile.h"
#include "base/LFileRef.h"
#include "base/flocktimed.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

LCmdCountTable CmdCounts = {{}, kCmdCountsStart};

namespace {

constexpr unsigned int kLockWaitMs = 1000;

// Closes the descriptor (and so drops its lock) when the scope ends.
struct ScopedFd {
    int fd;
    ~ScopedFd()
    {
        if (fd >= 0)
            close(fd);
    }
};

}  // namespace

const char* CmdCountsDefaultPath()
{
    return "/var/tmp/OrvaneCounts.txt";
}

void CmdCountsReset()
{
    std::memset(CmdCounts.entries, 0, sizeof(CmdCounts.entries));
    CmdCounts.size = kCmdCountsStart;
}

bool CmdCountsRead(const char* path)
{
    ScopedFd file{open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW)};
    if (file.fd < 0 || flocktimed(file.fd, LOCK_SH, kLockWaitMs) != 0)
        return false;
    uint32_t count = 0;
    if (LReadFully(file.fd, &count, sizeof(count)) != sizeof(count) || count == 0)
        return true;
    int entries = static_cast<int>(std::min<uint32_t>(count, kCmdCountsMost));
    if (entries > kCmdCountsStart) {
        std::memset(CmdCounts.entries, 0, sizeof(CmdCounts.entries));
        CmdCounts.size = entries;
    }
    // A short file fills what it holds; the rest of the table stays as it was.
    LReadFully(file.fd, CmdCounts.entries, sizeof(LCmdCount) * static_cast<size_t>(entries));
    return true;
}

bool CmdCountsWrite(const char* path)
{
    // The file lies in a folder every user writes to: a link planted there is never followed
    // (it would let another user point this write at one of our files), and the file is created
    // writable by its owner only.
    ScopedFd file{open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, LFile::kFileMode)};
    // Lock before cutting, so that a reader never sees the file empty half way.
    if (file.fd < 0 || flocktimed(file.fd, LOCK_EX, kLockWaitMs) != 0)
        return false;
    if (ftruncate(file.fd, 0) != 0)
        return false;
    uint32_t count = static_cast<uint32_t>(CmdCounts.size);
    size_t bytes = sizeof(LCmdCount) * static_cast<size_t>(CmdCounts.size);
    return LWriteFully(file.fd, &count, sizeof(count)) == sizeof(count) &&
           LWriteFully(file.fd, CmdCounts.entries, bytes) == bytes;
}

void CmdCountsIncrement(uint32_t id)
{
    LCmdCount* free = nullptr;
    for (int i = 0; i < CmdCounts.size; ++i) {
        LCmdCount& entry = CmdCounts.entries[i];
        if (entry.id == id && id != 0) {
            ++entry.count;
            return;
        }
        if (!free && entry.id == 0)
            free = &entry;
    }
    if (!free && CmdCounts.size < kCmdCountsMost)
        free = &CmdCounts.entries[CmdCounts.size++];
    if (free)
        *free = {id, 1};
}
