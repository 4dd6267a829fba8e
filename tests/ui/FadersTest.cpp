#include "FaderTestSupport.h"

#include "ui/DJFaderMessages.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJVerticalSlider.h"
#include "ui/LDBEditCustom.h"

#include <QCursor>
#include <QGuiApplication>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>

using namespace fadertest;

namespace {

constexpr int kPitchId = 229;
constexpr int kEqId = 206;
constexpr int kVolumeId = 226;

constexpr int kPitchMessage = static_cast<int>(DJFaderMessage::kPitchChanged);
constexpr int kSliderMessage = static_cast<int>(DJFaderMessage::kSliderChanged);
constexpr int kMenuMessage = static_cast<int>(DJFaderMessage::kContextMenu);
constexpr int kLevelMessage = static_cast<int>(DJFaderMessage::kLevelChanged);

class FadersTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureApplication();
        window.CreateTopLevel("faders", 800, 200);
    }
    void TearDown() override { DrainRepaints(); }

    // Binds `control` to a new control of that id and size in the recording window.
    void Place(LPaintControl& control, int id, int width, int height)
    {
        window.AddPaintControl(id, 0, 0, width, height, LPaintControlFlags{});
        control.Init(&window, id);
        window.MoveControlPixels(id, 0, 0, width, height);
        control._SetSize(width, height);
        control.EvSize();
    }
    int CountMessages(int message) const
    {
        int count = 0;
        for (const Message& m : window.messages)
            count += m.message == message ? 1 : 0;
        return count;
    }

    RecordingWindow window;
};

// 452 wide: the travel is 452 - 40 - 2 x 6 = 400 pixels, 2.5 steps a pixel.
constexpr int kPitchWidth = 452;
constexpr int kPitchHeight = 22;

TEST_F(FadersTest, PitchIsHeldToItsRangeAndReadsInPercent)
{
    const struct {
        int set;
        int pitch;
        const char* text;
    } cases[] = {
        {-5, 0, "-50.0%"},     {1200, 1000, "+50.0%"}, {625, 625, "+12.5%"},
        {500, 500, "0"},       {499, 499, "-0.1%"},    {501, 501, "+0.1%"},
        {INT_MIN, 0, "-50.0%"}, {INT_MAX, 1000, "+50.0%"}, {375, 375, "-12.5%"},
    };
    DJPitchSlider slider;
    Place(slider, kPitchId, kPitchWidth, kPitchHeight);
    for (const auto& c : cases) {
        slider.SetPitch(c.set == 500 ? 1 : 500);  // a different value first
        slider.SetPitch(c.set);
        EXPECT_EQ(slider.GetPitch(), c.pitch) << c.set;
        EXPECT_STREQ(slider.GetText(), c.text) << c.set;
    }
    EXPECT_TRUE(window.messages.empty()) << "a program's change is not the user's";
}

// A control's first request after a quiet spell posts one event; a second SetPitch would post
// again if it asked for a repaint.
TEST_F(FadersTest, PitchSetToItsOwnValueAsksForNothing)
{
    const struct {
        int first, again;
    } cases[] = {{600, 600}, {1000, 1200}, {0, -5}};
    int id = kPitchId;
    for (const auto& c : cases) {
        DJPitchSlider slider;
        Place(slider, ++id, kPitchWidth, kPitchHeight);
        DrainRepaints();
        slider.SetPitch(c.first);
        EXPECT_EQ(DrainRepaints(), 1u) << c.first;
        slider.SetPitch(c.again);
        EXPECT_EQ(PendingRepaints(), 0u) << c.again;
    }
    EXPECT_TRUE(window.messages.empty());
}

TEST_F(FadersTest, PitchOfAPixelRoundsHalfAwayFromZero)
{
    DJPitchSlider slider;
    Place(slider, kPitchId, kPitchWidth, kPitchHeight);
    ASSERT_EQ(slider.GetTravel(), 400);
    const struct {
        int x, pitch;
    } cases[] = {{6, 0}, {206, 500}, {406, 1000}, {7, 3}, {5, -3}, {8, 5}, {0, -15}, {500, 1235}};
    for (const auto& c : cases)
        EXPECT_EQ(slider.MapPixelToPitch(c.x), c.pitch) << c.x;
}

