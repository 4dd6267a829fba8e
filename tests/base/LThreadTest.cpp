#include "base/LDebugThreads.h"
#include "base/LThread.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <sched.h>
#include <thread>
#include <unistd.h>

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
    std::atomic<int> policy{-1};
    LSignalObject release;

    bool RunToEnd(int priority)
    {
        release.Signal();
        return Start(priority) && GetFinishedSignal().WaitSignal(5000);
    }

protected:
    void ThreadFunction() override
    {
        sawStopAtStart = IsToStop();
        policy = sched_getscheduler(0);
        ++runs;
        ProcessWaitSignal(release, kWaitForever);
    }
};

}  // namespace

TEST(LThread, StartWhileRunningRestartStopInAWaitAndPriorities)
{
    CountingThread t;
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    ASSERT_TRUE(t.Start(kThreadPriorityBackground));
    EXPECT_EQ(t.GetPriority(), kThreadPriorityNormal);
    t.release.Signal();
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(5000));
    EXPECT_EQ(t.runs, 1);
    EXPECT_FALSE(t.IsRunning());

    t.StopThreadSoon();  // a stop asked between runs does not reach the next one
    t.release.Reset();
    ASSERT_TRUE(t.Start(kThreadPriorityNormal));
    EXPECT_FALSE(t.GetFinishedSignal().WaitSignal(50));
    EXPECT_TRUE(t.IsRunning());
    EXPECT_FALSE(t.sawStopAtStart);
    auto start = std::chrono::steady_clock::now();
    t.StopThreadSoon();  // ends the run's wait for a release that never comes
    ASSERT_TRUE(t.GetFinishedSignal().WaitSignal(5000));
    EXPECT_LT(MsSince(start), 1000);
    EXPECT_EQ(t.runs, 2);

    // Low priority runs idle; a refused real-time priority is silent and the thread runs.
    CountingThread low;
    ASSERT_TRUE(low.RunToEnd(kThreadPriorityBeatDetect));
    EXPECT_EQ(low.policy, SCHED_IDLE);
    CountingThread audio;
    ASSERT_TRUE(audio.RunToEnd(kThreadPriorityRealTime));
    EXPECT_TRUE(audio.policy == SCHED_FIFO || audio.policy == SCHED_OTHER);
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
    EXPECT_GE(MsSince(start), 30);
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
