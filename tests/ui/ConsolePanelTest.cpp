#include "FaderTestSupport.h"
#include "MouseEvents.h"
#include "engine/ConsoleTestSupport.h"
#include "support/TestHome.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJCrossFader.h"
#include "ui/DJMainWindowLink.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace fadertest;

namespace {

constexpr int kPanelWidth = 200;  // the fader is 142 wide: travel 126
constexpr int kPanelHeight = 400;
constexpr int kFaderMessage = static_cast<int>(DJCrossFaderMessage::kPositionChanged);
constexpr unsigned int kTimerMinimumMs = 10;

// The main window as the panels see it: keeps what it was asked.
struct FakeMain : DJMainWindowLink {
    void CmAutoPlay() override { calls.push_back("autoplay"); }
    void SetRecording(bool on) override { calls.push_back(on ? "record on" : "record off"); }
    void CmBrowseLoadFiles() override { calls.push_back("add"); }
    void CmRemoveFile() override { calls.push_back("remove"); }
    void CmClearFiles() override { calls.push_back("clear"); }
    void CmExportFiles() override { calls.push_back("export"); }
    int GetListRowCount() const override { return rows; }
    bool HasListSelection() const override { return selected; }
    std::vector<std::string> calls;
    int rows = 0;
    bool selected = false;
};

// The main window's part in recording: a failed start turns the panel's flag off.
struct RecordingController : ControllerRecord {
    void djcntfStopRecording() override
    {
        ControllerRecord::djcntfStopRecording();
        if (gui)
            gui->StopRecording();
    }
    bool djcntfIsRecording() override { return gui && gui->IsRecording(); }
    DJConsoleGUI* gui = nullptr;
};

class ConsolePanel : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureApplication();
        parent.CreateTopLevel("console", kPanelWidth, kPanelHeight);
        left = &console.AddDeck(kDeckLeft);
        right = &console.AddDeck(kDeckRight);
        gui.Init(parent, main, 0, 0, kPanelWidth, kPanelHeight);
    }
    void TearDown() override { DrainRepaints(); }

    QWidget* Handle(int id) const { return gui.GetControlHandle(id); }
    // One turn of the fade timer as when it fires: it is no longer set, then it runs.
    void FadeTick()
    {
        gui.TimerKill(kConsoleFadeTimer);
        gui.EvTimer(kConsoleFadeTimer);
    }
    struct Sweep {
        int steps = 0;
        uint64_t totalMs = 0;  // the first wait and every step's
    };
    // Runs the fade timer until it stops setting itself again.
    Sweep RunFade()
    {
        Sweep sweep;
        sweep.totalMs = std::max(gui.GetLastFadeDelayMs(), kTimerMinimumMs);
        while (gui.IsTimerSet(kConsoleFadeTimer)) {
            const int before = gui.GetCrossFader().GetPosition();
            FadeTick();
            if (gui.GetCrossFader().GetPosition() != before)
                ++sweep.steps;
            if (gui.IsTimerSet(kConsoleFadeTimer))
                sweep.totalMs += std::max(gui.GetLastFadeDelayMs(), kTimerMinimumMs);
        }
        return sweep;
    }

    TestHome home;
    MemorySettings settings;
    LWindow parent;
    FakeMain main;
    DJConsole console;
    DJDeck* left = nullptr;
    DJDeck* right = nullptr;
    DJConsoleGUI gui{console};
};

TEST_F(ConsolePanel, ControlsSitAtTheirPlacesForTheWidth)
{
    const struct {
        int id, x, y, width, height;
    } cases[] = {
        {kConsoleAutoPlayLight, 35, 300, 125, 12}, {kConsoleRecordingLight, 35, 317, 125, 12},
        {kConsoleFadeLeft, 15, 332, 11, 26},       {kConsoleCrossFader, 29, 330, 142, 30},
        {kConsoleFadeRight, 174, 332, 11, 26},     {kConsoleMeter, 15, 365, 170, 14},
        {kConsoleVolume, 15, 380, 170, 10},
    };
    for (const auto& c : cases) {
        const QRect place = Handle(c.id)->geometry();
        EXPECT_EQ(place, QRect(c.x, c.y, c.width, c.height)) << c.id;
    }
    EXPECT_EQ(Handle(kConsoleCrossFader)->toolTip().toStdString(),
              "Move to Crossfade Between Tracks");
    EXPECT_EQ(Handle(kConsoleFadeRight)->toolTip().toStdString(), "Auto Fade to Right");
    EXPECT_FALSE(gui.GetMeter().GetShowScale());
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), DJCrossFader::kStartPosition);
    EXPECT_EQ(gui.GetCrossFader().GetTravel(), 142 - 2 * DJCrossFader::kMargin);
}

