#pragma once

// The main window's menu bar as a static description: (command id, text) entries where
// kMenuOpen with a text opens a submenu, kMenuClose ends it and kMenuSeparator separates.

enum MainMenuEntryKind : int {
    kMenuSeparator = 0,
    kMenuOpen = -1,
    kMenuClose = -2,
};

// Commands of the main window. The numbers are the program's command ids.
enum MainCommand : int {
    kCmAddMusicFiles = 240,
    kCmAddMusicFolder = 241,
    kCmAddPlaylist = 242,
    kCmRemoveFile = 243,
    kCmClearFiles = 244,
    kCmExportFiles = 245,
    kCmAddFileToDeckA = 246,
    kCmAddFileToDeckB = 247,
    kCmRunSonivex = 276,
    kCmRunFurther = 278,
    kCmRunTrakloom = 279,
    kCmSettings = 280,
    kCmPlayToggleA = 281,
    kCmCrossFadeLeft = 338,
    kCmCrossFadeRight = 339,
    kCmCrossFadeLeftAuto = 340,
    kCmCrossFadeRightAuto = 341,
    kCmCrossFadeLeftFull = 342,
    kCmCrossFadeRightFull = 343,
    kCmCrossFadeCenter = 344,
    kCmMasterVolumeUp = 347,
    kCmMasterVolumeDown = 348,
    kCmOpenRecordingFolder = 361,
    kCmLoadAudioCD = 364,
    kCmAbout = 9001,
    kCmQuit = 9002,
};

struct MainMenuEntry {
    int id;  // a command, or a MainMenuEntryKind
    const char* text;
};

// The whole menu bar, top-level menus included (each opened by kMenuOpen).
const MainMenuEntry* MainMenuDescription(int* count);

// Whether the window can act on that command yet.
bool MainMenuCommandAvailable(int id);
