#include "mainwindow/MainDialog.h"

#include "app/LSettings.h"
#include "base/LFile.h"
#include "engine/CmdCounts.h"
#include "engine/ConsoleTestSupport.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// Records what the library file looked like when the console reported each stop.
class ObservedDialog : public MainDialog {
public:
    using MainDialog::MainDialog;
    void djcntfStop(DJDeck& deck) override
    {
        MainDialog::djcntfStop(deck);
        libraryOnDiskAtStop.push_back(LFile::Exists(DJLibrary::GetLibraryFilePath().c_str()));
    }
    void djcntfPlay(DJDeck& deck) override
    {
        MainDialog::djcntfPlay(deck);
        ++plays;
    }
    std::vector<bool> libraryOnDiskAtStop;
    int plays = 0;
};

std::string UserDataSubFolder(const char* name)
{
    char folder[LFile::kPathBytes];
    EXPECT_TRUE(LFile::GetUserDataFolderAppSubFolder(name, folder));
    return folder;
}

std::string CountsFile(uint32_t count, uint32_t entries)
{
    std::string bytes(reinterpret_cast<const char*>(&count), sizeof count);
    for (uint32_t i = 0; i < entries; ++i) {
        const LCmdCount entry{1000 + i, i + 1};
        bytes.append(reinterpret_cast<const char*>(&entry), sizeof entry);
    }
    return bytes;
}

class MainDialogTest : public testing::Test {
protected:
    void SetUp() override
    {
        QtTestApp();
        CmdCountsReset();
        // No headphone channels: the start-up check of shared channels then has nothing to show.
        LUserSettingSetInt("Settings", "HeadphoneOutputLeft", -1);
        LUserSettingSetInt("Settings", "HeadphoneOutputRight", -1);
    }
    void TearDown() override { CmdCountsReset(); }
    TestHome home;
    Capture capture{home / "capture.wav"};
};

TEST_F(MainDialogTest, ConstructionOpensNoWindowAndNoDevice)
{
    MainDialog dialog({home / "counts.txt"});
    EXPECT_EQ(dialog.GetWidget(), nullptr);
    EXPECT_EQ(dialog.GetConsole().GetFirstDeck(), nullptr);
    EXPECT_FALSE(dialog.GetConsole().IsPlayerRunning());
}

TEST_F(MainDialogTest, InitBuildsDecksPanelsAndPlacesTheWindow)
{
    LUserSettingSetString(MainDialog::kSettingsSection, "Width", "500");
    LUserSettingSetString(MainDialog::kSettingsSection, "X", "-40");
    MainDialog dialog({home / "counts.txt"});
    ASSERT_TRUE(dialog.MainWindowInitCommon());
    ASSERT_NE(dialog.GetWidget(), nullptr);
    EXPECT_TRUE(dialog.IsShown());
    ASSERT_NE(dialog.GetConsole().GetDeck(kDeckLeft), nullptr);
    ASSERT_NE(dialog.GetConsole().GetDeck(kDeckRight), nullptr);
    EXPECT_EQ(dialog.GetDeckPanel(0)->GetDeck(), dialog.GetConsole().GetDeck(kDeckLeft));
    EXPECT_EQ(dialog.GetDeckPanel(1)->GetDeck(), dialog.GetConsole().GetDeck(kDeckRight));
    EXPECT_NE(dialog.GetConsolePanel()->GetWidget(), nullptr);
    EXPECT_NE(dialog.GetBottomPanel()->GetWidget(), nullptr);
    EXPECT_GE(dialog.GetContentWidth(), kMainWindowMinWidth);
    EXPECT_GE(dialog.GetContentHeight(), kMainWindowMinHeight);
    char value[kLTextBytes];
    _LUserSettingGetString("Settings", "FirstRun", "", value);
    EXPECT_STREQ(value, "1");
    _LUserSettingGetString("Settings", "DefaultRecordFolder", "", value);
    EXPECT_EQ(std::string(value), UserDataSubFolder(LFile::kRecordingFolder));

    dialog.MainWindowDestroyCommon();
    // What was saved places the window the same way next time.
    _LUserSettingGetString(MainDialog::kSettingsSection, "Width", "", value);
    EXPECT_GE(MainWindowParseInt(value), kMainWindowMinWidth);
    _LUserSettingGetString(MainDialog::kSettingsSection, "Maximized", "", value);
    EXPECT_STREQ(value, "0");
}

