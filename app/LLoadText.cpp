#include "app/LLoadText.h"

#include "base/LFileRef.h"

namespace {

constexpr unsigned int kLoadLockWaitMs = 1000;  // milliseconds
constexpr size_t kLoadChunkBytes = 65536;

}  // namespace

bool LLoadText(const char* path, std::string& out)
{
    out.clear();
    LSharedReadFile file;
    if (!file.Open(path, kLoadLockWaitMs))
        return false;
    for (;;) {
        size_t used = out.size();
        out.resize(used + kLoadChunkBytes);
        size_t got = file.Read(out.data() + used, kLoadChunkBytes);
        out.resize(used + got);
        if (got == 0)
            break;
    }
    return true;
}
