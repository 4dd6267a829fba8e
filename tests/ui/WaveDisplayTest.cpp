#include "FaderTestSupport.h"

#include "analysis/ClickTrain.h"
#include "engine/DJDeck.h"
#include "support/TestAllocator.h"
#include "support/TestHome.h"
#include "ui/DJTheme.h"
#include "ui/DJWaveDetailed.h"
#include "ui/DJWavePreview.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <memory>
#include <vector>

using namespace fadertest;

namespace {

constexpr int kRate = 44100;
constexpr int kDetailedId = 224;
constexpr int kPreviewId = 227;
constexpr int kWidth = 500;   // a detailed column is 5 s x 44100 / 500 = 441 frames
constexpr int kHeight = 100;

// Writes mono framework samples (16-bit values shifted left by 4) as a 16-bit WAVE file.
bool WriteMono(const std::string& path, const std::vector<int>& samples)
{
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 1, 16, 0);
    sink->Write(samples.data(), static_cast<int>(samples.size()));
    const bool ok = (sink->GetError() & kSinkErrorFlag) == 0;
    sink.Close();
    return ok;
}

// A square wave of 16-bit amplitude `amplitude16`, 100 frames a period.
std::vector<int> Square(int amplitude16, int frames)
{
    std::vector<int> samples(static_cast<size_t>(frames));
    for (int f = 0; f < frames; ++f)
        samples[f] = ((f / 50) % 2 ? -amplitude16 : amplitude16) * 16;
    return samples;
}

// Remembers every seek the waves ask for.
struct SeekLog : DJWaveWindowNotify {
    void djwwntfSeek(int sample) override { seeks.push_back(sample); }
    std::vector<int> seeks;
};

// A deck listener that reports a fixed lag, as the console does.
struct LagListener : DJDeckNotify {
    explicit LagListener(int lag) : lag(lag) {}
    int GetLag() override { return lag; }
    int lag;
};

TEST(WaveScan, SquareWaveGivesItsPeakInEveryColumn)
{
    TempFolder folder;
    const struct {
        int amplitude16;
        uint8_t peak;
    } cases[] = {
        {0, 0}, {2000, 15}, {16000, 125}, {32639, 254}, {32640, 255}, {32767, 255},
    };
    for (const auto& c : cases) {
        const std::string path = folder / ("square" + std::to_string(c.amplitude16) + ".wav");
        ASSERT_TRUE(WriteMono(path, Square(c.amplitude16, 3 * kRate)));
        for (const bool preview : {false, true}) {
            std::vector<uint8_t> peaks;
            const int count = DJWaveScanFile(path.c_str(), kWidth, 1.0, preview, &peaks);
            // Three seconds are 300 detailed columns; the preview spreads them over the width.
            EXPECT_NEAR(count, preview ? kWidth + 1 : 3 * kRate / 441 + 1, preview ? 1 : 0) << c.amplitude16;
            for (int i = 0; i + 1 < count; ++i)
                ASSERT_EQ(peaks[i], c.peak) << c.amplitude16 << " preview " << preview << " column " << i;
        }
    }
}

TEST(WaveScan, ClickTrainPeaksSitWhereTheClicksAre)
{
    TempFolder folder;
    ClickTrain train;
    train.bpm = 100.0;
    train.seconds = 6.0;
    train.firstClickFrame = 5000;
    const std::string path = folder / "clicks.wav";
    ASSERT_TRUE(WriteStereoWave(path, MakeClickTrain(train)));
    std::vector<uint8_t> peaks;
    const int count = DJWaveScanFile(path.c_str(), kWidth, 1.0, false, &peaks);
    ASSERT_GT(count, 500);
    std::vector<bool> click(static_cast<size_t>(count) + 1, false);
    for (int beat = 0; ClickFrame(train, beat) < train.seconds * kRate; ++beat) {
        const int column = ClickFrame(train, beat) / 441;
        // A 10 ms click spans at most two 441-frame columns; its first holds the loudest part.
        EXPECT_GT(peaks[column], 0) << "beat " << beat;
        click[column] = click[column + 1] = true;
    }
    for (int i = 0; i + 1 < count; ++i) {
        if (!click[i]) {
            EXPECT_EQ(peaks[i], 0) << "column " << i;
        }
    }
}

