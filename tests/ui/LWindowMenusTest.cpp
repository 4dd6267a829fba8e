#include "support/QtTestApp.h"
#include "ui/LWindow.h"
#include "ui/LWindowImpl.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMenu>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

class RecordingWindow : public LWindow {
public:
    std::vector<int> commands;
    void Command(int id) override { commands.push_back(id); }
};

class QueuedCall : public LQueueReceiver {
public:
    explicit QueuedCall(std::function<void()> call) : _call(std::move(call)) {}
    void Post() { _PostToQueue(0, nullptr, 0); }

private:
    void _DeliverQueued(unsigned int, const void*, unsigned long) override { _call(); }
    std::function<void()> _call;
};

void _Key(QWidget* widget, int key)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &press);
}

std::vector<std::string> _Texts(const QMenu& menu)
{
    std::vector<std::string> texts;
    for (QAction* action : menu.actions()) {
        texts.push_back(action->isSeparator() ? "-" : action->text().toStdString());
    }
    return texts;
}

using V = std::vector<std::string>;

}  // namespace

// The menu's own loop drains the queue: the queued call chooses the second enabled item by
// keys; the chosen id goes to Command after the menu closed.
TEST(PopupMenu, BlocksThenCommandsTheChosenItem)
{
    QtTestApp();
    RecordingWindow window;
    window.CreateTopLevel("popup", 200, 200);
    window.Show();
    LPopupMenu menu;
    menu.AddItem(11, "Eleven");
    menu.AddItem(12, "Disabled", false);
    menu.AddSeparator();
    menu.AddItem(13, "Thirteen", true, true);
    menu.AddSubMenu("More").AddItem(14, "Fourteen");
    std::vector<int> commandsWhileOpen{-1};
    std::function<void()> choose;
    QueuedCall call([&] { choose(); });
    choose = [&] {
        QWidget* popup = QApplication::activePopupWidget();
        if (!popup) {
            call.Post();
            return;
        }
        commandsWhileOpen = window.commands;
        _Key(popup, Qt::Key_Down);
        _Key(popup, Qt::Key_Down);  // skips the disabled item and the separator
        _Key(popup, Qt::Key_Return);
    };
    call.Post();
    EXPECT_EQ(window.DisplayPopupMenu(menu), 13);
    EXPECT_TRUE(commandsWhileOpen.empty());
    EXPECT_EQ(window.commands, (std::vector<int>{13}));

    // Escape chooses nothing and commands nothing.
    choose = [&] {
        if (QWidget* popup = QApplication::activePopupWidget()) {
            _Key(popup, Qt::Key_Escape);
        } else {
            call.Post();
        }
    };
    call.Post();
    EXPECT_EQ(window.DisplayPopupMenu(menu), 0);
    EXPECT_EQ(window.commands.size(), 1u);
}

// Menu items by id: enable, check in a range, rename and renumber, insert and remove.
TEST(MenuItems, OperationsOverTheIdMap)
{
    QtTestApp();
    RecordingWindow window;
    window.CreateTopLevel("menus", 200, 200);
    LWindow::Impl& impl = window._GetImpl();
    QMenu menu;
    impl.RegisterMenu(100, &menu);
    for (int id = 1; id <= 4; ++id) {
        menu.addAction(impl.MakeMenuAction(id, QString("Item %1").arg(id), &menu));
    }
    window.EnableMenuItem(2, false);
    const int list[] = {3, 4, 999};
    window.EnableMenuItemList(list, 3, false);
    EXPECT_FALSE(impl.FindAction(2)->isEnabled());
    EXPECT_FALSE(impl.FindAction(4)->isEnabled());
    window.EnableMenuItemRange(1, 3, true);
    EXPECT_TRUE(impl.FindAction(3)->isEnabled());
    EXPECT_FALSE(impl.FindAction(4)->isEnabled());
    window.EnableMenuItems(true);
    EXPECT_TRUE(impl.FindAction(4)->isEnabled());

    window.CheckMenuItem(1, true);
    EXPECT_TRUE(impl.FindAction(1)->isChecked());
    window.CheckMenuItem(3, 1, 4);
    EXPECT_FALSE(impl.FindAction(1)->isChecked());
    EXPECT_TRUE(impl.FindAction(3)->isChecked());
    window.CheckMenuRadioItem(1, 4, 2);
    EXPECT_TRUE(impl.FindAction(2)->isChecked());
    EXPECT_FALSE(impl.FindAction(3)->isChecked());

    window.SetMenuItemText(1, "First");
    window.SetMenuItemText(2, "Second", 20);
    window.SetMenuItemText(3, "Clash", 1);  // 1 is taken: refused
    EXPECT_EQ(impl.FindAction(2), nullptr);
    impl.FindAction(20)->trigger();
    impl.FindAction(1)->trigger();
    EXPECT_EQ(window.commands, (std::vector<int>{20, 1}));

    window.InsertMenuItem(20, 30, "Before second");
    window.InsertMenuItemAtPos(100, 0, 31, "At the top");
    window.InsertMenuItemAtPos(100, 99, 32, "At the end");
    window.InsertMenuItemSeparator(4);
    window.InsertMenuItemSeparator(100, 1);
    window.InsertMenuItem(999, 33, "Nowhere");  // unknown anchor: nothing
    window.RemoveMenuItem(3);
    EXPECT_EQ(_Texts(menu), (V{"At the top", "-", "First", "Before second", "Second", "-",
                               "Item 4", "At the end"}));
    impl.FindAction(30)->trigger();
    EXPECT_EQ(window.commands.back(), 30);
    window.EnableMenuItem(3, false);  // removed: ignored
}

TEST(Tips, AddToolsSetsEachControlsTip)
{
    QtTestApp();
    LWindow window;
    window.CreateTopLevel("tips", 200, 200);
    window.AddPaintControl(1, 0, 0, 10, 10, {});
    window.AddPaintControl(2, 20, 0, 10, 10, {});
    const LToolTip tips[] = {{1, "Play"}, {2, "Cue \xC3\xA9"}, {3, "no such control"}, {2, nullptr}};
    window.AddTools(&window, tips, 2);
    EXPECT_EQ(window.GetControlHandle(1)->toolTip(), QString("Play"));
    EXPECT_EQ(window.GetControlHandle(2)->toolTip(), QString::fromUtf8("Cue \xC3\xA9"));
    window.AddTools(nullptr, tips + 2, 2);
    EXPECT_EQ(window.GetControlHandle(2)->toolTip(), QString());
    window.BubbleTipHide();
}

// Something inside the menu's or the alert's loop may destroy the window; the call then
// answers nothing chosen and commands nothing.
TEST(PopupMenu, WindowDestroyedWhileTheMenuIsOpen)
{
    QtTestApp();
    for (bool alert : {false, true}) {
        auto* window = new RecordingWindow;
        window->CreateTopLevel("doomed", 100, 100);
        LPopupMenu menu;
        menu.AddItem(1, "One");
        std::function<void()> destroy;
        QueuedCall call([&] { destroy(); });
        destroy = [&] {
            if (!QApplication::activePopupWidget() && !QApplication::activeModalWidget()) {
                call.Post();
                return;
            }
            delete window;
        };
        call.Post();
        if (alert) {
            EXPECT_FALSE(window->PopupBoxQueryYes("Gone?"));
        } else {
            EXPECT_EQ(window->DisplayPopupMenu(menu), 0);
        }
    }
}
