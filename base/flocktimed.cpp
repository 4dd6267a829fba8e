#include "base/flocktimed.h"

#include "base/LDeadline.h"

#include <algorithm>

#include <cerrno>
#include <sys/file.h>
#include <time.h>

namespace {

constexpr unsigned int kSteadyFirstSleepMs = 1;
constexpr unsigned int kSteadyLongestSleepMs = 8;

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

int flockwithin(int fd, int operation, unsigned int ms)
{
    LDeadline deadline(ms);
    unsigned int sleep = kSteadyFirstSleepMs;
    for (;;) {
        int result = flock(fd, operation | LOCK_NB);
        if (result == 0 || errno != EWOULDBLOCK)
            return result;
        unsigned int left = deadline.Left();
        if (left == 0) {
            errno = EWOULDBLOCK;
            return -1;
        }
        _SleepMilliseconds(std::min(sleep, left));
        sleep = std::min(sleep * 2, kSteadyLongestSleepMs);
    }
}
