#include "sound/LBufferHelpers.h"
#include "sound/LLoopSource.h"
#include "sound/LPeakLimit.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kLoudPeak = 0x200000;  // what a mixer may announce

}  // namespace

TEST(PeakLimit, LoudStreamNeverPassesTheLimitQuietPartIsCopiedAndAQuietStreamIsLeftAlone)
{
    LSoundSource quietStream = MakeMemory({}).handle;
    EXPECT_EQ(LSPPeakLimit(kPeakLimit).OpenSource(quietStream).Get(), quietStream.Get());

    // Quiet, a sudden burst at twice full scale, then quiet again for long enough to recover.
    const auto quiet = MakeSine(kRate, 2, 300, 0x40000, kRate / 2);
    const auto burst = MakeSine(kRate, 2, 2000, 0xfff00, kRate / 2);
    auto in = quiet;
    in.insert(in.end(), burst.begin(), burst.end());
    in.insert(in.end(), quiet.begin(), quiet.end());
    const int frames = int(in.size()) / 2;
    LSoundSource loud = MakeMemory(in, 2, kRate, kLoudPeak).handle;
    LSoundSource s = LSPPeakLimit(kPeakLimit).OpenSource(loud);
    EXPECT_NE(s.Get(), loud.Get());
    EXPECT_EQ(s->GetPeak(), kPeakLimit);
    const auto out = ReadInPieces(s, frames);

    EXPECT_LE(GetBufferPeak(out.data(), frames, 2), kPeakLimit);
    // Limited, not muted: the burst still comes close to the limit.
    EXPECT_GT(GetBufferPeak(out.data() + kRate, kRate / 2, 2), kPeakLimit * 9 / 10);
    const size_t head = 2 * 1000, tail = 2 * size_t(kRate / 4);
    EXPECT_TRUE(std::equal(in.begin(), in.begin() + head, out.begin()));
    EXPECT_TRUE(std::equal(in.end() - tail, in.end(), out.end() - tail));
}

TEST(PeakLimit, DeliversFromFrameZeroAndAfterSeekDespiteReadingAhead)
{
    const auto ramp = MakeNoise(2, 20000, 1000);
    auto [source, mem] = MakeMemory(ramp, 2, kRate, kLoudPeak);
    LSoundSource s = LSPPeakLimit(kPeakLimit).OpenSource(source);
    const int block = kRate / 35;

    const auto first = ReadAll(s, 100);
    EXPECT_EQ(mem->reads, (std::vector<int>{block, block, block}));
    EXPECT_EQ(s->GetPositionSample(), 100);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), ramp.begin()));

    s->Seek(5000);
    EXPECT_EQ(s->GetPositionSample(), 5000);
    const auto later = ReadAll(s, 2 * block);
    EXPECT_TRUE(std::equal(later.begin(), later.end(), ramp.begin() + 2 * 5000));

    mem->streaming = true;  // a growing stream hides the read-ahead from its end
    mem->streamEnd = 20000;
    EXPECT_EQ(s->GetEndSample(), 20000 - 3 * block);
}

// A loop repeats its stretch through the limiter wherever it lies, also within the limiter's
// read-ahead of the track's end, where the track's own end would leave the blocks short.
TEST(PeakLimit, LoopPlaysWithoutAGapWhereverItLies)
{
    constexpr int kTrack = 2 * kRate;
    const auto track = MakeNoise(2, kTrack, 0x40000);  // within the limit: the limiter copies
    const int block = kRate / 35;
    struct Case {
        int start, length;
    };
    for (Case c : {Case{kTrack - 1000, 1000}, Case{kTrack - 3 * block, 3 * block}, Case{kTrack - 10, 10},
                   Case{0, 1000}, Case{kTrack / 2, 5000}}) {
        LSoundSource inner = MakeMemory(track, 2, kRate, kLoudPeak).handle;
        LSoundSource loop = LLoopSource().OpenSource(inner, c.start, c.start + c.length);
        LSoundSource limited = LSPPeakLimit(kPeakLimit).OpenSource(loop);
        ASSERT_NE(limited.Get(), loop.Get());
        limited->Seek(c.start);
        constexpr int kFrames = 10000;
        const auto out = ReadInPieces(limited, kFrames);
        for (int f = 0; f < kFrames; ++f) {
            const size_t from = 2 * size_t(c.start + f % c.length);
            ASSERT_TRUE(out[2 * size_t(f)] == track[from] && out[2 * size_t(f) + 1] == track[from + 1])
                << "loop at " << c.start << " differs at frame " << f;
        }
    }
}
