#include "ui/LPaintBackground.h"

#include "ui/LPaintSurfaceGrid.h"

#include <QPainter>

#include <algorithm>

namespace {

// A larger panel gets no background image rather than gigabytes of one.
constexpr qint64 kMaxBackgroundPixels = qint64(1) << 26;

int _DeviceIndependent(int pixels, qreal ratio)
{
    return static_cast<int>(std::lround(pixels / ratio));
}

}  // namespace

// The image has the ratio the resources load at, so it matches the window's pixels.
void LPaintBackground::PaintBackgroundBitmap(int width, int height)
{
    const qreal ratio = LImageResources::GetDevicePixelRatio();
    const qint64 pixelsWide = std::llround(std::max(width, 0) * ratio);
    const qint64 pixelsHigh = std::llround(std::max(height, 0) * ratio);
    if (pixelsWide == 0 || pixelsHigh == 0 || pixelsWide * pixelsHigh > kMaxBackgroundPixels) {
        _background = QImage();
        return;
    }
    _background = QImage(int(pixelsWide), int(pixelsHigh), QImage::Format_ARGB32_Premultiplied);
    if (_background.isNull())
        return;
    _background.setDevicePixelRatio(ratio);
    _background.fill(Qt::transparent);
}

void LPaintBackground::PaintSubBackground(PaintData& data)
{
    const int width = _BackgroundWidth(), height = _BackgroundHeight();
    const qreal ratio = _background.devicePixelRatio();
    if (_background.isNull() || _DeviceIndependent(_background.width(), ratio) != width ||
        _DeviceIndependent(_background.height(), ratio) != height)
        PaintBackgroundBitmap(width, height);
    if (_background.isNull() || data.context == nullptr || !data.context->isActive())
        return;
    const std::optional<QRectF> target = LPaintSurfaceGrid::SnapRect(data.x, data.y, data.width, data.height);
    if (!target)
        return;
    // The target's boundaries lie half a pixel before the grid's coordinates.
    const qreal imageRatio = _background.devicePixelRatio();
    const QRectF source((target->x() + 0.5) * imageRatio, (target->y() + 0.5) * imageRatio,
                        target->width() * imageRatio, target->height() * imageRatio);
    data.context->drawImage(*target, _background, source);
}

// The panel paints on the same grid as its controls: no anti-aliasing, half-pixel shift.
void LPaintBackgroundCustom::PaintBackgroundBitmap(int width, int height)
{
    LPaintBackground::PaintBackgroundBitmap(width, height);
    if (_background.isNull())
        return;
    QPainter painter(&_background);
    if (!painter.isActive())
        return;
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.translate(0.5, 0.5);
    PaintData data;
    data.context = &painter;
    data.width = static_cast<float>(width);
    data.height = static_cast<float>(height);
    PaintBackground(data);
}
