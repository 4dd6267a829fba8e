// The processors' coefficient maths and kernels, alone, without a stream around them.
#include "sound/LDistortion.h"
#include "sound/LHighPass.h"
#include "sound/LParametricEq.h"
#include "sound/LPeakLimit.h"
#include "sound/LSRCEcho.h"
#include "sound/LSRCFlanger.h"
#include "sound/LSRCReverb3.h"
#include "sound/LSampleMath.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace {

// |H| of a biquad at `w` radians a sample, in dB.
double ResponseDB(const LBiquadCoefficients& k, double w)
{
    const std::complex<double> z1 = std::polar(1.0, -w), z2 = z1 * z1;
    return 20 * std::log10(std::abs((k.b0 + k.b1 * z1 + k.b2 * z2) / (k.a0 + k.a1 * z1 + k.a2 * z2)));
}

}  // namespace

TEST(DspKernels, PeakingBandHasItsGainAtTheCentreAndACutUndoesTheBoost)
{
    for (int rate : {22050, 44100, 96000})
        for (int hz : {100, 400, 1000})
            for (int db : {-24, -6, 0, 3, 12}) {
                const LBiquadCoefficients k = LPeakingEqCoefficients(db, hz, 1.4, rate);
                const double centre = 2 * std::numbers::pi * hz / rate;
                EXPECT_NEAR(ResponseDB(k, centre), db, 1e-6) << rate << " " << hz << " " << db;
                EXPECT_NEAR(ResponseDB(k, std::numbers::pi), 0.0, 0.05) << "far from the band nothing changes";
                const LBiquadCoefficients cut = LPeakingEqCoefficients(-db, hz, 1.4, rate);
                EXPECT_DOUBLE_EQ(cut.a0, k.b0);
                EXPECT_DOUBLE_EQ(cut.a2, k.b2);
                EXPECT_DOUBLE_EQ(cut.b1, k.a1);
            }
    const LBiquadCoefficients flat = LPeakingEqCoefficients(0, 400, 1.4, 44100);
    EXPECT_EQ(flat.a0, flat.b0);
    EXPECT_EQ(flat.a2, flat.b2);
}

TEST(DspKernels, BiquadKernelSharesOneHistoryAcrossChannels)
{
    // y = x + 0.5 y1: the right channel of a frame starts from the left channel's output of
    // the frame before only through y1, which holds the last channel's output.
    LBiquadKernel kernel;
    kernel.k.a1 = -0.5;
    std::vector<int> block{1000, 0, 0, 0, 0, 0};
    kernel.Process(block.data(), 3, 2);
    EXPECT_EQ(block, (std::vector<int>{1000, 0, 0, 0, 0, 0}));
    block = {0, 1000, 0, 0, 0, 0};
    kernel = {};
    kernel.k.a1 = -0.5;
    kernel.Process(block.data(), 3, 2);
    EXPECT_EQ(block, (std::vector<int>{0, 1000, 500, 500, 250, 250}));
}

TEST(DspKernels, HighPassCoefficientKeepsItsTunedTwoPi)
{
    struct Case {
        int hz, rate, k;
    };
    // (1 - e^(-2 pi f / rate)) * 256, cut. At 5122 Hz and 39,353 Hz the full 2 pi would give 143.
    for (Case c : {Case{100, 44100, 3}, Case{1000, 44100, 33}, Case{5122, 39353, 142}, Case{44100, 44100, 255},
                   Case{1, 44100, 0}})
        EXPECT_EQ(LHighPassCoefficient(c.hz, c.rate), c.k) << c.hz << " at " << c.rate;
    EXPECT_EQ(kTwoPiNineDecimalsUp, 6.283185308);
    EXPECT_EQ(kTwoPiNineDecimalsCut, 6.283185307);

    // A step: the output jumps with the input, then falls back as the track catches up.
    LHighPassKernel kernel;
    kernel.k = LHighPassCoefficient(1000, 44100);
    std::vector<int> block(400, 0x40000);
    kernel.Process(block.data(), 400, 1);
    EXPECT_EQ(block[0], 0x40000);
    EXPECT_LT(std::abs(block[399]), 0x40000 / 100);
}

TEST(DspKernels, DistortionCurvePiecesJoinAndOutOfRangeParametersAreHeld)
{
    for (double amount : {0.0, 0.3, 1.0})
        for (int level : {1000, 131072, kDistortionMaxLevel}) {
            const LDistortionCurve c = LDistortionCurveFor(amount, level);
            for (int joint : {c.t1, c.t2}) {
                EXPECT_NEAR(c.Shape(joint), c.Shape(joint - 1), 5) << amount << " " << level;
                EXPECT_NEAR(c.Shape(-joint), c.Shape(1 - joint), 5) << amount << " " << level;
            }
        }
    const LDistortionCurve flat = LDistortionCurveFor(1.0, 131072);
    EXPECT_EQ(flat.Shape(131072), flat.Shape(INT_MAX)) << "amount 1 has a flat top";
    const LDistortionCurve clean = LDistortionCurveFor(0.0, 131072);
    EXPECT_NEAR(clean.Shape(300000), 300000, 2) << "amount 0 is an identity above the knee";

    const auto same = [](const LDistortionCurve& a, const LDistortionCurve& b) {
        return a.t1 == b.t1 && a.t2 == b.t2 && a.g0 == b.g0 && a.g1 == b.g1 && a.g2 == b.g2 && a.c1 == b.c1 &&
               a.c2 == b.c2;
    };
    EXPECT_TRUE(same(LDistortionCurveFor(std::nan(""), 1000), LDistortionCurveFor(0.0, 1000)));
    EXPECT_TRUE(same(LDistortionCurveFor(7.0, 1000), LDistortionCurveFor(1.0, 1000)));
    EXPECT_TRUE(same(LDistortionCurveFor(0.5, INT_MAX), LDistortionCurveFor(0.5, kDistortionMaxLevel)));
    EXPECT_TRUE(same(LDistortionCurveFor(0.5, -5), LDistortionCurveFor(0.5, 0)));
}

