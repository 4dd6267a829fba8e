#pragma once

#include "ui/LGuiTypes.h"
#include "ui/LKeyHandler.h"
#include "ui/LPaintControl.h"

#include <array>

// The horizontal pitch slider: a position of 0..1000 (500 is no change, one step is 0.1 % of
// speed) over a groove, with the value as text in a strip at the right. Pressing outside the
// thumb jumps to the pointer; dragging the thumb moves one step per pixel with the pointer
// hidden, and on release the pointer reappears on the thumb. Keys pass on.
class DJPitchSlider : public LPaintControl, public LKeyHandler {
public:
    static constexpr int kPitchMin = 0;
    static constexpr int kPitchCentre = 500;
    static constexpr int kPitchMax = 1000;
    static constexpr int kTextCapacity = 260;  // characters, with the terminator

    DJPitchSlider();

    // Held to 0..1000; the same value does nothing, else the text follows and a repaint is
    // asked for. Sends no message: only the user's changes do.
    void SetPitch(int pitch);
    int GetPitch() const { return _pitch; }
    // "0" at the centre, else the signed percentage with one decimal: "+12.5%", "-50.0%".
    const char* GetText() const { return _text.data(); }

    // Pixel to position: not dragging, the proportion of the travel rounded half away from
    // zero; dragging, the position at the drag start plus one step a pixel.
    int MapPixelToPitch(int x) const;
    // Left edge of the thumb for hit testing: the position's pixel less half the thumb.
    int GetThumbLeft() const;
    // Pointer back on the thumb at half height; the drag restarts from there.
    void MoveCursorToPitchPos();

    bool IsDragging() const { return _dragging; }
    int GetTravel() const { return _travel; }
    int GetDragStartX() const { return _dragStartX; }

    // Face and size of the text; its colour stays the slider's text colour.
    void SetTextFont(const LGuiFont& font) { _font = font; }
    void SetTextBackground(LGuiColorRef colour) { _textBackground = colour; }

    // Writes the text form of `pitch` (held to 0..1000) into `out`.
    static void FormatPitch(int pitch, std::array<char, kTextCapacity>& out);

    void Paint(PaintData& data) override;
    void EvSize() override;
    void EvLButtonDown(int x, int y) override;
    void EvLButtonUp(int x, int y) override;
    void EvDoubleClick(int x, int y) override;
    void EvMouseMove(int x, int y) override;
    void EvRButtonDown(int x, int y) override;
    void EvMouseWheel(int x, int y, int delta) override;
    bool EvKeyDown(int key, int modifiers) override;
    bool EvKeyUp(int key, int modifiers) override;

    static constexpr LGuiColorRef kGrooveColour = LGuiColorRef::FromRGB(113, 122, 133);
    static constexpr LGuiColorRef kThumbFillColour = LGuiColorRef::FromRGB(41, 46, 47);
    static constexpr LGuiColorRef kThumbFrameColour = LGuiColorRef::FromRGB(80, 80, 80);
    static constexpr LGuiColorRef kTickColour = LGuiColorRef::FromRGB(185, 185, 185);
    static constexpr LGuiColorRef kTextColour = LGuiColorRef::FromRGB(147, 144, 139);

private:
    void _UpdateTravel(int width);
    // Pixel of a position on the groove: round(pitch x travel / 1000) + margin.
    int _PixelOfPitch(int pitch) const;
    void _UserSetPitch(int pitch);
    void _PaintGroove(PaintData& data, int sliderWidth, int height) const;
    void _PaintThumb(PaintData& data, int height) const;
    void _PaintText(PaintData& data, int sliderWidth, int height) const;

    int _pitch = kPitchCentre;
    int _valueWidth = 40;  // pixels at the right kept for the text
    int _margin = 6;       // pixels
    int _travel = 1;       // pixels, set at each paint and resize
    int _dragStartX = 0;
    int _thumbWidth = 7;  // pixels
    bool _dragging = false;
    std::array<char, kTextCapacity> _text{};
    LGuiColorRef _textBackground = LGuiColorRef::FromRGB(41, 46, 47);
    LGuiFont _font;
};
