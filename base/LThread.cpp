#include "base/LThread.h"
#include "base/LDeadline.h"

#include <algorithm>
#include <cerrno>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int kLowestNice = 19;

// The highest class we are allowed: SCHED_FIFO at the asked level, else at the RLIMIT_RTPRIO
// ceiling that the audio group often grants, else nothing (the caller stays normal).
bool _SetRealTime(pthread_t thread, int priority)
{
    int level = std::clamp(priority, sched_get_priority_min(SCHED_FIFO),
                           sched_get_priority_max(SCHED_FIFO));
    sched_param param{};
    param.sched_priority = level;
    int error = pthread_setschedparam(thread, SCHED_FIFO, &param);
    if (error != EPERM)
        return error == 0;
    rlimit limit{};
    if (getrlimit(RLIMIT_RTPRIO, &limit) != 0 || limit.rlim_cur == 0)
        return false;
    if (limit.rlim_cur != RLIM_INFINITY)
        param.sched_priority = std::min<rlim_t>(static_cast<rlim_t>(level), limit.rlim_cur);
    return pthread_setschedparam(thread, SCHED_FIFO, &param) == 0;
}

void _SetNormal(pthread_t thread, pid_t kernelId)
{
    sched_param param{};
    pthread_setschedparam(thread, SCHED_OTHER, &param);
    setpriority(PRIO_PROCESS, static_cast<id_t>(kernelId), 0);  // may be refused once lowered
}

void _SetLow(pthread_t thread, pid_t kernelId)
{
    sched_param param{};
    if (pthread_setschedparam(thread, SCHED_IDLE, &param) != 0)
        setpriority(PRIO_PROCESS, static_cast<id_t>(kernelId), kLowestNice);
}

}  // namespace

LThread::~LThread()
{
    StopThreadSoon();
    WaitForThreadEnd();
}

bool LThread::Start(int priority)
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_hasThread && IsRunning())
        return true;
    _Join();
    _stop.Reset();
    _finished.Reset();
    _running.store(true, std::memory_order_release);
    _priority = priority;
    if (pthread_create(&_thread, nullptr, &LThread::_ThreadEntry, this) != 0) {
        _running.store(false, std::memory_order_release);
        return false;
    }
    _hasThread = true;
    return true;
}

void LThread::WaitForThreadEnd()
{
    std::lock_guard<std::mutex> lock(_mutex);
    _Join();
}

void LThread::_Join()
{
    if (!_hasThread)
        return;
    pthread_join(_thread, nullptr);
    _hasThread = false;
}

void* LThread::_ThreadEntry(void* self)
{
    static_cast<LThread*>(self)->_Run();
    return nullptr;
}

void LThread::_Run()
{
    _kernelId.store(gettid(), std::memory_order_release);
    SetPriority(_priority);
    ThreadFunction();
    _kernelId.store(-1, std::memory_order_release);
    _running.store(false, std::memory_order_release);
    _finished.Signal();
}

void LThread::SetPriority(int priority)
{
    pid_t kernelId = GetKernelThreadId();
    if (kernelId < 0)
        return;
    pthread_t thread = kernelId == gettid() ? pthread_self() : _thread;
    if (priority == kThreadPriorityRealTime && _SetRealTime(thread, priority))
        return;
    if (priority == kThreadPriorityBeatDetect || priority == kThreadPriorityBackground)
        _SetLow(thread, kernelId);
    else
        _SetNormal(thread, kernelId);
}

bool LThread::ProcessWait(unsigned int ms)
{
    return _stop.WaitSignalDual(_finished, ms);
}

LProcessResult LThread::ProcessWaitSignal(LSignalObjectRef s, unsigned int ms)
{
    LDeadline deadline(ms);
    for (;;) {
        if (!_stop.WaitSignalDual(s, deadline.Left()))
            return kProcessFailed;
        if (IsToStop())
            return kProcessStopped;
        if (s.IsSignaled())
            return kProcessFinished;
        if (deadline.IsOver())  // an interruption, and no time left to look again
            return kProcessFailed;
    }
}

LProcessResult LThread::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int ms)
{
    group.Add(_stop);  // a full group waits without the stop signal
    if (!group.Select(ms))
        return kProcessFailed;
    return group.IsMember(_stop) ? kProcessStopped : kProcessFinished;
}
