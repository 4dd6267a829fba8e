#include "base/LFile.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace {

std::string Folder(bool (*get)(char*))
{
    char dest[LFile::kPathBytes];
    get(dest);
    return dest;
}

}  // namespace

TEST(LFileFolders, UserDataFolderFollowsXdgDataHomeAtEachCall)
{
    TestHome home;
    EXPECT_EQ(Folder(LFile::GetUserDataFolder), home / ".local/share");

    char app[LFile::kPathBytes];
    ASSERT_TRUE(LFile::GetUserDataFolderApp(app));
    EXPECT_EQ(std::string(app), home / ".local/share/Orvane");
    EXPECT_TRUE(std::filesystem::is_directory(app));

    for (const char* name : {LFile::kLogsFolder, LFile::kTempFolder}) {
        char sub[LFile::kPathBytes];
        ASSERT_TRUE(LFile::GetUserDataFolderAppSubFolder(name, sub));
        EXPECT_EQ(std::string(sub), home / ".local/share/Orvane/" + name);
        EXPECT_TRUE(std::filesystem::is_directory(sub));
    }

    setenv("XDG_DATA_HOME", (home / "elsewhere/").c_str(), 1);
    EXPECT_EQ(Folder(LFile::GetUserDataFolder), home / "elsewhere");
    // Relative values are not valid XDG paths and are ignored.
    setenv("XDG_DATA_HOME", "relative/data", 1);
    EXPECT_EQ(Folder(LFile::GetUserDataFolder), home / ".local/share");
    unsetenv("XDG_DATA_HOME");
    setenv("HOME", (home / "other").c_str(), 1);
    EXPECT_EQ(Folder(LFile::GetUserDataFolder), home / "other/.local/share");

    // A home too long for a path buffer is cut and says so; no folder is made from the cut
    // text, and none is returned.
    setenv("HOME", ("/" + std::string(400, 'h')).c_str(), 1);
    EXPECT_EQ(Folder(LFile::GetUserDataFolder), "/" + std::string(257, 'h') + "/");
    char cut[LFile::kPathBytes];
    EXPECT_FALSE(LFile::GetUserDataFolder(cut));
    EXPECT_FALSE(LFile::GetUserDataFolderApp(app));
    EXPECT_STREQ(app, "");
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_FALSE(LFile::GetUserConfigFolderApp(app));
    EXPECT_STREQ(app, "");
    // A home that fits, under which the program's folder would not.
    std::string nearlyFull = home / std::string(250 - home.Path().size(), 'h');
    setenv("HOME", nearlyFull.c_str(), 1);
    EXPECT_FALSE(LFile::GetUserDataFolderAppSubFolder(LFile::kLogsFolder, app));
    EXPECT_FALSE(std::filesystem::exists(nearlyFull));
}

TEST(LFileFolders, SharedFolderIsTheFirstAbsoluteDataDirAndTheProgramsOwnFolders)
{
    TestHome home;
    setenv("XDG_DATA_DIRS", ("relative:" + (home / "sys/") + ":/usr/share").c_str(), 1);
    EXPECT_EQ(Folder(LFile::GetSharedDataFolder), home / "sys");
    EXPECT_EQ(Folder(LFile::GetSharedDataFolderApp), home / "sys/Orvane");
    EXPECT_FALSE(std::filesystem::exists(home / "sys"));
    setenv("XDG_DATA_DIRS", "", 1);
    EXPECT_EQ(Folder(LFile::GetSharedDataFolder), "/usr/local/share");

    // Configuration folders follow the same rules, with their own variables.
    setenv("XDG_CONFIG_DIRS", ("relative:" + (home / "etc/")).c_str(), 1);
    EXPECT_EQ(Folder(LFile::GetSharedConfigFolderApp), home / "etc/Orvane");
    unsetenv("XDG_CONFIG_DIRS");
    EXPECT_EQ(Folder(LFile::GetSharedConfigFolderApp), "/etc/xdg/Orvane");
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(Folder(LFile::GetUserConfigFolder), home / ".config");
    EXPECT_EQ(Folder(LFile::GetUserConfigFolderApp), home / ".config/Orvane");
    EXPECT_TRUE(std::filesystem::is_directory(home / ".config/Orvane"));

    // The applications folder holds the running program.
    std::string folder = Folder(LFile::GetApplicationsFolder);
    EXPECT_TRUE(std::filesystem::exists(folder + "/base_tests"));
    EXPECT_EQ(Folder(LFile::GetHelpFolder), folder + "/help/");
}

TEST(LFileFolders, MusicAndDownloadsComeFromXdgUserDirWhenItAnswersSomethingUseful)
{
    TestHome home;
    // A stand-in xdg-user-dir first on PATH; each script decides what the desktop says.
    const std::string oldPath = getenv("PATH");
    std::filesystem::create_directories(home / "bin");
    setenv("PATH", (home / "bin:" + oldPath).c_str(), 1);
    auto answer = [&home](const std::string& script) {
        WriteWholeFile(home / "bin/xdg-user-dir", "#!/bin/sh\n" + script);
        chmod((home / "bin/xdg-user-dir").c_str(), 0755);
    };
    answer("case \"$1\" in MUSIC) echo \"$HOME/Tunes\" ;;\nDOWNLOAD) echo \"$HOME\" ;; esac\n");
    EXPECT_EQ(Folder(LFile::GetUserMusicFolder), home / "Tunes");
    EXPECT_EQ(Folder(LFile::GetUserDownloadFolder), home / "Downloads");
    for (const char* script : {"echo relative/Music\n", "exit 1\n"}) {
        answer(script);
        EXPECT_EQ(Folder(LFile::GetUserMusicFolder), home / "Music") << script;
    }
    setenv("PATH", oldPath.c_str(), 1);
}
