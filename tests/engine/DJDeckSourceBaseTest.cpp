#include "engine/DJDeckSourceBase.h"

#include "sound/MemorySource.h"

#include <gtest/gtest.h>

namespace {

// At 1,000 Hz a frame lasts one millisecond, so block times are easy to name.
constexpr int kRate = 1000;
constexpr int kBlock = 10;  // frames, so 10 ms a block

// A mono stream of `blocks` blocks; the blocks listed in `loud` are loud, the rest quiet.
LSoundSource MakeBlocks(int blocks, std::vector<int> loud)
{
    std::vector<int> data(static_cast<size_t>(blocks) * kBlock, 2000);
    for (int b : loud)
        std::fill_n(data.begin() + b * kBlock, kBlock, 200000);
    return LSoundSource(new MemorySource(kRate, 1, std::move(data)));
}

void ReadBlocks(LSoundSource& deck, int blocks)
{
    int buffer[kBlock];
    for (int i = 0; i < blocks; ++i)
        deck->Read(buffer, kBlock);
}

using Ms = LSoundTime;

}  // namespace

TEST(DJDeckSourceBase, MeterTakesTheLoudestBlockInsideTheRange)
{
    DJDeckSourceBaseInfo info;
    LSoundSource deck(new DJDeckSourceBase(MakeBlocks(20, {12}), &info));
    EXPECT_EQ(info.GetLevelFromRange(Ms(0), Ms(1000)).GetDB(), 0) << "no history yet";
    ReadBlocks(deck, 20);

    const int quiet = info.GetLevelFromRange(Ms(0), Ms(100)).GetDB();
    const int loud = info.GetLevelFromRange(Ms(120), Ms(130)).GetDB();
    EXPECT_GT(quiet, LdBValue::kSilence);
    EXPECT_GT(loud, quiet + 30);
    EXPECT_EQ(info.GetLevelFromRange(Ms(0), Ms(200)).GetDB(), loud);
    // A block only partly inside the range does not count.
    EXPECT_EQ(info.GetLevelFromRange(Ms(125), Ms(200)).GetDB(), quiet);
    // Nothing inside: the oldest entry answers.
    EXPECT_EQ(info.GetLevelFromRange(Ms(500), Ms(600)).GetDB(), quiet);
    EXPECT_EQ(deck->GetPositionSample(), 200);

    deck->Seek(50);
    EXPECT_EQ(info.GetLevelFromRange(Ms(0), Ms(200)).GetDB(), 0) << "a seek voids the history";
    ReadBlocks(deck, 1);
    EXPECT_EQ(info.GetLevelFromRange(Ms(50), Ms(60)).GetDB(), quiet);
}

TEST(DJDeckSourceBase, HistoryKeepsTheLast255BlocksAndSurvivesARebuild)
{
    DJDeckSourceBaseInfo info;
    // 300 blocks fill the 256 entries and wrap: blocks 0..44 are gone, 45 is the oldest.
    LSoundSource first(new DJDeckSourceBase(MakeBlocks(300, {3, 45}), &info));
    ReadBlocks(first, 300);
    const int loud = info.GetLevelFromRange(Ms(450), Ms(460)).GetDB();
    const int quiet = info.GetLevelFromRange(Ms(460), Ms(470)).GetDB();
    EXPECT_GT(loud, quiet);
    EXPECT_EQ(info.GetLevelFromRange(Ms(0), Ms(440)).GetDB(), loud) << "only the oldest entry is left to answer";
    EXPECT_EQ(info.GetLevelFromRange(Ms(460), Ms(3000)).GetDB(), quiet);

    // A rebuilt chain over the same info adds to the same history.
    LSoundSource second(new DJDeckSourceBase(MakeBlocks(400, {0}), &info));
    ReadBlocks(second, 1);
    EXPECT_EQ(info.GetLevelFromRange(Ms(450), Ms(460)).GetDB(), loud);
    EXPECT_EQ(info.GetLevelFromRange(Ms(0), Ms(10)).GetDB(), loud);
}
