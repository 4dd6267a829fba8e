// From a double click on a library row to sound: the main window (off screen, sound to the
// capture device at real-time pace) gets the double click as the list reports it
// (EvFileDoubleClick with the row selected); the clock stops when the console reports that the
// deck plays (djcntfPlay, called once the output runs with the deck's source in the mix).
// First with nothing in the cache (the conversion included), then again from the cached copy.
// Usage: bench_MainWindowDoubleClick TRACK [RUNS]   (bench/doubleclick_library.sh makes TRACK)
#include "app/LSettings.h"
#include "mainwindow/MainDialog.h"
#include "tests/mainwindow/CancellingPrompts.h"
#include "ui/DJDeckGUI.h"
#include "ui/LGuiApplication.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace {

constexpr int kTimeoutMs = 120000;

// Cancels every question; an alert means the measurement went wrong.
class SilentPrompts : public CancellingPrompts {
public:
    void Alert(const std::string& title, const std::string& text) override
    {
        std::fprintf(stderr, "alert: %s: %s\n", title.c_str(), text.c_str());
        failed = true;
    }
    bool failed = false;
};

// Notes when the console reports a deck playing.
class TimedDialog : public MainDialog {
public:
    using MainDialog::MainDialog;
    void djcntfPlay(DJDeck& deck) override
    {
        MainDialog::djcntfPlay(deck);
        ++plays;
    }
    int plays = 0;
};

bool _WaitFor(const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kTimeoutMs);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

std::string _MakeHome()
{
    char pattern[] = "/tmp/orvane-bench-dblclick-XXXXXX";
    const char* made = mkdtemp(pattern);
    const std::string home = made ? made : "/tmp";
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/.config").c_str(), 1);
    setenv("XDG_DATA_HOME", (home + "/.local/share").c_str(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("ORVANE_AUDIO_CAPTURE", (home + "/capture.wav").c_str(), 1);  // paced
    return home;
}

// A library of one entry: the track, with the length and rate an add would have found
// (the conversion reports the true ones).
void _WriteLibrary(const std::string& track)
{
    DJLibrary library(nullptr);
    LPlayItem item(track.c_str());
    LHashTable& f = item.Parms();
    f.SetString("title", "Five minutes");
    f.SetString("album", "Unknown");
    f.SetString("artist", "Unknown");
    f.SetString("bpm", "0");
    f.SetString("version", "1");
    f.SetString("length", "0");
    f.SetString("samplerate", "44100");
    f.SetString("beatfreq", "0");
    f.SetString("beatoffset", "0");
    f.SetString("cuemarkpos", "0");
    library.GetList().AddItem(item);
    const std::string file = DJLibrary::GetLibraryFilePath();
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    library.SaveTo(file);
}

// One double click on row 0 of a window with both decks empty; milliseconds to play, or -1.
double _DoubleClickToPlay(TimedDialog& dialog, const SilentPrompts& prompts)
{
    const int playsBefore = dialog.plays;
    dialog.GetList()->SelectRow(0);
    const auto start = std::chrono::steady_clock::now();
    dialog.EvFileDoubleClick();
    if (!_WaitFor([&] { return dialog.plays > playsBefore || prompts.failed; }) || prompts.failed) {
        return -1;
    }
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void _EmptyDecks(TimedDialog& dialog)
{
    for (int deck = 0; deck < 2; ++deck) {
        dialog.GetDeckPanel(deck)->ClearDeck();
    }
    _WaitFor([&] {
        return !dialog.IsDeckConverting(kDeckLeft) && !dialog.IsDeckConverting(kDeckRight) &&
               !dialog.GetConsole().GetDeck(kDeckLeft)->IsLoaded() &&
               !dialog.GetConsole().GetDeck(kDeckRight)->IsLoaded();
    });
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s TRACK [RUNS]\n", argv[0]);
        return 2;
    }
    const std::string track = std::filesystem::absolute(argv[1]).string();
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
    const std::string home = _MakeHome();
    LUserSettingSetString("Settings", "HeadphoneOutputLeft", "-1");
    LUserSettingSetString("Settings", "HeadphoneOutputRight", "-1");
    _WriteLibrary(track);
    int qtArgc = 1;
    LGuiApplication application(qtArgc, argv);
    int status = 0;
    {
        auto prompts = std::make_unique<SilentPrompts>();
        const SilentPrompts& said = *prompts;
        TimedDialog dialog(MainDialogFiles{home + "/counts.txt"});
        dialog.SetUserPrompts(std::move(prompts));
        if (!dialog.MainWindowInitCommon()) {
            std::fprintf(stderr, "the window did not come up\n");
            return 1;
        }
        for (int run = 0; run < runs && status == 0; ++run) {
            // The first run converts; later ones find the cached copy.
            const double ms = _DoubleClickToPlay(dialog, said);
            if (ms < 0) {
                std::fprintf(stderr, "the deck never played\n");
                status = 1;
                break;
            }
            std::printf("%s: double click to play %.0f ms\n", run == 0 ? "not cached" : "cached    ", ms);
            std::fflush(stdout);
            _EmptyDecks(dialog);
        }
        dialog.MainWindowDestroyCommon();
    }
    std::filesystem::remove_all(home);
    return status;
}
