#pragma once

#include "base/LThread.h"
#include "sound/LSoundSource.h"
#include "sound/LSoundTime.h"
#include "ui/DJTheme.h"
#include "ui/LPaintControl.h"
#include "ui/LTimerHandler.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

class DJDeck;

// Told when the user seeks through a wave display. The deck panel implements it.
class DJWaveWindowNotify {
public:
    virtual ~DJWaveWindowNotify() = default;
    virtual void djwwntfSeek(int sample) = 0;
};

// Inter-window messages a wave display sends to its parent; data1 is the control id.
enum class DJWaveMessage : int {
    kContextMenu = 4,  // right button: the deck's menu
    kCueMoved = 5,     // a cue drag ended
};

// What a peak scan needs to know, fixed when the scan starts.
struct DJWaveScanParams {
    double spanMs = 5000.0;         // track time across `pixelWidth` columns (unpitched)
    int pixelWidth = 1;             // columns per span
    double samplesPerPixel = 0.0;   // played (pitched) frames per column
    double pitch = 1.0;             // deck ratio; gives the played length
};

// Scans `path` into one peak byte per column: a column's peak is the largest sample magnitude
// of its stretch >> 11, 255 from 522240 up. `peaks` holds `capacity` bytes and is zeroed
// first. The columns in use (peakCount) are stored in `peakCount` (if given) before the first
// column is read, and returned; 0 when the file cannot be opened. `column(i)` is called after
// column i is written and returns false to end the scan early.
int DJWaveScanPeaks(const char* path, const DJWaveScanParams& params, std::atomic<uint8_t>* peaks,
                    int capacity, std::atomic<int>* peakCount,
                    const std::function<bool(int column)>& column);

// The whole scan of a window of `pixelWidth` columns at `pitch`, without a window (for
// benches): `preview` scans the whole track into the width, else five seconds a width.
// Returns peakCount; `peaksOut` (if given) receives the peaks in use.
int DJWaveScanFile(const char* path, int pixelWidth, double pitch, bool preview,
                   std::vector<uint8_t>* peaksOut = nullptr);

