#include "MouseEvents.h"
#include "PaintCanvas.h"
#include "analysis/ClickTrain.h"
#include "engine/ConsoleTestSupport.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/DJDeckGUI.h"
#include "ui/DJDeckInfo.h"
#include "ui/DJMainWindowLink.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJVerticalSlider.h"
#include "ui/DJWaveDetailed.h"
#include "ui/DJWavePreview.h"
#include "ui/LDBDisplay2.h"
#include "ui/LDBEditCustom.h"
#include "ui/LQtConvert.h"

#include <QWidget>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kPeriod120Bpm = 22050;  // frames a beat at 120 BPM

// The main window's side: keeps every message the panel sends it.
class HostWindow : public LWindow {
public:
    HostWindow() { CreateTopLevel("host", 420, 400); }
    long EvInterWinMessage(int message, long data1, long) override
    {
        messages.emplace_back(message, data1);
        return 0;
    }
    std::vector<std::pair<int, long>> messages;
};

class DeckPanel : public ::testing::Test {
protected:
    void SetUp() override
    {
        QtTestApp();
        panel.Init(host, kDeckPanelA, 0, 0, 400, kDeckPanelHeight);
        panel.SetDeck(&deck);
    }
    void TearDown() override { panel.DestroyDialog(); }

    std::string ClickTrack(double seconds)
    {
        ClickTrain train;
        train.seconds = seconds;
        const std::string path = home / "clicks.wav";
        EXPECT_TRUE(WriteStereoWave(path, MakeClickTrain(train)));
        return path;
    }
    // As the slider does when the user moves it.
    void MoveSlider(int id, int position)
    {
        panel.GetSlider(id)->SetPosition(position);
        panel.SendInterWinMessage(static_cast<int>(DJDeckMessage::kSlider), id, 0);
    }
    // A press and release of a cool button through its widget.
    void Click(int id)
    {
        QWidget* button = panel.GetControlHandle(id);
        ASSERT_NE(button, nullptr) << id;
        SendMouse(button, QEvent::MouseButtonPress, 3, 3);
        SendMouse(button, QEvent::MouseButtonRelease, 3, 3);
    }
    bool Shown(int id) const { return !panel.GetControlHandle(id)->isHidden(); }

    TestHome home;
    MemorySettings settings;
    Capture capture{home / "capture.wav"};
    HostWindow host;
    // The panel outlives the console, which tells the deck's listeners as it stops.
    DJDeckGUI panel;
    DJConsole console;
    DJDeck& deck = console.AddDeck(kDeckLeft);
};

