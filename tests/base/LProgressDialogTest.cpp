#include "base/LConsoleProgressView.h"
#include "base/LProgressDialog.h"
#include "base/LQueuedNotify.h"
#include "base/LShellCommand.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

// What the fake window showed, and the dialog it belongs to, for the test to press Cancel.
struct ViewRecord {
    Strings calls;
    LProgressDialog* dialog = nullptr;
    bool refuseOpen = false;
};
ViewRecord gView;

class FakeView : public LProgressView {
public:
    bool Open(LProgressDialog& dialog, const char* title) override
    {
        gView.dialog = gView.refuseOpen ? nullptr : &dialog;
        return !gView.refuseOpen && _Log(std::string("open ") + title);
    }
    void Close() override { gView.dialog = nullptr; _Log("close"); }
    void SetStatusText(int line, const char* text) override { _Log("status" + std::to_string(line) + " " + text); }
    void SetProgressPercent(int percent) override { _Log(std::to_string(percent) + "%"); }
    void SetIndeterminate(bool on) override { _Log(on ? "busy" : "not busy"); }
    void SetCancelEnabled(bool enabled) override { _Log(enabled ? "cancel on" : "cancel off"); }
    void ShowError(const char* title, const char* text) override { _Log(std::string("error ") + title + ": " + text); }

private:
    static bool _Log(std::string call)
    {
        gView.calls.push_back(std::move(call));
        return true;
    }
};

// Presses Cancel from the queue, as a window's button would: the post may come from any
// thread, the press itself runs on the dialog's thread.
class CancelButton : public LThreadQueuedNotify {
protected:
    void EvNotify() override
    {
        if (gView.dialog)
            gView.dialog->Close(0);
    }
};

// A task given as a function, so each test writes its own; a type of this file, for the
// dialog to find Process by.
struct Task : std::function<LProcessResult(LProcessInterface&)> {
    using function::function;
};

LProcessResult Process(LProcessInterface& process, Task& task)
{
    return task(process);
}

LProcessResult _Run(const char* title, Task task)
{
    return ProcessRunAsDialog(nullptr, title, task);
}

class ProgressDialog : public ::testing::Test {
protected:
    void SetUp() override
    {
        gView = ViewRecord{};
        LSetProgressViewFactory([](OpaqueWindowPtr*) -> std::unique_ptr<LProgressView> {
            return std::make_unique<FakeView>();
        });
    }
    void TearDown() override { LSetProgressViewFactory(nullptr); }
};

}  // namespace

TEST_F(ProgressDialog, ReportsReachTheViewAndARefusedViewRunsNothing)
{
    EXPECT_EQ(_Run("Add Folder",
                   [](LProcessInterface& p) {
                       p.SetStatus("Adding tracks", 0);
                       p.SetStatus("a.mp3", 5);
                       p.SetProgressIndeterminateOn();
                       p.SetProgress(0.42);
                       p.SetError("a.mp3 is damaged");
                       return kProcessFinished;
                   }),
              kProcessFinished);
    EXPECT_EQ(gView.calls, (Strings{"open Add Folder", "status0 Adding tracks", "status1 a.mp3",
                                    "busy", "42%", "error Add Folder: a.mp3 is damaged", "close"}));

    gView.refuseOpen = true;
    bool ran = false;
    EXPECT_EQ(_Run("x", [&ran](LProcessInterface&) { ran = true; return kProcessFinished; }),
              kProcessFailed);
    EXPECT_FALSE(ran);
}

TEST_F(ProgressDialog, ProgressOutsideZeroToOneIsClampedAndNaNChangesNothing)
{
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        double fraction;
        const char* shown;  // null: no call reaches the view
    } cases[] = {
        {0.5, "50%"}, {std::nan(""), nullptr}, {-inf, "0%"}, {-0.25, "0%"}, {-0.0, "0%"},
        {0.999, "99%"}, {1.0, "100%"}, {7.5, "100%"}, {inf, "100%"}, {5e-324, "0%"},
    };
    Strings expected = {"open x", "busy"};
    for (const auto& c : cases)
        if (c.shown)
            expected.push_back(c.shown);
    expected.push_back("close");
    _Run("x", [&cases](LProcessInterface& p) {
        p.SetProgressIndeterminateOn();
        p.SetProgress(std::nan(""));  // leaves the busy mode alone, too
        for (const auto& c : cases)
            p.SetProgress(c.fraction);
        return kProcessFinished;
    });
    EXPECT_EQ(gView.calls, expected);
}

