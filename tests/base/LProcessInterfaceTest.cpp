#include "base/LProcessInterface.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

// An outer task's interface that records what reaches it.
class RecordingProcess : public LProcessInterfaceVoid {
public:
    bool stop = false;
    std::vector<std::string> calls;

    bool IsToStop() override { return stop; }
    void SetError(const char* m) override { calls.push_back(std::string("error ") + m); }
    void SetStatus(const char* t, int line) override
    {
        calls.push_back("status" + std::to_string(line) + " " + t);
    }
    void SetProgress(double f) override { calls.push_back("progress " + std::to_string(f)); }
    void SetProgressIndeterminateOn() override { calls.push_back("indeterminate on"); }
};

}  // namespace

TEST(LProcessInterfaceSubProcess, MapsProgressIntoItsStretch)
{
    RecordingProcess outer;
    LProcessInterfaceSubProcess sub(outer, 0.5, 0.25);
    sub.SetProgress(0.0);
    sub.SetProgress(1.0);
    sub.SetProgress(0.5);
    EXPECT_EQ(outer.calls, (std::vector<std::string>{"progress 0.500000", "progress 0.750000",
                                                     "progress 0.625000"}));
}

TEST(LProcessInterfaceSubProcess, NestsAndKeepsItsTextToItself)
{
    RecordingProcess outer;
    LProcessInterfaceSubProcess half(outer, 0.5, 0.5);   // second half of the outer task
    LProcessInterfaceSubProcess quarter(half, 0.0, 0.5); // first half of that
    quarter.SetStatus("inner file", 0);
    quarter.SetProgressIndeterminateOn();
    quarter.SetProgress(1.0);
    quarter.SetErrorF("cannot read %s (%d)", "a.mp3", 3);
    EXPECT_EQ(outer.calls,
              (std::vector<std::string>{"progress 0.750000", "error cannot read a.mp3 (3)"}));

    EXPECT_FALSE(quarter.IsToStop());
    outer.stop = true;
    EXPECT_TRUE(quarter.IsToStop());  // stop requests reach through every level
}

TEST(LProcessInterface, SetErrorFCutsLongMessages)
{
    RecordingProcess outer;
    std::string huge(20000, 'e');
    outer.SetErrorF("%s", huge.c_str());
    ASSERT_EQ(outer.calls.size(), 1u);
    EXPECT_EQ(outer.calls[0].size(), std::string("error ").size() + 8191);
}

TEST(LProcessInterfaceVoid, WaitsTheWholeTimeAndAnswersSignalOrLimit)
{
    LProcessInterfaceVoid process;
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(process.ProcessWait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));

    LSignalObject s;
    EXPECT_EQ(process.ProcessWaitSignal(s, 10), kProcessFailed);
    s.Signal();
    EXPECT_EQ(process.ProcessWaitSignal(s, kWaitForever), kProcessFinished);
    LSignalObjectGroup group;
    group.Add(s);
    EXPECT_EQ(process.ProcessWaitSignalObjectGroup(group, 0), kProcessFinished);
}
