#include "ui/LDBDisplay2.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cstdio>

namespace {

constexpr LGuiColorRef kRed = LGuiColorRef::FromRGB(255, 0, 0);
constexpr LGuiColorRef kPeakColour = LGuiColorRef::FromRGB(255, 255, 255);
constexpr LGuiColorRef kClipOff = LGuiColorRef::FromRGB(90, 0, 0);
constexpr int kTickHeight = 2;  // pixels of a scale tick

// Colour ramps: dark green to yellow to red, as (start, change over the half).
constexpr double kGreenRedStart = 7, kGreenRedRise = 227;
constexpr double kGreenGreenStart = 103, kGreenGreenRise = 152;
constexpr double kYellowRedStart = 234, kYellowRedRise = 21;
constexpr double kYellowGreenStart = 255, kYellowGreenFall = 255;

int _Component(double value)
{
    return std::clamp(static_cast<int>(value), 0, 255);
}

// x offset of a scale label from its tick, by how wide the number is.
int _LabelOffset(int db)
{
    if (db < -9)
        return 14;
    if (db < 0)
        return 9;
    return 6;
}

}  // namespace

LDBDisplay2::LDBDisplay2()
{
    _level.channels = 1;
}

void LDBDisplay2::SetLevel(const LDBMC& level)
{
    _level = level;
    Update();
}

void LDBDisplay2::Clear()
{
    _level.channels = 1;
    _level.level[0] = LdBValue{LdBValue::kSilence};
    _timer.Kill();
    _peaks = {};
    Update();
}

void LDBDisplay2::EvSize()
{
    _needsRebuild = true;
}

int LDBDisplay2::_UsableWidth(int width) const
{
    return std::max(0, width - (_designTwo ? kDesignTwoReserve : 0));
}

int LDBDisplay2::MapDBToPixel(int db) const
{
    const double share = (db - _minDb) / static_cast<double>(_maxDb - _minDb);
    return static_cast<int>(share * _UsableWidth(_tableWidth));
}

LGuiColorRef LDBDisplay2::MapPixelToColour(int x) const
{
    return MapPixelToColour(x, MapDBToPixel(0));
}

LGuiColorRef LDBDisplay2::MapPixelToColour(int x, int zeroDBPixel)
{
    if (x > zeroDBPixel)
        return kRed;
    const double half = zeroDBPixel / 2.0;
    if (half <= 0)
        return LGuiColorRef::FromRGB(_Component(kGreenRedStart), _Component(kGreenGreenStart), 0);
    if (x <= half) {
        const double t = x / half;
        return LGuiColorRef::FromRGB(_Component(kGreenRedStart + kGreenRedRise * t),
                                     _Component(kGreenGreenStart + kGreenGreenRise * t), 0);
    }
    const double t = (x - half) / half;
    return LGuiColorRef::FromRGB(_Component(kYellowRedStart + kYellowRedRise * t),
                                 _Component(kYellowGreenStart - kYellowGreenFall * t), 0);
}

void LDBDisplay2::CalculateColours(int width)
{
    constexpr int kNarrow = 141, kMedium = 271;  // pixels
    _tableWidth = std::max(0, width);
    _scaleStep = _tableWidth < kNarrow ? 12 : _tableWidth < kMedium ? 6 : 3;
    _dbToPixel.clear();
    for (int db = _minDb; db <= _maxDb; ++db)
        _dbToPixel.push_back(MapDBToPixel(db));
    const int zeroPixel = MapDBToPixel(0);
    _pixelColours.resize(static_cast<size_t>(_tableWidth));
    for (int x = 0; x < _tableWidth; ++x)
        _pixelColours[static_cast<size_t>(x)] = MapPixelToColour(x, zeroPixel);
}

void LDBDisplay2::CreateLevelBitmap(int width, int height)
{
    if (width <= 0 || height <= 0) {
        _levelImage.SetImage(QImage());
        return;
    }
    QImage image(width, height, QImage::Format_RGB32);
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(0));
    for (int x = 0; x < width; ++x) {
        const LGuiColorRef colour = x < static_cast<int>(_pixelColours.size())
                                        ? _pixelColours[static_cast<size_t>(x)]
                                        : kRed;
        row[x] = qRgb(colour.Red8(), colour.Green8(), colour.Blue8());
    }
    for (int y = 1; y < height; ++y)
        std::copy(row, row + width, reinterpret_cast<QRgb*>(image.scanLine(y)));
    _levelImage.SetImage(std::move(image));
}

int LDBDisplay2::GetDBPixel(int db) const
{
    if (_dbToPixel.empty() || db < _minDb)
        return 0;
    if (db > _maxDb)
        return _dbToPixel.back();
    return _dbToPixel[static_cast<size_t>(db - _minDb)];
}

