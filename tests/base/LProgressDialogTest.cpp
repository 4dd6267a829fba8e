#include "base/LConsoleProgressView.h"
#include "base/LProgressDialog.h"
#include "base/LQueuedNotify.h"
#include "base/LShellCommand.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

long _MsSince(Clock::time_point start)
{
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

// What the fake window showed, and the dialog it belongs to, for the test to press Cancel.
struct ViewRecord {
    std::vector<std::string> calls;
    LProgressDialog* dialog = nullptr;
    bool refuseOpen = false;
    bool indeterminate = false;
};
ViewRecord gView;

class FakeView : public LProgressView {
public:
    bool Open(LProgressDialog& dialog, const char* title) override
    {
        if (gView.refuseOpen)
            return false;
        gView.dialog = &dialog;
        gView.calls.push_back(std::string("open ") + title);
        return true;
    }
    void Close() override
    {
        gView.calls.push_back("close");
        gView.dialog = nullptr;
    }
    void SetStatusText(int line, const char* text) override
    {
        gView.calls.push_back("status" + std::to_string(line) + " " + text);
    }
    void SetProgressPercent(int percent) override
    {
        gView.indeterminate = false;
        gView.calls.push_back(std::to_string(percent) + "%");
    }
    void SetIndeterminate(bool on) override { gView.indeterminate = on; }
    void SetCancelEnabled(bool enabled) override
    {
        gView.calls.push_back(enabled ? "cancel on" : "cancel off");
    }
    void ShowError(const char* title, const char* message) override
    {
        gView.calls.push_back(std::string("error ") + title + ": " + message);
    }
};

std::unique_ptr<LProgressView> _MakeFakeView(OpaqueWindowPtr*)
{
    return std::make_unique<FakeView>();
}

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

// Runs `action` on another thread after `ms`; join the answer.
std::thread _Later(int ms, std::function<void()> action)
{
    return std::thread([ms, action = std::move(action)] {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        action();
    });
}

// A task given as a function, so each test writes its own.
struct Task {
    std::function<LProcessResult(LProcessInterface&)> body;
};

LProcessResult Process(LProcessInterface& process, Task& task)
{
    return task.body(process);
}

class ProgressDialog : public ::testing::Test {
protected:
    void SetUp() override
    {
        gView = ViewRecord{};
        LSetProgressViewFactory(_MakeFakeView);
    }
    void TearDown() override { LSetProgressViewFactory(nullptr); }
};

}  // namespace

TEST_F(ProgressDialog, ReportsReachTheViewAndTheTaskResultComesBack)
{
    Task task{[](LProcessInterface& p) {
        p.SetStatus("Adding tracks", 0);
        p.SetStatus("a.mp3", 5);
        p.SetProgressIndeterminateOn();
        EXPECT_TRUE(gView.indeterminate);
        p.SetProgress(0.42);  // a progress value ends indeterminate mode
        EXPECT_FALSE(gView.indeterminate);
        p.SetError("a.mp3 is damaged");
        return kProcessFinished;
    }};
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "Add Folder", task), kProcessFinished);
    EXPECT_EQ(gView.calls,
              (std::vector<std::string>{"open Add Folder", "status0 Adding tracks",
                                        "status1 a.mp3", "42%",
                                        "error Add Folder: a.mp3 is damaged", "close"}));
}

TEST_F(ProgressDialog, AViewThatCannotOpenGivesFailureWithoutRunningTheTask)
{
    gView.refuseOpen = true;
    bool ran = false;
    Task task{[&ran](LProcessInterface&) {
        ran = true;
        return kProcessFinished;
    }};
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "x", task), kProcessFailed);
    EXPECT_FALSE(ran);
}

TEST_F(ProgressDialog, CancelIsSeenAtTheNextIsToStopAndStays)
{
    CancelButton cancel;
    int itemsDone = 0;
    Task task{[&](LProcessInterface& p) {
        for (int item = 0; item < 10; ++item) {
            if (p.IsToStop())
                return kProcessStopped;
            if (item == 3)
                cancel.PostQueueNotify();
            ++itemsDone;
        }
        return kProcessFinished;
    }};
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "x", task), kProcessStopped);
    EXPECT_EQ(itemsDone, 4);
    EXPECT_EQ(gView.calls[1], "cancel off");
}

namespace {

// Opens a dialog from inside an event, as a conversion's end report may; the task cancels
// itself through the queue and counts its rounds until it sees the stop.
class DialogFromEvent : public LThreadQueuedNotify {
public:
    CancelButton cancel;
    int rounds = 0;
    LProcessResult result = -1;

protected:
    void EvNotify() override
    {
        Task task{[this](LProcessInterface& p) {
            cancel.PostQueueNotify();
            for (rounds = 1; rounds < 100; ++rounds)
                if (p.IsToStop())
                    return kProcessStopped;
            return kProcessFinished;
        }};
        result = ProcessRunAsDialog(nullptr, "nested", task);
    }
};

}  // namespace

TEST_F(ProgressDialog, DialogOpenedFromTheMainLoopStillPumps)
{
    DialogFromEvent opener;
    opener.PostQueueNotify();
    auto queue = LEventQueue::ForCurrentThread();
    EXPECT_EQ(queue->DispatchPending(10), 1u);  // Cancel ran inside, not out here
    EXPECT_EQ(queue->GetPendingCount(), 0u);
    EXPECT_EQ(opener.result, kProcessStopped);
    EXPECT_EQ(opener.rounds, 1);
}

