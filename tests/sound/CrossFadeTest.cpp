#include "sound/LCrossFade.h"
#include "sound/LdB.h"
#include "tests/sound/MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kRing = LSRCCrossFade::kHistoryValues;

std::vector<int> ReadBlocks(LSoundSource& s, int frames, int block)
{
    std::vector<int> out(static_cast<size_t>(frames) * s->GetChannels());
    for (int done = 0; done < frames; done += block)
        s->Read(out.data() + static_cast<size_t>(done) * s->GetChannels(), std::min(block, frames - done));
    return out;
}

}  // namespace

TEST(CrossFade, FlagClearPassesSamplesThroughAcrossTheRingEnd)
{
    // Longer than the ring, so the history wraps while reading.
    const int frames = kRing / 2 + 5000;
    const auto in = MakeSine(kRate, 2, 440, 0x60000, frames);
    LCrossFadeSource owner;
    LSoundSource s(new MemorySource(kRate, 2, in));
    s = owner.OpenSource(s, 1024);
    EXPECT_EQ(s->GetPeak(), kPeakDefault);
    EXPECT_EQ(ReadBlocks(s, frames, 4096), in);
    EXPECT_EQ(dynamic_cast<LSRCCrossFade&>(*s).GetHistoryIndex(), 10000);

    // 6000 frames back crosses the ring's start: the index wraps below 0.
    s->Seek(frames - 6000);
    EXPECT_EQ(dynamic_cast<LSRCCrossFade&>(*s).GetHistoryIndex(), kRing - 2000);
    owner.fadeRequested = true;
    const auto faded = ReadAll(s, 1);  // a one-frame fade is all old material
    EXPECT_EQ(faded[0], in[2 * size_t(frames - 6000)]);
    EXPECT_FALSE(owner.fadeRequested);
}

TEST(CrossFade, FadeSpansExactlyTheReadThatFollowsTheRequest)
{
    auto* mem = new MemorySource(kRate, 1, std::vector<int>(64, 0x40000));
    LCrossFadeSource owner;
    LSoundSource s(mem);
    s = owner.OpenSource(s, 1024);
    ReadAll(s, 8);  // history holds 0x40000
    s->Seek(0);
    std::fill(mem->data.begin(), mem->data.end(), -0x40000);
    owner.fadeRequested = true;
    const auto out = ReadAll(s, 4);  // step is 0x1000000 / 4, not / 1024
    for (int k = 0; k < 4; ++k) {
        const int a = k * 0x400000;
        EXPECT_EQ(out[k], LGainMultiply(-0x40000, a) + LGainMultiply(0x40000, kGainUnity - a)) << k;
    }
    EXPECT_EQ(ReadAll(s, 2), (std::vector<int>{-0x40000, -0x40000}));
}

TEST(CrossFade, SeekForwardMovesIndexAheadAndWraps)
{
    LCrossFadeSource owner;
    LSoundSource s(new MemorySource(kRate, 2, std::vector<int>(2000)));
    s = owner.OpenSource(s, 1024);
    auto& fade = dynamic_cast<LSRCCrossFade&>(*s);
    ReadAll(s, 1000);
    s->Seek(1300);
    EXPECT_EQ(fade.GetHistoryIndex(), 2600);
    s->Seek(1300 + kRing / 2 + 7);  // one ring length and 7 frames on
    EXPECT_EQ(fade.GetHistoryIndex(), 2614);
}

TEST(CrossFade, RebuiltChainSoughtBackFadesFromTheSameMaterial)
{
    const int frames = 20000;
    const auto old = MakeSine(kRate, 2, 440, 0x20000, frames);
    auto* mem = new MemorySource(kRate, 2, old);
    LCrossFadeSource owner;
    LSoundSource s(mem);
    s = owner.OpenSource(s, 1024);
    ReadBlocks(s, 4096, 1024);  // the player is ahead of the listener

    // An effect change: the chain now gives other material for the same frames. The listener
    // has heard up to frame 2499.
    mem->data = MakeSine(kRate, 2, 440, 0x50000, frames);
    const int heard = 2500;
    s->Seek(heard);
    owner.fadeRequested = true;
    const auto out = ReadAll(s, 1024);

    int ownStep = 0;
    for (size_t i = 2; i < old.size(); ++i)
        ownStep = std::max(ownStep, std::abs(old[i] - old[i - 2]));
    EXPECT_EQ(out[0], old[2 * heard]);
    EXPECT_LE(std::abs(out[0] - old[2 * (heard - 1)]), ownStep);
    for (size_t i = 2; i < out.size(); ++i)
        ASSERT_LE(std::abs(out[i] - out[i - 2]), 3 * ownStep) << i;  // new is 2.5 times louder
    EXPECT_EQ(s->GetPositionSample(), heard + 1024);
}
