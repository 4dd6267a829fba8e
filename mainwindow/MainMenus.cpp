#include "mainwindow/MainMenus.h"

#include "OrvaneVersion.h"
#include "mainwindow/MainDeckRules.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string_view>

#include <unistd.h>

namespace {

// One deck's submenu; B is 0 for deck A and 1 for deck B.
#define ORVANE_DECK_MENU(B)                                                                        \
    {kCmPlayPauseA + (B), "Play/Pause"}, {kCmJumpToStartA + (B), "Jump to Start"},                 \
        {kCmEditBPMA + (B), "Edit BPM"}, {kMenuSeparator, nullptr},                                \
        {kCmCuePlayA + (B), "Cue Play"}, {kCmCuePauseA + (B), "Cue Pause"},                        \
        {kCmSetCueMarkA + (B), "Set Cue Mark"}, {kCmSnapCueA + (B), "Snap Cue Mark to Beat On/Off"}, \
        {kMenuSeparator, nullptr}, {kCmLoopA + (B), "Loop On/Off"},                                \
        {kCmSyncA + (B), "Sync On/Off"}, {kCmHeadphonesA + (B), "Headphones On/Off"},              \
        {kMenuSeparator, nullptr}, {kCmDeckVolumeUpA + (B), "Increase Volume"},                    \
        {kCmDeckVolumeDownA + (B), "Decrease Volume"}, {kMenuSeparator, nullptr},                  \
        {kCmKillBassA + (B), "Kill Bass"}, {kCmKillMidA + (B), "Kill Mid"},                        \
        {kCmKillHighA + (B), "Kill High"}, {kMenuSeparator, nullptr},                              \
        {kCmFx1A + (B), "Fx 1 On/Off"}, {kCmFx2A + (B), "Fx 2 On/Off"},                            \
        {kCmFx3A + (B), "Fx 3 On/Off"}, {kCmFx4A + (B), "Fx 4 On/Off"},                            \
        {kCmFx5A + (B), "Fx 5 On/Off"}, {kCmFx6A + (B), "Fx 6 On/Off"},                            \
        {kMenuSeparator, nullptr}, {kCmResetDeckA + (B), "Reset Deck"}

// "Edit with Sonivex" stands where the sibling programs' launch submenu would: it works on the
// selected track, so the menu bar offers it to keyboard users as well as the context menu.
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
    {kCmEditWithSonivex, "Edit with Sonivex"},
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

    {kMenuOpen, "&Window"},
    {kCmWindowMinimize, "Minimize"},
    {kCmWindowMaximize, "Maximize"},
    {kMenuSeparator, nullptr},
    {kCmWindowBringToFront, "Bring to Front"},
    {kMenuClose, nullptr},

    {kMenuOpen, "&Help"},
    {kCmAbout, "About Orvane"},
    {kMenuClose, nullptr},
};

#undef ORVANE_DECK_MENU

constexpr int kFirstDeckCommand = kCmPlayPauseA;
constexpr int kLastDeckCommand = kCmSnapCueB;
constexpr int kLevelMinDb = -127;
constexpr int kLevelMaxDb = 127;
constexpr int kCrossfadeStep = 3;  // positions a Crossfade Left/Right moves
constexpr int kCrossfadeMin = 0;
constexpr int kCrossfadeMax = 100;
constexpr int kCrossfadeCentre = 50;
constexpr std::string_view kAudioCDPrefix = "cdda:host=";

// Deck A's id of each per-deck pair in 281..320, in the order of MainDeckAction.
constexpr int kDeckPairFirstIds[] = {
    kCmPlayPauseA, kCmCuePlayA, kCmCuePauseA, kCmSetCueMarkA, kCmLoopA, kCmSyncA,
    kCmHeadphonesA, kCmKillBassA, kCmKillMidA, kCmKillHighA, kCmFx1A,
};