// Each slider at a few positions against the values the deck receives (v = 100 - position).
TEST_F(DeckPanel, SliderPositionsReachTheDeckAsTheirFormulasSay)
{
    using Fx = DJDeckEffects;
    const struct {
        int id;
        int position;
        std::function<double(const Fx&)> read;
        double expected;
    } cases[] = {
        {kDeckEqBass, 50, [](const Fx& f) { return f.eqLow.GetDB(); }, 0},
        {kDeckEqBass, 0, [](const Fx& f) { return f.eqLow.GetDB(); }, 12},
        {kDeckEqMid, 100, [](const Fx& f) { return f.eqMid.GetDB(); }, -12},
        {kDeckEqHigh, 25, [](const Fx& f) { return f.eqHigh.GetDB(); }, 6},  // 5.82
        {kDeckEqHigh, 75, [](const Fx& f) { return f.eqHigh.GetDB(); }, -6},  // -6.06
        {kDeckDistortionTone, 0, [](const Fx& f) { return f.distortionAmount; }, 0.999},
        {kDeckDistortionTone, 50, [](const Fx& f) { return f.distortionAmount; }, 0.5},
        {kDeckDistortionLevel, 0, [](const Fx& f) { return f.distortionGain.GetDB(); }, 12},
        {kDeckDistortionLevel, 50, [](const Fx& f) { return f.distortionGain.GetDB(); }, 0},
        {kDeckDistortionLevel, 30, [](const Fx& f) { return f.distortionGain.GetDB(); }, 5},
        {kDeckDistortionLevel, 70, [](const Fx& f) { return f.distortionGain.GetDB(); }, -40},
        {kDeckDistortionLevel, 100, [](const Fx& f) { return f.distortionGain.GetDB(); }, -100},
        {kDeckHighPassFreq, 100, [](const Fx& f) { return f.highPassFrequency; }, 2},
        {kDeckHighPassFreq, 50, [](const Fx& f) { return f.highPassFrequency; }, 5202},
        {kDeckHighPassFreq, 0, [](const Fx& f) { return f.highPassFrequency; }, 20402},
        {kDeckReverbMix, 0, [](const Fx& f) { return f.reverbMix; }, 99},
        {kDeckReverbMix, 100, [](const Fx& f) { return f.reverbMix; }, 1},
        {kDeckReverbTime, 50, [](const Fx& f) { return f.reverbTime.GetMilliseconds(); }, 2000},
        {kDeckReverbDamp, 100, [](const Fx& f) { return f.reverbOption; }, 1},
        {kDeckReverbDamp, 0, [](const Fx& f) { return f.reverbOption; }, 100},
        {kDeckPhaserDelay, 0, [](const Fx& f) { return f.phaserDelayMs; }, 10},
        {kDeckPhaserDelay, 45, [](const Fx& f) { return f.phaserDelayMs; }, 5},
        {kDeckPhaserMix, 30, [](const Fx& f) { return f.phaserMixPercent; }, 70},
        {kDeckFlangerDelay, 0, [](const Fx& f) { return f.flangerDelayMs; }, 10},
        {kDeckFlangerRate, 1, [](const Fx& f) { return f.flangerRateHz; }, 49.0},
        {kDeckFlangerRate, 99, [](const Fx& f) { return f.flangerRateHz; }, 0.0},
        {kDeckFlangerDepth, 20, [](const Fx& f) { return f.flangerDepthPercent; }, 80},
        {kDeckFlangerMix, 0, [](const Fx& f) { return f.flangerMixPercent; }, 100},
        {kDeckDelayMix, 0, [](const Fx& f) { return f.delayFeedbackPercent; }, 99},
        {kDeckDelayMix, 100, [](const Fx& f) { return f.delayFeedbackPercent; }, 1},
        {kDeckDelayTime, 0, [](const Fx& f) { return f.delayTimeMs; }, 1000},
        {kDeckDelayTime, 50, [](const Fx& f) { return f.delayTimeMs; }, 500},
    };
    for (const auto& c : cases) {
        MoveSlider(c.id, c.position);
        EXPECT_DOUBLE_EQ(c.read(deck.GetEffects()), c.expected)
            << "slider " << c.id << " at " << c.position;
    }
    // An id that is no slider of the panel changes nothing.
    const DJDeckEffects before = deck.GetEffects();
    panel.SendInterWinMessage(static_cast<int>(DJDeckMessage::kSlider), 230, 0);
    EXPECT_EQ(deck.GetEffects().eqLow, before.eqLow);
}

TEST_F(DeckPanel, PitchAndVolumeReachTheDeck)
{
    const struct {
        int position;
        double ratio;
    } pitches[] = {{0, 0.5}, {500, 1.0}, {1000, 1.5}, {560, 1.06}};
    for (const auto& p : pitches) {
        panel.GetPitchSlider().SetPitch(p.position);
        panel.SendInterWinMessage(static_cast<int>(DJDeckMessage::kPitch), kDeckPitchSlider, 0);
        EXPECT_NEAR(deck.GetPitch(), p.ratio, 1e-12) << p.position;
    }
    // The volume control's level less 6 dB.
    panel.GetVolumeControl().SetLevel(LdBValue(3));
    EXPECT_EQ(deck.GetVolume().GetDB(), -3);
    panel.GetVolumeControl().SetLevel(LdBValue(-48));
    EXPECT_EQ(deck.GetVolume().GetDB(), -54);
}

// A kill sets its band to -12 dB; the second press gives back the slider's level.
TEST_F(DeckPanel, KillButtonsCutTheBandAndRestoreTheSlidersLevel)
{
    const struct {
        int kill, slider;
        std::function<int()> band;
    } bands[] = {
        {kDeckKillBass, kDeckEqBass, [&] { return deck.GetEffects().eqLow.GetDB(); }},
        {kDeckKillMid, kDeckEqMid, [&] { return deck.GetEffects().eqMid.GetDB(); }},
        {kDeckKillHigh, kDeckEqHigh, [&] { return deck.GetEffects().eqHigh.GetDB(); }},
    };
    for (const auto& b : bands) {
        MoveSlider(b.slider, 20);  // v 80: 7 dB
        ASSERT_EQ(b.band(), 7);
        Click(b.kill);
        EXPECT_EQ(b.band(), -12) << b.kill;
        EXPECT_TRUE(panel.IsCoolButtonDown(b.kill));
        Click(b.kill);
        EXPECT_EQ(b.band(), 7) << b.kill;
        EXPECT_FALSE(panel.IsCoolButtonDown(b.kill));
    }
}

