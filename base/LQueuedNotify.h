#pragma once

#include "base/LEventQueue.h"

// A notification without data from any thread to the thread that built the object (the
// interface thread). Every post is delivered once, in order; none after destruction.
class LThreadQueuedNotify : private LQueueReceiver {
public:
    LThreadQueuedNotify() = default;
    ~LThreadQueuedNotify() override = default;

    void PostQueueNotify() { _PostToQueue(0, nullptr, 0); }

protected:
    // Runs on the constructing thread.
    virtual void EvNotify() = 0;

private:
    void _DeliverQueued(unsigned int, const void*, unsigned long) override { EvNotify(); }
};

// The receiving side of notifications with data; the meaning of a code is the receiver's.
class LQueuedNotifyDataHandler : private LQueueReceiver {
public:
    LQueuedNotifyDataHandler() = default;
    ~LQueuedNotifyDataHandler() override = default;

    // From any thread: posts a copy of `size` bytes of `data` (null or 0: no data).
    void PostQueuedNotifyData(unsigned int code, const void* data, unsigned long size)
    {
        _PostToQueue(code, data, size);
    }

protected:
    // Runs on the constructing thread; `data` is freed when it returns.
    virtual void EvQueuedNotifyData(unsigned int code, const void* data, unsigned long size) = 0;

private:
    void _DeliverQueued(unsigned int code, const void* data, unsigned long size) override
    {
        EvQueuedNotifyData(code, data, size);
    }
};

// Posting through a handler that may be missing: nothing happens without one.
inline void PostQueuedNotifyData(LQueuedNotifyDataHandler* handler, unsigned int code,
                                 const void* data, unsigned long size)
{
    if (handler)
        handler->PostQueuedNotifyData(code, data, size);
}