TEST(WaveScan, PitchKeepsTheColumnsAndBadFilesGiveNothing)
{
    TempFolder folder;
    const std::string path = folder / "square.wav";
    ASSERT_TRUE(WriteMono(path, Square(8000, 2 * kRate)));
    std::vector<uint8_t> plain, pitched;
    const int plainCount = DJWaveScanFile(path.c_str(), kWidth, 1.0, false, &plain);
    const int pitchedCount = DJWaveScanFile(path.c_str(), kWidth, 1.5, false, &pitched);
    EXPECT_NEAR(pitchedCount, plainCount, 1);
    EXPECT_EQ(pitched[plainCount / 2], plain[plainCount / 2]);

    const std::string garbage = folder / "garbage.wav";
    std::ofstream(garbage) << "RIFF\x10\0\0\0WAVEfmt nonsense";
    const std::string empty = folder / "empty.wav";
    std::ofstream{empty};
    for (const std::string& bad : {folder / "missing.wav", garbage, empty, folder.Path()})
        EXPECT_EQ(DJWaveScanFile(bad.c_str(), kWidth, 1.0, true), 0) << bad;
    // A name with spaces and UTF-8 is read like any other.
    const std::string odd = folder / "odd name \xc3\xbc #1.wav";
    ASSERT_TRUE(WriteMono(odd, Square(8000, 2 * kRate)));
    EXPECT_EQ(DJWaveScanFile(odd.c_str(), kWidth, 1.0, false), plainCount);
    // A track longer than the columns can hold is cut at the last of them.
    std::vector<uint8_t> many;
    // At 10,000,000 columns a view, a column is 0.02 frames: most read nothing, and every
    // one that reads a frame holds the peak.
    EXPECT_EQ(DJWaveScanFile(path.c_str(), 10 * DJWaveWindow::kMaxColumns, 1.0, false, &many),
              DJWaveWindow::kMaxColumns);
    const auto tail = many.end() - 100;
    EXPECT_EQ(*std::max_element(tail, many.end()), 8000 * 16 >> 11);
    EXPECT_EQ(*std::min_element(tail, many.end()), 0);
    // Absurd widths and pitches are held, never crash.
    EXPECT_GT(DJWaveScanFile(path.c_str(), 0, 0.0, false), 0);
    EXPECT_GT(DJWaveScanFile(path.c_str(), -5, -3.0, true), 0);
}

class WaveDisplayTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureApplication();
        window.CreateTopLevel("waves", kWidth + 20, 300);
        window.AddPaintControl(kDetailedId, 0, 0, kWidth, kHeight, {});
        window.AddPaintControl(kPreviewId, 0, 150, kWidth, 30, {});
        detailed.Init(&window, kDetailedId);
        preview.Init(&window, kPreviewId);
        detailed._SetSize(kWidth, kHeight);
        preview._SetSize(kWidth, 30);
        detailed.SetDeck(&deck);
        preview.SetDeck(&deck);
    }
    void TearDown() override { DrainRepaints(); }

    std::string Track(const std::string& name, int amplitude16, double seconds)
    {
        const std::string path = folder / name;
        EXPECT_TRUE(WriteMono(path, Square(amplitude16, static_cast<int>(seconds * kRate))));
        return path;
    }
    // Loads both waves and waits until their readers have finished.
    void LoadAndScan(const std::string& path, int beatPeriod = 0, int beatOffset = 0)
    {
        ASSERT_TRUE(deck.Load(path.c_str(), beatPeriod, beatOffset == 0 && beatPeriod == 0 ? 1 : beatOffset));
        detailed.Load(path.c_str());
        detailed.SetNotify(&log);
        preview.Load(path.c_str());
        preview.SetNotify(&log);
        WaitForScan(detailed);
        WaitForScan(preview);
    }
    static void WaitForScan(DJWaveWindow& wave)
    {
        ASSERT_TRUE(QtTestWaitFor([&] { return wave.IsScanComplete(); }, 20000));
        wave.WaitForThreadEnd();
    }

    TempFolder folder;
    RecordingWindow window;
    DJDeck deck;
    DJWaveDetailed detailed;
    DJWavePreview preview;
    SeekLog log;
};

