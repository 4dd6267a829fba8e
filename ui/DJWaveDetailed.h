#pragma once

#include "ui/DJWaveWindow.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

// The close view: five seconds of the unpitched track across the width, scrolling with the
// play position. Shows beat marks in a strip along the top, the loop, the cue mark (which can
// be dragged) and seeks the deck on a click or a wheel turn.
class DJWaveDetailed : public DJWaveWindow {
public:
    static constexpr int kStripHeight = 7;        // rows of the beat strip
    static constexpr int kCueGrabPixels = 5;      // a press this close to the cue line drags it
    static constexpr int kCueHoverPixels = 3;     // the pointer shows the resize shape this close
    static constexpr int kWheelColumnsPerNotch = 10;
    static constexpr int kNoProgress = -1;

    // Beat marks by column.
    enum BeatMark : uint8_t { kBeatNone = 0, kBeatTick = 1, kBeatBar = 2 };

    DJWaveDetailed();
    ~DJWaveDetailed() override;

    // Does nothing without a deck; clears the beat marks.
    void Load(const char* path) override;
    using DJWaveWindow::SetFrame;
    void SetFrame(int sample) override;
    void EvSize() override;
    void EvPitchChange() override;
    void CalculateSamplesPerPixel() override;
    bool IsPreview() const override { return false; }

    void Prepaint(PaintData& data) override;

    void EvLButtonDown(int x, int y) override;
    void EvMouseMove(int x, int y) override;
    void EvLButtonUp(int x, int y) override;
    void EvMouseWheel(int x, int y, int delta) override;
    // The deck's menu; nothing without a track.
    void EvRButtonDown(int x, int y) override;

    // Conversion progress in percent; kNoProgress hides it.
    void SetLoadProgress(int percent);
    int GetLoadProgress() const { return _loadProgress; }
    // "AutoPlay mode on" in the lower right corner.
    void SetAutoPlayMode(bool on);
    bool GetAutoPlayMode() const { return _autoPlayMode; }
    // The pointer is over this deck during a drag from the list / a drag is in progress.
    void SetOverDeck(bool on);
    bool GetOverDeck() const { return _overDeck; }
    void SetDragActive(bool on);
    bool GetDragActive() const { return _dragActive; }

    // Marks the beat columns of the whole track; Prepaint calls it when the marks are stale.
    void FillBeatArray();
    void InvalidateBeats() { _beatsValid = false; }
    bool AreBeatsValid() const { return _beatsValid; }
    uint8_t GetBeat(int column) const;
    int GetPlayPixel() const { return _playPixel; }
    bool IsCueDragging() const { return _cueDragging; }
    int GetCueDragX() const { return _cueDragX; }

private:
    // The wave columns of [left, right] into the line runs outside and inside [x1, x2).
    void _BuildWaveRuns(int left, int right, int mid, int x1, int x2);
    void _PaintLoop(PaintData& data, int left, int right, int height, int& x1, int& x2);
    void _PaintBeatStrip(PaintData& data, int left, int right);
    void _PaintCue(PaintData& data, int height);
    void _PaintPastEnd(PaintData& data, int width, int height);
    void _PaintProgress(PaintData& data, int width);
    void _PaintAutoPlay(PaintData& data, int width, int height);
    // The cue mark at control column x, as the deck takes it.
    void _SetCueFromColumn(int x);

    std::unique_ptr<uint8_t[]> _beats;
    bool _beatsValid = false;
    bool _cueDragging = false;
    int _cueDragStartX = 0, _cueDragX = 0;
    int _playPixel = 0;
    bool _overDeck = false, _dragActive = false;
    int _loadProgress = kNoProgress;
    bool _autoPlayMode = false;
    // Line runs of one paint (point pairs: wave, loop wave, beat ticks), sized to the width at
    // EvSize so that painting allocates nothing.
    std::vector<PaintData::Point> _waveRun, _loopRun, _tickRun;
    int _waveCount = 0, _loopCount = 0;
};
