#include "ui/DJCrossFader.h"

#include "ui/DJTheme.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr LGuiColorRef kBlack = LGuiColorRef::FromRGB(0, 0, 0);
constexpr int kThumbLeftOfCentre = 4;   // pixels; the thumb spans c - 4 .. c + 4
constexpr int kThumbRightOfCentre = 5;  // first pixel right of the thumb
constexpr int kGrooveHeight = 4;        // pixels
constexpr int kInnerInset = 3;          // pixels inside the outer and inner frames

}  // namespace

void DJCrossFader::SetPosition(int position)
{
    _position = std::clamp(position, kMinPosition, kMaxPosition);
    Update();
    SendParentInterWinMessage(static_cast<int>(DJCrossFaderMessage::kPositionChanged), GetId(), 0);
}

void DJCrossFader::_SetPositionLong(long position)
{
    SetPosition(static_cast<int>(std::clamp<long>(position, kMinPosition, kMaxPosition)));
}

int DJCrossFader::ThumbCentre() const
{
    return _position * _travel / kMaxPosition + kMargin;
}

long DJCrossFader::PositionOfPixel(int x) const
{
    const int64_t along = int64_t(x) - _grabOffset - kMargin;
    return static_cast<long>(along * kMaxPosition / _travel);
}

void DJCrossFader::_UpdateTravel(int width)
{
    _travel = std::max(width - 2 * kMargin, 1);
}

void DJCrossFader::EvSize()
{
    _UpdateTravel(GetWidth());
}

void DJCrossFader::EvLButtonDown(int x, int /*y*/)
{
    const int centre = ThumbCentre();
    SetCapture(true);
    _dragging = true;
    if (x >= centre - kThumbLeftOfCentre && x < centre + kThumbRightOfCentre) {
        _grabOffset = x - centre;
        return;
    }
    _grabOffset = 0;
    EvMouseMove(x, 0);
}

void DJCrossFader::EvMouseMove(int x, int /*y*/)
{
    if (_dragging) {
        _SetPositionLong(PositionOfPixel(x));
    }
}

void DJCrossFader::EvLButtonUp(int /*x*/, int /*y*/)
{
    _dragging = false;
    SetCapture(false);
}

void DJCrossFader::EvMouseWheel(int /*x*/, int /*y*/, int delta)
{
    _SetPositionLong(_position + std::lround(delta / double(kWheelStep)));
}

void DJCrossFader::Paint(PaintData& data)
{
    const int width = GetWidth();
    const int height = GetHeight();
    _UpdateTravel(width);
    StrokeRect(data, kBlack, 1, 0, 0, width - 1, height - 1);
    FillRect(data, DJThemeUser::GetTheme().consoleSurface, 0.5f, 0.5f, width - 2, height - 2);
    StrokeRect(data, kBlack, 1, 2, 2, width - 5, height - 5);
    // The groove along the travel, across the middle.
    FillRect(data, kGrooveColour, kMargin, (height - kGrooveHeight) / 2, _travel, kGrooveHeight);
    const int left = ThumbCentre() - kThumbLeftOfCentre;
    const int thumbHeight = height - 2 * kInnerInset;
    FillRect(data, kThumbFillColour, left, kInnerInset, kThumbWidth, thumbHeight);
    StrokeRect(data, kThumbFrameColour, 1, left, kInnerInset, kThumbWidth - 1, thumbHeight - 1);
    MoveTo(data, ThumbCentre(), kInnerInset + 1);
    LineTo(data, ThumbCentre(), kInnerInset + thumbHeight - 2);
    StrokePath(data, kCentreLineColour, 1);
}
