#include "mainwindow/MainMenus.h"

#include <iterator>

namespace {

// The per-deck commands come in pairs: deck A's id, deck B's the next one.
enum DeckCommandA : int {
    kDeckPlayPause = 281,
    kDeckCuePlay = 283,
    kDeckCuePause = 285,
    kDeckSetCueMark = 287,
    kDeckLoop = 289,
    kDeckSync = 291,
    kDeckHeadphones = 293,
    kDeckKillBass = 295,
    kDeckKillMid = 297,
    kDeckKillHigh = 299,
    kDeckFx1 = 301,
    kDeckJumpToStart = 313,
    kDeckEditBPM = 315,
    kDeckReset = 317,
    kDeckSnapCue = 319,
    kDeckVolumeUp = 345,
    kDeckVolumeDown = 349,
};

#define ORVANE_DECK_MENU(B)                                                                        \
    {kDeckPlayPause + (B), "Play/Pause"}, {kDeckJumpToStart + (B), "Jump to Start"},               \
        {kDeckEditBPM + (B), "Edit BPM"}, {kMenuSeparator, nullptr},                               \
        {kDeckCuePlay + (B), "Cue Play"}, {kDeckCuePause + (B), "Cue Pause"},                      \
        {kDeckSetCueMark + (B), "Set Cue Mark"}, {kDeckSnapCue + (B), "Snap Cue Mark to Beat On/Off"}, \
        {kMenuSeparator, nullptr}, {kDeckLoop + (B), "Loop On/Off"},                               \
        {kDeckSync + (B), "Sync On/Off"}, {kDeckHeadphones + (B), "Headphones On/Off"},            \
        {kMenuSeparator, nullptr}, {kDeckVolumeUp + (B), "Increase Volume"},                       \
        {kDeckVolumeDown + (B), "Decrease Volume"}, {kMenuSeparator, nullptr},                     \
        {kDeckKillBass + (B), "Kill Bass"}, {kDeckKillMid + (B), "Kill Mid"},                      \
        {kDeckKillHigh + (B), "Kill High"}, {kMenuSeparator, nullptr},                             \
        {kDeckFx1 + (B), "Fx 1 On/Off"}, {kDeckFx1 + 2 + (B), "Fx 2 On/Off"},                      \
        {kDeckFx1 + 4 + (B), "Fx 3 On/Off"}, {kDeckFx1 + 6 + (B), "Fx 4 On/Off"},                  \
        {kDeckFx1 + 8 + (B), "Fx 5 On/Off"}, {kDeckFx1 + 10 + (B), "Fx 6 On/Off"},                 \
        {kMenuSeparator, nullptr}, {kDeckReset + (B), "Reset Deck"}

const MainMenuEntry kMenu[] = {
    {kMenuOpen, "&File"},
    {kCmAddMusicFiles, "Add Music Files"},
    {kCmAddMusicFolder, "Add Music Folder"},
    {kCmLoadAudioCD, "Load Audio CD"},
    {kCmAddPlaylist, "Add Playlist"},
    {kMenuSeparator, nullptr},
    {kCmAddFileToDeckA, "Add File to Deck A"},
    {kCmAddFileToDeckB, "Add File to Deck B"},
    {kMenuSeparator, nullptr},
    {kCmRemoveFile, "Remove File"},
    {kCmClearFiles, "Clear All Files"},
    {kCmExportFiles, "Export Playlist"},
    {kCmOpenRecordingFolder, "Open Recording Folder"},
    {kMenuSeparator, nullptr},
    {kMenuOpen, "Launch"},
    {kCmRunSonivex, "Sonivex"},
    {kCmRunFurther, "Other Program"},
    {kCmRunTrakloom, "Trakloom"},
    {kMenuClose, nullptr},
    {kMenuSeparator, nullptr},
    {kCmSettings, "Preferences"},
    {kMenuSeparator, nullptr},
    {kCmQuit, "Quit"},
    {kMenuClose, nullptr},

    {kMenuOpen, "&Controls"},
    {kMenuOpen, "Deck A"},
    ORVANE_DECK_MENU(0),
    {kMenuClose, nullptr},
    {kMenuOpen, "Deck B"},
    ORVANE_DECK_MENU(1),
    {kMenuClose, nullptr},
    {kMenuSeparator, nullptr},
    {kCmMasterVolumeUp, "Increase Volume"},
    {kCmMasterVolumeDown, "Decrease Volume"},
    {kMenuSeparator, nullptr},
    {kCmCrossFadeLeft, "Crossfade Left"},
    {kCmCrossFadeRight, "Crossfade Right"},
    {kCmCrossFadeLeftAuto, "Crossfade Left Auto"},
    {kCmCrossFadeRightAuto, "Crossfade Right Auto"},
    {kCmCrossFadeLeftFull, "Crossfade Left Full"},
    {kCmCrossFadeRightFull, "Crossfade Right Full"},
    {kCmCrossFadeCenter, "Crossfade Center"},
    {kMenuClose, nullptr},

    {kMenuOpen, "&Help"},
    {kCmAbout, "About Orvane"},
    {kMenuClose, nullptr},
};

#undef ORVANE_DECK_MENU

}  // namespace

const MainMenuEntry* MainMenuDescription(int* count)
{
    *count = static_cast<int>(std::size(kMenu));
    return kMenu;
}

bool MainMenuCommandAvailable(int id)
{
    switch (id) {
    case kCmCrossFadeLeftAuto:
    case kCmCrossFadeRightAuto:
    case kCmAbout:
    case kCmQuit:
        return true;
    default:
        return false;
    }
}
