#include "engine/AppEntry.h"
#include "engine/CmdCounts.h"
#include "engine/LDebug.h"
#include "engine/LInstaller.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> _Copy(std::vector<std::string> args)
{
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    CopyArguments(static_cast<int>(args.size()), argv.data());
    std::vector<std::string> kept;
    for (int i = 0; i < gargc; ++i)
        kept.push_back(gargv[i]);
    EXPECT_EQ(gargv[gargc], nullptr);
    FreeArguments();
    return kept;
}

std::string _RunProgram(const std::string& arguments, int* status)
{
    TempFolder folder;
    *status = std::system((std::string(ORVANE_PROGRAM_PATH) + " " + arguments + " >" + folder / "out" + " 2>&1").c_str());
    return ReadWholeFile(folder / "out");
}

}  // namespace

TEST(ArgumentCopy, DropsOnlyAProcessSerialNumberInFirstPlace)
{
    using V = std::vector<std::string>;
    EXPECT_EQ(_Copy({"orvane", "-psn_0_1234", "a", "b"}), (V{"orvane", "a", "b"}));
    EXPECT_EQ(_Copy({"orvane", "a", "-psn_0_1234"}), (V{"orvane", "a", "-psn_0_1234"}));
    EXPECT_EQ(_Copy({"orvane", "-ps"}), (V{"orvane", "-ps"}));
}

TEST(CmdCounts, FileRoundTripAndLimits)
{
    TempFolder folder;
    std::string path = folder / "OrvaneCounts.txt";
    CmdCountsReset();
    EXPECT_FALSE(CmdCountsRead(path.c_str()));  // missing file leaves the table alone
    EXPECT_EQ(CmdCounts.size, 64);

    CmdCountsIncrement(300);
    CmdCountsIncrement(300);
    CmdCountsIncrement(17);
    ASSERT_TRUE(CmdCountsWrite(path.c_str()));
    EXPECT_EQ(std::filesystem::file_size(path), 4u + 64u * 8u);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0644));
    // A link planted at the shared path is refused, and what it points at stays as it was.
    const std::string victim = folder / "victim", link = folder / "planted.txt";
    WriteWholeFile(victim, "mine");
    std::filesystem::create_symlink(victim, link);
    EXPECT_FALSE(CmdCountsWrite(link.c_str()));
    EXPECT_FALSE(CmdCountsRead(link.c_str()));
    EXPECT_EQ(std::filesystem::file_size(victim), 4u);
    CmdCountsReset();
    ASSERT_TRUE(CmdCountsRead(path.c_str()));
    EXPECT_EQ(CmdCounts.entries[0].id, 300u);
    EXPECT_EQ(CmdCounts.entries[0].count, 2u);
    EXPECT_EQ(CmdCounts.entries[1].id, 17u);

    // A count above 256 gives a table of 256 entries, each read from the file; a count
    // between 64 and 256 sizes the table to it, and a truncated file fills what it holds.
    for (uint32_t count : {300u, 100u}) {
        std::string bytes(reinterpret_cast<const char*>(&count), 4);
        for (uint32_t i = 0; i < count && i < 150; ++i) {
            LCmdCount entry{i + 1, i * 2};
            bytes.append(reinterpret_cast<const char*>(&entry), sizeof(entry));
        }
        WriteWholeFile(path, bytes);
        CmdCountsReset();
        ASSERT_TRUE(CmdCountsRead(path.c_str()));
        EXPECT_EQ(CmdCounts.size, static_cast<int>(std::min(count, 256u)));
        EXPECT_EQ(CmdCounts.entries[99].id, 100u);
        EXPECT_EQ(CmdCounts.entries[99].count, 198u);
        if (count == 300) {  // the file holds 150 entries
            EXPECT_EQ(CmdCounts.entries[149].id, 150u);
            EXPECT_EQ(CmdCounts.entries[150].id, 0u);
        }
    }
    // A full table ignores new commands but still counts known ones.
    CmdCountsReset();
    for (uint32_t id = 1; id <= 300; ++id)
        CmdCountsIncrement(id);
    CmdCountsIncrement(5);
    EXPECT_EQ(CmdCounts.size, 256);
    EXPECT_EQ(CmdCounts.entries[255].id, 256u);
    EXPECT_EQ(CmdCounts.entries[4].count, 2u);
    CmdCountsReset();
}

