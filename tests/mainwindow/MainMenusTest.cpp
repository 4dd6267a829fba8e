#include "mainwindow/MainMenus.h"

#include "OrvaneVersion.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

struct Expected {
    int id;
    const char* text;
};

// Every command the menu bar offers, with its text.
const Expected kMenuCommands[] = {
    {240, "Add Music Files"}, {241, "Add Music Folder"}, {364, "Load Audio CD"}, {242, "Add Playlist"},
    {246, "Add File to Deck A"}, {247, "Add File to Deck B"}, {243, "Remove File"},
    {244, "Clear All Files"}, {245, "Export Playlist"}, {361, "Open Recording Folder"},
    {277, "Edit with Sonivex"}, {280, "Preferences"}, {kCmQuit, "Quit"},
    {347, "Increase Volume"}, {348, "Decrease Volume"}, {338, "Crossfade Left"},
    {339, "Crossfade Right"}, {340, "Crossfade Left Auto"}, {341, "Crossfade Right Auto"},
    {342, "Crossfade Left Full"}, {343, "Crossfade Right Full"}, {344, "Crossfade Center"},
    {kCmWindowMinimize, "Minimize"}, {kCmWindowMaximize, "Maximize"},
    {kCmWindowBringToFront, "Bring to Front"}, {kCmAbout, "About Orvane"},
};

// Deck A's id of each per-deck command; deck B's is the next.
const Expected kDeckCommands[] = {
    {281, "Play/Pause"}, {283, "Cue Play"}, {285, "Cue Pause"}, {287, "Set Cue Mark"},
    {289, "Loop On/Off"}, {291, "Sync On/Off"}, {293, "Headphones On/Off"}, {295, "Kill Bass"},
    {297, "Kill Mid"}, {299, "Kill High"}, {301, "Fx 1 On/Off"}, {303, "Fx 2 On/Off"},
    {305, "Fx 3 On/Off"}, {307, "Fx 4 On/Off"}, {309, "Fx 5 On/Off"}, {311, "Fx 6 On/Off"},
    {313, "Jump to Start"}, {315, "Edit BPM"}, {317, "Reset Deck"},
    {319, "Snap Cue Mark to Beat On/Off"}, {345, "Increase Volume"}, {349, "Decrease Volume"},
};

std::vector<MainMenuEntry> Menu()
{
    int count = 0;
    const MainMenuEntry* entries = MainMenuDescription(&count);
    return {entries, entries + count};
}

// Each menu's entries, by its path ("&Controls/Deck A"), in order.
std::map<std::string, std::vector<MainMenuEntry>> MenusByPath()
{
    std::map<std::string, std::vector<MainMenuEntry>> menus;
    std::vector<std::string> path;
    for (const MainMenuEntry& entry : Menu()) {
        if (entry.id == kMenuOpen) {
            const std::string parent = path.empty() ? "" : path.back();
            if (!parent.empty())
                menus[parent].push_back(entry);
            path.push_back(parent.empty() ? entry.text : parent + "/" + entry.text);
            menus[path.back()];
        } else if (entry.id == kMenuClose) {
            path.pop_back();
        } else {
            menus[path.back()].push_back(entry);
        }
    }
    return menus;
}

std::string Texts(const std::vector<MainMenuEntry>& entries)
{
    std::string all;
    for (const MainMenuEntry& entry : entries)
        all += (entry.id == kMenuSeparator ? std::string("-") : std::string(entry.text)) + "|";
    return all;
}

}  // namespace

TEST(MainMenusTest, MenusNestProperlyAndHoldNoEmptyOrDoubledSeparatorRuns)
{
    int depth = 0;
    for (const MainMenuEntry& entry : Menu()) {
        if (entry.id == kMenuOpen) {
            ASSERT_NE(entry.text, nullptr);
            ++depth;
        } else if (entry.id == kMenuClose) {
            --depth;
            ASSERT_GE(depth, 0);
        } else {
            ASSERT_GT(depth, 0) << "an entry outside every menu";
            EXPECT_EQ(entry.id == kMenuSeparator, entry.text == nullptr);
        }
    }
    EXPECT_EQ(depth, 0);
    for (const auto& [path, entries] : MenusByPath()) {
        ASSERT_FALSE(entries.empty()) << path;
        EXPECT_NE(entries.front().id, kMenuSeparator) << path;
        EXPECT_NE(entries.back().id, kMenuSeparator) << path;
        for (size_t i = 1; i < entries.size(); ++i)
            EXPECT_FALSE(entries[i].id == kMenuSeparator && entries[i - 1].id == kMenuSeparator) << path;
    }
}

