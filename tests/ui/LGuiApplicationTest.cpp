#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/LGuiApplication.h"

#include <sys/wait.h>

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

// With a platform the application starts (here off screen) and exits cleanly.
TEST(GuiApplication, StartsWithAPlatform)
{
    const ProgramRun run = _RunWithout("QT_QPA_PLATFORM=offscreen", "");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("Usage: orvane"), std::string::npos);
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
