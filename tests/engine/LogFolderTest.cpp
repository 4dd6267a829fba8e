#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

// The program makes its crash report folder in the user data folder while it starts, so a crash
// report never depends on folders that may be missing.
TEST(ProgramStartup, MakesTheLogsFolderInTheUserDataFolder)
{
    TestHome home;
    setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
    std::string command = std::string(ORVANE_PROGRAM_PATH) + " --version >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(home / "data/Orvane/Logs"));
}
