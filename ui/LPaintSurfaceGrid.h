#pragma once

// The pixel grid every drawing call is placed on. Private to ui/.
//
// Before Paint the toolkit turns anti-aliasing off and translates the painter by half a pixel,
// so the control's coordinate g names the centre of pixel g. A shape then covers the pixels
// whose centres it holds, a centre on the shape's left or top edge counting as inside: a fill
// of (x, y, w, h) covers pixels x .. x + w - 1, a one-pixel line at y covers row y.
//
// Qt's own aliased rasteriser does not settle centres that lie exactly on an edge the same way
// in every code path, and at a device pixel ratio of 2 the half-pixel shift is a whole device
// pixel. So the drawing calls do not hand edges through the centres to Qt: each edge e is moved
// to the pixel boundary before the first centre it covers, ceil(e) - 0.5 in the control's
// coordinates, which is a whole device pixel at every integer ratio. A drawing at ratio 2 is
// then the drawing at ratio 1 with every pixel doubled.

#include <QRectF>

#include <algorithm>
#include <cmath>
#include <optional>

namespace LPaintSurfaceGrid {

// Far beyond any screen, small enough that Qt's int rounding cannot overflow at ratio 8.
inline constexpr double kMaxCoordinatePixels = 1 << 24;
// Float noise below this counts as lying on the pixel centre.
inline constexpr double kCentreTolerancePixels = 1e-3;

// The boundary before the first pixel centre at or after `edge`.
inline double SnapEdge(double edge)
{
    const double clamped = std::clamp(edge, -kMaxCoordinatePixels, kMaxCoordinatePixels);
    return std::ceil(clamped - kCentreTolerancePixels) - 0.5;
}

// The pixels a rectangle of the control covers, as boundaries; a negative width or height
// extends to the left or upwards. Empty when nothing is covered or a value is not finite.
inline std::optional<QRectF> SnapRect(double x, double y, double width, double height)
{
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(width) || !std::isfinite(height))
        return std::nullopt;
    const double left = SnapEdge(std::min(x, x + width)), right = SnapEdge(std::max(x, x + width));
    const double top = SnapEdge(std::min(y, y + height)), bottom = SnapEdge(std::max(y, y + height));
    if (right <= left || bottom <= top)
        return std::nullopt;
    return QRectF(left, top, right - left, bottom - top);
}

}  // namespace LPaintSurfaceGrid
