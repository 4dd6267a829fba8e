#pragma once

// Pieces of the library's real-window tests: the program run with a home of its own, where
// its window's parts are on the screen, the pointer's drags, the stand-in file manager that
// drops paths from outside, what the capture device heard and what library.xml kept.
#include "app/DJLibrary.h"
#include "app/LSettings.h"
#include "mainwindow/WindowManagerRequests.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "ui/DJDeckGUI.h"
#include "ui/DJTheme.h"
#include "ui/LListView.h"
#include "ui/LWindow.h"
#include "ui/XvfbTestSupport.h"

#include <QAbstractItemView>
#include <QImage>
#include <QMenuBar>
#include <QWidget>


#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <numbers>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace LibraryXvfb {

using namespace XvfbTest;

constexpr int kRate = 44100;                // Hz of every test track
constexpr int kConsoleWidth = 200;          // pixels between the two deck panels
constexpr int kPanelMargin = 5;             // pixels around the panels
constexpr int kListTop = 404;               // pixels from the content's top to the list
constexpr int kDeckBGap = 15;               // pixels the layout adds before deck B
constexpr int kSourceSize[2] = {160, 120};  // the drag source's window, pixels

// No headphone channels, so the check for headphones on the main channels stays quiet at start.
inline void QuietOutputChannelCheck()
{
    LUserSettingSetString("Settings", "HeadphoneOutputLeft", "-1");
    LUserSettingSetString("Settings", "HeadphoneOutputRight", "-1");
}

// ---- files

inline void _PutLE(std::string& out, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
}

// A 16-bit stereo WAVE file of these frames (left, right interleaved), folders made as needed.
inline void WriteWave(const std::string& path, const std::vector<int16_t>& samples)
{
    const uint32_t dataBytes = static_cast<uint32_t>(samples.size() * 2);
    std::string bytes = "RIFF";
    _PutLE(bytes, 36 + dataBytes, 4);
    bytes += "WAVEfmt ";
    _PutLE(bytes, 16, 4);
    _PutLE(bytes, 1, 2);  // PCM
    _PutLE(bytes, 2, 2);
    _PutLE(bytes, kRate, 4);
    _PutLE(bytes, kRate * 4, 4);
    _PutLE(bytes, 4, 2);
    _PutLE(bytes, 16, 2);
    bytes += "data";
    _PutLE(bytes, dataBytes, 4);
    bytes.append(reinterpret_cast<const char*>(samples.data()), dataBytes);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    WriteWholeFile(path, bytes);
}

inline void WriteToneWave(const std::string& path, double hz, int seconds)
{
    std::vector<int16_t> samples(size_t(seconds) * kRate * 2);
    for (size_t f = 0; f < samples.size() / 2; ++f) {
        const auto v = static_cast<int16_t>(std::lround(12000 * std::sin(2 * std::numbers::pi * hz * double(f) / kRate)));
        samples[2 * f] = samples[2 * f + 1] = v;
    }
    WriteWave(path, samples);
}

// A twentieth of a second of a quiet tone; answers the path.
inline std::string WriteShortWave(const std::string& path)
{
    std::vector<int16_t> samples(kRate / 20 * 2);
    for (size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<int16_t>((i * 37) % 2000 - 1000);
    }
    WriteWave(path, samples);
    return path;
}

// `count` short files with names of their own in one folder; answers their paths.
inline std::vector<std::string> WriteManyShortWaves(const std::string& folder, int count)
{
    std::vector<std::string> paths;
    std::string first;
    for (int i = 0; i < count; ++i) {
        const std::string path = folder + "/track " + std::to_string(i) + ".wav";
        if (first.empty()) {
            first = WriteShortWave(path);
        } else {
            std::filesystem::copy_file(first, path);
        }
        paths.push_back(path);
    }
    return paths;
}

