#include "ui/DJWaveDetailed.h"

#include "engine/DJDeck.h"
#include "sound/LSRCConvertRate.h"
#include "sound/LSampleMath.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double kMsPerSecond = 1000.0;
constexpr int kMarkShift = 2;          // a peak byte gives at most 63 rows each side
constexpr int kBeatsPerBar = 4;
constexpr int kBarMarkHalf = 3;        // the 7 by 7 bar mark is centred on its column
constexpr float kTickTop = 1.0f, kTickBottom = 2.5f;
constexpr int kFlagWidth = 8, kFlagHalf = 4, kFlagInnerWidth = 4, kFlagInnerHeight = 3,
              kFlagInnerInset = 2;
constexpr int kProgressTop = 37, kProgressWidth = 260, kProgressHeight = 32;
constexpr char kAutoPlayText[] = "AutoPlay mode on";
constexpr const LGuiColorRef kBlack = LGuiColorRef::FromRGB(0, 0, 0);
constexpr const LGuiColorRef kWhite = LGuiColorRef::FromRGB(255, 255, 255);

}  // namespace

DJWaveDetailed::DJWaveDetailed() : _beats(std::make_unique<uint8_t[]>(kMaxColumns)) {}

DJWaveDetailed::~DJWaveDetailed()
{
    StopScan();
}

void DJWaveDetailed::Load(const char* path)
{
    if (!GetDeck())
        return;
    _beatsValid = false;
    DJWaveWindow::Load(path);
}

void DJWaveDetailed::CalculateSamplesPerPixel()
{
    const double pitch = std::max(_deck ? _deck->GetPitch() : 1.0, LSRCPitchSpeed::kMinSpeed);
    _samplesPerPixel = _source->GetRate() * (kDetailedSpanMs / kMsPerSecond) / (std::max(_pixelWidth, 1) * pitch);
    _frameLength = LTruncToInt(std::max(_pixelWidth, 1) * _samplesPerPixel);
}

void DJWaveDetailed::EvPitchChange()
{
    DJWaveWindow::EvPitchChange();
    _beatsValid = false;  // the adjusted beat length moves the marks
}

void DJWaveDetailed::EvSize()
{
    DJWaveWindow::EvSize();
    _pixelWidth = std::max(_pixelWidth, 1);
    SizeRuns({&_waveRun, &_loopRun, &_tickRun});
    SetFrame(_frame);
    _beatsValid = false;
}

void DJWaveDetailed::SetFrame(int sample)
{
    _frame = sample;
    _frameStart = static_cast<int>(std::max<int64_t>(int64_t(sample) - _frameLength / 2, 0));
    _lastFirstPixel = GetFirstPixel();
    _lastEndPixel = _endPixel;
    const int first = ColumnOf(_frameStart);
    _firstPixel.store(first, std::memory_order_relaxed);
    _endPixel = ColumnOf(double(_frameStart) + _frameLength);
    const int play = ColumnOf(_frame);
    _playPixel = play == 0 ? 0 : play - first;
    ThrottledUpdate();
}

void DJWaveDetailed::SetLoadProgress(int percent)
{
    _loadProgress = percent;
    ThrottledUpdate();
}

void DJWaveDetailed::SetAutoPlayMode(bool on)
{
    _autoPlayMode = on;
    ThrottledUpdate();
}

void DJWaveDetailed::SetOverDeck(bool on)
{
    _overDeck = on;
    ThrottledUpdate();
}

void DJWaveDetailed::SetDragActive(bool on)
{
    _dragActive = on;
    ThrottledUpdate();
}

uint8_t DJWaveDetailed::GetBeat(int column) const
{
    return column >= 0 && column < kMaxColumns ? _beats[column] : uint8_t(kBeatNone);
}

void DJWaveDetailed::FillBeatArray()
{
    std::fill(_beats.get(), _beats.get() + kMaxColumns, kBeatNone);
    const int count = GetPeakCount();
    if (!_deck || _deck->GetBeatFrequency() <= 0 || count == 0 || _samplesPerPixel <= 0.0)
        return;
    const int64_t period = _deck->GetBeatFrequencyPitchAdjusted();
    if (period <= 0)
        return;
    const int64_t offset = _deck->GetBeatOffset();
    const int64_t beats = std::max<int64_t>((int64_t(_source->GetEndSample()) - offset) / period, 0);
    for (int64_t beat = 0; beat <= beats; ++beat) {
        const int column = ColumnOf(double(offset + beat * period));
        if (column >= count)
            break;
        if (column >= 0)
            _beats[column] = beat % kBeatsPerBar == 0 ? kBeatBar : kBeatTick;
    }
    _beatsValid = true;
}

