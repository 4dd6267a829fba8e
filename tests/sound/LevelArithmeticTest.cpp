#include "sound/LBufferHelpers.h"
#include "sound/LSoundTime.h"
#include "sound/LdB.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

TEST(SoundTime, TwoStepConversionsAreExactAtLongPositions)
{
    // 2 hours at 44,100 Hz: one-step rate * ms would need 3.2e11.
    EXPECT_EQ(LSoundTime::FromFrames(317520000, 44100).GetMilliseconds(), 7200000);
    EXPECT_EQ(LSoundTime(7200000).ToFrames(44100), 317520000);
    // Remainders are truncated, not rounded.
    EXPECT_EQ(LSoundTime::FromFrames(44099, 44100).GetMilliseconds(), 999);
    EXPECT_EQ(LSoundTime(1).ToFrames(44100), 44);
    EXPECT_EQ(LSoundTime::FromFrames(-44100, 44100).GetMilliseconds(), -1000);
    EXPECT_EQ(LSoundTime::FromFrames(1000, 0).GetMilliseconds(), 0);
}

TEST(SoundTime, TextAndValidation)
{
    char text[16];
    LSoundTime(3723456)._GetTextHMMSSF(text);
    EXPECT_STREQ(text, "1:02:03.4");
    LSoundTime(-2147483647 - 1)._GetTextHMMSSF(text);  // the sign goes in front, no overflow
    EXPECT_STREQ(text, "-596:31:23.6");

    for (const char* good : {"", "1:02:03.4", "1:2:3:4", "::.5", "-1:00"})
        EXPECT_EQ(LSoundTime::IsValid(good, false), good[0] != '-') << good;  // a sign only when allowed
    for (const char* bad : {"1:2:3:4:5", "1.2.3", "1.2:3", "a", "1 2", "--1"})
        EXPECT_FALSE(LSoundTime::IsValid(bad, true)) << bad;
    EXPECT_TRUE(LSoundTime::IsValid("-1:00", true));
}

TEST(DecibelTables, EdgesOfBothTables)
{
    EXPECT_EQ(LdBValue(0).GetGain(), kGainUnity);
    EXPECT_EQ(LdBValue(0).GetPowerGain(), kGainUnity);
    EXPECT_EQ(LdBValue(-127).GetGain(), 0);
    EXPECT_EQ(LdBValue(-128).GetPowerGain(), 0);
    EXPECT_EQ(LdBValue(-126).GetGain(), 8);
    EXPECT_EQ(LdBValue(-6).GetPowerGain(), 4214246);
    // The amplitude table saturates first at +43 dB, the power table at +22 dB.
    EXPECT_EQ(LdBValue(42).GetGain(), 2112126356);
    EXPECT_EQ(LdBValue(43).GetGain(), 0x7fffffff);
    EXPECT_LT(LdBValue(21).GetPowerGain(), 0x7fffffff);
    EXPECT_EQ(LdBValue(22).GetPowerGain(), 0x7fffffff);
}

TEST(DecibelTables, GainProductKeepsUnityAndHalves)
{
    for (int x : {0, 1, -1, 4095, -4096, 0x80000, -0x80000, 0x7fff0, 0x200000})
        EXPECT_EQ(LGainMultiply(x, kGainUnity), x) << x;
    EXPECT_EQ(LGainMultiply(0x7fff0, 0x800000), 0x3fff8);
    EXPECT_EQ(LGainMultiply(-0x7fff0, 0x800000), -0x3fff8);
    // Gains multiply the same way: -6 dB twice is close to the -12 dB entry.
    EXPECT_NEAR(LGainMultiply(LdBValue(-6).GetGain(), LdBValue(-6).GetGain()),
                LdBValue(-12).GetGain(), 4);
    // The dropped low-by-low term: 0xfff * 0xfff contributes nothing.
    EXPECT_EQ(LGainMultiply(0xfff, 0xfff), 0);
}

TEST(DecibelTables, GainAndMeanSquareToDecibels)
{
    EXPECT_EQ(static_cast<unsigned char>(LGainToDB(0).GetDB()), 129);  // -127
    EXPECT_EQ(LGainToDB(kGainUnity).GetDB(), 0);
    EXPECT_EQ(LGainToDB(0x7fffffff).GetDB(), 42);
    EXPECT_EQ(LGainToDB(1).GetDB(), -127);  // -144 dB is below the scale

    EXPECT_EQ(LMeanSquareToDB(0).GetDB(), -127);
    EXPECT_EQ(LMeanSquareToDB(8388626).GetDB(), 0);
    EXPECT_EQ(LMeanSquareToDB(0x10000000).GetDB(), 15);
    EXPECT_EQ(LMeanSquareToDB(0xffffffffu).GetDB(), 27);
}