// library.xml holding these tracks (16-bit stereo WAVE files at kRate), titled by file name.
inline void WriteLibrary(const std::vector<std::string>& tracks)
{
    DJLibrary library(nullptr);
    for (const std::string& track : tracks) {
        const auto frames = (std::filesystem::file_size(track) - 44) / 4;
        LPlayItem item(track.c_str());
        LHashTable& f = item.Parms();
        f.SetString("title", std::filesystem::path(track).stem().c_str());
        f.SetString("album", "Unknown");
        f.SetString("artist", "Unknown");
        f.SetString("bpm", "0");
        f.SetString("version", "1");
        f.SetString("length", std::to_string(frames).c_str());
        f.SetString("samplerate", std::to_string(kRate).c_str());
        f.SetString("beatfreq", "0");
        f.SetString("beatoffset", "0");
        f.SetString("cuemarkpos", "0");
        library.GetList().AddItem(item);
    }
    const std::string file = DJLibrary::GetLibraryFilePath();
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    library.SaveTo(file);
}

// The paths library.xml holds now, in its order.
inline std::vector<std::string> LibraryPaths()
{
    DJLibrary library(nullptr);
    library.LoadFrom(DJLibrary::GetLibraryFilePath());
    std::vector<std::string> paths;
    for (const auto& item : library.GetList().GetItems()) {
        paths.emplace_back(item->GetPath());
    }
    return paths;
}

inline bool LibraryFileDamaged()
{
    DJLibrary library(nullptr);
    return !library.LoadFrom(DJLibrary::GetLibraryFilePath()) || library.IsLoadedFileDamaged();
}

// ---- sound

inline std::vector<int> ReadCapture(const std::string& path)
{
    // A file that cannot be read gives an error source of no length.
    LSoundSource source = LWaveFile::OpenSource(path.c_str());
    std::vector<int> samples(size_t(std::max(source->GetEndSample(), 0)) * source->GetChannels());
    source->Read(samples.data(), source->GetEndSample());
    return samples;
}

// The share of the left channel's power, from its first to its last sounding frame, that a
// sine of `hz` carries: near 1 for that tone alone, near 0 for another one.
inline double ToneShare(const std::vector<int>& stereo, double hz)
{
    const size_t frames = stereo.size() / 2;
    size_t first = 0, last = frames;
    while (first < frames && stereo[2 * first] == 0) {
        ++first;
    }
    while (last > first && stereo[2 * (last - 1)] == 0) {
        --last;
    }
    if (last - first < size_t(kRate) / 10) {
        return 0;
    }
    std::complex<double> sum = 0;
    double power = 0;
    for (size_t f = first; f < last; ++f) {
        const double x = stereo[2 * f];
        sum += x * std::polar(1.0, -2 * std::numbers::pi * hz * double(f) / kRate);
        power += x * x;
    }
    const double n = double(last - first);
    const double amplitude = 2 * std::abs(sum) / n;
    return amplitude * amplitude / 2 / (power / n);
}

// Until the capture file holds `seconds` of stereo sound at 32 bits (or twice that at 16).
inline bool WaitCaptureSeconds(const std::string& path, double seconds)
{
    const auto wanted = static_cast<std::uintmax_t>(44 + seconds * kRate * 2 * 4);
    return WaitFor([&] {
        std::error_code error;
        const auto size = std::filesystem::file_size(path, error);
        return !error && size >= wanted;
    });
}

// ---- the program

// Visible windows of a process whose name matches `name` (a regular expression; "" any).
inline std::vector<unsigned long> VisibleWindows(pid_t pid, const std::string& name = "")
{
    std::vector<std::string> argv{"xdotool", "search", "--all", "--onlyvisible", "--pid", std::to_string(pid)};
    if (!name.empty()) {
        argv.insert(argv.end(), {"--name", name});
    }
    std::string output;
    RunProgram(argv, &output);
    std::vector<unsigned long> windows;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (const unsigned long id = std::strtoul(line.c_str(), nullptr, 10)) {
            windows.push_back(id);
        }
    }
    return windows;
}