void DJWaveDetailed::Prepaint(PaintData& data)
{
    const DJTheme& theme = GetTheme();
    const int width = GetWidth(), height = GetHeight();
    const int left = std::max(LTruncToInt(std::floor(data.x)), 0);
    const int right = std::min(LTruncToInt(std::ceil(data.x + data.width)) - 1, width - 1);
    const int mid = (height - kStripHeight) / 2 + kStripHeight;
    FillRect(data, _dragActive ? theme.dragBackground : theme.waveBackground, data.x, data.y,
             data.width, data.height);
    if (_overDeck) {
        StrokeRect(data, kBlack, 1, 0, kStripHeight, width - 1, height - 8);
        StrokeRect(data, kBlack, 1, 1, kStripHeight + 1, width - 3, height - 10);
    }
    if (HasTrack()) {
        int x1 = left, x2 = left;
        _PaintLoop(data, left, right, height, x1, x2);
        _BuildWaveRuns(left, right, mid, x1, x2);
        StrokeRun(data, theme.wavePen, _waveRun, _waveCount);
        StrokeRun(data, theme.loopWavePen, _loopRun, _loopCount);
        VLine(data, theme.playLinePen, _playPixel, kStripHeight, height);
    }
    FillRect(data, theme.beatStrip, 0, 0, width, kStripHeight);
    _PaintBeatStrip(data, left, right);
    _PaintCue(data, height);
    HLine(data, theme.centreLinePen, left, right + 1, mid);
    if (HasTrack())
        _PaintPastEnd(data, width, height);
    _PaintProgress(data, width);
    _PaintAutoPlay(data, width, height);
}

void DJWaveDetailed::_PaintLoop(PaintData& data, int left, int right, int height, int& x1, int& x2)
{
    if (!_deck || !_deck->IsLoopActive())
        return;
    const int first = GetFirstPixel();
    x1 = std::clamp(ColumnOf(_deck->GetCueMark()) - first, left, std::max(left, right));
    x2 = std::clamp(ColumnOf(_deck->GetLoopEndSample()) - first, left, std::max(left, right));
    if (x2 > x1)
        FillRect(data, GetTheme().loopBackground, x1, 0, x2 - x1, height);
}

void DJWaveDetailed::_BuildWaveRuns(int left, int right, int mid, int x1, int x2)
{
    const int first = GetFirstPixel();
    const int count = GetPeakCount();
    _waveCount = _loopCount = 0;
    for (int x = left; x <= right; ++x) {
        const int64_t column = int64_t(x) + first;
        if (column >= count || column >= kMaxColumns)
            break;
        const int half = GetPeak(static_cast<int>(column)) >> kMarkShift;
        if (x >= x1 && x < x2)
            AddSegment(_loopRun, _loopCount, x, mid - half, mid + half + 1);
        else
            AddSegment(_waveRun, _waveCount, x, mid - half, mid + half + 1);
    }
}

void DJWaveDetailed::_PaintBeatStrip(PaintData& data, int left, int right)
{
    if (!_deck || _deck->GetBeatFrequency() <= 0)
        return;
    if (!_beatsValid)
        FillBeatArray();
    const DJTheme& theme = GetTheme();
    const int64_t offset = ColumnOf(_frameStart);
    int ticks = 0;
    for (int x = left; x <= right && x + offset < kMaxColumns; ++x) {
        switch (GetBeat(static_cast<int>(x + offset))) {
        case kBeatTick:
            AddSegment(_tickRun, ticks, x, kTickTop, kTickBottom);
            break;
        case kBeatBar:
            DrawImage(data, theme.GetImage(DJImage::kBarMark), x - kBarMarkHalf, 0);
            break;
        default:
            break;
        }
    }
    StrokeRun(data, theme.beatTickPen, _tickRun, ticks);
}

void DJWaveDetailed::_PaintCue(PaintData& data, int height)
{
    if (!_deck)
        return;
    const DJTheme& theme = GetTheme();
    const int x = CueColumnInView();
    VLine(data, theme.cueLinePen, x, kStripHeight, height);
    FillRect(data, theme.cueFlag, x - kFlagHalf, 0, kFlagWidth, kStripHeight);
    FillRect(data, kWhite, x - kFlagInnerInset, kFlagInnerInset, kFlagInnerWidth, kFlagInnerHeight);
}

