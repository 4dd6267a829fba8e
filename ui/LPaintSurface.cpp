#include "ui/LPaintSurface.h"

#include "ui/LPaintSurfaceGrid.h"
#include "ui/LQtConvert.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPaintDevice>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using LPaintSurfaceGrid::SnapEdge;
using LPaintSurfaceGrid::SnapRect;

constexpr int kMaxLineWidthPixels = 1000;

// A text line as laid out in Qt's terms.
struct _Line {
    QString text;
    qreal width = 0;
};

// How much of a text can be visible: lines beyond these counts lie outside the painted area, so
// a huge text costs no more than a screenful.
struct _TextLimits {
    size_t maxLines = std::numeric_limits<size_t>::max();
    qsizetype maxCharsPerLine = std::numeric_limits<qsizetype>::max();
};

// Visible glyphs advance at least a pixel or so; four characters a pixel leaves room for
// combining marks and other zero-width characters.
constexpr qsizetype kCharsPerVisiblePixel = 4;
constexpr qsizetype kExtraCharsPerLine = 256;

bool _IsDrawable(const PaintData& data)
{
    return data.context != nullptr && data.context->isActive();
}

void _FillSnapped(QPainter& context, const std::optional<QRectF>& rect, const QBrush& brush)
{
    if (rect)
        context.fillRect(*rect, brush);
}

int _ClampLineWidth(int lineWidth)
{
    return std::clamp(lineWidth, 1, kMaxLineWidthPixels);
}

bool _IsFinite(const PaintData::Point& point)
{
    return std::isfinite(point.x) && std::isfinite(point.y);
}

// True when every drawn segment is horizontal or vertical.
bool _IsAxisAligned(const std::vector<PaintData::Point>& path)
{
    for (size_t i = 1; i < path.size(); ++i) {
        if (path[i].move)
            continue;
        if (path[i].x != path[i - 1].x && path[i].y != path[i - 1].y)
            return false;
    }
    return true;
}

// A segment with butt ends as the rectangle it covers, `lineWidth` across centred on the line.
std::optional<QRectF> _SegmentRect(const PaintData::Point& a, const PaintData::Point& b, int lineWidth)
{
    const double half = lineWidth * 0.5;
    if (a.y == b.y)
        return SnapRect(std::min(a.x, b.x), a.y - half, std::fabs(b.x - a.x), lineWidth);
    return SnapRect(a.x - half, std::min(a.y, b.y), lineWidth, std::fabs(b.y - a.y));
}

// Axis-aligned paths are filled as rectangles on the grid, with a square of the line's width
// at every corner where two segments meet (the mitre of a right angle).
void _StrokeAxisAligned(QPainter& context, const std::vector<PaintData::Point>& path,
                        const QColor& colour, int lineWidth)
{
    const double half = lineWidth * 0.5;
    for (size_t i = 1; i < path.size(); ++i) {
        const PaintData::Point &a = path[i - 1], &b = path[i];
        if (b.move || !_IsFinite(a) || !_IsFinite(b) || (a.x == b.x && a.y == b.y))
            continue;
        _FillSnapped(context, _SegmentRect(a, b, lineWidth), colour);
        const bool joined = i + 1 < path.size() && !path[i + 1].move;
        if (joined && lineWidth > 1)
            _FillSnapped(context, SnapRect(b.x - half, b.y - half, lineWidth, lineWidth), colour);
    }
}

QPainterPath _ToPainterPath(const std::vector<PaintData::Point>& path, bool snap)
{
    QPainterPath result;
    result.setFillRule(Qt::WindingFill);
    bool startsSubpath = true;  // a point that is not a number breaks the line there
    for (const PaintData::Point& point : path) {
        if (!_IsFinite(point)) {
            startsSubpath = true;
            continue;
        }
        const QPointF at = snap ? QPointF(SnapEdge(point.x), SnapEdge(point.y)) : QPointF(point.x, point.y);
        if (point.move || startsSubpath)
            result.moveTo(at);
        else
            result.lineTo(at);
        startsSubpath = false;
    }
    return result;
}

