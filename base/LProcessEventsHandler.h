#pragma once

#include "base/LProcessInterface.h"

// Waits for a long task that runs on the interface thread: each wait keeps dispatching the
// thread's events (LGetEventPump), so the interface stays alive and a Cancel gets through.
class LProcessEventsHandler {
public:
    virtual ~LProcessEventsHandler() = default;

    virtual bool IsProcessEventHandlerToStop() = 0;

    // Dispatches until nothing more waits.
    void ClearEventQueue();
    // 1 if a stop came, 0 when the time is over. kWaitForever is the forever form.
    LProcessResult ProcessWaitAndProcessEvents(unsigned int ms);
    // Ends only by a stop: 1.
    LProcessResult ProcessWaitForeverAndProcessEvents();
    // 0 when `s` is signalled, 1 on a stop, 2 at the time limit (at once for 0 ms).
    LProcessResult ProcessWaitSignalAndProcessEvents(LSignalObjectRef s, unsigned int ms);
    LProcessResult ProcessWaitSignalForeverAndProcessEvents(LSignalObjectRef s);
};
