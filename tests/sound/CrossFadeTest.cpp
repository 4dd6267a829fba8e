#include "sound/LCrossFade.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kRing = LSRCCrossFade::kHistoryValues;

}  // namespace

TEST(CrossFade, FlagClearPassesThroughAndSeekMovesTheIndexWithWrap)
{
    const int frames = kRing / 2 + 5000;  // the history wraps while reading
    const auto in = MakeSine(kRate, 2, 440, 0x60000, frames);
    LCrossFadeSource owner;
    LSoundSource source = MakeMemory(in, 2, kRate).handle, s = owner.OpenSource(source);
    auto& fade = dynamic_cast<LSRCCrossFade&>(*s);
    EXPECT_EQ(ReadInPieces(s, frames), in);
    EXPECT_EQ(fade.GetHistoryIndex(), 10000);

    s->Seek(frames + kRing / 2 + 7);  // one ring length and 7 frames on
    EXPECT_EQ(fade.GetHistoryIndex(), 10014);
    s->Seek(frames - 6000);  // back across the ring's start
    EXPECT_EQ(fade.GetHistoryIndex(), kRing - 2000);
    owner.fadeRequested = true;
    EXPECT_EQ(ReadAll(s, 1)[0], in[2 * size_t(frames - 6000)]);  // one frame: all old material
    EXPECT_FALSE(owner.fadeRequested);

    LSoundSource closed;
    EXPECT_EQ(owner.OpenSource(closed)->GetError(), kErrInner);
}

TEST(CrossFade, RebuiltChainSoughtBackFadesFromTheSameMaterial)
{
    const auto old = MakeSine(kRate, 2, 440, 0x20000, 20000);
    auto [source, mem] = MakeMemory(old, 2, kRate);
    LCrossFadeSource owner;
    LSoundSource s = owner.OpenSource(source);
    ReadInPieces(s, 8192);  // the player is ahead of the listener

    // An effect change: the chain now gives louder material for the same frames. The listener
    // has heard up to frame 2499.
    mem->data = MakeSine(kRate, 2, 440, 0x50000, 20000);
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
        ASSERT_LE(std::abs(out[i] - out[i - 2]), 3 * ownStep) << i;  // the new is 2.5 times louder
}