TEST_F(FadersTest, DragOnTheThumbMovesOneStepAPixel)
{
    DJPitchSlider slider;
    Place(slider, kPitchId, kPitchWidth, kPitchHeight);
    // Pitch 500 is at pixel 206; the thumb spans 203..209.
    ASSERT_EQ(slider.GetThumbLeft(), 203);
    slider.EvLButtonDown(205, 10);
    ASSERT_TRUE(slider.IsDragging());
    EXPECT_TRUE(slider.IsCaptured());
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr) << "the pointer hides while dragging";
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    EXPECT_EQ(slider.GetDragStartX(), 205);
    const int start = slider.GetPitch();
    EXPECT_EQ(start, 498);  // round(199 / 400 x 1000)
    for (const int dx : {1, 2, 5, -40, 300}) {
        slider.EvMouseMove(205 + dx, 10);
        EXPECT_EQ(slider.GetPitch(), start + dx) << dx;
    }
    slider.EvMouseMove(205 + 600, 10);
    EXPECT_EQ(slider.GetPitch(), 1000);
    EXPECT_EQ(CountMessages(kPitchMessage), 7);
    for (const Message& m : window.messages)
        EXPECT_EQ(m.data1, kPitchId);

    // On release the drag restarts where the thumb is.
    slider.EvMouseMove(205 + 3, 10);
    slider.EvLButtonUp(205 + 3, 10);
    EXPECT_FALSE(slider.IsDragging());
    EXPECT_FALSE(slider.IsCaptured());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(slider.GetDragStartX(), 6 + (501 * 400 + 500) / 1000);
}

TEST_F(FadersTest, PressOutsideTheThumbJumpsAndTheMoveAfterItDoesNothing)
{
    DJPitchSlider slider;
    Place(slider, kPitchId, kPitchWidth, kPitchHeight);
    for (const int x : {202, 210, 306, -50}) {
        window.messages.clear();
        slider.SetPitch(500);
        slider.EvLButtonDown(x, 10);
        EXPECT_FALSE(slider.IsDragging()) << x;
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr) << x;
        const int jumped = std::clamp(slider.MapPixelToPitch(x), 0, 1000);
        EXPECT_EQ(slider.GetPitch(), jumped) << x;
        slider.EvMouseMove(x + 30, 10);
        EXPECT_EQ(slider.GetPitch(), jumped) << x;
        slider.EvLButtonUp(x + 30, 10);
        EXPECT_EQ(window.messages, (std::vector<Message>{{kPitchMessage, kPitchId, 0}})) << x;
    }
}

TEST_F(FadersTest, PitchDoubleClickCentresAndWheelMovesOneStepANotch)
{
    DJPitchSlider slider;
    Place(slider, kPitchId, kPitchWidth, kPitchHeight);
    const struct {
        int delta, pitch;
    } wheel[] = {{120, 501}, {240, 503}, {-360, 500}, {60, 501}, {-60, 500}, {-30, 500}};
    for (const auto& c : wheel) {
        slider.EvMouseWheel(0, 0, c.delta);
        EXPECT_EQ(slider.GetPitch(), c.pitch) << c.delta;
    }
    slider.EvMouseWheel(0, 0, INT_MAX);
    EXPECT_EQ(slider.GetPitch(), 1000);
    slider.EvDoubleClick(300, 10);
    EXPECT_EQ(slider.GetPitch(), 500);
    EXPECT_STREQ(slider.GetText(), "0");
    EXPECT_EQ(CountMessages(kPitchMessage), 8);
    EXPECT_FALSE(slider.EvKeyDown('A', 0));
    EXPECT_FALSE(slider.EvKeyUp('A', 0));
}

