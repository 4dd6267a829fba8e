#include "base/LEventPump.h"
#include "base/LEventQueue.h"

#include <atomic>

namespace {

// Turns the calling thread's own queue.
class LQueueEventPump : public LEventPump {
public:
    Wait WaitAndDispatchOne(unsigned int ms, int fd) override
    {
        LEventQueue& queue = *LEventQueue::ForCurrentThread();
        if (queue.DispatchOne())
            return Wait::kEvent;
        LEventQueue::Wait woke = queue.WaitForEvent(ms, fd);
        if (woke == LEventQueue::Wait::kTimeout)
            return Wait::kTimeout;
        if (woke == LEventQueue::Wait::kDescriptor)
            return Wait::kDescriptor;
        queue.DispatchOne();  // may find nothing if a receiver died in between
        return Wait::kEvent;
    }

    bool ClearEventQueue() override { return LEventQueue::ForCurrentThread()->ClearEventQueue(); }
};

LQueueEventPump gQueuePump;
std::atomic<LEventPump*> gInstalledPump{nullptr};

}  // namespace

LEventPump& LGetEventPump()
{
    LEventPump* pump = gInstalledPump.load(std::memory_order_acquire);
    return pump ? *pump : gQueuePump;
}

void LSetEventPump(LEventPump* pump)
{
    gInstalledPump.store(pump, std::memory_order_release);
}
