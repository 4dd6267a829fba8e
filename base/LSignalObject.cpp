#include "base/LSignalObject.h"
#include "base/LDeadline.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// One poll over `count` descriptors; true if any is readable, or the wait was interrupted.
bool _PollReadable(pollfd* fds, nfds_t count, unsigned int ms)
{
    int n = poll(fds, count, LDeadline(ms).PollTimeout());
    if (n < 0)
        return errno == EINTR;
    return n > 0;
}

}  // namespace

bool LSignalObjectRef::WaitSignal(unsigned int ms) const
{
    pollfd fd{_readFd, POLLIN, 0};
    return _PollReadable(&fd, 1, ms);
}

bool LSignalObjectRef::WaitSignalDual(LSignalObjectRef other, unsigned int ms) const
{
    pollfd fds[2] = {{_readFd, POLLIN, 0}, {other._readFd, POLLIN, 0}};
    return _PollReadable(fds, 2, ms);
}

LSignalObject::LSignalObject()
{
    int fds[2];
    if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0) {
        _readFd = fds[0];
        _writeFd = fds[1];
    }
}

LSignalObject::~LSignalObject()
{
    if (_readFd >= 0)
        close(_readFd);
    if (_writeFd >= 0)
        close(_writeFd);
}

void LSignalObject::Signal() const
{
    const char one = 1;
    [[maybe_unused]] ssize_t ignored = write(_writeFd, &one, 1);
}

void LSignalObject::Reset() const
{
    char buffer[64];
    for (;;) {
        ssize_t n = read(_readFd, buffer, sizeof buffer);
        if (n > 0)
            continue;
        if (n < 0 && errno == EINTR)
            continue;
        return;
    }
}

LSignalObjectGroup::LSignalObjectGroup()
{
    Clear();
}

void LSignalObjectGroup::Clear()
{
    FD_ZERO(&_set);
    _maxFd = -1;
    _count = 0;
}

bool LSignalObjectGroup::Add(LSignalObjectRef signal)
{
    return AddDescriptor(signal.GetReadDescriptor());
}

bool LSignalObjectGroup::AddDescriptor(int fd)
{
    if (_count >= kMaxMembers || fd < 0 || fd >= FD_SETSIZE)
        return false;
    if (!FD_ISSET(fd, &_set)) {
        FD_SET(fd, &_set);
        ++_count;
    }
    if (fd > _maxFd)
        _maxFd = fd;
    return true;
}

bool LSignalObjectGroup::IsMember(LSignalObjectRef signal) const
{
    int fd = signal.GetReadDescriptor();
    return fd >= 0 && fd < FD_SETSIZE && FD_ISSET(fd, &_set);
}

bool LSignalObjectGroup::Select(unsigned int ms)
{
    timeval limit{static_cast<time_t>(ms / 1000), static_cast<suseconds_t>(ms % 1000) * 1000};
    int n = select(_maxFd + 1, &_set, nullptr, nullptr, ms == kWaitForever ? nullptr : &limit);
    if (n < 0) {
        bool interrupted = errno == EINTR;
        FD_ZERO(&_set);  // the set's contents are unspecified after a failed select
        _count = 0;
        return interrupted;
    }
    _count = 0;
    for (int fd = 0; fd <= _maxFd; ++fd)
        _count += FD_ISSET(fd, &_set) ? 1 : 0;
    return n > 0;
}