// The program on this test's home, sound to the capture file at real-time pace.
class RunningProgram {
public:
    explicit RunningProgram(const std::string& capture)
    {
        pid = Spawn({ORVANE_PROGRAM_PATH}, {"ORVANE_AUDIO_CAPTURE=" + capture});
        std::string output;
        if (RunProgram({"timeout", "30", "xdotool", "search", "--sync", "--all", "--onlyvisible", "--pid",
                        std::to_string(pid), "--name", "^Orvane$"},
                       &output) == 0) {
            window = std::strtoul(output.c_str(), nullptr, 10);
        }
    }
    ~RunningProgram()
    {
        if (!_ended) {
            Stop(pid);
        }
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    // Asks the window to close as the window manager does, until the process exits (a request
    // sent as the window maps is at times not delivered on Xvfb); its exit status, or -1.
    int Close()
    {
        // A loaded machine may take long to stop a playing deck and save under the sanitizers.
        constexpr unsigned int kRetryMs = 2000, kCloseMs = 3 * kWaitMs;
        for (unsigned int waited = 0; waited < kCloseMs; waited += kRetryMs) {
            if (!SendDeleteWindow(window)) {
                break;
            }
            if (const int status = WaitExit(pid, kRetryMs); status != -1) {
                _ended = true;
                return status;
            }
        }
        return -1;
    }

    // The process has ended by other means (and was waited for).
    void Forget() { _ended = true; }

    pid_t pid = -1;
    unsigned long window = 0;

private:
    bool _ended = false;
};

// ---- where things are on the screen

struct WindowGeometry {
    int x = 0, y = 0, width = 0, height = 0;
};

inline WindowGeometry GetWindowGeometry(unsigned long window)
{
    std::string output;
    RunProgram({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)}, &output);
    WindowGeometry g;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const auto eq = line.find('=');
        const std::string key = line.substr(0, eq == std::string::npos ? 0 : eq);
        const int value = eq == std::string::npos ? 0 : std::atoi(line.c_str() + eq + 1);
        if (key == "X") {
            g.x = value;
        } else if (key == "Y") {
            g.y = value;
        } else if (key == "WIDTH") {
            g.width = value;
        } else if (key == "HEIGHT") {
            g.height = value;
        }
    }
    return g;
}

// The list's rows in a list of the program's own kind made in this process: the same toolkit,
// fonts and style give the same header and row heights as in the program's window.
struct ListRows {
    int firstCentreY = 0;  // pixels below the list's top
    int height = 0;        // pixels a row
};

inline ListRows MeasureListRows(int width)
{
    class ProbeWindow : public LWindow {};
    class NoHandler : public LListViewHandler {};
    static const LListViewColumn kColumns[] = {
        {"Title", 17, LListViewSortKind::kText}, {"Artist", 19, LListViewSortKind::kText},
        {"Album", 19, LListViewSortKind::kText}, {"Time", 10, LListViewSortKind::kTime},
        {"BPM", 9, LListViewSortKind::kNumber},  {"Deck", 7, LListViewSortKind::kText},
    };
    ProbeWindow window;
    NoHandler handler;
    window.CreateTopLevel("list probe", width, 300);
    LListView list(window, 239, handler);
    list.SetColumns(kColumns, 6);
    std::vector<LListViewRow> rows(3);
    for (int i = 0; i < 3; ++i) {
        rows[i].cells = {"t", "a", "b", "0:01.0", "-", ""};
        rows[i].index = i;
    }
    list.SetRows(std::move(rows));
    list.SetGeometry(0, 0, width, 250);
    list.AdjustColumns(width);
    window.Show();
    WaitExposed(window.GetWidget());
    QWidget* widget = list.GetWidget();
    auto* view = qobject_cast<QAbstractItemView*>(widget);
    if (!view && widget) {
        view = widget->findChild<QAbstractItemView*>();
    }
    ListRows measured;
    if (view && view->model()) {
        const QRect first = view->visualRect(view->model()->index(0, 0));
        const QRect second = view->visualRect(view->model()->index(1, 0));
        measured.firstCentreY = view->viewport()->mapTo(widget, first.center()).y();
        measured.height = second.top() - first.top();
    }
    return measured;
}

// The menu bar's height as the toolkit gives it in this process.
inline int MeasureMenuBarHeight()
{
    QWidget window;
    auto* bar = new QMenuBar(&window);
    for (const char* title : {"File", "&Controls", "Window", "Help"}) {
        bar->addMenu(title);
    }
    return bar->sizeHint().height();
}

