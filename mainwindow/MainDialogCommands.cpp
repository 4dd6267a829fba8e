// The main window's command table, menu bar, enabled states, context menu and the commands that
// reach outside the program (wave editor, file manager, audio CDs).
#include "mainwindow/MainDialog.h"

#include "app/LSettings.h"
#include "base/LFile.h"
#include "base/LProgressDialog.h"
#include "base/LRunProgram.h"
#include "base/LShellCommand.h"
#include "engine/CmdCounts.h"
#include "files/LCmdLineDecode.h"
#include "files/LGenSource.h"
#include "mainwindow/MainDeckRules.h"
#include "mainwindow/MainMenus.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"
#include "ui/LDBEditCustom.h"
#include "ui/LProgressViewQt.h"

#include <QAction>
#include <QMenuBar>
#include <QMessageBox>
#include <QWidget>

#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr char kEditorTitle[] = "Edit with Sonivex";
constexpr char kEditorSetting[] = "WaveEditor";
constexpr char kEditorDefault[] = "audacity";
constexpr char kFileBrowser[] = "xdg-open";
constexpr int kEditedTrackRate = 44100;  // Hz: the cache holds every track at this rate

std::string _UserSetting(const char* section, const char* key, const char* def)
{
    char value[kLTextBytes];
    _LUserSettingGetString(section, key, def, value);
    return value;
}

// Waits for a shell command under a progress dialog, so the window keeps painting and the
// wait can be cancelled.
class _CommandWait : public LProgressDialog {
public:
    _CommandWait(const char* title, std::string command) : LProgressDialog(title), _command(std::move(command)) {}

    bool MainFunction() override
    {
        SetStatus("Waiting for the wave editor to close", 0);
        SetProgressIndeterminateOn();
        _result = LRunShellCommand(*this, _command.c_str());
        return true;
    }

private:
    std::string _command;
};

}  // namespace

// ---- the command table

void MainDialog::Command(int id)
{
    CmdCountsIncrement(static_cast<uint32_t>(id));
    if (!_ListCommand(id) && !_WindowCommand(id) && !_DeckCommand(id)) {
        _CrossfadeCommand(id);
    }
    EnableControls();
}

bool MainDialog::_ListCommand(int id)
{
    switch (id) {
    case kCmLibraryList:
        if (_bottomPanel) {
            _bottomPanel->Command(id);
        }
        break;
    case kCmAddMusicFiles: CmBrowseLoadFiles(); break;
    case kCmAddMusicFolder: CmBrowseLoadFolder(); break;
    case kCmAddPlaylist: CmBrowseLoadPlaylist(); break;
    case kCmRemoveFile: CmRemoveFile(); break;
    case kCmClearFiles: CmClearFiles(); break;
    case kCmExportFiles: CmExportFiles(); break;
    case kCmAddFileToDeckA: AddFileToDeck(kDeckLeft); break;
    case kCmAddFileToDeckB: AddFileToDeck(kDeckRight); break;
    case kCmListContextMenu: EvContextMenu(); break;
    case kCmListDoubleClick: EvFileDoubleClick(); break;
    case kCmEditWithSonivex: CmEditWithSonivex(); break;
    case kCmEditBPMSelected:
        if (_list) {
            EditBPM(_list->GetFirstSelected());
        }
        break;
    case kCmListSelectionChanged:
        if (_bottomPanel) {
            _bottomPanel->EnableControls();
        }
        break;
    case kCmLoadAudioCD: CmAddCD(); break;
    default: return false;
    }
    return true;
}

bool MainDialog::_WindowCommand(int id)
{
    QWidget* window = GetWidget();
    switch (id) {
    case kCmQuit: RequestQuit(); break;
    case kCmSettings: CmSettings(); break;
    case kCmAbout: _ShowAbout(); break;
    case kCmOpenRecordingFolder: _OpenRecordingFolder(); break;
    case kCmMasterVolumeUp: _StepMasterVolume(+1); break;
    case kCmMasterVolumeDown: _StepMasterVolume(-1); break;
    case kCmWindowMinimize:
        if (window) {
            window->showMinimized();
        }
        break;
    case kCmWindowMaximize:
        if (window) {
            window->isMaximized() ? window->showNormal() : window->showMaximized();
        }
        break;
    case kCmWindowBringToFront:
        if (window) {
            if (window->isMinimized()) {
                window->showNormal();
            }
            window->raise();
            window->activateWindow();
        }
        break;
    default: return false;
    }
    return true;
}