// Travel 126 and margin 8: at 50 the thumb's centre is pixel 71 and the thumb spans 67..75.
TEST_F(ConsolePanel, PressOnTheThumbKeepsTheGrabPointElsewhereItJumps)
{
    const struct {
        int press, grabOffset, position;
    } cases[] = {
        {71, 0, 50},  {67, -4, 50}, {75, 4, 50},
        {76, 0, 53},   // (76 - 8) x 100 / 126 = 53.97, truncated
        {66, 0, 46},   // (66 - 8) x 100 / 126 = 46.03
        {0, 0, 0},     // left of the travel
        {141, 0, 100}, // right of the travel
        {8, 0, 0},     {134, 0, 100},
    };
    QWidget* fader = Handle(kConsoleCrossFader);
    for (const auto& c : cases) {
        gui.GetCrossFader().SetPosition(50);
        SendMouse(fader, QEvent::MouseButtonPress, c.press, 10);
        EXPECT_TRUE(gui.GetCrossFader().IsDragging());
        EXPECT_EQ(gui.GetCrossFader().GetGrabOffset(), c.grabOffset) << c.press;
        EXPECT_EQ(gui.GetCrossFader().GetPosition(), c.position) << c.press;
        EXPECT_EQ(console.GetCrossFade(), c.position) << c.press;
        SendMouse(fader, QEvent::MouseButtonRelease, c.press, 10);
        EXPECT_FALSE(gui.GetCrossFader().IsDragging());
    }
}

TEST_F(ConsolePanel, DragKeepsTheGrabOffsetAndStopsAtTheEnds)
{
    QWidget* fader = Handle(kConsoleCrossFader);
    SendMouse(fader, QEvent::MouseButtonPress, 74, 10);  // 3 right of the centre
    const struct {
        int x, position;
    } moves[] = {
        {74, 50},   {137, 100}, {11, 0},    {43, 25},  // (43 - 3 - 8) x 100 / 126 = 25.4
        {-5000, 0}, {INT_MAX, 100}, {INT_MIN, 0},
    };
    for (const auto& m : moves) {
        SendMouse(fader, QEvent::MouseMove, m.x == INT_MAX || m.x == INT_MIN ? 0 : m.x, 10);
        if (m.x == INT_MAX || m.x == INT_MIN)  // beyond what a Qt event carries
            gui.GetCrossFader().EvMouseMove(m.x, 0);
        EXPECT_EQ(gui.GetCrossFader().GetPosition(), m.position) << m.x;
    }
    SendMouse(fader, QEvent::MouseButtonRelease, 43, 10);
    SendMouse(fader, QEvent::MouseMove, 137, 10);
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), 0) << "no drag after the release";
}

TEST_F(ConsolePanel, WheelMovesTwoStepsANotchRoundingHalfAwayFromZero)
{
    const struct {
        int start, delta, position;
    } cases[] = {
        {50, 120, 52}, {50, -120, 48}, {50, 30, 51},  {50, -30, 49}, {50, 29, 50},
        {50, 240, 54}, {99, 120, 100}, {1, -120, 0},  {0, -120, 0},
    };
    for (const auto& c : cases) {
        gui.GetCrossFader().SetPosition(c.start);
        gui.GetCrossFader().EvMouseWheel(0, 0, c.delta);
        EXPECT_EQ(gui.GetCrossFader().GetPosition(), c.position) << c.start << " " << c.delta;
    }
    gui.GetCrossFader().SetPosition(50);
    SendWheel(Handle(kConsoleCrossFader), 10, 10, QPoint(0, 120));
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), 52);
}

