#include "base/LDebugThreads.h"
#include "base/LEventQueue.h"
#include "base/LProcessEventsHandler.h"
#include "base/LThread.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

// Counts its runs and waits for a stop or a release.
class CountingThread : public LThread {
public:
    ~CountingThread() override
    {
        StopThreadSoon();
        WaitForThreadEnd();
    }

    std::atomic<int> runs{0};
    std::atomic<bool> sawStopAtStart{false};
    LSignalObject started;
    LSignalObject release;

protected:
    void ThreadFunction() override
    {
        sawStopAtStart = IsToStop();
        ++runs;
        started.Signal();
        ProcessWaitSignal(release, kWaitForever);
    }
};

}  // namespace

TEST(LThread, StartWhileRunningRestartAndStopInAWait)
{
    CountingThread t;
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    ASSERT_TRUE(t.Start(kThreadPriorityBackground));
    EXPECT_EQ(t.GetPriority(), kThreadPriorityNormal);
    t.release.Signal();
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(kWaitForever));
    EXPECT_EQ(t.runs, 1);
    EXPECT_FALSE(t.IsRunning());

    t.StopThreadSoon();  // a stop asked between runs does not reach the next one
    t.release.Reset();
    t.started.Reset();
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    ASSERT_TRUE(t.started.WaitSignal(kWaitForever));
    EXPECT_TRUE(t.IsRunning());
    EXPECT_FALSE(t.GetFinishedSignal().IsSignaled());
    EXPECT_FALSE(t.sawStopAtStart);
    t.StopThreadSoon();  // the release never comes: only the stop can end the run's wait
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(kWaitForever));
    EXPECT_EQ(t.runs, 2);
}

TEST(LThread, ProcessWaitSignalAnswersFinishedFailedOrStopped)
{
    // The interface calls do not need the thread itself: wait here on an unstarted object.
    CountingThread idle;
    LSignalObject s;
    EXPECT_EQ(idle.ProcessWaitSignal(s, 0), kProcessFailed);
    EXPECT_FALSE(idle.ProcessWait(0));
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(idle.ProcessWaitSignal(s, 30), kProcessFailed);
    EXPECT_GE(MsSince(start), 30);  // a wait never ends before its time
    s.Signal();
    EXPECT_EQ(idle.ProcessWaitSignal(s, kWaitForever), kProcessFinished);

    CountingThread stopped;  // a stop outranks the signal
    stopped.StopThreadSoon();
    EXPECT_EQ(stopped.ProcessWaitSignal(s, 0), kProcessStopped);
    EXPECT_EQ(stopped.ProcessWaitSignal(s, kWaitForever), kProcessStopped);
    LSignalObjectGroup group;
    group.Add(s);
    EXPECT_EQ(stopped.ProcessWaitSignalObjectGroup(group, 0), kProcessStopped);
    EXPECT_TRUE(stopped.ProcessWait(kWaitForever));
}

namespace {

std::atomic<bool> gCounting{false};
std::atomic<int> gInterruptions{0};

void _OnChildExit(int)
{
    if (gCounting.load())
        gInterruptions.fetch_add(1);
}

// Children exit one after another for the object's life, each sending SIGCHLD to the test
// thread: the spawner blocks the signal, so the test thread is the one it interrupts. The
// handler has SA_RESTART, as the program's own has; poll and nanosleep ignore it.
class ChildExits {
public:
    ChildExits()
    {
        struct sigaction action{};
        action.sa_handler = _OnChildExit;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(SIGCHLD, &action, &_previous);
        sigset_t childExit, old;
        sigemptyset(&childExit);
        sigaddset(&childExit, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &childExit, &old);
        _spawner = std::thread([this] { _Spawn(); });
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
    }
    ~ChildExits()
    {
        _quit = true;
        _spawner.join();
        sigaction(SIGCHLD, &_previous, nullptr);
    }

    // `s` is signalled once `count` interruptions have been counted.
    void SignalAfter(LSignalObject& s, int count)
    {
        _countToSignal = count;
        _toSignal.store(&s);
    }

private:
    void _Spawn()
    {
        while (!_quit) {
            pid_t child = fork();
            if (child == 0)
                _exit(0);
            if (child > 0)
                waitpid(child, nullptr, 0);
            // Taken before it is signalled, so the next request is never wiped out.
            LSignalObject* s = _toSignal.load();
            if (s && gInterruptions.load() >= _countToSignal &&
                _toSignal.compare_exchange_strong(s, nullptr))
                s->Signal();
        }
    }

    std::atomic<bool> _quit{false};
    std::atomic<LSignalObject*> _toSignal{nullptr};
    std::atomic<int> _countToSignal{0};
    struct sigaction _previous{};
    std::thread _spawner;
};

// Stops only when told to; the event pump's waits of a long task on the interface thread.
class PlainEventsHandler : public LProcessEventsHandler {
public:
    bool IsProcessEventHandlerToStop() override { return false; }
};

struct WaitCase {
    const char* name;
    // Waits `ms` with nothing signalled; true if it gave the time limit's answer.
    std::function<bool(unsigned int ms)> timesOut;
};

}  // namespace