TEST(DspKernels, EchoRingAndFeedbackAndTheKernelAlone)
{
    struct Case {
        int rate, ms, channels;
        int64_t ints;
    };
    for (Case c : {Case{44100, 4000, 2, 352800}, Case{44100, 1, 2, 88}, Case{8000, 1, 1, 20}, Case{44100, 1500, 1, 66150},
                   Case{INT_MAX, 4000, 255, int64_t(INT_MAX) * 4 * 255}})
        EXPECT_EQ(LEchoRingLength(c.rate, c.ms, c.channels), c.ints) << c.rate << " " << c.ms;
    EXPECT_EQ(LEchoFactor(50), 256);
    EXPECT_EQ(LEchoFactor(99), 506);
    EXPECT_EQ(LEchoFactor(0), 0);

    // An impulse through a 4-int line at half feedback comes back halved every 4 values.
    int ring[4] = {};
    LEchoKernel kernel{ring, 4, 0, LEchoFactor(50)};
    std::vector<int> block(12, 0);
    block[0] = 1000;
    kernel.Process(block.data(), 12);
    EXPECT_EQ(block, (std::vector<int>{1000, 0, 0, 0, 500, 0, 0, 0, 250, 0, 0, 0}));
    kernel.Silence();
    EXPECT_EQ(ring[0], 0);
}

TEST(DspKernels, FlangerShapeHoldsItsParametersWithinTheRing)
{
    const LFlangerShape s = LFlangerShapeFor(44100, 2, 10, 0.5, 100, 50);
    EXPECT_EQ(s.centreFrames, 441);
    EXPECT_EQ(s.swingFrames, 441);
    EXPECT_EQ(s.ringLength, (441 + 441 + 2) * 2);
    EXPECT_EQ(s.mix, 0.5);
    EXPECT_DOUBLE_EQ(s.phaseStep, 2 * std::numbers::pi * 0.5 / 44100);

    const LFlangerShape held = LFlangerShapeFor(44100, 1, 5000, INFINITY, 250, -5);
    EXPECT_EQ(held.centreFrames, 44100);
    EXPECT_EQ(held.swingFrames, 44100);
    EXPECT_EQ(held.mix, 0.0);
    EXPECT_EQ(held.phaseStep, 0.0);
    EXPECT_DOUBLE_EQ(LFlangerShapeFor(44100, 1, 10, 1e9, 50, 50).phaseStep, 2 * std::numbers::pi);
    EXPECT_LE(LFlangerShapeFor(192000, 255, 1000, 1.0, 100, 50).ringLength, LFlangerShape::kMaxRingInts);
}

TEST(DspKernels, ReverbTuningForRoomDampingAndGains)
{
    const LReverbTuning t = LReverbTuningFor(4000, 100, 0.5f, 0.25f);
    EXPECT_FLOAT_EQ(t.roomFactor, 0.98f);
    EXPECT_FLOAT_EQ(t.dampingFactor, 0.4f);
    EXPECT_FLOAT_EQ(t.wet1, 1.5f);
    EXPECT_EQ(t.wet2, 0.0f);
    EXPECT_FLOAT_EQ(t.dryFactor, 0.5f);
    EXPECT_FLOAT_EQ(t.gain, 0.015f);
    // Beyond the limits the combs would stop dying down or the damping turn unstable.
    EXPECT_FLOAT_EQ(LReverbTuningFor(90000, 255, 1, 1).roomFactor, 0.98f);
    EXPECT_FLOAT_EQ(LReverbTuningFor(-5, 255, 1, 1).roomFactor, 0.7f);
    EXPECT_FLOAT_EQ(LReverbTuningFor(0, 255, 1, 1).dampingFactor, 1.0f);
}

TEST(DspKernels, LimiterBlockGainBringsEveryPeakUnderTheLimit)
{
    EXPECT_EQ(LPeakLimitBlockGain(kPeakLimit, kPeakLimit), kGainUnity);
    EXPECT_EQ(LPeakLimitBlockGain(0, kPeakLimit), kGainUnity);
    for (int peak : {kPeakLimit + 1, 2 * kPeakLimit, 0x200000, 0x1000000, INT_MAX}) {
        const int gain = LPeakLimitBlockGain(peak, kPeakLimit);
        const double limited = double(peak) * gain / kGainUnity;
        EXPECT_LE(limited, kPeakLimit) << peak;
        // Limited, not muted: the 32-bit quotient grows coarse only for peaks far beyond the limit.
        EXPECT_GT(limited, kPeakLimit * (peak <= 0x200000 ? 0.99 : 0.85)) << peak;
    }
}
