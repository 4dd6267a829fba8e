#include "app/LLoadText.h"

#include "base/LReadFile.h"
#include "base/flocktimed.h"

#include <sys/file.h>

namespace {

constexpr unsigned int kLoadLockWaitMs = 1000;
constexpr size_t kLoadChunkBytes = 65536;

}  // namespace

bool LLoadText(const char* path, std::string& out)
{
    out.clear();
    LReadFile file(path);
    if (!file.IsOpen())
        return false;
    flocktimed(file.GetDescriptor(), LOCK_SH, kLoadLockWaitMs);
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
