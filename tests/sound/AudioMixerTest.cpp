#include "sound/LAudioMixer.h"

#include "MixerSources.h"

#include <gtest/gtest.h>

namespace {

// Routes a stereo source straight: left to output 0, right to output 1.
void RouteStraight(LAudioMixer& mixer, int id)
{
    mixer.AddChannelDesignation(id, 0, 0);
    mixer.AddChannelDesignation(id, 1, 1);
}

}  // namespace

TEST(AudioMixer, EmptyListIsSilenceAtPositionZero)
{
    LAudioMixer mixer(false);
    LSoundSource mix = mixer.OpenSource();
    std::vector<int> block(64, 12345);
    mix->Read(block.data(), 32);
    EXPECT_EQ(block, std::vector<int>(64, 0));
    EXPECT_EQ(mix->GetPositionSample(), 0);
    EXPECT_EQ(mix->GetEndSample(), 0);
    EXPECT_EQ(mix->GetChannels(), 2);
    EXPECT_EQ(mix->GetRate(), 44100);
    EXPECT_EQ(mix->GetPeak(), kPeakDefault);
}

TEST(AudioMixer, RoutesAddUpAndUnroutedSourcesStillAdvance)
{
    LAudioMixer mixer(false);
    LSoundSource mix = mixer.OpenSource();  // sources added after opening are mixed too
    HeldMemory deck = MakeMemory(Ramp(100));
    mixer.AddSource(deck.handle, 0, false);

    EXPECT_EQ(ReadAll(mix, 10), std::vector<int>(20, 0));
    EXPECT_EQ(deck.memory->pos, 10);
    EXPECT_EQ(mix->GetPositionSample(), 10);

    // Both source channels to output 0: left and right (the negated ramp) cancel; a third
    // source adds on top.
    mixer.AddChannelDesignation(0, 0, 0);
    mixer.AddChannelDesignation(0, 1, 0);
    HeldMemory other = MakeMemory(Constant(100, 1000));
    mixer.AddSource(other.handle, 1, false);
    mixer.AddChannelDesignation(1, 1, 1);
    const std::vector<int> block = ReadAll(mix, 8);
    EXPECT_EQ(Channel(block, 2, 0), std::vector<int>(8, 0));
    EXPECT_EQ(Channel(block, 2, 1), std::vector<int>(8, 1000));

    mixer.RemoveChannelDesignation(0, 1, 0);
    EXPECT_EQ(Channel(ReadAll(mix, 2), 2, 0), (std::vector<int>{19, 20}));
}

TEST(AudioMixer, DesignationListKeepsOneRouteAndHonoursHoles)
{
    LAudioMixer mixer(false);
    HeldMemory deck = MakeMemory(Constant(100, 100, 1), 1);
    mixer.AddSource(deck.handle, 0, false);
    LSoundSource mix = mixer.OpenSource();

    mixer.AddChannelDesignation(0, 0, 0);
    mixer.AddChannelDesignation(0, 0, 0);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{100, 0}));

    // Slots: [0, 1]. Removing output 0 leaves a hole that hides output 1 as well.
    mixer.AddChannelDesignation(0, 0, 1);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{100, 100}));
    mixer.RemoveChannelDesignation(0, 0, 0);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{0, 0}));
    // Adding output 1 again changes nothing, it is in the list; output 0 fills the hole.
    mixer.AddChannelDesignation(0, 0, 1);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{0, 0}));
    mixer.AddChannelDesignation(0, 0, 0);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{100, 100}));

    // Routes past the output count and channels out of range are ignored, not written.
    mixer.AddChannelDesignation(0, 0, 7);
    mixer.AddChannelDesignation(0, 300, 0);
    mixer.AddChannelDesignation(0, 0, -1);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{100, 100}));
}

TEST(AudioMixer, VolumesScaleEachRouteByTheGainTable)
{
    LAudioMixer mixer(false);
    const int value = 0x7fff0;
    HeldMemory deck = MakeMemory(Constant(10, value));
    mixer.AddSource(deck.handle, 0, false);
    RouteStraight(mixer, 0);
    mixer.SetChannelDesignationVolume(0, 0, 0, LdBValue(-6));
    mixer.SetChannelDesignationVolume(0, 1, 1, LdBValue(-127));
    mixer.SetChannelDesignationVolume(5, 0, 0, LdBValue(-20));  // unknown id: nothing happens
    LSoundSource mix = mixer.OpenSource();
    const std::vector<int> block = ReadAll(mix, 2);
    EXPECT_EQ(block[0], LGainMultiply(value, LdBValue(-6).GetGain()));
    EXPECT_NEAR(block[0], value / 2, value / 50);
    EXPECT_EQ(block[1], 0);
}

TEST(AudioMixer, AddingAKnownIdReplacesOnlyTheSource)
{
    LAudioMixer mixer(false);
    HeldMemory first = MakeMemory(Constant(10, 1));
    HeldMemory second = MakeMemory(Constant(10, 2));
    mixer.AddSource(first.handle, 0, false);
    RouteStraight(mixer, 0);
    mixer.AddSource(second.handle, 0, true);  // the held flag of a replacement is ignored
    LSoundSource mix = mixer.OpenSource();
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{2, 2}));
    EXPECT_EQ(mix->GetResyncPositionSample(), 1);
    EXPECT_EQ(first.memory->reads.size(), 0u);

    mixer.DeleteSource(0);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{0, 0}));
    EXPECT_EQ(second.memory->pos, 1);
}

