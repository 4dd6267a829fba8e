#pragma once

// The main window's commands as data and rules, without a window: the menu bar's description,
// which commands can be used in a given state, the list's context menu, and the decoding of the
// per-deck and crossfade commands. MainDialog acts on what these answer.

#include "ui/LWindow.h"

#include <string>
#include <vector>

// The menu bar as a static description: (command id, text) entries where kMenuOpen with a text
// opens a submenu, kMenuClose ends it and kMenuSeparator separates.
enum MainMenuEntryKind : int {
    kMenuSeparator = 0,
    kMenuOpen = -1,
    kMenuClose = -2,
};

// Commands of the main window. The numbers are the program's command ids; per-deck commands
// come in pairs, deck A's id and deck B's the next one (the volume pairs included).
enum MainCommand : int {
    kCmLibraryList = 239,  // forwarded to the bottom panel
    kCmAddMusicFiles = 240,
    kCmAddMusicFolder = 241,
    kCmAddPlaylist = 242,
    kCmRemoveFile = 243,
    kCmClearFiles = 244,
    kCmExportFiles = 245,
    kCmAddFileToDeckA = 246,
    kCmAddFileToDeckB = 247,
    kCmListContextMenu = 248,
    kCmListDoubleClick = 249,
    kCmRunSonivex = 276,  // sibling program launch: not offered
    kCmEditWithSonivex = 277,
    kCmRunFurther = 278,   // sibling program launch: not offered
    kCmRunTrakloom = 279,  // sibling program launch: not offered
    kCmSettings = 280,
    kCmPlayPauseA = 281, kCmPlayPauseB = 282,
    kCmCuePlayA = 283, kCmCuePlayB = 284,
    kCmCuePauseA = 285, kCmCuePauseB = 286,
    kCmSetCueMarkA = 287, kCmSetCueMarkB = 288,
    kCmLoopA = 289, kCmLoopB = 290,
    kCmSyncA = 291, kCmSyncB = 292,
    kCmHeadphonesA = 293, kCmHeadphonesB = 294,
    kCmKillBassA = 295, kCmKillBassB = 296,
    kCmKillMidA = 297, kCmKillMidB = 298,
    kCmKillHighA = 299, kCmKillHighB = 300,
    kCmFx1A = 301, kCmFx1B = 302,
    kCmFx2A = 303, kCmFx2B = 304,
    kCmFx3A = 305, kCmFx3B = 306,
    kCmFx4A = 307, kCmFx4B = 308,
    kCmFx5A = 309, kCmFx5B = 310,
    kCmFx6A = 311, kCmFx6B = 312,
    kCmJumpToStartA = 313, kCmJumpToStartB = 314,
    kCmEditBPMA = 315, kCmEditBPMB = 316,
    kCmResetDeckA = 317, kCmResetDeckB = 318,
    kCmSnapCueA = 319, kCmSnapCueB = 320,
    kCmEditBPMSelected = 327,  // the context menu's "Edit BPM"
    kCmDonate = 328,           // the maker's web page: not offered
    kCmCrossFadeLeft = 338,
    kCmCrossFadeRight = 339,
    kCmCrossFadeLeftAuto = 340,
    kCmCrossFadeRightAuto = 341,
    kCmCrossFadeLeftFull = 342,
    kCmCrossFadeRightFull = 343,
    kCmCrossFadeCenter = 344,
    kCmDeckVolumeUpA = 345, kCmDeckVolumeUpB = 346,
    kCmMasterVolumeUp = 347,
    kCmMasterVolumeDown = 348,
    kCmDeckVolumeDownA = 349, kCmDeckVolumeDownB = 350,
    kCmListSelectionChanged = 351,
    kCmOpenRecordingFolder = 361,
    kCmLoadAudioCD = 364,
    // The program's own, beyond the numbered table.
    kCmAbout = 9001,
    kCmQuit = 9002,
    kCmWindowMinimize = 9003,
    kCmWindowMaximize = 9004,
    kCmWindowBringToFront = 9005,
    // The maker's help links: not offered.
    kCmHelpLinkFirst = 9021,
    kCmHelpLinkLast = 9039,
};

// The cue mark message's data for deck A and B.
enum MainCueMessage : int {
    kCueMessageA = 329,
    kCueMessageB = 330,
};

struct MainMenuEntry {
    int id;  // a command, or a MainMenuEntryKind
    const char* text;
};

// The whole menu bar, top-level menus included (each opened by kMenuOpen).
const MainMenuEntry* MainMenuDescription(int* count);

// What the enabled states depend on.
struct MainMenuState {
    int rowCount = 0;        // rows in the library list
    int selectedCount = 0;   // selected rows
    bool deckLoaded[2] = {false, false};  // a track on deck A, B
};

// Whether command `id` can be used in `state`; false for ids the window does not act on.
bool MainMenuCommandEnabled(int id, const MainMenuState& state);

// The library list's context menu for `state`.
LPopupMenu MainContextMenu(const MainMenuState& state);

// What a per-deck command does.
enum class MainDeckAction : int {
    kPlayPause,
    kCuePlay,
    kCuePause,
    kSetCueMark,
    kLoop,
    kSync,
    kHeadphones,
    kKillBass,
    kKillMid,
    kKillHigh,
    kEffect,
    kJumpToStart,
    kEditBPM,
    kReset,
    kSnapCue,
    kVolumeUp,
    kVolumeDown,
};

struct MainDeckCommand {
    MainDeckAction action = MainDeckAction::kPlayPause;
    int deck = 0;    // 0 deck A, 1 deck B
    int effect = 0;  // for kEffect: 0 distortion .. 5 delay
};

// Decodes a per-deck command; false for any other id.
bool MainDecodeDeckCommand(int id, MainDeckCommand* command);

// The effect's name as the effect display shows it when switched on.
const char* MainEffectName(int effect);

// A deck or master level one dB step up (+1) or down (-1), held to -127..127 dB.
int MainStepLevel(int levelDb, int step);

// The crossfader position a crossfade command asks for, from `current`; -1 for the automatic
// fades and other ids.
int MainCrossfadePosition(int id, int current);

// The About box's text: the program's name, version and what it is.
std::string MainAboutText();
// Where settings live, until the preferences dialog exists.
std::string MainSettingsText(const std::string& settingsPath);

// `text` as one word for the shell, whatever it holds.
std::string MainShellQuote(const std::string& text);

// The folders where the desktop mounts its volumes (GVFS): $XDG_RUNTIME_DIR/gvfs, then
// /run/user/<uid>/gvfs when it differs.
std::vector<std::string> MainGvfsRoots();
// The audio CDs mounted under `roots`: folders named "cdda:host=*", sorted by
// name, each once.
std::vector<std::string> MainFindAudioCDs(const std::vector<std::string>& roots);
