#pragma once

#include "engine/DJConsole.h"
#include "ui/LWindow.h"

#include <memory>
#include <string>

class DJDeckGUI;

// The gallery's deck mode: one deck panel over a real console on the default device (the
// capture device while ORVANE_AUDIO_CAPTURE is set), for trying the panel before the main
// window exists and for the real-window tests.
class GalleryDeckWindow : public LWindow, public DJConsoleNotify {
public:
    static constexpr int kPanelWidth = 560;  // pixels
    static constexpr int kDeckMessageId = 236;  // the panel of deck A
    static constexpr const char* kTitle = "Orvane Deck Gallery";

    GalleryDeckWindow();
    ~GalleryDeckWindow() override;

    // Makes the top-level window with the panel inside.
    void Create();
    // Loads a WAVE file with its beats still to be scanned, and starts it from the start when
    // `play`. False, with the console's message in GetLastMessage, when it cannot be loaded.
    bool Open(const char* path, bool play);

    DJConsole& GetConsole() { return _console; }
    DJDeck& GetDeck() { return *_deck; }
    DJDeckGUI& GetPanel() { return *_panel; }
    const std::string& GetLastMessage() const { return _lastMessage; }
    int GetBeatReports() const { return _beatReports; }

    // SIGINT and SIGTERM end the event loop, so the console stops and a capture file is
    // closed whole.
    void QuitOnSignals();

    void InitDialog() override;
    void DestroyDialog() override;
    void EvTimer(int timerId) override;
    long EvInterWinMessage(int message, long data1, long data2) override;

    // DJConsoleNotify
    void djcntfBeats(DJDeck&) override { ++_beatReports; }
    void djcntfShowMessage(char const* text, char const* title) override;

private:
    static constexpr int kSignalTimer = 1;
    static constexpr unsigned int kSignalPollMs = 100;

    DJConsole _console;
    DJDeck* _deck = nullptr;
    std::unique_ptr<DJDeckGUI> _panel;
    std::string _lastMessage;
    int _beatReports = 0;
};
