#include "ui/DJVerticalSlider.h"

#include "ui/DJFaderMessages.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr int kGrooveTop = 4;       // pixels
constexpr int kTravelInset = 8;     // pixels of the height the thumb cannot use
constexpr int kThumbLeft = 7;       // pixels left of the centre
constexpr int kThumbWidth = 10;     // pixels
constexpr int kThumbBlockTop = 2;   // rows below the thumb's position
constexpr int kThumbBlockHeight = 5;
constexpr int kThumbRows = 7;       // rows of bars, from one below the position
constexpr double kStepOfTravel = 0.00990099;  // 1/101
constexpr int kFontHeight = 10;     // pixels
constexpr LGuiColorRef kLabelColour = LGuiColorRef::FromRGB(147, 144, 139);

}  // namespace

DJVerticalSlider::DJVerticalSlider(LGuiColor background, int position)
    : DJVerticalSlider(background, position, nullptr)
{
}

DJVerticalSlider::DJVerticalSlider(LGuiColor background, int position, const char* label)
    : _background(background),
      _showLabel(label != nullptr),
      _position(std::clamp(position, kPositionMin, kPositionMax))
{
    std::snprintf(_label.data(), _label.size(), "%s", label ? label : "");
    _font.CreateFont(kFontHeight, false, false, false, kLabelColour);
}

void DJVerticalSlider::SetPosition(int position)
{
    position = std::clamp(position, kPositionMin, kPositionMax);
    if (position == _position)
        return;
    _position = position;
    Update();
}

void DJVerticalSlider::ShowLabel(bool show)
{
    if (show == _showLabel)
        return;
    _showLabel = show;
    _travel = TravelForHeight(GetHeight(), _showLabel);
    Update();
}

int DJVerticalSlider::TravelForHeight(int height, bool showLabel)
{
    return std::max(1, height - kTravelInset - (showLabel ? kLabelHeight : 0));
}

int DJVerticalSlider::MapPixelToPosition(int y, int travel)
{
    const double r = y / static_cast<double>(std::max(1, travel));
    if (r < 0)
        return kPositionMin;
    if (r > 1)
        return kPositionMax;
    return static_cast<int>(r * 100);
}

int DJVerticalSlider::ThumbTop(int position, int travel)
{
    return static_cast<int>(position * travel * kStepOfTravel);
}

void DJVerticalSlider::_UserSetPosition(int position)
{
    _position = std::clamp(position, kPositionMin, kPositionMax);
    Update();
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kSliderChanged), GetId(), 0);
}

void DJVerticalSlider::EvSize()
{
    _travel = TravelForHeight(GetHeight(), _showLabel);
}

void DJVerticalSlider::EvLButtonDown(int /*x*/, int y)
{
    SetCapture(true);
    _dragging = true;
    _UserSetPosition(MapPixelToPosition(y, _travel));
}

void DJVerticalSlider::EvMouseMove(int /*x*/, int y)
{
    if (_dragging)
        _UserSetPosition(MapPixelToPosition(y, _travel));
}

void DJVerticalSlider::EvLButtonUp(int /*x*/, int /*y*/)
{
    SetCapture(false);
    _dragging = false;
}

void DJVerticalSlider::EvRButtonDown(int /*x*/, int /*y*/)
{
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kContextMenu), GetId(), 0);
}

void DJVerticalSlider::EvMouseWheel(int /*x*/, int /*y*/, int delta)
{
    // Computed wide: a hostile delta cannot overflow the position.
    const long steps = std::lround(delta / 60.0);
    _UserSetPosition(static_cast<int>(
        std::clamp<long>(_position - steps, kPositionMin, kPositionMax)));
}

void DJVerticalSlider::Paint(PaintData& data)
{
    const int width = GetWidth();
    const int height = GetHeight();
    _travel = TravelForHeight(height, _showLabel);
    FillRect(data, _background, 0, 0, width, height);
    if (_showLabel && _label[0] != '\0') {
        LPaintSurface::SetFont(data.savedFont, data.font);
        data.font = _font;
        DrawText(data, _label.data(), 0, height - kLabelHeight, width, kLabelHeight,
                 LHAlignment::kCentre);
        data.font = data.savedFont;
    }
    _PaintGroove(data, width);
    _PaintThumb(data, width);
}

void DJVerticalSlider::_PaintGroove(PaintData& data, int width) const
{
    const int centre = width / 2;
    const int bottom = _travel + kGrooveTop;
    const struct {
        int x;
        LGuiColorRef colour;
    } lines[] = {{centre - 1, kGrooveDark}, {centre, kGrooveLight}, {centre - 2, kGrooveShade}};
    for (const auto& line : lines) {
        MoveTo(data, line.x, kGrooveTop);
        LineTo(data, line.x, bottom);
        StrokePath(data, line.colour, 1);
    }
    for (const int y : {kGrooveTop, (_travel + 4) / 2, _travel + 3}) {
        MoveTo(data, centre - 6, y);
        LineTo(data, centre - 3, y);
        MoveTo(data, centre + 2, y);
        LineTo(data, centre + 5, y);
    }
    StrokePath(data, kTickColour, 1);
}

void DJVerticalSlider::_PaintThumb(PaintData& data, int width) const
{
    const int left = width / 2 - kThumbLeft;
    const int top = ThumbTop(_position, _travel);
    FillRect(data, kThumbColour, left, top + kThumbBlockTop, kThumbWidth, kThumbBlockHeight);
    // Dark bars on the odd rows; on the even rows a light bar inset by a pixel, so the block's
    // colour shows at its ends.
    for (int row = 1; row <= kThumbRows; ++row) {
        if (row % 2 == 1)
            FillRect(data, kThumbDarkBar, left, top + row, kThumbWidth, 1);
        else
            FillRect(data, kThumbLightBar, left + 1, top + row, kThumbWidth - 2, 1);
    }
}
