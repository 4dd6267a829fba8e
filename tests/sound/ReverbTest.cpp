#include "sound/LSRCReverb3.h"

#include "sound/DelaySources.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

const int kCombLeft[8] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
const int kCombRight[8] = {1139, 1211, 1300, 1379, 1455, 1514, 1580, 1640};
const int kAllpassLeft[4] = {556, 441, 341, 225};
const int kAllpassRight[4] = {579, 464, 364, 248};

bool IsDenormal(float v)
{
    return std::fpclassify(v) == FP_SUBNORMAL;
}

LSRCReverb3* Reverb(LSoundSource& s)
{
    return static_cast<LSRCReverb3*>(s.Get());
}

LSoundSource Wet(int rate, int channels, std::vector<int> in, int room = 2000)
{
    LSoundSource s = MakeMemorySource(rate, channels, std::move(in));
    return LSPReverb3(room, 50, LdBValue(0), LdBValue(-127)).OpenSource(s);
}

TEST(Reverb, DelaysFollowTheTableAndHalveAt22050)
{
    LSoundSource full = Wet(44100, 2, {});
    LSoundSource half = Wet(22050, 2, {});
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(Reverb(full)->GetCombSize(0, i), kCombLeft[i]);
        EXPECT_EQ(Reverb(full)->GetCombSize(1, i), kCombRight[i]);
        EXPECT_EQ(Reverb(half)->GetCombSize(0, i), kCombLeft[i] / 2);
        EXPECT_EQ(Reverb(half)->GetCombSize(1, i), kCombRight[i] / 2);
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Reverb(full)->GetAllpassSize(0, i), kAllpassLeft[i]);
        EXPECT_EQ(Reverb(full)->GetAllpassSize(1, i), kAllpassRight[i]);
        EXPECT_EQ(Reverb(half)->GetAllpassSize(0, i), kAllpassLeft[i] / 2);
        EXPECT_EQ(Reverb(half)->GetAllpassSize(1, i), kAllpassRight[i] / 2);
    }
}

TEST(Reverb, FirstEchoOfEachSideArrivesAtItsShortestCombAtAnyRate)
{
    // An impulse on the left only: the wet path sums both inputs, so both sides answer, each
    // after its own shortest comb; the four allpasses pass that first echo with its sign.
    for (int rate : {44100, 22050}) {
        const int leftAt = kCombLeft[0] * rate / 44100, rightAt = kCombRight[0] * rate / 44100;
        std::vector<int> in(2 * 2000, 0);
        in[0] = 0x40000;
        LSoundSource s = Wet(rate, 2, in);
        const auto out = ReadAll(s, 2000);
        const double expected = 0x40000 * 0.015 * 3;
        for (int f = 0; f < leftAt; ++f)
            ASSERT_EQ(out[2 * f], 0) << rate << " Hz, frame " << f;
        for (int f = 0; f < rightAt; ++f)
            ASSERT_EQ(out[2 * f + 1], 0) << rate << " Hz, frame " << f;
        EXPECT_NEAR(out[2 * leftAt], expected, 2) << rate;
        EXPECT_NEAR(out[2 * rightAt + 1], expected, 2) << rate;
    }
}

TEST(Reverb, MixNearZeroDoublesTheDrySignal)
{
    const auto in = MakeNoise(2, 5000, 0x7fff0);
    LSoundSource s = MakeMemorySource(44100, 2, in);
    s = LSPReverb3(4000, 1, LdBValue(-127), LdBValue(0)).OpenSource(s);
    const auto out = ReadAll(s, 5000);
    for (size_t i = 0; i < in.size(); ++i)
        ASSERT_NEAR(out[i], 2 * in[i], 1) << i;
}

TEST(Reverb, SilenceAfterATailIsExactZeroNotDenormals)
{
    LSoundSource s = Wet(44100, 2, {});
    const int frames = 4410;
    const auto noise = MakeNoise(1, frames, 0x7fff0);
    std::vector<float> l(noise.begin(), noise.end()), r(l.rbegin(), l.rend());
    std::vector<float> outL(frames), outR(frames);
    Reverb(s)->Update(0, 50, 1.0f, 0.0f);
    Reverb(s)->ComputeReverb(l.data(), r.data(), outL.data(), outR.data(), frames);
    std::fill(l.begin(), l.end(), 0.0f);
    std::fill(r.begin(), r.end(), 0.0f);
    // The output may touch the denormal range on its way down, but only briefly: the lines
    // themselves hold exact zeros once a value falls that low.
    int silentBlocks = 0;
    long denormals = 0;
    for (int block = 0; block < 300 && silentBlocks < 10; ++block) {
        std::fill(outL.begin(), outL.end(), 0.0f);
        std::fill(outR.begin(), outR.end(), 0.0f);
        Reverb(s)->ComputeReverb(l.data(), r.data(), outL.data(), outR.data(), frames);
        denormals += std::count_if(outL.begin(), outL.end(), IsDenormal) + std::count_if(outR.begin(), outR.end(), IsDenormal);
        const bool silent = std::all_of(outL.begin(), outL.end(), [](float v) { return v == 0.0f; }) &&
                            std::all_of(outR.begin(), outR.end(), [](float v) { return v == 0.0f; });
        silentBlocks = silent ? silentBlocks + 1 : 0;
    }
    EXPECT_EQ(silentBlocks, 10) << "the tail never settled on exact zero";
    EXPECT_LT(denormals, frames);
}

TEST(Reverb, BlocksOfAnySizeGiveTheSameStreamAndMonoRunsTheLeftSide)
{
    const int frames = 20000;  // more than the work arrays start with
    const auto in = MakeNoise(2, frames, 0x7fff0);
    LSoundSource whole = Wet(44100, 2, in);
    LSoundSource pieces = Wet(44100, 2, in);
    const auto expected = ReadAll(whole, frames);
    EXPECT_EQ(ReadInBlocks(pieces, frames), expected);

    // Mono is the stereo network with a silent right input, read back from the left side.
    std::vector<int> mono(frames), leftOnly(2 * size_t(frames), 0);
    for (int f = 0; f < frames; ++f)
        mono[f] = leftOnly[2 * f] = in[2 * f];
    LSoundSource m = Wet(44100, 1, mono);
    LSoundSource st = Wet(44100, 2, leftOnly);
    const auto monoOut = ReadAll(m, frames);
    const auto stereoOut = ReadAll(st, frames);
    for (int f = 0; f < frames; ++f)
        ASSERT_EQ(monoOut[f], stereoOut[2 * f]) << f;
}

TEST(Reverb, SeekKeepsTheTailAndInnerErrorsPassOn)
{
    std::vector<int> in(2 * 6000, 0);
    in[0] = in[1] = 0x40000;
    MemorySource* memory = nullptr;
    LSoundSource s = MakeMemorySource(44100, 2, in, &memory);
    s = LSPReverb3(2000, 50, LdBValue(0), LdBValue(-127)).OpenSource(s);
    ReadAll(s, 100);
    s->Seek(4000);
    EXPECT_EQ(memory->seeks, std::vector<int>{4000});
    EXPECT_EQ(s->GetPositionSample(), 4000);
    const auto out = ReadAll(s, 1100);
    EXPECT_NE(out[2 * (kCombLeft[0] - 100)], 0);  // the echo of the impulse before the seek

    LSoundSource bad = MakeErrorSource(kErrBadFormat, 44100, 2);
    bad = LSPReverb3(100, 10, LdBValue(-6), LdBValue(-6)).OpenSource(bad);
    EXPECT_EQ(bad->GetError(), kErrInner);
}

}  // namespace