TEST_F(WaveDisplayTest, ShortTrackKeepsTheViewAtTheStartAndShowsThePastEnd)
{
    LoadAndScan(Track("short.wav", 16000, 2.0));  // under half a view
    ASSERT_DOUBLE_EQ(detailed.GetSamplesPerPixel(), 441.0);
    const int peakCount = detailed.GetPeakCount();
    EXPECT_EQ(peakCount, 2 * kRate / 441 + 1);
    for (const int sample : {0, 441, 22050, 44100, 2 * kRate - 1}) {
        detailed.SetFrame(sample);
        EXPECT_EQ(detailed.GetFrameStart(), 0) << sample;
        EXPECT_EQ(detailed.GetFirstPixel(), 0) << sample;
        EXPECT_EQ(detailed.GetPlayPixel(), sample / 441) << sample;
    }
    const DJTheme& theme = DJThemeUser::GetTheme();
    const QImage image = PaintToImage(detailed);
    const int mid = (kHeight - 7) / 2 + 7;
    EXPECT_EQ(PixelAt(image, 50, mid + 20), theme.wavePen.GetColor());
    EXPECT_EQ(PixelAt(image, peakCount + 5, kHeight - 2), theme.loopBackground);
    EXPECT_EQ(PixelAt(image, kWidth - 1, 20), theme.loopBackground);
    EXPECT_EQ(PixelAt(image, 50, 3), theme.beatStrip);

    detailed.EvRButtonDown(10, 10);
    preview.EvRButtonDown(10, 10);
    EXPECT_EQ(window.messages, (std::vector<Message>{{4, kDetailedId, 0}, {4, kPreviewId, 0}}));
}

TEST_F(WaveDisplayTest, TimeFormOfSetFrameConvertsAtTheSourceRate)
{
    LoadAndScan(Track("time.wav", 1000, 20.0));
    const struct {
        int ms;
        int sample;
    } cases[] = {{0, 0}, {1, 44}, {999, 44055}, {1000, 44100}, {12345, 12 * 44100 + 345 * 44100 / 1000}};
    for (const auto& c : cases) {
        LSoundTime time(c.ms);
        detailed.SetFrame(time);
        EXPECT_EQ(detailed.GetFrame(), c.sample) << c.ms;
    }
}

TEST_F(WaveDisplayTest, BeatArrayMarksEveryBeatAndEveryFourthAsABar)
{
    constexpr int kPeriod = 22050, kOffset = 3000;
    LoadAndScan(Track("beats.wav", 1000, 12.0), kPeriod, kOffset);
    detailed.FillBeatArray();
    ASSERT_TRUE(detailed.AreBeatsValid());
    int marked = 0;
    for (int column = 0; column < detailed.GetPeakCount(); ++column)
        marked += detailed.GetBeat(column) != DJWaveDetailed::kBeatNone;
    int beat = 0;
    for (; kOffset + beat * kPeriod < 12 * kRate; ++beat)
        EXPECT_EQ(detailed.GetBeat((kOffset + beat * kPeriod) / 441),
                  beat % 4 == 0 ? DJWaveDetailed::kBeatBar : DJWaveDetailed::kBeatTick)
            << "beat " << beat;
    EXPECT_EQ(marked, beat);

    deck.ResetBeatFrequency();
    detailed.FillBeatArray();
    EXPECT_EQ(detailed.GetBeat(kOffset / 441), DJWaveDetailed::kBeatNone);
}