TEST(MainMenusTest, EveryOfferedCommandAppearsOnceWithItsText)
{
    std::map<int, std::vector<std::string>> found;
    for (const MainMenuEntry& entry : Menu())
        if (entry.id > 0)
            found[entry.id].push_back(entry.text);
    std::map<int, std::string> expected;
    for (const Expected& e : kMenuCommands)
        expected[e.id] = e.text;
    for (const Expected& e : kDeckCommands) {
        expected[e.id] = e.text;
        expected[e.id + 1] = e.text;
    }
    for (const auto& [id, text] : expected) {
        ASSERT_EQ(found[id].size(), 1u) << id;
        EXPECT_EQ(found[id][0], text) << id;
    }
    EXPECT_EQ(found.size(), expected.size()) << "a command in the menu that no table lists";
    // The sibling programs, the maker's pages and its help links are not offered.
    for (int id : {276, 278, 279, 328, 9021, 9039})
        EXPECT_EQ(found.count(id), 0u) << id;
}

TEST(MainMenusTest, MenusHoldTheirItemsInOrder)
{
    const auto menus = MenusByPath();
    EXPECT_EQ(Texts(menus.at("&File")),
              "Add Music Files|Add Music Folder|Load Audio CD|Add Playlist|-|Add File to Deck A|"
              "Add File to Deck B|-|Remove File|Clear All Files|Export Playlist|Open Recording Folder|"
              "-|Edit with Sonivex|-|Preferences|-|Quit|");
    EXPECT_EQ(Texts(menus.at("&Controls")),
              "Deck A|Deck B|-|Increase Volume|Decrease Volume|-|Crossfade Left|Crossfade Right|"
              "Crossfade Left Auto|Crossfade Right Auto|Crossfade Left Full|Crossfade Right Full|"
              "Crossfade Center|");
    const std::string deck =
        "Play/Pause|Jump to Start|Edit BPM|-|Cue Play|Cue Pause|Set Cue Mark|"
        "Snap Cue Mark to Beat On/Off|-|Loop On/Off|Sync On/Off|Headphones On/Off|-|Increase Volume|"
        "Decrease Volume|-|Kill Bass|Kill Mid|Kill High|-|Fx 1 On/Off|Fx 2 On/Off|Fx 3 On/Off|"
        "Fx 4 On/Off|Fx 5 On/Off|Fx 6 On/Off|-|Reset Deck|";
    EXPECT_EQ(Texts(menus.at("&Controls/Deck A")), deck);
    EXPECT_EQ(Texts(menus.at("&Controls/Deck B")), deck);
    // Deck B's submenu is deck A's with each id one higher.
    const auto& a = menus.at("&Controls/Deck A");
    const auto& b = menus.at("&Controls/Deck B");
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i].id != kMenuSeparator) {
            EXPECT_EQ(b[i].id, a[i].id + 1) << a[i].text;
        }
    }
    std::vector<std::string> tops;
    for (const auto& [path, entries] : menus)
        if (path.find('/') == std::string::npos)
            tops.push_back(path);
    EXPECT_EQ(tops, (std::vector<std::string>{"&Controls", "&File", "&Help", "&Window"}));
}

