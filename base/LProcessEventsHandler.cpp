#include "base/LProcessEventsHandler.h"
#include "base/LDeadline.h"
#include "base/LEventPump.h"

void LProcessEventsHandler::ClearEventQueue()
{
    LEventPump& pump = LGetEventPump();
    while (pump.ClearEventQueue()) {
    }
}

LProcessResult LProcessEventsHandler::ProcessWaitAndProcessEvents(unsigned int ms)
{
    if (ms == kWaitForever)
        return ProcessWaitForeverAndProcessEvents();
    LDeadline deadline(ms);
    for (;;) {
        if (IsProcessEventHandlerToStop())
            return kProcessStopped;
        unsigned int left = deadline.Left();
        if (left == 0)
            return kProcessFinished;
        LGetEventPump().WaitAndDispatchOne(left, -1);
    }
}

LProcessResult LProcessEventsHandler::ProcessWaitForeverAndProcessEvents()
{
    while (!IsProcessEventHandlerToStop())
        LGetEventPump().WaitAndDispatchOne(kWaitForever, -1);
    return kProcessStopped;
}

// With kWaitForever the deadline never runs out, which makes this the forever form too.
LProcessResult LProcessEventsHandler::ProcessWaitSignalAndProcessEvents(LSignalObjectRef s,
                                                                        unsigned int ms)
{
    if (ms == 0)
        return kProcessFailed;
    LDeadline deadline(ms);
    LProcessResult result = kProcessFailed;
    for (;;) {
        if (s.IsSignaled()) {
            result = kProcessFinished;
            break;
        }
        if (IsProcessEventHandlerToStop()) {
            result = kProcessStopped;
            break;
        }
        unsigned int left = deadline.Left();
        if (left == 0)
            break;
        if (LGetEventPump().WaitAndDispatchOne(left, s.GetReadDescriptor()) ==
            LEventPump::Wait::kTimeout) {
            result = s.IsSignaled() ? kProcessFinished : kProcessFailed;
            break;
        }
    }
    ClearEventQueue();
    return result;
}

LProcessResult LProcessEventsHandler::ProcessWaitSignalForeverAndProcessEvents(LSignalObjectRef s)
{
    return ProcessWaitSignalAndProcessEvents(s, kWaitForever);
}
