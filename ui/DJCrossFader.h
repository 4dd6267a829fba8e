#pragma once

#include "ui/LGuiTypes.h"
#include "ui/LPaintControl.h"

// The message a crossfader sends its window at every change of position; data1 is the
// fader's control id.
enum class DJCrossFaderMessage : int { kPositionChanged = 4 };

// The console's horizontal crossfader: position 0 (deck A alone) to 100 (deck B alone). A press
// on the thumb keeps the point where it was grabbed; elsewhere the thumb jumps to the pointer.
class DJCrossFader : public LPaintControl {
public:
    static constexpr int kMinPosition = 0;
    static constexpr int kMaxPosition = 100;
    static constexpr int kStartPosition = 50;
    static constexpr int kThumbWidth = 9;  // pixels
    static constexpr int kMargin = 8;      // pixels from each end to the ends of the travel
    static constexpr int kWheelStep = 60;  // wheel delta a position step: two steps a notch

    // Held to 0..100; repaints and tells the window (even when the value is the same, so a
    // fade's step always reaches the engine).
    void SetPosition(int position);
    int GetPosition() const { return _position; }
    // Pixels the thumb's centre moves over from 0 to 100; at least 1.
    int GetTravel() const { return _travel; }
    int GetGrabOffset() const { return _grabOffset; }
    bool IsDragging() const { return _dragging; }
    // The pixel of the thumb's centre at the current position.
    int ThumbCentre() const;
    // The position a pointer at `x` asks for while dragging, before it is held to the range.
    long PositionOfPixel(int x) const;

    void Paint(PaintData& data) override;
    void EvSize() override;
    void EvLButtonDown(int x, int y) override;
    void EvMouseMove(int x, int y) override;
    void EvLButtonUp(int x, int y) override;
    void EvMouseWheel(int x, int y, int delta) override;

    static constexpr LGuiColorRef kGrooveColour = LGuiColorRef::FromRGB(142, 148, 155);
    static constexpr LGuiColorRef kThumbFrameColour = LGuiColorRef::FromRGB(80, 80, 80);
    static constexpr LGuiColorRef kThumbFillColour = LGuiColorRef::FromRGB(51, 56, 57);
    static constexpr LGuiColorRef kCentreLineColour = LGuiColorRef::FromRGB(185, 185, 185);

private:
    void _UpdateTravel(int width);
    void _SetPositionLong(long position);

    int _position = kStartPosition;
    int _travel = 1;      // pixels; width - 2 x margin once the size is known
    int _grabOffset = 0;  // pixels from the thumb's centre to the grab point
    bool _dragging = false;
};