void _StrokeWithPen(QPainter& context, const std::vector<PaintData::Point>& path, const QColor& colour,
                    int lineWidth)
{
    const QPen pen(colour, lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    context.strokePath(_ToPainterPath(path, false), pen);
}

// A rectangle that holds all the control can show: the device, cut by the clip. An image
// gives its size in device pixels, a widget in device-independent ones; either holds the
// device-independent area, so nothing visible is left out at any pixel ratio.
QRectF _VisibleArea(const QPainter& context)
{
    const QPaintDevice* device = context.device();
    QRectF area(0, 0, device->width(), device->height());
    bool invertible = false;
    const QTransform toUser = context.worldTransform().inverted(&invertible);
    if (invertible)
        area = toUser.mapRect(area);
    if (context.hasClipping())
        area = area.intersected(context.clipBoundingRect());
    return area;
}

qreal _LineStep(const QFontMetricsF& metrics)
{
    return std::ceil(metrics.height());
}

QString _RightTrimmed(QStringView text)
{
    qsizetype end = text.size();
    while (end > 0 && text[end - 1].isSpace())
        --end;
    return text.left(end).toString();
}

void _WrapParagraph(const QFont& font, const QFontMetricsF& metrics, QStringView paragraph,
                    qreal width, size_t maxLines, std::vector<_Line>& lines)
{
    QTextLayout layout(paragraph.toString(), font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.setCacheEnabled(false);
    layout.beginLayout();
    while (lines.size() < maxLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        QString text = _RightTrimmed(paragraph.mid(line.textStart(), line.textLength()));
        const qreal advance = metrics.horizontalAdvance(text);
        lines.push_back({std::move(text), advance});
    }
    layout.endLayout();
}

void _AddParagraph(const QFont& font, const QFontMetricsF& metrics, QStringView paragraph, qreal width,
                   LWrapping wrapping, const _TextLimits& limits, std::vector<_Line>& lines)
{
    const bool bounded = width > 0;
    if (wrapping == LWrapping::kWord && bounded && !paragraph.isEmpty()) {
        // Only as much of the paragraph as the visible lines can hold is laid out.
        qsizetype budget = paragraph.size();
        const size_t linesLeft = limits.maxLines - lines.size();
        if (linesLeft < size_t(paragraph.size() / limits.maxCharsPerLine) + 1)
            budget = qsizetype(linesLeft) * limits.maxCharsPerLine;
        _WrapParagraph(font, metrics, paragraph.left(budget), width, limits.maxLines, lines);
        return;
    }
    QString text = paragraph.left(std::min(paragraph.size(), limits.maxCharsPerLine)).toString();
    qreal advance = text.isEmpty() ? 0 : metrics.horizontalAdvance(text);
    const bool cut = wrapping == LWrapping::kEllipsis || wrapping == LWrapping::kEllipsisEnd;
    if (cut && bounded && advance > width) {
        text = metrics.elidedText(text, Qt::ElideRight, width);
        advance = metrics.horizontalAdvance(text);
    }
    lines.push_back({std::move(text), advance});
}

// Newlines always break; "\r\n" counts as one newline.
std::vector<_Line> _Layout(const QFont& font, const QString& text, qreal width, LWrapping wrapping,
                           const _TextLimits& limits)
{
    const QFontMetricsF metrics(font);
    width = std::min<qreal>(width, LPaintSurfaceGrid::kMaxCoordinatePixels);  // Qt's text units overflow
    std::vector<_Line> lines;
    qsizetype start = 0;
    while (start <= text.size() && lines.size() < limits.maxLines) {
        qsizetype end = text.indexOf(QLatin1Char('\n'), start);
        const bool last = end < 0;
        if (last)
            end = text.size();
        QStringView paragraph = QStringView(text).mid(start, end - start);
        if (paragraph.endsWith(QLatin1Char('\r')))
            paragraph.chop(1);
        _AddParagraph(font, metrics, paragraph, width, wrapping, limits, lines);
        if (last)
            break;
        start = end + 1;
    }
    return lines;
}

_TextLimits _DrawLimits(const QRectF& visible, float y, qreal lineStep)
{
    _TextLimits limits;
    if (visible.isEmpty()) {
        limits.maxLines = 0;
        return limits;
    }
    const qreal linesToBottom = std::ceil((visible.bottom() - y) / lineStep) + 1;
    limits.maxLines = linesToBottom <= 0 ? 0 : size_t(std::min<qreal>(linesToBottom, 1 << 20));
    const qreal widthPixels = std::min<qreal>(visible.width(), 1 << 20);
    limits.maxCharsPerLine = qsizetype(widthPixels) * kCharsPerVisiblePixel + kExtraCharsPerLine;
    return limits;
}

qreal _AlignedX(float width, qreal lineWidth, LHAlignment hAlign)
{
    if (width <= 0 || hAlign == LHAlignment::kLeft)
        return 0;
    const qreal room = width - lineWidth;
    return std::round(hAlign == LHAlignment::kCentre ? room / 2 : room);
}

qreal _Widest(const std::vector<_Line>& lines)
{
    qreal widest = 0;
    for (const _Line& line : lines)
        widest = std::max(widest, line.width);
    return widest;
}

// Where DrawText puts its lines, in the control's coordinates.
struct _TextPlacement {
    qreal left = 0, top = 0;  // the box's left edge; the first line's top before snapping
    qreal step = 0;           // pixels from one line's top to the next
    qreal ascent = 0;         // pixels from a line's top to its baseline
    qreal visibleTop = 0;
    qreal bottom = 0;  // a line starting here or below is not drawn
    float width = 0;
    LHAlignment hAlign = LHAlignment::kLeft;
};

// Lines above the visible area are skipped; drawing stops at the first line below it.
void _DrawLines(QPainter& context, const std::vector<_Line>& lines, const _TextPlacement& at)
{
    for (size_t i = 0; i < lines.size(); ++i) {
        const qreal lineTop = SnapEdge(at.top + at.step * i);
        if (lineTop >= at.bottom)
            break;
        if (lineTop + at.step < at.visibleTop || lines[i].text.isEmpty())
            continue;
        const qreal lineX = at.left + _AlignedX(at.width, lines[i].width, at.hAlign);
        context.drawText(QPointF(lineX, lineTop + at.ascent), lines[i].text);
    }
}

}  // namespace

void LPaintSurface::FillRect(PaintData& data, const LGuiBrush& brush, float x, float y, float width,
                             float height)
{
    if (!_IsDrawable(data))
        return;
    brush.Apply(*data.context);
    const QBrush applied = data.context->brush();
    brush.Restore(*data.context);
    if (applied.style() != Qt::NoBrush)
        _FillSnapped(*data.context, SnapRect(x, y, width, height), applied);
}

void LPaintSurface::FillRect(PaintData& data, LGuiColorRef colour, float x, float y, float width,
                             float height)
{
    if (_IsDrawable(data))
        _FillSnapped(*data.context, SnapRect(x, y, width, height), LQtConvert::ToQColor(colour));
}

void LPaintSurface::StrokeRect(PaintData& data, const LGuiPen& pen, float x, float y, float width,
                               float height)
{
    StrokeRect(data, pen.GetColor(), pen.GetWidth(), x, y, width, height);
}

// Four fills that meet without overlapping, so a translucent frame has an even colour.
void LPaintSurface::StrokeRect(PaintData& data, LGuiColorRef colour, int lineWidth, float x, float y,
                               float width, float height)
{
    if (!_IsDrawable(data))
        return;
    if (width < 0) {
        x += width;
        width = -width;
    }
    if (height < 0) {
        y += height;
        height = -height;
    }
    const float line = static_cast<float>(_ClampLineWidth(lineWidth));
    if (2 * line >= width || 2 * line >= height) {
        FillRect(data, colour, x, y, width, height);
        return;
    }
    FillRect(data, colour, x, y, width, line);
    FillRect(data, colour, x, y + height - line, width, line);
    FillRect(data, colour, x, y + line, line, height - 2 * line);
    FillRect(data, colour, x + width - line, y + line, line, height - 2 * line);
}

void LPaintSurface::MoveTo(PaintData& data, float x, float y)
{
    data.path.push_back({x, y, true});
}

// A line with no point before it starts the path there.
void LPaintSurface::LineTo(PaintData& data, float x, float y)
{
    data.path.push_back({x, y, data.path.empty()});
}

void LPaintSurface::StrokePath(PaintData& data, LGuiColorRef colour, int lineWidth)
{
    if (_IsDrawable(data) && data.path.size() >= 2) {
        const QColor qcolour = LQtConvert::ToQColor(colour);
        const int width = _ClampLineWidth(lineWidth);
        const bool smooth = data.context->testRenderHint(QPainter::Antialiasing);
        if (!smooth && _IsAxisAligned(data.path))
            _StrokeAxisAligned(*data.context, data.path, qcolour, width);
        else
            _StrokeWithPen(*data.context, data.path, qcolour, width);
    }
    data.path.clear();
}

void LPaintSurface::StrokeSegments(PaintData& data, LGuiColorRef colour, int lineWidth,
                                   const PaintData::Point* points, int count)
{
    if (!_IsDrawable(data) || points == nullptr)
        return;
    const QColor qcolour = LQtConvert::ToQColor(colour);
    const QBrush brush(qcolour);
    const int width = _ClampLineWidth(lineWidth);
    const bool smooth = data.context->testRenderHint(QPainter::Antialiasing);
    for (int i = 0; i + 1 < count; i += 2) {
        const PaintData::Point &a = points[i], &b = points[i + 1];
        if (!_IsFinite(a) || !_IsFinite(b) || (a.x == b.x && a.y == b.y))
            continue;
        if (!smooth && (a.x == b.x || a.y == b.y))
            _FillSnapped(*data.context, _SegmentRect(a, b, width), brush);
        else
            _StrokeWithPen(*data.context, {a, b}, qcolour, width);
    }
}

void LPaintSurface::FillPath(PaintData& data, LGuiColorRef colour)
{
    if (_IsDrawable(data) && data.path.size() >= 3) {
        const bool smooth = data.context->testRenderHint(QPainter::Antialiasing);
        data.context->fillPath(_ToPainterPath(data.path, !smooth), LQtConvert::ToQColor(colour));
    }
    data.path.clear();
}

void LPaintSurface::SetStrokeColor(PaintData& data, LGuiColorRef colour)
{
    if (!data.context)
        return;
    QPen pen = data.context->pen();
    pen.setColor(LQtConvert::ToQColor(colour));
    data.context->setPen(pen);
}

// Values outside 0 to 1 are clamped; a value that is not a number counts as opaque.
void LPaintSurface::SetAlpha(PaintData& data, float alpha)
{
    if (data.context)
        data.context->setOpacity(std::isnan(alpha) ? 1.0 : std::clamp(alpha, 0.0f, 1.0f));
}

void LPaintSurface::SetAntiAlias(PaintData& data, bool on)
{
    if (data.context)
        data.context->setRenderHint(QPainter::Antialiasing, on);
}

void LPaintSurface::DrawImage(PaintData& data, const LGuiImage& image, float x, float y)
{
    if (_IsDrawable(data))
        image.Draw(*data.context, x, y);
}

void LPaintSurface::DrawImage(PaintData& data, const LGuiImage& image, float x, float y, float width,
                              float height)
{
    if (_IsDrawable(data))
        image.Draw(*data.context, x, y, width, height);
}

void LPaintSurface::DrawText(PaintData& data, const char* text, float x, float y, float width,
                             float height, LHAlignment hAlign, LVAlignment vAlign, LWrapping wrapping)
{
    if (!_IsDrawable(data) || text == nullptr || *text == '\0')
        return;
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(width) || !std::isfinite(height))
        return;
    // Qt's text positions are fixed-point numbers that overflow far beyond any screen.
    constexpr float kMax = float(LPaintSurfaceGrid::kMaxCoordinatePixels);
    x = std::clamp(x, -kMax, kMax);
    y = std::clamp(y, -kMax, kMax);
    width = std::min(width, kMax);
    height = std::min(height, kMax);
    QPainter& context = *data.context;
    const QFont font = LQtConvert::ToQFont(data.font);
    const QFontMetricsF metrics(font);
    const QRectF visible = _VisibleArea(context);
    _TextPlacement at;
    at.step = _LineStep(metrics);
    const std::vector<_Line> lines =
        _Layout(font, QString::fromUtf8(text), width, wrapping, _DrawLimits(visible, y, at.step));

    const qreal total = at.step * lines.size();
    at.top = y;
    if (vAlign == LVAlignment::kCentre && height > 0)
        at.top += std::floor((height - total) / 2);
    at.left = SnapEdge(x);
    at.ascent = std::round(metrics.ascent());
    at.visibleTop = visible.top();
    at.bottom = height > 0 ? std::min<qreal>(visible.bottom(), SnapEdge(y + height)) : visible.bottom();
    at.width = width;
    at.hAlign = hAlign;
    if (data.fillTextBackground)
        FillRect(data, data.textBackground, x, y, width > 0 ? width : float(std::ceil(_Widest(lines))),
                 height > 0 ? height : float(total));

    context.save();
    context.setFont(font);
    context.setPen(LQtConvert::ToQColor(data.font.GetColor()));
    _DrawLines(context, lines, at);
    context.restore();
}

