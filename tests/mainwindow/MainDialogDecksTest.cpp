#include "mainwindow/MainDialog.h"

#include "analysis/ClickTrain.h"
#include "app/LSettings.h"
#include "base/LFile.h"
#include "engine/ConsoleTestSupport.h"
#include "files/FileConversion.h"
#include "mainwindow/MainDeckRules.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"
#include "ui/DJDeckInfo.h"
#include "ui/DJWaveDetailed.h"

#include <QPoint>
#include <QWidget>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr const char* kChannelsTitle = "Please adjust your audio settings";

// Answers every question with "cancel" and keeps the alerts.
class RecordedPrompts : public MainUserPrompts {
public:
    explicit RecordedPrompts(std::vector<std::pair<std::string, std::string>>& alerts) : _alerts(alerts) {}
    void Alert(const std::string& title, const std::string& text) override { _alerts.emplace_back(title, text); }
    bool AskYesNo(const std::string&, const std::string&) override { return false; }
    std::vector<std::string> ChooseFiles(const std::string&, const std::string&, const std::string&) override
    {
        return {};
    }
    std::string ChooseFile(const std::string&, const std::string&, const std::string&) override { return ""; }
    std::string ChooseFolder(const std::string&, const std::string&, const std::string&) override { return ""; }
    std::string ChooseSaveFile(const std::string&, const std::string&, const std::string&,
                               const std::string&) override
    {
        return "";
    }
    int ChooseItem(const std::string&, const std::string&, const std::vector<std::string>&) override { return -1; }

private:
    std::vector<std::pair<std::string, std::string>>& _alerts;
};

std::string CacheFolder()
{
    char folder[LFile::kPathBytes];
    EXPECT_TRUE(FileConversion::GetCacheFolder(folder));
    return folder;
}

std::vector<std::string> FilesIn(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

class MainDialogDecks : public testing::Test {
protected:
    void SetUp() override { QtTestApp(); }
    void TearDown() override
    {
        if (_open) {
            dialog->MainWindowDestroyCommon();
        }
    }

    // The window with `tracks` in its library, in that order.
    void Open(const std::vector<std::string>& tracks = {})
    {
        dialog = std::make_unique<MainDialog>(MainDialogFiles{home / "counts.txt"});
        dialog->SetUserPrompts(std::make_unique<RecordedPrompts>(alerts));
        ASSERT_TRUE(dialog->MainWindowInitCommon());
        _open = true;
        for (const std::string& track : tracks) {
            AddItem(track);
        }
        dialog->RefreshLibraryList();
    }
    LPlayItem& AddItem(const std::string& path)
    {
        auto item = std::make_unique<LPlayItem>(path.c_str());
        LPlayItem& added = *item;
        dialog->GetLibrary().GetList().AddItem(std::move(item));
        return added;
    }
    std::string Tone(const std::string& name, double seconds = 3)
    {
        const std::string path = home / name;
        EXPECT_TRUE(WriteStereoWave(path, MakeTone(seconds, 440, 8000, true, true)));
        return path;
    }
    void Close()
    {
        _open = false;
        dialog->MainWindowDestroyCommon();
    }

    DJDeck& Deck(DJDeckPosition position) { return *dialog->GetConsole().GetDeck(position); }
    DJDeckGUI& Panel(DJDeckPosition position) { return *dialog->GetDeckPanel(position); }
    LListView& List() { return *dialog->GetList(); }
    std::string DeckCell(int row) { return List().GetCell(row, kColumnDeck); }

    // Loads and waits until the deck holds the row.
    void LoadAndWait(DJDeckPosition position, int row)
    {
        dialog->AddFileToDeck(position, row);
        ASSERT_TRUE(QtTestWaitFor([&] { return dialog->GetRowOnDeck(position) == row && Deck(position).IsLoaded(); }))
            << "row " << row << " never reached deck " << position;
    }
    int AlertsTitled(const std::string& title) const
    {
        int count = 0;
        for (const auto& alert : alerts) {
            count += alert.first == title;
        }
        return count;
    }
    std::string LastAlertTitled(const std::string& title) const
    {
        for (auto it = alerts.rbegin(); it != alerts.rend(); ++it) {
            if (it->first == title) {
                return it->second;
            }
        }
        return "";
    }

    TestHome home;
    Capture capture{home / "capture.wav", false};  // real-time pace: playing tracks last
    std::vector<std::pair<std::string, std::string>> alerts;
    std::unique_ptr<MainDialog> dialog;

private:
    bool _open = false;
};

TEST_F(MainDialogDecks, DoubleClickWithBothDecksPlayingAndCrossfaderCentredLoadsAAndStartsNothing)
{
    Open({Tone("one.wav", 20), Tone("two.wav", 20), Tone("three.wav")});
    LoadAndWait(kDeckLeft, 0);
    LoadAndWait(kDeckRight, 1);
    Panel(kDeckLeft).CmPlay();
    Panel(kDeckRight).CmPlay();
    ASSERT_TRUE(QtTestWaitFor([&] { return Deck(kDeckLeft).IsActive() && Deck(kDeckRight).IsActive(); }));
    ASSERT_EQ(dialog->GetConsole().GetCrossFade(), 50);

    List().SelectRow(2);
    dialog->EvFileDoubleClick();
    ASSERT_TRUE(QtTestWaitFor([&] { return dialog->GetRowOnDeck(kDeckLeft) == 2 && Deck(kDeckLeft).IsLoaded(); }));
    EXPECT_FALSE(Deck(kDeckLeft).IsActive());
    EXPECT_TRUE(Deck(kDeckRight).IsActive());
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckRight), 1);
    EXPECT_EQ(DeckCell(0), "");
    EXPECT_EQ(DeckCell(1), "B");
    EXPECT_EQ(DeckCell(2), "A");
}

