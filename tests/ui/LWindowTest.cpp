#include "support/QtTestApp.h"
#include "ui/LPaintControl.h"
#include "ui/LWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QWidget>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

// A window that writes down what it is told.
class RecordingWindow : public LWindow {
public:
    std::vector<std::string> log;
    void Command(int id) override { log.push_back("cmd " + std::to_string(id)); }
    void EnableControls() override { log.push_back("enable"); }
    void InitDialog() override { log.push_back("init"); }
};

// Runs a function on the interface thread's queue, from inside whatever loop is turning.
class QueuedCall : public LQueueReceiver {
public:
    explicit QueuedCall(std::function<void()> call) : _call(std::move(call)) {}
    void Post() { _PostToQueue(0, nullptr, 0); }

private:
    void _DeliverQueued(unsigned int, const void*, unsigned long) override { _call(); }
    std::function<void()> _call;
};

class SizedControl : public LPaintControl {
public:
    int sizeCalls = 0;
    void EvSize() override { ++sizeCalls; }
};

class Handler : public LInterWinMessageHandler {
public:
    long EvInterWinMessage(int message, long data1, long data2) override
    {
        received.push_back({message, data1, data2});
        return data1 + data2;
    }
    struct Message {
        int message;
        long data1, data2;
        friend bool operator==(const Message&, const Message&) = default;
    };
    std::vector<Message> received;
};

class Panel : public LEmbeddedWindow {
public:
    std::vector<std::pair<int, int>> layouts;
    void LayoutControls(int, int, int width, int height) override
    {
        layouts.push_back({width, height});
    }
};

}  // namespace

TEST(Window, ControlsByIdAndTheirSizes)
{
    QtTestApp();
    RecordingWindow window;
    EXPECT_EQ(window.GetControlHandle(1), nullptr);
    window.AddPaintControl(1, 0, 0, 10, 10, {});  // no widget yet: nothing made
    EXPECT_FALSE(window.IsControlValid(1));

    window.CreateTopLevel("controls", 300, 200);
    EXPECT_EQ(window.log, (std::vector<std::string>{"init"}));
    window.AddPaintControl(1, 510, -300, 500, 30, {});
    window.AddDBDisplay(2, 20, 20, 40, 120);
    window.AddStatic(3, "label", 0, 0, 80, 20);
    window.AddPaintControl(1, 0, 0, 1, 1, {});  // a second control under one id is refused
    ASSERT_TRUE(window.IsControlValid(1));
    EXPECT_EQ(window.GetControlHandle(1)->geometry(), QRect(510, -300, 500, 30));

    SizedControl control;
    control.Init(&window, 1);
    EXPECT_EQ(window.GetPaintControl(1), &control);
    EXPECT_EQ(control.GetWidth(), 500);
    EXPECT_EQ(control.GetHeight(), 30);
    window.MoveControlPixels(1, 5, 6, 70, 80);
    EXPECT_EQ(control.GetWidth(), 70);
    EXPECT_EQ(control.GetHeight(), 80);
    EXPECT_GE(control.sizeCalls, 1);
    window.MoveControlPixels(1, 5, 6, -4, -4);  // absurd sizes become empty, not negative
    EXPECT_EQ(control.GetWidth(), 0);

    window.SetControlValue(2, 7);
    EXPECT_EQ(window.GetControlValue(2), 7);
    EXPECT_EQ(window.GetControlValue(99), 0);
    window.EnableControlRange(1, 2, false);
    EXPECT_FALSE(window.GetControlHandle(1)->isEnabled());
    EXPECT_FALSE(window.GetControlHandle(2)->isEnabled());
    EXPECT_TRUE(window.GetControlHandle(3)->isEnabled());
    window.Show();
    window.ShowControl(3, false);
    EXPECT_FALSE(window.GetControlHandle(3)->isVisible());
    EXPECT_TRUE(window.GetControlHandle(2)->isVisible());

    // Unknown ids are ignored everywhere.
    window.MoveControlPixels(42, 0, 0, 1, 1);
    window.ShowControl(42, true);
    window.SetControlText(42, "x");
    window.SetControlRoundedCorners(42, 3);
    control.Init(&window, 42);
    EXPECT_EQ(control.GetId(), 1);

    // Binding to another control lets go of the first.
    control.Init(&window, 2);
    EXPECT_EQ(window.GetPaintControl(1), nullptr);
    EXPECT_EQ(window.GetPaintControl(2), &control);
    EXPECT_EQ(control.GetWidth(), 40);
}