void LPaintSurface::_MeasureText(const PaintData& data, const char* text, float wrapWidth, float* width,
                                 float* height)
{
    float measuredWidth = 0, measuredHeight = 0;
    if (text != nullptr && *text != '\0' && std::isfinite(wrapWidth)) {
        const QFont font = LQtConvert::ToQFont(data.font);
        const bool wrap = wrapWidth > 0;
        const std::vector<_Line> lines = _Layout(font, QString::fromUtf8(text), wrap ? wrapWidth : 0,
                                                 wrap ? LWrapping::kWord : LWrapping::kNone, _TextLimits());
        measuredWidth = static_cast<float>(_Widest(lines));
        measuredHeight = static_cast<float>(_LineStep(QFontMetricsF(font)) * lines.size());
    }
    if (width)
        *width = measuredWidth;
    if (height)
        *height = measuredHeight;
}

std::vector<LPaintSurface::TextLine> LPaintSurface::_LayoutText(const PaintData& data, const char* text,
                                                                float width, LWrapping wrapping)
{
    std::vector<TextLine> result;
    if (text == nullptr || *text == '\0' || !std::isfinite(width))
        return result;
    const std::vector<_Line> lines =
        _Layout(LQtConvert::ToQFont(data.font), QString::fromUtf8(text), width, wrapping, _TextLimits());
    result.reserve(lines.size());
    for (const _Line& line : lines)
        result.push_back({line.text.toStdString(), static_cast<float>(line.width)});
    return result;
}

float LPaintSurface::_TextLineHeight(const PaintData& data)
{
    return static_cast<float>(_LineStep(QFontMetricsF(LQtConvert::ToQFont(data.font))));
}

// The end colours fall on the centres of the first and last pixel rows (or columns), so both
// appear exactly.
void LPaintSurface::_FillRectGradient(PaintData& data, LGuiColorRef from, LGuiColorRef to, bool vertical,
                                      float x, float y, float width, float height)
{
    if (!_IsDrawable(data))
        return;
    const std::optional<QRectF> rect = SnapRect(x, y, width, height);
    if (!rect)
        return;
    const qreal length = vertical ? rect->height() : rect->width();
    if (length <= 1) {
        data.context->fillRect(*rect, LQtConvert::ToQColor(from));
        return;
    }
    const QPointF start = rect->topLeft() + QPointF(0.5, 0.5);
    const QPointF end = vertical ? QPointF(start.x(), rect->bottom() - 0.5) : QPointF(rect->right() - 0.5, start.y());
    QLinearGradient gradient(start, end);
    gradient.setColorAt(0, LQtConvert::ToQColor(from));
    gradient.setColorAt(1, LQtConvert::ToQColor(to));
    data.context->fillRect(*rect, gradient);
}
