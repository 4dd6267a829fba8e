#include "MouseEvents.h"
#include "support/QtTestApp.h"
#include "ui/LPaintControl.h"
#include "ui/LWindow.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Writes down every mouse call; captures at the press when asked.
class RecordingControl : public LPaintControl {
public:
    bool captureOnPress = false;
    std::vector<std::string> log;
    void _Add(const char* what, int x, int y)
    {
        log.push_back(std::string(what) + " " + std::to_string(x) + "," + std::to_string(y));
    }
    void EvLButtonDown(int x, int y) override
    {
        _Add("ldown", x, y);
        if (captureOnPress) {
            SetCapture(true);
        }
    }
    void EvLButtonUp(int x, int y) override { _Add("lup", x, y); }
    void EvRButtonDown(int x, int y) override { _Add("rdown", x, y); }
    void EvRButtonUp(int x, int y) override { _Add("rup", x, y); }
    void EvDoubleClick(int x, int y) override { _Add("dbl", x, y); }
    void EvMouseMove(int x, int y) override { _Add("move", x, y); }
    void EvMouseWheel(int, int, int delta) override { log.push_back("wheel " + std::to_string(delta)); }
    void EvMouseHWheel(int, int, int delta) override { log.push_back("hwheel " + std::to_string(delta)); }
    void EvMouseIn() override { log.push_back("in"); }
    void EvMouseOut() override { log.push_back("out"); }
};

class RecordingWindow : public LWindow {
public:
    std::vector<int> commands;
    void Command(int id) override { commands.push_back(id); }
};

struct Fixture {
    RecordingWindow window;
    RecordingControl control;
    QWidget* widget = nullptr;
    Fixture()
    {
        window.CreateTopLevel("mouse", 300, 200);
        window.AddPaintControl(1, 50, 50, 100, 40, {});
        control.Init(&window, 1);
        widget = window.GetControlHandle(1);
    }
};

using V = std::vector<std::string>;

}  // namespace

// A captured control hears moves and the release outside itself; the release ends the capture
// after its handler ran. Without capture, events outside do not arrive.
TEST(MouseCapture, CaptureEndsOnAnyButtonUp)
{
    QtTestApp();
    Fixture f;
    f.control.captureOnPress = true;
    SendMouse(f.widget, QEvent::MouseButtonPress, 5, 5);
    EXPECT_TRUE(f.control.IsCaptured());
    SendMouse(f.widget, QEvent::MouseMove, -20, 300);
    SendMouse(f.widget, QEvent::MouseButtonRelease, 400, -7);
    EXPECT_FALSE(f.control.IsCaptured());
    EXPECT_EQ(f.control.log, (V{"ldown 5,5", "move -20,300", "lup 400,-7"}));

    f.control.log.clear();
    f.control.captureOnPress = false;
    SendMouse(f.widget, QEvent::MouseButtonPress, 5, 5);
    SendMouse(f.widget, QEvent::MouseMove, -1, 5);
    SendMouse(f.widget, QEvent::MouseMove, 99, 39);
    SendMouse(f.widget, QEvent::MouseButtonRelease, 100, 5);  // just outside
    EXPECT_EQ(f.control.log, (V{"ldown 5,5", "move 99,39"}));

    // A right button-up clears a capture set by the left press, too.
    f.control.log.clear();
    f.control.captureOnPress = true;
    SendMouse(f.widget, QEvent::MouseButtonPress, 1, 1);
    SendMouse(f.widget, QEvent::MouseButtonRelease, 500, 500, Qt::RightButton);
    EXPECT_FALSE(f.control.IsCaptured());
    EXPECT_EQ(f.control.log, (V{"ldown 1,1", "rup 500,500"}));
    SendMouse(f.widget, QEvent::MouseMove, 500, 500);
    EXPECT_EQ(f.control.log.size(), 2u);
}

TEST(MouseCapture, ButtonsDoubleClickEnterAndLeave)
{
    QtTestApp();
    Fixture f;
    SendEnter(f.widget);
    SendMouse(f.widget, QEvent::MouseButtonPress, 2, 3, Qt::RightButton);
    SendMouse(f.widget, QEvent::MouseButtonRelease, 2, 3, Qt::RightButton);
    SendMouse(f.widget, QEvent::MouseButtonPress, 4, 4);
    SendMouse(f.widget, QEvent::MouseButtonRelease, 4, 4);
    SendMouse(f.widget, QEvent::MouseButtonDblClick, 4, 4);
    SendMouse(f.widget, QEvent::MouseButtonRelease, 4, 4);
    SendMouse(f.widget, QEvent::MouseButtonPress, 4, 4, Qt::MiddleButton);  // not ours
    SendLeave(f.widget);
    EXPECT_EQ(f.control.log, (V{"in", "rdown 2,3", "rup 2,3", "ldown 4,4", "lup 4,4", "dbl 4,4",
                                "lup 4,4", "out"}));
}

