#include "app/LSettings.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace {

struct ToolResult {
    int exitCode;
    std::string out;  // stdout only
};

// Runs orvane-tool with shell-quoted arguments under the current environment.
ToolResult _RunTool(const std::string& arguments)
{
    std::string command = std::string(ORVANE_TOOL_PATH) + " " + arguments + " 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ToolResult result{-1, ""};
    if (!pipe)
        return result;
    char buffer[512];
    size_t got;
    while ((got = fread(buffer, 1, sizeof(buffer), pipe)) > 0)
        result.out.append(buffer, got);
    int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

}  // namespace

TEST(SettingsCommand, SetThenGetAcrossProcessesAndTheLibrary)
{
    TestHome home;
    ToolResult set = _RunTool("settings set Settings CrossFadeTime 12");
    EXPECT_EQ(set.exitCode, 0);
    EXPECT_EQ(set.out, "12\n");
    EXPECT_EQ(LUserSettingGetInt("Settings", "CrossFadeTime", 15), 12);

    LUserSettingSetString("MainWindow", "Title", "two words & more");
    ToolResult get = _RunTool("settings get MainWindow Title");
    EXPECT_EQ(get.exitCode, 0);
    EXPECT_EQ(get.out, "two words & more\n");
    EXPECT_EQ(_RunTool("settings get MainWindow/ Title").out, "two words & more\n");

    EXPECT_EQ(_RunTool("settings set S Empty ''").out, "\n");
    EXPECT_EQ(_RunTool("settings get S Empty").exitCode, 0);
}

TEST(SettingsCommand, MissingValuesAndBadUsage)
{
    TestHome home;
    ToolResult missing = _RunTool("settings get Settings Nothing");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(_RunTool("settings get Settings").exitCode, 2);
    EXPECT_EQ(_RunTool("settings set Settings Key").exitCode, 2);
    EXPECT_EQ(_RunTool("settings").exitCode, 2);
}