// Commands sent now arrive at once; posted ones arrive in their order on a later turn, and a
// window with no queue yet posts nothing.
TEST(Window, SendAndPostCommandOrder)
{
    QtTestApp();
    RecordingWindow window;
    window.PostCommand(5);
    window.CreateTopLevel("commands", 100, 100);
    window.log.clear();
    window.PostCommand(1);
    window.PostCommand(2);
    window.SendCommand(9);
    window.PostCommand(3);
    EXPECT_EQ(window.log, (std::vector<std::string>{"cmd 9"}));
    ASSERT_TRUE(QtTestWaitFor([&] { return window.log.size() == 4; }));
    EXPECT_EQ(window.log, (std::vector<std::string>{"cmd 9", "cmd 1", "cmd 2", "cmd 3"}));
}

TEST(Window, InterWindowMessagesReachTheSubscribedHandler)
{
    QtTestApp();
    LWindow top;
    top.CreateTopLevel("parent", 400, 300);
    top.Show();
    Panel panel;
    panel.CreateEmbedded(&top, 10, 10, 200, 100);
    ASSERT_NE(panel.GetWidget(), nullptr);
    EXPECT_EQ(panel.GetWidget()->parentWidget(), top.GetWidget());
    ASSERT_FALSE(panel.layouts.empty());
    EXPECT_EQ(panel.layouts.back(), (std::pair<int, int>{200, 100}));
    panel.GetWidget()->resize(250, 120);
    EXPECT_EQ(panel.layouts.back(), (std::pair<int, int>{250, 120}));

    Handler handler;
    handler.HandleInterWinMessage(&top, 77);
    EXPECT_EQ(panel.SendParentInterWinMessage(77, 3, 4), 7);
    EXPECT_EQ(panel.SendParentInterWinMessage(78, 3, 4), 0);  // not subscribed
    EXPECT_EQ(top.SendParentInterWinMessage(77, 1, 1), 0);   // no parent
    EXPECT_EQ(top.SendInterWinMessage(77, 10, 20), 30);
    EXPECT_EQ(handler.received, (std::vector<Handler::Message>{{77, 3, 4}, {77, 10, 20}}));

    // A control sends to its own window; before Init it sends nothing.
    LPaintControl control;
    EXPECT_EQ(control.SendParentInterWinMessage(77, 1, 2), 0);
    top.AddPaintControl(5, 0, 0, 10, 10, {});
    control.Init(&top, 5);
    EXPECT_EQ(control.SendParentInterWinMessage(77, 1, 2), 3);
    EXPECT_EQ(handler.received.size(), 3u);
}

namespace {

class AskingDialog : public LDialog {
public:
    int okAnswers = 0;
    int okAsked = 0;
    std::vector<std::string> log;
    bool CmOk() override
    {
        ++okAsked;
        return okAsked > okAnswers;  // refuses the first `okAnswers` times
    }
    void InitDialog() override { log.push_back("init"); }
    void DestroyDialog() override { log.push_back("destroy"); }
};

}  // namespace

// The dialog's loop drains the program's queue: the queued calls below run inside it. A false
// CmOk keeps the dialog open; the next true one closes it with 1.
TEST(Dialog, FalseOkKeepsItOpenAndTheQueueDrainsInsideItsLoop)
{
    QtTestApp();
    AskingDialog dialog;
    dialog.okAnswers = 1;
    bool stillOpenAfterRefusal = false;
    QueuedCall secondOk([&] {
        stillOpenAfterRefusal = dialog.GetWidget()->isVisible();
        static_cast<QDialog*>(dialog.GetWidget())->accept();
    });
    QueuedCall firstOk([&] {
        static_cast<QDialog*>(dialog.GetWidget())->accept();
        secondOk.Post();
    });
    firstOk.Post();
    EXPECT_EQ(dialog.Open(nullptr, "asking", 200, 100), 1);
    EXPECT_EQ(dialog.okAsked, 2);
    EXPECT_TRUE(stillOpenAfterRefusal);
    EXPECT_EQ(dialog.log, (std::vector<std::string>{"init", "destroy"}));
}

TEST(Dialog, CancelAnswersZero)
{
    QtTestApp();
    AskingDialog dialog;
    QueuedCall cancel([&] { static_cast<QDialog*>(dialog.GetWidget())->reject(); });
    cancel.Post();
    EXPECT_EQ(dialog.Open(nullptr, "cancel", 200, 100), 0);
    EXPECT_EQ(dialog.okAsked, 0);
}

