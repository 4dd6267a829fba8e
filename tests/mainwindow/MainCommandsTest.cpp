#include "mainwindow/MainDialog.h"

#include "app/LSettings.h"
#include "base/LFile.h"
#include "engine/ConsoleTestSupport.h"
#include "files/FileConversion.h"
#include "mainwindow/MainMenus.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"
#include "ui/LDBEditCustom.h"

#include <QAction>
#include <QWidget>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

// Keeps the alerts and the lists offered for a choice, and answers a choice from a script.
class ScriptedPrompts : public MainUserPrompts {
public:
    struct Record {
        std::vector<std::pair<std::string, std::string>> alerts;
        std::vector<std::vector<std::string>> choices;
        int chooseAnswer = -1;
    };
    explicit ScriptedPrompts(Record& record) : _record(record) {}
    void Alert(const std::string& title, const std::string& text) override
    {
        _record.alerts.emplace_back(title, text);
    }
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
    int ChooseItem(const std::string&, const std::string&, const std::vector<std::string>& choices) override
    {
        _record.choices.push_back(choices);
        return _record.chooseAnswer;
    }

private:
    Record& _record;
};

// PATH with one folder in front for the object's life.
class PathInFront {
public:
    explicit PathInFront(const std::string& folder) : _saved(std::getenv("PATH") ? std::getenv("PATH") : "")
    {
        setenv("PATH", (folder + ":" + _saved).c_str(), 1);
    }
    ~PathInFront() { setenv("PATH", _saved.c_str(), 1); }

private:
    std::string _saved;
};

void WriteScript(const std::string& path, const std::string& body)
{
    WriteWholeFile(path, "#!/bin/sh\n" + body);
    chmod(path.c_str(), 0755);
}

class MainCommands : public testing::Test {
protected:
    void SetUp() override { QtTestApp(); }
    void TearDown() override
    {
        if (dialog) {
            dialog->MainWindowDestroyCommon();
        }
    }

    void Open(const std::vector<std::string>& tracks = {})
    {
        dialog = std::make_unique<MainDialog>(MainDialogFiles{home / "counts.txt"});
        dialog->SetUserPrompts(std::make_unique<ScriptedPrompts>(record));
        ASSERT_TRUE(dialog->MainWindowInitCommon());
        for (const std::string& track : tracks) {
            dialog->GetLibrary().GetList().AddItem(std::make_unique<LPlayItem>(track.c_str()));
        }
        dialog->RefreshLibraryList();
        record.alerts.clear();
    }
    std::string Tone(const std::string& name, double seconds)
    {
        const std::string path = home / name;
        EXPECT_TRUE(WriteStereoWave(path, MakeTone(seconds, 440, 8000, true, true)));
        return path;
    }
    void LoadAndWait(DJDeckPosition position, int row)
    {
        dialog->AddFileToDeck(position, row);
        ASSERT_TRUE(QtTestWaitFor([&] {
            return dialog->GetRowOnDeck(position) == row && Deck(position).IsLoaded();
        }));
    }
    DJDeck& Deck(DJDeckPosition position) { return *dialog->GetConsole().GetDeck(position); }
    DJDeckGUI& Panel(int deck) { return *dialog->GetDeckPanel(deck); }
    LListView& List() { return *dialog->GetList(); }
    std::string LastAlert(const std::string& title) const
    {
        for (auto it = record.alerts.rbegin(); it != record.alerts.rend(); ++it) {
            if (it->first == title) {
                return it->second;
            }
        }
        return "<none>";
    }
    // Alerts but the output channel check's, which comes from a timer at start.
    std::string OtherAlerts() const
    {
        std::string all;
        for (const auto& [title, text] : record.alerts) {
            if (title != "Please adjust your audio settings") {
                all += title + ": " + text + "\n";
            }
        }
        return all;
    }
    // The menu bar's action of that text (the first, in menu order); null when there is none.
    QAction* MenuAction(const char* text) const
    {
        for (QAction* action : dialog->GetWidget()->findChildren<QAction*>()) {
            if (action->text() == QString::fromUtf8(text)) {
                return action;
            }
        }
        return nullptr;
    }

    TestHome home;
    Capture capture{home / "capture.wav"};
    ScriptedPrompts::Record record;
    std::unique_ptr<MainDialog> dialog;
};

}  // namespace