// Every SetPosition tells the window, held to the range, the same value included.
TEST(CrossFader, SetPositionIsHeldToTheRangeAndAlwaysTellsTheWindow)
{
    EnsureApplication();
    RecordingWindow window;
    window.CreateTopLevel("fader", 300, 40);
    DJCrossFader fader;
    window.AddPaintControl(238, 0, 0, 200, 30, {});
    fader.Init(&window, 238);
    EXPECT_EQ(fader.GetTravel(), 200 - 2 * DJCrossFader::kMargin);
    const struct {
        int set, position;
    } cases[] = {{-5, 0}, {150, 100}, {INT_MIN, 0}, {INT_MAX, 100}, {37, 37}, {37, 37}};
    for (const auto& c : cases) {
        window.messages.clear();
        fader.SetPosition(c.set);
        EXPECT_EQ(fader.GetPosition(), c.position) << c.set;
        EXPECT_EQ(window.messages, (std::vector<Message>{{kFaderMessage, 238, 0}})) << c.set;
    }
    DrainRepaints();
}

// Narrower than its margins, the travel is one pixel: each side of it is one end.
TEST(CrossFader, ANarrowFaderStillReachesBothEnds)
{
    EnsureApplication();
    RecordingWindow window;
    window.CreateTopLevel("fader", 100, 40);
    DJCrossFader fader;
    window.AddPaintControl(238, 0, 0, 10, 30, {});
    fader.Init(&window, 238);
    EXPECT_EQ(fader.GetTravel(), 1);
    fader.SetPosition(0);
    fader.EvLButtonDown(fader.ThumbCentre(), 5);
    EXPECT_EQ(fader.GetGrabOffset(), 0);
    const struct {
        int x, position;
    } moves[] = {{7, 0}, {9, 100}, {8, 0}, {50, 100}, {-50, 0}};
    for (const auto& m : moves) {
        fader.EvMouseMove(m.x, 5);
        EXPECT_EQ(fader.GetPosition(), m.position) << m.x;
    }
    fader.EvLButtonUp(0, 5);
    const QImage image = PaintToImage(fader);
    EXPECT_EQ(image.width(), 10);
    DrainRepaints();
}

// The thumb is drawn where the mouse finds it: its centre line at the centre pixel, the groove
// beside it.
TEST(CrossFader, ThumbPaintsAtItsCentre)
{
    EnsureApplication();
    RecordingWindow window;
    window.CreateTopLevel("fader", 300, 40);
    DJCrossFader fader;
    window.AddPaintControl(238, 0, 0, 200, 30, {});
    fader.Init(&window, 238);
    const QRgb centreLine = qRgb(185, 185, 185), thumbFill = qRgb(51, 56, 57),
               groove = qRgb(142, 148, 155);
    for (int position : {0, 37, 100}) {
        fader.SetPosition(position);
        const QImage image = PaintToImage(fader);
        const int centre = fader.ThumbCentre();
        EXPECT_EQ(image.pixel(centre, 15), centreLine) << position;
        EXPECT_EQ(image.pixel(centre - 2, 15), thumbFill) << position;
        EXPECT_EQ(image.pixel(centre + 2, 15), thumbFill) << position;
        const int away = position < 50 ? 150 : 50;
        EXPECT_EQ(image.pixel(away, 15), groove) << position;
        EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 0)) << "the outer frame";
    }
    DrainRepaints();
}

// The crossfade law, linear in amplitude: each deck's share of 100 in dB.
TEST_F(ConsolePanel, FaderPositionsReachTheConsoleAsTheLaw)
{
    const struct {
        int press, position, leftDB, rightDB;
    } cases[] = {
        {0, 0, 0, LdBValue::kSilence},
        {71, 50, -6, -6},
        {141, 100, LdBValue::kSilence, 0},
    };
    gui.GetCrossFader().SetPosition(20);  // away from the middle, so the press at 71 jumps
    for (const auto& c : cases) {
        SendMouse(Handle(kConsoleCrossFader), QEvent::MouseButtonPress, c.press, 10);
        SendMouse(Handle(kConsoleCrossFader), QEvent::MouseButtonRelease, c.press, 10);
        EXPECT_EQ(console.GetCrossFade(), c.position);
        EXPECT_EQ(left->GetCrossFadeVolume().GetDB(), c.leftDB) << c.position;
        EXPECT_EQ(right->GetCrossFadeVolume().GetDB(), c.rightDB) << c.position;
    }
}

