#include "gallery/GalleryDeck.h"

#include "sound/LSoundTime.h"
#include "ui/DJDeckGUI.h"
#include "ui/LGuiApplication.h"

#include <csignal>
#include <cstdio>
#include <string>

namespace {

volatile std::sig_atomic_t gStopRequested = 0;

void _OnStopSignal(int)
{
    gStopRequested = 1;
}

// The name a track shows: its file name without folders.
std::string _FileName(const char* path)
{
    const std::string whole = path ? path : "";
    const size_t slash = whole.find_last_of('/');
    return slash == std::string::npos ? whole : whole.substr(slash + 1);
}

}  // namespace

GalleryDeckWindow::GalleryDeckWindow()
{
    _console.SetNotify(this);
    _deck = &_console.AddDeck(kDeckLeft);
}

GalleryDeckWindow::~GalleryDeckWindow()
{
    // The panel listens to the deck: it goes before the console and its decks.
    _deck->Stop();
    _console.Stop();
}

void GalleryDeckWindow::Create()
{
    CreateTopLevel(kTitle, kPanelWidth, kDeckPanelHeight);
}

void GalleryDeckWindow::InitDialog()
{
    _panel = std::make_unique<DJDeckGUI>();
    _panel->Init(*this, kDeckMessageId, 0, 0, kPanelWidth, kDeckPanelHeight);
    _panel->SetDeck(_deck);
}

void GalleryDeckWindow::DestroyDialog()
{
    if (_deck) {
        _deck->Stop();
    }
}

bool GalleryDeckWindow::Open(const char* path, bool play)
{
    if (!_panel) {
        return false;
    }
    _lastMessage.clear();
    if (!_panel->Load(path, 0, 0, 0)) {
        if (_lastMessage.empty()) {
            _lastMessage = std::string("cannot open ") + (path ? path : "");
        }
        return false;
    }
    char length[16];
    const int rate = _deck->GetSampleRate();
    LSoundTime(rate > 0 ? LSoundTime::FromFrames(_deck->GetEndSample(), rate) : LSoundTime())
        ._GetTextHMMSSF(length);
    _panel->SetTrackInfo(_FileName(path).c_str(), "", length);
    if (play) {
        _panel->CmPlay();
    }
    return true;
}

void GalleryDeckWindow::QuitOnSignals()
{
    struct sigaction action {};
    action.sa_handler = &_OnStopSignal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    TimerSet(kSignalTimer, kSignalPollMs);
}

void GalleryDeckWindow::EvTimer(int timerId)
{
    if (timerId != kSignalTimer) {
        LWindow::EvTimer(timerId);
        return;
    }
    if (gStopRequested) {
        LGuiApplication::Quit(0);
        return;
    }
    TimerSet(kSignalTimer, kSignalPollMs);
}

long GalleryDeckWindow::EvInterWinMessage(int /*message*/, long /*data1*/, long /*data2*/)
{
    return 0;  // the main window's duties (cue storage, clearing) have no place here
}

void GalleryDeckWindow::djcntfShowMessage(char const* text, char const* title)
{
    _lastMessage = std::string(title ? title : "") + ": " + (text ? text : "");
    std::fprintf(stderr, "orvane-gallery: %s\n", _lastMessage.c_str());
}
