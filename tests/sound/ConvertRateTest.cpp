#include "sound/LSRCConvertRate.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <tuple>

namespace {

struct SineFit {
    double amplitude;
    double residualRms;  // what is left after removing the fitted sine
};

// Least-squares fit of a sine of known frequency to channel `c` over whole cycles: a wrong
// frequency leaves a large residual, a wrong level a wrong amplitude.
SineFit FitSine(const std::vector<int>& samples, int channels, int c, int rate, double hz, int from, int count)
{
    double s = 0, k = 0, power = 0;
    for (int i = from; i < from + count; ++i) {
        const double w = 2 * std::numbers::pi * hz * i / rate, x = samples[static_cast<size_t>(i) * channels + c];
        s += x * std::sin(w);
        k += x * std::cos(w);
        power += x * x;
    }
    const double amplitude = std::hypot(s, k) * 2.0 / count;  // over whole cycles the sine takes A^2 / 2
    return {amplitude, std::sqrt(std::max(0.0, power / count - amplitude * amplitude / 2))};
}

LSoundSource Convert(LSoundSource source, int rate, bool approximate = false)
{
    return LSPConvertRate(rate, approximate).OpenSource(source);
}

LSRCConvertRate& AsConverter(const LSoundSource& h)
{
    auto* converter = dynamic_cast<LSRCConvertRate*>(h.Get());
    EXPECT_NE(converter, nullptr);
    return *converter;
}

}  // namespace

TEST(ConvertRateTable, ChoosesPhasesAndStep)
{
    for (auto [from, to, approximate, l, m] : {std::tuple{44100, 48000, false, 160, 147}, std::tuple{48000, 44100, false, 147, 160},
                                              std::tuple{22050, 44100, false, 2, 1}, std::tuple{44100, 42000, true, 20, 21}}) {
        LConvertRateBase table(from, to, 63, false, approximate);
        EXPECT_EQ(table.GetPhases(), l) << from << "->" << to;
        EXPECT_EQ(table.GetStep(), m) << from << "->" << to;
    }
}

TEST(ConvertRateOpen, EqualRatesAndErrorsGiveTheSameObjectAndBeyondFourTwoStages)
{
    // A converter doubles a peak within full scale (ringing may overshoot) and reports an
    // inner error; a zero rate is refused.
    LSoundSource quiet(new MemorySource(22050, 1, {}, kPeakLimit));
    EXPECT_EQ(LSRCConvertRate(quiet, 44100, false, false).GetPeak(), 2 * kPeakLimit);
    EXPECT_EQ(LSRCConvertRate(quiet, 0, false, false).GetError(), kErrBadFormat);

    LSoundSource source(new MemorySource(44100, 1, std::vector<int>(44100)));
    EXPECT_EQ(Convert(source, 44100).Get(), source.Get());
    LSoundSource broken = MakeErrorSource(kErrMissing, 22050, 2);
    EXPECT_EQ(Convert(broken, 44100).Get(), broken.Get());
    EXPECT_EQ(LSRCConvertRate(broken, 48000, false, false).GetError(), kErrInner);

    LSoundSource oneStage = Convert(source, 11025);
    EXPECT_EQ(AsConverter(oneStage).GetStep(), 4);
    EXPECT_EQ(AsConverter(oneStage).GetPhases(), 1);
    // 44100 >> 2 exceeds 11024: first to 22048, then halved.
    LSoundSource twoStage = Convert(source, 11024);
    EXPECT_EQ(twoStage->GetRate(), 11024);
    EXPECT_EQ(AsConverter(twoStage).GetStep(), 2);
    EXPECT_EQ(AsConverter(twoStage).GetPhases(), 1);
}

TEST(ConvertRateSource, SineKeepsFrequencyAndLevelThereAndBack)
{
    const int frames = 3 * 44100;  // long enough to rewind the internal buffer several times
    const double amplitude = 0x40000;
    // Fits the second second of each channel; images of a 10 kHz tone lie about 55 dB down
    // with this short filter.
    auto expectSine = [amplitude](const std::vector<int>& samples, int rate, double hz) {
        for (int c = 0; c < 2; ++c) {
            SineFit fit = FitSine(samples, 2, c, rate, hz, rate, rate);
            EXPECT_NEAR(20 * std::log10(fit.amplitude / amplitude), 0.0, 0.1) << hz << " Hz at " << rate;
            EXPECT_LT(fit.residualRms, amplitude * 1e-2) << hz << " Hz at " << rate;
        }
    };
    for (double hz : {1000.0, 10000.0}) {
        LSoundSource up = Convert(MakeMemory(MakeSine(44100, 2, hz, amplitude, frames)).handle, 48000);
        LSoundSource back = Convert(up, 44100);
        expectSine(ReadAll(up, 48000 * 2), 48000, hz);
        back->Seek(0);
        expectSine(ReadAll(back, frames - 44100), 44100, hz);
    }
}