TEST(BufferHelpers, PeakTakesBothSignsAndEmptyBlocks)
{
    const std::vector<int> block{3, -0x80000, 0x7fff0, 5, -2147483647 - 1};
    EXPECT_EQ(GetBufferPeak(block.data(), 2, 2), 0x80000);
    EXPECT_EQ(GetBufferPeak(block.data(), 1, 1), 3);
    EXPECT_EQ(GetBufferPeak(block.data(), 0, 2), 0);
    EXPECT_EQ(GetBufferPeak(block.data() + 4, 1, 1), 0x7fffffff);
}

TEST(BufferHelpers, MeanSquareOfFullScaleDoesNotOverflowAndMatchesThePlainMean)
{
    // 8192 stereo frames of a full-scale square wave: sum of squares is 2^42.
    std::vector<int> block(8192 * 2);
    for (size_t i = 0; i < block.size(); ++i)
        block[i] = (i / 64) % 2 ? -0x80000 : 0x80000;
    EXPECT_EQ(GetBufferMeanSquare(block.data(), 8192, 2), 0x10000000u);
    EXPECT_EQ(GetBufferMeanSquareChan(1, block.data(), 8192, 2), 0x10000000u);
    EXPECT_EQ(GetBufferMeanSquare(block.data(), 0, 2), 0u);
    // One channel: the channel index is not looked at.
    EXPECT_EQ(GetBufferMeanSquareChan(5, block.data(), 64, 1), 0x10000000u);

    std::mt19937 random(7);
    for (int frames : {1, 3, 100, 8192}) {
        block.resize(static_cast<size_t>(frames) * 2);
        uint64_t sum[2] = {0, 0};
        for (size_t i = 0; i < block.size(); ++i) {
            block[i] = std::uniform_int_distribution<int>(-0x7fff0, 0x7fff0)(random);
            sum[i % 2] += static_cast<uint64_t>(int64_t(block[i] >> 5) * (block[i] >> 5));
        }
        // Only the low accumulator's remainder below 2^13 is dropped: at most 8192 / n + 1.
        EXPECT_NEAR(GetBufferMeanSquare(block.data(), frames, 2), (sum[0] + sum[1]) / block.size(),
                    8192.0 / double(block.size()) + 1) << frames;
        EXPECT_NEAR(GetBufferMeanSquareChan(0, block.data(), frames, 2), sum[0] / frames, 8192.0 / frames + 1) << frames;
    }
}

TEST(BufferHelpers, MeanSquareAboveFourTimesFullScaleSaturates)
{
    struct Case {
        int64_t amplitude;  // of a square wave
        int meterDB;
    };
    for (Case c : {Case{0x80000, 15}, Case{2 * 0x80000, 21}, Case{4 * 0x80000, 27}, Case{16 * 0x80000, 27},
                   Case{INT_MAX, 27}}) {
        std::vector<int> block(64 * 2);
        for (size_t i = 0; i < block.size(); ++i)
            block[i] = static_cast<int>((i / 4) % 2 ? -c.amplitude : c.amplitude);
        const uint64_t exact = uint64_t((c.amplitude >> 5) * (c.amplitude >> 5));
        const uint32_t expected = static_cast<uint32_t>(std::min<uint64_t>(exact, UINT32_MAX));
        EXPECT_EQ(GetBufferMeanSquare(block.data(), 64, 2), expected) << c.amplitude;
        EXPECT_EQ(GetBufferMeanSquareChan(1, block.data(), 64, 2), expected) << c.amplitude;
        EXPECT_EQ(LMeanSquareToDB(GetBufferMeanSquare(block.data(), 64, 2)).GetDB(), c.meterDB) << c.amplitude;
    }
    // The most negative int squares like the largest.
    std::vector<int> lowest(16, INT_MIN);
    EXPECT_EQ(GetBufferMeanSquare(lowest.data(), 8, 2), UINT32_MAX);
}

TEST(BufferHelpers, QuickGainHasNineFractionalBits)
{
    std::vector<int> block{0x7fff0, -0x7fff0, -3, 1000};
    GainAudioBufferQuick(512, block.data(), 4);
    EXPECT_EQ(block, (std::vector<int>{0x7fff0, -0x7fff0, -3, 1000}));
    GainAudioBufferQuick(256, block.data(), 3);
    EXPECT_EQ(block, (std::vector<int>{0x3fff8, -0x3fff8, -2, 1000}));
    GainAudioBufferQuick(4096, block.data(), 2);  // 8 times, no 32-bit overflow on the way
    EXPECT_EQ(block[0], 0x1fffc0);
}