TEST_F(WaveDisplayTest, AtPitchOneAndAHalfAClickSeeksWhereTheMarkUnderThePointerIs)
{
    constexpr int kPeriod = 30000, kOffset = 777;
    LoadAndScan(Track("pitch.wav", 1000, 30.0), kPeriod, kOffset);
    deck.SetPitch(1.5);
    detailed.EvPitchChange();
    preview.EvPitchChange();
    EXPECT_DOUBLE_EQ(detailed.GetSamplesPerPixel(), 441.0 / 1.5);
    detailed.SetFrame(300000);
    detailed.FillBeatArray();
    const int first = detailed.GetFirstPixel();
    int markX = -1;
    for (int x = kWidth / 2; x < kWidth && markX < 0; ++x)
        if (detailed.GetBeat(x + first) != DJWaveDetailed::kBeatNone)
            markX = x;
    ASSERT_GE(markX, 0);
    detailed.EvLButtonDown(markX, 50);
    ASSERT_EQ(log.seeks.size(), 1u);
    const int adjusted = deck.GetBeatFrequencyPitchAdjusted();
    const int beat = (int(std::floor((markX + first) * detailed.GetSamplesPerPixel())) - kOffset + adjusted / 2) / adjusted;
    const int beatSample = kOffset + beat * adjusted;
    EXPECT_EQ(int(log.seeks[0] / detailed.GetSamplesPerPixel()), int(beatSample / detailed.GetSamplesPerPixel()));
    EXPECT_LT(std::abs(log.seeks[0] - beatSample), detailed.GetSamplesPerPixel());
}

TEST_F(WaveDisplayTest, PressNearTheCueLineDragsItAndNeverSeeks)
{
    LoadAndScan(Track("cue.wav", 1000, 30.0));
    deck.SetCueMark(441 * 300);
    detailed.SetFrame(441 * 250);  // the view starts at column 250 - 250 = 0
    const int cueX = 300 - detailed.GetFirstPixel();
    for (int dx = -7; dx <= 7; ++dx) {
        log.seeks.clear();
        detailed.EvLButtonDown(cueX + dx, 50);
        const bool grab = std::abs(dx) <= 5;
        EXPECT_EQ(detailed.IsCueDragging(), grab) << dx;
        EXPECT_EQ(log.seeks.empty(), grab) << dx;
        detailed.EvLButtonUp(cueX + dx, 50);
        deck.SetCueMark(441 * 300);
    }
}

TEST_F(WaveDisplayTest, CueDraggedPastEitherEdgeEndsAtTheEdge)
{
    LoadAndScan(Track("edge.wav", 1000, 30.0));
    detailed.SetFrame(441 * 1000);
    const int first = detailed.GetFirstPixel();
    ASSERT_EQ(first, 750);
    const struct {
        int releaseX, column;
    } cases[] = {{-80, 0}, {kWidth + 80, kWidth}, {123, 123}};
    for (const auto& c : cases) {
        deck.SetCueMark(441 * (first + 200));
        window.messages.clear();
        detailed.EvLButtonDown(200, 50);
        ASSERT_TRUE(detailed.IsCueDragging());
        detailed.EvMouseMove(c.releaseX / 2, 50);
        detailed.EvMouseMove(c.releaseX, 50);
        detailed.EvLButtonUp(c.releaseX, 50);
        EXPECT_FALSE(detailed.IsCueDragging());
        EXPECT_EQ(deck.GetCueMark(), 441 * (first + c.column)) << c.releaseX;
        EXPECT_EQ(detailed.GetCueDragX(), c.column) << c.releaseX;
        ASSERT_EQ(window.messages.size(), 1u);
        EXPECT_EQ(window.messages[0], (Message{5, kDetailedId, 0}));
    }
    EXPECT_TRUE(log.seeks.empty());
}