bool MainDialog::_DeckCommand(int id)
{
    MainDeckCommand command;
    if (!MainDecodeDeckCommand(id, &command)) {
        return false;
    }
    DJDeckGUI* panel = _deckPanel[command.deck].get();
    if (!panel) {
        return true;
    }
    DJDeckGUI::Flags& flags = panel->GetFlags();
    switch (command.action) {
    case MainDeckAction::kPlayPause: panel->CmPlayToggle(); break;
    case MainDeckAction::kCuePlay: panel->CmCuePlay(); break;
    case MainDeckAction::kCuePause: panel->CmCuePause(); break;
    case MainDeckAction::kSetCueMark:
        panel->CmCueMark();
        SendInterWinMessage(static_cast<int>(DJDeckParentMessage::kCueMarkChanged),
                            command.deck == kDeckLeft ? kCueMessageA : kCueMessageB, 0);
        break;
    case MainDeckAction::kLoop: flags.loopOn = !flags.loopOn; panel->CmLoop(); break;
    case MainDeckAction::kSync: panel->CmSync(); break;  // flips its own flag
    case MainDeckAction::kHeadphones: flags.headphonesOn = !flags.headphonesOn; panel->CmHeadphones(); break;
    case MainDeckAction::kKillBass: flags.killBass = !flags.killBass; panel->CmEq(); break;
    case MainDeckAction::kKillMid: flags.killMid = !flags.killMid; panel->CmEq(); break;
    case MainDeckAction::kKillHigh: flags.killHigh = !flags.killHigh; panel->CmEq(); break;
    case MainDeckAction::kEffect: _EffectCommand(*panel, command.effect); break;
    case MainDeckAction::kJumpToStart: panel->JumpToStart(); break;
    case MainDeckAction::kEditBPM: EditBPM(_rowOnDeck[command.deck]); break;
    case MainDeckAction::kReset: panel->ClearDeck(); break;
    case MainDeckAction::kSnapCue:
        if (DJDeck* deck = panel->GetDeck()) {
            deck->SetCueSnap(!deck->IsCueSnap());
        }
        break;
    case MainDeckAction::kVolumeUp:
    case MainDeckAction::kVolumeDown: {
        LDBEditCustom& volume = panel->GetVolumeControl();
        const int step = command.action == MainDeckAction::kVolumeUp ? +1 : -1;
        volume.SetLevel(LdBValue(MainStepLevel(volume.GetLevel().GetDB(), step)));
        break;
    }
    }
    // Buttons show the flags as they are now.
    if (_deckPanel[command.deck]) {
        _deckPanel[command.deck]->EnableControls();
    }
    return true;
}

void MainDialog::_EffectCommand(DJDeckGUI& panel, int effect)
{
    DJDeckGUI::Flags& flags = panel.GetFlags();
    const size_t k = static_cast<size_t>(effect);
    flags.fxOn[k] = !flags.fxOn[k];
    const bool wasSelected = flags.fxEdit[k];
    panel.ClearFX();
    if (flags.fxOn[k]) {
        flags.fxEdit[k] = true;
        panel.SetFXTitle(MainEffectName(effect));
    } else {
        flags.fxEdit[k] = wasSelected;
    }
    switch (static_cast<DJDeckFx>(effect)) {
    case DJDeckFx::kDistortion: panel.CmDistortion(); break;
    case DJDeckFx::kHighPass: panel.CmHighPass(); break;
    case DJDeckFx::kReverb: panel.CmReverb(); break;
    case DJDeckFx::kPhaser: panel.CmPhaser(); break;
    case DJDeckFx::kFlanger: panel.CmFlanger(); break;
    case DJDeckFx::kDelay: panel.CmDelay(); break;
    }
    panel.EnableControls();
}

bool MainDialog::_CrossfadeCommand(int id)
{
    if (!_consolePanel) {
        return false;
    }
    if (id == kCmCrossFadeLeftAuto) {
        _consolePanel->AutoCrossFadeToLeft();
        return true;
    }
    if (id == kCmCrossFadeRightAuto) {
        _consolePanel->AutoCrossFadeToRight();
        return true;
    }
    DJCrossFader& fader = _consolePanel->GetCrossFader();
    const int position = MainCrossfadePosition(id, fader.GetPosition());
    if (position < 0) {
        return false;
    }
    _consolePanel->AutoCrossFadeCancel();
    fader.SetPosition(position);
    return true;
}

