#include "sound/LAudioMixer.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

namespace {

// Adds a stereo deck under `id`, routed straight (left to output 0, right to 1) unless told not.
HeldMemory AddDeck(LAudioMixer& mixer, int id, std::vector<int> samples, bool held = false, bool route = true)
{
    HeldMemory deck = MakeMemory(std::move(samples));
    mixer.AddSource(deck.handle, id, held);
    if (route) {
        mixer.AddChannelDesignation(id, 0, 0);
        mixer.AddChannelDesignation(id, 1, 1);
    }
    return deck;
}

}  // namespace

TEST(AudioMixer, EmptyListIsSilenceRoutesAddUpAndUnroutedSourcesStillAdvance)
{
    LAudioMixer mixer(false);
    LSoundSource mix = mixer.OpenSource();  // sources added after opening are mixed too
    std::vector<int> block(64, 12345);
    mix->Read(block.data(), 32);
    EXPECT_EQ(block, std::vector<int>(64, 0));
    EXPECT_EQ(mix->GetPositionSample(), 0);
    EXPECT_EQ(mix->GetEndSample(), 0);

    HeldMemory deck = AddDeck(mixer, 0, Ramp(100), false, false);
    EXPECT_EQ(ReadAll(mix, 10), std::vector<int>(20, 0));
    EXPECT_EQ(mix->GetPositionSample(), 10);

    // Both source channels to output 0: left and right (the negated ramp) cancel; a second
    // deck's right channel adds on output 1.
    mixer.AddChannelDesignation(0, 0, 0);
    mixer.AddChannelDesignation(0, 1, 0);
    AddDeck(mixer, 1, std::vector<int>(2 * 100, 1000), false, false);
    mixer.AddChannelDesignation(1, 1, 1);
    EXPECT_EQ(ReadAll(mix, 2), (std::vector<int>{0, 1000, 0, 1000}));

    mixer.RemoveChannelDesignation(0, 1, 0);
    EXPECT_EQ(ReadAll(mix, 2), (std::vector<int>{13, 1000, 14, 1000}));
}

TEST(AudioMixer, DesignationListKeepsOneRouteAndHonoursHoles)
{
    LAudioMixer mixer(false);
    HeldMemory deck = MakeMemory(std::vector<int>(100, kPeakLimit), 1);
    mixer.AddSource(deck.handle, 0, false);
    LSoundSource mix = mixer.OpenSource();
    auto next = [&] { return ReadAll(mix, 1); };

    mixer.AddChannelDesignation(0, 0, 0);
    mixer.AddChannelDesignation(0, 0, 0);
    EXPECT_EQ(next(), (std::vector<int>{kPeakLimit, 0}));
    // Slots [0, 1]; removing 0 leaves a hole that hides 1 until an add of 0 fills it. Adding 1
    // meanwhile changes nothing, it is in the list.
    mixer.AddChannelDesignation(0, 0, 1);
    mixer.RemoveChannelDesignation(0, 0, 0);
    mixer.AddChannelDesignation(0, 0, 1);
    EXPECT_EQ(next(), (std::vector<int>{0, 0}));
    mixer.AddChannelDesignation(0, 0, 0);
    EXPECT_EQ(next(), (std::vector<int>{kPeakLimit, kPeakLimit}));

    // Routes past the output count and channels out of range are ignored, not written.
    mixer.AddChannelDesignation(0, 0, 7);
    mixer.AddChannelDesignation(0, 300, 0);
    mixer.AddChannelDesignation(0, 0, -1);
    EXPECT_EQ(next(), (std::vector<int>{kPeakLimit, kPeakLimit}));

    // Volumes scale each route by the gain table.
    mixer.SetChannelDesignationVolume(0, 0, 0, LdBValue(-6));
    mixer.SetChannelDesignationVolume(0, 0, 1, LdBValue(-127));
    mixer.SetChannelDesignationVolume(5, 0, 0, LdBValue(-20));  // unknown id: nothing happens
    EXPECT_EQ(next(), (std::vector<int>{LGainMultiply(kPeakLimit, LdBValue(-6).GetGain()), 0}));
}