TEST_F(MainDialogDecks, DoubleClickOnIdleDecksFillsTheFreeDeckAndStartsIt)
{
    Open({Tone("one.wav", 20), Tone("two.wav", 20), Tone("three.wav", 20)});
    LoadAndWait(kDeckLeft, 0);
    // A holds a stopped track, B is empty: B is the freer one, and with nothing playing it starts.
    List().SelectRow(1);
    dialog->EvFileDoubleClick();
    ASSERT_TRUE(QtTestWaitFor([&] { return dialog->GetRowOnDeck(kDeckRight) == 1 && Deck(kDeckRight).IsActive(); }));
    EXPECT_FALSE(Deck(kDeckLeft).IsActive());

    // B plays now, so A (loaded, stopped) takes the next one, and nothing starts by itself.
    dialog->CmAutoPlay();
    List().SelectRow(2);
    dialog->EvFileDoubleClick();
    ASSERT_TRUE(QtTestWaitFor([&] { return dialog->GetRowOnDeck(kDeckLeft) == 2 && Deck(kDeckLeft).IsLoaded(); }));
    EXPECT_FALSE(Deck(kDeckLeft).IsActive());
    EXPECT_EQ(List().GetFirstSelected(), 2) << "auto play on the last row has no next row to move to";
}

TEST_F(MainDialogDecks, SameTrackOnBothDecksShowsBothAndClearingALeavesB)
{
    Open({Tone("one.wav"), Tone("two.wav")});
    LoadAndWait(kDeckLeft, 0);
    EXPECT_EQ(DeckCell(0), "A");
    LoadAndWait(kDeckRight, 0);
    EXPECT_EQ(DeckCell(0), "A+B");
    EXPECT_EQ(DeckCell(1), "");

    Panel(kDeckLeft).ClearDeck();
    EXPECT_EQ(DeckCell(0), "B");
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckLeft), -1);
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckRight), 0);
    dialog->UpdateDeckColumn();
    EXPECT_EQ(DeckCell(0), "B") << "the name comparison agrees with the clearing";

    Panel(kDeckRight).ClearDeck();
    EXPECT_EQ(DeckCell(0), "");
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckRight), -1);
}

