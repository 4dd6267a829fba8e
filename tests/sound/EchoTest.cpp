#include "sound/LSRCEcho.h"

#include "sound/DelaySources.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// The echo written on output history instead of a ring: y[n] = x[n] + (factor * y[n - D]) >> 9,
// per interleaved value, in 64 bits.
std::vector<int> EchoModel(const std::vector<int>& in, int lengthInts, int percent)
{
    const int64_t factor = (int64_t(percent) << 9) / 100;
    std::vector<int> out(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        const int64_t back = i >= size_t(lengthInts) ? out[i - lengthInts] : 0;
        out[i] = static_cast<int>(((factor * back) >> 9) + in[i]);
    }
    return out;
}

int LengthFor(int rate, int channels, int delayMs)
{
    LSoundSource s = MakeMemorySource(rate, channels, {});
    LSPEcho desc(50, delayMs);
    s = desc.OpenSource(s);
    return static_cast<LSRCEcho*>(desc.source.Get())->GetLength();
}

TEST(Echo, DelayIsHeldWithinOneMillisecondAndFourSeconds)
{
    EXPECT_EQ(LengthFor(44100, 2, 0), 44 * 2);
    EXPECT_EQ(LengthFor(44100, 2, -30), 44 * 2);
    EXPECT_EQ(LengthFor(44100, 2, 5000), 4 * 44100 * 2);
    EXPECT_EQ(LengthFor(44100, 2, 1000), 44100 * 2);
    EXPECT_EQ(LengthFor(44100, 1, 1234), 44100 + 44100 * 234 / 1000);
    EXPECT_EQ(LengthFor(8000, 1, 1), LSRCEcho::kFallbackLength);  // 8 ints is below the shortest ring
}

TEST(Echo, RingThatCannotBeHadFallsBackToTheShortRing)
{
    // Four seconds of 2e9 Hz stereo is more ints than an index reaches.
    const int length = LengthFor(2000000000, 2, 4000);
    EXPECT_EQ(length, LSRCEcho::kFallbackLength);
    LSoundSource s = MakeMemorySource(2000000000, 2, MakeNoise(2, 200, 0x7fff0));
    s = LSPEcho(60, 4000).OpenSource(s);
    const auto in = MakeNoise(2, 200, 0x7fff0);
    EXPECT_EQ(ReadAll(s, 200), EchoModel(in, LSRCEcho::kFallbackLength, 60));
}

TEST(Echo, RecirculatesPerChannelAndMatchesTheModel)
{
    struct Case { int channels, percent, delayMs, amplitude; };
    // The last case holds full-scale DC at 99 %: the line climbs far past full scale, where a
    // 32-bit product would wrap.
    const Case cases[] = {{2, 50, 10, 0x7fff0}, {1, 1, 3, 0x40000}, {2, 99, 2, 0}};
    for (const Case& k : cases) {
        const int frames = 20000;
        auto in = k.amplitude ? MakeNoise(k.channels, frames, k.amplitude) : std::vector<int>(size_t(frames) * k.channels, 0x7fff0);
        LSoundSource s = MakeMemorySource(44100, k.channels, in);
        s = LSPEcho(k.percent, k.delayMs).OpenSource(s);
        EXPECT_EQ(ReadInBlocks(s, frames), EchoModel(in, 44100 * k.delayMs / 1000 * k.channels, k.percent)) << k.percent << "%";
    }
}

TEST(Echo, ImpulseEchoesFallByPercentEachRound)
{
    std::vector<int> in(2 * 2000, 0);
    in[1] = 0x40000;  // right channel only
    LSoundSource s = MakeMemorySource(44100, 2, in);
    s = LSPEcho(50, 10).OpenSource(s);  // 441 frames
    const auto out = ReadAll(s, 2000);
    EXPECT_EQ(out[2 * 441 + 1], 0x20000);
    EXPECT_EQ(out[2 * 882 + 1], 0x10000);
    EXPECT_EQ(out[2 * 441], 0);  // nothing leaks to the left
}

TEST(Echo, SeekSilencesTheTailAtOnce)
{
    std::vector<int> in(2 * 1000, 0);
    for (int f = 0; f < 100; ++f)
        in[2 * f] = in[2 * f + 1] = 0x7fff0;
    MemorySource* memory = nullptr;
    LSoundSource s = MakeMemorySource(44100, 2, in, &memory);
    s = LSPEcho(90, 5).OpenSource(s);
    ReadAll(s, 150);
    s->Seek(500);  // into the silent part of the input
    EXPECT_EQ(memory->seeks, std::vector<int>{500});
    EXPECT_EQ(ReadAll(s, 500), std::vector<int>(1000, 0));
}

}  // namespace
