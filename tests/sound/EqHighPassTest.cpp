#include "sound/LHighPass.h"
#include "sound/LParametricEq.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRate = 44100;

// RMS of every `step`th value from `from` on.
double Rms(const std::vector<int>& v, size_t from, size_t step = 1)
{
    double sum = 0;
    for (size_t i = from; i < v.size(); i += step)
        sum += double(v[i]) * v[i];
    return std::sqrt(sum * double(step) / double(v.size() - from));
}

std::vector<int> Equalise(std::vector<int> samples, int channels, int db, int hz)
{
    const int frames = int(samples.size()) / channels;
    return ReadAll(Open(LSPParametricEq(LdBValue(db), hz, 1.4), std::move(samples), channels, kRate), frames);
}

}  // namespace

TEST(ParametricEq, ZeroDBIsIdentityAndTwelveDBRaisesTheCentre)
{
    for (int hz : {100, 400, 1000}) {
        const auto loud = MakeSine(kRate, 2, 220, 0x70000, kRate / 2);
        const auto flat = Equalise(loud, 2, 0, hz);
        for (size_t i = 0; i < loud.size(); ++i)  // truncation feeds back through the poles
            ASSERT_LT(std::abs(flat[i] - loud[i]), 512) << hz << " Hz at " << i;

        const auto tone = MakeSine(kRate, 1, hz, 0x10000, 2 * kRate);
        const double db = 20 * std::log10(Rms(Equalise(tone, 1, 12, hz), kRate) / Rms(tone, kRate));
        EXPECT_NEAR(db, 12.0, 0.5) << hz;
    }
}

TEST(ParametricEq, ChannelsShareOneHistory)
{
    // The left channel takes its past from the right one: right-only material leaks into the
    // left, left-only material leaves the right silent.
    auto rightOnly = MakeSine(kRate, 2, 400, 0x10000, kRate / 4);
    auto leftOnly = rightOnly;
    for (size_t i = 0; i < rightOnly.size(); i += 2)
        rightOnly[i] = leftOnly[i + 1] = 0;
    EXPECT_GT(Rms(Equalise(rightOnly, 2, 12, 400), 0, 2), 1000.0);
    EXPECT_EQ(Rms(Equalise(leftOnly, 2, 12, 400), 1, 2), 0.0);
}

TEST(HighPass, RemovesDCFromAStepAndSeekWarmsUpOnTheFramesBefore)
{
    HeldMemory step = MakeMemory(std::vector<int>(2 * kRate, 0x40000));
    LSoundSource s = LSPHighPass(100).OpenSource(step.handle);
    EXPECT_EQ(s->GetPeak(), 2 * kPeakLimit);  // a step may overshoot to twice the peak
    const auto out = ReadAll(s, kRate);
    EXPECT_EQ(out[0], 0x40000);
    EXPECT_EQ(out[1], 0x40000);
    for (size_t i = out.size() - 2000; i < out.size(); ++i)
        ASSERT_LE(std::abs(out[i]), 2) << i;

    MemorySource* mem = step.memory;
    mem->reads.clear();
    mem->seeks.clear();
    s->Seek(0);  // nothing lies before frame 0
    EXPECT_TRUE(mem->reads.empty());

    s->Seek(10000);
    EXPECT_EQ(mem->seeks, (std::vector<int>{0, 10000, 10000 - LSRCHighPass::kWarmUpFrames}));
    EXPECT_EQ(mem->reads, std::vector<int>{LSRCHighPass::kWarmUpFrames});
    EXPECT_EQ(s->GetPositionSample(), 10000);
    EXPECT_LT(std::abs(ReadAll(s, 1)[0]), 0x40000 / 100);  // settled on the DC
    s->Seek(100);
    EXPECT_EQ(mem->reads.back(), 100);
}
