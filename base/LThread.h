#pragma once

#include "base/LProcessInterface.h"
#include "base/LSignalObject.h"

#include <atomic>
#include <mutex>
#include <pthread.h>
#include <sys/types.h>

// Priorities the program gives to Start and SetPriority.
inline constexpr int kThreadPriorityBeatDetect = 1;  // lowest class
inline constexpr int kThreadPriorityBackground = 2;  // file conversion, wave scanners
inline constexpr int kThreadPriorityNormal = 31;
inline constexpr int kThreadPriorityRealTime = 91;   // audio player while playing

// A worker: derive, override ThreadFunction, call Start. The thread is also the long-task
// interface of whatever runs on it, so its waits end on a stop request.
//
// A derived class's destructor must end the thread before its own members go; ~LThread then
// asks a still existing thread to stop and joins it.
class LThread : public LProcessInterface {
public:
    LThread() = default;
    ~LThread() override;
    LThread(const LThread&) = delete;
    LThread& operator=(const LThread&) = delete;

    // Starts ThreadFunction with both signals cleared. Does nothing while the thread runs;
    // after a finished run it joins the old thread first. False if no thread could be made.
    bool Start(int priority);
    // Asks the thread to stop and returns at once.
    void StopThreadSoon() { _stop.Signal(); }
    // Joins the thread if there is one; call StopThreadSoon first unless it ends by itself.
    void WaitForThreadEnd();
    // Applies a priority to the running thread; refusals (real time without the right) are
    // silent and leave the normal policy. 1 and 2 take the lowest class that the process may
    // leave again, so a lowered thread can always come back to 31.
    void SetPriority(int priority);

    bool IsRunning() const { return _running.load(std::memory_order_acquire); }
    int GetPriority() const { return _priority; }
    pid_t GetKernelThreadId() const { return _kernelId.load(std::memory_order_acquire); }
    LSignalObjectRef GetStopSignal() const { return _stop.Ref(); }
    LSignalObjectRef GetFinishedSignal() const { return _finished.Ref(); }

    bool IsToStop() override { return _stop.IsSignaled(); }
    // Sleeps until a stop is asked, the thread has finished, or `ms` is over.
    bool ProcessWait(unsigned int ms) override;
    // 1 if a stop is asked (also when `s` is set too), 0 if only `s`, 2 at the time limit.
    LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) override;
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int ms) override;

protected:
    virtual void ThreadFunction() = 0;

private:
    static void* _ThreadEntry(void* self);
    void _Run();
    void _Join();

    pthread_t _thread{};
    bool _hasThread = false;  // joinable handle held; owners only, under _mutex or after a join
    std::atomic<pid_t> _kernelId{-1};
    int _priority = 0;
    std::atomic<bool> _running{false};
    LSignalObject _stop;
    LSignalObject _finished;
    std::mutex _mutex;  // guards Start against itself
};
