#include "ui/DJPitchSlider.h"

#include "ui/DJFaderMessages.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace {

constexpr LGuiColorRef kBlack = LGuiColorRef::FromRGB(0, 0, 0);
constexpr int kFontHeight = 9;       // pixels
constexpr int kLabelY = 1;           // pixels, "Pitch"
constexpr int kValueY = 11;          // pixels, the value text
constexpr int kTicks = 10;           // intervals of 10 % of the travel
constexpr int kThumbLineInset = 6;   // pixels from top and bottom
constexpr int kTickLength = 3;       // pixels

int _HoldToInt(int64_t value)
{
    return static_cast<int>(std::clamp<int64_t>(value, std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

}  // namespace

DJPitchSlider::DJPitchSlider()
{
    FormatPitch(_pitch, _text);
    _font.CreateFont(kFontHeight, false, false, false, kTextColour);
}

void DJPitchSlider::FormatPitch(int pitch, std::array<char, kTextCapacity>& out)
{
    pitch = std::clamp(pitch, kPitchMin, kPitchMax);
    if (pitch == kPitchCentre) {
        std::snprintf(out.data(), out.size(), "%d", 0);
    } else if (pitch > kPitchCentre) {
        const int tenths = pitch - kPitchCentre;
        std::snprintf(out.data(), out.size(), "+%d.%d%%", tenths / 10, tenths % 10);
    } else {
        const int tenths = kPitchCentre - pitch;
        std::snprintf(out.data(), out.size(), "-%d.%d%%", tenths / 10, tenths % 10);
    }
}

void DJPitchSlider::SetPitch(int pitch)
{
    pitch = std::clamp(pitch, kPitchMin, kPitchMax);
    if (pitch == _pitch)
        return;
    _pitch = pitch;
    FormatPitch(_pitch, _text);
    Update();
}

int DJPitchSlider::_PixelOfPitch(int pitch) const
{
    return static_cast<int>(std::lround(pitch * _travel * 0.001)) + _margin;
}

int DJPitchSlider::GetThumbLeft() const
{
    return _PixelOfPitch(_pitch) - _thumbWidth / 2;
}

int DJPitchSlider::MapPixelToPitch(int x) const
{
    const int from = _dragging ? _dragStartX : x;
    const int64_t base = std::lround((from - _margin) / static_cast<double>(_travel) * 1000.0);
    if (!_dragging)
        return _HoldToInt(base);
    return _HoldToInt(base + (static_cast<int64_t>(x) - _dragStartX));
}

void DJPitchSlider::_UpdateTravel(int width)
{
    _travel = std::max(1, width - _valueWidth - 2 * _margin);
}

void DJPitchSlider::_UserSetPitch(int pitch)
{
    SetPitch(pitch);
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kPitchChanged), GetId(), 0);
}

void DJPitchSlider::MoveCursorToPitchPos()
{
    const int x = _PixelOfPitch(_pitch);
    MovePointer(x, GetHeight() / 2);
    _dragStartX = x;
}

void DJPitchSlider::EvSize()
{
    _UpdateTravel(GetWidth());
}

void DJPitchSlider::EvLButtonDown(int x, int /*y*/)
{
    SetCapture(true);
    const int thumbLeft = GetThumbLeft();
    if (x >= thumbLeft && x < thumbLeft + _thumbWidth) {
        _dragging = true;
        _dragStartX = x;
        ShowPointer(false);
    }
    _UserSetPitch(MapPixelToPitch(x));
    TakeFocus();
}

void DJPitchSlider::EvMouseMove(int x, int /*y*/)
{
    TakeFocus();
    if (_dragging)
        _UserSetPitch(MapPixelToPitch(x));
}

void DJPitchSlider::EvLButtonUp(int /*x*/, int /*y*/)
{
    SetCapture(false);
    if (_dragging)
        MoveCursorToPitchPos();
    SetCursor(LCursorShape::kArrow);
    ShowPointer(true);
    _dragging = false;
}

void DJPitchSlider::EvDoubleClick(int /*x*/, int /*y*/)
{
    _UserSetPitch(kPitchCentre);
}

void DJPitchSlider::EvRButtonDown(int /*x*/, int /*y*/)
{
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kContextMenu), GetId(), 0);
}

void DJPitchSlider::EvMouseWheel(int /*x*/, int /*y*/, int delta)
{
    _UserSetPitch(_pitch + static_cast<int>(std::lround(delta / 120.0)));
}

bool DJPitchSlider::EvKeyDown(int /*key*/, int /*modifiers*/)
{
    return false;
}

bool DJPitchSlider::EvKeyUp(int /*key*/, int /*modifiers*/)
{
    return false;
}

void DJPitchSlider::Paint(PaintData& data)
{
    const int width = GetWidth();
    const int height = GetHeight();
    _UpdateTravel(width);
    const int sliderWidth = width - _valueWidth;
    _PaintGroove(data, sliderWidth, height);
    _PaintThumb(data, height);
    _PaintText(data, sliderWidth, height);
}

void DJPitchSlider::_PaintGroove(PaintData& data, int sliderWidth, int height) const
{
    if (sliderWidth <= 0)
        return;
    FillRect(data, kGrooveColour, 0, 0, sliderWidth, height);
    StrokeRect(data, kBlack, 1, 0, 0, sliderWidth, height);
    for (int tick = 0; tick <= kTicks; ++tick) {
        const int x = _PixelOfPitch(tick * (kPitchMax / kTicks));
        if (tick == kTicks / 2) {  // the centre, no change, runs across the groove
            MoveTo(data, x, 2);
            LineTo(data, x, height - 2);
            continue;
        }
        MoveTo(data, x, 2);
        LineTo(data, x, 2 + kTickLength);
        MoveTo(data, x, height - 2 - kTickLength);
        LineTo(data, x, height - 2);
    }
    StrokePath(data, kTickColour, 1);
}

void DJPitchSlider::_PaintThumb(PaintData& data, int height) const
{
    int left = GetThumbLeft();
    if (_pitch == kPitchMax)
        left -= 1;  // keeps the thumb's frame inside the groove at the far end
    // The frame's lines lie on columns left and left + thumbWidth - 1 and on rows 2 and
    // height - 3; the fill is what lies inside them.
    StrokeRect(data, kThumbFrameColour, 1, left, 2, _thumbWidth, height - 4);
    FillRect(data, kThumbFillColour, left + 1, 3, _thumbWidth - 2, height - 6);
    const int centre = left + _thumbWidth / 2;
    MoveTo(data, centre, kThumbLineInset);
    LineTo(data, centre, height - kThumbLineInset);
    StrokePath(data, kTickColour, 1);
}

void DJPitchSlider::_PaintText(PaintData& data, int sliderWidth, int height) const
{
    FillRect(data, _textBackground, sliderWidth, 0, _valueWidth, height);
    LPaintSurface::SetFont(data.savedFont, data.font);
    data.font = _font;
    data.font.SetColor(kTextColour);
    DrawText(data, "Pitch", sliderWidth + 2, kLabelY, _valueWidth, kValueY - kLabelY,
             LHAlignment::kCentre);
    DrawText(data, _text.data(), sliderWidth + 2, kValueY, _valueWidth,
             std::max(0, height - kValueY), LHAlignment::kCentre);
    data.font = data.savedFont;
}