TEST_F(MainCommands, DeckAndMasterLevelsStepByOneAndStopAtTheFadersEnds)
{
    Open();
    struct Fader {
        int up, down;
        std::function<LDBEditCustom&()> control;
    };
    const Fader faders[] = {
        {kCmDeckVolumeUpA, kCmDeckVolumeDownA, [&]() -> LDBEditCustom& { return Panel(0).GetVolumeControl(); }},
        {kCmDeckVolumeUpB, kCmDeckVolumeDownB, [&]() -> LDBEditCustom& { return Panel(1).GetVolumeControl(); }},
        {kCmMasterVolumeUp, kCmMasterVolumeDown,
         [&]() -> LDBEditCustom& { return dialog->GetConsolePanel()->GetVolume(); }},
    };
    for (const Fader& fader : faders) {
        LDBEditCustom& control = fader.control();
        const int before = control.GetLevel().GetDB();
        dialog->Command(fader.down);
        EXPECT_EQ(control.GetLevel().GetDB(), before - 1);
        dialog->Command(fader.up);
        EXPECT_EQ(control.GetLevel().GetDB(), before);
        for (int i = 0; i < 300; ++i) {
            dialog->Command(fader.up);
        }
        EXPECT_EQ(control.GetLevel().GetDB(), control.GetMaxLevel());
        for (int i = 0; i < 300; ++i) {
            dialog->Command(fader.down);
        }
        EXPECT_EQ(control.GetLevel().GetDB(), control.GetMinLevel());
    }
    // Deck A's steps leave deck B's fader alone.
    EXPECT_EQ(Panel(1).GetVolumeControl().GetLevel().GetDB(), Panel(1).GetVolumeControl().GetMinLevel());
    dialog->Command(kCmDeckVolumeUpA);
    EXPECT_EQ(Panel(1).GetVolumeControl().GetLevel().GetDB(), Panel(1).GetVolumeControl().GetMinLevel());
}

TEST_F(MainCommands, ToggleCommandsFlipTheirDecksStateAndBack)
{
    Open();
    const struct {
        int idA;
        const char* name;
        std::function<bool(MainDialog&, int)> state;
    } toggles[] = {
        {kCmKillBassA, "bass kill", [](MainDialog& d, int k) { return d.GetDeckPanel(k)->GetFlags().killBass; }},
        {kCmKillMidA, "mid kill", [](MainDialog& d, int k) { return d.GetDeckPanel(k)->GetFlags().killMid; }},
        {kCmKillHighA, "high kill", [](MainDialog& d, int k) { return d.GetDeckPanel(k)->GetFlags().killHigh; }},
        {kCmLoopA, "loop", [](MainDialog& d, int k) { return d.GetDeckPanel(k)->GetFlags().loopOn; }},
        {kCmHeadphonesA, "headphones", [](MainDialog& d, int k) { return d.GetDeckPanel(k)->GetFlags().headphonesOn; }},
        {kCmSnapCueA, "cue snap", [](MainDialog& d, int k) { return d.GetDeckPanel(k)->GetDeck()->IsCueSnap(); }},
    };
    for (const auto& toggle : toggles) {
        for (int deck = 0; deck < 2; ++deck) {
            const int other = 1 - deck;
            const bool before = toggle.state(*dialog, deck);
            const bool otherBefore = toggle.state(*dialog, other);
            dialog->Command(toggle.idA + deck);
            EXPECT_NE(toggle.state(*dialog, deck), before) << toggle.name << " on deck " << deck;
            EXPECT_EQ(toggle.state(*dialog, other), otherBefore) << toggle.name << " reached the other deck";
            dialog->Command(toggle.idA + deck);
            EXPECT_EQ(toggle.state(*dialog, deck), before) << toggle.name << " on deck " << deck;
        }
    }
}