TEST_F(ConsolePanel, MasterVolumeReachesTheConsole)
{
    for (int db : {-6, 12, -48, 0}) {
        gui.GetVolume().SetLevel(LdBValue(db));
        EXPECT_EQ(console.GetVolume().GetDB(), db);
    }
}

// A sweep of 100 steps waits 101 times: before the first step and after each.
TEST_F(ConsolePanel, AutoFadeIsPacedByCrossFadeTime)
{
    const struct {
        const char* setting;
        unsigned int delayMs;  // a step's wait
    } cases[] = {
        {"1", kTimerMinimumMs}, {"3", 20}, {"15", 140}, {"", 140}, {"0", kTimerMinimumMs},
        {"-40", kTimerMinimumMs}, {"nonsense", 140}, {" 2", 10}, {"99999999999", INT_MAX},
        {"214748365", 2147483640}, {"214748366", INT_MAX},
    };
    for (const auto& c : cases) {
        settings.Set("CrossFadeTime", c.setting);
        gui.GetCrossFader().SetPosition(100);
        gui.AutoCrossFadeToLeft();
        EXPECT_EQ(gui.GetControlValue(kConsoleFadeLeft), 1);
        const Sweep sweep = RunFade();
        EXPECT_EQ(sweep.steps, 100) << c.setting;
        EXPECT_EQ(sweep.totalMs, 101 * uint64_t(c.delayMs)) << c.setting;
        EXPECT_EQ(gui.GetCrossFader().GetPosition(), 0) << c.setting;
        EXPECT_EQ(console.GetCrossFade(), 0) << c.setting;
        EXPECT_FALSE(gui.IsFadingLeft());
        EXPECT_EQ(gui.GetControlValue(kConsoleFadeLeft), 0);
    }
    settings.Set("CrossFadeTime", "3");
    gui.AutoCrossFadeToRight();
    EXPECT_EQ(RunFade().steps, 100);
    EXPECT_EQ(console.GetCrossFade(), 100);
}

TEST_F(ConsolePanel, TheDelayIsReadAgainAtEachStep)
{
    settings.Set("CrossFadeTime", "15");
    gui.AutoCrossFadeToRight();
    EXPECT_EQ(gui.GetLastFadeDelayMs(), 140u);
    settings.Set("CrossFadeTime", "5");
    FadeTick();
    EXPECT_EQ(gui.GetLastFadeDelayMs(), 40u);
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), 51);
}

// The real timer, at its minimum pace: the sweep ends by itself.
TEST_F(ConsolePanel, AutoFadeRunsOnItsTimer)
{
    settings.Set("CrossFadeTime", "1");
    gui.AutoCrossFadeToRight();
    ASSERT_TRUE(QtTestWaitFor([&] { return !gui.IsFadingRight(); }, 30000));
    EXPECT_EQ(console.GetCrossFade(), 100);
    EXPECT_FALSE(gui.IsTimerSet(kConsoleFadeTimer));
}

TEST_F(ConsolePanel, ASecondFadeTheOtherWayStopsTheFirstAndCancelStopsBoth)
{
    settings.Set("CrossFadeTime", "15");
    gui.AutoCrossFadeToLeft();
    for (int i = 0; i < 3; ++i)
        FadeTick();
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), 47);
    gui.AutoCrossFadeToRight();
    EXPECT_FALSE(gui.IsFadingLeft());
    EXPECT_TRUE(gui.IsFadingRight());
    FadeTick();
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), 48);

    // Asked again the same way: nothing changes and the timer is not started anew.
    settings.Set("CrossFadeTime", "2");
    gui.AutoCrossFadeToRight();
    EXPECT_EQ(gui.GetLastFadeDelayMs(), 140u);

    gui.AutoCrossFadeCancel();
    EXPECT_FALSE(gui.IsFadingLeft() || gui.IsFadingRight());
    FadeTick();
    EXPECT_EQ(gui.GetCrossFader().GetPosition(), 48);
    EXPECT_FALSE(gui.IsTimerSet(kConsoleFadeTimer));
    EXPECT_EQ(gui.GetControlValue(kConsoleFadeRight), 0);
}

