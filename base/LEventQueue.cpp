#include "base/LEventQueue.h"
#include "base/LDeadline.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

LQueueReceiver::LQueueReceiver() : _queue(LEventQueue::ForCurrentThread()) {}

LQueueReceiver::~LQueueReceiver()
{
    if (_queue)
        _queue->Flush(this);
}

void LQueueReceiver::_PostToQueue(unsigned int code, const void* data, unsigned long size)
{
    if (_queue)
        _queue->Post(this, code, data, size);
}

LEventQueue::LEventQueue() : _wakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

LEventQueue::~LEventQueue()
{
    if (_wakeFd >= 0)
        close(_wakeFd);
}

std::shared_ptr<LEventQueue> LEventQueue::ForCurrentThread()
{
    thread_local std::shared_ptr<LEventQueue> queue = std::make_shared<LEventQueue>();
    return queue;
}

void LEventQueue::Post(LQueueReceiver* receiver, unsigned int code, const void* data,
                       unsigned long size)
{
    Event event{receiver, code, size, nullptr};
    if (data && size) {
        event.data = std::make_unique<unsigned char[]>(size);
        std::memcpy(event.data.get(), data, size);
    }
    std::lock_guard<std::mutex> lock(_mutex);
    bool wasEmpty = _events.empty();
    _events.push_back(std::move(event));
    _SetWakeLocked(wasEmpty);
}

void LEventQueue::Flush(const LQueueReceiver* receiver)
{
    std::lock_guard<std::mutex> lock(_mutex);
    bool wasEmpty = _events.empty();
    std::erase_if(_events, [receiver](const Event& e) { return e.receiver == receiver; });
    _SetWakeLocked(wasEmpty);
}

// Keeps the wake descriptor readable exactly while the queue holds events.
void LEventQueue::_SetWakeLocked(bool wasEmpty)
{
    bool isEmpty = _events.empty();
    if (wasEmpty && !isEmpty) {
        uint64_t one = 1;
        [[maybe_unused]] ssize_t ignored = write(_wakeFd, &one, sizeof one);
    } else if (!wasEmpty && isEmpty) {
        uint64_t count;
        [[maybe_unused]] ssize_t ignored = read(_wakeFd, &count, sizeof count);
    }
}

size_t LEventQueue::GetPendingCount() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _events.size();
}

bool LEventQueue::DispatchOne()
{
    Event event;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if (_events.empty())
            return false;
        event = std::move(_events.front());
        _events.pop_front();
        _SetWakeLocked(false);
    }
    event.receiver->_DeliverQueued(event.code, event.data.get(), event.size);
    return true;
}

size_t LEventQueue::DispatchPending(size_t budget)
{
    size_t dispatched = 0;
    while (dispatched < budget && DispatchOne())
        ++dispatched;
    return dispatched;
}

bool LEventQueue::ClearEventQueue()
{
    if (_clearing)
        return false;
    _clearing = true;
    bool any = DispatchPending(GetPendingCount() + 1) > 0;
    _clearing = false;
    return any;
}

LEventQueue::Wait LEventQueue::WaitForEvent(unsigned int ms, int fd) const
{
    LDeadline deadline(ms);
    for (;;) {
        pollfd fds[2] = {{_wakeFd, POLLIN, 0}, {fd, POLLIN, 0}};
        int n = poll(fds, fd >= 0 ? 2 : 1, deadline.PollTimeout());
        if (n > 0)
            return (fds[0].revents & POLLIN) ? Wait::kEvent : Wait::kDescriptor;
        if (n == 0 || errno != EINTR || deadline.IsOver())
            return Wait::kTimeout;
    }
}

bool LEventQueue::RunUntil(const std::function<bool()>& done, unsigned int ms)
{
    LDeadline deadline(ms);
    for (;;) {
        if (done())
            return true;
        if (DispatchOne())
            continue;
        if (deadline.IsOver() || WaitForEvent(deadline.Left()) == Wait::kTimeout)
            return done();
    }
}
