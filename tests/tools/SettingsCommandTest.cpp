#include "app/LSettings.h"

#include "ToolRun.h"

#include <gtest/gtest.h>

TEST(SettingsCommand, SetThenGetAcrossProcessesMissingValuesAndBadUsage)
{
    TestHome home;
    ToolRun set = RunTool(home, "settings set Settings CrossFadeTime 12");
    EXPECT_EQ(set.exitCode, 0);
    EXPECT_EQ(set.out, "12\n");
    EXPECT_EQ(LUserSettingGetInt("Settings", "CrossFadeTime", 15), 12);

    LUserSettingSetString("MainWindow", "Title", "two words & more");
    ToolRun get = RunTool(home, "settings get MainWindow Title");
    EXPECT_EQ(get.exitCode, 0);
    EXPECT_EQ(get.out, "two words & more\n");
    EXPECT_EQ(RunTool(home, "settings set S Empty ''").out, "\n");
    EXPECT_EQ(RunTool(home, "settings get S Empty").exitCode, 0);

    ToolRun missing = RunTool(home, "settings get Settings Nothing");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.out, "");
    for (const char* usage : {"settings get Settings", "settings set Settings Key", "settings"})
        EXPECT_EQ(RunTool(home, usage).exitCode, 2) << usage;
}