TEST_F(WaveDisplayTest, WithSnappingTheCueLandsOnTheBeat)
{
    constexpr int kPeriod = 22050, kOffset = 1000;
    LoadAndScan(Track("snap.wav", 1000, 30.0), kPeriod, kOffset);
    deck.SetCueSnap(true);
    deck.SetCueMark(0);
    detailed.SetFrame(0);
    detailed.EvLButtonDown(0, 50);
    ASSERT_TRUE(detailed.IsCueDragging());
    const int releaseX = 111;  // 48951 frames: nearest beat 2 at 45100
    detailed.EvMouseMove(releaseX, 50);
    detailed.EvLButtonUp(releaseX, 50);
    EXPECT_EQ(deck.GetCueMark(), kOffset + 2 * kPeriod);
    EXPECT_EQ(detailed.GetCueDragX(), (kOffset + 2 * kPeriod) / 441);
    EXPECT_NE(detailed.GetCueDragX(), releaseX);
}

TEST_F(WaveDisplayTest, WheelMovesTenColumnsANotchWithinTheTrack)
{
    LoadAndScan(Track("wheel.wav", 1000, 30.0));
    const struct {
        int frame, delta, target;
    } cases[] = {
        {441000, 120, 441000 - 4410}, {441000, -120, 441000 + 4410}, {441000, 360, 441000 - 13230},
        {1000, 120, 0}, {30 * kRate - 10, -240, 30 * kRate},
    };
    for (const auto& c : cases) {
        log.seeks.clear();
        detailed.SetFrame(c.frame);
        detailed.EvMouseWheel(10, 10, c.delta);
        ASSERT_EQ(log.seeks.size(), 1u);
        EXPECT_EQ(log.seeks[0], c.target) << c.frame << " " << c.delta;
    }
    // The preview moves half a view a notch: 2.5 seconds.
    log.seeks.clear();
    preview.SetFrame(441000);
    preview.EvMouseWheel(10, 10, 120);
    ASSERT_EQ(log.seeks.size(), 1u);
    EXPECT_NEAR(log.seeks[0], 441000 - 2.5 * kRate, 1);
}

TEST_F(WaveDisplayTest, PreviewClickSeeksWithLagAndDragKeepsSeeking)
{
    LagListener lag(1234);
    deck.AddNotify(&lag);
    LoadAndScan(Track("preview.wav", 1000, 20.0));
    const double spp = preview.GetSamplesPerPixel();
    ASSERT_DOUBLE_EQ(spp, 20.0 * kRate / kWidth);
    for (const int x : {0, 1, 250, kWidth - 1}) {
        log.seeks.clear();
        preview.EvLButtonDown(x, 5);
        ASSERT_EQ(log.seeks.size(), 1u);
        EXPECT_EQ(log.seeks[0], std::min(int(x * spp) + 1234, 20 * kRate)) << x;
        preview.EvLButtonUp(x, 5);
    }
    log.seeks.clear();
    deck.Play();
    preview.EvLButtonDown(100, 5);
    for (const int x : {110, 120, 130})
        preview.EvMouseMove(x, 5);
    preview.EvLButtonUp(130, 5);
    preview.EvMouseMove(200, 5);
    deck.Stop();
    ASSERT_EQ(log.seeks.size(), 4u);
    EXPECT_EQ(log.seeks[1], int(110 * spp));
    EXPECT_EQ(log.seeks[3], int(130 * spp));
    EXPECT_DOUBLE_EQ(preview.GetFiveSecondsFraction(), 0.25);
    EXPECT_EQ(preview.GetFrameLength(), 5 * kRate);
}

