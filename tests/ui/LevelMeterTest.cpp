#include "FaderTestSupport.h"

#include "ui/LDBDisplay2.h"

#include <gtest/gtest.h>

#include <initializer_list>

using namespace fadertest;

namespace {

constexpr int kMeterId = 225;
constexpr LGuiColorRef kRed = LGuiColorRef::FromRGB(255, 0, 0);
constexpr LGuiColorRef kBackground = LGuiColorRef::FromRGB(41, 46, 47);
constexpr LGuiColorRef kWhite = LGuiColorRef::FromRGB(255, 255, 255);

LDBMC Levels(std::initializer_list<int> dbs)
{
    LDBMC level;
    level.channels = static_cast<unsigned char>(dbs.size());
    int channel = 0;
    for (const int db : dbs)
        level.level[channel++] = LdBValue{db};
    return level;
}

class LevelMeterTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureApplication();
        window.CreateTopLevel("meter", 800, 200);
    }
    void TearDown() override { DrainRepaints(); }

    void Place(LDBDisplay2& meter, int width, int height, int id = kMeterId)
    {
        window.AddDBDisplay(id, 0, 0, width, height);
        meter.Init(&window, id);
        Resize(meter, width, height);
    }
    void Resize(LDBDisplay2& meter, int width, int height)
    {
        window.MoveControlPixels(meter.GetId(), 0, 0, width, height);
        meter._SetSize(width, height);
        meter.EvSize();
    }

    RecordingWindow window;
};

TEST(LevelMeterColours, TableAtTheQuartersOfTheZeroPixel)
{
    const struct {
        int x, zero;
        LGuiColorRef colour;
    } cases[] = {
        {0, 200, LGuiColorRef::FromRGB(7, 103, 0)},      // dark green
        {50, 200, LGuiColorRef::FromRGB(120, 179, 0)},   // t 0.5 of the first half
        {100, 200, LGuiColorRef::FromRGB(234, 255, 0)},  // P / 2: yellow
        {150, 200, LGuiColorRef::FromRGB(244, 127, 0)},  // t 0.5 of the second half
        {199, 200, LGuiColorRef::FromRGB(254, 2, 0)},
        {200, 200, kRed},                                // P
        {201, 200, kRed},                                // past P
        {5000, 200, kRed},
        {101, 101, kRed},                                // odd P: no component past 255
        {50, 101, LGuiColorRef::FromRGB(231, 253, 0)},
        {0, 0, LGuiColorRef::FromRGB(7, 103, 0)},
        {1, 0, kRed},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LDBDisplay2::MapPixelToColour(c.x, c.zero), c.colour)
            << c.x << " of " << c.zero;
}

TEST_F(LevelMeterTest, ScaleStepAndPixelsFollowTheWidth)
{
    LDBDisplay2 meter;
    Place(meter, 200, 11);
    const struct {
        int width, step;
    } steps[] = {{0, 12}, {140, 12}, {141, 6}, {270, 6}, {271, 3}, {2000, 3}};
    for (const auto& c : steps) {
        meter.CalculateColours(c.width);
        EXPECT_EQ(meter.GetScaleStep(), c.step) << c.width;
        EXPECT_EQ(meter.GetPixelColours().size(), static_cast<size_t>(c.width));
    }
    meter.CalculateColours(200);
    const struct {
        int db, pixel;
    } pixels[] = {{-48, 0}, {-24, 100}, {-1, 195}, {0, 200}, {-47, 4}};
    for (const auto& c : pixels) {
        EXPECT_EQ(meter.MapDBToPixel(c.db), c.pixel) << c.db;
        EXPECT_EQ(meter.GetDBPixel(c.db), c.pixel) << c.db;
    }
    EXPECT_EQ(meter.GetDBPixel(-127), 0);
    EXPECT_EQ(meter.GetDBPixel(20), 200);

    // Design two keeps 14 pixels at the right; what lies past the 0 dB pixel is red.
    meter.SetDesignTwo(true);
    meter.CalculateColours(214);
    EXPECT_EQ(meter.MapDBToPixel(-24), 100);
    EXPECT_EQ(meter.MapDBToPixel(0), 200);
    for (int x = 200; x < 214; ++x)
        EXPECT_EQ(meter.GetPixelColours()[static_cast<size_t>(x)], kRed) << x;
    EXPECT_NE(meter.GetPixelColours()[199], kRed);
}

