// The faders driven by the real pointer of an X server: the pitch slider's hidden drag and the
// warp back onto its thumb, the capture of a vertical slider's drag beyond its edges, wheels.
#include "XvfbTestSupport.h"

#include "ui/DJFaderMessages.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJVerticalSlider.h"
#include "ui/LWindow.h"

#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace XvfbTest;

namespace {

enum ControlId : int { kPitchId = 40, kVerticalId = 41 };
constexpr int kPitchWidth = 400, kPitchHeight = 26;        // pixels
constexpr int kVerticalWidth = 26, kVerticalHeight = 120;  // pixels
constexpr int kPitchTextStrip = 40, kPitchMargin = 6;      // pixels, the slider's layout

class FaderWindow : public LWindow {
public:
    DJPitchSlider pitch;
    DJVerticalSlider vertical{LGuiColorRef::FromRGB(41, 46, 47), 0};
    std::vector<std::pair<int, long>> messages;  // (message, data1)

    void InitDialog() override
    {
        AddPaintControl(kPitchId, 20, 20, kPitchWidth, kPitchHeight, {});
        pitch.Init(this, kPitchId);
        MoveControlPixels(kPitchId, 20, 20, kPitchWidth, kPitchHeight);
        AddPaintControl(kVerticalId, 40, 80, kVerticalWidth, kVerticalHeight, {});
        vertical.Init(this, kVerticalId);
        MoveControlPixels(kVerticalId, 40, 80, kVerticalWidth, kVerticalHeight);
    }
    long EvInterWinMessage(int message, long data1, long /*data2*/) override
    {
        messages.emplace_back(message, data1);
        return 0;
    }
    long Count(DJFaderMessage message, long id) const
    {
        return std::count(messages.begin(), messages.end(),
                          std::make_pair(static_cast<int>(message), id));
    }
};

class FaderXvfbTest : public testing::Test {
protected:
    void SetUp() override
    {
        _window.CreateTopLevel("Fader test", 480, 240);
        _window.Show();
        ASSERT_TRUE(WaitExposed(_window.GetWidget()));
    }

    // A point of a control on the screen.
    QPoint Screen(int id, int x, int y) const
    {
        return _window.GetControlHandle(id)->mapToGlobal(QPoint(x, y));
    }
    // The thumb's centre for a pitch: the position's share of the travel past the margin.
    static int PitchPixel(int pitch, int travel)
    {
        return static_cast<int>(std::lround(pitch * travel * 0.001)) + kPitchMargin;
    }

