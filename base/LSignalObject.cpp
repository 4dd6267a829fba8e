#include "base/LSignalObject.h"
#include "base/LDeadline.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

// What poll reports for a descriptor that a read would not block on: data, or the other
// end gone (a read then answers at once).
constexpr short kReadableEvents = POLLIN | POLLHUP | POLLERR;

// One poll; true if any descriptor is readable, or the wait was interrupted. Without a valid
// descriptor there is nothing to wait for: false at once.
bool _PollReadable(pollfd* fds, nfds_t count, unsigned int ms)
{
    bool any = false;
    for (nfds_t i = 0; i < count; ++i)
        any = any || fds[i].fd >= 0;
    if (!any)
        return false;
    int n = poll(fds, count, LDeadline(ms).PollTimeout());
    if (n < 0)
        return errno == EINTR;
    for (nfds_t i = 0; i < count; ++i)
        if (fds[i].revents & kReadableEvents)
            return true;
    return false;
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

bool LSignalObjectGroup::Add(LSignalObjectRef signal)
{
    return AddDescriptor(signal.GetReadDescriptor());
}

bool LSignalObjectGroup::AddDescriptor(int fd)
{
    if (fd < 0)
        return false;
    for (int i = 0; i < _count; ++i)
        if (_members[i].fd == fd)
            return true;
    if (_count >= kMaxMembers)
        return false;
    _members[_count++] = pollfd{fd, POLLIN, 0};
    return true;
}

bool LSignalObjectGroup::IsMember(LSignalObjectRef signal) const
{
    int fd = signal.GetReadDescriptor();
    for (int i = 0; i < _count; ++i)
        if (fd >= 0 && _members[i].fd == fd)
            return true;
    return false;
}

bool LSignalObjectGroup::Select(unsigned int ms)
{
    LDeadline deadline(ms);
    for (;;) {
        int n = poll(_members, static_cast<nfds_t>(_count), deadline.PollTimeout());
        if (n < 0 && errno == EINTR)
            continue;  // a time already over polls once more with 0, then ends
        if (n <= 0) {
            Clear();  // time limit, or a failed wait: no signal
            return false;
        }
        _KeepReadable();
        return _count > 0;
    }
}

void LSignalObjectGroup::_KeepReadable()
{
    int kept = 0;
    for (int i = 0; i < _count; ++i)
        if (_members[i].revents & kReadableEvents)
            _members[kept++] = _members[i];
    _count = kept;
}