// 200 by 14 without scale: two bars of 6 rows (0..5 and, taking the rest, 7..13) with row 6
// between them.
TEST_F(LevelMeterTest, BarsReadTwelveDBLowAndAboveZeroReadRedAtTheRightEnd)
{
    LDBDisplay2 meter;
    meter.SetShowScale(false);
    meter.SetBackgroundColor(kBackground);
    Place(meter, 200, 14);
    meter.SetLevel(Levels({30, -12}));  // reads 0 (held) and -24 dB
    const QImage image = PaintToImage(meter);
    const auto colourOf = [&](int x) { return meter.GetPixelColours()[static_cast<size_t>(x)]; };

    const LGuiColorRef rightEnd = PixelAt(image, 199, 2);
    EXPECT_EQ(rightEnd, colourOf(199));
    EXPECT_GE(rightEnd.Red8(), 250);
    EXPECT_LE(rightEnd.Green8(), 5);
    EXPECT_EQ(rightEnd.Blue8(), 0);
    for (const int y : {0, 5})
        EXPECT_EQ(PixelAt(image, 50, y), colourOf(50)) << y;
    EXPECT_EQ(PixelAt(image, 50, 6), kBackground);  // between the bars
    for (const int y : {7, 13}) {
        EXPECT_EQ(PixelAt(image, 99, y), colourOf(99)) << y;
        EXPECT_EQ(PixelAt(image, 100, y), kWhite) << y;  // the peak, just past the bar
        EXPECT_EQ(PixelAt(image, 150, y), kBackground) << y;
    }
    EXPECT_EQ(meter.GetPeak(0).pixel, 200);
    EXPECT_EQ(meter.GetPeak(1).pixel, 100);
    EXPECT_TRUE(meter.IsTimerRunning());
}

// Design two: bars over the width less 14, and a light in those 14 pixels that is red while
// a channel reads 0 dB.
TEST_F(LevelMeterTest, DesignTwoLightsRedAtTheTop)
{
    LDBDisplay2 meter;
    meter.SetDesignTwo(true);
    meter.SetBackgroundColor(kBackground);
    Place(meter, 214, 10);
    meter.SetLevel(Levels({12, -127}));
    QImage image = PaintToImage(meter);
    EXPECT_EQ(PixelAt(image, 199, 2), meter.GetPixelColours()[199]);
    EXPECT_EQ(PixelAt(image, 200, 2), kWhite);  // the peak, just past the bar
    EXPECT_EQ(PixelAt(image, 201, 2), kBackground);
    EXPECT_EQ(PixelAt(image, 207, 5), kRed);
    meter.SetLevel(Levels({11, -127}));
    image = PaintToImage(meter);
    EXPECT_NE(PixelAt(image, 207, 5), kRed);
    EXPECT_NE(PixelAt(image, 207, 5), kBackground);
}

