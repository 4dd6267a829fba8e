#include "RecordingProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

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

TEST(LProcessInterfaceSubProcess, KeepsAnyReportInsideItsStretch)
{
    RecordingProcess outer;
    LProcessInterfaceSubProcess sub(outer, 0.5, 0.25);
    const double inf = std::numeric_limits<double>::infinity();
    for (double f : {-inf, -3.0, std::nan(""), 2.0, inf})
        sub.SetProgress(f);
    EXPECT_EQ(outer.calls, (std::vector<std::string>{"progress 0.500000", "progress 0.500000",
                                                     "progress 0.750000", "progress 0.750000"}));
}