// Every entry of the loop menu, chosen with the loop on, loops that many beats from the cue.
TEST_F(DeckPanel, LoopMenuEntriesSetTheirNumberOfBeats)
{
    ASSERT_TRUE(panel.Load(ClickTrack(40).c_str(), kPeriod120Bpm, 0, 0));
    // With no choice made, the loop is 4 beats.
    Click(kDeckLoop);
    EXPECT_TRUE(panel.GetFlags().loopOn);
    EXPECT_EQ(deck.GetLoopLength(), 4 * kPeriod120Bpm);
    const double beats[] = {0.125, 0.25, 0.5, 1, 2, 3, 4, 6, 8, 12, 16, 32};
    for (int i = 0; i < 12; ++i) {
        panel.SendCommand(kDeckLoopFirst + i);
        EXPECT_EQ(deck.GetLoopBeats(), beats[i]);
        EXPECT_EQ(deck.GetLoopLength(), static_cast<int>(kPeriod120Bpm * beats[i]));
        const LPopupMenu menu = panel.BuildLoopMenu();
        int checked = 0;
        for (const auto& item : menu.GetItems())
            checked += item.checked ? 1 : 0;
        EXPECT_EQ(checked, 1);
        EXPECT_TRUE(menu.GetItems()[size_t(i)].checked);
    }
    panel.SendCommand(kDeckLoopWhole);
    EXPECT_EQ(deck.GetLoopBeats(), -1);
    EXPECT_EQ(deck.GetLoopLength(), deck.GetEndSample());
    const LPopupMenu menu = panel.BuildLoopMenu();
    EXPECT_EQ(menu.GetItems().back().text, "Whole track");
    // Loop off: the choice is kept but the deck's loop ends.
    Click(kDeckLoop);
    EXPECT_FALSE(deck.IsLoopActive());
    panel.SendCommand(kDeckLoopFirst + 3);
    EXPECT_FALSE(deck.IsLoopActive());
}

TEST_F(DeckPanel, EnableControlsOnlyReflectsState)
{
    ASSERT_TRUE(panel.Load(ClickTrack(5).c_str(), kPeriod120Bpm, 0, 0));
    Click(kDeckFxOnOffFirst + 3 * 2);  // reverb on
    Click(kDeckKillMid);
    Click(kDeckHeadphones);
    auto snapshot = [&] {
        std::vector<int> state;
        for (int id = 101; id <= 420; ++id)
            if (panel.IsControlValid(id))
                state.push_back(id * 4 + (panel.IsCoolButtonDown(id) ? 1 : 0) + (Shown(id) ? 2 : 0));
        const auto& fx = deck.GetEffects();
        state.insert(state.end(), {fx.reverbOn, fx.eqMid.GetDB(), deck.IsHeadphoneMode(),
                                   deck.GetState(), panel.GetPitchSlider().GetPitch()});
        return state;
    };
    panel.EnableControls();
    const auto once = snapshot();
    const auto flagsOnce = panel.GetFlags().fxOn;
    panel.EnableControls();
    EXPECT_EQ(snapshot(), once);
    EXPECT_EQ(panel.GetFlags().fxOn, flagsOnce);
    EXPECT_TRUE(panel.IsCoolButtonDown(kDeckFxNameFirst + 6));
    EXPECT_TRUE(Shown(kDeckReverbMix));
    EXPECT_FALSE(Shown(kDeckFlangerMix));
}

