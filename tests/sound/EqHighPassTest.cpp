#include "sound/LHighPass.h"
#include "sound/LParametricEq.h"
#include "tests/sound/MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRate = 44100;

double Rms(const std::vector<int>& v, size_t from, size_t step = 1, size_t offset = 0)
{
    double sum = 0;
    size_t n = 0;
    for (size_t i = from + offset; i < v.size(); i += step, ++n)
        sum += double(v[i]) * v[i];
    return std::sqrt(sum / double(n));
}

std::vector<int> Equalise(std::vector<int> samples, int channels, int db, int hz)
{
    const int frames = int(samples.size()) / channels;
    LSoundSource s(new MemorySource(kRate, static_cast<unsigned char>(channels), std::move(samples)));
    s = LSPParametricEq(LdBValue(db), hz, 1.4).OpenSource(s);
    return ReadAll(s, frames);
}

}  // namespace

TEST(ParametricEq, ZeroDBIsIdentityWithinTruncation)
{
    for (int hz : {100, 400, 1000}) {
        const auto in = MakeSine(kRate, 2, 220, 0x70000, kRate);
        const auto out = Equalise(in, 2, 0, hz);
        int worst = 0;
        for (size_t i = 0; i < in.size(); ++i)
            worst = std::max(worst, std::abs(out[i] - in[i]));
        // Truncation of y feeds back through poles close to the unit circle.
        EXPECT_LT(worst, 512) << hz;
    }
}

TEST(ParametricEq, PlusTwelveDBAtCentreFrequency)
{
    for (int hz : {100, 400, 1000}) {
        for (int channels : {1, 2}) {
            const auto in = MakeSine(kRate, channels, hz, 0x10000, 2 * kRate);
            const auto out = Equalise(in, channels, 12, hz);
            const size_t settled = size_t(kRate) * channels;  // skip the first second
            const double db = 20 * std::log10(Rms(out, settled) / Rms(in, settled));
            EXPECT_NEAR(db, 12.0, 0.5) << hz << " Hz, " << channels << " channels";
        }
    }
}

TEST(ParametricEq, ChannelsShareOneHistory)
{
    // The left channel takes its past from the right one: right-only material leaks into the
    // left, left-only material leaves the right silent.
    auto rightOnly = MakeSine(kRate, 2, 400, 0x10000, kRate / 4);
    for (size_t i = 0; i < rightOnly.size(); i += 2)
        rightOnly[i] = 0;
    const auto out = Equalise(rightOnly, 2, 12, 400);
    EXPECT_GT(Rms(out, 0, 2, 0), 1000.0);

    auto leftOnly = MakeSine(kRate, 2, 400, 0x10000, kRate / 4);
    for (size_t i = 1; i < leftOnly.size(); i += 2)
        leftOnly[i] = 0;
    EXPECT_EQ(Rms(Equalise(leftOnly, 2, 12, 400), 0, 2, 1), 0.0);
}

TEST(HighPass, RemovesDCFromAStepAndPassesHighTones)
{
    const int step = 0x40000;
    LSoundSource s(new MemorySource(kRate, 2, std::vector<int>(2 * kRate, step)));
    s = LSPHighPass(100).OpenSource(s);
    EXPECT_EQ(s->GetPeak(), 2 * kPeakLimit);  // a step may overshoot to twice the peak
    const auto out = ReadAll(s, kRate);
    EXPECT_EQ(out[0], step);
    EXPECT_EQ(out[1], step);
    for (size_t i = out.size() - 2000; i < out.size(); ++i)
        ASSERT_LE(std::abs(out[i]), 2) << i;

    const auto tone = MakeSine(kRate, 1, 5000, 0x40000, kRate / 2);
    LSoundSource t(new MemorySource(kRate, 1, tone));
    t = LSPHighPass(100).OpenSource(t);
    const auto passed = ReadAll(t, kRate / 2);
    EXPECT_NEAR(20 * std::log10(Rms(passed, 4410) / Rms(tone, 4410)), 0.0, 0.5);
}

TEST(HighPass, SeekWarmsUpOnTheFramesBefore)
{
    auto* mem = new MemorySource(kRate, 2, std::vector<int>(2 * kRate, 0x40000));
    LSoundSource s(mem);
    s = LSPHighPass(100).OpenSource(s);

    s->Seek(0);  // nothing lies before frame 0
    EXPECT_TRUE(mem->reads.empty());
    EXPECT_EQ(mem->seeks, std::vector<int>{0});

    s->Seek(10000);
    EXPECT_EQ(mem->seeks, (std::vector<int>{0, 10000, 10000 - LSRCHighPass::kWarmUpFrames}));
    EXPECT_EQ(mem->reads, std::vector<int>{LSRCHighPass::kWarmUpFrames});
    EXPECT_EQ(s->GetPositionSample(), 10000);
    // The track has settled on the DC: far less than the raw step comes through.
    const auto out = ReadAll(s, 1);
    EXPECT_LT(std::abs(out[0]), 0x40000 / 100);

    s->Seek(100);  // only 100 frames to replay
    EXPECT_EQ(mem->reads.back(), 100);
    EXPECT_EQ(s->GetPositionSample(), 100);
}