int LDBDisplay2::_DisplayedDB(LdBValue level) const
{
    const int db = std::clamp(level.GetDB() - kHeadroomDB, -127, 127);
    return std::min(db, _maxDb);
}

LDBDisplay2::Area LDBDisplay2::_MeterArea(int height) const
{
    if (!_showScale)
        return {0, height};
    return {height / 2, height - height / 2};
}

void LDBDisplay2::_RebuildIfNeeded(int width, int height)
{
    if (!_needsRebuild && _tableWidth == width && _levelImage.GetImage().height() >= height)
        return;
    CalculateColours(width);
    CreateLevelBitmap(width, height);
    _needsRebuild = false;
}

void LDBDisplay2::Prepaint(PaintData& data)
{
    if (_designTwo)
        PaintDesignTwo(data);
    else
        PaintDesignOne(data);
}

void LDBDisplay2::PaintDesignOne(PaintData& data)
{
    const int width = GetWidth();
    const int height = GetHeight();
    _RebuildIfNeeded(width, height);
    FillRect(data, _background, 0, 0, width, height);
    if (_showScale)
        _PaintScale(data, height / 2);
    _PaintBars(data, _MeterArea(height));
}

void LDBDisplay2::PaintDesignTwo(PaintData& data)
{
    const int width = GetWidth();
    const int height = GetHeight();
    _RebuildIfNeeded(width, height);
    FillRect(data, _background, 0, 0, width, height);
    const bool clipping = _PaintBars(data, {0, height});
    const int lightLeft = _UsableWidth(width) + 2;
    FillRect(data, clipping ? kRed : kClipOff, lightLeft, 1, kDesignTwoReserve - 3, height - 2);
}

void LDBDisplay2::_PaintScale(PaintData& data, int scaleHeight) const
{
    if (scaleHeight <= 0 || _scaleStep <= 0)
        return;
    LPaintSurface::SetFont(data.savedFont, data.font);
    data.font.CreateFont(scaleHeight, false, false, false, _scaleColour);
    char number[16];
    for (int db = _minDb + _scaleStep; db <= _maxDb; db += _scaleStep) {
        const int x = GetDBPixel(db);
        MoveTo(data, x, scaleHeight - kTickHeight);
        LineTo(data, x, scaleHeight);
        std::snprintf(number, sizeof number, "%d", db);
        DrawText(data, number, x - _LabelOffset(db), 0, 0, scaleHeight);
    }
    StrokePath(data, _scaleColour, 1);
    data.font = data.savedFont;
}

bool LDBDisplay2::_PaintBars(PaintData& data, const Area& area)
{
    const int channels = std::min<int>(_level.channels, kPeakChannels);
    if (channels <= 0 || area.height <= 0)
        return false;
    const int barHeight = (area.height - (channels - 1)) / channels;
    bool atTop = false;
    for (int channel = 0; channel < channels; ++channel) {
        const int top = area.top + channel * (barHeight + 1);
        const int rows =
            channel == channels - 1 ? area.top + area.height - top : barHeight;
        const int displayed = _DisplayedDB(_level.level[channel]);
        atTop = atTop || displayed >= _maxDb;
        const int pixel = GetDBPixel(displayed);
        Peak& peak = _peaks[static_cast<size_t>(channel)];
        if (pixel >= 1 && pixel >= peak.pixel) {
            peak.pixel = pixel;
            peak.holdCount = 0;
            peak.fallSpeed = 1;
            _timer.Set(kTickMs);
        }
        if (pixel > 0 && rows > 0 && data.context)
            _levelImage.DrawSubImage(*data.context, 0, top, pixel, rows, 0, 0, pixel, rows);
        if (peak.pixel > 0 && rows > 0) {
            MoveTo(data, peak.pixel, top);
            LineTo(data, peak.pixel, top + rows);
            StrokePath(data, kPeakColour, 1);
        }
    }
    return atTop;
}

void LDBDisplay2::TimerAction()
{
    bool settled = true;
    for (Peak& peak : _peaks) {
        if (peak.holdCount < peak.holdMax) {
            ++peak.holdCount;
        } else if (peak.pixel > peak.fallSpeed) {
            peak.pixel -= peak.fallSpeed;
            ++peak.fallSpeed;
        } else {
            peak.pixel = 0;
        }
        settled = settled && peak.pixel == 0 && peak.holdCount >= peak.holdMax;
    }
    Update();
    if (settled)
        _timer.Kill();  // a tick run early must not leave an earlier setting behind
    else
        _timer.Set(kTickMs);
}
