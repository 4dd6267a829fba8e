#include "base/LDebugThreads.h"
#include "base/LThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <sched.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

long _MsSince(Clock::time_point start)
{
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

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
    std::atomic<int> policy{-1};
    LSignalObject release;

protected:
    void ThreadFunction() override
    {
        sawStopAtStart = IsToStop();
        policy = sched_getscheduler(0);
        ++runs;
        ProcessWaitSignal(release, kWaitForever);
    }
};

// Waits on a signal; what ProcessWaitSignal answered ends up in `result`.
class WaitingThread : public LThread {
public:
    ~WaitingThread() override
    {
        StopThreadSoon();
        WaitForThreadEnd();
    }

    LSignalObject s;
    unsigned int waitMs = kWaitForever;
    std::atomic<int> result{-1};

protected:
    void ThreadFunction() override { result = ProcessWaitSignal(s, waitMs); }
};

}  // namespace

TEST(LThread, StartOnARunningThreadChangesNothing)
{
    CountingThread t;
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    ASSERT_TRUE(t.Start(kThreadPriorityBackground));
    EXPECT_EQ(t.GetPriority(), kThreadPriorityNormal);
    t.release.Signal();
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(5000));
    EXPECT_EQ(t.runs, 1);
    EXPECT_FALSE(t.IsRunning());
}

TEST(LThread, RestartsAfterAFinishedRunWithClearedSignals)
{
    CountingThread t;
    t.release.Signal();
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(5000));

    t.StopThreadSoon();  // a stop asked between runs does not reach the next one
    t.release.Reset();
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    EXPECT_FALSE(t.GetFinishedSignal().WaitSignal(50));
    EXPECT_TRUE(t.IsRunning());
    t.release.Signal();
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(5000));
    EXPECT_EQ(t.runs, 2);
    EXPECT_FALSE(t.sawStopAtStart);
}

TEST(LThread, StopIsHonouredWithinAWait)
{
    CountingThread t;
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    auto start = Clock::now();
    t.StopThreadSoon();
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(5000));
    EXPECT_LT(_MsSince(start), 1000);
    EXPECT_EQ(t.runs, 1);
}

TEST(LThread, ProcessWaitSignalAnswersSignalStopOrTimeLimit)
{
    WaitingThread signalled;
    signalled.s.Signal();
    signalled.Start(kThreadPriorityNormal);
    signalled.WaitForThreadEnd();
    EXPECT_EQ(signalled.result, kProcessFinished);

    WaitingThread timed;
    timed.waitMs = 30;
    auto start = Clock::now();
    timed.Start(kThreadPriorityNormal);
    timed.WaitForThreadEnd();
    EXPECT_EQ(timed.result, kProcessFailed);
    EXPECT_GE(_MsSince(start), 30);
}

TEST(LThread, StopOutranksTheSignalAndZeroNeverBlocks)
{
    // Run the worker's wait on this thread's own LThread object without starting it: the
    // interface calls do not need the thread itself.
    CountingThread t;
    LSignalObject s;
    s.Signal();
    t.StopThreadSoon();
    EXPECT_EQ(t.ProcessWaitSignal(s, 0), kProcessStopped);
    EXPECT_EQ(t.ProcessWaitSignal(s, kWaitForever), kProcessStopped);

    LSignalObjectGroup group;
    group.Add(s);
    EXPECT_EQ(t.ProcessWaitSignalObjectGroup(group, 0), kProcessStopped);
    EXPECT_TRUE(t.ProcessWait(kWaitForever));

    // Without the stop, a wait of 0 looks and returns at once.
    CountingThread idle;
    LSignalObject unset;
    EXPECT_EQ(idle.ProcessWaitSignal(unset, 0), kProcessFailed);
    EXPECT_FALSE(idle.ProcessWait(0));
}

TEST(LThread, LowPriorityRunsIdleAndRealTimeRefusalIsSilent)
{
    CountingThread low;
    low.release.Signal();
    low.Start(kThreadPriorityBeatDetect);
    ASSERT_TRUE(low.GetFinishedSignal().WaitSignal(5000));
    EXPECT_EQ(low.policy, SCHED_IDLE);

    CountingThread audio;  // real time where the account allows it, else normal; it runs
    audio.release.Signal();
    audio.Start(kThreadPriorityRealTime);
    ASSERT_TRUE(audio.GetFinishedSignal().WaitSignal(5000));
    EXPECT_TRUE(audio.policy == SCHED_FIFO || audio.policy == SCHED_OTHER);
    EXPECT_EQ(audio.runs, 1);
}

TEST(LDebugThreads, NamesThreadsAndFreesTheirEntries)
{
    std::string named;
    std::string numbered;
    std::string afterEnd;
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