TEST_F(MainDialogDecks, TrackTimeComesFromTheStoredLengthAndRate)
{
    struct Case {
        const char* length;
        const char* rate;
        std::string timeText;
    } cases[] = {
        {nullptr, nullptr, "0:00:00.0"},  // a track whose length was never stored
        {"66150", "44100", "0:00:01.5"},
        {"88200", nullptr, "0:00:02.0"},  // 44,100 Hz when no rate is stored
        {"88200", "0", "0:00:00.0"},
        {"junk", "44100", "0:00:00.0"},
    };
    std::vector<std::string> tracks;
    for (size_t i = 0; i < std::size(cases); ++i) {
        tracks.push_back(Tone("track" + std::to_string(i) + ".wav"));
    }
    Open();
    for (size_t i = 0; i < std::size(cases); ++i) {
        LPlayItem& item = AddItem(tracks[i]);
        if (cases[i].length) {
            item.Parms().SetString("length", cases[i].length);
        }
        if (cases[i].rate) {
            item.Parms().SetString("samplerate", cases[i].rate);
        }
    }
    dialog->RefreshLibraryList();
    for (size_t i = 0; i < std::size(cases); ++i) {
        const int row = static_cast<int>(i);
        LoadAndWait(kDeckLeft, row);
        EXPECT_EQ(List().GetCell(row, kColumnTime), cases[i].timeText) << i;
        const DJDeckInfo& info = Panel(kDeckLeft).GetDeckInfo();
        EXPECT_EQ(info.GetRemaining(), "- " + cases[i].timeText) << i;
        EXPECT_EQ(info.GetTitle(), List().GetCell(row, kColumnTitle).substr(0, info.GetTitle().size())) << i;
        EXPECT_EQ(Panel(kDeckLeft).GetWaveDetailed().GetLoadProgress(), DJWaveDetailed::kNoProgress);
    }
}

TEST_F(MainDialogDecks, MissingFileAlertsAndLeavesTheDeckAsItWas)
{
    const std::string gone = Tone("gone.wav");
    Open({Tone("kept.wav"), gone});
    LoadAndWait(kDeckLeft, 0);
    fs::remove(gone);

    dialog->AddFileToDeck(kDeckLeft, 1);
    ASSERT_EQ(AlertsTitled("Error"), 1);
    EXPECT_EQ(LastAlertTitled("Error"), "Cannot find file " + gone + "\n\nHave you recently moved or renamed it?");
    EXPECT_TRUE(Deck(kDeckLeft).IsLoaded());
    EXPECT_FALSE(Deck(kDeckLeft).IsLoading());
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckLeft), 0);
    EXPECT_EQ(DeckCell(0), "A");

    // Nor does a double click start the old track instead.
    List().SelectRow(1);
    dialog->EvFileDoubleClick();
    EXPECT_EQ(AlertsTitled("Error"), 2);
    EXPECT_FALSE(Deck(kDeckLeft).IsActive());
    EXPECT_FALSE(Deck(kDeckRight).IsActive());

    // Rows that do not exist load nothing and say nothing.
    for (int row : {-1, 2, 1 << 30}) {
        dialog->AddFileToDeck(kDeckRight, row);
    }
    EXPECT_EQ(AlertsTitled("Error"), 2);
    EXPECT_FALSE(Deck(kDeckRight).IsLoading());
}

TEST_F(MainDialogDecks, FailedConversionAlertsAndLeavesTheDeckEmpty)
{
    const std::string broken = home / "broken.mp3";
    WriteWholeFile(broken, std::string(4096, 'x'));
    Open({Tone("good.wav"), broken});
    LoadAndWait(kDeckLeft, 0);

    dialog->AddFileToDeck(kDeckLeft, 1);
    EXPECT_TRUE(Deck(kDeckLeft).IsLoading());
    EXPECT_EQ(DeckCell(0), "") << "the deck was cleared for the new track";
    ASSERT_TRUE(QtTestWaitFor([&] { return AlertsTitled("Convert File") == 1; }));
    EXPECT_EQ(LastAlertTitled("Convert File"), "Can not convert file: " + CacheFolder() + "/broken.mp3.wav");
    EXPECT_FALSE(Deck(kDeckLeft).IsLoading());
    EXPECT_FALSE(Deck(kDeckLeft).IsLoaded());
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckLeft), -1);
    EXPECT_EQ(Panel(kDeckLeft).GetWaveDetailed().GetLoadProgress(), DJWaveDetailed::kNoProgress);
    EXPECT_EQ(DeckCell(1), "");
    EXPECT_FALSE(fs::exists(CacheFolder() + "/broken.mp3.wav"));
}