TEST_F(MainCommands, EffectCommandsSwitchSelectAndTitleTheEffect)
{
    Open();
    DJDeckGUI& panel = Panel(0);
    const auto& flags = panel.GetFlags();
    const std::array<bool, kDeckFxCount> none{};

    dialog->Command(kCmFx1A);
    EXPECT_TRUE(flags.fxOn[0]);
    EXPECT_EQ(flags.fxEdit, (std::array<bool, kDeckFxCount>{true, false, false, false, false, false}));
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > Distortion");

    dialog->Command(kCmFx2A);
    EXPECT_TRUE(flags.fxOn[0] && flags.fxOn[1]);
    EXPECT_EQ(flags.fxEdit, (std::array<bool, kDeckFxCount>{false, true, false, false, false, false}));
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > High Pass Filter");

    // Off again: the selection it had is what comes back, the others' selection is gone.
    dialog->Command(kCmFx1A);
    EXPECT_FALSE(flags.fxOn[0]);
    EXPECT_EQ(flags.fxEdit, none);
    EXPECT_EQ(panel.GetFxTitle(), "EDIT > High Pass Filter");
    dialog->Command(kCmFx2A);
    EXPECT_FALSE(flags.fxOn[1]);
    EXPECT_EQ(flags.fxEdit, none);

    const char* const titles[] = {"EDIT > Distortion", "EDIT > High Pass Filter", "EDIT > Reverb",
                                  "EDIT > Phaser",     "EDIT > Flanger",          "EDIT > Delay"};
    for (int k = 0; k < kDeckFxCount; ++k) {
        dialog->Command(kCmFx1B + 2 * k);
        EXPECT_TRUE(Panel(1).GetFlags().fxOn[static_cast<size_t>(k)]);
        EXPECT_EQ(Panel(1).GetFxTitle(), titles[k]);
    }
    EXPECT_EQ(flags.fxOn, none) << "deck B's effects reached deck A";
}

TEST_F(MainCommands, CrossfadeCommandsMoveTheFaderAndCancelAnAutomaticFade)
{
    Open();
    DJConsoleGUI& console = *dialog->GetConsolePanel();
    DJCrossFader& fader = console.GetCrossFader();
    ASSERT_EQ(fader.GetPosition(), 50);
    const struct {
        int id, position;
    } steps[] = {
        {kCmCrossFadeRight, 53}, {kCmCrossFadeLeft, 50}, {kCmCrossFadeLeft, 47},
        {kCmCrossFadeLeftFull, 0}, {kCmCrossFadeLeft, 0}, {kCmCrossFadeRightFull, 100},
        {kCmCrossFadeRight, 100}, {kCmCrossFadeCenter, 50},
    };
    for (const auto& step : steps) {
        dialog->Command(step.id);
        EXPECT_EQ(fader.GetPosition(), step.position) << step.id;
        EXPECT_EQ(dialog->GetConsole().GetCrossFade(), step.position) << "the engine's crossfade";
    }

    for (int stop : {kCmCrossFadeLeft, kCmCrossFadeRight, kCmCrossFadeLeftFull, kCmCrossFadeRightFull,
                     kCmCrossFadeCenter}) {
        dialog->Command(kCmCrossFadeCenter);
        dialog->Command(kCmCrossFadeLeftAuto);
        ASSERT_TRUE(console.IsFadingLeft());
        const int where = fader.GetPosition();
        dialog->Command(stop);
        EXPECT_FALSE(console.IsFadingLeft() || console.IsFadingRight()) << stop;
        EXPECT_EQ(fader.GetPosition(), MainCrossfadePosition(stop, where));
    }
    dialog->Command(kCmCrossFadeRightAuto);
    EXPECT_TRUE(console.IsFadingRight());
}

TEST_F(MainCommands, MenuStatesFollowTheListSelectionAndTheDecks)
{
    Open({Tone("one.wav", 2), Tone("two.wav", 2)});
    List().SelectRows({});
    dialog->Command(kCmListSelectionChanged);
    const struct {
        const char* text;
        int id;
    } watched[] = {{"Add File to Deck A", kCmAddFileToDeckA}, {"Remove File", kCmRemoveFile},
                   {"Clear All Files", kCmClearFiles}, {"Edit with Sonivex", kCmEditWithSonivex},
                   {"Play/Pause", kCmPlayPauseA}, {"Add Music Files", kCmAddMusicFiles}};
    auto states = [&] {
        std::string shown;
        for (const auto& w : watched) {
            QAction* action = MenuAction(w.text);
            EXPECT_NE(action, nullptr) << w.text;
            const bool enabled = action && action->isEnabled();
            EXPECT_EQ(enabled, dialog->IsMenuCommandEnabled(w.id)) << w.text;
            shown += enabled ? '1' : '0';
        }
        return shown;
    };
    EXPECT_EQ(states(), "001001");
    List().SelectRow(1);
    dialog->Command(kCmListSelectionChanged);
    EXPECT_EQ(states(), "111101");
    List().SelectRows({0, 1});
    dialog->Command(kCmListSelectionChanged);
    EXPECT_EQ(states(), "011001");
    LoadAndWait(kDeckLeft, 0);
    dialog->Command(kCmListSelectionChanged);
    EXPECT_EQ(states(), "011011");
    EXPECT_FALSE(dialog->IsMenuCommandEnabled(kCmPlayPauseB));

    // A rebuilt menu bar shows the same states.
    dialog->RefreshMenu();
    EXPECT_EQ(states(), "011011");
}

