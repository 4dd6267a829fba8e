#include "support/QtTestApp.h"
#include "ui/LTimerHandler.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class RecordingTimers : public LTimerHandler {
public:
    std::vector<int> fired;
    void EvTimer(int timerId) override { fired.push_back(timerId); }
};

struct Owner {
    int actions = 0;
    void TimerAction() { ++actions; }
};

}  // namespace

// Order of firing shows the waits without measuring time: 0 ms waits as 10, after a 5 ms timer
// set later and before a 30 ms one; a negative id is never set.
TEST(Timers, ZeroMeansTenAndNegativeIdsDoNothing)
{
    QtTestApp();
    RecordingTimers timers;
    timers.TimerSet(1, 0);
    timers.TimerSet(-1, 1);
    timers.TimerSet(2, 5);
    timers.TimerSet(3, 30);
    EXPECT_TRUE(timers.IsTimerSet(1));
    EXPECT_FALSE(timers.IsTimerSet(-1));
    ASSERT_TRUE(QtTestWaitFor([&] { return timers.fired.size() == 3; }));
    EXPECT_EQ(timers.fired, (std::vector<int>{2, 1, 3}));
    EXPECT_FALSE(timers.IsTimerSet(1));  // one-shot
}

TEST(Timers, RestartReplacesAndKillAndDestroyCancel)
{
    QtTestApp();
    RecordingTimers timers;
    timers.TimerSet(1, 5);
    timers.TimerSet(1, 40);  // replaces the 5 ms wait: fires once, after timer 2
    timers.TimerSet(2, 20);
    timers.TimerSet(3, 10);
    timers.TimerKill(3);
    EXPECT_FALSE(timers.IsTimerSet(3));
    ASSERT_TRUE(QtTestWaitFor([&] { return timers.fired.size() == 2; }));
    EXPECT_EQ(timers.fired, (std::vector<int>{2, 1}));

    timers.fired.clear();
    timers.TimerSet(4, 1);
    timers.TimerSet(5, 1);
    timers.TimerDestroy();
    RecordingTimers witness;  // fires later than the cancelled ones would have
    witness.TimerSet(1, 20);
    ASSERT_TRUE(QtTestWaitFor([&] { return !witness.fired.empty(); }));
    EXPECT_TRUE(timers.fired.empty());
}

// A handler may set its timer again from EvTimer, and may be destroyed with timers running.
TEST(Timers, RepeatFromTheHandlerAndCallBack)
{
    QtTestApp();
    struct Repeating : RecordingTimers {
        void EvTimer(int id) override
        {
            RecordingTimers::EvTimer(id);
            if (fired.size() < 3) {
                TimerSet(id, 1);
            }
        }
    } repeating;
    repeating.TimerSet(7, 1);
    Owner owner;
    LTimerCallBack<Owner> callBack(&owner);
    callBack.Set(2);
    EXPECT_TRUE(callBack.IsSet());
    ASSERT_TRUE(QtTestWaitFor([&] { return repeating.fired.size() == 3 && owner.actions == 1; }));
    EXPECT_EQ(repeating.fired, (std::vector<int>{7, 7, 7}));
    {
        RecordingTimers shortLived;
        shortLived.TimerSet(1, 1);
    }
    callBack.Set(5);
    ASSERT_TRUE(QtTestWaitFor([&] { return owner.actions == 2; }));
}