// Control rectangles at three panel widths, from the panel's tables.
TEST_F(DeckPanel, ControlsStandWhereTheTablesPutThemForTheWidth)
{
    const struct {
        int width, id;
        DJDeckRect rect;
    } cases[] = {
        {400, kDeckInfoControl, {6, 6, 388, 40}},
        {400, kDeckPitchSlider, {134, 202, 262, 22}},
        {400, kDeckLevelMeter, {135, 226, 202, 11}},
        {400, kDeckVolume, {135, 240, 154, 8}},
        {400, kDeckSync, {339, 226, 28, 22}},
        {400, kDeckFxNameFirst + 3, {96, 280, 100, 16}},
        {400, kDeckFxOnOffFirst, {201, 258, 16, 17}},
        {400, kDeckFxEditFirst + 15, {222, 368, 16, 17}},
        {400, kDeckFxTitle, {253, 260, 189, 15}},
        {400, kDeckFlangerDepth, {323, 278, 30, 105}},
        {400, kDeckKillHigh, {60, 367, 20, 20}},
        {300, kDeckFxNameFirst, {96, 258, 50, 16}},
        {300, kDeckFxOnOffFirst, {151, 258, 16, 17}},
        {300, kDeckFxTitle, {203, 260, 139, 15}},
        {300, kDeckFlangerDelay, {227, 278, 19, 105}},
        {260, kDeckFxNameFirst, {96, 258, 20, 16}},
        {260, kDeckFxEditFirst, {142, 258, 16, 17}},
        {260, kDeckFxTitle, {173, 260, 129, 15}},
        {260, kDeckReverbDamp, {221, 278, 19, 105}},
    };
    for (const auto& c : cases) {
        panel.LayoutControls(0, 0, c.width, kDeckPanelHeight);
        EXPECT_EQ(DJDeckControlRect(c.id, c.width), c.rect) << c.width << " " << c.id;
        const QRect g = panel.GetControlHandle(c.id)->geometry();
        EXPECT_EQ(DJDeckRect({g.x(), g.y(), g.width(), g.height()}), c.rect) << c.width << " " << c.id;
    }
}

// Absurd widths place the controls without failing, and the background still paints.
TEST_F(DeckPanel, AbsurdWidthsAreLaidOutWithoutFailing)
{
    for (int width : {-40, 0, 1, 100000}) {
        panel.LayoutControls(0, 0, width, kDeckPanelHeight);
        const QRect g = panel.GetControlHandle(kDeckWaveDetailed)->geometry();
        EXPECT_EQ(g.width(), std::max(width - 12, 0)) << width;
        PaintCanvas canvas(64, 64);
        panel.PaintSubBackground(canvas.data);
    }
}

// Played on the capture device: the deck's times reach the info display and its levels the meter.
TEST_F(DeckPanel, APlayingDeckMovesTheTimesAndTheMeter)
{
    ASSERT_TRUE(panel.Load(ClickTrack(8).c_str(), kPeriod120Bpm, 0, 0));
    Click(kDeckPlay);
    ASSERT_TRUE(QtTestWaitFor([&] { return panel.GetDeckTime().GetMilliseconds() >= 1000; }, 30000));
    EXPECT_NE(panel.GetDeckInfo().GetElapsed(), "+ 0:00:00.0");
    EXPECT_GT(panel.GetWaveDetailed().GetFrame(), 0);
    EXPECT_EQ(panel.GetLevelMeter().GetLevel().channels, 1);
    Click(kDeckPlay);
    EXPECT_EQ(deck.GetState(), kDeckStopped);
}

TEST_F(DeckPanel, LoadShowsTimesAndBeatsAndClearEmptiesAndTellsTheParent)
{
    ASSERT_TRUE(panel.Load(ClickTrack(6).c_str(), 0, 0, 0));
    EXPECT_TRUE(deck.IsLoaded());
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 500);
    EXPECT_EQ(panel.GetDeckInfo().GetElapsed(), "+ 0:00:00.0");
    EXPECT_EQ(panel.GetDeckInfo().GetRemaining(), "- 0:00:06.0");
    EXPECT_TRUE(panel.GetWaveDetailed().HasTrack());
    panel.SetTrackInfo("Clicks", "Tester", "0:00:06.0");
    EXPECT_EQ(panel.GetDeckInfo().GetTitle(), "Clicks");
    // The beat scan ends with djntfBeats; the info's timer then shows the BPM.
    ASSERT_TRUE(QtTestWaitFor([&] { return panel.GetDeckInfo().GetBpm() > 0; }, 20000));
    EXPECT_NEAR(panel.GetDeckInfo().GetBpm(), 120.0, 0.5);

    panel.djwwntfSeek(2 * 44100 + 22050);
    EXPECT_EQ(panel.GetDeckInfo().GetElapsed(), "+ 0:00:02.5");
    EXPECT_EQ(panel.GetDeckInfo().GetRemaining(), "- 0:00:03.5");
    EXPECT_EQ(deck.GetCursor(), 2 * 44100 + 22050);

    Click(kDeckHeadphones);
    ASSERT_TRUE(deck.IsHeadphoneMode());
    host.messages.clear();
    panel.SendCommand(kDeckMenuReset);
    EXPECT_FALSE(deck.IsLoaded());
    EXPECT_FALSE(deck.IsHeadphoneMode());
    EXPECT_FALSE(panel.GetFlags().headphonesOn);
    EXPECT_EQ(panel.GetDeckInfo().GetElapsed(), DJDeckInfo::kEmptyElapsed);
    EXPECT_EQ(panel.GetDeckInfo().GetTitle(), "");
    EXPECT_EQ(panel.GetDeckInfo().GetBpm(), 0);
    EXPECT_FALSE(panel.GetWaveDetailed().HasTrack());
    EXPECT_EQ(host.messages, (std::vector<std::pair<int, long>>{{1, kDeckPanelA}}));
}

