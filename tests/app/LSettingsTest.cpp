#include "app/LSettings.h"
#include "base/LFile.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace {

std::string _Get(const char* section, const char* key, const char* def = "<none>")
{
    char value[kLTextBytes];
    _LUserSettingGetString(section, key, def, value);
    return value;
}

// Read before main, from a static initialiser: the store must not depend on anything set up.
const bool gReadBeforeMain = [] {
    char value[kLTextBytes];
    return !_LUserSettingGetString("Settings", "NeverSetAnywhere", "d", value) && std::string(value) == "d";
}();

}  // namespace

TEST(UserSettings, WriteThroughAndReadBackByJoinedKey)
{
    TestHome home;
    EXPECT_TRUE(gReadBeforeMain);
    EXPECT_EQ(_Get("Settings", "CrossFadeTime"), "<none>");
    ASSERT_TRUE(LUserSettingSetString("Settings", "CrossFadeTime", "12"));
    EXPECT_EQ(LSettingsPath(LSettingUser::kCurrentUser), home / ".config/Orvane/settings.xml");
    EXPECT_EQ(ReadWholeFile(home / ".config/Orvane/settings.xml"),
              "<OrvaneSettings>\n\t<setting key=\"Settings/CrossFadeTime\" value=\"12\"/>\n</OrvaneSettings>\n");
    // A section ending in "/" joins to the same key.
    EXPECT_EQ(_Get("Settings/", "CrossFadeTime"), "12");
    ASSERT_TRUE(LUserSettingSetString("Settings/", "CrossFadeTime", "9"));
    EXPECT_EQ(_Get("Settings", "CrossFadeTime"), "9");

    ASSERT_TRUE(LUserSettingSetString("MainWindow", "Title", "<A & \"B\">\ttab"));
    EXPECT_EQ(_Get("MainWindow", "Title"), "<A & \"B\">\ttab");
    ASSERT_TRUE(LUserSettingDeleteItem("MainWindow", "Title"));
    EXPECT_TRUE(LUserSettingDeleteItem("MainWindow", "Title"));  // nothing to delete is fine
    EXPECT_EQ(_Get("MainWindow", "Title"), "<none>");

    // XDG_CONFIG_HOME is read at each call.
    setenv("XDG_CONFIG_HOME", (home / "other").c_str(), 1);
    EXPECT_EQ(_Get("Settings", "CrossFadeTime"), "<none>");
}

TEST(UserSettings, ValuesAreCutAndDefaultsCoverEmptyOrMissingAlsoInSharedSettings)
{
    TestHome home;
    std::string longValue(300, 'x');
    ASSERT_TRUE(LUserSettingSetString("S", "Long", longValue.c_str()));
    char buffer[kLTextBytes] = "fallback";  // the default may share the buffer
    EXPECT_FALSE(_LUserSettingGetString("S", "Missing", buffer, buffer));
    EXPECT_STREQ(buffer, "fallback");
    EXPECT_TRUE(_LUserSettingGetString("S", "Long", buffer, buffer));
    EXPECT_EQ(std::string(buffer), longValue.substr(0, 259));

    for (auto [key, value] : {std::pair{"Empty", ""}, {"Text", "abc"}, {"Int", "-250"},
                              {"Off", "0n"}, {"On", "yes"}})
        LUserSettingSetString("S", key, value);
    for (auto [key, fallback, want] :
         {std::tuple{"Empty", 15, 15}, {"Missing", 15, 15}, {"Text", 15, 0}, {"Int", 100, -250}})
        EXPECT_EQ(LUserSettingGetInt("S", key, fallback), want) << key;
    for (auto [key, fallback, want] :
         {std::tuple{"Empty", true, true}, {"Missing", false, false}, {"Off", true, false}, {"On", false, true}})
        EXPECT_EQ(LUserSettingGetBool("S", key, fallback), want) << key;

    // Shared settings come from the shared data folder, with the same defaults.
    std::filesystem::create_directories(home / "shared/Orvane");
    WriteWholeFile(home / "shared/Orvane/SharedSettings.xml", "<Distributor>\n\t<URL value=\"https://example.org/dj\"/>\n\t<Empty/>\n</Distributor>\n");
    char value[kLTextBytes];
    EXPECT_TRUE(_LSharedSettingGetString("Distributor", "URL", "none", value));
    EXPECT_STREQ(value, "https://example.org/dj");
    EXPECT_FALSE(_LSharedSettingGetString("Distributor", "Empty", "none", value));
    EXPECT_STREQ(value, "none");
    EXPECT_FALSE(_LSharedSettingGetString("Other", "URL", "none", value));
}

