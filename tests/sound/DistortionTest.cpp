#include "sound/LDistortion.h"
#include "tests/sound/MemorySource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kLevel = 131072;  // 0 dB on the deck

// Every value from -range to range in steps of `step`, mono, through a distortion.
std::vector<int> Shape(double amount, std::vector<int>& ramp, int range, int step)
{
    ramp.clear();
    for (int x = -range; x <= range; x += step)
        ramp.push_back(x);
    LSoundSource s(new MemorySource(44100, 1, ramp));
    s = LSPDistortion(amount, kLevel).OpenSource(s);
    return ReadAll(s, int(ramp.size()));
}

}  // namespace

TEST(Distortion, AmountZeroIsIdentity)
{
    std::vector<int> ramp;
    const auto out = Shape(0.0, ramp, 4 * kLevel, 7);
    EXPECT_EQ(out, ramp);
}

TEST(Distortion, AmountOneIsFlatAtTheLevel)
{
    std::vector<int> ramp;
    const auto out = Shape(1.0, ramp, 4 * kLevel, 5);
    const int top = out.back();
    for (size_t i = 0; i < ramp.size(); ++i) {
        if (ramp[i] >= kLevel) {
            ASSERT_EQ(out[i], top) << ramp[i];
        }
        if (ramp[i] <= -kLevel) {
            ASSERT_EQ(out[i], -top) << ramp[i];
        }
    }
    EXPECT_NEAR(top, kLevel, 4);
}

TEST(Distortion, PiecesJoinAndRise)
{
    for (double amount : {0.3, 0.7, 1.0}) {
        std::vector<int> ramp;
        const auto out = Shape(amount, ramp, 2 * kLevel, 1);
        // Steepest slope is 4 - 3s < 1.7; a joint that does not meet shows as a larger jump.
        // Truncation toward minus infinity may step back by one unit on the negative side.
        for (size_t i = 1; i < out.size(); ++i) {
            ASSERT_GE(out[i], out[i - 1] - 1) << amount << " at " << ramp[i];
            ASSERT_LE(out[i] - out[i - 1], 3) << amount << " at " << ramp[i];
        }
        EXPECT_EQ(out[ramp.size() / 2], 0);
    }
}
