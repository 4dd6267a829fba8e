#include "base/flocktimed.h"

#include <cerrno>
#include <sys/file.h>
#include <time.h>

namespace {

void _SleepMilliseconds(unsigned int ms)
{
    timespec wait{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
    while (nanosleep(&wait, &wait) != 0 && errno == EINTR) {
    }
}

}  // namespace

int flocktimed(int fd, int operation, unsigned int ms)
{
    unsigned int sleep = ms / 32 + 1;
    for (;;) {
        int result = flock(fd, operation | LOCK_NB);
        if (result == 0 || errno != EWOULDBLOCK)
            return result;
        if (sleep >= ms)
            return result;
        _SleepMilliseconds(sleep);
        sleep *= 2;
    }
}