TEST_F(ConsolePanel, AFadeLeftAtZeroStopsAtItsFirstStepAndChangesNothing)
{
    gui.GetCrossFader().SetPosition(0);
    gui.AutoCrossFadeToLeft();
    FadeTick();
    EXPECT_FALSE(gui.IsFadingLeft());
    EXPECT_FALSE(gui.IsTimerSet(kConsoleFadeTimer));
    EXPECT_EQ(console.GetCrossFade(), 0);
}

// 252: a press during a fade left stops it, during a fade right reverses it.
TEST_F(ConsolePanel, FadeButtonsStartStopAndReverse)
{
    auto click = [&](int id) {
        SendMouse(Handle(id), QEvent::MouseButtonPress, 5, 5);
        SendMouse(Handle(id), QEvent::MouseButtonRelease, 5, 5);
    };
    click(kConsoleFadeLeft);
    EXPECT_TRUE(gui.IsFadingLeft());
    EXPECT_TRUE(gui.IsTimerSet(kConsoleFadeTimer));
    EXPECT_EQ(gui.GetControlValue(kConsoleFadeLeft), 1) << "lit after the release";
    click(kConsoleFadeLeft);
    EXPECT_FALSE(gui.IsFadingLeft());
    click(kConsoleFadeRight);
    click(kConsoleFadeLeft);
    EXPECT_TRUE(gui.IsFadingLeft());
    EXPECT_FALSE(gui.IsFadingRight());
    EXPECT_TRUE(main.calls.empty());
}

// A hand on the fader ends a fade; the wheel, or the fade's own steps, do not.
TEST_F(ConsolePanel, DraggingTheFaderCancelsAFade)
{
    gui.AutoCrossFadeToRight();
    FadeTick();
    gui.GetCrossFader().EvMouseWheel(0, 0, 120);
    EXPECT_TRUE(gui.IsFadingRight());
    QWidget* fader = Handle(kConsoleCrossFader);
    const int centre = gui.GetCrossFader().ThumbCentre();
    SendMouse(fader, QEvent::MouseButtonPress, centre, 10);
    EXPECT_TRUE(gui.IsFadingRight()) << "a press on the thumb moves nothing";
    SendMouse(fader, QEvent::MouseMove, centre + 20, 10);
    EXPECT_FALSE(gui.IsFadingRight());
    SendMouse(fader, QEvent::MouseButtonRelease, centre + 20, 10);
}

TEST_F(ConsolePanel, LightsBlinkWhileTheirModeIsOn)
{
    gui.SetAutoPlayMode(true);
    EXPECT_TRUE(gui.IsTimerSet(kConsoleAutoPlayBlink));
    std::vector<bool> seen;
    for (int i = 0; i < 4; ++i) {
        gui.TimerKill(kConsoleAutoPlayBlink);
        gui.EvTimer(kConsoleAutoPlayBlink);
        seen.push_back(gui.IsAutoPlayLight());
        EXPECT_TRUE(gui.IsTimerSet(kConsoleAutoPlayBlink));
    }
    EXPECT_EQ(seen, (std::vector<bool>{true, false, true, false}));
    EXPECT_EQ(gui.GetControlValue(kConsoleAutoPlayLight), 1);
    gui.EvTimer(kConsoleAutoPlayBlink);  // lit
    gui.SetAutoPlayMode(false);
    gui.TimerKill(kConsoleAutoPlayBlink);
    gui.EvTimer(kConsoleAutoPlayBlink);
    EXPECT_FALSE(gui.IsAutoPlayLight());
    EXPECT_FALSE(gui.IsTimerSet(kConsoleAutoPlayBlink));
    EXPECT_EQ(gui.GetControlValue(kConsoleAutoPlayLight), 0);

    // The lights ask the main window at the press.
    SendMouse(Handle(kConsoleAutoPlayLight), QEvent::MouseButtonPress, 5, 5);
    EXPECT_EQ(main.calls, (std::vector<std::string>{"autoplay"}));
    SendMouse(Handle(kConsoleAutoPlayLight), QEvent::MouseButtonRelease, 5, 5);
    SendMouse(Handle(kConsoleRecordingLight), QEvent::MouseButtonPress, 5, 5);
    SendMouse(Handle(kConsoleRecordingLight), QEvent::MouseButtonRelease, 5, 5);
    EXPECT_EQ(main.calls, (std::vector<std::string>{"autoplay", "record on"}));
    // The release leaves the light's value to the mode.
    gui.SetAutoPlayMode(true);
    gui.EnableControls();
    SendMouse(Handle(kConsoleAutoPlayLight), QEvent::MouseButtonPress, 5, 5);
    SendMouse(Handle(kConsoleAutoPlayLight), QEvent::MouseButtonRelease, 5, 5);
    EXPECT_EQ(gui.GetControlValue(kConsoleAutoPlayLight), 1);
}