TEST_F(WaveDisplayTest, LoopOverlaysAndAbsurdPositionsPaintWithoutHarm)
{
    constexpr int kPeriod = 22050;
    LoadAndScan(Track("overlay.wav", 16000, 30.0), kPeriod, 1);
    deck.SetCueMark(441 * 100);
    deck.SetLoop(4);  // four beats: 200 columns
    detailed.SetFrame(0);
    detailed.SetOverDeck(true);
    detailed.SetLoadProgress(42);
    detailed.SetAutoPlayMode(true);
    const DJTheme& theme = DJThemeUser::GetTheme();
    const QImage image = PaintToImage(detailed);
    const int mid = (kHeight - 7) / 2 + 7;
    EXPECT_EQ(PixelAt(image, 150, mid + 20), theme.loopWavePen.GetColor());
    EXPECT_EQ(PixelAt(image, 150, kHeight - 10), theme.loopBackground);
    EXPECT_EQ(PixelAt(image, 50, mid + 20), theme.wavePen.GetColor());
    EXPECT_EQ(PixelAt(image, 50, kHeight - 10), theme.waveBackground);
    EXPECT_EQ(PixelAt(image, kWidth - 2, 10), LGuiColorRef::FromRGB(0, 0, 0));  // over-deck frame
    EXPECT_EQ(PixelAt(image, 0, 50), theme.playLinePen.GetColor());
    EXPECT_EQ(PixelAt(image, kWidth - 5, kHeight - 19), theme.autoPlayBox);
    int progressPixels = 0;  // the progress text, in its own colour, centred
    for (int x = kWidth / 2 - 100; x < kWidth / 2 + 100; ++x)
        for (int y = 37; y < 69; ++y)
            progressPixels += PixelAt(image, x, y) == theme.progressFont.GetColor();
    EXPECT_GT(progressPixels, 50);

    // Absurd positions, pitches and sizes: nothing crashes and nothing reads out of range.
    for (const int frame : {INT32_MIN, -1, INT32_MAX, 30 * kRate + 5}) {
        detailed.SetFrame(frame);
        preview.SetFrame(frame);
        PaintToImage(detailed);
        PaintToImage(preview);
    }
    for (const double pitch : {0.0, 1e-9, 1e9}) {
        deck.SetPitch(pitch);
        detailed.EvPitchChange();
        preview.EvPitchChange();
        detailed.SetFrame(INT32_MAX);
        PaintToImage(detailed);
        detailed.EvLButtonDown(kWidth - 1, 50);
        detailed.EvMouseWheel(0, 0, -120000);
    }
    for (const auto& size : {std::pair{0, 0}, std::pair{1, 1}, std::pair{3, 5}}) {
        detailed._SetSize(size.first, size.second);
        detailed.EvSize();
        preview._SetSize(size.first, size.second);
        preview.EvSize();
        PaintToImage(detailed);
        PaintToImage(preview);
    }
}

TEST_F(WaveDisplayTest, PaintingMoreColumnsAllocatesNothingMore)
{
    LoadAndScan(Track("alloc.wav", 16000, 30.0), 22050, 1);
    deck.SetCueMark(441 * 500);
    deck.SetLoop(4);
    detailed.SetFrame(441 * 600);
    QImage image(kWidth, kHeight, QImage::Format_RGB32);
    auto allocations = [&](float x, float width) {
        QPainter painter(&image);
        PaintData data;
        data.context = &painter;
        data.x = x;
        data.width = width;
        data.height = kHeight;
        detailed.Prepaint(data);  // beat marks and caches are made by the first paint
        AllocationCount count;
        detailed.Prepaint(data);
        return count.Count();
    };
    // Both areas hold part of the loop and of the wave; only the number of columns differs.
    EXPECT_EQ(allocations(0, kWidth), allocations(0, kWidth / 2));
}

