#include "app/LSettings.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
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