TEST_F(MainDialogDecks, BeatsFoundByTheScanGoToTheBpmCellAndTheLibraryFile)
{
    ClickTrain train;
    train.bpm = 128;
    train.seconds = 20;
    const std::string clicks = home / "clicks.wav";
    ASSERT_TRUE(WriteStereoWave(clicks, MakeClickTrain(train)));
    Open({Tone("other.wav"), clicks});
    LoadAndWait(kDeckRight, 1);
    ASSERT_TRUE(QtTestWaitFor([&] {
        const int found = Deck(kDeckRight).GetBeatFrequency();
        return found > 0 && List().GetCell(1, kColumnBPM) == MainBpmText(found);
    }));

    const int period = Deck(kDeckRight).GetBeatFrequency();
    ASSERT_GT(period, 0);
    const std::string text = List().GetCell(1, kColumnBPM);
    EXPECT_EQ(text, MainBpmText(period));
    EXPECT_NEAR(std::stod(text), 128.0, 1.0);

    DJLibrary saved;
    ASSERT_TRUE(saved.LoadFrom(DJLibrary::GetLibraryFilePath()));
    ASSERT_EQ(saved.GetList().Count(), 2u);
    const LHashTable& parms = saved.GetList().GetItem(1)->Parms();
    EXPECT_EQ(std::string(parms.GetParm("bpm", "")), text);
    EXPECT_EQ(parms.GetInt("beatfreq", 0), period);
    EXPECT_EQ(parms.GetInt("beatoffset", -1), Deck(kDeckRight).GetBeatOffset());
    EXPECT_EQ(std::string(saved.GetList().GetItem(0)->Parms().GetParm("bpm", "")), "");

    // The next load takes the stored beats instead of scanning again.
    Panel(kDeckRight).ClearDeck();
    LoadAndWait(kDeckLeft, 1);
    EXPECT_EQ(Deck(kDeckLeft).GetBeatFrequency(), period);
}

TEST_F(MainDialogDecks, ReportsWithAbsurdNumbersChangeNothing)
{
    Open({Tone("one.wav")});
    LoadAndWait(kDeckLeft, 0);
    const size_t alertsBefore = alerts.size();
    for (int deck : {-1, 2, 1 << 30}) {
        dialog->fcntfProgress(50, deck);
        dialog->fcntfComplete(true, "/nowhere.wav", deck, 0, 0, LSoundTime(1000), 0, 0);
        dialog->fcntfComplete(false, "/nowhere.wav", deck, 0, 0, LSoundTime(1000), 0, 0);
        dialog->AddFileToDeck(static_cast<DJDeckPosition>(deck), 0);
        dialog->ClearListViewDeck(static_cast<DJDeckPosition>(deck));
        EXPECT_FALSE(dialog->IsDeckConverting(static_cast<DJDeckPosition>(deck)));
    }
    for (long data : {-1L, 0L, 236L + 1000, 329L - 1, 316L + 1}) {
        for (int message : {1, 2, 3, 99}) {
            dialog->EvInterWinMessage(message, data, 0);
        }
    }
    EXPECT_EQ(alerts.size(), alertsBefore);
    EXPECT_EQ(dialog->GetRowOnDeck(kDeckLeft), 0);
    EXPECT_TRUE(Deck(kDeckLeft).IsLoaded());
    EXPECT_EQ(DeckCell(0), "A");
    EXPECT_EQ(Panel(kDeckLeft).GetWaveDetailed().GetLoadProgress(), DJWaveDetailed::kNoProgress);
}

TEST_F(MainDialogDecks, MovedCueMarkIsStoredForTheDecksRow)
{
    Open({Tone("one.wav"), Tone("two.wav")});
    LoadAndWait(kDeckRight, 1);
    Deck(kDeckRight).SetCueMark(12345);
    dialog->EvInterWinMessage(2, 330, 0);
    DJLibrary saved;
    ASSERT_TRUE(saved.LoadFrom(DJLibrary::GetLibraryFilePath()));
    EXPECT_EQ(saved.GetList().GetItem(1)->Parms().GetInt("cuemarkpos", -1), 12345);
    EXPECT_EQ(saved.GetList().GetItem(0)->Parms().GetInt("cuemarkpos", -1), -1);

    // Deck A holds nothing: its message writes nothing.
    dialog->EvInterWinMessage(2, 329, 0);
    ASSERT_TRUE(saved.LoadFrom(DJLibrary::GetLibraryFilePath()));
    EXPECT_EQ(saved.GetList().GetItem(0)->Parms().GetInt("cuemarkpos", -1), -1);
}

