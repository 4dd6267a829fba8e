// orvane-gallery: one window with every control, button look and theme image of the toolkit,
// for developers and for the screenshot tests. Not installed.
#include "base/LSafeWrite.h"
#include "gallery/GalleryDeck.h"
#include "gallery/GalleryLayout.h"
#include "gallery/GalleryWindow.h"
#include "gallery/ConsolePanels.h"
#include "mainwindow/MainDialog.h"
#include "ui/DJDeckGUI.h"
#include "ui/LGuiApplication.h"

#include <QApplication>

#include <QBuffer>
#include <QByteArray>
#include <QPixmap>
#include <QWidget>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

enum ExitCode : int { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

struct Options {
    bool still = false;
    std::string screenshot;  // empty: run the window
    std::string deck;        // deck mode: the track to load
    bool play = false;       // deck and window modes: play from the start
    std::string window[2];   // window mode: the tracks of deck A and deck B
};

void _PrintUsage(FILE* to)
{
    std::fprintf(to,
                 "Usage: orvane-gallery [--still] [--screenshot FILE.png]\n"
                 "       orvane-gallery --deck FILE.wav [--play]\n"
                 "       orvane-gallery --window A.wav B.wav [--play]\n"
                 "  --still       start with the meters' test signal off, so nothing moves\n"
                 "  --screenshot  render the window into FILE.png and exit (no display needed)\n"
                 "  --deck        one deck panel over the console on the default sound device\n"
                 "                (the capture device while ORVANE_AUDIO_CAPTURE is set), with\n"
                 "                FILE.wav loaded and its beats scanned\n"
                 "  --window      the program's main window, with the user's settings and library,\n"
                 "                A.wav on deck A and B.wav on deck B, their beats scanned\n"
                 "  --play        with --deck or --window: play from the start\n");
}

bool _IsSet(const char* name)
{
    const char* value = std::getenv(name);
    return value && value[0];
}

// Answers an exit code when the program should end at once, else -1.
int _ParseOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (std::strcmp(arg, "--help") == 0) {
            _PrintUsage(stdout);
            return kExitOk;
        }
        if (std::strcmp(arg, "--still") == 0) {
            options.still = true;
        } else if (std::strcmp(arg, "--screenshot") == 0 && i + 1 < argc && argv[i + 1][0]) {
            options.screenshot = argv[++i];
        } else if (std::strcmp(arg, "--deck") == 0 && i + 1 < argc && argv[i + 1][0]) {
            options.deck = argv[++i];
        } else if (std::strcmp(arg, "--window") == 0 && i + 2 < argc && argv[i + 1][0] && argv[i + 2][0]) {
            options.window[0] = argv[++i];
            options.window[1] = argv[++i];
        } else if (std::strcmp(arg, "--play") == 0) {
            options.play = true;
        } else {
            std::fprintf(stderr, "orvane-gallery: unexpected argument '%s'\n", arg);
            _PrintUsage(stderr);
            return kExitUsage;
        }
    }
    const bool deckMode = !options.deck.empty();
    const bool windowMode = !options.window[0].empty();
    const bool otherOptions = options.still || !options.screenshot.empty();
    if ((options.play && !deckMode && !windowMode) || ((deckMode || windowMode) && otherOptions) ||
        (deckMode && windowMode)) {
        std::fprintf(stderr, "orvane-gallery: --play goes with --deck or --window alone\n");
        _PrintUsage(stderr);
        return kExitUsage;
    }
    return -1;
}

// The deck mode's window until it is closed; fails at once when the track cannot be loaded.
int _RunDeck(LGuiApplication& application, const Options& options)
{
    GalleryDeckWindow window;
    window.QuitOnSignals();
    window.Create();
    window.Show();
    if (!window.Open(options.deck.c_str(), options.play)) {
        std::fprintf(stderr, "orvane-gallery: %s\n", window.GetLastMessage().c_str());
        return kExitFailed;
    }
    return application.Run();
}

// The program's main window with a track on each deck, until it is closed. A track that cannot
// be loaded ends it at once.
int _RunMainWindow(const Options& options)
{
    MainDialog dialog;
    if (!dialog.MainWindowInitCommon()) {
        std::fprintf(stderr, "orvane-gallery: the main window could not be made\n");
        return kExitFailed;
    }
    for (int deck : {0, 1}) {
        const std::string& path = options.window[deck];
        if (!dialog.GetDeckPanel(deck)->Load(path.c_str(), 0, 0, 0)) {
            std::fprintf(stderr, "orvane-gallery: cannot load %s\n", path.c_str());
            dialog.MainWindowDestroyCommon();
            return kExitFailed;
        }
    }
    if (options.play) {
        for (int deck : {0, 1}) {
            dialog.GetDeckPanel(deck)->CmPlay();
        }
    }
    // SIGTERM and the window's close button end the loop through the window's own quit.
    const int result = QApplication::exec();
    dialog.MainWindowDestroyCommon();
    return result;
}

// The window as it paints, into a PNG written whole or not at all.
int _SaveScreenshot(GalleryWindow& window, const std::string& path)
{
    const QPixmap pixmap = window.GetWidget()->grab();
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (pixmap.isNull() || !pixmap.save(&buffer, "PNG")) {
        std::fprintf(stderr, "orvane-gallery: could not render the window\n");
        return kExitFailed;
    }
    if (!LSafeWriteFile(path.c_str(), png.constData(), static_cast<size_t>(png.size()))) {
        std::fprintf(stderr, "orvane-gallery: cannot write %s\n", path.c_str());
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    if (const int code = _ParseOptions(argc, argv, options); code >= 0) {
        return code;
    }
    // A screenshot needs no display: without one it renders off screen.
    if (!options.screenshot.empty() && !_IsSet("DISPLAY") && !_IsSet("WAYLAND_DISPLAY") &&
        !_IsSet("QT_QPA_PLATFORM")) {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }
    const char* why = nullptr;
    if (!LGuiApplication::CanStart(&why)) {
        std::fprintf(stderr, "orvane-gallery: %s\n", why ? why : "no display");
        return kExitFailed;
    }
    LGuiApplication application(argc, argv);
    if (!options.deck.empty()) {
        return _RunDeck(application, options);
    }
    if (!options.window[0].empty()) {
        return _RunMainWindow(options);
    }
    GalleryMeters meters = options.still ? GalleryMeters::kSilent : GalleryMeters::kMoving;
    if (!options.screenshot.empty()) {
        meters = GalleryMeters::kHeld;
    }
    GalleryWindow window(meters);
    window.CreateTopLevel(GalleryLayout::kTitle, GalleryLayout::kWindowWidth,
                          GalleryLayout::kWindowHeight);
    if (!options.screenshot.empty()) {
        return _SaveScreenshot(window, options.screenshot);
    }
    window.Show();
    const auto consolePanels = GalleryShowConsolePanels();
    return application.Run();
}