void DJWaveDetailed::_PaintPastEnd(PaintData& data, int width, int height)
{
    const int count = GetPeakCount();
    if (count == 0)
        return;
    const int end = std::max(count - GetFirstPixel(), 0);
    if (end < width)
        FillRect(data, GetTheme().loopBackground, end, kStripHeight, width - end, height - kStripHeight);
}

void DJWaveDetailed::_PaintProgress(PaintData& data, int width)
{
    if (_loadProgress == kNoProgress)
        return;
    char text[48];
    std::snprintf(text, sizeof text, "Converting %d%%", _loadProgress);
    const LGuiFont saved = data.font;
    data.font = GetTheme().progressFont;
    DrawText(data, text, (width - kProgressWidth) / 2.0f, kProgressTop, kProgressWidth,
             kProgressHeight, LHAlignment::kCentre, LVAlignment::kCentre);
    data.font = saved;
}

void DJWaveDetailed::_PaintAutoPlay(PaintData& data, int width, int height)
{
    if (!_autoPlayMode)
        return;
    const DJTheme& theme = GetTheme();
    const LGuiFont saved = data.font;
    data.font = theme.smallLabelFont;
    float textWidth = 0, textHeight = 0;
    _MeasureText(data, kAutoPlayText, 0, &textWidth, &textHeight);
    const int w = LTruncToInt(std::ceil(textWidth));
    FillRect(data, theme.autoPlayBox, width - w - 12, height - 21, w + 10, 19);
    StrokeRect(data, theme.autoPlayBoxFrame, 1, width - w - 12, height - 21, w + 9, 18);
    data.font.SetColor(theme.autoPlayText);
    DrawText(data, kAutoPlayText, width - w - 7, height - 17, 0, 0);
    data.font = saved;
}

void DJWaveDetailed::_SetCueFromColumn(int x)
{
    const double sample = double(LTruncToInt(double(x) + GetFirstPixel())) * _samplesPerPixel;
    _deck->SetCueMark(std::max(LTruncToInt(sample), 0));
}

void DJWaveDetailed::EvLButtonDown(int x, int /*y*/)
{
    if (!HasTrack() || !_deck)
        return;
    if (std::abs(x - CueColumnInView()) <= kCueGrabPixels) {
        _cueDragging = true;
        _cueDragStartX = _cueDragX = x;
        SetCursor(LCursorShape::kResizeHorizontal);
        SetCapture(true);
        ThrottledUpdate();
        return;
    }
    int64_t sample = LTruncToInt(_samplesPerPixel * (double(x) + GetFirstPixel()));
    if (_notify)
        sample += _deck->GetLag();
    NotifySeek(static_cast<int>(std::clamp<int64_t>(sample, INT32_MIN, INT32_MAX)));
}

void DJWaveDetailed::EvMouseMove(int x, int /*y*/)
{
    if (!HasTrack() || !_deck)
        return;
    const bool nearCue = std::abs(x - CueColumnInView()) <= kCueHoverPixels;
    SetCursor(nearCue || _cueDragging ? LCursorShape::kResizeHorizontal : LCursorShape::kArrow);
    if (!_cueDragging)
        return;
    const bool moved = x != _cueDragX;
    _cueDragX = x;
    _SetCueFromColumn(x);
    if (moved)
        ThrottledUpdate();
}

void DJWaveDetailed::EvLButtonUp(int x, int /*y*/)
{
    if (!_cueDragging || !_deck)
        return;
    _SetCueFromColumn(std::clamp(x, 0, GetWidth()));
    _cueDragX = CueColumnInView();
    ThrottledUpdate();
    _cueDragging = false;
    SetCapture(false);
    SendParentInterWinMessage(static_cast<int>(DJWaveMessage::kCueMoved), GetId(), 0);
}

void DJWaveDetailed::EvMouseWheel(int /*x*/, int /*y*/, int delta)
{
    if (!HasTrack())
        return;
    const double step = std::round(delta / 120.0 * _samplesPerPixel * kWheelColumnsPerNotch);
    NotifySeek(LTruncToInt(double(_frame) - step));
}

void DJWaveDetailed::EvRButtonDown(int x, int y)
{
    if (HasTrack())
        DJWaveWindow::EvRButtonDown(x, y);
}
