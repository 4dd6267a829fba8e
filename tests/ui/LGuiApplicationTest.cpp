#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "base/LEventPump.h"
#include "base/LEventQueue.h"
#include "ui/LGuiApplication.h"

#include <QTimer>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

struct ProgramRun {
    int exitCode;
    std::string out;
    std::string err;
};

// Runs `orvane` with the window-system variables removed, then `environment` (shell words).
ProgramRun _RunWithout(const std::string& environment, const std::string& arguments)
{
    TempFolder folder;
    const std::string command = "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " +
                                environment + " " + ORVANE_PROGRAM_PATH + " " + arguments +
                                " >" + folder / "out" + " 2>" + folder / "err";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile(folder / "out"),
            ReadWholeFile(folder / "err")};
}

const char kNoDisplayLine[] = "no display: set DISPLAY or WAYLAND_DISPLAY, or use orvane-tool\n";

}  // namespace

// With no window system the program says so in one line and exits 1, whether nothing is set
// or what is set leads nowhere; the options that need no window still work.
TEST(GuiApplication, NoDisplayIsOneLineAndExitCodeOne)
{
    struct Case {
        const char* environment;
    };
    const Case cases[] = {
        {""},
        {"DISPLAY="},
        {"DISPLAY=:917"},  // no server there
        {"DISPLAY=:x"},
        {"XDG_RUNTIME_DIR=/nonexistent WAYLAND_DISPLAY=wayland-9"},
        {"WAYLAND_DISPLAY=/nonexistent/socket"},
        {"QT_QPA_PLATFORM=xcb"},  // a platform that needs a display it cannot reach
        {"QT_QPA_PLATFORM=xcb DISPLAY=:917"},
        {"QT_QPA_PLATFORM=wayland XDG_RUNTIME_DIR=/nonexistent"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = _RunWithout(c.environment, "");
        EXPECT_EQ(run.exitCode, 1) << c.environment;
        EXPECT_EQ(run.err, kNoDisplayLine) << c.environment;
        EXPECT_EQ(run.out, "") << c.environment;
    }
    const ProgramRun help = _RunWithout("", "--help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("Usage: orvane"), std::string::npos);
}

// With a platform the main window comes up (here off screen), and a SIGTERM once it is up
// takes it down in order: exit code 0 and the library saved.
TEST(GuiApplication, StartsWithAPlatformAndQuitsOnTerm)
{
    TempFolder folder;
    const std::string settings = folder / "config/Orvane/settings.xml";
    const std::string command =
        "env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=" + folder / "config" +
        " XDG_DATA_HOME=" + folder / "data" + " ORVANE_AUDIO_CAPTURE=" + folder / "capture.wav" + " " +
        ORVANE_PROGRAM_PATH + " >" + folder / "out" + " 2>" + folder / "err" +
        " & pid=$!; for i in $(seq 1200); do grep -qs FirstRun " + settings +
        " && break; sleep 0.05; done; kill -TERM $pid; wait $pid";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << ReadWholeFile(folder / "err");
    EXPECT_NE(ReadWholeFile(folder / "data/Orvane/library.xml"), "");
}

TEST(GuiApplication, CanStartAndTheClock)
{
    QtTestApp();
    const char* why = nullptr;
    EXPECT_TRUE(LGuiApplication::CanStart(&why));  // the tests run with a platform set
    EXPECT_STREQ(why, "");
    const unsigned int a = LGuiApplication::NowMs();
    const unsigned int b = LGuiApplication::NowMs();
    EXPECT_LT(b - a, 1000u);  // monotonic: never goes back (which would wrap to a huge step)
}

namespace {

class CountingReceiver : public LQueueReceiver {
public:
    int delivered = 0;
    void Post() { _PostToQueue(0, nullptr, 0); }

private:
    void _DeliverQueued(unsigned int, const void*, unsigned long) override { ++delivered; }
};

}  // namespace

// The pump of long tasks turns Qt's loop: queued events, a watched descriptor and Qt's own
// timers all move while a task waits in it.
TEST(GuiApplication, EventPumpTurnsQtAndTheQueue)
{
    QtTestApp();
    LEventPump& pump = LGetEventPump();
    CountingReceiver receiver;
    EXPECT_EQ(pump.WaitAndDispatchOne(1, -1), LEventPump::Wait::kTimeout);

    receiver.Post();
    EXPECT_EQ(pump.WaitAndDispatchOne(kWaitForever, -1), LEventPump::Wait::kEvent);
    EXPECT_EQ(receiver.delivered, 1);

    // An event posted by a Qt timer while the pump waits wakes it.
    bool timerRan = false;
    QTimer::singleShot(1, [&] {
        timerRan = true;
        receiver.Post();
    });
    EXPECT_EQ(pump.WaitAndDispatchOne(kWaitForever, -1), LEventPump::Wait::kEvent);
    EXPECT_TRUE(timerRan);
    EXPECT_EQ(receiver.delivered, 2);

    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], "x", 1), 1);
    EXPECT_EQ(pump.WaitAndDispatchOne(kWaitForever, fds[0]), LEventPump::Wait::kDescriptor);
    close(fds[0]);
    close(fds[1]);

    receiver.Post();
    receiver.Post();
    EXPECT_TRUE(pump.ClearEventQueue());
    EXPECT_EQ(receiver.delivered, 4);
    EXPECT_FALSE(pump.ClearEventQueue());

    // A task that runs inside a turn of the pump (opened by an event the turn dispatched)
    // still moves Qt's events with its own turns.
    bool nestedTimerRan = false, seenByTheTask = false;
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [&] { nestedTimerRan = true; });
        for (int turn = 0; turn < 100 && !nestedTimerRan; ++turn) {
            pump.ClearEventQueue();
        }
        seenByTheTask = nestedTimerRan;
    });
    pump.ClearEventQueue();
    EXPECT_TRUE(seenByTheTask);
}