TEST(AudioMixer, ChangeKeepsPositionsUpdateAlignsTheNewSource)
{
    LAudioMixer mixer(false);
    HeldMemory playing = MakeMemory(Ramp(1000));
    mixer.AddSource(playing.handle, 0, false);
    RouteStraight(mixer, 0);
    LSoundSource mix = mixer.OpenSource();
    ReadAll(mix, 300);

    HeldMemory updated = MakeMemory(Ramp(1000, 2, 5000));
    mixer.UpdateSource(0, updated.handle);
    EXPECT_EQ(updated.memory->pos, 300);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{5300, -5300}));

    HeldMemory changed = MakeMemory(Ramp(1000, 2, 9000));
    changed.memory->pos = 20;
    mixer.ChangeSource(0, changed.handle);
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{9020, -9020}));
    EXPECT_TRUE(changed.memory->seeks.empty());
}

TEST(AudioMixer, HeldSourceIsMixedButLeftOutOfResyncAndSeek)
{
    LAudioMixer mixer(false);
    HeldMemory playing = MakeMemory(Constant(1000, 10));
    HeldMemory held = MakeMemory(Constant(5000, 1));
    mixer.AddSource(playing.handle, 0, false);
    mixer.AddSource(held.handle, 1, true);
    RouteStraight(mixer, 0);
    RouteStraight(mixer, 1);
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
    HeldMemory a = MakeMemory(Constant(1000, 0));
    HeldMemory b = MakeMemory(Constant(300, 0));
    mixer.AddSource(a.handle, 0, false);
    mixer.AddSource(b.handle, 1, false);
    a.memory->pos = 500;
    b.memory->pos = 200;
    LSoundSource mix = mixer.OpenSource();
    mix->Seek(600);
    EXPECT_EQ(a.memory->pos, 600);
    EXPECT_EQ(b.memory->pos, 300);  // 300 wanted, and its end is 300
    mix->Seek(100);
    EXPECT_EQ(a.memory->pos, 100);
    EXPECT_EQ(b.memory->pos, -200);
}

TEST(AudioMixer, EndRules)
{
    HeldMemory a = MakeMemory(Constant(1000, 0));
    HeldMemory b = MakeMemory(Constant(800, 0));
    a.memory->pos = 900;  // 100 left
    b.memory->pos = 200;  // 600 left

    LAudioMixer shortest(true);
    shortest.AddSource(a.handle, 0, false);
    shortest.AddSource(b.handle, 1, false);
    EXPECT_EQ(shortest.OpenSource()->GetEndSample(), 900 + 100);

    // The longest end (1000) stretched by what b has beyond a's 100 frames left.
    LAudioMixer longest(false);
    longest.AddSource(a.handle, 0, false);
    longest.AddSource(b.handle, 1, false);
    LSoundSource mix = longest.OpenSource();
    EXPECT_EQ(mix->GetEndSample(), 1000 + 500);
    EXPECT_GE(mix->GetEndSample() - mix->GetPositionSample(), 600);

    // Equal ends: the one with fewer frames left is the base.
    b.memory->data = Constant(1000, 0);
    EXPECT_EQ(mix->GetEndSample(), 1000 + 700);
    EXPECT_EQ(LAudioMixer(true).OpenSource()->GetEndSample(), 0);
}

TEST(AudioMixer, LargeBlocksAndOtherRatesAreHandled)
{
    LAudioMixer mixer(false);
    HeldMemory wide = MakeMemory(Ramp(20000));
    mixer.AddSource(wide.handle, 0, false);
    RouteStraight(mixer, 0);
    LSoundSource mix = mixer.OpenSource();
    // 12,000 stereo frames are more than the scratch holds in one read.
    const std::vector<int> block = ReadAll(mix, 12000);
    EXPECT_EQ(block, std::vector<int>(wide.memory->data.begin(), wide.memory->data.begin() + 24000));

    // A source at 22,050 Hz is converted when the stream is opened: it is consumed at half speed.
    LAudioMixer other(false);
    HeldMemory slow = MakeMemory(MakeSine(22050, 1, 441, 100000, 22050), 1, 22050);
    other.AddSource(slow.handle, 0, false);
    other.AddChannelDesignation(0, 0, 0);
    LSoundSource converted = other.OpenSource();
    const std::vector<int> tone = Channel(ReadAll(converted, 4410), 2, 0);
    int rises = 0;
    for (size_t i = 1; i < tone.size(); ++i)
        rises += tone[i - 1] < 0 && tone[i] >= 0;
    EXPECT_NEAR(rises, 44, 1);  // still 441 Hz, over a tenth of a second
    EXPECT_NEAR(converted->GetPositionSample(), 4410, 2);
}

TEST(AudioMixer, StreamOutlivesTheMixer)
{
    LSoundSource mix;
    {
        LAudioMixer mixer(false);
        HeldMemory deck = MakeMemory(Constant(10, 7));
        mixer.AddSource(deck.handle, 0, false);
        RouteStraight(mixer, 0);
        mix = mixer.OpenSource();
    }
    EXPECT_EQ(ReadAll(mix, 1), (std::vector<int>{7, 7}));
}
