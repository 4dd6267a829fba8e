#pragma once

// How a long task on the interface thread keeps that thread's events moving while it waits.
// The plain form turns the thread's LEventQueue; a toolkit installs its own so that its
// window events run too.
class LEventPump {
public:
    enum class Wait { kTimeout, kEvent, kDescriptor };

    virtual ~LEventPump() = default;
    // Waits at most `ms` (kWaitForever: no limit) for one event and dispatches it, or for
    // `fd` (-1: none) to become readable.
    virtual Wait WaitAndDispatchOne(unsigned int ms, int fd) = 0;
    // Dispatches what waits now without waiting. False if nothing was; a pump may also refuse
    // a call from inside its own dispatches (the plain one always does, a toolkit's beyond
    // some depth).
    virtual bool ClearEventQueue() = 0;
};

// The pump of the interface thread; the plain queue pump unless one was installed.
LEventPump& LGetEventPump();
// Installs a pump for the program's life (null: back to the plain one).
void LSetEventPump(LEventPump* pump);