// The alert's loop drains the queue too; the queued call answers it.
TEST(Alerts, QueryYesAnswersTheButtonPressed)
{
    QtTestApp();
    LWindow window;
    window.CreateTopLevel("alerts", 100, 100);
    for (auto [button, expected] : {std::pair{QMessageBox::Yes, true}, {QMessageBox::No, false}}) {
        QString title;
        std::function<void()> press;
        QueuedCall call([&] { press(); });
        press = [&, button = button] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) {
                call.Post();  // not up yet: try on the next turn
                return;
            }
            title = box->windowTitle();
            box->button(button)->click();
        };
        call.Post();
        EXPECT_EQ(window.PopupBoxQueryYes("Really?"), expected);
        EXPECT_EQ(title, QString("Orvane DJ Software"));
    }
}

// A dialog can be opened again; its controls are made anew by InitDialog.
TEST(Dialog, OpensAgainWithFreshControls)
{
    QtTestApp();
    struct Reopening : AskingDialog {
        LPaintControl control;
        void InitDialog() override
        {
            AskingDialog::InitDialog();
            AddPaintControl(1, 0, 0, 20, 20, {});
            control.Init(this, 1);
        }
    } dialog;
    for (int round = 0; round < 2; ++round) {
        QueuedCall ok([&] { static_cast<QDialog*>(dialog.GetWidget())->accept(); });
        ok.Post();
        EXPECT_EQ(dialog.Open(nullptr, "again", 100, 100), 1);
        EXPECT_EQ(dialog.GetPaintControl(1), &dialog.control);
        EXPECT_EQ(dialog.control.GetWindow(), &dialog);
    }
    EXPECT_EQ(dialog.log, (std::vector<std::string>{"init", "destroy", "init", "destroy"}));
}

// An embedded panel may go before or after the window it lives in.
TEST(Window, EmbeddedPanelsGoInEitherOrder)
{
    QtTestApp();
    auto top = std::make_unique<LWindow>();
    top->CreateTopLevel("top", 200, 200);
    top->Show();
    auto first = std::make_unique<Panel>();
    first->CreateEmbedded(top.get(), 0, 0, 50, 50);
    first->AddPaintControl(1, 0, 0, 10, 10, {});
    LPaintControl control;
    control.Init(first.get(), 1);
    first.reset();  // its widget is deleted from the loop; nothing may call back meanwhile
    top->GetWidget()->resize(300, 300);
    control.Update();
    QtTestWaitFor([] { return false; }, 20);

    Panel second;
    second.CreateEmbedded(top.get(), 0, 0, 50, 50);
    top.reset();  // deletes the panel's widget with its own
    EXPECT_EQ(second.GetWidget(), nullptr);
    second.AddPaintControl(2, 0, 0, 5, 5, {});
    EXPECT_FALSE(second.IsControlValid(2));
}

// A dialog opened by a queued event (an engine notice that asks the user) still drains the
// queue inside its loop, though the drain that opened it has not returned.
TEST(Dialog, OpenedFromAQueuedEventStillDrains)
{
    QtTestApp();
    AskingDialog dialog;
    int answer = -1;
    QueuedCall close([&] { static_cast<QDialog*>(dialog.GetWidget())->accept(); });
    QueuedCall open([&] {
        close.Post();
        answer = dialog.Open(nullptr, "nested", 100, 100);
    });
    open.Post();
    ASSERT_TRUE(QtTestWaitFor([&] { return answer != -1; }));
    EXPECT_EQ(answer, 1);
}

// Labels take the font's pixel size, weight and colour; text may be changed or be absurd.
TEST(Window, StaticTextFontAndOpaquePaint)
{
    QtTestApp();
    LWindow window;
    window.CreateTopLevel("labels", 200, 100);
    window.AddStatic(7, "Level", 0, 0, 100, 20);
    LGuiFont font;
    font.CreateFont(-14, true, false, false, LGuiColorRef::FromRGB(200, 10, 20));
    window.SetControlFont(7, font);
    QWidget* label = window.GetControlHandle(7);
    EXPECT_EQ(label->font().pixelSize(), 14);
    EXPECT_EQ(label->font().weight(), QFont::Bold);
    EXPECT_EQ(label->palette().color(QPalette::WindowText), QColor(200, 10, 20));
    window.SetControlText(7, "\xff\xfe not UTF-8");
    window.SetControlText(7, nullptr);
    window.SetControlFont(7, LGuiFont{});  // an uncreated font changes nothing
    EXPECT_EQ(label->font().pixelSize(), 14);

    window.AddPaintControl(8, 0, 20, 50, 50, {});
    LPaintControl control;
    control.SetOpaquePaint(true);  // before Init: applied at Init
    control.Init(&window, 8);
    EXPECT_TRUE(window.GetControlHandle(8)->testAttribute(Qt::WA_OpaquePaintEvent));
    control.SetOpaquePaint(false);
    EXPECT_FALSE(window.GetControlHandle(8)->testAttribute(Qt::WA_OpaquePaintEvent));
}