    FaderWindow _window;
};

TEST_F(FaderXvfbTest, PitchDragOnTheThumbIsFineAndThePointerComesBackOntoTheThumb)
{
    DJPitchSlider& slider = _window.pitch;
    const int travel = kPitchWidth - kPitchTextStrip - 2 * kPitchMargin;
    ASSERT_TRUE(WaitFor([&] { return slider.GetTravel() == travel; }));
    const int y = kPitchHeight / 2;
    const int start = PitchPixel(DJPitchSlider::kPitchCentre, travel);

    ASSERT_TRUE(MovePointer(Screen(kPitchId, start, y)));
    ASSERT_TRUE(Xdotool({"mousedown", "1"}));
    ASSERT_TRUE(WaitFor([&] { return slider.IsDragging(); }));
    // On the thumb one pixel is one step, whatever the travel.
    ASSERT_TRUE(MovePointer(Screen(kPitchId, start + 37, y)));
    ASSERT_TRUE(WaitFor([&] { return slider.GetPitch() == DJPitchSlider::kPitchCentre + 37; }));
    // The capture keeps the drag going beyond the control's edge.
    ASSERT_TRUE(MovePointer(Screen(kPitchId, start + 300, y + 40)));
    ASSERT_TRUE(WaitFor([&] { return slider.GetPitch() == DJPitchSlider::kPitchCentre + 300; }));
    ASSERT_TRUE(Xdotool({"mouseup", "1"}));
    ASSERT_TRUE(WaitFor([&] { return !slider.IsDragging(); }));

    // The pointer, hidden while it ran ahead of the thumb, reappears on it.
    const QPoint onThumb = Screen(kPitchId, PitchPixel(slider.GetPitch(), travel), y);
    EXPECT_TRUE(WaitFor([&] { return PointerLocation() == onThumb; }))
        << "pointer at " << PointerLocation().x() << "," << PointerLocation().y() << ", thumb at "
        << onThumb.x() << "," << onThumb.y();
    EXPECT_STREQ(slider.GetText(), "+30.0%");
    EXPECT_GE(_window.Count(DJFaderMessage::kPitchChanged, kPitchId), 2);
}

TEST_F(FaderXvfbTest, PitchPressOffTheThumbJumpsAndTheFollowingMoveDoesNothing)
{
    DJPitchSlider& slider = _window.pitch;
    const int travel = kPitchWidth - kPitchTextStrip - 2 * kPitchMargin;
    ASSERT_TRUE(WaitFor([&] { return slider.GetTravel() == travel; }));
    const int y = kPitchHeight / 2, pressX = 300;
    const int jumped = static_cast<int>(std::lround((pressX - kPitchMargin) * 1000.0 / travel));

    ASSERT_TRUE(MovePointer(Screen(kPitchId, pressX, y)));
    ASSERT_TRUE(Xdotool({"mousedown", "1"}));
    ASSERT_TRUE(WaitFor([&] { return slider.GetPitch() == jumped; }));
    EXPECT_FALSE(slider.IsDragging());
    ASSERT_TRUE(MovePointer(Screen(kPitchId, pressX + 20, y)));
    ASSERT_TRUE(Xdotool({"mouseup", "1"}));
    // The release comes after the move, so once the capture is off the move has been seen.
    ASSERT_TRUE(WaitFor([&] { return !slider.IsCaptured(); }));
    EXPECT_EQ(slider.GetPitch(), jumped);
    EXPECT_EQ(PointerLocation(), Screen(kPitchId, pressX + 20, y)) << "no drag, no warp";

    // A wheel notch away from the user is one step up.
    ASSERT_TRUE(Xdotool({"click", "4"}));
    EXPECT_TRUE(WaitFor([&] { return slider.GetPitch() == jumped + 1; }));
}

TEST_F(FaderXvfbTest, VerticalSliderFollowsADragBeyondItsEdgesAndTheWheel)
{
    DJVerticalSlider& slider = _window.vertical;
    const int travel = kVerticalHeight - 8;
    ASSERT_TRUE(WaitFor([&] { return slider.GetTravel() == travel; }));
    const int x = kVerticalWidth / 2;
    struct Step {
        int y;         // pixels in the control
        int position;  // expected
    };
    const Step steps[] = {
        {30, 30 * 100 / travel},
        {84, 84 * 100 / travel},
        {kVerticalHeight + 200, DJVerticalSlider::kPositionMax},
        {-40, DJVerticalSlider::kPositionMin},
        {travel / 2, (travel / 2) * 100 / travel},
    };

    ASSERT_TRUE(MovePointer(Screen(kVerticalId, x, steps[0].y)));
    ASSERT_TRUE(Xdotool({"mousedown", "1"}));
    for (const Step& step : steps) {
        ASSERT_TRUE(MovePointer(Screen(kVerticalId, x, step.y)));
        EXPECT_TRUE(WaitFor([&] { return slider.GetPosition() == step.position; }))
            << "at y " << step.y << " position " << slider.GetPosition();
    }
    ASSERT_TRUE(Xdotool({"mouseup", "1"}));
    ASSERT_TRUE(WaitFor([&] { return !slider.IsDragging(); }));

    // After the release a move changes nothing; the wheel then moves two steps a notch.
    ASSERT_TRUE(MovePointer(Screen(kVerticalId, x, 10)));
    ASSERT_TRUE(Xdotool({"click", "5"}));
    const int released = steps[std::size(steps) - 1].position;
    EXPECT_TRUE(WaitFor([&] { return slider.GetPosition() == released + 2; }))
        << "position " << slider.GetPosition();
    ASSERT_TRUE(Xdotool({"click", "--repeat", "2", "4"}));
    EXPECT_TRUE(WaitFor([&] { return slider.GetPosition() == released - 2; }))
        << "position " << slider.GetPosition();
    EXPECT_GE(_window.Count(DJFaderMessage::kSliderChanged, kVerticalId), 5);
}

}  // namespace