TEST_F(DeckPanel, ATrackThatFailsToLoadLeavesThePanelEmpty)
{
    ASSERT_TRUE(panel.Load(ClickTrack(3).c_str(), kPeriod120Bpm, 0, 0));
    const std::string bad = home / "bad.wav";
    {
        FILE* f = std::fopen(bad.c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fputs("RIFF\x04\x00\x00\x00WAVEjunk", f);
        std::fclose(f);
    }
    host.messages.clear();
    EXPECT_FALSE(panel.Load(bad.c_str(), 0, 0, 0));
    EXPECT_FALSE(deck.IsLoaded());
    EXPECT_NE(deck.GetPositionSource()->GetError(), 0);
    EXPECT_FALSE(panel.GetWaveDetailed().HasTrack());
    EXPECT_EQ(panel.GetDeckInfo().GetElapsed(), DJDeckInfo::kEmptyElapsed);
    EXPECT_EQ(host.messages, (std::vector<std::pair<int, long>>{{1, kDeckPanelA}}));
    // Play on the empty deck only records the wish.
    Click(kDeckPlay);
    EXPECT_EQ(deck.GetState(), kDeckStopped);
    EXPECT_FALSE(panel.Load((home / "missing.wav").c_str(), 0, 0, 0));
    EXPECT_EQ(deck.GetPositionSource()->GetError(), kErrMissing);
}

TEST_F(DeckPanel, SeekFromAWaveHoldsNegativeSamplesAtZero)
{
    ASSERT_TRUE(panel.Load(ClickTrack(3).c_str(), kPeriod120Bpm, 0, 0));
    panel.djwwntfSeek(44100);
    ASSERT_EQ(deck.GetCursor(), 44100);
    panel.djwwntfSeek(-5000);
    EXPECT_EQ(deck.GetCursor(), 0);
    EXPECT_EQ(deck.GetPosition().GetMilliseconds(), 0);
    EXPECT_EQ(panel.GetDeckInfo().GetElapsed(), "+ 0:00:00.0");
    // Past the end the remaining time stays at zero.
    panel.djwwntfSeek(10 * 44100);
    EXPECT_EQ(panel.GetDeckInfo().GetRemaining(), "- 0:00:00.0");
}

TEST_F(DeckPanel, EffectButtonsSwitchAndChooseTheEditedEffect)
{
    const int name = kDeckFxNameFirst + 3 * 4, onOff = kDeckFxOnOffFirst + 3 * 4;  // flanger
    const int edit = kDeckFxEditFirst + 3 * 4;
    Click(name);
    EXPECT_TRUE(deck.GetEffects().flangerOn);
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > Flanger");
    EXPECT_TRUE(Shown(kDeckFlangerRate));
    // The second button of the same effect switches it off; its sliders keep showing.
    Click(onOff);
    EXPECT_FALSE(deck.GetEffects().flangerOn);
    EXPECT_TRUE(Shown(kDeckFlangerRate));
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > Flanger");
    // Edit: high pass has its short title; editing changes no engine state.
    Click(kDeckFxEditFirst + 3);
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > High Pass");
    EXPECT_FALSE(Shown(kDeckFlangerRate));
    EXPECT_TRUE(Shown(kDeckHighPassFreq));
    EXPECT_FALSE(deck.GetEffects().highPassOn);
    Click(kDeckFxEditFirst + 3);
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > None");
    EXPECT_FALSE(Shown(kDeckHighPassFreq));
    Click(kDeckFxOnOffFirst + 3);
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > High Pass Filter");
    EXPECT_TRUE(deck.GetEffects().highPassOn);
    Click(edit);
    EXPECT_TRUE(panel.GetFlags().fxEdit[4]);
    panel.ClearFX();
    EXPECT_EQ(panel.GetFlags().fxEdit, (std::array<bool, kDeckFxCount>{}));
    EXPECT_TRUE(deck.GetEffects().highPassOn);
}

TEST_F(DeckPanel, PitchBendReturnsToThePositionAtThePress)
{
    ASSERT_TRUE(panel.Load(ClickTrack(3).c_str(), kPeriod120Bpm, 0, 0));
    QWidget* up = panel.GetControlHandle(kDeckBendUp);
    panel.GetPitchSlider().SetPitch(600);
    SendMouse(up, QEvent::MouseButtonPress, 3, 3);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 800);
    EXPECT_NEAR(deck.GetPitch(), 1.3, 1e-12);
    panel.GetPitchSlider().SetPitch(900);  // moved while held
    SendMouse(up, QEvent::MouseButtonRelease, 3, 3);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 600);
    EXPECT_NEAR(deck.GetPitch(), 1.1, 1e-12);

    Click(kDeckBendDown);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 600);
    QWidget* down = panel.GetControlHandle(kDeckBendDown);
    SendMouse(down, QEvent::MouseButtonPress, 3, 3);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 300);
    EXPECT_TRUE(panel.IsCoolButtonDown(kDeckBendDown));
    SendMouse(down, QEvent::MouseButtonRelease, 3, 3);

    panel.GetPitchSlider().SetPitch(1000);
    Click(kDeckBendUp);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 1000);
}

