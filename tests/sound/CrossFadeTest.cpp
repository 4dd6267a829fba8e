#include "sound/LCrossFade.h"
#include "MemorySource.h"
#include "sound/LdB.h"

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

// A fade given a span is the same fade however the reads cut it, and leaves what follows it
// untouched; a request in the middle of a fade starts again from what was last produced.
TEST(CrossFade, ASpannedFadeIsTheSameAcrossReadsAndARepeatRestartsIt)
{
    const int span = 3000, frames = 8192, heard = 2500;
    const auto old = MakeSine(kRate, 2, 440, 0x20000, 20000);
    const auto louder = MakeSine(kRate, 2, 440, 0x50000, 20000);
    auto fadeRead = [&](bool inPieces) {
        auto [source, mem] = MakeMemory(old, 2, kRate);
        LCrossFadeSource owner;
        LSoundSource s = owner.OpenSource(source);
        ReadInPieces(s, frames);
        mem->data = louder;
        s->Seek(heard);
        owner.fadeFrames = span;
        owner.fadeRequested = true;
        auto out = inPieces ? ReadInPieces(s, frames) : ReadAll(s, frames);
        EXPECT_EQ(owner.fadeFrames, 0);
        return out;
    };
    const auto whole = fadeRead(false), pieces = fadeRead(true);
    EXPECT_EQ(pieces, whole);
    EXPECT_EQ(whole[0], old[2 * heard]);
    const int step = kGainUnity / span;  // unity gain over the span
    for (int f : {1, span / 2, span - 1}) {
        const int a = f * step;
        const int expected = LGainMultiply(louder[2 * size_t(heard + f)], a) + LGainMultiply(old[2 * size_t(heard + f)], kGainUnity - a);
        EXPECT_EQ(whole[2 * size_t(f)], expected) << f;
    }
    for (int f = span; f < frames; ++f)
        ASSERT_EQ(whole[2 * size_t(f)], louder[2 * size_t(heard + f)]) << f;

    // Half way through, the chain changes back and the fade is asked again, over the frames
    // thrown away (a quarter span).
    auto [source, mem] = MakeMemory(old, 2, kRate);
    LCrossFadeSource owner;
    LSoundSource s = owner.OpenSource(source);
    ReadInPieces(s, frames);
    mem->data = louder;
    s->Seek(heard);
    owner.fadeFrames = span;
    owner.fadeRequested = true;
    const auto first = ReadAll(s, span / 2);
    const int again = span / 4;
    mem->data = old;
    s->Seek(heard + span / 2 - again);
    owner.fadeFrames = again;
    owner.fadeRequested = true;
    const auto second = ReadAll(s, span + 1);
    EXPECT_EQ(second[0], first[2 * size_t(span / 2 - again)]) << "fades from what was produced";
    for (int f = again; f <= span; ++f)
        ASSERT_EQ(second[2 * size_t(f)], old[2 * size_t(heard + span / 2 - again + f)]) << "the new fade ends at its own span " << f;
    int ownStep = 0;
    for (size_t i = 2; i < louder.size(); ++i)
        ownStep = std::max(ownStep, std::abs(louder[i] - louder[i - 2]));
    for (int f = 1; f <= span; ++f)
        ASSERT_LE(std::abs(second[2 * size_t(f)] - second[2 * size_t(f - 1)]), ownStep + ownStep / 4) << f;

    // A jump with no request in the middle of a fade ends it.
    mem->data = louder;
    s->Seek(heard);
    owner.fadeFrames = span;
    owner.fadeRequested = true;
    ReadAll(s, 10);
    s->Seek(heard + 100);
    const auto jumped = ReadAll(s, 10);
    EXPECT_EQ(jumped, std::vector<int>(louder.begin() + 2 * (heard + 100), louder.begin() + 2 * (heard + 110)));
}
