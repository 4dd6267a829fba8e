#include "base/LProcessInterface.h"

#include <gtest/gtest.h>

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

TEST(LProcessInterfaceSubProcess, MapsProgressNestsAndKeepsItsTextToItself)
{
    RecordingProcess outer;
    LProcessInterfaceSubProcess sub(outer, 0.5, 0.25);
    sub.SetProgress(0.0);
    sub.SetProgress(1.0);
    EXPECT_EQ(outer.calls, (std::vector<std::string>{"progress 0.500000", "progress 0.750000"}));

    outer.calls.clear();
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
