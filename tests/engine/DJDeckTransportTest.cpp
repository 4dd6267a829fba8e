#include "engine/DJDeck.h"

#include "analysis/ClickTrain.h"
#include "base/LEventQueue.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

constexpr int kFrames = 441000;  // ten seconds

// Logs every transport notification by a letter, and the deck state each saw.
struct Log : DJDeckNotify {
    void djntfPlay(DJDeck& d) override { Add('P', d); }
    void djntfStop(DJDeck& d) override { Add('S', d); }
    void djntfPosition(DJDeck& d) override { Add('J', d); }
    void djntfPitch(DJDeck& d) override { Add('p', d); }
    void djntfLoop(DJDeck& d) override { Add('L', d); }
    void djntfBeats(DJDeck& d) override { Add('B', d); }
    void djntfTime(LSoundTime& t, DJDeck&) override { times.push_back(t.GetMilliseconds()); }
    int GetLag() override { return lag; }
    void Add(char c, DJDeck& d)
    {
        events += c;
        states += char('0' + d.GetState());
    }
    std::string events, states;
    std::vector<int> times;
    int lag = 0;
};

class DeckTransport : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(WriteStereoWave(path, std::vector<int>(size_t(kFrames) * 2, 1600)));
        deck.AddNotify(&log);
    }
    TempFolder folder;
    const std::string path = folder / "track.wav";
    DJDeck deck;
    Log log;
};

TEST_F(DeckTransport, PlayBeforeLoadStartsWhenTheLoadEnds)
{
    deck.Play();
    EXPECT_EQ(log.events, "");
    EXPECT_TRUE(deck.IsPlayWhenLoaded());
    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 100));
    EXPECT_EQ(log.events, "P");
    EXPECT_EQ(log.states, "2");  // the console sees the deck starting
    EXPECT_EQ(deck.GetState(), kDeckPlaying);
    EXPECT_FALSE(deck.IsPlayWhenLoaded());
    deck.Stop();
    EXPECT_EQ(log.events, "PS");
    EXPECT_EQ(log.states, "20");
    EXPECT_EQ(deck.GetState(), kDeckStopped);
}

TEST_F(DeckTransport, CuePlayWhilePlayingJumpsWithoutASecondPlay)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 0));
    deck.SetCueMark(44100);
    deck.Play();
    deck.CuePlay();
    EXPECT_EQ(log.events, "PJ");
    EXPECT_EQ(deck.GetCursor(), 44100);
    deck.CuePause();
    EXPECT_EQ(log.events, "PJSJ");
    EXPECT_EQ(deck.GetState(), kDeckStopped);
}

TEST_F(DeckTransport, SeekAsksTheLagAndMovesTheChainAheadByIt)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 0));
    log.lag = 3000;
    deck.Seek(10000);
    EXPECT_EQ(deck.GetCursor(), 10000);
    EXPECT_EQ(deck.GetRestartPosition(), 10000);
    EXPECT_EQ(deck.GetPositionSource()->GetPositionSample(), 13000);
    deck.SeekOffset(-20000);  // not before 0
    EXPECT_EQ(deck.GetPositionSource()->GetPositionSample(), 0);
    EXPECT_EQ(log.events, "J");
}

TEST_F(DeckTransport, LoopsInBeatsAndTheWholeTrack)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 0));
    deck.ResetBeatFrequency();
    deck.SetLoop(4);  // no grid: nothing happens
    EXPECT_FALSE(deck.IsLoopActive());
    EXPECT_EQ(log.events, "");

    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 0));
    deck.SetCueMark(1000);
    deck.SetLoop(2.5);
    EXPECT_TRUE(deck.IsLoopActive());
    EXPECT_EQ(deck.GetLoopLength(), 50000);
    EXPECT_EQ(deck.GetLoopEndSample(), 51000);
    EXPECT_EQ(log.events, "JL");  // a loop starts at the cue mark
    deck.SetLoop(0);              // ends without a seek
    EXPECT_FALSE(deck.IsLoopActive());
    EXPECT_EQ(deck.GetLoopEndSample(), 0);
    EXPECT_EQ(log.events, "JLL");

    deck.SetLoop(-1);
    EXPECT_EQ(deck.GetCueMark(), 0);
    EXPECT_EQ(deck.GetLoopLength(), kFrames);
    deck.Play();
    EXPECT_EQ(log.events, "JLLJLPL");  // a playing loop is told after the play
}

TEST_F(DeckTransport, CueMarkSnapsToTheNearerBeatAndTiesGoUp)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 1000, 100));
    deck.SetCursor(777);
    deck.SetCueMark(-1);
    EXPECT_EQ(deck.GetCueMark(), 777);  // snap off: the cursor itself
    deck.SetCueSnap(true);
    struct Case {
        int sample, mark;
    } cases[] = {{100, 100}, {599, 100}, {600, 1100}, {601, 1100}, {1099, 1100}, {kFrames + 5000, kFrames}};
    for (const Case& c : cases) {
        deck.SetCueMark(c.sample);
        EXPECT_EQ(deck.GetCueMark(), c.mark) << c.sample;
    }
    deck.ResetBeatFrequency();
    deck.SetCueMark(5000);
    EXPECT_EQ(deck.GetCueMark(), 0);  // no grid: both beats are 0
}

