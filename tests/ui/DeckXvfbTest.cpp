// The deck panel in a real window, driven by the real pointer, heard through the capture
// device: transport, pitch, a seek on the preview and an effect, checked in the sound; the
// waves, beat marks and cue mark checked on screen; and a window under a storm of slider drags.
#include "XvfbTestSupport.h"

#include "gallery/GalleryDeck.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "ui/DJDeckGUI.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJTheme.h"
#include "ui/DJVerticalSlider.h"
#include "ui/DJWaveWindow.h"

#include <QImage>
#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace XvfbTest;

namespace {

constexpr int kRate = 44100;              // Hz
constexpr int kBeatFrames = kRate / 2;    // 120 BPM
constexpr int kClickFrames = 441;         // 10 ms
constexpr double kClickHz = 2000;
constexpr int kClickPeak = 16000;         // 16-bit units
constexpr int kRampPeak = 8000;           // 16-bit units
constexpr int kFrameworkScale = 16;       // 16-bit sample to framework scale
constexpr int kUnderrunFrames = 16;       // a run of exact silence this long in a tone is a gap
constexpr double kPitchStepRoom = 1.15;   // a played step may grow with the pitch and filters

// Stereo framework samples: on the left a Hann-shaped burst every beat, on the right a ramp
// from -peak to +peak over the whole track, so a frame's value tells where in the track it is.
std::vector<int> ClickTrack(int seconds)
{
    const int frames = seconds * kRate;
    std::vector<int> samples(size_t(frames) * 2, 0);
    for (int f = 0; f < frames; ++f) {
        const int inBeat = f % kBeatFrames;
        if (inBeat < kClickFrames) {
            const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * inBeat / kClickFrames);
            const double tone = std::sin(2 * std::numbers::pi * kClickHz * inBeat / kRate);
            samples[size_t(f) * 2] = int(std::lround(kClickPeak * window * tone)) * kFrameworkScale;
        }
        const double ramp = -1.0 + 2.0 * f / frames;
        samples[size_t(f) * 2 + 1] = int(std::lround(kRampPeak * ramp)) * kFrameworkScale;
    }
    return samples;
}

// A steady tone on both channels: never exactly silent for long.
std::vector<int> Tone(int seconds)
{
    const int frames = seconds * kRate;
    std::vector<int> samples(size_t(frames) * 2);
    for (int f = 0; f < frames; ++f) {
        const int v = int(std::lround(9000 * std::sin(2 * std::numbers::pi * 330 * f / kRate)));
        samples[size_t(f) * 2] = samples[size_t(f) * 2 + 1] = v * kFrameworkScale;
    }
    return samples;
}

void WriteWave(const std::string& path, const std::vector<int>& stereo)
{
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    sink->Write(stereo.data(), int(stereo.size() / 2));
}

std::vector<int> ReadWave(const std::string& path)
{
    LSoundSource source = LWaveFile::OpenSource(path.c_str());
    const int frames = std::max(source->GetEndSample(), 0);
    std::vector<int> samples(size_t(frames) * source->GetChannels());
    source->Read(samples.data(), frames);
    return samples;
}

int LargestStep(const std::vector<int>& stereo, int channel)
{
    int largest = 0;
    for (size_t f = 1; f < stereo.size() / 2; ++f)
        largest = std::max(largest, std::abs(stereo[f * 2 + channel] - stereo[(f - 1) * 2 + channel]));
    return largest;
}

// Runs of at least kUnderrunFrames frames of exact silence on both channels between the first
// and the last sounding frame: what the paced capture device writes where the ring ran dry.
int CountGaps(const std::vector<int>& stereo)
{
    const size_t frames = stereo.size() / 2;
    auto silent = [&](size_t f) { return stereo[f * 2] == 0 && stereo[f * 2 + 1] == 0; };
    size_t first = 0, last = frames;
    while (first < frames && silent(first))
        ++first;
    while (last > first && silent(last - 1))
        --last;
    int gaps = 0;
    size_t run = 0;
    for (size_t f = first; f < last; ++f) {
        run = silent(f) ? run + 1 : 0;
        if (run == kUnderrunFrames)
            ++gaps;
    }
    return gaps;
}

// Share of 10 ms windows of the left channel in [from, to) whose peak passes `level`.
double LoudShare(const std::vector<int>& stereo, size_t from, size_t to, int level)
{
    constexpr size_t kWindow = kRate / 100;
    int loud = 0, windows = 0;
    for (size_t w = from; w + kWindow <= to; w += kWindow, ++windows) {
        int peak = 0;
        for (size_t f = w; f < w + kWindow; ++f)
            peak = std::max(peak, std::abs(stereo[f * 2]));
        loud += peak > level;
    }
    return windows ? double(loud) / windows : 0.0;
}

