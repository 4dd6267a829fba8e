#include "ui/LDBEditCustom.h"

#include "ui/DJFaderMessages.h"

#include <algorithm>
#include <cmath>

int LDBEditCustom::ThumbPosition(int levelDb, int minLevel, int range, int width)
{
    if (range <= 0)
        return 0;
    return (levelDb - minLevel) * width / range;
}

int LDBEditCustom::ThumbDrawLeft(int thumbPosition, int thumbWidth, int width)
{
    if (width <= thumbWidth)
        return 0;
    return thumbPosition * (width - thumbWidth) / width;
}

int LDBEditCustom::MapPixelToDB(int x, int grabOffset, int width, int minLevel, int maxLevel,
                                int range)
{
    if (x > width - grabOffset - 2)
        return maxLevel;
    if (x < grabOffset || width <= 0)
        return LdBValue::kSilence;
    // Wide: the pointer may be far outside the control while captured.
    return static_cast<int>((static_cast<long long>(x) - grabOffset) * range / width) + minLevel;
}

void LDBEditCustom::SetLevel(LdBValue level)
{
    const LdBValue held{std::clamp(level.GetDB(), _minLevel, _maxLevel)};
    if (held == _level)
        return;
    _level = held;
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kLevelChanged), GetId(), 0);
    Update();
}

void LDBEditCustom::_SetLevelDB(long db)
{
    SetLevel(LdBValue{static_cast<int>(std::clamp<long>(db, _minLevel, _maxLevel))});
}

void LDBEditCustom::EvLButtonDown(int x, int y)
{
    SetCapture(true);
    _dragging = true;
    const int width = GetWidth();
    const int thumb = ThumbPosition(_level.GetDB(), _minLevel, _range, width);
    const int left = ThumbDrawLeft(thumb, _thumbWidth, width);
    if (x >= left && x < left + _thumbWidth) {
        _grabOffset = x - thumb;
        return;
    }
    _grabOffset = 0;
    EvMouseMove(x, y);
}

void LDBEditCustom::EvMouseMove(int x, int /*y*/)
{
    if (!_dragging)
        return;
    _SetLevelDB(MapPixelToDB(x, _grabOffset, GetWidth(), _minLevel, _maxLevel, _range));
}

void LDBEditCustom::EvLButtonUp(int /*x*/, int /*y*/)
{
    SetCapture(false);
    _dragging = false;
    Update();
}

void LDBEditCustom::EvRButtonDown(int /*x*/, int /*y*/)
{
    SendParentInterWinMessage(static_cast<int>(DJFaderMessage::kContextMenu), GetId(), 0);
}

void LDBEditCustom::EvMouseWheel(int /*x*/, int /*y*/, int delta)
{
    _SetLevelDB(_level.GetDB() + std::lround(delta / 120.0));
}

void LDBEditCustom::Paint(PaintData& data)
{
    const int width = GetWidth();
    const int height = GetHeight();
    const int thumb = ThumbPosition(_level.GetDB(), _minLevel, _range, width);
    const int left = ThumbDrawLeft(thumb, _thumbWidth, width);
    // The track: the low colour up to the thumb, the high one after it, each with an end cap
    // a row taller than the track.
    constexpr int kCapWidth = 2;  // pixels
    FillRect(data, kTrackLow, 0, 1, kCapWidth, height - 2);
    FillRect(data, kTrackHigh, width - kCapWidth, 1, kCapWidth, height - 2);
    FillRect(data, kTrackLow, 0, 2, left, height - 4);
    FillRect(data, kTrackHigh, left + _thumbWidth, 2, width - left - _thumbWidth, height - 4);
    DrawThumb(data, left, height);
}

void LDBEditCustom::DrawThumb(PaintData& data, int left, int height) const
{
    FillRect(data, kTrackHigh, left, 0, _thumbWidth, height);
    FillRect(data, kThumbInner, left + 1, 1, _thumbWidth - 2, height - 2);
}