TEST_F(DeckPanel, PitchDuringTheBeatScanWaitsForTheBeats)
{
    ASSERT_TRUE(panel.Load(ClickTrack(30).c_str(), 0, 0, 0));
    if (!deck.GetBeatDetector().IsRunning())
        GTEST_SKIP() << "the scan ended before the pitch moved";
    panel.GetPitchSlider().SetPitch(600);
    panel.SendInterWinMessage(static_cast<int>(DJDeckMessage::kPitch), kDeckPitchSlider, 0);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 600);
    EXPECT_TRUE(panel.GetFlags().pitchPending);
    EXPECT_EQ(deck.GetPitch(), 1.0);
    ASSERT_TRUE(QtTestWaitFor([&] { return deck.GetBeatFrequency() > 0; }, 30000));
    EXPECT_FALSE(panel.GetFlags().pitchPending);
    EXPECT_NEAR(deck.GetPitch(), 1.1, 1e-12);
}

TEST_F(DeckPanel, ContextMenuItemsAndTheirCommands)
{
    std::vector<LPopupMenu::Item> items = panel.BuildContextMenu().GetItems();
    ASSERT_EQ(items.size(), 5u);
    EXPECT_EQ(items[0].text, "Reset Deck (A) (R)");
    EXPECT_EQ(items[3].text, "Snap Cue Mark to Beat On/Off (A) (Shift-S)");
    EXPECT_EQ(items[4].id, kDeckMenuSetCue);
    // Without a track only snap and set cue are enabled.
    EXPECT_FALSE(items[0].enabled);
    EXPECT_FALSE(items[2].enabled);
    EXPECT_TRUE(items[3].enabled);
    EXPECT_TRUE(items[4].enabled);

    ASSERT_TRUE(panel.Load(ClickTrack(5).c_str(), kPeriod120Bpm, 0, 0));
    const bool snap = deck.IsCueSnap();
    panel.SendCommand(kDeckMenuSnap);
    EXPECT_NE(deck.IsCueSnap(), snap);
    items = panel.BuildContextMenu().GetItems();
    EXPECT_TRUE(items[0].enabled);
    EXPECT_EQ(items[3].checked, deck.IsCueSnap());

    host.messages.clear();
    panel.SendCommand(kDeckMenuEditBpm);
    deck.SetCueSnap(false);
    panel.djwwntfSeek(30000);
    panel.SendCommand(kDeckMenuSetCue);
    EXPECT_EQ(deck.GetCueMark(), 30000);
    EXPECT_EQ(host.messages, (std::vector<std::pair<int, long>>{{3, 315}, {2, 329}}));

    deck.Play();
    panel.SendCommand(kDeckMenuJumpToStart);
    EXPECT_EQ(deck.GetState(), kDeckStopped);
    EXPECT_EQ(deck.GetCursor(), 0);

    panel.SetKeyTextSource([](int) { return std::string(); });
    items = panel.BuildContextMenu().GetItems();
    EXPECT_EQ(items[1].text, "Edit BPM (A)");
}