TEST_F(MainDialogDecks, OutputChannelCheckFiresOnceAtStartWhenNoChannelsAreStored)
{
    Open({Tone("one.wav")});
    ASSERT_TRUE(QtTestWaitFor([&] { return AlertsTitled(kChannelsTitle) > 0; }));
    const std::string text = LastAlertTitled(kChannelsTitle);
    EXPECT_EQ(text.rfind("You currently have the same output channels selected for your headphone output and main "
                         "output. Orvane will now open the options dialog so you can change these settings.\n\n",
                         0),
              0u)
        << text;
    EXPECT_NE(text.find(LSettingsPath(LSettingUser::kCurrentUser)), std::string::npos) << text;
    EXPECT_NE(text.find("orvane-tool settings set Settings HeadphoneOutputLeft"), std::string::npos) << text;
    // More events pass (a whole load); the check does not come again.
    LoadAndWait(kDeckLeft, 0);
    EXPECT_EQ(AlertsTitled(kChannelsTitle), 1);
    EXPECT_FALSE(dialog->GetConsole().GetOutputChannelLeft() == -1);
}

TEST_F(MainDialogDecks, OutputChannelCheckIsQuietWhenHeadphonesHaveChannelsOfTheirOwn)
{
    struct Case {
        int phonesLeft, phonesRight;
        int expectedAlerts;
    } cases[] = {{2, 3, 0}, {-1, -1, 0}, {1, 2, 1}, {3, 0, 1}};
    Open();
    for (const Case& c : cases) {
        LUserSettingSetInt("Settings", "HeadphoneOutputLeft", c.phonesLeft);
        LUserSettingSetInt("Settings", "HeadphoneOutputRight", c.phonesRight);
        dialog->GetConsole().UpdateChannelMapping();
        const int before = AlertsTitled(kChannelsTitle);
        dialog->CheckOutputChannels();
        EXPECT_EQ(AlertsTitled(kChannelsTitle) - before, c.expectedAlerts) << c.phonesLeft << "," << c.phonesRight;
    }
}

TEST_F(MainDialogDecks, DraggedRowHighlightsTheDeckUnderThePointerAndLoadsWhereDropped)
{
    Open({Tone("one.wav"), Tone("two.wav")});
    const QWidget* window = dialog->GetWidget();
    const QWidget* areaB = Panel(kDeckRight).GetControlHandle(kDeckWaveDetailed);
    ASSERT_NE(areaB, nullptr);
    const QPoint b = areaB->mapTo(window, QPoint(0, 0));
    const QPoint insideB(b.x() + areaB->width() / 2, b.y() + areaB->height() / 2);
    EXPECT_TRUE(dialog->OverDeck(Panel(kDeckRight), insideB.x(), insideB.y()));
    EXPECT_FALSE(dialog->OverDeck(Panel(kDeckLeft), insideB.x(), insideB.y()));
    EXPECT_FALSE(dialog->OverDeck(Panel(kDeckRight), b.x(), b.y())) << "the border is outside";
    EXPECT_TRUE(dialog->OverDeck(Panel(kDeckRight), b.x() + 1, b.y() + 1));

    const DJWaveDetailed& waveA = Panel(kDeckLeft).GetWaveDetailed();
    const DJWaveDetailed& waveB = Panel(kDeckRight).GetWaveDetailed();
    LDroppedListViewElement element{1, insideB.x(), insideB.y()};
    dialog->EvDragStarted(element);
    EXPECT_TRUE(waveA.GetDragActive() && waveB.GetDragActive());
    EXPECT_TRUE(dialog->EvDragging(element));
    EXPECT_TRUE(waveB.GetOverDeck());
    EXPECT_FALSE(waveA.GetOverDeck());
    LDroppedListViewElement outside{1, 2, window->height() - 2};
    EXPECT_FALSE(dialog->EvDragging(outside));
    EXPECT_FALSE(waveB.GetOverDeck());
    EXPECT_TRUE(dialog->EvDragging(element));

    dialog->EvDropListViewElement(element);
    dialog->EvDragStopped();
    EXPECT_FALSE(waveA.GetDragActive() || waveB.GetDragActive() || waveB.GetOverDeck());
    ASSERT_TRUE(QtTestWaitFor([&] { return dialog->GetRowOnDeck(kDeckRight) == 1 && Deck(kDeckRight).IsLoaded(); }));
    EXPECT_FALSE(Deck(kDeckLeft).IsLoading() || Deck(kDeckLeft).IsLoaded());

    // A drop away from both decks loads nothing.
    dialog->EvDropListViewElement(outside);
    EXPECT_FALSE(Deck(kDeckLeft).IsLoading());
}