TEST_F(MainCommands, LoadAudioCDOffersTheMountedDiscsOrSaysThereIsNone)
{
    Open();
    const std::string gvfs = home / "run/gvfs";
    fs::create_directories(gvfs);
    dialog->Command(kCmLoadAudioCD);
    EXPECT_NE(LastAlert("Load Audio CD").find("No audio CD is mounted"), std::string::npos);
    EXPECT_TRUE(record.choices.empty());

    const std::string disc = gvfs + "/cdda:host=sr0";
    fs::create_directories(disc);
    ASSERT_TRUE(WriteStereoWave(disc + "/Track 1.wav", MakeTone(1, 440, 8000, true, true)));
    ASSERT_TRUE(WriteStereoWave(disc + "/Track 2.wav", MakeTone(1, 440, 8000, true, true)));
    record.alerts.clear();
    record.chooseAnswer = 0;
    dialog->Command(kCmLoadAudioCD);
    EXPECT_EQ(OtherAlerts(), "");
    ASSERT_EQ(record.choices.size(), 1u);
    EXPECT_EQ(record.choices[0], std::vector<std::string>{"Audio CD in sr0"});
    EXPECT_TRUE(QtTestWaitFor([&] { return dialog->GetLibrary().GetList().Count() == 2; }))
        << "the disc's tracks were not added";

    fs::create_directories(gvfs + "/cdda:host=sr1");
    record.chooseAnswer = -1;
    dialog->Command(kCmLoadAudioCD);
    ASSERT_EQ(record.choices.size(), 2u);
    EXPECT_EQ(record.choices[1], (std::vector<std::string>{"Audio CD in sr0", "Audio CD in sr1"}));
    EXPECT_EQ(dialog->GetLibrary().GetList().Count(), 2u) << "a cancelled choice added something";
}

TEST_F(MainCommands, EditWithSonivexNeedsTheCache)
{
    Open({Tone("one.wav", 2)});
    LUserSettingSetString("Settings", "CacheYesNo", "0");
    const std::string marker = home / "editor-ran";
    WriteScript(home / "editor", "touch " + marker + "\n");
    LUserSettingSetString("Settings", "WaveEditor", (home / "editor").c_str());
    List().SelectRow(0);
    dialog->Command(kCmEditWithSonivex);
    EXPECT_EQ(LastAlert("No cache available"),
              "You do not currently have file caching selected as an option. Orvane will only allow "
              "cached files to be edited in order to protect the original source files. If you would "
              "like to use this feature, please open the Orvane settings dialog and select \"Cache "
              "Converted Files\"");
    EXPECT_FALSE(fs::exists(marker));
}

TEST_F(MainCommands, EditWithSonivexOpensTheCachedCopyAndReloadsTheDeckWithTheEditedLength)
{
    const std::string track = Tone("it's a track.wav", 3);
    Open({Tone("other.wav", 2), track});
    const std::string shorter = Tone("shorter.wav", 1);
    const std::string argument = home / "argument";
    // Writes its argument down, then replaces the file as an editor saves: a new file renamed over.
    WriteScript(home / "editor",
                "printf '%s' \"$1\" > " + argument + "\ncp " + shorter + " \"$1.new\" && mv \"$1.new\" \"$1\"\n");
    LUserSettingSetString("Settings", "WaveEditor", (home / "editor").c_str());
    LoadAndWait(kDeckRight, 1);
    List().SelectRow(1);

    dialog->Command(kCmEditWithSonivex);
    char cached[LFile::kPathBytes];
    ASSERT_TRUE(FileConversion::MakeCachedPath(cached, track.c_str()));
    EXPECT_EQ(ReadWholeFile(argument), cached);
    EXPECT_EQ(List().GetCell(1, kColumnTime), "0:00:01.0");
    EXPECT_STREQ(dialog->GetLibrary().GetList().GetItem(1)->Parms().GetParm("length", ""), "44100");
    EXPECT_TRUE(QtTestWaitFor([&] { return dialog->GetRowOnDeck(kDeckRight) == 1 && Deck(kDeckRight).IsLoaded(); }))
        << "the deck that played the track did not get it again";
    EXPECT_EQ(Deck(kDeckRight).GetTrackPath(), cached);
    EXPECT_FALSE(Deck(kDeckLeft).IsLoaded());
    EXPECT_EQ(OtherAlerts(), "");
}