TEST_F(DeckTransport, PitchKeepsEveryPositionAtItsPlaceInTheTrack)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 0));
    deck.SetCueMark(kFrames / 4);
    deck.SetLoop(2);
    deck.SetRestartPosition(kFrames / 2);
    deck.SetPitch(2.0);
    const int end = deck.GetTrackEnd();
    EXPECT_NEAR(end, kFrames / 2, 2);
    EXPECT_EQ(deck.GetCueMark(), end / 4);
    EXPECT_EQ(deck.GetRestartPosition(), end / 2);
    EXPECT_EQ(deck.GetLoopLength(), static_cast<int>(end * (40000.0 / kFrames)));
    EXPECT_EQ(deck.GetFormerPitch(), 1.0);
    EXPECT_EQ(deck.GetBeatFrequency(), 20000);  // the grid is not rescaled
    EXPECT_EQ(deck.GetBeatFrequencyPitchAdjusted(), 10000);
    EXPECT_EQ(log.events.back(), 'p');
}

TEST_F(DeckTransport, BeatResultsDoubleShortPeriodsInTheCurrentGridOnly)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 1, 1));
    struct Case {
        int period, current;
    } cases[] = {{13230, 26460}, {13231, 13231}, {22050, 22050}, {0, 0}};
    for (const Case& c : cases) {
        deck.bdntfDone(c.period, 500);
        EXPECT_EQ(deck.GetBeatFrequency(), c.current);
        EXPECT_EQ(deck.GetTrackBeatFrequency(), c.period);
    }
    deck.bdntfCancel();
    EXPECT_EQ(deck.GetBeatFrequency() + deck.GetTrackBeatFrequency(), 0);
}

TEST_F(DeckTransport, LoadWithoutAGridDetectsTheBeat)
{
    const std::string clicks = folder / "clicks.wav";
    ASSERT_TRUE(WriteStereoWave(clicks, MakeClickTrain({.bpm = 140, .seconds = 20})));
    ASSERT_TRUE(deck.Load(clicks.c_str(), 0, 0));
    ASSERT_TRUE(LEventQueue::ForCurrentThread()->RunUntil([&] { return log.events.find('B') != std::string::npos; }, 60000));
    EXPECT_NEAR(2646000.0 / deck.GetBeatFrequency(), 140.0, 0.7);
}

TEST_F(DeckTransport, HeldDisplayGlidesUntilTheTruthCatchesUp)
{
    ASSERT_TRUE(deck.Load(path.c_str(), 20000, 0));
    deck.Play();
    deck.SetPlayerTimeOffset(LSoundTime(1000));
    deck.EvTimeChanged(LSoundTime(6000));  // 5000 shown
    deck.SetHold(true);
    deck.EvTimeChanged(LSoundTime(3000));  // truth 2000: glide on
    deck.EvTimeChanged(LSoundTime(3500));
    deck.EvTimeChanged(LSoundTime(6150));  // truth 5150, 50 behind the display: let go
    deck.EvTimeChanged(LSoundTime(6300));
    const std::vector<int> expected = {0, 5000, 5100, 5200, 5150, 5300};
    EXPECT_EQ(log.times, expected);
    EXPECT_FALSE(deck.IsHold());
    deck.EvTimeChanged(LSoundTime(11000));  // the end: the deck stops itself
    EXPECT_EQ(deck.GetState(), kDeckStopped);
    EXPECT_EQ(log.events, "PS");
}

TEST_F(DeckTransport, ABadFileLeavesTheDeckUnloadedAndEmptyDecksTakeEveryCommand)
{
    const std::string corrupt = folder / "corrupt.wav";
    ASSERT_TRUE(WriteStereoWave(corrupt, {}));
    FILE* f = std::fopen(corrupt.c_str(), "w");
    std::fputs("RIFF....WAVEjunk", f);
    std::fclose(f);
    for (const std::string& bad : {folder / "missing.wav", corrupt}) {
        deck.Play();
        EXPECT_FALSE(deck.Load(bad.c_str(), 0, 0));
        EXPECT_FALSE(deck.IsLoaded());
        EXPECT_FALSE(deck.IsPlayWhenLoaded());
        EXPECT_NE(deck.GetPositionSource()->GetError(), kErrNone);
    }
    DJDeck empty;
    empty.Play();
    empty.Stop();
    empty.CuePlay();
    empty.CuePause();
    empty.Seek(-5);
    empty.SeekOffset(INT32_MIN);
    empty.SetCueMark(-1);
    empty.SetLoop(-1);
    empty.SetLoop(NAN);
    empty.SetPitch(0.0);
    empty.Sync();
    empty.Unsync();
    empty.EvTimeChanged(LSoundTime(-100));
    empty.Unload();
    EXPECT_FALSE(empty.IsLoaded());
    EXPECT_EQ(log.events, "");
}

}  // namespace

#include "ConsoleTestSupport.h"

namespace {

TEST(DeckCueSnapSetting, ReadPerDeckAndWrittenBackOnDestruction)
{
    MemorySettings settings;
    settings.Set("CueSnap1", "1");
    settings.Set("CueSnap0", "0x");
    {
        DJDeck left(kDeckLeft), right(kDeckRight);
        EXPECT_FALSE(left.IsCueSnap());  // starts with '0'
        EXPECT_TRUE(right.IsCueSnap());
        left.SetCueSnap(true);
        right.SetCueSnap(false);
    }
    EXPECT_EQ(settings.values["Settings/CueSnap0"], "1");
    EXPECT_EQ(settings.values["Settings/CueSnap1"], "0");
}

}  // namespace
