#include "sound/LDistortion.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

constexpr int kLevel = 131072;  // 0 dB on the deck

// Every value from -2 level to 2 level in steps of `step`, through a distortion.
std::vector<int> Shape(double amount, std::vector<int>& ramp, int step)
{
    ramp.clear();
    for (int x = -2 * kLevel; x <= 2 * kLevel; x += step)
        ramp.push_back(x);
    return ReadAll(Open(LSPDistortion(amount, kLevel), ramp, 1), int(ramp.size()));
}

}  // namespace

TEST(Distortion, AmountZeroIsIdentityAndOneIsFlatAtTheLevel)
{
    std::vector<int> ramp;
    EXPECT_EQ(Shape(0.0, ramp, 7), ramp);

    const auto out = Shape(1.0, ramp, 5);
    const int top = out.back();
    EXPECT_NEAR(top, kLevel, 4);
    for (size_t i = 0; i < ramp.size(); ++i) {
        if (std::abs(ramp[i]) >= kLevel) {
            ASSERT_EQ(out[i], ramp[i] > 0 ? top : -top) << ramp[i];
        }
    }
}

TEST(Distortion, PiecesJoinAndRise)
{
    for (double amount : {0.3, 0.7, 1.0}) {
        std::vector<int> ramp;
        const auto out = Shape(amount, ramp, 1);
        // Steepest slope is 4 - 3s < 1.7, so a joint that does not meet shows as a larger jump.
        // Truncation toward minus infinity may step back one unit on the negative side.
        for (size_t i = 1; i < out.size(); ++i) {
            ASSERT_GE(out[i], out[i - 1] - 1) << amount << " at " << ramp[i];
            ASSERT_LE(out[i] - out[i - 1], 3) << amount << " at " << ramp[i];
        }
    }
}