// 120 a notch; touchpad fractions gather into whole notches, each axis on its own, and a
// reversal eats what was gathered.
TEST(MouseWheel, NotchesAndGatheredTouchpadDeltas)
{
    QtTestApp();
    Fixture f;
    SendWheel(f.widget, 5, 5, {0, 120});
    SendWheel(f.widget, 5, 5, {0, -240});
    SendWheel(f.widget, 5, 5, {0, 50}, {0, 10});
    SendWheel(f.widget, 5, 5, {0, 50}, {0, 10});
    SendWheel(f.widget, 5, 5, {30, 50}, {6, 10});  // 150: one notch, 30 kept
    SendWheel(f.widget, 5, 5, {90, 0}, {18, 0});
    SendWheel(f.widget, 5, 5, {0, -100});  // 30 - 100 = -70: nothing yet
    SendWheel(f.widget, 5, 5, {0, -50});   // -120
    EXPECT_EQ(f.control.log, (V{"wheel 120", "wheel -240", "wheel 120", "hwheel 120", "wheel -120"}));
}

TEST(MouseClickRegions, EnterCommandOnceAndPressOfTheFirstRegion)
{
    QtTestApp();
    RecordingWindow window;
    window.CreateTopLevel("regions", 300, 200);
    window.AddPaintControl(1, 0, 0, 200, 50, {});
    LMouseClickRegions regions;
    regions.InitMouseCapture(&window, 1);
    regions.AddRegion({0, 0, 50, 20, 101, 201});
    regions.AddRegion({40, 0, 50, 20, 102, 202});  // overlaps the first at x 40..49
    regions.AddRegion({100, 0, 50, 20, 103, 0});   // no enter command
    QWidget* widget = window.GetControlHandle(1);
    SendMouse(widget, QEvent::MouseMove, 10, 10);
    SendMouse(widget, QEvent::MouseMove, 12, 10);
    EXPECT_EQ(widget->cursor().shape(), Qt::PointingHandCursor);
    SendMouse(widget, QEvent::MouseMove, 60, 10);
    SendMouse(widget, QEvent::MouseMove, 110, 10);
    SendMouse(widget, QEvent::MouseMove, 110, 40);  // between regions
    EXPECT_EQ(widget->cursor().shape(), Qt::ArrowCursor);
    SendMouse(widget, QEvent::MouseButtonPress, 45, 5);
    SendMouse(widget, QEvent::MouseButtonRelease, 45, 5);
    SendMouse(widget, QEvent::MouseButtonPress, 180, 5);  // in no region
    ASSERT_TRUE(QtTestWaitFor([&] { return window.commands.size() >= 3; }));
    QtTestWaitFor([] { return false; }, 20);
    EXPECT_EQ(window.commands, (std::vector<int>{201, 202, 101}));
}

TEST(Pointer, CursorShapesHidingAndWarp)
{
    QtTestApp();
    Fixture f;
    const std::pair<LCursorShape, Qt::CursorShape> shapes[] = {
        {LCursorShape::kArrow, Qt::ArrowCursor},
        {LCursorShape::kPointingHand, Qt::PointingHandCursor},
        {LCursorShape::kResizeHorizontal, Qt::SizeHorCursor},
    };
    for (auto [ours, qt] : shapes) {
        f.control.SetCursor(ours);
        EXPECT_EQ(f.widget->cursor().shape(), qt);
    }
    ASSERT_EQ(QGuiApplication::overrideCursor(), nullptr);
    f.control.ShowPointer(false);
    f.control.ShowPointer(false);  // hiding twice needs one show
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    f.control.ShowPointer(true);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    // A control that goes while the pointer is hidden shows it again.
    {
        RecordingControl hiding;
        hiding.Init(&f.window, 1);
        hiding.ShowPointer(false);
    }
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    f.control.MovePointer(3, 4);  // off screen nothing moves; it must not fail
    f.control.TakeFocus();
}