TEST_F(ProgressDialog, CancelIsSeenAtTheNextIsToStop)
{
    CancelButton cancel;
    int itemsDone = 0;
    EXPECT_EQ(_Run("x",
                   [&](LProcessInterface& p) {
                       for (; itemsDone < 10; ++itemsDone) {
                           if (p.IsToStop())
                               return kProcessStopped;
                           if (itemsDone == 3)
                               cancel.PostQueueNotify();
                       }
                       return kProcessFinished;
                   }),
              kProcessStopped);
    EXPECT_EQ(itemsDone, 4);
    EXPECT_EQ(gView.calls[1], "cancel off");
}

TEST_F(ProgressDialog, CancelEndsTheWaitForAShellCommandThatWouldNeverEnd)
{
    // The command waits for a line that is written only after the task has returned, so
    // only the Cancel can end the task's wait.
    TempFolder folder;
    const std::string fifo = folder / "line";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    CancelButton cancel;
    EXPECT_EQ(_Run("Decoding",
                   [&](LProcessInterface& p) {
                       cancel.PostQueueNotify();  // pressed while the command runs
                       return LRunShellCommand(p, ("read line < '" + fifo + "'").c_str());
                   }),
              kProcessStopped);
    // Lets the command end; its helper thread then cleans up by itself.
    int end = open(fifo.c_str(), O_WRONLY);
    ASSERT_GE(end, 0);
    EXPECT_EQ(write(end, "\n", 1), 1);
    close(end);
}

TEST(LConsoleProgressView, CtrlCCancelsTheTaskAndTheHandlerGoesWithIt)
{
    LSetProgressViewFactory(nullptr);  // the console form
    // The wait has no time limit: only the Ctrl-C can end it, and as a stop.
    EXPECT_EQ(_Run("Converting",
                   [](LProcessInterface& p) {
                       raise(SIGINT);
                       LSignalObject never;
                       return p.ProcessWaitSignal(never, kWaitForever);
                   }),
              kProcessStopped);
    EXPECT_EQ(signal(SIGINT, SIG_DFL), SIG_DFL);  // the handler went with the task
}

namespace {

// Everything written to `fd` until now; it must be non-blocking.
std::string _ReadAvailable(int fd)
{
    std::string all;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof buffer)) > 0)
        all.append(buffer, static_cast<size_t>(n));
    return all;
}

}  // namespace

TEST(LRunWithConsoleProgress, DrawsOnATerminalOnlyKeepsErrorsAndTakesCtrlC)
{
    LProcessFunction task = [](LProcessInterface& p) {
        p.SetStatus("a.wav", 1);
        p.SetProgress(0.5);
        p.SetError("bad block");
        return kProcessFailed;
    };
    int plain[2];
    ASSERT_EQ(pipe2(plain, O_NONBLOCK), 0);
    EXPECT_EQ(LRunWithConsoleProgress("Converting", task, plain[1]), kProcessFailed);
    EXPECT_EQ(_ReadAvailable(plain[0]), "Converting: bad block\n");  // no bar off a terminal
    close(plain[0]);
    close(plain[1]);

    int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_GE(master, 0);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    EXPECT_EQ(LRunWithConsoleProgress("Converting", task, terminal), kProcessFailed);
    std::string shown = _ReadAvailable(master);
    EXPECT_NE(shown.find(" 0%  Converting"), std::string::npos) << shown;
    EXPECT_NE(shown.find("Converting: bad block"), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("\r\033[K")) << shown;  // the line is gone when it ends
    close(terminal);
    close(master);

    EXPECT_EQ(LRunWithConsoleProgress("Converting",
                                      [](LProcessInterface& p) {
                                          raise(SIGINT);
                                          p.ProcessWait(kWaitForever);  // ends only by a stop
                                          return p.IsToStop() ? kProcessStopped : kProcessFinished;
                                      }),
              kProcessStopped);
}

TEST(LRunShellCommand, AnswersFinishedOrFailedAndAReapedChildIsSuccess)
{
    TempFolder folder;
    LProcessInterfaceVoid process;
    std::string out = folder / "out.txt";
    EXPECT_EQ(LRunShellCommand(process, ("echo 'a b' > '" + out + "'; echo noise").c_str()),
              kProcessFinished);
    EXPECT_EQ(ReadWholeFile(out), "a b\n");
    EXPECT_EQ(LRunShellCommand(process, "exit 1"), kProcessFinished);  // it ran
    EXPECT_EQ(LRunShellCommand(process, "/nonexistent/orvane-decoder 2>/dev/null"),
              kProcessFailed);

    // With children reaped automatically pclose finds no child to wait for, as it may when
    // the program's own SIGCHLD handler got there first.
    const auto previous = signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(LRunShellCommand(process, "sleep 0.05"), kProcessFinished);
    signal(SIGCHLD, previous);
}