TEST_F(MainDialogTest, AUsersRecordingFolderSurvivesTheStart)
{
    const std::string chosen = home / "my recordings";
    LUserSettingSetString("Settings", "DefaultRecordFolder", chosen.c_str());
    MainDialog dialog({home / "counts.txt"});
    ASSERT_TRUE(dialog.MainWindowInitCommon());
    char value[kLTextBytes];
    _LUserSettingGetString("Settings", "DefaultRecordFolder", "", value);
    EXPECT_EQ(std::string(value), chosen);
    dialog.MainWindowDestroyCommon();
}

TEST_F(MainDialogTest, TeardownStopsTheConsoleBeforeSavingTheLibraryAndDeletesTemporaryWaves)
{
    const std::string temp = UserDataSubFolder(LFile::kTempFolder);
    const std::vector<int> tone = MakeTone(5, 440, 8000, true, true);
    ASSERT_TRUE(WriteStereoWave(temp + "/converted.wav", tone));
    ASSERT_TRUE(WriteStereoWave(temp + "/UPPER.WAV", tone));
    WriteWholeFile(temp + "/notes.txt", "kept");
    const std::string track = home / "track.wav";
    ASSERT_TRUE(WriteStereoWave(track, tone));
    const std::string library = DJLibrary::GetLibraryFilePath();
    ASSERT_FALSE(LFile::Exists(library.c_str()));

    ObservedDialog dialog({home / "counts.txt"});
    ASSERT_TRUE(dialog.MainWindowInitCommon());
    DJDeck* deck = dialog.GetConsole().GetDeck(kDeckLeft);
    ASSERT_NE(deck, nullptr);
    ASSERT_TRUE(deck->Load(track.c_str(), 22050, 0));
    deck->Play();
    ASSERT_TRUE(QtTestWaitFor([&] { return dialog.plays == 1 && dialog.GetConsole().IsPlayerRunning(); }));

    dialog.MainWindowDestroyCommon();
    ASSERT_EQ(dialog.libraryOnDiskAtStop.size(), 1u);
    EXPECT_FALSE(dialog.libraryOnDiskAtStop[0]) << "the library was saved before the console stopped";
    EXPECT_TRUE(LFile::Exists(library.c_str()));
    EXPECT_FALSE(LFile::Exists((temp + "/converted.wav").c_str()));
    EXPECT_FALSE(LFile::Exists((temp + "/UPPER.WAV").c_str()));
    EXPECT_TRUE(LFile::Exists((temp + "/notes.txt").c_str()));
    EXPECT_TRUE(LFile::Exists((home / "counts.txt").c_str()));
    EXPECT_EQ(dialog.GetConsolePanel(), nullptr);
    EXPECT_EQ(dialog.GetBottomPanel(), nullptr);
    EXPECT_EQ(dialog.GetDeckPanel(0), nullptr);
}

TEST_F(MainDialogTest, CountsFileAbove256EntriesIsReadAs256AndWrittenBack)
{
    const std::string counts = home / "counts.txt";
    WriteWholeFile(counts, CountsFile(300, 300));
    {
        MainDialog dialog({counts});
        EXPECT_EQ(CmdCounts.size, kCmdCountsMost);
        EXPECT_EQ(CmdCounts.entries[kCmdCountsMost - 1].id, 1000u + kCmdCountsMost - 1);
        ASSERT_TRUE(dialog.MainWindowInitCommon());
        dialog.Command(kLibraryList);
        dialog.MainWindowDestroyCommon();
    }
    const std::string written = ReadWholeFile(counts);
    ASSERT_EQ(written.size(), sizeof(uint32_t) + kCmdCountsMost * sizeof(LCmdCount));
    uint32_t size = 0;
    std::memcpy(&size, written.data(), sizeof size);
    EXPECT_EQ(size, static_cast<uint32_t>(kCmdCountsMost));
}

TEST_F(MainDialogTest, UnreadableCountsFileLeavesTheTableAndTheWindowStillComesUp)
{
    const std::string counts = home / "no/such/folder/counts.txt";
    MainDialog dialog({counts});
    EXPECT_EQ(CmdCounts.size, kCmdCountsStart);
    ASSERT_TRUE(dialog.MainWindowInitCommon());
    dialog.MainWindowDestroyCommon();
    EXPECT_FALSE(LFile::Exists(counts.c_str()));
}

}  // namespace