TEST_F(FadersTest, RightButtonAsksTheParentForTheMenu)
{
    DJPitchSlider pitch;
    DJVerticalSlider eq(LGuiColorRef::FromRGB(41, 46, 47), 50);
    LDBEditCustom volume;
    Place(pitch, kPitchId, kPitchWidth, kPitchHeight);
    Place(eq, kEqId, 22, 90);
    Place(volume, kVolumeId, 200, 8);
    pitch.EvRButtonDown(1, 1);
    eq.EvRButtonDown(1, 1);
    volume.EvRButtonDown(1, 1);
    EXPECT_EQ(window.messages, (std::vector<Message>{{kMenuMessage, kPitchId, 0},
                                                     {kMenuMessage, kEqId, 0},
                                                     {kMenuMessage, kVolumeId, 0}}));
}

TEST_F(FadersTest, VerticalSliderJumpsDragsAndClamps)
{
    DJVerticalSlider slider(LGuiColorRef::FromRGB(41, 46, 47), 250, "Mix");
    EXPECT_EQ(slider.GetPosition(), 100);
    EXPECT_STREQ(slider.GetLabel(), "Mix");
    Place(slider, kEqId, 30, 105);
    ASSERT_EQ(slider.GetTravel(), 85);
    slider.EvMouseMove(5, 10);  // not pressed: nothing
    EXPECT_EQ(slider.GetPosition(), 100);
    slider.EvLButtonDown(5, 17);
    EXPECT_EQ(slider.GetPosition(), 20);
    const struct {
        int y, position;
    } drag[] = {{-400, 0}, {86, 100}, {42, 49}, {1000, 100}};
    for (const auto& c : drag) {
        slider.EvMouseMove(40, c.y);
        EXPECT_EQ(slider.GetPosition(), c.position) << c.y;
    }
    slider.EvLButtonUp(40, 1000);
    EXPECT_FALSE(slider.IsCaptured());
    slider.EvMouseMove(5, 0);
    EXPECT_EQ(slider.GetPosition(), 100);
    EXPECT_EQ(window.messages.size(), 5u);
    for (const Message& m : window.messages)
        EXPECT_EQ(m, (Message{kSliderMessage, kEqId, 0}));
}

TEST_F(FadersTest, VerticalSliderWheelMovesTwoStepsANotch)
{
    DJVerticalSlider slider(LGuiColorRef::FromRGB(41, 46, 47), 50);
    Place(slider, kEqId, 22, 90);
    const struct {
        int delta, position;
    } cases[] = {{120, 48}, {-120, 50}, {360, 44}, {30, 43}, {-29, 43}, {INT_MAX, 0},
                 {120, 0},  {INT_MIN, 100}, {-120, 100}};
    for (const auto& c : cases) {
        slider.EvMouseWheel(0, 0, c.delta);
        EXPECT_EQ(slider.GetPosition(), c.position) << c.delta;
    }
    EXPECT_EQ(CountMessages(kSliderMessage), 9);
}

TEST(DBEditMaths, PixelToDBWithGrabOffsetAndEnds)
{
    // 200 wide, -48..12 dB: 10 pixels for 3 dB.
    const struct {
        int x, grab, db;
    } cases[] = {
        {100, 0, -18}, {199, 0, 12},  {198, 0, 11},  {197, 0, 11}, {-1, 0, -127},
        {0, 0, -48},   {105, 5, -18}, {4, 5, -127}, {194, 5, 12}, {193, 5, 8},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LDBEditCustom::MapPixelToDB(c.x, c.grab, 200, -48, 12, 60), c.db)
            << c.x << " grab " << c.grab;
    EXPECT_EQ(LDBEditCustom::MapPixelToDB(INT_MAX - 10, -5, 200, -48, 12, 60), 12);
    EXPECT_EQ(LDBEditCustom::MapPixelToDB(50, 0, 0, -48, 12, 60), 12);
}