// A wave display of a deck's track: reads the file on its own thread (at idle priority) into
// one peak byte per pixel column, and shows a part of it around the play position. Peaks are
// shared with the reader through relaxed atomics: a stale byte only repaints a column twice.
class DJWaveWindow : public LPaintControlPrePaint, public LThread, public DJThemeUser,
                     private LTimerHandler {
public:
    static constexpr int kMaxColumns = 1000000;
    static constexpr double kDetailedSpanMs = 5000.0;
    static constexpr unsigned int kResizeRestartMs = 100;  // a scan restarts this long after the last resize
    // Readers run below everything that plays sound, also the first scan after a load.
    static constexpr int kScanPriority = kThreadPriorityBackground;

    DJWaveWindow();
    // Stops and joins the reader before the arrays go.
    ~DJWaveWindow() override;

    void SetDeck(DJDeck* deck) { _deck = deck; }
    void SetNotify(DJWaveWindowNotify* notify) { _notify = notify; }
    void SetFrameLength(int samples) { _frameLength = samples; }

    // Stops a running scan, opens `path` as the source and starts a new scan.
    virtual void Load(const char* path);
    // Closes the source (an error source remains) and forgets the path.
    void CloseSource();

    // The play position in played frames.
    virtual void SetFrame(int sample) = 0;
    // The time form: whole seconds x rate + remainder ms x rate / 1000, at the source's rate.
    void SetFrame(const LSoundTime& time);
    void UpdateCueMark() { ThrottledUpdate(); }

    void EvSize() override;
    void EvRButtonDown(int x, int y) override;
    // The deck's pitch changed: reopens the source and recomputes the scale.
    virtual void EvPitchChange();
    virtual void CalculateSamplesPerPixel() = 0;
    virtual bool IsPreview() const = 0;

    // State, interface thread (peaks from any thread).
    DJDeck* GetDeck() const { return _deck; }
    const std::string& GetPath() const { return _path; }
    // False while the source is an error source (no track).
    bool HasTrack() const;
    const LSoundSource& GetSource() const { return _source; }
    int GetFirstPixel() const { return _firstPixel.load(std::memory_order_relaxed); }
    int GetEndPixel() const { return _endPixel; }
    int GetLastFirstPixel() const { return _lastFirstPixel; }
    int GetLastEndPixel() const { return _lastEndPixel; }
    int GetFrame() const { return _frame; }
    int GetFrameStart() const { return _frameStart; }
    int GetFrameLength() const { return _frameLength; }
    double GetSamplesPerPixel() const { return _samplesPerPixel; }
    int GetPixelWidth() const { return _pixelWidth; }
    int GetPeakCount() const { return _peakCount.load(std::memory_order_relaxed); }
    uint8_t GetPeak(int column) const;
    // True once a scan has run to its end (until the next Load or restart).
    bool IsScanComplete() const { return _scanComplete.load(std::memory_order_acquire); }
    // How many reader threads have been started; for checks that a scan restarted.
    int GetScanStarts() const { return _scanStarts; }

protected:
    void ThreadFunction() override;
    // The reader: all of ThreadFunction but its final throttled update.
    void FillWaveBuffer();
    // Opens the file anew as the source, wrapped to the played length when pitched.
    void ReopenSource();
    // Stops the reader if it runs and waits for its end.
    void StopScan();
    // Starts the reader (stopping a running one first); nothing without a track and a deck.
    void StartScan();
    // A vertical line of `pen` from (x, top) down to bottom (excluded), and a horizontal one
    // from (left, y) to right (excluded); filled rectangles, so a paint allocates nothing.
    static void VLine(PaintData& data, const LGuiPen& pen, float x, float top, float bottom);
    static void HLine(PaintData& data, const LGuiPen& pen, float left, float right, float y);
    // Appends the vertical segment (x, top)..(x, bottom) to a run of point pairs.
    static void AddSegment(std::vector<PaintData::Point>& run, int& count, float x, float top,
                           float bottom);
    static void StrokeRun(PaintData& data, const LGuiPen& pen,
                          const std::vector<PaintData::Point>& run, int count);
    // Room for two points a column of the control's width in each run.
    void SizeRuns(std::initializer_list<std::vector<PaintData::Point>*> runs) const;
    // Column of a played position, 0 where the truncated quotient is 0 or there is no scale.
    int ColumnOf(double sample) const;
    // The cue mark's column in the view.
    int CueColumnInView() const;
    // Seeks through the notify, held to 0..source length.
    void NotifySeek(int sample);

    DJDeck* _deck = nullptr;
    DJWaveWindowNotify* _notify = nullptr;
    LSoundSource _source;
    std::string _path;
    std::unique_ptr<std::atomic<uint8_t>[]> _peaks;
    std::atomic<int> _firstPixel{0};  // read by the reader
    int _lastFirstPixel = 0, _endPixel = 0, _lastEndPixel = 0;
    int _frameLength = 0;
    int _frameStart = 0, _frame = 0;
    double _samplesPerPixel = 0.0;
    int _trackFrames = 0;  // unpitched length of the file
    std::atomic<int> _peakCount{0};
    int _pixelWidth = 0;
    std::atomic<bool> _scanComplete{false};
    int _scanStarts = 0;

private:
    void EvTimer(int timerId) override;
    bool _startScanNow = false;  // Load starts the scan at once, a resize after a pause
    // The reader's parameters, taken on the interface thread before it starts.
    DJWaveScanParams _MakeScanParams() const;

    enum TimerId : int { kTimerResizeRestart = 1 };
    DJWaveScanParams _scanParams;
    std::string _scanPath;
    bool _scanIsPreview = false;
};