// The capture file for the life of the object: paced, as a sound card takes it.
struct PacedCapture {
    explicit PacedCapture(std::string path) : path(std::move(path))
    {
        setenv("ORVANE_AUDIO_CAPTURE", this->path.c_str(), 1);
    }
    ~PacedCapture() { unsetenv("ORVANE_AUDIO_CAPTURE"); }
    std::string path;
};

// Where a control of the panel is on the screen.
QPoint ScreenPoint(QWidget* window, int id, int dx, int dy)
{
    const DJDeckRect r = DJDeckControlRect(id, GalleryDeckWindow::kPanelWidth);
    return window->mapToGlobal(QPoint(r.x + dx, r.y + dy));
}

QPoint ScreenCentre(QWidget* window, int id)
{
    const DJDeckRect r = DJDeckControlRect(id, GalleryDeckWindow::kPanelWidth);
    return ScreenPoint(window, id, r.width / 2, r.height / 2);
}

bool ClickAt(QPoint screen)
{
    return MovePointer(screen) && Xdotool({"click", "1"});
}

// Pixels of `colour` inside a control's rectangle of the picture.
int CountColour(const QImage& image, int id, LGuiColorRef colour)
{
    const DJDeckRect r = DJDeckControlRect(id, GalleryDeckWindow::kPanelWidth);
    int count = 0;
    for (int y = r.y; y < r.y + r.height; ++y)
        for (int x = r.x; x < r.x + r.width; ++x)
            count += image.valid(x, y) && PixelAt(image, {x, y}) == colour;
    return count;
}

DJWaveWindow* Wave(GalleryDeckWindow& window, int id)
{
    return dynamic_cast<DJWaveWindow*>(window.GetPanel().GetPaintControl(id));
}

}  // namespace

class DeckXvfbTest : public testing::Test {
protected:
    TempFolder folder;
};

