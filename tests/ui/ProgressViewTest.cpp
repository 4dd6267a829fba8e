#include "ui/LProgressViewQt.h"

#include "support/QtTestApp.h"
#include "support/TestHome.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>

namespace {

struct FunctionTask {
    std::function<LProcessResult(LProcessInterface&)> run;
};

LProcessResult Process(LProcessInterface& process, FunctionTask& task)
{
    return task.run(process);
}

QWidget* ProgressWindow()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->objectName() == kProgressWindowName)
            return widget;
    return nullptr;
}

template <class T>
T* Child(const char* name)
{
    QWidget* window = ProgressWindow();
    return window ? window->findChild<T*>(name) : nullptr;
}

// Inside a task: turns events until `done` or a generous bound for a failing wait.
bool TaskWaitFor(LProcessInterface& process, const std::function<bool()>& done)
{
    const auto start = std::chrono::steady_clock::now();
    while (!done()) {
        if (MsSince(start) > 30000)
            return false;
        process.ProcessWait(10);
    }
    return true;
}

LProcessResult RunTask(const std::function<LProcessResult(LProcessInterface&)>& run, QWidget* parent = nullptr)
{
    FunctionTask task{run};
    return ProcessRunAsDialog(LOpaqueWindowOf(parent), "Adding Files..", task);
}

class ProgressViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QtTestApp();
        LSetProgressViewFactory(LMakeProgressViewQt);
    }
    void TearDown() override { LSetProgressViewFactory(nullptr); }
};

TEST_F(ProgressViewTest, AQuickTaskNeverShowsAWindowAndHoldsInputMeanwhile)
{
    QPushButton other(QStringLiteral("elsewhere"));
    int clicks = 0;
    QObject::connect(&other, &QPushButton::clicked, [&] { ++clicks; });
    other.show();
    auto click = [&] {
        const QPointF at(5, 5);
        QMouseEvent press(QEvent::MouseButtonPress, at, other.mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, at, other.mapToGlobal(at), Qt::LeftButton, Qt::NoButton,
                            Qt::NoModifier);
        QApplication::sendEvent(&other, &press);
        QApplication::sendEvent(&other, &release);
    };
    bool seenVisible = false;
    EXPECT_EQ(RunTask([&](LProcessInterface&) {
                  click();  // before the window shows, the task's window holds input all the same
                  seenVisible = ProgressWindow() && ProgressWindow()->isVisible();
                  return kProcessFinished;
              }),
              kProcessFinished);
    EXPECT_FALSE(seenVisible);
    EXPECT_EQ(clicks, 0);
    EXPECT_EQ(ProgressWindow(), nullptr);  // gone with the task
    click();
    EXPECT_EQ(clicks, 1);
}

TEST_F(ProgressViewTest, ALongTaskShowsItsProgressAndStopsOnCancel)
{
    QWidget parent;
    parent.show();
    const std::string longPath = "/music/" + std::string(400, 'x') + "/the end.mp3";
    int percentSeen = -1;
    QString shownStatus;
    const LProcessResult result = RunTask(
        [&](LProcessInterface& process) {
            process.SetStatus(longPath.c_str(), 0);
            process.SetStatus("the end.mp3", 1);
            process.SetProgress(0.42);
            if (!TaskWaitFor(process, [] { return ProgressWindow() && ProgressWindow()->isVisible(); }))
                return kProcessFailed;
            percentSeen = Child<QProgressBar>(kProgressBarName)->value();
            shownStatus = Child<QLabel>(kProgressStatusName[0])->text();
            EXPECT_EQ(ProgressWindow()->parentWidget(), &parent);
            EXPECT_TRUE(ProgressWindow()->isModal());
            EXPECT_EQ(ProgressWindow()->windowTitle(), QStringLiteral("Adding Files.."));
            EXPECT_EQ(Child<QLabel>(kProgressStatusName[1])->text(), QStringLiteral("the end.mp3"));
            QPushButton* cancel = Child<QPushButton>(kProgressCancelName);
            EXPECT_TRUE(cancel->isEnabled());
            QMetaObject::invokeMethod(cancel, "click", Qt::QueuedConnection);  // as a user's press
            if (!TaskWaitFor(process, [&] { return process.IsToStop(); }))
                return kProcessFailed;
            EXPECT_FALSE(cancel->isEnabled());
            return kProcessStopped;
        },
        &parent);
    EXPECT_EQ(result, kProcessStopped);
    EXPECT_EQ(percentSeen, 42);
    // Both ends of a long path stay readable; the middle gives way.
    EXPECT_TRUE(shownStatus.startsWith(QStringLiteral("/music/xx"))) << shownStatus.toStdString();
    EXPECT_TRUE(shownStatus.endsWith(QStringLiteral("the end.mp3"))) << shownStatus.toStdString();
    EXPECT_LT(shownStatus.size(), static_cast<qsizetype>(longPath.size()));
}

