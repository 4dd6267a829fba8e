#pragma once

#include "base/LProcessInterface.h"
#include "base/LQueuedNotify.h"

#include <mutex>

// Lets a task running on a worker report to an interface that lives on the interface thread:
// stop requests and waits go to the worker, reports travel by the queue and reach the target
// there. Build it on the interface thread.
class LThreadNotifyInterface : public LProcessInterfaceNested, public LQueuedNotifyDataHandler {
public:
    enum Code : unsigned int {
        kCodeError = 0,
        kCodeStatus0 = 1,
        kCodeStatus1 = 2,
        kCodeProgress = 3,  // size argument: hundredths
        kCodeIndeterminateOn = 4,
        kCodeIndeterminateOff = 5,
    };
    static constexpr int kStatusChars = 259;

    LThreadNotifyInterface(LProcessInterface& worker, LProcessInterface& target)
        : LProcessInterfaceNested(worker), _target(target)
    {
    }

    void SetError(const char* message) override;
    void SetStatus(const char* text, int line) override;
    void SetProgress(double fraction) override;
    void SetProgressIndeterminateOn() override
    {
        PostQueuedNotifyData(kCodeIndeterminateOn, nullptr, 0);
    }
    void SetProgressIndeterminateOff() override
    {
        PostQueuedNotifyData(kCodeIndeterminateOff, nullptr, 0);
    }

protected:
    void EvQueuedNotifyData(unsigned int code, const void* data, unsigned long size) override;

private:
    LProcessInterface& _target;
    std::mutex _mutex;  // guards the status lines
    char _status[2][kStatusChars + 1] = {};
};