// Load, the waves and marks on screen, play, pitch, a seek on the preview and an effect, each
// by the real pointer; the capture shows the seek and the effect, and no click.
TEST_F(DeckXvfbTest, ClickTrackPlaysSeeksAndTakesAnEffectWithoutAClick)
{
    const std::string track = folder / "clicks.wav";
    const std::vector<int> source = ClickTrack(60);
    WriteWave(track, source);
    const PacedCapture capture(folder / "capture.wav");
    double seekFraction = 0;    // of the preview's width, where it was clicked
    double landedFraction = 0;  // of the track, where the deck said it went
    int startSample = 0;  // where play began, in the track
    {
        GalleryDeckWindow window;
        window.Create();
        window.Show();
        QWidget* widget = window.GetWidget();
        ASSERT_TRUE(WaitExposed(widget));
        ASSERT_TRUE(window.Open(track.c_str(), false)) << window.GetLastMessage();
        DJDeck& deck = window.GetDeck();
        DJWaveWindow* detailed = Wave(window, kDeckWaveDetailed);
        DJWaveWindow* preview = Wave(window, kDeckWavePreview);
        ASSERT_TRUE(detailed && preview);
        ASSERT_TRUE(WaitFor([&] { return deck.GetBeatFrequency() > 0; })) << "beats never scanned";
        EXPECT_NEAR(deck.GetBeatFrequency(), kBeatFrames, kBeatFrames / 50);
        ASSERT_TRUE(WaitFor([&] { return detailed->IsScanComplete() && preview->IsScanComplete(); }));

        // The picture: both waves drawn, beat marks and the cue mark at the start.
        const DJTheme& theme = DJThemeUser::GetTheme();
        const std::string shot = folder / "deck.png";
        const std::string xid = std::to_string(widget->winId());
        std::string missing = "no picture";
        WaitFor([&] {
            if (RunProgram({"import", "-window", xid, shot}) != 0)
                return false;
            const QImage image(QString::fromStdString(shot));
            missing.clear();
            if (CountColour(image, kDeckWaveDetailed, theme.wavePen.GetColor()) < 50)
                missing += "detailed wave; ";
            if (CountColour(image, kDeckWavePreview, theme.wavePen.GetColor()) < 50)
                missing += "preview wave; ";
            if (CountColour(image, kDeckWaveDetailed, theme.beatTickPen.GetColor()) < 5)
                missing += "beat marks; ";
            if (CountColour(image, kDeckWaveDetailed, theme.cueLinePen.GetColor()) < 3)
                missing += "cue mark; ";
            return missing.empty();
        });
        EXPECT_EQ(missing, "") << "picture kept in " << shot;

        ASSERT_TRUE(ClickAt(ScreenCentre(widget, kDeckPlay)));
        ASSERT_TRUE(WaitFor([&] { return deck.GetState() == kDeckPlaying; }));
        startSample = deck.GetPosition().ToFrames(kRate);
        ASSERT_TRUE(WaitFor([&] { return deck.GetPosition().GetMilliseconds() > 1500; }));

        // Pitch up by about 3 %: a press beside the thumb jumps there.
        auto* pitch = dynamic_cast<DJPitchSlider*>(window.GetPanel().GetPaintControl(kDeckPitchSlider));
        ASSERT_NE(pitch, nullptr);
        int x = 0;
        while (x < pitch->GetWidth() && pitch->MapPixelToPitch(x) < 530)
            ++x;
        const DJDeckRect pitchRect = DJDeckControlRect(kDeckPitchSlider, GalleryDeckWindow::kPanelWidth);
        ASSERT_TRUE(ClickAt(ScreenPoint(widget, kDeckPitchSlider, x, pitchRect.height / 2)));
        ASSERT_TRUE(WaitFor([&] { return deck.GetPitch() > 1.01; })) << "pitch " << deck.GetPitch();

        // A seek by the preview to 60 % of the track; the deck's cursor tells where it went.
        const DJDeckRect previewRect = DJDeckControlRect(kDeckWavePreview, GalleryDeckWindow::kPanelWidth);
        const int seekX = previewRect.width * 3 / 5;
        seekFraction = double(seekX) / previewRect.width;
        ASSERT_LT(deck.GetPosition().ToFrames(kRate), deck.GetEndSample() / 4);
        ASSERT_TRUE(ClickAt(ScreenPoint(widget, kDeckWavePreview, seekX, previewRect.height / 2)));
        ASSERT_TRUE(WaitFor([&] { return deck.GetCursor() > deck.GetEndSample() / 3; }));
        landedFraction = double(deck.GetCursor()) / deck.GetEndSample();
        // The deck lands where the preview was clicked plus what the device still holds.
        EXPECT_GE(landedFraction, seekFraction - 0.02) << "the preview sent the deck elsewhere";
        EXPECT_LE(landedFraction, seekFraction + 0.1) << "the preview sent the deck elsewhere";
        const int afterSeek = deck.GetPosition().GetMilliseconds();
        ASSERT_TRUE(WaitFor([&] { return deck.GetPosition().GetMilliseconds() > afterSeek + 1500; }));

        // The echo on, its parameters shown, its time set to about 100 ms (between clicks) and
        // its mix slider moved.
        const int delay = static_cast<int>(DJDeckFx::kDelay);
        ASSERT_TRUE(ClickAt(ScreenCentre(widget, kDeckFxEditFirst + 3 * delay)));
        ASSERT_TRUE(ClickAt(ScreenCentre(widget, kDeckFxOnOffFirst + 3 * delay)));
        ASSERT_TRUE(WaitFor([&] { return deck.GetEffects().delayOn; }));
        auto* time = dynamic_cast<DJVerticalSlider*>(window.GetPanel().GetPaintControl(kDeckDelayTime));
        ASSERT_NE(time, nullptr);
        const int timeBefore = deck.GetEffects().delayTimeMs;
        const int timeRow = time->GetTravel() * 9 / 10 + 1;  // position 90: about 100 ms
        ASSERT_TRUE(ClickAt(ScreenPoint(widget, kDeckDelayTime, time->GetWidth() / 2, timeRow)));
        ASSERT_TRUE(WaitFor([&] { return deck.GetEffects().delayTimeMs != timeBefore; }))
            << deck.GetEffects().delayTimeMs << " ms";
        EXPECT_GE(deck.GetEffects().delayTimeMs, 50);
        EXPECT_LE(deck.GetEffects().delayTimeMs, 250);
        const int feedback = deck.GetEffects().delayFeedbackPercent;
        const DJDeckRect mixRect = DJDeckControlRect(kDeckDelayMix, GalleryDeckWindow::kPanelWidth);
        ASSERT_TRUE(ClickAt(ScreenPoint(widget, kDeckDelayMix, mixRect.width / 2, mixRect.height * 3 / 5)));
        EXPECT_TRUE(WaitFor([&] { return deck.GetEffects().delayFeedbackPercent != feedback; }));
        const int afterFx = deck.GetPosition().GetMilliseconds();
        ASSERT_TRUE(WaitFor([&] { return deck.GetPosition().GetMilliseconds() > afterFx + 2000; }));
        deck.Stop();
    }

    const std::vector<int> heard = ReadWave(capture.path);
    ASSERT_GT(heard.size(), size_t(kRate) * 2 * 5);
    const size_t frames = heard.size() / 2;
    EXPECT_EQ(CountGaps(heard), 0) << "the audio underran";

    // The seek: the ramp jumps from the first quarter of the track to the seek point within
    // one resync's fade, where playing on would take half a minute.
    size_t firstSound = 0;
    while (firstSound < frames && heard[firstSound * 2 + 1] == 0)
        ++firstSound;
    ASSERT_LT(firstSound + kRate, frames);
    const double startRamp = -1.0 + 2.0 * startSample / double(source.size() / 2);
    const double gain = heard[(firstSound + 100) * 2 + 1] / (startRamp * kRampPeak * kFrameworkScale);
    ASSERT_GT(gain, 0.05) << "the right channel is too quiet to read";
    size_t crossing = firstSound;
    while (crossing < frames && heard[crossing * 2 + 1] < 0)
        ++crossing;
    ASSERT_LT(crossing + kRate, frames) << "the ramp never passed the middle: no seek";
    const double expected = (-1.0 + 2.0 * landedFraction) * kRampPeak * kFrameworkScale * gain;
    const double landed = heard[(crossing + 8192 + 2000) * 2 + 1];
    EXPECT_NEAR(landed, expected, std::abs(expected) * 0.15 + kRampPeak * kFrameworkScale * gain * 0.05);
    EXPECT_LT(heard[(crossing > 8192 + 2000 ? crossing - 8192 - 2000 : firstSound) * 2 + 1],
              -0.2 * kRampPeak * kFrameworkScale * gain)
        << "the ramp crossed the middle by playing, not by the seek";

    // The echo: the quiet stretches between clicks fill; before it, they were quiet.
    const int level = int(0.03 * kClickPeak * kFrameworkScale * gain);
    const double dryShare = LoudShare(heard, firstSound, crossing, level);
    const double wetShare = LoudShare(heard, frames - kRate * 3 / 2, frames - kRate / 4, level);
    EXPECT_LT(dryShare, 0.08);
    EXPECT_GT(wetShare, dryShare + 0.04) << "dry " << dryShare << " wet " << wetShare;

    // No click: no step larger than the track's own largest, allowing for the pitch.
    const int ownStep = std::max(LargestStep(source, 0), LargestStep(source, 1));
    for (int channel : {0, 1})
        EXPECT_LE(LargestStep(heard, channel), ownStep * kPitchStepRoom * std::max(gain, 1.0))
            << "channel " << channel;
}

