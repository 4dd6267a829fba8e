// The program's window on a real X server: it opens on screen whatever geometry was saved, and
// a close request from the window system ends the process cleanly.
#include "app/LSettings.h"
#include "mainwindow/MainWindowPlacement.h"
#include "mainwindow/WindowManagerRequests.h"
#include "support/TestHome.h"
#include "ui/XvfbTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

using namespace XvfbTest;

namespace {

// Asks the window to close, as the user's click on its close button does, until the process
// exits; answers its exit status, or -1. A request sent just as the window maps is at times
// not delivered to the program on Xvfb, so an unanswered request is repeated.
int CloseAndWaitExit(pid_t pid, unsigned long window)
{
    constexpr unsigned int kRetryMs = 2000;
    for (unsigned int waited = 0; waited < kWaitMs; waited += kRetryMs) {
        if (!SendDeleteWindow(window)) {
            break;
        }
        if (const int status = WaitExit(pid, kRetryMs); status != -1) {
            return status;
        }
    }
    Stop(pid);
    return -1;
}

// The main window of that process once it is mapped; 0 if it never came.
unsigned long FindMainWindow(pid_t pid)
{
    std::string output;
    if (RunProgram({"xdotool", "search", "--sync", "--all", "--onlyvisible", "--pid", std::to_string(pid),
                    "--name", "^Orvane$"},
                   &output) != 0) {
        return 0;
    }
    return std::strtoul(output.c_str(), nullptr, 10);
}

struct Geometry {
    int x = -1, y = -1, width = 0, height = 0;
};

Geometry WindowGeometry(unsigned long window)
{
    std::string output;
    RunProgram({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)}, &output);
    Geometry g;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const auto eq = line.find('=');
        if (eq == std::string::npos) {
            continue;
        }
        const std::string key = line.substr(0, eq);
        const int value = std::atoi(line.c_str() + eq + 1);
        if (key == "X") {
            g.x = value;
        } else if (key == "Y") {
            g.y = value;
        } else if (key == "WIDTH") {
            g.width = value;
        } else if (key == "HEIGHT") {
            g.height = value;
        }
    }
    return g;
}

class MainWindowXvfbTest : public testing::Test {
protected:
    // No headphone channels: the start-up check of shared channels then shows no alert.
    void SetUp() override
    {
        LUserSettingSetInt("Settings", "HeadphoneOutputLeft", -1);
        LUserSettingSetInt("Settings", "HeadphoneOutputRight", -1);
    }
    pid_t Start() { return Spawn({ORVANE_PROGRAM_PATH}, {"ORVANE_AUDIO_CAPTURE=" + home / "capture.wav"}); }
    TestHome home;
};

TEST_F(MainWindowXvfbTest, OpensOnScreenAndQuitsOnACloseRequest)
{
    const pid_t pid = Start();
    const unsigned long window = FindMainWindow(pid);
    ASSERT_NE(window, 0u);
    const Geometry g = WindowGeometry(window);
    EXPECT_GE(g.width, kMainWindowMinWidth);
    EXPECT_GE(g.x, 0);
    EXPECT_GE(g.y, 0);
    EXPECT_EQ(CloseAndWaitExit(pid, window), 0);
    char value[kLTextBytes];
    _LUserSettingGetString("MainWindow", "Width", "", value);
    EXPECT_EQ(MainWindowParseInt(value), g.width);
}

// Absurd saved geometry still gives a window inside the 1280 x 1024 screen.
TEST_F(MainWindowXvfbTest, AbsurdSavedGeometryStillOpensOnScreen)
{
    const char* cases[][5] = {
        {"-99999", "-99999", "-5", "-5", ""},
        {"99999999999", "99999999999", "99999999999", "99999999999", ""},
        {"abc", "1e9", "wide", "", ""},
        // Just past the int range, a hex number, a number with a unit, a maximize flag of words.
        {"2147483648", "-2147483649", "0x5000", "  +1200px", "perhaps"},
    };
    for (const auto& c : cases) {
        LUserSettingSetString("MainWindow", "X", c[0]);
        LUserSettingSetString("MainWindow", "Y", c[1]);
        LUserSettingSetString("MainWindow", "Width", c[2]);
        LUserSettingSetString("MainWindow", "Height", c[3]);
        LUserSettingSetString("MainWindow", "Maximized", c[4]);
        const pid_t pid = Start();
        const unsigned long window = FindMainWindow(pid);
        ASSERT_NE(window, 0u) << c[0];
        const Geometry g = WindowGeometry(window);
        EXPECT_GE(g.x, 0) << c[0];
        EXPECT_GE(g.y, 0) << c[0];
        EXPECT_LE(g.x + g.width, 1280) << c[0];
        EXPECT_LE(g.y + g.height, 1024) << c[0];
        EXPECT_EQ(CloseAndWaitExit(pid, window), 0) << c[0];
    }
}

}  // namespace
