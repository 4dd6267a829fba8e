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

// Eight tool processes setting keys at the same moment: every one that says it stored its key
// has stored it, and a store that cannot be written is a failure (exit 1), never a success.
TEST(SettingsCommand, ConcurrentSetsAllLandAndAFailedWriteExitsOne)
{
    TestHome home;
    constexpr int kProcesses = 8;
    constexpr int kKeysEach = 5;
    std::string script;
    for (int p = 0; p < kProcesses; ++p) {
        script += "( for i in $(seq " + std::to_string(kKeysEach) + "); do " ORVANE_TOOL_PATH " settings set Race k" +
                  std::to_string(p) + "_$i $i >/dev/null || echo failed; done ) & ";
    }
    ToolRun all = RunTool(home, "--version >/dev/null; { " + script + "wait; }");
    EXPECT_EQ(all.out.find("failed"), std::string::npos) << all.out << all.err;
    int found = 0;
    for (int p = 0; p < kProcesses; ++p)
        for (int i = 1; i <= kKeysEach; ++i)
            found += LUserSettingGetInt("Race", ("k" + std::to_string(p) + "_" + std::to_string(i)).c_str(), -1) == i;
    EXPECT_EQ(found, kProcesses * kKeysEach);

    WriteWholeFile(home / "plain", "");
    setenv("XDG_CONFIG_HOME", (home / "plain").c_str(), 1);  // the settings folder is a file
    ToolRun failed = RunTool(home, "settings set S K V");
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_NE(failed.err.find("cannot write"), std::string::npos) << failed.err;
}