// Sliders dragged as fast as xdotool can for 30 s: the window keeps answering (a hover over a
// button still lights its frame on screen) and the audio never runs dry.
TEST_F(DeckXvfbTest, SliderStormNeitherStallsTheWindowNorStarvesTheAudio)
{
    const std::string track = folder / "tone.wav";
    WriteWave(track, Tone(90));
    const std::string capturePath = folder / "storm.wav";
    const pid_t gallery = Spawn({ORVANE_GALLERY_PATH, "--deck", track, "--play"},
                                {"ORVANE_AUDIO_CAPTURE=" + capturePath});
    std::string id;
    RunProgram({"timeout", "30", "xdotool", "search", "--sync", "--onlyvisible", "--name",
                std::string("^") + GalleryDeckWindow::kTitle + "$"}, &id);
    id = id.substr(0, id.find('\n'));
    ASSERT_FALSE(id.empty()) << "the deck window never showed";
    std::string geometry;
    ASSERT_EQ(RunProgram({"xdotool", "getwindowgeometry", "--shell", id}, &geometry), 0);
    int wx = 0, wy = 0;
    ASSERT_EQ(std::sscanf(geometry.c_str() + geometry.find("X="), "X=%d\nY=%d", &wx, &wy), 2);
    auto at = [&](int control, int dx, int dy) {
        const DJDeckRect r = DJDeckControlRect(control, GalleryDeckWindow::kPanelWidth);
        return QPoint(wx + r.x + dx, wy + r.y + dy);
    };
    auto centre = [&](int control) {
        const DJDeckRect r = DJDeckControlRect(control, GalleryDeckWindow::kPanelWidth);
        return at(control, r.width / 2, r.height / 2);
    };
    // The flanger on with its sliders showing, so each move rebuilds the chain.
    const int flanger = static_cast<int>(DJDeckFx::kFlanger);
    ASSERT_TRUE(ClickAt(centre(kDeckFxEditFirst + 3 * flanger)));
    ASSERT_TRUE(ClickAt(centre(kDeckFxOnOffFirst + 3 * flanger)));

    const DJTheme& theme = DJThemeUser::GetTheme();
    const std::string shot = folder / "storm.png";
    const DJDeckRect sync = DJDeckControlRect(kDeckSync, GalleryDeckWindow::kPanelWidth);
    // The window answers when the hover frame of the Sync button shows, and then goes: each
    // takes a turn of its event loop and a paint.
    auto answers = [&](bool hot) {
        const LGuiColorRef hotFrame = theme.buttonFrameHotPen.GetColor();
        return WaitFor([&] {
            if (RunProgram({"import", "-window", id, shot}) != 0)
                return false;
            const QImage image(QString::fromStdString(shot));
            const QPoint edge(sync.x, sync.y + sync.height / 2);
            return image.valid(edge) && (PixelAt(image, edge) == hotFrame) == hot;
        }, 5000);
    };

    // Drags: a press on a slider, sixty moves over its whole travel and back, a release;
    // in turn on the flanger's depth and on the bass equaliser.
    auto drag = [&](int control, std::vector<std::string>& storm) {
        const DJDeckRect r = DJDeckControlRect(control, GalleryDeckWindow::kPanelWidth);
        auto add = [&](std::initializer_list<std::string> words) {
            storm.insert(storm.end(), words.begin(), words.end());
        };
        const QPoint top = at(control, r.width / 2, 2);
        add({"mousemove", std::to_string(top.x()), std::to_string(top.y()), "mousedown", "1"});
        for (int i = 0; i < 60; ++i) {
            const int y = (i % 2 == 0) ? r.height - 2 - (i * 3) % (r.height / 2) : 2 + (i * 5) % (r.height / 2);
            const QPoint p = at(control, r.width / 2, y);
            add({"mousemove", std::to_string(p.x()), std::to_string(p.y())});
        }
        add({"mouseup", "1"});
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int rounds = 0, stalls = 0;
    while (std::chrono::steady_clock::now() < end) {
        std::vector<std::string> storm;
        drag(kDeckFlangerDepth, storm);
        drag(kDeckEqBass, storm);
        ASSERT_TRUE(Xdotool(storm));
        ++rounds;
        if (rounds % 10 == 0) {
            ASSERT_TRUE(MovePointer({wx + sync.x + sync.width / 2, wy + sync.y + sync.height / 2}));
            stalls += !answers(true);
            ASSERT_TRUE(MovePointer({wx + 2, wy + 2}));
            stalls += !answers(false);
        }
    }
    EXPECT_EQ(stalls, 0) << "the window stopped answering in " << rounds << " rounds";
    std::string name;
    EXPECT_EQ(RunProgram({"xdotool", "getwindowname", id}, &name), 0);
    EXPECT_EQ(Stop(gallery), 0);
    const std::vector<int> heard = ReadWave(capturePath);
    EXPECT_GT(heard.size(), size_t(kRate) * 2 * 20);
    EXPECT_EQ(CountGaps(heard), 0) << "the audio underran during the storm";
}

// A track that cannot be loaded: the deck mode says why and exits 1 without a window left.
TEST_F(DeckXvfbTest, DeckModeRefusesABadTrack)
{
    const std::string empty = folder / "empty.wav";
    WriteWholeFile(empty, "");
    const std::string notWave = folder / "text.wav";
    WriteWholeFile(notWave, "RIFF....WAVEfmt this is not a wave file");
    const std::string folderPath = folder / "folder.wav";
    ASSERT_EQ(mkdir(folderPath.c_str(), 0700), 0);
    for (const std::string& path : {empty, notWave, folder / "missing.wav", folderPath,
                                    std::string(5000, 'x') + ".wav"}) {
        const pid_t pid = Spawn({ORVANE_GALLERY_PATH, "--deck", path}, {"ORVANE_AUDIO_CAPTURE"});
        EXPECT_EQ(WaitExit(pid), 1) << path.substr(0, 80);
    }
    const pid_t usage = Spawn({ORVANE_GALLERY_PATH, "--play"}, {});
    EXPECT_EQ(WaitExit(usage), 2);
}