TEST_F(DeckPanel, PlayCueAndSyncButtons)
{
    ASSERT_TRUE(panel.Load(ClickTrack(5).c_str(), kPeriod120Bpm, 0, 44100));
    EXPECT_EQ(deck.GetCueMark(), 44100);
    Click(kDeckPlay);
    EXPECT_EQ(deck.GetState(), kDeckPlaying);
    Click(kDeckPlay);
    EXPECT_EQ(deck.GetState(), kDeckStopped);

    Click(kDeckCuePlay);
    EXPECT_EQ(deck.GetState(), kDeckPlaying);
    EXPECT_EQ(deck.GetCursor(), 44100);
    Click(kDeckCuePause);
    EXPECT_EQ(deck.GetState(), kDeckStopped);
    EXPECT_EQ(panel.GetDeckTime().GetMilliseconds(), 1000);

    // Sync on a deck alone leaves the pitch; the slider follows the deck's ratio.
    panel.GetPitchSlider().SetPitch(700);
    panel.SendInterWinMessage(static_cast<int>(DJDeckMessage::kPitch), kDeckPitchSlider, 0);
    Click(kDeckSync);
    EXPECT_TRUE(panel.GetFlags().syncOn);
    Click(kDeckSync);
    EXPECT_FALSE(panel.GetFlags().syncOn);
    EXPECT_EQ(deck.GetPitch(), 1.0);
    EXPECT_EQ(panel.GetPitchSlider().GetPitch(), 500);

    // At the end of the track play does nothing until the position moves back.
    panel.djwwntfSeek(deck.GetEndSample());
    Click(kDeckPlay);
    EXPECT_EQ(deck.GetState(), kDeckStopped);
    panel.CmPlay();
    EXPECT_EQ(deck.GetState(), kDeckStopped);
}

// The background's surfaces where the panel puts them, and every button's face drawn lit and
// unlit differently.
TEST_F(DeckPanel, BackgroundAndButtonsPaintTheirParts)
{
    ASSERT_TRUE(panel.Load(ClickTrack(3).c_str(), kPeriod120Bpm, 0, 0));
    const DJTheme& theme = DJThemeUser::GetTheme();
    PaintCanvas canvas(400, kDeckPanelHeight);
    panel.PaintSubBackground(canvas.data);
    const struct {
        int x, y;
        LGuiColorRef colour;
    } points[] = {
        {131, 210, theme.buttonFace},  {132, 246, theme.buttonFace},
        {20, 300, theme.labelGrey},    {150, 380, theme.labelGrey},  // equaliser, names
        {300, 300, theme.labelGrey},   {260, 262, theme.fxTitleBar},
        {200, 56, theme.labelGrey},    {200, 250, theme.deckSurface},
        {134, 210, theme.deckSurface}, {88, 300, theme.deckSurface},
    };
    for (const auto& p : points)
        EXPECT_EQ(QColor(canvas.Pixel(p.x, p.y)), LQtConvert::ToQColor(p.colour)) << p.x << "," << p.y;

    std::vector<int> buttons = {kDeckPlay, kDeckCuePause, kDeckSetCue, kDeckHeadphones, kDeckLoop,
                                kDeckLoopLength, kDeckCuePlay, kDeckSync, kDeckMenu,
                                kDeckKillBass, kDeckBendDown, kDeckBendUp};
    for (int first : {kDeckFxNameFirst, kDeckFxEditFirst, kDeckFxOnOffFirst})
        buttons.push_back(first + 3);
    for (int id : buttons) {
        QImage faces[2];
        for (bool lit : {false, true}) {
            if (id == kDeckPlay)
                lit ? deck.Play() : deck.Stop();
            else
                panel.SetCoolButtonDown(id, lit);
            const DJDeckRect r = DJDeckControlRect(id, 400);
            PaintCanvas button(r.width, r.height);
            panel.CoolButtonCustomDraw(button.data, id);
            faces[lit] = button.Image();
        }
        EXPECT_NE(faces[0], faces[1]) << id;
    }
}