// The panel and the console agree on recording from the first block to the last; the file is
// made by the console while a deck plays.
TEST_F(ConsolePanel, RecordingOnAndOffWritesAFile)
{
    const std::string folder = home / "rec";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    settings.Set("DefaultRecordFolder", folder);
    settings.Set("RecordingFileName", "mix");
    const std::string track = home / "tone.wav";
    ASSERT_TRUE(WriteStereoWave(track, MakeTone(5, 440, 8000, true, true)));
    Capture capture(home / "capture.wav");
    RecordingController controller;
    controller.gui = &gui;
    console.SetNotify(&controller);
    ASSERT_TRUE(left->Load(track.c_str(), 22050, 0));
    left->Play();
    ASSERT_TRUE(console.IsPlayerRunning());

    gui.ToggleRecordingMode();
    EXPECT_TRUE(gui.IsRecording());
    EXPECT_TRUE(console.IsRecording());
    EXPECT_TRUE(gui.IsTimerSet(kConsoleRecordingBlink));
    gui.EvTimer(kConsoleRecordingBlink);
    EXPECT_TRUE(gui.IsRecordingLight());
    const int from = left->GetPosition().GetMilliseconds();
    ASSERT_TRUE(QtTestWaitFor([&] { return left->GetPosition().GetMilliseconds() > from + 300; },
                              30000));
    gui.ToggleRecordingMode();
    EXPECT_FALSE(console.IsRecording());
    gui.TimerKill(kConsoleRecordingBlink);
    gui.EvTimer(kConsoleRecordingBlink);
    EXPECT_FALSE(gui.IsRecordingLight());
    EXPECT_FALSE(gui.IsTimerSet(kConsoleRecordingBlink));
    console.Stop();

    LSoundSource file = LWaveFile::OpenSource((folder + "/mix.wav").c_str());
    ASSERT_EQ(file->GetError(), kErrNone);
    EXPECT_GT(file->GetEndSample(), 44100 / 10);
    EXPECT_TRUE(controller.messages.empty());
}

TEST_F(ConsolePanel, AVanishedRecordingFolderShowsTheMessageAndLeavesRecordingOff)
{
    settings.Set("DefaultRecordFolder", home / "gone");
    settings.Set("RecordingFileName", "mix");
    const std::string track = home / "tone.wav";
    ASSERT_TRUE(WriteStereoWave(track, MakeTone(5, 440, 8000, true, true)));
    Capture capture(home / "capture.wav");
    RecordingController controller;
    controller.gui = &gui;
    console.SetNotify(&controller);
    ASSERT_TRUE(left->Load(track.c_str(), 22050, 0));
    left->Play();

    gui.ToggleRecordingMode();
    ASSERT_EQ(controller.messages.size(), 1u);
    EXPECT_EQ(controller.messages[0].rfind("Recording File|Can not create recording file: ", 0),
              0u);
    EXPECT_FALSE(gui.IsRecording());
    EXPECT_FALSE(console.IsRecording());
    EXPECT_TRUE(console.IsPlayerRunning());
    gui.EvTimer(kConsoleRecordingBlink);
    EXPECT_FALSE(gui.IsRecordingLight());
    EXPECT_EQ(gui.GetControlValue(kConsoleRecordingLight), 0);
    console.Stop();
    struct stat info;
    EXPECT_NE(stat((home / "gone").c_str(), &info), 0) << "no folder is made";
}

}  // namespace
