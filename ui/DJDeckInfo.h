#pragma once

#include "ui/DJTheme.h"
#include "ui/LPaintControl.h"
#include "ui/LTimerHandler.h"

#include <string>

class DJDeck;

// The deck's information strip: the deck letter, "artist - title", the BPM (or a blinking
// "Scanning BPM.." while the deck's beats are unknown), the elapsed and the remaining time.
// Interface thread only.
class DJDeckInfo : public LPaintControl, public DJThemeUser {
public:
    static constexpr size_t kMaxTextChars = 260;  // longer texts are cut
    static constexpr unsigned int kBlinkMs = 200;  // the scanning text's blink period
    // The area SetDeckTime repaints: from W - kTimeAreaRightOffset, kTimeAreaWidth wide.
    static constexpr int kTimeAreaRightOffset = 58;
    static constexpr int kTimeAreaWidth = 55;
    static constexpr const char* kEmptyElapsed = "+ 0:00:00:0";
    static constexpr const char* kEmptyRemaining = "- 0:00:00:0";
    static constexpr const char* kEmptyBpm = "000.0 BPM";
    static constexpr const char* kScanningText = "Scanning BPM..";

    DJDeckInfo();

    // The deck whose beat length and track state the display reads; may be null.
    void SetDeck(DJDeck* deck) { _deck = deck; }
    DJDeck* GetDeck() const { return _deck; }
    // 'A' or 'B'; any other letter is drawn at the position of 'B'.
    void SetDeckLetter(char letter);
    char GetDeckLetter() const { return _deckLetter; }

    // A new track's texts: cancels the blink timer; the BPM from the deck's beat length, or
    // 0 and the blink timer started; elapsed back to its empty text. Repaints.
    void SetDeckInfo(const char* title, const char* artist, const char* remaining);
    // Does nothing when `elapsed` equals the stored elapsed text ignoring case; else stores
    // both and repaints only the time area.
    void SetDeckTime(const char* elapsed, const char* remaining);
    // Empty title and artist, the empty times and BPM text, blink off. Repaints.
    void ClearInfo();
    // The ClearDeck sequence's reset: empty times, BPM 0, then ClearInfo.
    void ClearDeck();

    void SetBpm(double bpm) { _bpm = bpm; }
    double GetBpm() const { return _bpm; }
    bool IsBlinking() const { return _blink; }
    bool IsTimerSet() const { return _timer.IsSet(); }
    const std::string& GetTitle() const { return _title; }
    const std::string& GetArtist() const { return _artist; }
    const std::string& GetBpmText() const { return _bpmText; }
    const std::string& GetElapsed() const { return _elapsed; }
    const std::string& GetRemaining() const { return _remaining; }

    // The blink timer's tick: the BPM once the deck knows its beats, else the blink flips and
    // the timer is set again; with no track only a repaint.
    void TimerAction();

    void Paint(PaintData& data) override;
    // Right button: asks the parent for the deck's context menu (message 4, data1 the id).
    void EvRButtonDown(int x, int y) override;

private:
    // Sets _bpm from the deck's beat length; false when the deck has none.
    bool _ComputeBpm();
    static std::string _Cut(const char* text);
    void _PaintTexts(PaintData& data, int width);

    std::string _title, _artist, _bpmText, _elapsed, _remaining;
    char _deckLetter = 'A';
    double _bpm = 0.0;
    bool _blink = false;
    LTimerCallBack<DJDeckInfo> _timer{this};
    DJDeck* _deck = nullptr;
};