TEST_F(ProgressViewTest, ClosingTheWindowOrEscapeAsksTheTaskToStop)
{
    for (const bool escape : {false, true}) {
        const LProcessResult result = RunTask([&](LProcessInterface& process) {
            process.SetProgressIndeterminateOn();
            if (!TaskWaitFor(process, [] { return ProgressWindow() && ProgressWindow()->isVisible(); }))
                return kProcessFailed;
            QProgressBar* bar = Child<QProgressBar>(kProgressBarName);
            EXPECT_EQ(bar->maximum(), 0);  // indeterminate
            process.SetProgress(0.5);
            EXPECT_EQ(bar->maximum(), 100);
            EXPECT_EQ(bar->value(), 50);
            auto* window = static_cast<QDialog*>(ProgressWindow());
            if (escape)
                window->reject();
            else
                window->close();
            EXPECT_TRUE(process.IsToStop());
            EXPECT_NE(ProgressWindow(), nullptr);  // the window stays until the task returns
            return kProcessStopped;
        });
        EXPECT_EQ(result, kProcessStopped) << escape;
        EXPECT_EQ(ProgressWindow(), nullptr);
    }
}

TEST_F(ProgressViewTest, ClosingAnotherWindowBeforeTheProgressShowsCancelsTheTask)
{
    QWidget other;
    other.show();
    bool stopAsked = false;
    const LProcessResult result = RunTask([&](LProcessInterface& process) {
        other.close();
        stopAsked = process.IsToStop();
        return stopAsked ? kProcessStopped : kProcessFinished;
    });
    EXPECT_TRUE(stopAsked);
    EXPECT_EQ(result, kProcessStopped);
    EXPECT_FALSE(other.isVisible());  // the close itself went ahead
}

TEST_F(ProgressViewTest, AnErrorShowsAsABoxOverTheWindow)
{
    QString title, text;
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            title = box->windowTitle();
            text = box->text();
            EXPECT_EQ(box->parentWidget(), ProgressWindow());
            box->accept();
        }
    });
    answer.start(10);
    const LProcessResult result = RunTask([&](LProcessInterface& process) {
        process.SetError("3 files could not be added:\n\nx.wav (missing, or a broken link)");
        EXPECT_TRUE(ProgressWindow()->isVisible());  // shown at once for the error
        return kProcessFinished;
    });
    EXPECT_EQ(result, kProcessFinished);
    EXPECT_EQ(title, QStringLiteral("Adding Files.."));
    EXPECT_TRUE(text.startsWith(QStringLiteral("3 files could not be added:"))) << text.toStdString();
}

TEST_F(ProgressViewTest, AParentThatIsNoWidgetIsTakenAsNone)
{
    int notAWidget = 0;
    std::unique_ptr<LProgressView> view = LMakeProgressViewQt(reinterpret_cast<OpaqueWindowPtr*>(&notAWidget));
    ASSERT_NE(view, nullptr);
    FunctionTask task{[](LProcessInterface&) { return kProcessFinished; }};
    LProcessDialog<FunctionTask> dialog("t", task);
    EXPECT_TRUE(dialog.OpenWithView(std::move(view)));
    EXPECT_EQ(dialog.GetResult(), kProcessFinished);
}

}  // namespace