TEST_F(LevelMeterTest, NarrowMeterLabelsEveryTwelveDB)
{
    LDBDisplay2 meter;
    meter.SetBackgroundColor(kBackground);
    const LGuiColorRef scale = LGuiColorRef::FromRGB(200, 200, 200);
    meter.SetScaleColor(scale);
    Place(meter, 140, 22);  // scale in rows 0..10, ticks in rows 9 and 10
    meter.SetLevel(Levels({-127, -127}));
    const QImage image = PaintToImage(meter);
    EXPECT_EQ(meter.GetScaleStep(), 12);
    for (const int db : {-36, -24, -12})
        EXPECT_EQ(PixelAt(image, meter.GetDBPixel(db), 10), scale) << db;
    for (const int db : {-42, -30, -18})
        EXPECT_EQ(PixelAt(image, meter.GetDBPixel(db), 10), kBackground) << db;
    EXPECT_EQ(PixelAt(image, 70, 16), kBackground);  // silence draws no bar
    EXPECT_FALSE(meter.IsTimerRunning());
}

TEST_F(LevelMeterTest, PeakHoldsEightTicksThenFallsFasterAndFaster)
{
    LDBDisplay2 meter;
    meter.SetShowScale(false);
    Place(meter, 200, 14);
    meter.SetLevel(Levels({-4, -20}));  // read -16 and -32 dB: pixels 133 and 66
    PaintToImage(meter);
    ASSERT_EQ(meter.GetPeak(0).pixel, 133);
    ASSERT_EQ(meter.GetPeak(1).pixel, 66);
    ASSERT_TRUE(meter.IsTimerRunning());
    meter.SetLevel(Levels({-127, -127}));

    for (int tick = 1; tick <= 8; ++tick) {
        meter.TimerAction();
        EXPECT_EQ(meter.GetPeak(0).pixel, 133) << tick;
        EXPECT_EQ(meter.GetPeak(1).pixel, 66) << tick;
        EXPECT_TRUE(meter.IsTimerRunning()) << tick;
    }
    // Falls of 1, 2, 3, ... pixels until the next fall would pass 0.
    const int firstFalls[][2] = {{132, 65}, {130, 63}, {127, 60}, {123, 56}};
    for (const auto& expected : firstFalls) {
        meter.TimerAction();
        EXPECT_EQ(meter.GetPeak(0).pixel, expected[0]);
        EXPECT_EQ(meter.GetPeak(1).pixel, expected[1]);
    }
    int ticks = 8 + 4;
    int previousFall = 4;
    int previous = meter.GetPeak(0).pixel;
    while (meter.IsTimerRunning() && ticks < 100) {
        DrainRepaints();
        meter.TimerAction();
        ++ticks;
        const int pixel = meter.GetPeak(0).pixel;
        if (pixel > 0) {
            EXPECT_EQ(previous - pixel, ++previousFall) << ticks;
        }
        previous = pixel;
    }
    // 133 - (1 + ... + 15) = 13 is not above the next fall of 16, so the 16th fall ends it.
    EXPECT_EQ(ticks, 8 + 16);
    EXPECT_EQ(meter.GetPeak(0).pixel, 0);
    EXPECT_EQ(meter.GetPeak(1).pixel, 0);
}

// Counts its paints and keeps the peak it last painted.
class PaintCountingMeter : public LDBDisplay2 {
public:
    void Prepaint(PaintData& data) override
    {
        LDBDisplay2::Prepaint(data);
        ++paints;
        paintedPeak = GetPeak(0).pixel;
    }
    int paints = 0;
    int paintedPeak = -1;
};

// In a shown window the timer runs by itself: the peak falls, the last state reaches the
// screen, and the timer stops.
TEST_F(LevelMeterTest, TimerBringsThePeakDownOnScreenAndStops)
{
    PaintCountingMeter meter;
    meter.SetShowScale(false);
    Place(meter, 200, 14);
    meter.SetLevel(Levels({6, 6}));
    window.Show();
    ASSERT_TRUE(QtTestWaitFor([&] { return meter.paintedPeak > 0; }));
    meter.SetLevel(Levels({-127, -127}));
    ASSERT_TRUE(QtTestWaitFor([&] { return !meter.IsTimerRunning(); }));
    EXPECT_EQ(meter.GetPeak(0).pixel, 0);
    EXPECT_TRUE(QtTestWaitFor([&] { return meter.paintedPeak == 0; }));
    window.Hide();
}

