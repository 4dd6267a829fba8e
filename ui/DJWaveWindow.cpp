#include "ui/DJWaveWindow.h"

#include "engine/DJDeck.h"
#include "sound/LBufferHelpers.h"
#include "sound/LSRCConvertRate.h"
#include "sound/LSampleMath.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int kReadBlockFrames = 8192;
constexpr int kPeakShift = 11;
constexpr int kPeakSaturated = 522240;  // 255 << kPeakShift: from here a column reads 255
constexpr uint8_t kPeakMax = 255;
constexpr double kMsPerSecond = 1000.0;

uint8_t PeakByte(int peak)
{
    return peak >= kPeakSaturated ? kPeakMax : static_cast<uint8_t>(peak >> kPeakShift);
}

double HeldPitch(double pitch)
{
    return std::max(pitch, LSRCPitchSpeed::kMinSpeed);
}

// The stream's length as the deck plays it at `pitch`.
int PlayedLength(LSoundSource& reader, double pitch)
{
    if (pitch == 1.0)
        return reader->GetEndSample();
    LSoundSource pitched(new LSRCPitchSpeed(reader, HeldPitch(pitch), true));
    return pitched->GetEndSample();
}

// Largest sample magnitude from the reader's position up to `end`, in blocks.
int ReadPeak(LSoundSource& reader, int end, std::vector<int>& block)
{
    const unsigned char channels = reader->GetChannels();
    int peak = 0;
    for (int position = reader->GetPositionSample(); position < end;) {
        const int frames = std::min(kReadBlockFrames, end - position);
        reader->Read(block.data(), frames);
        peak = std::max(peak, GetBufferPeak(block.data(), frames, channels));
        position += frames;
    }
    return peak;
}

}  // namespace

int DJWaveScanPeaks(const char* path, const DJWaveScanParams& params, std::atomic<uint8_t>* peaks,
                    int capacity, std::atomic<int>* peakCount,
                    const std::function<bool(int column)>& column)
{
    for (int i = 0; i < capacity; ++i)
        peaks[i].store(0, std::memory_order_relaxed);
    LSoundSource reader = LWaveFile::OpenSource(path ? path : "");
    if (reader->GetError() != kErrNone)
        return 0;
    const int played = PlayedLength(reader, params.pitch);
    const int quotient = params.samplesPerPixel > 0.0
                             ? std::clamp(LTruncToInt(played / params.samplesPerPixel), 0, capacity - 1)
                             : 0;
    const int count = quotient + 1;
    if (peakCount)
        peakCount->store(count, std::memory_order_relaxed);
    reader->Seek(0);
    const int end = reader->GetEndSample();
    const double framesPerColumn = params.spanMs * reader->GetRate() * 0.001 / std::max(params.pixelWidth, 1);
    std::vector<int> block(static_cast<size_t>(kReadBlockFrames) * reader->GetChannels());
    for (int i = 0; i < quotient; ++i) {
        const int columnEnd = std::min(LTruncToInt(framesPerColumn * (i + 1)), end);
        peaks[i].store(PeakByte(ReadPeak(reader, columnEnd, block)), std::memory_order_relaxed);
        if (column && !column(i))
            break;
    }
    return count;
}

int DJWaveScanFile(const char* path, int pixelWidth, double pitch, bool preview,
                   std::vector<uint8_t>* peaksOut)
{
    LSoundSource file = LWaveFile::OpenSource(path ? path : "");
    if (file->GetError() != kErrNone)
        return 0;
    DJWaveScanParams params;
    params.pixelWidth = std::max(pixelWidth, 1);
    params.pitch = pitch;
    const double rate = file->GetRate();
    if (preview) {
        params.spanMs = file->GetEndSample() * kMsPerSecond / rate;
        params.samplesPerPixel = double(PlayedLength(file, pitch)) / params.pixelWidth;
    } else {
        params.samplesPerPixel = rate * (DJWaveWindow::kDetailedSpanMs / kMsPerSecond) /
                               (params.pixelWidth * HeldPitch(pitch));
    }
    file.Close();
    auto peaks = std::make_unique<std::atomic<uint8_t>[]>(DJWaveWindow::kMaxColumns);
    const int count = DJWaveScanPeaks(path, params, peaks.get(), DJWaveWindow::kMaxColumns, nullptr, {});
    if (peaksOut) {
        peaksOut->resize(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i)
            (*peaksOut)[i] = peaks[i].load(std::memory_order_relaxed);
    }
    return count;
}

DJWaveWindow::DJWaveWindow() : _peaks(std::make_unique<std::atomic<uint8_t>[]>(kMaxColumns)) {}

DJWaveWindow::~DJWaveWindow()
{
    TimerDestroy();
    StopScan();
}

void DJWaveWindow::Load(const char* path)
{
    StopScan();
    TimerKill(kTimerResizeRestart);
    _path = path ? path : "";
    _source = LWaveFile::OpenSource(_path.c_str());
    _trackFrames = _source->GetError() == kErrNone ? _source->GetEndSample() : 0;
    _firstPixel.store(0, std::memory_order_relaxed);
    _lastFirstPixel = _endPixel = _lastEndPixel = 0;
    _frameStart = _frame = 0;
    _samplesPerPixel = 0.0;
    _peakCount.store(0, std::memory_order_relaxed);
    _startScanNow = true;
    EvSize();
    _startScanNow = false;
}

void DJWaveWindow::CloseSource()
{
    StopScan();
    TimerKill(kTimerResizeRestart);
    _source.Close();
    _path.clear();
    _trackFrames = 0;
}