void MainDialog::_StepMasterVolume(int step)
{
    if (_consolePanel) {
        LDBEditCustom& volume = _consolePanel->GetVolume();
        volume.SetLevel(LdBValue(MainStepLevel(volume.GetLevel().GetDB(), step)));
    }
}

// ---- menus and enabled states

void MainDialog::_BuildMenuBar()
{
    _menuBar = new QMenuBar(GetWidget());
    _actions.clear();
    int count = 0;
    const MainMenuEntry* entries = MainMenuDescription(&count);
    std::vector<QMenu*> open;
    for (int i = 0; i < count; ++i) {
        const MainMenuEntry& entry = entries[i];
        if (entry.id == kMenuOpen) {
            open.push_back(open.empty() ? _menuBar->addMenu(QString::fromUtf8(entry.text))
                                        : open.back()->addMenu(QString::fromUtf8(entry.text)));
        } else if (entry.id == kMenuClose) {
            open.pop_back();
        } else if (entry.id == kMenuSeparator) {
            open.back()->addSeparator();
        } else {
            const int id = entry.id;
            QAction* action = open.back()->addAction(QString::fromUtf8(entry.text));
            action->setEnabled(IsMenuCommandEnabled(id));
            QObject::connect(action, &QAction::triggered, action, [this, id] { Command(id); });
            _actions[id] = action;
        }
    }
}

void MainDialog::RefreshMenu()
{
    if (!GetWidget()) {
        return;
    }
    if (_menuBar) {
        // Later, as this may run inside one of its own actions.
        _menuBar->hide();
        _menuBar->deleteLater();
        _menuBar = nullptr;
    }
    _BuildMenuBar();
    _menuBar->show();
    EnableControls();
    if (_initialised) {
        LayoutControls(GetContentWidth(), GetContentHeight());
    }
}

MainMenuState MainDialog::_MenuState() const
{
    MainMenuState state;
    state.rowCount = GetListRowCount();
    state.selectedCount = _list ? _list->GetSelectedCount() : 0;
    for (int deck = 0; deck < 2; ++deck) {
        const DJDeckGUI* panel = _deckPanel[deck].get();
        state.deckLoaded[deck] = panel && panel->GetDeck() && panel->GetDeck()->IsLoaded();
    }
    return state;
}

bool MainDialog::IsMenuCommandEnabled(int id) const
{
    return MainMenuCommandEnabled(id, _MenuState());
}

void MainDialog::EnableControls()
{
    const MainMenuState state = _MenuState();
    for (const auto& [id, action] : _actions) {
        action->setEnabled(MainMenuCommandEnabled(id, state));
    }
}

void MainDialog::EvContextMenu()
{
    if (GetWidget()) {
        DisplayPopupMenu(MainContextMenu(_MenuState()));
    }
}

// ---- dialogs and the world outside

void MainDialog::_ShowAbout()
{
    QMessageBox::about(GetWidget(), QStringLiteral("About Orvane"), QString::fromUtf8(MainAboutText().c_str()));
}

void MainDialog::CmSettings()
{
    if (_prompts) {
        _prompts->Alert("Preferences", MainSettingsText(LSettingsPath(LSettingUser::kCurrentUser)));
    }
}

void MainDialog::_OpenRecordingFolder()
{
    if (!_prompts) {
        return;
    }
    std::string folder = _UserSetting("Settings", "DefaultRecordFolder", "");
    if (folder.empty()) {
        char standard[LFile::kPathBytes];
        if (!LFile::GetUserDataFolderAppSubFolder(LFile::kRecordingFolder, standard)) {
            _prompts->Alert("Open Recording Folder", "The recording folder could not be made.");
            return;
        }
        folder = standard;
    }
    if (!LFile::Exists(folder.c_str()) && !LFile::CreateFolderTree(folder.c_str())) {
        _prompts->Alert("Open Recording Folder", "The recording folder " + folder +
                                                     " could not be made: " + std::strerror(errno));
        return;
    }
    char program[LFile::kPathBytes];
    if (!LFindProgramOnPath(kFileBrowser, program)) {
        _prompts->Alert("Open Recording Folder",
                        "The recording folder is " + folder +
                            "\n\nIt cannot be shown because \"xdg-open\" is not installed (Debian "
                            "package xdg-utils).");
        return;
    }
    // The file manager may stay attached to the launcher for as long as it runs; the window
    // does not wait for it.
    std::thread([program = std::string(program), folder] {
        const char* const argv[] = {program.c_str(), folder.c_str(), nullptr};
        LRunProgram(argv);
    }).detach();
}