bool _AlwaysEnabled(int id)
{
    switch (id) {
    case kCmLibraryList: case kCmAddMusicFiles: case kCmAddMusicFolder: case kCmAddPlaylist:
    case kCmListContextMenu: case kCmListDoubleClick: case kCmSettings:
    case kCmCrossFadeLeft: case kCmCrossFadeRight: case kCmCrossFadeLeftAuto:
    case kCmCrossFadeRightAuto: case kCmCrossFadeLeftFull: case kCmCrossFadeRightFull:
    case kCmCrossFadeCenter: case kCmMasterVolumeUp: case kCmMasterVolumeDown:
    case kCmListSelectionChanged: case kCmOpenRecordingFolder: case kCmLoadAudioCD:
    case kCmAbout: case kCmQuit: case kCmWindowMinimize: case kCmWindowMaximize:
    case kCmWindowBringToFront:
        return true;
    default:
        return false;
    }
}

}  // namespace

const MainMenuEntry* MainMenuDescription(int* count)
{
    *count = static_cast<int>(std::size(kMenu));
    return kMenu;
}

bool MainMenuCommandEnabled(int id, const MainMenuState& state)
{
    if (_AlwaysEnabled(id))
        return true;
    MainDeckCommand deck;
    if (MainDecodeDeckCommand(id, &deck))
        return state.deckLoaded[deck.deck];
    switch (id) {
    case kCmAddFileToDeckA: case kCmAddFileToDeckB: case kCmEditWithSonivex:
    case kCmEditBPMSelected:
        return state.selectedCount == 1;
    case kCmRemoveFile:
        return state.selectedCount > 0;
    case kCmClearFiles: case kCmExportFiles:
        return state.rowCount > 0;
    default:
        return false;
    }
}

LPopupMenu MainContextMenu(const MainMenuState& state)
{
    LPopupMenu menu;
    menu.AddItem(kCmAddMusicFiles, "Add Music Files");
    menu.AddItem(kCmAddMusicFolder, "Add Music Folder");
    menu.AddItem(kCmAddPlaylist, "Add Playlist");
    if (state.selectedCount == 1) {
        menu.AddItem(kCmAddFileToDeckA, "Add to deck A");
        menu.AddItem(kCmAddFileToDeckB, "Add to deck B");
        menu.AddItem(kCmEditBPMSelected, "Edit BPM");
        menu.AddSeparator();
        menu.AddItem(kCmEditWithSonivex, "Edit with Sonivex");
    }
    if (state.rowCount > 0)
        menu.AddItem(kCmClearFiles, "Clear All Files");
    if (state.selectedCount > 0)
        menu.AddItem(kCmRemoveFile, "Remove File(s)");
    return menu;
}

bool MainDecodeDeckCommand(int id, MainDeckCommand* command)
{
    MainDeckCommand decoded;
    if (id == kCmDeckVolumeUpA || id == kCmDeckVolumeUpB) {
        decoded.action = MainDeckAction::kVolumeUp;
        decoded.deck = id - kCmDeckVolumeUpA;
    } else if (id == kCmDeckVolumeDownA || id == kCmDeckVolumeDownB) {
        decoded.action = MainDeckAction::kVolumeDown;
        decoded.deck = id - kCmDeckVolumeDownA;
    } else if (id >= kFirstDeckCommand && id <= kLastDeckCommand) {
        decoded.deck = (id - kFirstDeckCommand) % 2;
        const int first = id - decoded.deck;
        if (first >= kCmFx1A && first <= kCmFx6A) {
            decoded.action = MainDeckAction::kEffect;
            decoded.effect = (first - kCmFx1A) / 2;
        } else if (first < kCmFx1A) {
            const auto* found = std::find(std::begin(kDeckPairFirstIds), std::end(kDeckPairFirstIds), first);
            decoded.action = static_cast<MainDeckAction>(found - std::begin(kDeckPairFirstIds));
        } else {
            switch (first) {
            case kCmJumpToStartA: decoded.action = MainDeckAction::kJumpToStart; break;
            case kCmEditBPMA: decoded.action = MainDeckAction::kEditBPM; break;
            case kCmResetDeckA: decoded.action = MainDeckAction::kReset; break;
            default: decoded.action = MainDeckAction::kSnapCue; break;
            }
        }
    } else {
        return false;
    }
    *command = decoded;
    return true;
}