TEST_F(FadersTest, DBEditHoldsItsLevelAndTellsOnlyChanges)
{
    LDBEditCustom volume;
    Place(volume, kVolumeId, 200, 8);
    const struct {
        int set, level;
        bool told;
    } cases[] = {{-127, -48, true}, {-127, -48, false}, {100, 12, true}, {12, 12, false},
                 {-6, -6, true},    {-49, -48, true}};
    for (const auto& c : cases) {
        window.messages.clear();
        volume.SetLevel(LdBValue{c.set});
        EXPECT_EQ(volume.GetLevel().GetDB(), c.level) << c.set;
        EXPECT_EQ(window.messages.size(), c.told ? 1u : 0u) << c.set;
    }
    EXPECT_EQ(window.messages.front(), (Message{kLevelMessage, kVolumeId, 0}));
}

TEST_F(FadersTest, DBEditKeepsTheGrabPointAndReachesBothEnds)
{
    LDBEditCustom volume;
    Place(volume, kVolumeId, 200, 8);
    // Level 0: logical thumb at 160, drawn from 151 to 161.
    volume.EvLButtonDown(155, 4);
    EXPECT_TRUE(volume.IsDragging());
    EXPECT_EQ(volume.GetGrabOffset(), 155 - 160);
    EXPECT_EQ(volume.GetLevel().GetDB(), 0);
    volume.EvMouseMove(158, 4);  // less than a dB's pixels: nothing moves
    EXPECT_EQ(volume.GetLevel().GetDB(), 0);
    EXPECT_TRUE(window.messages.empty());
    volume.EvMouseMove(155 - 10, 4);  // 10 pixels is 3 dB
    EXPECT_EQ(volume.GetLevel().GetDB(), -3);
    volume.EvMouseMove(10'000, 4);
    EXPECT_EQ(volume.GetLevel().GetDB(), 12);
    volume.EvMouseMove(-10'000, 4);
    EXPECT_EQ(volume.GetLevel().GetDB(), -48);
    volume.EvLButtonUp(-10'000, 4);
    EXPECT_FALSE(volume.IsDragging());
    volume.EvMouseMove(100, 4);
    EXPECT_EQ(volume.GetLevel().GetDB(), -48);
    EXPECT_EQ(CountMessages(kLevelMessage), 3);

    // Off the thumb the press is a move with no grab offset.
    volume.EvLButtonDown(100, 4);
    EXPECT_EQ(volume.GetGrabOffset(), 0);
    EXPECT_EQ(volume.GetLevel().GetDB(), -18);
    volume.EvLButtonUp(100, 4);
}

TEST_F(FadersTest, DBEditWheelIsOneDBANotch)
{
    LDBEditCustom volume;
    Place(volume, kVolumeId, 200, 8);
    const struct {
        int delta, level;
    } cases[] = {{120, 1}, {-360, -2}, {60, -1}, {INT_MAX, 12}, {120, 12}, {INT_MIN, -48}};
    for (const auto& c : cases) {
        volume.EvMouseWheel(0, 0, c.delta);
        EXPECT_EQ(volume.GetLevel().GetDB(), c.level) << c.delta;
    }
    EXPECT_EQ(CountMessages(kLevelMessage), 5);
}

// Counts the pixels of a rectangle that differ from `colour`.
int CountOtherThan(const QImage& image, QRect area, LGuiColorRef colour)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            count += PixelAt(image, x, y) == colour ? 0 : 1;
    return count;
}

TEST_F(FadersTest, PitchSliderPaintsGrooveThumbAndText)
{
    const LGuiColorRef black = LGuiColorRef::FromRGB(0, 0, 0);
    const LGuiColorRef textBackground = LGuiColorRef::FromRGB(20, 20, 20);
    DJPitchSlider slider;
    slider.SetTextBackground(textBackground);
    Place(slider, kPitchId, kPitchWidth, kPitchHeight);
    // Thumb left edge at round(pitch x 400 / 1000) + 6 - 3, a pixel further left at the end.
    const struct {
        int pitch, left;
    } cases[] = {{625, 253}, {0, 3}, {1000, 402}, {500, 203}};
    for (const auto& c : cases) {
        slider.SetPitch(c.pitch);
        const QImage image = PaintToImage(slider);
        // Frame on columns left and left + 6 and rows 2 and 19; the centre line in rows 6..15.
        const std::pair<int, int> frame[] = {{c.left, 10}, {c.left + 6, 10}, {c.left + 1, 2},
                                             {c.left + 1, 19}};
        for (const auto& [x, y] : frame)
            EXPECT_EQ(PixelAt(image, x, y), DJPitchSlider::kThumbFrameColour) << c.pitch;
        for (const int y : {3, 5, 16, 18})
            EXPECT_EQ(PixelAt(image, c.left + 3, y), DJPitchSlider::kThumbFillColour) << c.pitch;
        for (const int y : {6, 15})
            EXPECT_EQ(PixelAt(image, c.left + 3, y), DJPitchSlider::kTickColour) << c.pitch;
        EXPECT_NE(PixelAt(image, c.left + 7, 10), DJPitchSlider::kThumbFrameColour);
    }
    slider.SetPitch(625);
    const QImage image = PaintToImage(slider);
    for (const auto& [x, y] : {std::pair{0, 10}, {411, 10}, {100, 0}, {100, 21}})
        EXPECT_EQ(PixelAt(image, x, y), black) << x << "," << y;
    EXPECT_EQ(PixelAt(image, 100, 10), DJPitchSlider::kGrooveColour);
    EXPECT_EQ(PixelAt(image, 206, 10), DJPitchSlider::kTickColour);  // the centre, no change
    EXPECT_EQ(PixelAt(image, 46, 3), DJPitchSlider::kTickColour);    // the 10 % tick
    EXPECT_EQ(PixelAt(image, 46, 10), DJPitchSlider::kGrooveColour);
    EXPECT_EQ(PixelAt(image, 412, 0), textBackground);
    EXPECT_GT(CountOtherThan(image, QRect(412, 1, 40, 10), textBackground), 0) << "Pitch";
    EXPECT_GT(CountOtherThan(image, QRect(412, 11, 40, 11), textBackground), 0) << "value";
}

TEST_F(FadersTest, VerticalSliderPaintsGrooveTicksAndThumb)
{
    const LGuiColorRef background = LGuiColorRef::FromRGB(41, 46, 47);
    DJVerticalSlider slider(background, 50);
    Place(slider, kEqId, 22, 90);  // travel 82, centre column 11
    QImage image = PaintToImage(slider);
    EXPECT_EQ(PixelAt(image, 10, 20), DJVerticalSlider::kGrooveDark);
    EXPECT_EQ(PixelAt(image, 11, 20), DJVerticalSlider::kGrooveLight);
    EXPECT_EQ(PixelAt(image, 9, 20), DJVerticalSlider::kGrooveShade);
    EXPECT_EQ(PixelAt(image, 10, 3), background);
    EXPECT_EQ(PixelAt(image, 10, 86), background);
    for (const auto& [x, y] : {std::pair{5, 4}, {7, 4}, {13, 85}, {15, 85}})
        EXPECT_EQ(PixelAt(image, x, y), DJVerticalSlider::kTickColour) << x << "," << y;
    for (const auto& [x, y] : {std::pair{8, 4}, {12, 85}, {16, 85}, {4, 4}, {6, 20}})
        EXPECT_EQ(PixelAt(image, x, y), background) << x << "," << y;
    // Thumb at row trunc(50 x 82 / 101) = 40: bars on rows 41..47 from column 4 to 13.
    for (const int y : {41, 43, 45, 47})
        EXPECT_EQ(PixelAt(image, 8, y), DJVerticalSlider::kThumbDarkBar) << y;
    for (const int y : {42, 44, 46}) {
        EXPECT_EQ(PixelAt(image, 8, y), DJVerticalSlider::kThumbLightBar) << y;
        EXPECT_EQ(PixelAt(image, 4, y), DJVerticalSlider::kThumbColour) << y;
        EXPECT_EQ(PixelAt(image, 13, y), DJVerticalSlider::kThumbColour) << y;
    }
    EXPECT_EQ(PixelAt(image, 8, 40), background);
    EXPECT_EQ(PixelAt(image, 8, 48), background);
    EXPECT_EQ(PixelAt(image, 14, 44), background);

    slider.SetPosition(100);
    image = PaintToImage(slider);
    EXPECT_EQ(PixelAt(image, 8, 82), DJVerticalSlider::kThumbDarkBar);
    EXPECT_EQ(PixelAt(image, 8, 88), DJVerticalSlider::kThumbDarkBar);
    EXPECT_EQ(PixelAt(image, 8, 89), background);
}

TEST_F(FadersTest, VerticalSliderLabelSitsUnderTheTravel)
{
    const LGuiColorRef background = LGuiColorRef::FromRGB(41, 46, 47);
    DJVerticalSlider slider(background, 100, "Damp");
    Place(slider, kEqId, 30, 105);  // travel 85; label in rows 93..104
    const QImage image = PaintToImage(slider);
    EXPECT_GT(CountOtherThan(image, QRect(0, 93, 30, 12), background), 0);
    EXPECT_EQ(PixelAt(image, 8, 91), DJVerticalSlider::kThumbDarkBar);  // thumb at row 84
    slider.ShowLabel(false);
    EXPECT_EQ(slider.GetTravel(), 97);
}

TEST_F(FadersTest, DBEditPaintsTrackAndThumb)
{
    LDBEditCustom volume;
    Place(volume, kVolumeId, 200, 8);
    // Level 0: the thumb is drawn over columns 151..161.
    const QImage image = PaintToImage(volume);
    EXPECT_EQ(PixelAt(image, 50, 3), LDBEditCustom::kTrackLow);
    EXPECT_EQ(PixelAt(image, 150, 3), LDBEditCustom::kTrackLow);
    EXPECT_EQ(PixelAt(image, 180, 3), LDBEditCustom::kTrackHigh);
    EXPECT_EQ(PixelAt(image, 162, 3), LDBEditCustom::kTrackHigh);
    for (const int x : {151, 161})
        EXPECT_EQ(PixelAt(image, x, 4), LDBEditCustom::kTrackHigh) << x;
    for (const auto& [x, y] : {std::pair{152, 1}, {156, 4}, {160, 6}})
        EXPECT_EQ(PixelAt(image, x, y), LDBEditCustom::kThumbInner) << x << "," << y;
    EXPECT_EQ(PixelAt(image, 0, 1), LDBEditCustom::kTrackLow);   // end caps
    EXPECT_EQ(PixelAt(image, 199, 6), LDBEditCustom::kTrackHigh);

    volume.SetLevel(LdBValue{12});
    const QImage top = PaintToImage(volume);
    EXPECT_EQ(PixelAt(top, 194, 4), LDBEditCustom::kThumbInner);  // the whole thumb inside
    EXPECT_EQ(PixelAt(top, 199, 4), LDBEditCustom::kTrackHigh);
}

TEST_F(FadersTest, OddSizesPaintWithoutHarm)
{
    const QSize sizes[] = {{0, 0}, {1, 1}, {5, 3}, {39, 22}, {53, 22}, {3000, 200}};
    int id = 1000;
    for (const QSize size : sizes) {
        DJPitchSlider pitch;
        DJVerticalSlider slider(LGuiColorRef::FromRGB(41, 46, 47), 30, "Time");
        LDBEditCustom volume;
        Place(pitch, ++id, size.width(), size.height());
        Place(slider, ++id, size.width(), size.height());
        Place(volume, ++id, size.width(), size.height());
        for (LPaintControl* control : {static_cast<LPaintControl*>(&pitch),
                                       static_cast<LPaintControl*>(&slider),
                                       static_cast<LPaintControl*>(&volume)}) {
            control->EvLButtonDown(size.width() / 2, size.height() / 2);
            control->EvMouseMove(-size.width(), size.height() * 2);
            control->EvLButtonUp(0, 0);
            EXPECT_EQ(PaintToImage(*control).size(), size);
        }
        EXPECT_GE(pitch.GetTravel(), 1);
        EXPECT_GE(slider.GetTravel(), 1);
    }
}

}  // namespace
