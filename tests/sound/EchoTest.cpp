#include "sound/LSRCEcho.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// The echo on output history instead of a ring: y[n] = x[n] + (factor * y[n - D]) >> 9.
std::vector<int> EchoModel(const std::vector<int>& in, size_t lengthInts, int percent)
{
    const int64_t factor = (int64_t(percent) << 9) / 100;
    std::vector<int> out(in.size());
    for (size_t i = 0; i < in.size(); ++i)
        out[i] = int(((factor * (i >= lengthInts ? out[i - lengthInts] : 0)) >> 9) + in[i]);
    return out;
}

TEST(Echo, DelayIsHeldWithinOneMsAndFourSecondsAndFallsBackWhenTooLong)
{
    const auto lengthFor = [](int rate, int channels, int delayMs) {
        LSPEcho desc(50, delayMs);
        Open(desc, {}, channels, rate);
        return static_cast<LSRCEcho*>(desc.source.Get())->GetLength();
    };
    EXPECT_EQ(lengthFor(44100, 2, 0), 44 * 2);
    EXPECT_EQ(lengthFor(44100, 2, 5000), 4 * 44100 * 2);
    EXPECT_EQ(lengthFor(44100, 1, 1234), 44100 + 44100 * 234 / 1000);
    EXPECT_EQ(lengthFor(8000, 1, 1), LSRCEcho::kFallbackLength);  // 8 ints is below the shortest ring
    // Four seconds of 2e9 Hz stereo is more ints than an index reaches.
    EXPECT_EQ(lengthFor(2000000000, 2, 4000), LSRCEcho::kFallbackLength);
}

TEST(Echo, RecirculatesPerChannelAsTheModelAndSeekSilencesTheTail)
{
    struct Case { int ch, percent, delayMs, amplitude; };
    // Last: full-scale DC at 99 % climbs far past full scale, where a 32-bit product wraps.
    const Case cases[] = {{2, 50, 10, 0x7fff0}, {1, 1, 3, 0x40000}, {2, 99, 2, 0}};
    for (const Case& k : cases) {
        const auto in = k.amplitude ? MakeNoise(k.ch, 20000, k.amplitude) : std::vector<int>(20000 * k.ch, 0x7fff0);
        LSoundSource s = Open(LSPEcho(k.percent, k.delayMs), in, k.ch);
        EXPECT_EQ(ReadInPieces(s, 20000), EchoModel(in, 44100 * k.delayMs / 1000 * k.ch, k.percent)) << k.percent;
    }

    std::vector<int> in(2 * 1000, 0);
    std::fill_n(in.begin(), 200, 0x7fff0);
    LSoundSource s = Open(LSPEcho(90, 5), in);
    ReadAll(s, 150);
    s->Seek(500);  // into the silent part of the input
    EXPECT_EQ(ReadAll(s, 500), std::vector<int>(1000, 0));
}

}  // namespace