TEST(LThread, WaitsInterruptedByChildExitsRunToTheirRealResult)
{
    CountingThread thread;  // waits through its interface, not on its own thread
    LProcessInterfaceVoid plain;
    PlainEventsHandler pump;
    LSignalObject never;
    const std::vector<WaitCase> cases = {
        {"LThread::ProcessWait", [&](unsigned ms) { return !thread.ProcessWait(ms); }},
        {"LThread::ProcessWaitSignal",
         [&](unsigned ms) { return thread.ProcessWaitSignal(never, ms) == kProcessFailed; }},
        {"LThread group wait",
         [&](unsigned ms) {
             LSignalObjectGroup group;
             group.Add(never);
             return thread.ProcessWaitSignalObjectGroup(group, ms) == kProcessFailed &&
                    group.GetMemberCount() == 0;
         }},
        {"LProcessInterfaceVoid::ProcessWait", [&](unsigned ms) { return !plain.ProcessWait(ms); }},
        {"LProcessInterfaceVoid::ProcessWaitSignal",
         [&](unsigned ms) { return plain.ProcessWaitSignal(never, ms) == kProcessFailed; }},
        {"LSignalObjectGroup::Select",
         [&](unsigned ms) {
             LSignalObjectGroup group;
             group.Add(never);
             return !group.Select(ms);
         }},
        {"LEventQueue::WaitForEvent",
         [&](unsigned ms) {
             return LEventQueue::ForCurrentThread()->WaitForEvent(ms, never.GetReadDescriptor()) ==
                    LEventQueue::Wait::kTimeout;
         }},
        {"ProcessWaitSignalAndProcessEvents",
         [&](unsigned ms) {
             return pump.ProcessWaitSignalAndProcessEvents(never, ms) == kProcessFailed;
         }},
    };
    constexpr unsigned int kWaitMs = 120;
    constexpr int kMaxTries = 50;  // a busy machine may let a wait pass with no child exiting
    ChildExits exits;
    for (const WaitCase& c : cases) {
        int interrupted = 0;
        for (int tries = 0; tries < kMaxTries && interrupted == 0; ++tries) {
            gInterruptions = 0;
            gCounting = true;
            auto start = std::chrono::steady_clock::now();
            bool timedOut = c.timesOut(kWaitMs);
            long elapsed = MsSince(start);
            gCounting = false;
            interrupted = gInterruptions;
            ASSERT_TRUE(timedOut) << c.name << " after " << interrupted << " interruptions";
            ASSERT_GE(elapsed, static_cast<long>(kWaitMs)) << c.name;
        }
        EXPECT_GT(interrupted, 0) << c.name << ": no child exit fell into the wait";
    }

    // A signal that comes after the interruptions still ends an endless wait as signalled.
    gInterruptions = 0;
    gCounting = true;
    LSignalObject late;
    exits.SignalAfter(late, 3);
    EXPECT_EQ(thread.ProcessWaitSignal(late, kWaitForever), kProcessFinished);
    late.Reset();
    exits.SignalAfter(late, gInterruptions + 3);
    LSignalObjectGroup group;
    group.Add(never);
    group.Add(late);
    EXPECT_EQ(plain.ProcessWaitSignalObjectGroup(group, kWaitForever), kProcessFinished);
    EXPECT_TRUE(group.IsMember(late));
    EXPECT_FALSE(group.IsMember(never));
    gCounting = false;
}

namespace {

int _Nice()
{
    return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

// Starts at a priority, reports the class it runs in, and reports again after its owner
// has set a second priority.
class PriorityThread : public LThread {
public:
    ~PriorityThread() override
    {
        StopThreadSoon();
        WaitForThreadEnd();
    }

    std::atomic<int> firstPolicy{-1}, secondPolicy{-1}, secondNice{INT_MIN};
    LSignalObject reported;
    LSignalObject changed;

protected:
    void ThreadFunction() override
    {
        firstPolicy = sched_getscheduler(0);
        reported.Signal();
        if (ProcessWaitSignal(changed, kWaitForever) != kProcessFinished)
            return;
        secondPolicy = sched_getscheduler(0);
        secondNice = _Nice();
    }
};

constexpr const char* kExpectLowPolicy = "ORVANE_TEST_EXPECT_LOW_POLICY";

}  // namespace

// Runs as whoever runs the tests, and again as an ordinary user from the test below.
TEST(LThreadPriority, LoweredThreadComesBackToNormal)
{
    const int processNice = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    for (int low : {kThreadPriorityBeatDetect, kThreadPriorityBackground}) {
        PriorityThread t;
        ASSERT_TRUE(t.Start(low));
        ASSERT_TRUE(t.reported.WaitSignal(kWaitForever));
        if (const char* expected = std::getenv(kExpectLowPolicy))
            EXPECT_EQ(t.firstPolicy, std::atoi(expected)) << "priority " << low;
        else
            EXPECT_TRUE(t.firstPolicy == SCHED_IDLE || t.firstPolicy == SCHED_BATCH);
        t.SetPriority(kThreadPriorityNormal);
        t.changed.Signal();
        ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(kWaitForever));
        EXPECT_EQ(t.secondPolicy, SCHED_OTHER) << "priority " << low;
        EXPECT_EQ(t.secondNice, processNice) << "priority " << low;
    }