TEST_F(MainCommands, EditWithSonivexNamesTheSettingWhenTheEditorIsMissing)
{
    Open({Tone("one.wav", 1)});
    LUserSettingSetString("Settings", "WaveEditor", (home / "no such editor").c_str());
    List().SelectRow(0);
    dialog->Command(kCmEditWithSonivex);
    const std::string alert = LastAlert("Edit with Sonivex");
    EXPECT_NE(alert.find("WaveEditor"), std::string::npos) << alert;
    EXPECT_NE(alert.find("orvane-tool settings set Settings WaveEditor"), std::string::npos) << alert;
}

TEST_F(MainCommands, OpenRecordingFolderMakesTheFolderAndHandsItToTheFileManager)
{
    const std::string bin = home / "bin";
    fs::create_directories(bin);
    const std::string argument = home / "opened";
    WriteScript(bin + "/xdg-open",
                "printf '%s' \"$1\" > " + argument + ".tmp && mv " + argument + ".tmp " + argument + "\n");
    PathInFront path(bin);
    Open();
    const std::string folder = home / "my recordings/new";
    LUserSettingSetString("Settings", "DefaultRecordFolder", folder.c_str());
    dialog->Command(kCmOpenRecordingFolder);
    EXPECT_TRUE(fs::is_directory(folder));
    ASSERT_TRUE(QtTestWaitFor([&] { return fs::exists(argument); }));
    EXPECT_EQ(ReadWholeFile(argument), folder);
    EXPECT_EQ(OtherAlerts(), "");
}

TEST_F(MainCommands, PreferencesSayWhereTheSettingsLive)
{
    Open();
    dialog->Command(kCmSettings);
    const std::string text = LastAlert("Preferences");
    EXPECT_NE(text.find(LSettingsPath(LSettingUser::kCurrentUser)), std::string::npos) << text;
    EXPECT_NE(text.find("orvane-tool settings set"), std::string::npos) << text;
}

TEST_F(MainCommands, SetCueMarkStoresTheDecksCueInItsTrack)
{
    Open({Tone("one.wav", 2), Tone("two.wav", 2)});
    LoadAndWait(kDeckRight, 1);
    const LPlayList& list = dialog->GetLibrary().GetList();
    ASSERT_STREQ(list.GetItem(1)->Parms().GetParm("cuemarkpos", "none"), "none");
    Deck(kDeckRight).Seek(22050);
    dialog->Command(kCmSetCueMarkB);
    EXPECT_EQ(std::string(list.GetItem(1)->Parms().GetParm("cuemarkpos", "none")),
              std::to_string(Deck(kDeckRight).GetCueMark()));
    EXPECT_STREQ(list.GetItem(0)->Parms().GetParm("cuemarkpos", "none"), "none");
}

// Every command, with nothing loaded and again after the window went down: nothing breaks.
// Left out: those that open a modal box of their own (About, the context menu) and Quit.
TEST_F(MainCommands, EveryCommandIsSafeOnAnEmptyWindowAndAfterItWentDown)
{
    const std::string bin = home / "bin";
    fs::create_directories(bin);
    WriteScript(bin + "/xdg-open", "exit 0\n");  // no real file manager from a test
    PathInFront path(bin);
    Open();
    std::vector<int> ids = {-1, 0, 1, 99999, kCmWindowMinimize, kCmWindowMaximize, kCmWindowMaximize,
                            kCmWindowBringToFront, kCmHelpLinkFirst};
    for (int id = 200; id <= 400; ++id) {
        if (id != kCmListContextMenu) {
            ids.push_back(id);
        }
    }
    for (int id : ids) {
        dialog->Command(id);
    }
    EXPECT_EQ(dialog->GetLibrary().GetList().Count(), 0u);
    dialog->MainWindowDestroyCommon();
    for (int id : ids) {
        dialog->Command(id);
    }
    dialog->EnableControls();
    dialog->RefreshMenu();
}
