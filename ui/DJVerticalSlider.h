#pragma once

#include "ui/LGuiTypes.h"
#include "ui/LPaintControl.h"

#include <array>

// A vertical slider of the equaliser and effects: a position of 0 (top) to 100 (bottom), with
// an optional label under it. A press jumps to the pointer; a wheel notch is two steps, a notch
// away from the user raising it.
class DJVerticalSlider : public LPaintControl {
public:
    static constexpr int kPositionMin = 0;
    static constexpr int kPositionMax = 100;
    static constexpr int kLabelCapacity = 260;  // characters, with the terminator
    static constexpr int kLabelHeight = 12;     // pixels

    // `position` is the start position, held to 0..100.
    DJVerticalSlider(LGuiColor background, int position);
    DJVerticalSlider(LGuiColor background, int position, const char* label);

    // Held to 0..100; asks for a repaint when it changes. Sends no message.
    void SetPosition(int position);
    int GetPosition() const { return _position; }
    const char* GetLabel() const { return _label.data(); }
    bool IsLabelShown() const { return _showLabel; }
    void ShowLabel(bool show);
    void SetLabelFont(const LGuiFont& font) { _font = font; }

    // Travel for a height: height - 8, less the label's 12 when it shows; at least 1.
    static int TravelForHeight(int height, bool showLabel);
    // Position of a pixel row: above the travel 0, below it 100, else the truncated percentage.
    static int MapPixelToPosition(int y, int travel);
    // Top row of the thumb: 1/101 of the travel a step, truncated.
    static int ThumbTop(int position, int travel);
    int GetTravel() const { return _travel; }
    bool IsDragging() const { return _dragging; }

    void Paint(PaintData& data) override;
    void EvSize() override;
    void EvLButtonDown(int x, int y) override;
    void EvLButtonUp(int x, int y) override;
    void EvMouseMove(int x, int y) override;
    void EvRButtonDown(int x, int y) override;
    void EvMouseWheel(int x, int y, int delta) override;

    static constexpr LGuiColorRef kThumbColour = LGuiColorRef::FromRGB(111, 111, 111);
    static constexpr LGuiColorRef kThumbDarkBar = LGuiColorRef::FromRGB(47, 47, 47);
    static constexpr LGuiColorRef kThumbLightBar = LGuiColorRef::FromRGB(130, 130, 130);
    static constexpr LGuiColorRef kGrooveDark = LGuiColorRef::FromRGB(0, 0, 0);
    static constexpr LGuiColorRef kGrooveLight = LGuiColorRef::FromRGB(152, 152, 152);
    static constexpr LGuiColorRef kGrooveShade = LGuiColorRef::FromRGB(70, 70, 70);
    static constexpr LGuiColorRef kTickColour = LGuiColorRef::FromRGB(60, 60, 60);

private:
    void _UserSetPosition(int position);
    void _PaintGroove(PaintData& data, int width) const;
    void _PaintThumb(PaintData& data, int width) const;

    LGuiColor _background;
    bool _showLabel = false;
    int _position = kPositionMin;
    int _travel = 1;  // pixels, set at each paint and resize
    bool _dragging = false;
    std::array<char, kLabelCapacity> _label{};
    LGuiFont _font;
};