TEST(UserSettings, AFileThatDoesNotParseIsCopiedAsideBeforeItIsReplaced)
{
    TestHome home;
    std::string path = home / ".config/Orvane/settings.xml";
    std::filesystem::create_directories(home / ".config/Orvane");
    const std::string broken =
        "<OrvaneSettings>\n\t<setting key=\"S/A\" value=\"1\"/>\n\t<junk><a><b/></a></junk>\n\t<setting key=\"S/B\" val";
    WriteWholeFile(path, broken);
    EXPECT_EQ(_Get("S", "A"), "1");  // what was read up to the damage still counts
    EXPECT_EQ(ReadWholeFile(path), broken);  // reading changes nothing

    ASSERT_TRUE(LUserSettingSetString("S", "C", "3"));
    EXPECT_EQ(ReadWholeFile(path + ".bad"), broken);
    EXPECT_EQ(ReadWholeFile(path), "<OrvaneSettings>\n\t<setting key=\"S/A\" value=\"1\"/>\n"
                                   "\t<setting key=\"S/C\" value=\"3\"/>\n</OrvaneSettings>\n");

    // Text that is not a settings file at all is kept too.
    WriteWholeFile(path, "not xml at all");
    ASSERT_TRUE(LUserSettingSetString("S", "D", "4"));
    EXPECT_EQ(ReadWholeFile(path + ".bad"), "not xml at all");
    EXPECT_EQ(_Get("S", "D"), "4");
    std::string left;  // no temporary file stays behind
    for (const auto& entry : std::filesystem::directory_iterator(home / ".config/Orvane"))
        left += entry.path().filename().string() + " ";
    EXPECT_EQ(left.size(), std::string("settings.xml settings.xml.bad settings.xml.lock ").size()) << left;
}

TEST(UserSettings, ConcurrentWritersLoseNoKey)
{
    TestHome home;
    constexpr int kKeysEach = 25;
    auto key = [](int t, int i) { return std::to_string(t) + "_" + std::to_string(i); };
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&key, t] {
            for (int i = 0; i < kKeysEach; ++i)
                LUserSettingSetInt("Race", key(t, i).c_str(), i);
        });
    for (auto& thread : threads)
        thread.join();
    int found = 0;
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < kKeysEach; ++i)
            found += LUserSettingGetInt("Race", key(t, i).c_str(), -1) == i;
    EXPECT_EQ(found, 4 * kKeysEach);
}

// Keys of many processes setting at once all land: each writer reads the file again under the
// lock and keeps what the others wrote.
TEST(UserSettings, ManyProcessesSettingAtOnceLoseNoKey)
{
    TestHome home;
    constexpr int kProcesses = 8;
    constexpr int kKeysEach = 20;
    auto key = [](int p, int i) { return "k" + std::to_string(p) + "_" + std::to_string(i); };
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t child = fork();
        if (child == 0) {
            int failed = 0;
            for (int i = 0; i < kKeysEach; ++i)
                failed += !LUserSettingSetInt("Race", key(p, i).c_str(), i);
            _exit(failed);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a set reported failure";
    }
    int found = 0;
    for (int p = 0; p < kProcesses; ++p)
        for (int i = 0; i < kKeysEach; ++i)
            found += LUserSettingGetInt("Race", key(p, i).c_str(), -1) == i;
    EXPECT_EQ(found, kProcesses * kKeysEach);
}

