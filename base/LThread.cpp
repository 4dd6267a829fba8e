#include "base/LThread.h"

#include <algorithm>
#include <cerrno>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

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

// What normal means: the nice value the user started the program with (the main thread's).
int _ProcessNice()
{
    errno = 0;
    int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    return errno == 0 ? nice : 0;
}

// Whether a thread may leave the idle class for the normal one again. Without CAP_SYS_NICE
// the kernel allows it only when RLIMIT_NICE would allow the normal nice value (sched(7)),
// which an ordinary user's default limit never does. A throw-away thread asks the kernel
// once, since capabilities, user namespaces and limits all have their say.
void* _TryIdleAndBack(void* answer)
{
    sched_param param{};
    *static_cast<bool*>(answer) = pthread_setschedparam(pthread_self(), SCHED_IDLE, &param) == 0 &&
                                  pthread_setschedparam(pthread_self(), SCHED_OTHER, &param) == 0;
    return nullptr;
}

bool _IdleIsReversible()
{
    static const bool reversible = [] {
        bool answer = false;
        pthread_t probe;
        if (pthread_create(&probe, nullptr, _TryIdleAndBack, &answer) != 0)
            return false;
        pthread_join(probe, nullptr);
        return answer;
    }();
    return reversible;
}

void _SetNormal(pthread_t thread, pid_t kernelId)
{
    sched_param param{};
    pthread_setschedparam(thread, SCHED_OTHER, &param);
    setpriority(PRIO_PROCESS, static_cast<id_t>(kernelId), _ProcessNice());
}

// The idle class where the thread can come back from it; else the batch class, which an
// ordinary user can always leave: it keeps the thread from preempting others when it wakes,
// though it gets a normal share of the processor. A higher nice value is no alternative:
// lowering it again needs the same limit as leaving the idle class.
void _SetLow(pthread_t thread)
{
    sched_param param{};
    if (_IdleIsReversible() && pthread_setschedparam(thread, SCHED_IDLE, &param) == 0)
        return;
    pthread_setschedparam(thread, SCHED_BATCH, &param);
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
        _SetLow(thread);
    else
        _SetNormal(thread, kernelId);
}

// Each wait below is one group wait, which rides out interruptions by signals: a child's
// exit must not pass for a stop or for a signal.
bool LThread::ProcessWait(unsigned int ms)
{
    LSignalObjectGroup group;
    group.Add(_stop);
    group.Add(_finished);
    return group.Select(ms);
}

LProcessResult LThread::ProcessWaitSignal(LSignalObjectRef s, unsigned int ms)
{
    LSignalObjectGroup group;
    group.Add(s);
    return LThread::ProcessWaitSignalObjectGroup(group, ms);
}

LProcessResult LThread::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int ms)
{
    group.Add(_stop);  // a full group waits without the stop signal
    if (!group.Select(ms))
        return kProcessFailed;
    return group.IsMember(_stop) ? kProcessStopped : kProcessFinished;
}