const char* MainEffectName(int effect)
{
    static const char* const kNames[] = {"Distortion", "High Pass Filter", "Reverb",
                                         "Phaser",     "Flanger",          "Delay"};
    return effect >= 0 && effect < static_cast<int>(std::size(kNames)) ? kNames[effect] : "";
}

int MainStepLevel(int levelDb, int step)
{
    return std::clamp(levelDb + step, kLevelMinDb, kLevelMaxDb);
}

int MainCrossfadePosition(int id, int current)
{
    switch (id) {
    case kCmCrossFadeLeft: return std::clamp(current - kCrossfadeStep, kCrossfadeMin, kCrossfadeMax);
    case kCmCrossFadeRight: return std::clamp(current + kCrossfadeStep, kCrossfadeMin, kCrossfadeMax);
    case kCmCrossFadeLeftFull: return kCrossfadeMin;
    case kCmCrossFadeRightFull: return kCrossfadeMax;
    case kCmCrossFadeCenter: return kCrossfadeCentre;
    default: return -1;
    }
}

std::string MainAboutText()
{
    return ORVANE_PRODUCT "\nVersion " ORVANE_VERSION
                          "\n\nA two-deck DJ mixing program for Linux: a library of tracks, two decks "
                          "with beat matching, a crossfader, equalisers and effects, and recording "
                          "of the mix.";
}

std::string MainSettingsText(const std::string& settingsPath)
{
    return "Orvane has no preferences dialog yet.\n\nIts settings are kept in\n" + settingsPath +
           "\n\nQuit Orvane, then change a setting with\n"
           "    orvane-tool settings set SECTION KEY VALUE\n"
           "for example\n"
           "    orvane-tool settings set Settings WaveEditor audacity\n"
           "and read one with \"orvane-tool settings get SECTION KEY\".";
}

std::string MainShellQuote(const std::string& text)
{
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

std::vector<std::string> MainGvfsRoots()
{
    std::vector<std::string> roots;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && runtime[0])
        roots.push_back(std::string(runtime) + "/gvfs");
    const std::string standard = "/run/user/" + std::to_string(getuid()) + "/gvfs";
    if (std::find(roots.begin(), roots.end(), standard) == roots.end())
        roots.push_back(standard);
    return roots;
}

std::vector<std::string> MainFindAudioCDs(const std::vector<std::string>& roots)
{
    namespace fs = std::filesystem;
    std::vector<std::string> found;
    std::vector<fs::path> seen;  // canonical folders, so a root listed twice counts once
    for (const std::string& root : roots) {
        std::error_code error;
        fs::directory_iterator it(root, error);
        for (; !error && it != fs::directory_iterator(); it.increment(error)) {
            const std::string name = it->path().filename().string();
            std::error_code entryError;  // an entry that cannot be looked at is skipped
            if (name.compare(0, kAudioCDPrefix.size(), kAudioCDPrefix) != 0 ||
                !it->is_directory(entryError))
                continue;
            const fs::path canonical = fs::weakly_canonical(it->path(), entryError);
            if (entryError || std::find(seen.begin(), seen.end(), canonical) != seen.end())
                continue;
            seen.push_back(canonical);
            found.push_back(it->path().string());
        }
    }
    // By drive name first: that is what the user chooses by.
    std::sort(found.begin(), found.end(), [](const std::string& a, const std::string& b) {
        const std::string_view nameA = MainFileNameOf(a), nameB = MainFileNameOf(b);
        return nameA != nameB ? nameA < nameB : a < b;
    });
    return found;
}
