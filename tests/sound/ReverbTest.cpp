#include "sound/LSRCReverb3.h"

#include "sound/LBufferHelpers.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

const int kComb[2][8] = {{1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617}, {1139, 1211, 1300, 1379, 1455, 1514, 1580, 1640}};
const int kAllpass[2][4] = {{556, 441, 341, 225}, {579, 464, 364, 248}};

LSRCReverb3* Reverb(LSoundSource& s)
{
    return static_cast<LSRCReverb3*>(s.Get());
}

// Wet only at 0 dB.
LSoundSource Wet(int rate, int channels, std::vector<int> in)
{
    return Open(LSPReverb3(2000, 50, LdBValue(0), LdBValue(-127)), std::move(in), channels, rate);
}

TEST(Reverb, DelaysFollowTheTableScaledToTheRateAndSoDoesTheFirstEcho)
{
    for (int rate : {44100, 22050}) {
        std::vector<int> in(2 * 2000, 0);
        in[0] = 0x40000;  // left only: the wet path sums both inputs, so both sides answer
        LSoundSource s = Wet(rate, 2, in);
        for (int side = 0; side < 2; ++side) {
            for (int i = 0; i < 8; ++i)
                EXPECT_EQ(Reverb(s)->GetCombSize(side, i), kComb[side][i] * rate / 44100) << rate;
            for (int i = 0; i < 4; ++i)
                EXPECT_EQ(Reverb(s)->GetAllpassSize(side, i), kAllpass[side][i] * rate / 44100) << rate;
        }
        // Nothing before each side's shortest comb; then the impulse, through the allpasses with
        // its sign, times input gain and wet.
        const auto out = ReadAll(s, 2000);
        for (int side = 0; side < 2; ++side) {
            const int first = kComb[side][0] * rate / 44100;
            for (int f = 0; f < first; ++f)
                ASSERT_EQ(out[2 * f + side], 0) << rate << " Hz, frame " << f;
            EXPECT_NEAR(out[2 * first + side], 0x40000 * 0.015 * 3, 2) << rate;
        }
    }
}

TEST(Reverb, MixNearZeroDoublesTheDrySignal)
{
    const auto in = MakeNoise(2, 5000, 0x7fff0);
    const auto out = ReadAll(Open(LSPReverb3(4000, 1, LdBValue(-127), LdBValue(0)), in), 5000);
    for (size_t i = 0; i < in.size(); ++i)
        ASSERT_NEAR(out[i], 2 * in[i], 1) << i;
}

TEST(Reverb, SilenceAfterATailIsExactZeroNotDenormals)
{
    LSoundSource s = Wet(44100, 2, {});
    const int frames = 4410;
    const auto noise = MakeNoise(1, frames, 0x7fff0);
    std::vector<float> l(noise.begin(), noise.end()), r(l.rbegin(), l.rend()), out(2 * frames);  // left, then right
    Reverb(s)->Update(0, 50, 1.0f, 0.0f);
    Reverb(s)->ComputeReverb(l.data(), r.data(), out.data(), out.data() + frames, frames);
    std::fill(l.begin(), l.end(), 0.0f);
    std::fill(r.begin(), r.end(), 0.0f);
    // The output may touch the denormal range on its way down, but only briefly: the lines hold
    // exact zeros once a value falls that low. Room 0 dies away within about 100 blocks.
    long denormals = 0, nonZero = 0;
    const auto isDenormal = [](float v) { return std::fpclassify(v) == FP_SUBNORMAL; };
    for (int block = 0; block < 160; ++block) {
        std::fill(out.begin(), out.end(), 0.0f);
        Reverb(s)->ComputeReverb(l.data(), r.data(), out.data(), out.data() + frames, frames);
        denormals += std::count_if(out.begin(), out.end(), isDenormal);
        if (block >= 150)
            nonZero += 2 * frames - std::count(out.begin(), out.end(), 0.0f);
    }
    EXPECT_EQ(nonZero, 0) << "the tail never settled on exact zero";
    EXPECT_LT(denormals, frames);
}

TEST(Reverb, BlocksOfAnySizeGiveTheSameStreamAndMonoRunsTheLeftSide)
{
    const int frames = 20000;  // more than the work arrays start with
    const auto in = MakeNoise(2, frames, 0x7fff0);
    LSoundSource whole = Wet(44100, 2, in), pieces = Wet(44100, 2, in);
    EXPECT_EQ(ReadInPieces(pieces, frames), ReadAll(whole, frames));

    // Mono is the stereo network with a silent right input, read back from the left side.
    std::vector<int> mono(frames), leftOnly(2 * size_t(frames), 0);
    for (int f = 0; f < frames; ++f)
        mono[f] = leftOnly[2 * f] = in[2 * f];
    LSoundSource m = Wet(44100, 1, mono), st = Wet(44100, 2, leftOnly);
    const auto monoOut = ReadAll(m, frames), stereoOut = ReadAll(st, frames);
    for (int f = 0; f < frames; ++f)
        ASSERT_EQ(monoOut[f], stereoOut[2 * f]) << f;
}

TEST(Reverb, RoomAndDampingBeyondTheDeckStillDieAway)
{
    // Unheld, room 10,000 gives the combs a feedback of 1.4 and damping 255 a low pass that
    // grows: either tail would swell instead of fading.
    std::vector<int> in = MakeNoise(2, 44100, 0x7fff0);
    in.resize(in.size() * 8, 0);
    const auto out = ReadAll(Open(LSPReverb3(10000, 255, LdBValue(0), LdBValue(-127)), in), 8 * 44100);
    EXPECT_LT(GetBufferPeak(out.data() + 14 * 44100, 44100, 2), GetBufferPeak(out.data() + 2 * 44100, 44100, 2));
}

}  // namespace