// A writer that cannot have the lock fails and changes nothing; it never writes without it.
TEST(UserSettings, ASetWithoutTheLockFailsAndChangesNothing)
{
    TestHome home;
    ASSERT_TRUE(LUserSettingSetString("S", "A", "1"));
    const std::string path = LSettingsPath(LSettingUser::kCurrentUser);
    const std::string before = ReadWholeFile(path);
    int holder = open((path + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(holder, 0);
    ASSERT_EQ(flock(holder, LOCK_EX), 0);  // another open file description: it conflicts
    EXPECT_FALSE(LUserSettingSetString("S", "B", "2"));
    EXPECT_EQ(ReadWholeFile(path), before);
    close(holder);
    EXPECT_TRUE(LUserSettingSetString("S", "B", "2"));
    EXPECT_EQ(_Get("S", "A"), "1");

    // The lock cannot even be made: the settings folder is a file.
    setenv("XDG_CONFIG_HOME", (home / "plain").c_str(), 1);
    WriteWholeFile(home / "plain", "");
    EXPECT_FALSE(LUserSettingSetString("S", "C", "3"));
}

TEST(UserSettings, JoinedKeysUpTo519CharactersStayDistinctAndTemporariesOfDeadWritersGo)
{
    TestHome home;
    const std::string section = std::string(95, 's') + "&<\"'>";  // escaped in the file
    const std::string stem(417, 'k');  // section + "/" + stem + one more = 519
    ASSERT_TRUE(LUserSettingSetString(section.c_str(), (stem + "a").c_str(), "a"));
    ASSERT_TRUE(LUserSettingSetString(section.c_str(), (stem + "b").c_str(), "b"));
    EXPECT_EQ(_Get(section.c_str(), (stem + "a").c_str()), "a");
    EXPECT_EQ(_Get(section.c_str(), (stem + "b").c_str()), "b");
    // Beyond 519 the joined key is cut, as the store's keys are.
    ASSERT_TRUE(LUserSettingSetString(section.c_str(), (stem + "bc").c_str(), "c"));
    EXPECT_EQ(_Get(section.c_str(), (stem + "b").c_str()), "c");

    pid_t gone = fork();
    if (gone == 0)
        _exit(0);
    waitpid(gone, nullptr, 0);
    const std::string stale = home / (".config/Orvane/.settings.xml." + std::to_string(gone) + "-0.tmp");
    WriteWholeFile(stale, "<OrvaneSettings>\n\t<setting key=\"half");
    ASSERT_TRUE(LUserSettingSetString("S", "After", "1"));
    EXPECT_FALSE(std::filesystem::exists(stale));
}

namespace {

mode_t ModeOf(const std::string& path)
{
    struct stat st {};
    EXPECT_EQ(stat(path.c_str(), &st), 0) << path;
    return st.st_mode & 07777;
}

}  // namespace

// The program runs with umask 0: every folder and file it makes for the user has a mode of
// its own choosing, and none is writable by others.
TEST(UserSettings, FoldersAndFilesMadeInAFreshHomeHaveSafeModes)
{
    TestHome home;
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("XDG_DATA_HOME");
    const mode_t old = umask(0);
    ASSERT_TRUE(LUserSettingSetString("S", "A", "1"));
    char logs[LFile::kPathBytes];
    ASSERT_TRUE(LFile::GetUserDataFolderAppSubFolder(LFile::kLogsFolder, logs));
    WriteWholeFile(home / "source", "x");
    ASSERT_TRUE(LFile::CopyFile((home / "source").c_str(), (home / "copy").c_str()));
    umask(old);

    const std::pair<const char*, mode_t> expected[] = {
        {".config", 0700}, {".config/Orvane", 0700}, {".config/Orvane/settings.xml", 0600},
        {".config/Orvane/settings.xml.lock", 0600}, {".local", 0700}, {".local/share", 0700},
        {".local/share/Orvane", 0755}, {".local/share/Orvane/Logs", 0755}, {"copy", 0644}};
    for (const auto& [below, mode] : expected)
        EXPECT_EQ(ModeOf(home / below), mode) << below;
}