TEST(ConvertRateSource, SeekZeroCentresTheFirstOutputOnSourceFrameZero)
{
    std::vector<int> impulse(4000, 0);
    impulse[0] = 0x40000;
    auto [source, memory] = MakeMemory(impulse, 1, 22050);
    LSoundSource up = Convert(source, 44100);
    const std::vector<int> fresh = ReadAll(up, 200);
    // Only the centre tap of row 0 meets the impulse, and output frame 0 is the loudest.
    const int centre = AsConverter(up).GetRow(0)[31];
    EXPECT_NEAR(fresh[0], int64_t(0x40000) * centre / 65536, 1);
    for (size_t i = 1; i < fresh.size(); ++i)
        EXPECT_LT(std::abs(fresh[i]), fresh[0]) << i;

    ReadAll(up, 3000);
    up->Seek(0);
    EXPECT_EQ(memory->seeks.back(), -32);
    EXPECT_EQ(ReadAll(up, 200), fresh);
}

TEST(ConvertRateSource, PositionAfterSeekIsTheFrameSoughtAndAdvancesByOne)
{
    for (auto [from, to, approximate] : {std::tuple{44100, 48000, false}, std::tuple{44100, 42000, true},
                                         std::tuple{44100, 11024, false}}) {
        LSoundSource converted = Convert(MakeMemory(std::vector<int>(2 * 200000, 1000), 2, from).handle, to, approximate);
        EXPECT_EQ(converted->GetPositionSample(), 0);
        for (int f = 0; f < 150000; f += 997) {
            converted->Seek(f);
            ASSERT_EQ(converted->GetPositionSample(), f) << from << "->" << to;
            ReadAll(converted, 37);
            ASSERT_EQ(converted->GetPositionSample(), f + 37) << from << "->" << to;
        }
    }
}

TEST(ConvertRateSource, StreamingSourceKeepsAMarginAndIsAsked64FramesAtATime)
{
    auto [source, memory] = MakeMemory(std::vector<int>(2 * 50000, 5));
    LSoundSource up = Convert(source, 48000);
    EXPECT_EQ(up->GetEndSample(), 50000 * 160 / 147);
    ReadAll(up, 1000);
    EXPECT_EQ(memory->reads, std::vector<int>{8192});  // a finished file: large blocks

    memory->streaming = true;
    memory->streamEnd = 100;
    up->Seek(0);
    memory->reads.clear();
    ReadAll(up, 1000);
    ASSERT_GE(memory->reads.size(), 3u);
    for (size_t i = 1; i < memory->reads.size(); ++i)
        EXPECT_EQ(memory->reads[i], 64) << "refill " << i;
    memory->streamEnd = 44100;
    const int e = 44100 - 33;
    EXPECT_EQ(up->GetEndSample(), (e / 147) * 160 + (160 * (e % 147)) / 147 - 1);
}

TEST(ConvertRateSource, LoudMaterialNeitherWrapsNorLosesScale)
{
    auto up = [](std::vector<int> samples, int frames) { return ReadAll(Convert(MakeMemory(samples, 1).handle, 48000), frames); };
    // Material far beyond full scale, even past 2^30 where samples no longer fit 16 bits after the
    // largest block shift, comes out scaled alike, to block floating point precision.
    const std::vector<int> sine = MakeSine(44100, 1, 3000, 0x7fff0, 20000);
    const std::vector<int> outA = up(sine, 20000);
    for (int factor : {64, 3000}) {
        std::vector<int> louder(sine);
        for (int& x : louder)
            x *= factor;
        const std::vector<int> outB = up(louder, 20000);
        for (size_t i = 0; i < outA.size(); ++i)
            ASSERT_NEAR(outB[i], double(factor) * outA[i], factor * 40.0) << factor << " at " << i;
    }
}

TEST(PitchSpeed, ConvertsToRateOverSpeedButKeepsTheLabel)
{
    auto [source, memory] = MakeMemory(std::vector<int>(2 * 44100, 7));
    LSRCPitchSpeed faster(source, 1.05, true);
    EXPECT_EQ(faster.GetRate(), 44100);
    EXPECT_EQ(faster.GetEndSample(), 44100 / 21 * 20);  // L 20, M 21
    faster.Seek(2000);  // control messages reach the converter
    long below = 0;
    EXPECT_TRUE(faster.ControlMessage(kMsgPositionBelow, &below));
    EXPECT_EQ(below, memory->pos);
    long moveTo = 123;
    EXPECT_TRUE(faster.ControlMessage(kMsgSeekBelow, &moveTo));
    EXPECT_EQ(memory->pos, 123);
    // A crossfade request with data, or any other message, is not the converter's.
    below = -1;
    EXPECT_FALSE(faster.ControlMessage(kMsgCrossFade, &below));
    EXPECT_FALSE(faster.ControlMessage(kMsgPrefillSecondary, &below));
    EXPECT_FALSE(faster.ControlMessage(kMsgPositionBelow, nullptr));
    EXPECT_EQ(below, -1);

    EXPECT_EQ(LSRCPitchSpeed(source, 0.01, true).GetEndSample(), 441000);
    EXPECT_EQ(LSRCPitchSpeed(source, 0.1, true).GetEndSample(), 441000);

}