TEST_F(MainDialogDecks, RecordingStartsOnlyWithAutomaticNamesInAnExistingFolder)
{
    const std::string folder = home / "recordings";
    fs::create_directories(folder);
    struct Case {
        const char* autoName;
        std::string folder;
        bool recording;
        const char* mentions;
    } cases[] = {
        {"0", folder, false, "AutoRecordFileName"},
        {"1", home / "vanished", false, "vanished"},
        {"1", "", false, "DefaultRecordFolder"},
        {"1", folder, true, nullptr},
    };
    Open({Tone("one.wav")});
    for (const Case& c : cases) {
        LUserSettingSetString("Settings", "AutoRecordFileName", c.autoName);
        LUserSettingSetString("Settings", "DefaultRecordFolder", c.folder.c_str());
        alerts.clear();
        dialog->SetRecording(true);
        EXPECT_EQ(dialog->GetConsolePanel()->IsRecording(), c.recording) << c.autoName << " " << c.folder;
        EXPECT_EQ(dialog->GetBottomPanel()->IsRecordingOn(), c.recording);
        if (c.mentions) {
            ASSERT_EQ(alerts.size(), 1u);
            EXPECT_NE(alerts[0].second.find(c.mentions), std::string::npos) << alerts[0].second;
            EXPECT_NE(alerts[0].second.find("orvane-tool settings set Settings"), std::string::npos);
        } else {
            EXPECT_TRUE(alerts.empty());
        }
    }
    dialog->SetRecording(false);
    EXPECT_FALSE(dialog->GetConsolePanel()->IsRecording());
    EXPECT_FALSE(dialog->GetBottomPanel()->IsRecordingOn());
}

// An outside decoder that writes the first part of `wave` and then waits for a gate (or for
// the test's home to go) before it writes the rest.
void InstallWaitingDecoder(const TestHome& home, const std::string& wave)
{
    char folder[LFile::kPathBytes];
    ASSERT_TRUE(LFile::GetUserDataFolderAppSubFolder(LFile::kComponentsFolder, folder));
    const std::string script = std::string(folder) + "/oggdec";
    std::ofstream(script) << "#!/bin/sh\nhead -c 100000 '" << wave << "' > \"$2\"\nwhile [ ! -e '" << (home / "go")
                          << "' ] && [ -d '" << (home / "") << "' ]; do sleep 0.01; done\ncp '" << wave
                          << "' \"$2\"\n";
    fs::permissions(script, fs::perms::owner_all);
}

TEST_F(MainDialogDecks, ClosingDuringAConversionStopsItAndLeavesNoPartialFile)
{
    InstallWaitingDecoder(home, Tone("decoded.wav", 10));
    const std::string slow = home / "slow.ogg";
    WriteWholeFile(slow, "ogg");
    Open({slow});
    dialog->AddFileToDeck(kDeckLeft, 0);
    ASSERT_TRUE(dialog->IsDeckConverting(kDeckLeft));
    // The cached copy is being written (under a temporary name) while the decoder waits.
    ASSERT_TRUE(QtTestWaitFor([&] { return !FilesIn(CacheFolder()).empty(); }));
    ASSERT_TRUE(dialog->IsDeckConverting(kDeckLeft)) << "the conversion must still run when the window closes";

    Close();
    EXPECT_FALSE(dialog->IsDeckConverting(kDeckLeft));
    EXPECT_EQ(AlertsTitled("Convert File"), 0) << "closing is not a failure to tell about";
    for (const std::string& name : FilesIn(CacheFolder())) {
        ADD_FAILURE() << "left in the cache: " << name;
    }
    WriteWholeFile(home / "go", "");
}

// The files layer's "cache is full" warning reaches the user as an alert of the window.
TEST_F(MainDialogDecks, AFullCacheIsSaidInTheWindow)
{
    LUserSettingSetString("Settings", "MaxCache", "1");
    LUserSettingSetString("Settings", "DoNothingButWarn", "1");
    Open({Tone("first.wav"), Tone("second.wav")});
    LoadAndWait(kDeckLeft, 0);
    EXPECT_EQ(AlertsTitled("Cache Full"), 0);
    LoadAndWait(kDeckRight, 1);
    EXPECT_EQ(AlertsTitled("Cache Full"), 1);
}

}  // namespace