TEST_F(ProgressDialog, WaitsDeliverQueuedEventsAndEndOnCancel)
{
    CancelButton cancel;
    Task task{[&](LProcessInterface& p) {
        LSignalObject s;
        s.Signal();
        auto start = Clock::now();
        EXPECT_EQ(p.ProcessWaitSignal(s, kWaitForever), kProcessFinished);  // set: no wait
        EXPECT_EQ(p.ProcessWaitSignal(s, 0), kProcessFailed);               // 0 ms: no wait
        EXPECT_LT(_MsSince(start), 500);
        s.Reset();
        EXPECT_EQ(p.ProcessWaitSignal(s, 20), kProcessFailed);
        EXPECT_FALSE(p.ProcessWait(10));

        std::thread presser = _Later(30, [&cancel] { cancel.PostQueueNotify(); });
        LProcessResult waited = p.ProcessWaitSignal(s, kWaitForever);
        presser.join();
        EXPECT_EQ(waited, kProcessStopped);
        EXPECT_TRUE(p.ProcessWait(kWaitForever));  // closed already: returns at once
        return kProcessStopped;
    }};
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "x", task), kProcessStopped);
}

TEST_F(ProgressDialog, SignalFromAnotherThreadEndsTheWait)
{
    Task task{[](LProcessInterface& p) {
        LSignalObject s;
        std::thread signaller = _Later(30, [&s] { s.Signal(); });
        LProcessResult waited = p.ProcessWaitSignal(s, 10000);
        signaller.join();
        return waited;
    }};
    auto start = Clock::now();
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "x", task), kProcessFinished);
    EXPECT_LT(_MsSince(start), 5000);
}

TEST_F(ProgressDialog, CancelledShellCommandReturnsStoppedPromptly)
{
    CancelButton cancel;
    Task task{[&cancel](LProcessInterface& p) {
        std::thread presser = _Later(100, [&cancel] { cancel.PostQueueNotify(); });
        // The command outlives the test; keep it off the test's output so nothing waits on it.
        LProcessResult result = LRunShellCommand(p, "exec sleep 3 >/dev/null 2>&1");
        presser.join();
        return result;
    }};
    auto start = Clock::now();
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "Decoding", task), kProcessStopped);
    EXPECT_LT(_MsSince(start), 2000);
}

TEST(LConsoleProgressView, CtrlCCancelsTheTask)
{
    LSetProgressViewFactory(nullptr);  // the console form
    Task task{[](LProcessInterface& p) {
        raise(SIGINT);
        LSignalObject never;
        return p.ProcessWaitSignal(never, 10000);
    }};
    auto start = Clock::now();
    EXPECT_EQ(ProcessRunAsDialog(nullptr, "Converting", task), kProcessStopped);
    EXPECT_LT(_MsSince(start), 5000);
    struct sigaction after{};
    sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, SIG_DFL);  // the handler goes with the dialog
}

TEST(LRunShellCommand, AnswersFinishedOrFailed)
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
}

TEST(LRunShellCommand, ChildReapedElsewhereCountsAsSuccess)
{
    // With children reaped automatically pclose finds no child to wait for, as it may when
    // the program's own SIGCHLD handler got there first.
    struct sigaction reaper{};
    reaper.sa_handler = SIG_IGN;
    sigemptyset(&reaper.sa_mask);
    struct sigaction previous{};
    sigaction(SIGCHLD, &reaper, &previous);
    LProcessInterfaceVoid process;
    EXPECT_EQ(LRunShellCommand(process, "sleep 0.05"), kProcessFinished);
    sigaction(SIGCHLD, &previous, nullptr);
}

TEST(LConsoleProgressView, DrawsOneLineOnATerminalAndOnlyErrorsElsewhere)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    {
        LConsoleProgressView terminal(fds[1], true, 60);
        terminal.SetStatusText(0, "Decoding");
        terminal.SetStatusText(1, "track.flac");
        terminal.SetProgressPercent(42);
        EXPECT_EQ(terminal.FormatLine(),
                  "[##########..............]   42%  Decoding  track.flac");
        terminal.SetStatusText(1, std::string(200, 'n').c_str());
        EXPECT_EQ(terminal.FormatLine().size(), 59u);  // never wraps
        terminal.SetIndeterminate(true);
        EXPECT_EQ(terminal.FormatLine().substr(0, 26), "[~~~~~~~~~~~~~~~~~~~~~~~~]");
        terminal.ShowError("Decoding", "no decoder");
    }
    {
        LConsoleProgressView plain(fds[1], false, 60);
        plain.SetStatusText(0, "hidden");
        plain.SetProgressPercent(50);
        plain.ShowError("Add", "bad");
    }
    close(fds[1]);
    std::string written;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;)
        written.append(buffer, n);
    close(fds[0]);
    EXPECT_NE(written.find("Decoding: no decoder\n"), std::string::npos);
    EXPECT_NE(written.find("\r["), std::string::npos);
    EXPECT_EQ(written.find("hidden"), std::string::npos);
    EXPECT_EQ(written.substr(written.size() - 9), "Add: bad\n");
}