TEST(MainMenusTest, EnableRules)
{
    const MainMenuState empty;
    MainMenuState oneSelected;
    oneSelected.rowCount = 5;
    oneSelected.selectedCount = 1;
    MainMenuState twoSelected = oneSelected;
    twoSelected.selectedCount = 2;
    MainMenuState rowsOnly = oneSelected;
    rowsOnly.selectedCount = 0;
    MainMenuState deckA;
    deckA.deckLoaded[0] = true;
    MainMenuState deckB;
    deckB.deckLoaded[1] = true;
    const struct {
        int id;
        const MainMenuState& state;
        bool enabled;
    } rows[] = {
        {246, oneSelected, true},  {247, oneSelected, true},  {246, twoSelected, false},
        {247, rowsOnly, false},    {277, oneSelected, true},  {277, twoSelected, false},
        {327, oneSelected, true},  {327, empty, false},       {243, twoSelected, true},
        {243, oneSelected, true},  {243, rowsOnly, false},    {244, rowsOnly, true},
        {244, empty, false},       {245, rowsOnly, true},     {245, empty, false},
        {281, deckA, true},        {282, deckA, false},       {282, deckB, true},
        {281, deckB, false},       {319, deckA, true},        {320, deckA, false},
        {345, deckA, true},        {346, deckA, false},       {349, deckA, true},
        {350, deckB, true},        {350, deckA, false},       {301, empty, false},
        {312, deckB, true},        {240, empty, true},        {241, empty, true},
        {242, empty, true},        {364, empty, true},        {361, empty, true},
        {280, empty, true},        {338, empty, true},        {344, empty, true},
        {347, empty, true},        {348, empty, true},        {kCmQuit, empty, true},
        {kCmAbout, empty, true},   {kCmWindowMinimize, empty, true},
        {276, oneSelected, false}, {278, empty, false},       {328, empty, false},
        {9021, empty, false},      {0, empty, false},         {-1, empty, false},
        {321, deckA, false},       {100000, empty, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MainMenuCommandEnabled(row.id, row.state), row.enabled) << row.id;
}

TEST(MainMenusTest, ContextMenuVariants)
{
    const struct {
        int rows, selected;
        const char* menu;  // id:text of each item, "-" a separator
    } cases[] = {
        {0, 0, "240:Add Music Files|241:Add Music Folder|242:Add Playlist|"},
        {3, 0, "240:Add Music Files|241:Add Music Folder|242:Add Playlist|244:Clear All Files|"},
        {3, 1,
         "240:Add Music Files|241:Add Music Folder|242:Add Playlist|246:Add to deck A|"
         "247:Add to deck B|327:Edit BPM|-|277:Edit with Sonivex|244:Clear All Files|"
         "243:Remove File(s)|"},
        {3, 2,
         "240:Add Music Files|241:Add Music Folder|242:Add Playlist|244:Clear All Files|"
         "243:Remove File(s)|"},
    };
    for (const auto& c : cases) {
        MainMenuState state;
        state.rowCount = c.rows;
        state.selectedCount = c.selected;
        std::string shown;
        const LPopupMenu menu = MainContextMenu(state);
        for (const LPopupMenu::Item& item : menu.GetItems()) {
            EXPECT_TRUE(item.enabled);
            shown += item.id == 0 ? std::string("-|") : std::to_string(item.id) + ":" + item.text + "|";
        }
        EXPECT_EQ(shown, c.menu) << c.rows << " rows, " << c.selected << " selected";
    }
}

TEST(MainMenusTest, DeckCommandsDecodeToTheirDeckAndAction)
{
    const struct {
        int id;
        MainDeckAction action;
        int deck, effect;
    } cases[] = {
        {281, MainDeckAction::kPlayPause, 0, 0},   {282, MainDeckAction::kPlayPause, 1, 0},
        {284, MainDeckAction::kCuePlay, 1, 0},     {285, MainDeckAction::kCuePause, 0, 0},
        {288, MainDeckAction::kSetCueMark, 1, 0},  {289, MainDeckAction::kLoop, 0, 0},
        {292, MainDeckAction::kSync, 1, 0},        {293, MainDeckAction::kHeadphones, 0, 0},
        {296, MainDeckAction::kKillBass, 1, 0},    {297, MainDeckAction::kKillMid, 0, 0},
        {300, MainDeckAction::kKillHigh, 1, 0},    {301, MainDeckAction::kEffect, 0, 0},
        {304, MainDeckAction::kEffect, 1, 1},      {306, MainDeckAction::kEffect, 1, 2},
        {307, MainDeckAction::kEffect, 0, 3},      {310, MainDeckAction::kEffect, 1, 4},
        {311, MainDeckAction::kEffect, 0, 5},      {314, MainDeckAction::kJumpToStart, 1, 0},
        {315, MainDeckAction::kEditBPM, 0, 0},     {318, MainDeckAction::kReset, 1, 0},
        {319, MainDeckAction::kSnapCue, 0, 0},     {320, MainDeckAction::kSnapCue, 1, 0},
        {345, MainDeckAction::kVolumeUp, 0, 0},    {346, MainDeckAction::kVolumeUp, 1, 0},
        {349, MainDeckAction::kVolumeDown, 0, 0},  {350, MainDeckAction::kVolumeDown, 1, 0},
    };
    for (const auto& c : cases) {
        MainDeckCommand command;
        ASSERT_TRUE(MainDecodeDeckCommand(c.id, &command)) << c.id;
        EXPECT_EQ(command.action, c.action) << c.id;
        EXPECT_EQ(command.deck, c.deck) << c.id;
        if (c.action == MainDeckAction::kEffect) {
            EXPECT_EQ(command.effect, c.effect) << c.id;
        }
    }
    for (int id : {0, 239, 280, 321, 327, 338, 347, 348, 351, -282}) {
        MainDeckCommand untouched;
        untouched.deck = 7;
        EXPECT_FALSE(MainDecodeDeckCommand(id, &untouched)) << id;
        EXPECT_EQ(untouched.deck, 7);
    }
    EXPECT_STREQ(MainEffectName(1), "High Pass Filter");
    EXPECT_STREQ(MainEffectName(5), "Delay");
    EXPECT_STREQ(MainEffectName(6), "");
    EXPECT_STREQ(MainEffectName(-1), "");
}

TEST(MainMenusTest, LevelsAndCrossfadePositionsStayInRange)
{
    EXPECT_EQ(MainStepLevel(0, 1), 1);
    EXPECT_EQ(MainStepLevel(127, 1), 127);
    EXPECT_EQ(MainStepLevel(-127, -1), -127);
    EXPECT_EQ(MainStepLevel(126, 1), 127);
    EXPECT_EQ(MainStepLevel(-12, -1), -13);
    const struct {
        int id, current, position;
    } cases[] = {
        {338, 50, 47}, {339, 50, 53}, {338, 2, 0},    {339, 99, 100}, {338, 0, 0},
        {342, 70, 0},  {343, 7, 100}, {344, 0, 50},   {344, 100, 50}, {340, 50, -1},
        {341, 50, -1}, {347, 50, -1}, {281, 50, -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MainCrossfadePosition(c.id, c.current), c.position) << c.id << " from " << c.current;
}

TEST(MainMenusTest, ShellQuotingSurvivesTheShell)
{
    TempFolder folder;
    for (const std::string text : {"plain", "it's", "a b  c", "$(touch pwned)", "`x`", "line\nbreak",
                                   "'", "''\\'", "", "-n", "*"}) {
        const std::string out = folder / "out";
        const std::string command = "printf '%s' " + MainShellQuote(text) + " > " + MainShellQuote(out);
        ASSERT_EQ(std::system(command.c_str()), 0) << text;
        EXPECT_EQ(ReadWholeFile(out), text);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "pwned"));
}

TEST(MainMenusTest, AudioCDsAreTheMountedCddaFolders)
{
    namespace fs = std::filesystem;
    TempFolder folder;
    const std::string root = folder / "gvfs";
    const std::string other = folder / "other";
    fs::create_directories(root);
    fs::create_directories(other);
    EXPECT_TRUE(MainFindAudioCDs({root, other, folder / "missing"}).empty());

    fs::create_directories(root + "/cdda:host=sr1");
    fs::create_directories(root + "/smb-share:server=x");
    WriteWholeFile(root + "/cdda:host=file", "not a folder");
    EXPECT_EQ(MainFindAudioCDs({root}), std::vector<std::string>{root + "/cdda:host=sr1"});

    fs::create_directories(other + "/cdda:host=sr0");
    // The same folder reached through a second root counts once.
    fs::create_directory_symlink(root, folder / "alias");
    EXPECT_EQ(MainFindAudioCDs({root, other, folder / "alias"}),
              (std::vector<std::string>{other + "/cdda:host=sr0", root + "/cdda:host=sr1"}));
}

TEST(MainMenusTest, AboutTextNamesTheProgramAndItsVersion)
{
    const std::string about = MainAboutText();
    EXPECT_NE(about.find(ORVANE_PRODUCT), std::string::npos);
    EXPECT_NE(about.find(ORVANE_VERSION), std::string::npos);
}