// Screen points of the parts of the program's window, from the layout's rules.
class WindowLayout {
public:
    explicit WindowLayout(unsigned long window) : _window(window), _g(GetWindowGeometry(window))
    {
        _top = MeasureMenuBarHeight();
        _deckWidth = (_g.width - kConsoleWidth) / 2;
        _rows = MeasureListRows(_g.width - 2 * kPanelMargin);
    }
    unsigned long Window() const { return _window; }
    int DeckPanelWidth() const { return _deckWidth - 2 * kPanelMargin; }
    // The deck panel's top left corner in the window.
    QPoint DeckOrigin(int deck) const
    {
        const int x = deck == kDeckLeft ? kPanelMargin : _deckWidth - 2 * kPanelMargin + kConsoleWidth + kDeckBGap;
        return {x, _top + kPanelMargin};
    }
    // A control's rectangle in the window.
    QRect DeckControlRect(int deck, int id) const
    {
        const DJDeckRect r = DJDeckControlRect(id, DeckPanelWidth());
        return {DeckOrigin(deck) + QPoint(r.x, r.y), QSize(r.width, r.height)};
    }
    QPoint DeckControlCentre(int deck, int id) const { return _Screen(DeckControlRect(deck, id).center()); }
    QPoint DeckDropCentre(int deck) const { return DeckControlCentre(deck, kDeckWaveDetailed); }
    QPoint RowCentre(int row) const
    {
        return _Screen({kPanelMargin + 40, _top + kListTop + _rows.firstCentreY + row * _rows.height});
    }
    // Inside the list, below its first rows.
    QPoint ListCentre() const { return _Screen({_g.width / 2, _top + kListTop + _rows.firstCentreY + 4 * _rows.height}); }

private:
    QPoint _Screen(QPoint inWindow) const { return inWindow + QPoint(_g.x, _g.y); }
    unsigned long _window;
    WindowGeometry _g;
    int _top = 0;
    int _deckWidth = 0;
    ListRows _rows;
};

// The Cancel button of a progress window: at its bottom right corner.
inline QPoint CancelButtonCentre(unsigned long progressWindow)
{
    constexpr int kFromRight = 50, kFromBottom = 22;  // pixels to the button's centre
    const WindowGeometry g = GetWindowGeometry(progressWindow);
    return {g.x + g.width - kFromRight, g.y + g.height - kFromBottom};
}

// ---- the pointer

inline bool ClickAt(QPoint screen)
{
    return MovePointer(screen) && Xdotool({"click", "1"});
}

// Presses at `from`, moves in steps to `to`, lingers there with small moves (so the drop
// target has answered the drag's position) and lets go.
inline bool DragWithPointer(QPoint from, QPoint to)
{
    if (!MovePointer(from) || !Xdotool({"mousedown", "1"})) {
        return false;
    }
    bool moved = true;
    constexpr int kSteps = 12;
    for (int i = 1; i <= kSteps && moved; ++i) {
        moved = MovePointer(from + (to - from) * i / kSteps + QPoint(0, i == 1 ? 20 : 0));
    }
    for (const QPoint nudge : {QPoint(2, 0), QPoint(2, 2), QPoint(0, 2), QPoint(0, 0)}) {
        moved = moved && MovePointer(to + nudge);
    }
    return Xdotool({"mouseup", "1"}) && moved;
}

// ---- what the program shows

// The picture of the window now (empty if import failed).
inline QImage Photograph(unsigned long window, const std::string& file)
{
    if (RunProgram({"import", "-window", std::to_string(window), file}) != 0) {
        return {};
    }
    return QImage(QString::fromStdString(file));
}

