#pragma once

#include "ui/DJWaveWindow.h"

#include <vector>

// The whole track in the width of the control, with the part the detailed view shows marked
// as a window. A click or drag seeks; a wheel notch moves half a view.
class DJWavePreview : public DJWaveWindow {
public:
    DJWavePreview() = default;
    ~DJWavePreview() override;

    // Also sets the view window's share of the track (five seconds).
    void Load(const char* path) override;
    using DJWaveWindow::SetFrame;
    void SetFrame(int sample) override;
    void EvSize() override;
    void EvPitchChange() override;
    void CalculateSamplesPerPixel() override;
    bool IsPreview() const override { return true; }

    void Prepaint(PaintData& data) override;

    void EvLButtonDown(int x, int y) override;
    void EvMouseMove(int x, int y) override;
    void EvLButtonUp(int x, int y) override;
    void EvMouseWheel(int x, int y, int delta) override;

    double GetFiveSecondsFraction() const { return _fiveSecondsFraction; }
    bool IsDragging() const { return _dragging; }

private:
    // The columns of [left, right] inside the view window [first, end) or outside it.
    void _PaintColumns(PaintData& data, int left, int right, int mid, int first, int end, bool inView);

    double _fiveSecondsFraction = 0.0;
    bool _dragging = false;
    std::vector<PaintData::Point> _run;  // one paint's wave columns, sized at EvSize
};
