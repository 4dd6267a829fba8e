#include "MouseEvents.h"
#include "support/QtTestApp.h"
#include "ui/LCoolButtonContainer.h"
#include "ui/LWindow.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class ButtonWindow : public LWindow, public LCoolButtonContainer {
public:
    std::vector<std::string> log;
    std::vector<int> drawn;
    void Command(int id) override
    {
        log.push_back("cmd " + std::to_string(id) + " v" + std::to_string(GetControlValue(10)));
    }
    void EnableControls() override { log.push_back("enable"); }
    void CoolButtonCustomDraw(PaintData& data, int id) override
    {
        drawn.push_back(id);
        fontHeight = data.font.GetHeight();
        fontWeight = data.font.GetWeight();
    }
    int fontHeight = 0;
    int fontWeight = 0;

    ButtonWindow()
    {
        CreateTopLevel("buttons", 300, 200);
        CoolButtonContainerInit(this);
        for (int id : {10, 11, 12, 13}) {
            AddCoolButtonTextOnly(id, "Play");
            MoveControlPixels(id, 10 + (id - 10) * 60, 10, 50, 20);
        }
    }
};

using V = std::vector<std::string>;

}  // namespace

// Down command and EnableControls at the press with the value 1; at the release, though the
// pointer left the button, the value 0, the up command and EnableControls. Leaving cancels
// nothing.
TEST(CoolButton, UpDownSendsBothCommandsWithNoCancelByLeaving)
{
    QtTestApp();
    ButtonWindow window;
    window.CoolButtonInitUpDown(10, 501, 502);
    QWidget* button = window.GetControlHandle(10);
    SendEnter(button);
    EXPECT_TRUE(window.IsCoolButtonHot(10));
    SendMouse(button, QEvent::MouseButtonPress, 5, 5);
    EXPECT_TRUE(window.IsCoolButtonDown(10));
    SendLeave(button);
    EXPECT_FALSE(window.IsCoolButtonHot(10));
    SendMouse(button, QEvent::MouseMove, 200, 100);
    SendMouse(button, QEvent::MouseButtonRelease, 200, 100);
    EXPECT_FALSE(window.IsCoolButtonDown(10));
    EXPECT_EQ(window.log, (V{"cmd 502 v1", "enable", "cmd 501 v0", "enable"}));

    // A quick second click arrives as a double-click and is another press.
    window.log.clear();
    SendMouse(button, QEvent::MouseButtonDblClick, 5, 5);
    SendMouse(button, QEvent::MouseButtonRelease, 5, 5);
    EXPECT_EQ(window.log, (V{"cmd 502 v1", "enable", "cmd 501 v0", "enable"}));
}

TEST(CoolButton, MinusOneOrZeroSendsNothingForThatEdge)
{
    QtTestApp();
    ButtonWindow window;
    window.CoolButtonInitUpDown(10, -1, 600);
    window.CoolButtonInitUpDown(11, 601, 0);
    SendMouse(window.GetControlHandle(10), QEvent::MouseButtonPress, 5, 5);
    SendMouse(window.GetControlHandle(10), QEvent::MouseButtonRelease, 5, 5);
    SendMouse(window.GetControlHandle(11), QEvent::MouseButtonPress, 5, 5);
    EXPECT_EQ(window.GetControlValue(11), 1);
    SendMouse(window.GetControlHandle(11), QEvent::MouseButtonRelease, 5, 5);
    EXPECT_EQ(window.log, (V{"cmd 600 v1", "enable", "cmd 601 v0", "enable"}));
}

// A one-number button sends its id at the press only and leaves the value to the window.
TEST(CoolButton, PressOnlyButtonAndSetCoolButtonDown)
{
    QtTestApp();
    ButtonWindow window;
    window.CoolButtonInit(10);
    window.SetCoolButtonDown(10, true);
    SendMouse(window.GetControlHandle(10), QEvent::MouseButtonPress, 5, 5);
    SendMouse(window.GetControlHandle(10), QEvent::MouseButtonRelease, 5, 5);
    EXPECT_EQ(window.log, (V{"cmd 10 v1"}));
    EXPECT_TRUE(window.IsCoolButtonDown(10));
    window.SetCoolButtonDown(10, false);
    EXPECT_FALSE(window.IsCoolButtonDown(10));
    EXPECT_FALSE(window.IsCoolButtonHot(99));
    window.CoolButtonInit(99);  // no such control: nothing happens
}

// A custom-drawn button paints through the window with a height 12, weight 400 font; a plain
// one paints its face itself.
TEST(CoolButton, CustomDrawGetsTheButtonFont)
{
    QtTestApp();
    ButtonWindow window;
    window.CoolButtonInitUpDownCustomDraw(12, 1, 2);
    window.CoolButtonInitUpDown(13, 3, 4);
    window.Show();
    ASSERT_TRUE(QtTestWaitFor([&] { return !window.drawn.empty(); }));
    EXPECT_EQ(window.drawn.front(), 12);
    EXPECT_EQ(window.fontHeight, 12);
    EXPECT_EQ(window.fontWeight, 400);
    const QImage plain = window.GetControlHandle(13)->grab().toImage();
    const QImage custom = window.GetControlHandle(12)->grab().toImage();
    EXPECT_NE(plain.pixel(25, 10), plain.pixel(0, 0));  // text or face differs from the frame
    EXPECT_FALSE(plain.isNull() || custom.isNull());
}