TEST_F(WaveDisplayTest, FileThatCannotBeOpenedPaintsOnlyBackgroundStripAndLines)
{
    const std::string missing = folder / "missing.wav";
    detailed.Load(missing.c_str());
    preview.Load(missing.c_str());
    EXPECT_FALSE(detailed.HasTrack());
    EXPECT_EQ(detailed.GetScanStarts(), 0);
    EXPECT_EQ(detailed.GetPeakCount(), 0);
    detailed.EvLButtonDown(100, 50);
    detailed.EvMouseWheel(100, 50, 120);
    detailed.EvRButtonDown(100, 50);
    preview.EvLButtonDown(100, 5);
    EXPECT_TRUE(log.seeks.empty());
    EXPECT_TRUE(window.messages.empty());
    const DJTheme& theme = DJThemeUser::GetTheme();
    const QImage image = PaintToImage(detailed);
    const int mid = (kHeight - 7) / 2 + 7;
    // The cue mark of an empty deck stands at column 0.
    EXPECT_EQ(PixelAt(image, 0, kHeight - 2), theme.cueLinePen.GetColor());
    for (int x = 7; x < kWidth; x += 7) {
        EXPECT_EQ(PixelAt(image, x, 3), theme.beatStrip) << x;
        EXPECT_EQ(PixelAt(image, x, mid), theme.centreLinePen.GetColor()) << x;
        EXPECT_EQ(PixelAt(image, x, kHeight - 2), theme.waveBackground) << x;
    }
    const QImage previewImage = PaintToImage(preview);
    for (int x = 0; x < kWidth; x += 7)
        EXPECT_EQ(PixelAt(previewImage, x, 15), theme.waveBackground) << x;
}

TEST_F(WaveDisplayTest, LoadDuringAScanStopsItAndScansOnlyTheNewTrack)
{
    const std::string loud = Track("loud.wav", 30000, 240.0);
    const std::string quiet = Track("quiet.wav", 4000, 4.0);
    ASSERT_TRUE(deck.Load(loud.c_str(), 22050, 1));
    detailed.Load(loud.c_str());
    EXPECT_TRUE(detailed.IsRunning() || detailed.IsScanComplete());
    ASSERT_TRUE(deck.Load(quiet.c_str(), 22050, 1));
    detailed.Load(quiet.c_str());
    EXPECT_EQ(detailed.GetScanStarts(), 2);
    WaitForScan(detailed);
    EXPECT_EQ(detailed.GetPeakCount(), 4 * kRate / 441 + 1);
    for (int i = 0; i + 1 < detailed.GetPeakCount(); ++i)
        ASSERT_EQ(detailed.GetPeak(i), 4000 * 16 >> 11) << i;
    for (int i = detailed.GetPeakCount(); i < 2000; ++i)
        ASSERT_EQ(detailed.GetPeak(i), 0) << i;
}

TEST_F(WaveDisplayTest, ResizeRestartsTheScanAfterAPauseAndDestructionJoins)
{
    LoadAndScan(Track("resize.wav", 8000, 10.0));
    const int starts = detailed.GetScanStarts();
    window.MoveControlPixels(kDetailedId, 0, 0, 250, kHeight);
    detailed._SetSize(250, kHeight);
    detailed.EvSize();
    EXPECT_EQ(detailed.GetScanStarts(), starts);  // not at once: only after the pause
    EXPECT_DOUBLE_EQ(detailed.GetSamplesPerPixel(), 882.0);
    ASSERT_TRUE(QtTestWaitFor([&] { return detailed.GetScanStarts() == starts + 1; }));
    WaitForScan(detailed);
    EXPECT_EQ(detailed.GetPeakCount(), 10 * kRate / 882 + 1);

    // A window destroyed while its reader runs stops and joins it first.
    const std::string longTrack = Track("long.wav", 8000, 300.0);
    for (int round = 0; round < 3; ++round) {
        auto wave = std::make_unique<DJWavePreview>();
        window.AddPaintControl(300 + round, 0, 200, kWidth, 30, {});
        wave->Init(&window, 300 + round);
        wave->_SetSize(kWidth, 30);
        wave->SetDeck(&deck);
        wave->Load(longTrack.c_str());
        wave.reset();
        DrainRepaints();
    }
}

}  // namespace
