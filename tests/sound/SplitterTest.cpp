#include "sound/LSplitterSource.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

namespace {

// A four-channel mix: Ramp(frames, 4), whose second pair is the first raised by kPairOffset.
struct Split {
    HeldMemory mix = MakeMemory(Ramp(60000, 4), 4);
    std::shared_ptr<LSplitterRing> ring = std::make_shared<LSplitterRing>();
    LSoundSource primary{new LSplitterPrimarySource(mix.handle, ring)};
    LSoundSource secondary{new LSplitterSecondarySource(mix.handle, ring)};
};

}  // namespace

TEST(Splitter, SendsTheSecondPairThroughTheRing)
{
    Split split;
    EXPECT_EQ(ReadAll(split.primary, 3), Ramp(3));
    EXPECT_TRUE(split.ring->written.IsSignaled());

    // Too little waiting: the block is left as it was.
    std::vector<int> block(8, 99);
    split.secondary->Read(block.data(), 4);
    EXPECT_EQ(block, std::vector<int>(8, 99));
    EXPECT_FALSE(split.ring->read.IsSignaled());

    split.secondary->Read(block.data(), 2);
    EXPECT_EQ(block, (std::vector<int>{kPairOffset + 1, -kPairOffset - 1, kPairOffset + 2, -kPairOffset - 2, 99, 99, 99, 99}));
    EXPECT_TRUE(split.ring->read.IsSignaled());
    EXPECT_EQ(split.secondary->GetPositionSample(), 2);
}

TEST(Splitter, PrefillAndSkipKeepBothSidesOnTheSameFrames)
{
    Split split;
    split.mix.memory->pos = 1000;
    long difference = 0;
    EXPECT_TRUE(split.primary->ControlMessage(kMsgPrefillSecondary, &difference));
    EXPECT_EQ(split.mix.memory->pos, 1000);
    EXPECT_EQ(split.ring->GetCount(), 2 * LSplitterPrimarySource::kPrefillFrames);

    // The primary goes on from the resync position; the ring continues behind the prefill.
    for (int i = 0; i < 6; ++i)
        ReadAll(split.primary, 4000);
    EXPECT_EQ(split.ring->GetCount(), 2 * 24000);

    // A second prefill is refused while the ring holds plenty.
    split.mix.memory->seeks.clear();
    EXPECT_TRUE(split.primary->ControlMessage(kMsgPrefillSecondary, &difference));
    EXPECT_TRUE(split.mix.memory->seeks.empty());

    EXPECT_EQ(ReadAll(split.secondary, 24000), Ramp(24000, 2, kPairOffset + 1001));
    EXPECT_TRUE(split.primary->ControlMessage(kMsgCrossFade, nullptr));
}

TEST(Splitter, FrameDifferenceDelaysTheSecondarySide)
{
    Split split;
    long difference = 100;
    split.primary->ControlMessage(kMsgPrefillSecondary, &difference);
    ReadAll(split.primary, 13000);
    const std::vector<int> heard = ReadAll(split.secondary, 13000);
    // After the prefill the secondary repeats 100 frames and stays that far behind.
    EXPECT_EQ(std::vector<int>(heard.begin(), heard.begin() + 2 * 12600), Ramp(12600, 2, kPairOffset + 1));
    EXPECT_EQ(std::vector<int>(heard.begin() + 2 * 12600, heard.end()), Ramp(400, 2, kPairOffset + 12501));
}

TEST(Splitter, StereoMixFeedsTheSamePairAndAFullRingDropsNewFrames)
{
    HeldMemory mix = MakeMemory(std::vector<int>(2 * 600000, 5));
    auto ring = std::make_shared<LSplitterRing>();
    LSoundSource primary(new LSplitterPrimarySource(mix.handle, ring));
    LSoundSource secondary(new LSplitterSecondarySource(mix.handle, ring));
    for (int i = 0; i < 70; ++i)
        ReadAll(primary, 8000);  // 560,000 frames, more than the ring holds
    EXPECT_EQ(ring->GetCount(), LSplitterRing::kCapacityInts - 1);
    EXPECT_EQ(ReadAll(secondary, ring->GetCount() / 2), std::vector<int>(LSplitterRing::kCapacityInts - 1, 5));

    // The ring wraps past its end and still reads back in order.
    HeldMemory counting = MakeMemory(Ramp(10, 2, 7));
    ReadAll(LSoundSource(new LSplitterPrimarySource(counting.handle, ring)), 10);
    EXPECT_EQ(ReadAll(secondary, 10), Ramp(10, 2, 7));
}
