#include "ui/DJWavePreview.h"

#include "engine/DJDeck.h"
#include "sound/LSampleMath.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr int kMarkShift = 4;  // a peak byte gives at most 15 rows each side
constexpr double kViewSeconds = 5.0;
}  // namespace

DJWavePreview::~DJWavePreview()
{
    StopScan();
}

void DJWavePreview::Load(const char* path)
{
    DJWaveWindow::Load(path);
    const int rate = _source->GetRate();
    const double seconds = rate > 0 ? double(_trackFrames) / rate : 0.0;
    _fiveSecondsFraction = seconds > 0.0 ? kViewSeconds / seconds : 0.0;
    EvPitchChange();
}

void DJWavePreview::CalculateSamplesPerPixel()
{
    _samplesPerPixel = _pixelWidth > 0 ? double(_source->GetEndSample()) / _pixelWidth : 0.0;
}

void DJWavePreview::EvPitchChange()
{
    DJWaveWindow::EvPitchChange();
    _frameLength = LTruncToInt(_source->GetEndSample() * _fiveSecondsFraction);
}

void DJWavePreview::SetFrame(int sample)
{
    _frame = sample;
    _frameStart = static_cast<int>(std::max<int64_t>(int64_t(sample) - _frameLength / 2, 0));
    const int oldFirst = GetFirstPixel(), oldEnd = _endPixel;
    _lastFirstPixel = oldFirst;
    _lastEndPixel = oldEnd;
    const int first = ColumnOf(_frameStart);
    _firstPixel.store(first, std::memory_order_relaxed);
    _endPixel = ColumnOf(double(_frameStart) + _frameLength);
    const int width = GetWidth();
    const int from = std::clamp(std::min(oldFirst, first), 0, width);
    const int to = std::clamp(std::max(oldEnd, _endPixel), 0, width);
    if (to >= from)
        Update(from, 0, to - from + 1, GetHeight());
}

void DJWavePreview::Prepaint(PaintData& data)
{
    const DJTheme& theme = GetTheme();
    const int height = GetHeight();
    FillRect(data, theme.waveBackground, data.x, data.y, data.width, data.height);
    if (!HasTrack())
        return;
    const int mid = height / 2;
    const int first = GetFirstPixel();
    const int end = _endPixel != 0 ? _endPixel
                                   : first + (_samplesPerPixel > 0 ? LTruncToInt(_frameLength / _samplesPerPixel) : 0);
    FillRect(data, theme.previewWindow, first, 0, end - first, height);
    const int left = std::max(LTruncToInt(std::floor(data.x)), 0);
    const int right = std::min(LTruncToInt(std::ceil(data.x + data.width)) - 1, GetWidth() - 1);
    _PaintColumns(data, left, right, mid, first, end, false);
    HLine(data, theme.wavePen, left, right + 1, mid);
    _PaintColumns(data, left, right, mid, first, end, true);
    if (_deck)
        VLine(data, theme.cueLinePen, ColumnOf(_deck->GetCueMark()), 0, height);
}

void DJWavePreview::_PaintColumns(PaintData& data, int left, int right, int mid, int first, int end,
                                  bool inView)
{
    const int count = std::min(GetPeakCount(), kMaxColumns);
    int points = 0;
    for (int x = left; x <= right && x < count; ++x) {
        if ((x >= first && x < end) != inView)
            continue;
        const int half = GetPeak(x) >> kMarkShift;
        AddSegment(_run, points, x, mid - half, mid + half + 1);
    }
    StrokeRun(data, inView ? GetTheme().loopWavePen : GetTheme().wavePen, _run, points);
}

void DJWavePreview::EvSize()
{
    DJWaveWindow::EvSize();
    SizeRuns({&_run});
}

void DJWavePreview::EvLButtonDown(int x, int /*y*/)
{
    if (!HasTrack())
        return;
    int64_t sample = LTruncToInt(x * _samplesPerPixel);
    if (_notify && _deck)
        sample += _deck->GetLag();
    _dragging = true;
    SetCapture(true);
    NotifySeek(static_cast<int>(std::clamp<int64_t>(sample, INT32_MIN, INT32_MAX)));
}

void DJWavePreview::EvMouseMove(int x, int /*y*/)
{
    if (_dragging && HasTrack())
        NotifySeek(LTruncToInt(x * _samplesPerPixel));
}

void DJWavePreview::EvLButtonUp(int /*x*/, int /*y*/)
{
    _dragging = false;
    SetCapture(false);
}

void DJWavePreview::EvMouseWheel(int /*x*/, int /*y*/, int delta)
{
    if (!HasTrack())
        return;
    const double step = std::round(delta / 120.0 * _frameLength * 0.5);
    NotifySeek(LTruncToInt(double(_frame) - step));
}