// Whether the deck's detailed wave draws a track.
inline bool DeckWaveShown(const RunningProgram& program, const WindowLayout& layout, int deck)
{
    const std::string file = std::filesystem::temp_directory_path() / ("orvane-deck-" + std::to_string(program.pid) + ".png");
    const QImage image = Photograph(program.window, file);
    std::filesystem::remove(file);
    const LGuiColorRef wave = DJThemeUser::GetTheme().wavePen.GetColor();
    const QRect r = layout.DeckControlRect(deck, kDeckWaveDetailed);
    int count = 0;
    for (int y = r.top(); y <= r.bottom(); ++y) {
        for (int x = r.left(); x <= r.right(); ++x) {
            count += image.valid(x, y) && PixelAt(image, {x, y}) == wave;
        }
    }
    constexpr int kWavePixels = 50;
    return count >= kWavePixels;
}

inline bool WaitDeckWaveShown(const RunningProgram& program, const WindowLayout& layout, int deck)
{
    return WaitFor([&] { return DeckWaveShown(program, layout, deck); });
}

// Until the program shows a second window (a menu).
inline bool WaitPopupShown(const RunningProgram& program)
{
    return WaitFor([&] { return VisibleWindows(program.pid).size() >= 2; });
}

// Watches the windows titled as the add tasks' progress. The progress window is made before
// any message box the task shows over it, so among those visible at once the oldest (lowest
// X id) is the progress and the others are the task's reports.
class ProgressWatch {
public:
    explicit ProgressWatch(const RunningProgram& program) : _pid(program.pid) {}
    // Looks once; always true, to sit inside a wait's condition.
    bool Poll()
    {
        std::vector<unsigned long> windows = VisibleWindows(_pid, "^Adding Files");
        std::sort(windows.begin(), windows.end());
        _visible = windows.size();
        _reportsVisible.clear();
        if (!windows.empty()) {
            _progress.insert(windows.front());
            _reportsVisible.assign(windows.begin() + 1, windows.end());
            _reports.insert(windows.begin() + 1, windows.end());
        }
        return true;
    }
    size_t Visible() const { return _visible; }
    // Progress windows seen so far.
    size_t Count() const { return _progress.size(); }
    // Message boxes seen so far, and those on screen at the last look.
    size_t Reports() const { return _reports.size(); }
    const std::vector<unsigned long>& ReportsVisible() const { return _reportsVisible; }

private:
    pid_t _pid;
    size_t _visible = 0;
    std::set<unsigned long> _progress, _reports;
    std::vector<unsigned long> _reportsVisible;
};

// The stand-in file manager: a small window in the screen's bottom right corner that drags
// the given paths as text/uri-list.
class DropFromOutside {
public:
    explicit DropFromOutside(const std::vector<std::string>& paths)
    {
        _log = std::filesystem::temp_directory_path() / ("orvane-dragsource-" + std::to_string(getpid()) + ".log");
        std::filesystem::remove(_log);
        _at = QPoint(1280 - kSourceSize[0] - 10, 1024 - kSourceSize[1] - 10);
        std::vector<std::string> argv{ORVANE_DRAGSOURCE_PATH, "--log", _log,
                                      "--at", std::to_string(_at.x()) + "," + std::to_string(_at.y()), "--"};
        argv.insert(argv.end(), paths.begin(), paths.end());
        _pid = Spawn(argv, {});
    }
    ~DropFromOutside()
    {
        Stop(_pid);
        std::filesystem::remove(_log);
    }
    DropFromOutside(const DropFromOutside&) = delete;
    DropFromOutside& operator=(const DropFromOutside&) = delete;

    bool Shown() const
    {
        return WaitFor([&] { return _Logged("ready\n") && !VisibleWindows(_pid).empty(); });
    }
    // Drags from the source's window to `screen`; true when the target took the drop.
    bool DropOnto(QPoint screen) const
    {
        const QPoint from = _at + QPoint(kSourceSize[0] / 2, kSourceSize[1] / 2);
        if (!DragWithPointer(from, screen) || !WaitFor([&] { return _Logged("drag end"); })) {
            return false;
        }
        return !_Logged("drag end 0\n");
    }

private:
    bool _Logged(const std::string& text) const
    {
        std::error_code error;
        return std::filesystem::exists(_log, error) && ReadWholeFile(_log).find(text) != std::string::npos;
    }
    std::string _log;
    QPoint _at;
    pid_t _pid = -1;
};

}  // namespace LibraryXvfb