// Messages from the main window and the waves, on a panel of deck B.
TEST_F(DeckPanel, MessagesReachTheWavesAndTheParentWithDeckBsNumbers)
{
    DJDeckGUI panelB;
    panelB.Init(host, kDeckPanelB, 0, 0, 400, kDeckPanelHeight);
    DJDeck& deckB = console.AddDeck(kDeckRight);
    panelB.SetDeck(&deckB);
    auto send = [&](DJDeckMessage message, long data1) {
        panelB.SendInterWinMessage(static_cast<int>(message), data1, 0);
    };
    send(DJDeckMessage::kOverDeck, 1);
    EXPECT_TRUE(panelB.GetWaveDetailed().GetOverDeck());
    send(DJDeckMessage::kDragActive, 1);
    EXPECT_TRUE(panelB.GetWaveDetailed().GetDragActive());
    send(DJDeckMessage::kOverDeck, 0);
    send(DJDeckMessage::kDragActive, 0);
    EXPECT_FALSE(panelB.GetWaveDetailed().GetOverDeck());
    EXPECT_FALSE(panelB.GetWaveDetailed().GetDragActive());
    EXPECT_FALSE(panel.GetWaveDetailed().GetOverDeck());

    host.messages.clear();
    send(DJDeckMessage::kCueDragEnd, kDeckWaveDetailed);
    panelB.SendCommand(kDeckMenuEditBpm);
    panelB.SendCommand(kDeckMenuReset);
    EXPECT_EQ(host.messages, (std::vector<std::pair<int, long>>{{2, 330}, {3, 316}, {1, kDeckPanelB}}));
    const std::vector<LPopupMenu::Item> items = panelB.BuildContextMenu().GetItems();
    EXPECT_EQ(items[0].text, "Reset Deck (B) (Option-R)");
    EXPECT_EQ(items[4].text, "Set Cue Mark (B) (Option-M)");

    panelB.SetProgressCounter(40);
    EXPECT_EQ(panelB.GetWaveDetailed().GetLoadProgress(), 40);
    panelB.SetProgressCounter(-7);
    EXPECT_EQ(panelB.GetWaveDetailed().GetLoadProgress(), DJWaveDetailed::kNoProgress);
    panelB.SetAutoPlayMode(true);
    EXPECT_TRUE(panelB.GetWaveDetailed().GetAutoPlayMode());
    panelB.DestroyDialog();
}

// Every command and message on a panel without a deck, then on a deck without a track: nothing
// fails and the empty deck stays stopped. (The two menu buttons are left out: they open a menu.)
TEST_F(DeckPanel, EveryCommandOnAPanelWithoutADeckOrTrackIsHarmless)
{
    DJDeckGUI lone;
    lone.Init(host, kDeckPanelB, 0, 0, 300, kDeckPanelHeight);
    for (DJDeckGUI* target : {&lone, &panel}) {
        for (int id = 100; id <= 421; ++id)
            if (id != kCmdLoopLengthDown && id != kCmdMenuDown)
                target->SendCommand(id);
        for (int message = 0; message <= 9; ++message)
            if (message != static_cast<int>(DJDeckMessage::kContextMenu))
                for (long data1 : {-1L, 0L, 206L, 226L, 229L, 100000L})
                    target->SendInterWinMessage(message, data1, 0);
        target->djwwntfSeek(-1);
        target->djwwntfSeek(0x7fffffff);
        target->SetTrackInfo(nullptr, nullptr, nullptr);
        EXPECT_FALSE(target->Load(nullptr, -5, -5, -5));
    }
    EXPECT_FALSE(deck.IsLoaded());
    EXPECT_EQ(deck.GetState(), kDeckStopped);
    lone.DestroyDialog();
}

TEST(DeckPanelTimes, ElapsedAndRemainingTexts)
{
    EXPECT_EQ(DJDeckGUI::FormatElapsed(LSoundTime(62500)), "+ 0:01:02.5");
    EXPECT_EQ(DJDeckGUI::FormatElapsed(LSoundTime(-1500)), "+ -0:00:01.5");
    EXPECT_EQ(DJDeckGUI::FormatRemaining(LSoundTime(5000), LSoundTime(3000)), "- 0:00:00.0");
    EXPECT_EQ(DJDeckGUI::FormatRemaining(LSoundTime(1000), LSoundTime(3723400)), "- 1:02:02.4");
}

}  // namespace