void DJWaveWindow::SetFrame(const LSoundTime& time)
{
    const int64_t rate = _source->GetRate();
    const int ms = time.GetMilliseconds();
    const int64_t sample = int64_t(ms / 1000) * rate + int64_t(ms % 1000) * rate / 1000;
    SetFrame(static_cast<int>(std::clamp<int64_t>(sample, INT32_MIN, INT32_MAX)));
}

void DJWaveWindow::EvSize()
{
    _pixelWidth = GetWidth();
    EvPitchChange();
    StopScan();
    if (_startScanNow)
        StartScan();
    else if (!_path.empty())
        TimerSet(kTimerResizeRestart, kResizeRestartMs);
}

void DJWaveWindow::EvTimer(int timerId)
{
    if (timerId == kTimerResizeRestart)
        StartScan();
}

void DJWaveWindow::EvRButtonDown(int /*x*/, int /*y*/)
{
    SendParentInterWinMessage(static_cast<int>(DJWaveMessage::kContextMenu), GetId(), 0);
}

void DJWaveWindow::EvPitchChange()
{
    ReopenSource();
    CalculateSamplesPerPixel();
}

void DJWaveWindow::ReopenSource()
{
    if (!_deck || _path.empty())
        return;
    LSoundSource file = LWaveFile::OpenSource(_path.c_str());
    _trackFrames = file->GetError() == kErrNone ? file->GetEndSample() : 0;
    const double pitch = _deck->GetPitch();
    if (pitch != 1.0 && file->GetError() == kErrNone)
        file = LSoundSource(new LSRCPitchSpeed(file, HeldPitch(pitch), true));
    _source = file;
}

bool DJWaveWindow::HasTrack() const
{
    return _source->GetError() == kErrNone;
}

uint8_t DJWaveWindow::GetPeak(int column) const
{
    if (column < 0 || column >= kMaxColumns)
        return 0;
    return _peaks[column].load(std::memory_order_relaxed);
}

void DJWaveWindow::StopScan()
{
    StopThreadSoon();
    WaitForThreadEnd();
}

void DJWaveWindow::StartScan()
{
    StopScan();
    if (_path.empty() || !_deck || !HasTrack())
        return;
    _scanParams = _MakeScanParams();
    _scanIsPreview = IsPreview();
    _scanPath = _path;
    _scanComplete.store(false, std::memory_order_release);
    ++_scanStarts;
    Start(kScanPriority);
}

DJWaveScanParams DJWaveWindow::_MakeScanParams() const
{
    DJWaveScanParams params;
    params.pixelWidth = std::max(_pixelWidth, 1);
    params.samplesPerPixel = _samplesPerPixel;
    params.pitch = _deck ? _deck->GetPitch() : 1.0;
    const int rate = _source->GetRate();
    params.spanMs = IsPreview() && rate > 0 ? _trackFrames * kMsPerSecond / rate : kDetailedSpanMs;
    return params;
}

void DJWaveWindow::ThreadFunction()
{
    FillWaveBuffer();
    ThrottledUpdate();
}

void DJWaveWindow::FillWaveBuffer()
{
    if (_scanPath.empty() || IsToStop())
        return;
    const int width = _scanParams.pixelWidth;
    // The detailed view scrolls by firstPixel; the preview's columns are its own pixels.
    const bool scrolls = !_scanIsPreview;
    auto column = [this, width, scrolls](int i) {
        const int x = scrolls ? i - _firstPixel.load(std::memory_order_relaxed) : i;
        if (x >= 0 && x < width)
            Update(x, 0, 1, GetHeight());
        return !IsToStop();
    };
    DJWaveScanPeaks(_scanPath.c_str(), _scanParams, _peaks.get(), kMaxColumns, &_peakCount, column);
    if (!IsToStop())
        _scanComplete.store(true, std::memory_order_release);
}

void DJWaveWindow::VLine(PaintData& data, const LGuiPen& pen, float x, float top, float bottom)
{
    const int width = pen.GetWidth();
    if (bottom > top)
        FillRect(data, pen.GetColor(), x - float(width / 2), top, float(width), bottom - top);
}

void DJWaveWindow::HLine(PaintData& data, const LGuiPen& pen, float left, float right, float y)
{
    const int width = pen.GetWidth();
    if (right > left)
        FillRect(data, pen.GetColor(), left, y - float(width / 2), right - left, float(width));
}

void DJWaveWindow::AddSegment(std::vector<PaintData::Point>& run, int& count, float x, float top,
                              float bottom)
{
    if (static_cast<size_t>(count) + 2 > run.size())
        return;
    run[count++] = {x, top, true};
    run[count++] = {x, bottom, false};
}

void DJWaveWindow::StrokeRun(PaintData& data, const LGuiPen& pen,
                             const std::vector<PaintData::Point>& run, int count)
{
    StrokeSegments(data, pen.GetColor(), pen.GetWidth(), run.data(), count);
}

void DJWaveWindow::SizeRuns(std::initializer_list<std::vector<PaintData::Point>*> runs) const
{
    const size_t points = 2 * static_cast<size_t>(std::max(GetWidth(), 1));
    for (std::vector<PaintData::Point>* run : runs)
        if (run->size() < points)
            run->resize(points);
}

int DJWaveWindow::ColumnOf(double sample) const
{
    if (_samplesPerPixel <= 0.0)
        return 0;
    return LTruncToInt(sample / _samplesPerPixel);
}

int DJWaveWindow::CueColumnInView() const
{
    const int column = _deck ? ColumnOf(_deck->GetCueMark()) : 0;
    return column == 0 ? 0 : column - GetFirstPixel();
}

void DJWaveWindow::NotifySeek(int sample)
{
    const int end = _source->GetEndSample();
    sample = std::clamp(sample, 0, std::max(end, 0));
    if (_notify)
        _notify->djwwntfSeek(sample);
}