TEST(AudioMixer, ReplacingSources)
{
    LAudioMixer mixer(false);
    AddDeck(mixer, 0, Ramp(1000));
    LSoundSource mix = mixer.OpenSource();
    ReadAll(mix, 300);

    // A known id only gets the new source: routes and the held flag stay.
    HeldMemory added = MakeMemory(Ramp(1000, 2, 3000));
    mixer.AddSource(added.handle, 0, true);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{3000, -3000}));
    EXPECT_EQ(mix->GetResyncPositionSample(), 1);

    HeldMemory updated = MakeMemory(Ramp(1000, 2, 5000));
    mixer.UpdateSource(0, updated.handle);
    EXPECT_EQ(updated.memory->pos, 1);
    HeldMemory changed = MakeMemory(Ramp(1000, 2, 9000));
    changed.memory->pos = 20;
    mixer.ChangeSource(0, changed.handle);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{9020, -9020}));
    EXPECT_TRUE(changed.memory->seeks.empty());

    mixer.DeleteSource(0);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{0, 0}));
    EXPECT_EQ(changed.memory->pos, 21);
}

TEST(AudioMixer, HeldSourceIsMixedButLeftOutOfResyncAndSeek)
{
    LAudioMixer mixer(false);
    HeldMemory playing = AddDeck(mixer, 0, std::vector<int>(2 * 1000, 10));
    HeldMemory held = AddDeck(mixer, 1, std::vector<int>(2 * 5000, 1), true);
    held.memory->pos = 2000;
    LSoundSource mix = mixer.OpenSource();

    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{11, 11}));
    EXPECT_EQ(mix->GetPositionSample(), 2001);
    EXPECT_EQ(mix->GetResyncPositionSample(), 1);
    mix->Seek(100);
    EXPECT_EQ(playing.memory->pos, 100);
    EXPECT_EQ(held.memory->pos, 2001);

    mixer.NoticeSource(1);
    EXPECT_EQ(mix->GetResyncPositionSample(), 2001);
}

TEST(AudioMixer, SeekKeepsDistancesAndStopsAtEachEnd)
{
    LAudioMixer mixer(false);
    HeldMemory a = AddDeck(mixer, 0, std::vector<int>(2 * 1000, 0)), b = AddDeck(mixer, 1, std::vector<int>(2 * 300, 0));
    a.memory->pos = 500;
    b.memory->pos = 200;
    LSoundSource mix = mixer.OpenSource();
    mix->Seek(600);
    EXPECT_EQ(b.memory->pos, 300);  // 300 wanted, and its end is 300
    mix->Seek(100);
    EXPECT_EQ(a.memory->pos, 100);
    EXPECT_EQ(b.memory->pos, -200);
}

TEST(AudioMixer, EndRules)
{
    LAudioMixer shortest(true);
    LAudioMixer longest(false);
    HeldMemory a = AddDeck(shortest, 0, std::vector<int>(2 * 1000, 0));
    HeldMemory b = AddDeck(shortest, 1, std::vector<int>(2 * 800, 0));
    longest.AddSource(a.handle, 0, false);
    longest.AddSource(b.handle, 1, false);
    a.memory->pos = 900;  // 100 left
    b.memory->pos = 200;  // 600 left
    EXPECT_EQ(shortest.OpenSource()->GetEndSample(), 900 + 100);

    // The longest end (1000) stretched by what b has beyond a's 100 frames left.
    LSoundSource mix = longest.OpenSource();
    EXPECT_EQ(mix->GetEndSample(), 1000 + 500);
    // Equal ends: the one with fewer frames left is the base.
    b.memory->data = std::vector<int>(2 * 1000, 0);
    EXPECT_EQ(mix->GetEndSample(), 1000 + 700);
    EXPECT_EQ(LAudioMixer(true).OpenSource()->GetEndSample(), 0);
}

TEST(AudioMixer, LargeBlocksOtherRatesAndALateMixerEnd)
{
    LSoundSource mix;
    HeldMemory wide;
    {
        LAudioMixer mixer(false);
        wide = AddDeck(mixer, 0, Ramp(20000));
        mix = mixer.OpenSource();
    }
    // The stream outlives its mixer, and 12,000 stereo frames are more than one scratch read.
    EXPECT_EQ(ReadAll(mix, 12000), std::vector<int>(wide.memory->data.begin(), wide.memory->data.begin() + 24000));

    // A source at 22,050 Hz is converted when the stream is opened: a 441 Hz tone stays 441 Hz.
    LAudioMixer other(false);
    HeldMemory slow = MakeMemory(MakeSine(22050, 1, 441, 100000, 22050), 1, 22050);
    other.AddSource(slow.handle, 0, false);
    other.AddChannelDesignation(0, 0, 0);
    LSoundSource converted = other.OpenSource();
    const std::vector<int> tone = ReadAll(converted, 4410);
    int rises = 0;
    for (size_t i = 2; i < tone.size(); i += 2)
        rises += tone[i - 2] < 0 && tone[i] >= 0;
    EXPECT_NEAR(rises, 44, 1);
    EXPECT_NEAR(converted->GetPositionSample(), 4410, 2);
}
