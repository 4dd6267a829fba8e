#include "ui/DJDeckInfo.h"

#include "engine/DJDeck.h"
#include "ui/DJFaderMessages.h"

#include <cstdio>
#include <strings.h>

namespace {

constexpr LGuiColorRef kBlack = LGuiColorRef::FromRGB(0, 0, 0);
constexpr float kFrameInset = 2;          // pixels, the black frame
constexpr float kLetterBoxPos = 4.5f;     // pixels, x and y of the letter box
constexpr float kLetterBoxWidth = 27;     // pixels
constexpr float kLetterBoxHeight = 28;    // pixels
constexpr float kLetterAX = 8;            // pixels; "B" is one further right
constexpr float kLetterY = 2;             // pixels
constexpr float kTextX = 35;              // pixels, the names and the BPM
constexpr float kNamesY = 5;              // pixels
constexpr float kNamesHeight = 14;        // pixels
constexpr int kNamesRightReserve = 111;   // pixels right of the names kept for the times
constexpr float kBpmY = 17;               // pixels
constexpr float kScanningBoxX = 34.5f;    // pixels
constexpr float kScanningBoxY = 18.5f;    // pixels
constexpr float kScanningBoxExtra = 6;    // pixels added to the text's width
constexpr float kScanningBoxHeight = 13;  // pixels
constexpr float kScanningTextY = 19;      // pixels
constexpr int kElapsedRightOffset = 73;   // pixels from the right edge
constexpr int kRemainingRightOffset = 70; // pixels from the right edge
constexpr float kElapsedY = 5;            // pixels
constexpr float kRemainingY = 17;         // pixels
constexpr int kSecondsPerMinute = 60;

}  // namespace

DJDeckInfo::DJDeckInfo()
{
    ClearInfo();
}

std::string DJDeckInfo::_Cut(const char* text)
{
    std::string cut = text ? text : "";
    if (cut.size() > kMaxTextChars) {
        cut.resize(kMaxTextChars);
    }
    return cut;
}

void DJDeckInfo::SetDeckLetter(char letter)
{
    _deckLetter = letter;
    Update();
}

bool DJDeckInfo::_ComputeBpm()
{
    if (!_deck) {
        return false;
    }
    const int beatLength = _deck->GetBeatFrequency();  // samples a beat
    const int rate = _deck->GetSampleRate();
    if (beatLength <= 0 || rate <= 0) {
        return false;
    }
    _bpm = static_cast<double>(rate) / beatLength * kSecondsPerMinute;
    char text[32];
    std::snprintf(text, sizeof text, "%.2f BPM", _bpm);
    _bpmText = text;
    return true;
}

void DJDeckInfo::SetDeckInfo(const char* title, const char* artist, const char* remaining)
{
    _timer.Kill();
    _title = _Cut(title);
    _artist = _Cut(artist);
    _remaining = _Cut(remaining);
    _elapsed = kEmptyElapsed;
    if (!_ComputeBpm()) {
        _bpm = 0.0;
        _timer.Set(kBlinkMs);
    }
    Update();
}

void DJDeckInfo::SetDeckTime(const char* elapsed, const char* remaining)
{
    const std::string newElapsed = _Cut(elapsed);
    if (strcasecmp(newElapsed.c_str(), _elapsed.c_str()) == 0) {
        return;
    }
    _elapsed = newElapsed;
    _remaining = _Cut(remaining);
    Update(GetWidth() - kTimeAreaRightOffset, 0, kTimeAreaWidth, GetHeight());
}

void DJDeckInfo::ClearInfo()
{
    _title.clear();
    _artist.clear();
    _elapsed = kEmptyElapsed;
    _remaining = kEmptyRemaining;
    _bpmText = kEmptyBpm;
    _blink = false;
    Update();
}

void DJDeckInfo::ClearDeck()
{
    _elapsed.clear();
    _remaining.clear();
    _bpm = 0.0;
    ClearInfo();
}

void DJDeckInfo::TimerAction()
{
    const bool loaded = _deck && _deck->IsLoaded();
    if (loaded && _ComputeBpm()) {
        _blink = false;
    } else if (loaded) {
        _blink = !_blink;
        _timer.Set(kBlinkMs);
    }
    Update();
}

void DJDeckInfo::Paint(PaintData& data)
{
    const DJTheme& theme = GetTheme();
    const int width = GetWidth();
    const int height = GetHeight();
    FillRect(data, theme.waveBackground, 0, 0, static_cast<float>(width),
             static_cast<float>(height));
    StrokeRect(data, kBlack, 1, kFrameInset, kFrameInset, static_cast<float>(width - 5),
               static_cast<float>(height - 5));
    FillRect(data, theme.deckLetterBox, kLetterBoxPos, kLetterBoxPos, kLetterBoxWidth,
             kLetterBoxHeight);
    const LGuiFont saved = data.font;
    data.font = theme.deckLetterFont;
    const char letter[2] = {_deckLetter == 'A' ? 'A' : 'B', '\0'};
    DrawText(data, letter, _deckLetter == 'A' ? kLetterAX : kLetterAX + 1, kLetterY, 0, 0);
    _PaintTexts(data, width);
    data.font = saved;
}

void DJDeckInfo::_PaintTexts(PaintData& data, int width)
{
    const DJTheme& theme = GetTheme();
    data.font = theme.infoFont;
    const std::string names = _artist + " - " + _title;
    const float namesWidth = static_cast<float>(width - kNamesRightReserve);
    if (namesWidth > 0) {
        DrawText(data, names.c_str(), kTextX, kNamesY, namesWidth, kNamesHeight,
                 LHAlignment::kLeft, LVAlignment::kTop, LWrapping::kEllipsisEnd);
    }
    if (_bpm > 0) {
        char text[32];
        std::snprintf(text, sizeof text, "%.2f%s", _bpm, " BPM");
        DrawText(data, text, kTextX, kBpmY, 0, 0);
    } else if (_blink) {
        float textWidth = 0, textHeight = 0;
        _MeasureText(data, kScanningText, 0, &textWidth, &textHeight);
        FillRect(data, theme.scanningBox, kScanningBoxX, kScanningBoxY,
                 textWidth + kScanningBoxExtra, kScanningBoxHeight);
        data.font.SetColor(theme.scanningText);
        DrawText(data, kScanningText, kTextX, kScanningTextY, 0, 0);
        data.font.SetColor(theme.infoText);
    }
    DrawText(data, _elapsed.c_str(), static_cast<float>(width - kElapsedRightOffset), kElapsedY,
             0, 0);
    DrawText(data, _remaining.c_str(), static_cast<float>(width - kRemainingRightOffset),
             kRemainingY, 0, 0);
}

void DJDeckInfo::EvRButtonDown(int /*x*/, int /*y*/)
{
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kContextMenu), GetId(), 0);
}
