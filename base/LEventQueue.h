#pragma once

#include "base/LSignalObject.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

class LEventQueue;

// Something queued events are addressed to. Its destructor removes its events still waiting,
// so nothing arrives for a dead receiver; it must therefore die on the thread that drains.
class LQueueReceiver {
public:
    LQueueReceiver();  // takes the queue of the constructing thread
    virtual ~LQueueReceiver();
    LQueueReceiver(const LQueueReceiver&) = delete;
    LQueueReceiver& operator=(const LQueueReceiver&) = delete;

protected:
    // From any thread. Data are copied; the caller's may go at once.
    void _PostToQueue(unsigned int code, const void* data, unsigned long size);

private:
    friend class LEventQueue;
    // Runs on the draining thread, in the order of posting.
    virtual void _DeliverQueued(unsigned int code, const void* data, unsigned long size) = 0;

    std::shared_ptr<LEventQueue> _queue;
};

// The event queue of one thread (in the program, the interface thread): many producers,
// drained in order by the owning thread, from its main loop or from nested waits. The wake
// descriptor is readable exactly while events wait, so an outer loop can watch it.
class LEventQueue {
public:
    enum class Wait { kTimeout, kEvent, kDescriptor };

    LEventQueue();
    ~LEventQueue();
    LEventQueue(const LEventQueue&) = delete;
    LEventQueue& operator=(const LEventQueue&) = delete;

    // The calling thread's queue, made on first use.
    static std::shared_ptr<LEventQueue> ForCurrentThread();

    // From any thread.
    void Post(LQueueReceiver* receiver, unsigned int code, const void* data, unsigned long size);
    // Removes every waiting event for `receiver`; others keep their order.
    void Flush(const LQueueReceiver* receiver);
    size_t GetPendingCount() const;
    int GetWakeDescriptor() const { return _wakeFd; }

    // Dispatches the oldest event; false if none waited.
    bool DispatchOne();
    // What a main loop calls when the wake descriptor fires: dispatches at most `budget`
    // events without waiting; answers how many. Nested loops inside those events still work.
    size_t DispatchPending(size_t budget);
    // The pump of long tasks: dispatches what waits now, plus at most one more, without
    // waiting. False if nothing was dispatched, and at once when called again from inside
    // one of its own dispatches.
    bool ClearEventQueue();
    // Waits at most `ms` for an event or for `fd` (-1: none) to become readable. Dispatches
    // nothing.
    Wait WaitForEvent(unsigned int ms, int fd = -1) const;
    // The plain drain loop for tests and the command-line tool: dispatches events until
    // `done` answers true (asked before each wait) or `ms` is over. True if `done` did.
    bool RunUntil(const std::function<bool()>& done, unsigned int ms = kWaitForever);

private:
    struct Event {
        LQueueReceiver* receiver = nullptr;
        unsigned int code = 0;
        unsigned long size = 0;
        std::unique_ptr<unsigned char[]> data;
    };

    void _SetWakeLocked(bool wasEmpty);

    mutable std::mutex _mutex;
    std::deque<Event> _events;
    int _wakeFd = -1;  // eventfd, counter 1 while events wait
    bool _clearing = false;  // owning thread only
};