    // Real time, where refused, is silent and the thread runs; it comes back too.
    PriorityThread audio;
    ASSERT_TRUE(audio.Start(kThreadPriorityRealTime));
    ASSERT_TRUE(audio.reported.WaitSignal(kWaitForever));
    EXPECT_TRUE(audio.firstPolicy == SCHED_FIFO || audio.firstPolicy == SCHED_OTHER);
    audio.SetPriority(kThreadPriorityNormal);
    audio.changed.Signal();
    ASSERT_TRUE(audio.GetFinishedSignal().WaitSignal(kWaitForever));
    EXPECT_EQ(audio.secondPolicy, SCHED_OTHER);
}

namespace {

constexpr int kCannotSetLimit = 126;  // raising a hard limit needs CAP_SYS_RESOURCE

// Runs the test above in a child that has dropped root for `user`, with RLIMIT_NICE at
// `niceLimit`, expecting the low class `lowPolicy`. Everything the child needs is made
// before the fork.
int _RunAsUser(const passwd& user, rlim_t niceLimit, int lowPolicy)
{
    char self[PATH_MAX] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) <= 0)
        return -1;
    std::string filter = "--gtest_filter=LThreadPriority.LoweredThreadComesBackToNormal";
    std::vector<std::string> env = {std::string(kExpectLowPolicy) + "=" + std::to_string(lowPolicy),
                                    "ASAN_OPTIONS=detect_leaks=0"};
    for (char** e = environ; *e; ++e)
        env.emplace_back(*e);
    std::vector<char*> envp;
    for (std::string& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);
    char* argv[] = {self, filter.data(), nullptr};
    const rlimit limit{niceLimit, niceLimit};
    pid_t child = fork();
    if (child == 0) {
        if (setrlimit(RLIMIT_NICE, &limit) != 0)
            _exit(kCannotSetLimit);
        if (setgroups(0, nullptr) == 0 && setgid(user.pw_gid) == 0 && setuid(user.pw_uid) == 0)
            execve(self, argv, envp.data());
        _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(LThreadPriority, AnOrdinaryUserGetsBackTooWhateverItsNiceLimit)
{
    if (getuid() != 0)
        GTEST_SKIP() << "needs root to become an ordinary user; the test above ran as one";
    const passwd* nobody = getpwnam("nobody");
    if (!nobody)
        GTEST_SKIP() << "no user 'nobody'";
    const passwd user = *nobody;
    // The default limit of 0 allows no way back from the idle class; 40 allows any.
    const struct {
        rlim_t niceLimit;
        int lowPolicy;
    } cases[] = {{0, SCHED_BATCH}, {40, SCHED_IDLE}};
    int ran = 0;
    for (const auto& c : cases) {
        int exitCode = _RunAsUser(user, c.niceLimit, c.lowPolicy);
        if (exitCode == kCannotSetLimit) {
            std::printf("note: RLIMIT_NICE %d can't be set here; that case did not run\n",
                        static_cast<int>(c.niceLimit));
            continue;
        }
        EXPECT_EQ(exitCode, 0) << "RLIMIT_NICE " << c.niceLimit;
        ++ran;
    }
    if (ran == 0)
        GTEST_SKIP() << "no nice limit could be set here";
}

TEST(LDebugThreads, NamesThreadsAndFreesTheirEntries)
{
    std::string named, numbered, afterEnd;
    pid_t id = -1;
    std::thread([&] {
        id = gettid();
        LDebugThreadDataStartThread("PLAYER");
        named = LDebugThreadDataName(id);
        LDebugThreadDataStartThread(nullptr);  // the same thread renamed, not a second entry
        numbered = LDebugThreadDataName(id);
        LDebugThreadDataEndThread();
        afterEnd = LDebugThreadDataName(id);
    }).join();
    EXPECT_EQ(named, "PLAY");
    char expected[16];
    std::snprintf(expected, sizeof expected, "%.4d", static_cast<int>(id % 10000));
    EXPECT_EQ(numbered, expected);
    EXPECT_EQ(afterEnd, "");
}
