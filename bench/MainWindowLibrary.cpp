// The library list of the main window at the sizes DJs keep: RefreshLibraryList (the rows
// rebuilt from the library, then the repaint it causes) and a sort of the list by title, on a
// main window made off screen with a library.xml this program writes in a home of its own.
// Release build: build/release/bench/bench_MainWindowLibrary
#include "app/LSettings.h"
#include "mainwindow/MainDialog.h"
#include "tests/mainwindow/CancellingPrompts.h"
#include "ui/LGuiApplication.h"

#include <QCoreApplication>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

// Cancels every question and prints each alert.
class SilentPrompts : public CancellingPrompts {
public:
    void Alert(const std::string& title, const std::string& text) override
    {
        std::fprintf(stderr, "alert: %s: %s\n", title.c_str(), text.c_str());
    }
};

std::string gHome;

// A home of its own: the bench never reads or writes the user's settings or library.
void _MakeHome()
{
    char pattern[] = "/tmp/orvane-bench-window-XXXXXX";
    const char* made = mkdtemp(pattern);
    gHome = made ? made : "/tmp";
    setenv("HOME", gHome.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (gHome + "/.config").c_str(), 1);
    setenv("XDG_DATA_HOME", (gHome + "/.local/share").c_str(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("ORVANE_AUDIO_CAPTURE", (gHome + "/capture.wav:fast").c_str(), 1);
}

// Titles in no order, so that a sort moves nearly every row.
std::string _Title(int i)
{
    const unsigned int mixed = static_cast<unsigned int>(i) * 2654435761u;
    return "Track " + std::to_string(mixed % 1000003u) + " " + std::to_string(i);
}

// library.xml of `count` entries with every field the program writes.
void _WriteLibrary(int count)
{
    DJLibrary library(nullptr);
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        LPlayItem item(("/home/dj/Music/Artist " + std::to_string(i % 700) + "/" + n + " track.mp3").c_str());
        LHashTable& f = item.Parms();
        f.SetString("title", _Title(i).c_str());
        f.SetString("album", ("Album " + std::to_string(i % 3000)).c_str());
        f.SetString("artist", ("Artist " + std::to_string(i % 700)).c_str());
        f.SetString("bpm", i % 5 ? "124.35" : "0");
        f.SetString("version", "1");
        f.SetString("length", std::to_string(9000000 + 37 * i).c_str());
        f.SetString("samplerate", "44100");
        f.SetString("beatfreq", "21278");
        f.SetString("beatoffset", "1234");
        f.SetString("cuemarkpos", "0");
        library.GetList().AddItem(item);
    }
    const std::string file = DJLibrary::GetLibraryFilePath();
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    if (!library.SaveTo(file)) {
        std::fprintf(stderr, "cannot write %s\n", file.c_str());
        std::exit(1);
    }
}

// One main window over a library of one size, kept while benchmarks of that size run.
class Window {
public:
    explicit Window(int count) : _count(count)
    {
        _WriteLibrary(count);
        _dialog = std::make_unique<MainDialog>(MainDialogFiles{gHome + "/counts.txt"});
        _dialog->SetUserPrompts(std::make_unique<SilentPrompts>());
        if (!_dialog->MainWindowInitCommon() || _dialog->GetListRowCount() != count) {
            std::fprintf(stderr, "the window did not come up with %d rows\n", count);
            std::exit(1);
        }
        QCoreApplication::processEvents();
    }
    ~Window()
    {
        _dialog->MainWindowDestroyCommon();
        // The next size starts from its own file.
        std::filesystem::remove(DJLibrary::GetLibraryFilePath());
    }
    int Count() const { return _count; }
    MainDialog& Dialog() { return *_dialog; }

private:
    int _count;
    std::unique_ptr<MainDialog> _dialog;
};

std::unique_ptr<Window> gWindow;

MainDialog& _WindowOf(int count)
{
    if (!gWindow || gWindow->Count() != count) {
        gWindow.reset();
        gWindow = std::make_unique<Window>(count);
    }
    return gWindow->Dialog();
}

// The rebuild alone, as the commands call it.
void BM_RefreshLibraryList(benchmark::State& state)
{
    MainDialog& dialog = _WindowOf(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        dialog.RefreshLibraryList();
        benchmark::DoNotOptimize(dialog.GetListRowCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RefreshLibraryList)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The rebuild and the repaint of the window that follows it: what the user waits for.
void BM_RefreshLibraryListPainted(benchmark::State& state)
{
    MainDialog& dialog = _WindowOf(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        dialog.RefreshLibraryList();
        dialog.GetWidget()->repaint();
        QCoreApplication::processEvents();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RefreshLibraryListPainted)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

// A click on the Title header: the list sorts, the library follows it (SortCompleted), the
// window repaints. Each turn sorts the other way, so every turn reorders the rows.
void BM_SortByTitle(benchmark::State& state)
{
    MainDialog& dialog = _WindowOf(static_cast<int>(state.range(0)));
    bool ascending = true;
    for (auto _ : state) {
        dialog.GetList()->SortByColumn(kColumnTitle, ascending);
        dialog.GetWidget()->repaint();
        QCoreApplication::processEvents();
        ascending = !ascending;
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SortByTitle)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv)
{
    _MakeHome();
    // No headphone channels, so the start-up check of the output channels stays quiet.
    LUserSettingSetString("Settings", "HeadphoneOutputLeft", "-1");
    LUserSettingSetString("Settings", "HeadphoneOutputRight", "-1");
    int qtArgc = 1;
    LGuiApplication application(qtArgc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    gWindow.reset();
    benchmark::Shutdown();
    std::filesystem::remove_all(gHome);
    return 0;
}
