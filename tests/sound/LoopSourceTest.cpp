#include "sound/LLoopSource.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>
#include <utility>

TEST(LoopSource, RepeatsTheStretchAndReportsTheTrack)
{
    HeldMemory track = MakeMemory(Ramp(100, 1), 1);
    track.memory->pos = 8;
    LSoundSource loop = LLoopSource().OpenSource(track.handle, 10, 13);
    EXPECT_EQ(loop->GetPeak(), kPeakDefault);
    // From before the loop into it, then round: frames 8..12, 10..12, 10.
    EXPECT_EQ(ReadAll(loop, 9), (std::vector<int>{9, 10, 11, 12, 13, 11, 12, 13, 11}));
    EXPECT_EQ(loop->GetEndSample(), 100);
    EXPECT_EQ(loop->GetPositionSample(), 11);
    loop->Seek(50);  // a seek behind the loop comes straight back on the next read
    EXPECT_EQ(ReadAll(loop, 2), (std::vector<int>{11, 12}));

    // Clamped to the track; a cue on the track end loops the last frames.
    for (auto [start, end, clampedStart, clampedEnd] : {std::tuple{100, 130, 70, 100}, std::tuple{-5, 20, 0, 20},
                                                        std::tuple{90, 400, 90, 100},
                                                        std::tuple{INT_MAX - 5, INT_MAX, 95, 100},
                                                        std::tuple{INT_MIN, INT_MAX, 0, 100},
                                                        std::tuple{INT_MAX, INT_MIN, INT_MAX, 0}}) {
        LLoopSourceBase clamped(track.handle, start, end);
        EXPECT_EQ(clamped.GetStart(), clampedStart) << start;
        EXPECT_EQ(clamped.GetEnd(), clampedEnd) << start;
    }
}

TEST(LoopSource, EmptyReversedOrStuckLoopsAreSilence)
{
    HeldMemory track = MakeMemory(Ramp(100, 2), 2);
    for (auto [start, end] : {std::pair{40, 40}, std::pair{60, 30}}) {
        LSoundSource loop = LLoopSource().OpenSource(track.handle, start, end);
        std::vector<int> block(8, 99);
        loop->Read(block.data(), 4);
        EXPECT_EQ(block, std::vector<int>(8, 0));
    }

    LSoundSource closed;
    LSoundSource ofClosed = LLoopSource().OpenSource(closed, 0, 10);
    EXPECT_EQ(ofClosed->GetError(), kErrInner);
    EXPECT_EQ(ReadAll(ofClosed, 4), std::vector<int>(4, 0));

    // An inner stream that cannot seek: the block is filled with silence, not spun on.
    struct Unseekable : MemorySource {
        using MemorySource::MemorySource;
        void Seek(int) override {}
    };
    auto* unseekable = new Unseekable(44100, 1, Ramp(20, 1));
    LSoundSource inner(unseekable);
    unseekable->pos = 15;
    EXPECT_EQ(ReadAll(LLoopSource().OpenSource(inner, 0, 10), 4), std::vector<int>(4, 0));
}