TEST(DebugSignalHandler, WritesACrashReportAndEndsBySameSignal)
{
    TempFolder folder;
    std::string logs = folder / "Logs";
    EXPECT_EXIT(
        {
            LDebugSetLogFolder(logs.c_str());
            LDebugInstallSignalHandlers();
            gwDebugCurrentCommand = 4711;
            raise(SIGFPE);
        },
        testing::KilledBySignal(SIGFPE), "");
    std::filesystem::directory_iterator report(logs);
    ASSERT_NE(report, std::filesystem::directory_iterator());
    std::string text = ReadWholeFile(report->path());
    EXPECT_NE(text.find("abnormal signal 8 (FPE), command 4711"), std::string::npos) << text;
    EXPECT_EQ(++report, std::filesystem::directory_iterator()) << "one report only";
}

// The program makes its crash report folder while it starts, so a crash report never depends on
// folders that may be missing.
TEST(ProgramEntry, VersionHelpUnknownArgumentsTheLogsFolderAndTheInstaller)
{
    TestHome home;
    setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
    int status = 0;
    EXPECT_NE(_RunProgram("--version", &status).find("Orvane DJ Software "), std::string::npos);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(std::filesystem::is_directory(home / "data/Orvane/Logs"));
    EXPECT_NE(_RunProgram("-psn_0_99 --help", &status).find("Usage: orvane"), std::string::npos);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    _RunProgram("--frobnicate", &status);
    EXPECT_EQ(WEXITSTATUS(status), 2);

    // The installer copies into the user's data folder.
    TempFolder from;
    TempFolder to;
    std::filesystem::create_directories(from / "Components/x");
    WriteWholeFile(from / "Components/x/tool", "#!/bin/sh\n");
    WriteWholeFile(from / "readme.txt", "hello");
    EXPECT_EQ(LInstaller::Finalize(from.Path().c_str(), (to / "Orvane").c_str()), 0);
    EXPECT_EQ(ReadWholeFile(to / "Orvane/readme.txt"), "hello");
    EXPECT_TRUE(std::filesystem::exists(to / "Orvane/Components/x/tool"));
    // Others may read and enter what is installed, never change it.
    using std::filesystem::perms;
    for (const char* below : {"Orvane", "Orvane/readme.txt", "Orvane/Components/x"}) {
        auto mode = std::filesystem::status(to / below).permissions();
        EXPECT_EQ(mode & (perms::group_write | perms::others_write), perms::none) << below;
        EXPECT_NE(mode & perms::others_read, perms::none) << below;
    }
    EXPECT_NE(std::filesystem::status(to / "Orvane/Components/x").permissions() & perms::others_exec, perms::none);
}

// main runs with umask 0, and the logs folder is made before main: started with umask 0 in a
// fresh home, what the program makes is still not writable by others.
TEST(ProgramEntry, FoldersMadeInAFreshHomeUnderUmask0AreNotWritableByOthers)
{
    TestHome home;
    unsetenv("XDG_DATA_HOME");
    ASSERT_EQ(std::system(("umask 0; " + std::string(ORVANE_PROGRAM_PATH) + " --version >/dev/null").c_str()), 0);
    const std::pair<const char*, unsigned> expected[] = {
        {".local", 0700}, {".local/share", 0700}, {".local/share/Orvane", 0755}, {".local/share/Orvane/Logs", 0755}};
    for (const auto& [below, mode] : expected) {
        struct stat st {};
        ASSERT_EQ(stat((home / below).c_str(), &st), 0) << below;
        EXPECT_EQ(st.st_mode & 07777, mode) << below;
    }
}

namespace {

// A German locale built into a private folder: this machine may have none installed.
bool _BuildCommaLocale(const std::string& folder)
{
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder + "/de_DE.UTF-8' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

}  // namespace

TEST(ProgramEntry, TheUsersLanguageLeavesNumbersWithTheirPoint)
{
    TestHome home;
    const std::string folder = home / "locales";
    std::filesystem::create_directories(folder);
    if (!_BuildCommaLocale(folder)) {
        GTEST_SKIP() << "localedef cannot build de_DE here";
    }
    setenv("LOCPATH", folder.c_str(), 1);
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    LInitLocale();
    EXPECT_NE(std::string(LGetLocale()).find("de_DE"), std::string::npos) << LGetLocale();
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", 128.5);
    EXPECT_STREQ(text, "128.50");
    EXPECT_DOUBLE_EQ(std::strtod("1.25", nullptr), 1.25);
    unsetenv("LC_ALL");
    unsetenv("LOCPATH");
    std::setlocale(LC_ALL, "C");
}