void MainDialog::CmEditWithSonivex()
{
    if (!_prompts || !_list) {
        return;
    }
    if (_UserSetting("Settings", "CacheYesNo", "1") == "0") {
        _prompts->Alert("No cache available",
                        "You do not currently have file caching selected as an option. Orvane will "
                        "only allow cached files to be edited in order to protect the original "
                        "source files. If you would like to use this feature, please open the Orvane "
                        "settings dialog and select \"Cache Converted Files\"");
        return;
    }
    const int row = _list->GetFirstSelected();
    LPlayItem* item = _ItemOfRow(row);
    if (!item) {
        return;
    }
    const std::string source = item->GetPath();
    char cached[LFile::kPathBytes];
    if (!FileConversion::MakeCachedPath(cached, source.c_str())) {
        return;
    }
    if (!LFile::Exists(cached) &&
        !FileConverter::ConvertWithProgressDialog(LOpaqueWindowOf(GetWidget()), source.c_str(), cached)) {
        return;
    }
    if (!_RunWaveEditor(cached)) {
        return;
    }
    // The dialog's loop may have changed the list; the row must still hold the same track.
    item = _ItemOfRow(row);
    if (item && source == item->GetPath()) {
        _ReloadEditedTrack(row, *item, cached);
    }
}

bool MainDialog::_RunWaveEditor(const std::string& cachedPath)
{
    std::string editor = _UserSetting("Settings", kEditorSetting, kEditorDefault);
    if (editor.find_first_not_of(" \t") == std::string::npos) {
        editor = kEditorDefault;
    }
    // The setting is a command line of the user's own; only the file is quoted.
    _CommandWait wait(kEditorTitle, editor + " " + MainShellQuote(cachedPath));
    if (!wait.Open(LOpaqueWindowOf(GetWidget()))) {
        return false;
    }
    if (wait.GetResult() == kProcessFailed) {
        _prompts->Alert(kEditorTitle,
                        "The wave editor could not be started with the command \"" + editor +
                            "\".\n\nInstall it, or name your wave editor in the setting \"" +
                            kEditorSetting + "\" of section \"Settings\":\n"
                            "    orvane-tool settings set Settings " + kEditorSetting + " COMMAND");
    }
    return wait.GetResult() == kProcessFinished;
}

void MainDialog::_ReloadEditedTrack(int row, LPlayItem& item, const std::string& cachedPath)
{
    std::vector<DJDeckPosition> cleared;
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        DJDeckGUI* panel = _deckPanel[position].get();
        const std::string_view source = panel && panel->GetDeck() ? MainDeckSourceName(panel->GetDeck()->GetTrackPath())
                                                                  : std::string_view();
        if (!source.empty() && source == MainFileNameOf(item.GetPath())) {
            panel->ClearDeck();
            cleared.push_back(position);
        }
    }
    LSoundSource source;
    LProcessInterfaceVoid quietly;
    LGenSourceOpenInterfaceProcess opening(quietly);
    if (ProcessGenSourceOpenSource(source, cachedPath.c_str(), opening, true, "") == kProcessFinished) {
        const int length = std::max(source->GetEndSample(), 0);
        item.Parms().SetInt("length", length);
        char text[32];
        LSoundTime(MainTrackTimeMs(length, kEditedTrackRate))._GetTextHMMSSF(text);
        _list->SetCell(row, kColumnTime, text);
    }
    source.Close();
    for (DJDeckPosition position : cleared) {
        AddFileToDeck(position, item.GetIndex());
    }
}

void MainDialog::CmAddCD()
{
    if (!_prompts) {
        return;
    }
    const std::vector<std::string> discs = MainFindAudioCDs(MainGvfsRoots());
    if (discs.empty()) {
        _prompts->Alert("Load Audio CD",
                        "No audio CD is mounted.\n\nInsert a CD and open it in the file manager so "
                        "that the desktop mounts it, then try again.");
        return;
    }
    std::vector<std::string> names;
    for (const std::string& disc : discs) {
        const size_t equals = disc.rfind('=');
        names.push_back("Audio CD in " + disc.substr(equals + 1));
    }
    const int choice = _prompts->ChooseItem("Load Audio CD", "Add the tracks of this audio CD:", names);
    if (choice >= 0 && choice < static_cast<int>(discs.size())) {
        AddPaths({discs[static_cast<size_t>(choice)]});
    }
}
