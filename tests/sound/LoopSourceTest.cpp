#include "sound/LLoopSource.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

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
}

TEST(LoopSource, ClampsToTheTrack)
{
    HeldMemory track = MakeMemory(Ramp(100, 2), 2);
    // A cue on the track end loops the last frames.
    LLoopSourceBase atEnd(track.handle, 100, 130);
    EXPECT_EQ(atEnd.GetStart(), 70);
    EXPECT_EQ(atEnd.GetEnd(), 100);

    LLoopSourceBase early(track.handle, -5, 20);
    EXPECT_EQ(early.GetStart(), 0);
    EXPECT_EQ(early.GetEnd(), 20);

    LLoopSourceBase pastEnd(track.handle, 90, 400);
    EXPECT_EQ(pastEnd.GetStart(), 90);
    EXPECT_EQ(pastEnd.GetEnd(), 100);
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
    LSoundSource stuck = LLoopSource().OpenSource(inner, 0, 10);
    EXPECT_EQ(ReadAll(stuck, 4), std::vector<int>(4, 0));
}