TEST_F(LevelMeterTest, RisingLevelRestartsTheHold)
{
    LDBDisplay2 meter;
    meter.SetShowScale(false);
    Place(meter, 200, 14);
    meter.SetLevel(Levels({-4, -20}));
    PaintToImage(meter);
    for (int tick = 0; tick < 10; ++tick)
        meter.TimerAction();
    ASSERT_EQ(meter.GetPeak(0).pixel, 130);
    meter.SetLevel(Levels({-6, -127}));  // reads -18: pixel 125, below the falling peak
    PaintToImage(meter);
    EXPECT_EQ(meter.GetPeak(0).pixel, 130);
    EXPECT_EQ(meter.GetPeak(0).fallSpeed, 3);
    meter.SetLevel(Levels({0, -127}));  // reads -12: pixel 150
    PaintToImage(meter);
    EXPECT_EQ(meter.GetPeak(0).pixel, 150);
    EXPECT_EQ(meter.GetPeak(0).holdCount, 0);
    EXPECT_EQ(meter.GetPeak(0).fallSpeed, 1);
}

TEST_F(LevelMeterTest, ClearStopsTheTimerAndResetsThePeaks)
{
    LDBDisplay2 meter;
    Place(meter, 200, 11);
    meter.SetLevel(Levels({10, 10}));
    PaintToImage(meter);
    meter.TimerAction();
    ASSERT_TRUE(meter.IsTimerRunning());
    DrainRepaints();
    meter.Clear();
    EXPECT_FALSE(meter.IsTimerRunning());
    EXPECT_EQ(PendingRepaints(), 1u);
    EXPECT_EQ(meter.GetLevel().channels, 1);
    EXPECT_TRUE(meter.GetLevel().level[0].IsSilent());
    for (const int channel : {0, 1}) {
        const LDBDisplay2::Peak& peak = meter.GetPeak(channel);
        EXPECT_EQ(peak.pixel, 0);
        EXPECT_EQ(peak.fallSpeed, 1);
        EXPECT_EQ(peak.holdCount, 0);
        EXPECT_EQ(peak.holdMax, 8);
    }
}

TEST_F(LevelMeterTest, ResizeRebuildsColoursForTheNewWidth)
{
    LDBDisplay2 meter;
    Place(meter, 120, 11);
    PaintToImage(meter);
    EXPECT_FALSE(meter.NeedsRebuild());
    EXPECT_EQ(meter.GetScaleStep(), 12);
    Resize(meter, 300, 11);
    EXPECT_TRUE(meter.NeedsRebuild());
    PaintToImage(meter);
    EXPECT_FALSE(meter.NeedsRebuild());
    EXPECT_EQ(meter.GetScaleStep(), 3);
    EXPECT_EQ(meter.GetPixelColours().size(), 300u);
    EXPECT_EQ(meter.GetLevelImage().GetImage().width(), 300);
}

TEST_F(LevelMeterTest, OddSizesAndChannelCountsPaintWithoutHarm)
{
    const struct {
        int width, height, channels;
    } cases[] = {{0, 0, 2},    {1, 1, 2},      {14, 3, 2}, {200, 1, 2},
                 {200, 14, 0}, {200, 14, 255}, {3, 40, 1}};
    int id = kMeterId;
    for (const auto& c : cases) {
        for (const bool designTwo : {false, true}) {
            LDBDisplay2 meter;
            meter.SetDesignTwo(designTwo);
            Place(meter, c.width, c.height, ++id);
            LDBMC level;
            level.channels = static_cast<unsigned char>(c.channels);
            for (int channel = 0; channel < c.channels; ++channel)
                level.level[channel] = LdBValue{127};
            meter.SetLevel(level);
            const QImage image = PaintToImage(meter);
            EXPECT_EQ(image.width(), c.width);
        }
    }
}

}  // namespace
