#include "ui/DJTheme.h"
#include "ui/DJThemePalette.h"
#include "ui/LQtConvert.h"

#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QLinearGradient>

#include <algorithm>
#include <cmath>
#include <mutex>

// Every numbered image of the theme is drawn here by code: antialiased paths in the theme's
// colours, at the size of the control that shows it, at any device pixel ratio (the image is
// made at size x ratio and carries the ratio, so it draws at its device-independent size).
//
// | Numbers    | Image                          | Size     | Shown in                          |
// |------------|--------------------------------|----------|-----------------------------------|
// | 332, 333   | play triangle                  | 16 x 12  | play 40 x 22                      |
// | 327, 336   | cue flag and pause bars        | 16 x 12  | cue pause 40 x 22                 |
// | 326, 337   | cue flag and play triangle     | 16 x 12  | cue play 40 x 22                  |
// | 328, 338   | cue flag and plus              | 16 x 12  | set cue mark 40 x 22              |
// | 325, 334   | loop of two arrows             | 16 x 12  | loop 26 x 22                      |
// | 329, 335   | menu arrow, pointing down      | 8 x 6    | loop length 12 x 22; menu button  |
// |            |                                |          | 47 x 14 at (33, 5)                |
// | 330, 340   | headphones                     | 16 x 14  | headphones 26 x 22                |
// | 345, 346   | kill: struck-out circle        | 12 x 12  | kill 20 x 20 at (4, 4)            |
// | 366, 367   | arrow pointing left            | 7 x 10   | bend down 19 x 22, fade 11 x 26   |
// | 368, 369   | arrow pointing right           | 7 x 10   | bend up 19 x 22, fade 11 x 26     |
// | 361 to 364 | deck panel corners, radius 6   | 6 x 6    | deck panel on the window          |
// | 341 to 344 | raised group corners, radius 4 | 4 x 4    | groups on the deck surface        |
// | 351 to 354 | bottom panel corners, radius 4 | 4 x 4    | bottom panel on the window        |
// | 347 to 350 | console corners, radius 6      | 6 x 6    | console panel on the window       |
// | 360        | round end of the top strip     | 4 x 8    | deck's top strip, 8 high          |
// | 365        | bar mark, triangle pointing    | 7 x 7    | beat strip, 7 high, at (x - 3, 0) |
// |            | down                           |          |                                   |
// | 370, 371   | light on, off                  | 8 x 10   | light buttons 125 x 12 at (0, 1)  |
// | 355        | console background: a record   | 180 x 276| console panel, at top + 15        |
//
// Up images have dark glyphs for the button face; down images light ones for the pressed inner
// colour. Sizes keep the centring of the image button pattern on whole pixels in every button
// that shows them. Corner images are masks: outside the quarter circle the colour around the
// rounded shape, inside transparent, so drawn over a filled rectangle's corner they round it.

namespace {
constexpr qreal kMaxDevicePixelRatio = 8;  // beyond any screen; guards absurd sizes
constexpr qreal kGlyphStrokePx = 1.6;

using LQtConvert::ToQColor;

// Where the quarter circle of a corner mask has its centre.
enum class Corner : int { kTopLeft, kTopRight, kBottomRight, kBottomLeft };

struct ImageSpec {
    DJImage number;
    int width;
    int height;
    const char* use;
    void (*draw)(QPainter& painter, const ImageSpec& look);
    LGuiColorRef colour;
    Corner corner;
};

QPolygonF _Triangle(QPointF a, QPointF b, QPointF c)
{
    QPolygonF polygon;
    polygon << a << b << c;
    return polygon;
}

void _FillPolygon(QPainter& painter, const QPolygonF& polygon, const QColor& colour)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawPolygon(polygon);
}

void _StrokeQPath(QPainter& painter, const QPainterPath& path, const QColor& colour, qreal width)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
}

// A flag on a pole at the left of a cue glyph, its pole at `x`.
void _DrawCueFlag(QPainter& painter, qreal x, const QColor& colour)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRect(QRectF(x, 1, 2, 10));
    _FillPolygon(painter, _Triangle({x + 2, 1}, {x + 7, 3.5}, {x + 2, 6}), colour);
}

void _DrawPlay(QPainter& painter, const ImageSpec& look)
{
    _FillPolygon(painter, _Triangle({4, 1}, {4, 11}, {13, 6}), ToQColor(look.colour));
}

void _DrawCuePause(QPainter& painter, const ImageSpec& look)
{
    const QColor colour = ToQColor(look.colour);
    _DrawCueFlag(painter, 1, colour);
    painter.setBrush(colour);
    painter.drawRect(QRectF(8, 2, 3, 8));
    painter.drawRect(QRectF(12, 2, 3, 8));
}

void _DrawCuePlay(QPainter& painter, const ImageSpec& look)
{
    const QColor colour = ToQColor(look.colour);
    _DrawCueFlag(painter, 1, colour);
    _FillPolygon(painter, _Triangle({9, 1.5}, {9, 10.5}, {15, 6}), colour);
}

void _DrawSetCue(QPainter& painter, const ImageSpec& look)
{
    const QColor colour = ToQColor(look.colour);
    _DrawCueFlag(painter, 1, colour);
    painter.setBrush(colour);
    painter.drawRect(QRectF(9, 5, 6, 2));
    painter.drawRect(QRectF(11, 2, 2, 8));
}

void _DrawLoop(QPainter& painter, const ImageSpec& look)
{
    const QColor colour = ToQColor(look.colour);
    QPainterPath loop;
    loop.addRoundedRect(QRectF(2.5, 2.5, 11, 7), 3.5, 3.5);
    _StrokeQPath(painter, loop, colour, kGlyphStrokePx);
    // Heads on the top run (going right) and the bottom run (going left).
    _FillPolygon(painter, _Triangle({6.5, 0}, {6.5, 5}, {10.5, 2.5}), colour);
    _FillPolygon(painter, _Triangle({9.5, 7}, {9.5, 12}, {5.5, 9.5}), colour);
}

void _DrawMenuArrow(QPainter& painter, const ImageSpec& look)
{
    _FillPolygon(painter, _Triangle({0.5, 1}, {7.5, 1}, {4, 5.5}), ToQColor(look.colour));
}

void _DrawHeadphones(QPainter& painter, const ImageSpec& look)
{
    const QColor colour = ToQColor(look.colour);
    const QRectF band(2.5, 2, 11, 12);
    QPainterPath arc;
    arc.arcMoveTo(band, 180);
    arc.arcTo(band, 180, -180);
    _StrokeQPath(painter, arc, colour, kGlyphStrokePx);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(QRectF(1, 7.5, 3.5, 6), 1.2, 1.2);
    painter.drawRoundedRect(QRectF(11.5, 7.5, 3.5, 6), 1.2, 1.2);
}

void _DrawKillUp(QPainter& painter, const ImageSpec& look)
{
    const QColor colour = ToQColor(look.colour);
    QPainterPath glyph;
    glyph.addEllipse(QPointF(6, 6), 4.75, 4.75);
    glyph.moveTo(2.6, 2.6);
    glyph.lineTo(9.4, 9.4);
    _StrokeQPath(painter, glyph, colour, 1.5);
}

// Lit: a red disc with a light stroke, plain to see on the button face.
void _DrawKillDown(QPainter& painter, const ImageSpec& look)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToQColor(look.colour));
    painter.drawEllipse(QPointF(6, 6), 5.75, 5.75);
    QPainterPath slash;
    slash.moveTo(2.8, 2.8);
    slash.lineTo(9.2, 9.2);
    _StrokeQPath(painter, slash, ToQColor(DJPalette::kScanningText), 1.75);
}

void _DrawArrowLeft(QPainter& painter, const ImageSpec& look)
{
    _FillPolygon(painter, _Triangle({6.5, 0.5}, {6.5, 9.5}, {0.5, 5}), ToQColor(look.colour));
}

void _DrawArrowRight(QPainter& painter, const ImageSpec& look)
{
    _FillPolygon(painter, _Triangle({0.5, 0.5}, {0.5, 9.5}, {6.5, 5}), ToQColor(look.colour));
}

void _DrawCorner(QPainter& painter, const ImageSpec& look)
{
    const qreal w = look.width;
    const qreal h = look.height;
    QPointF centre;
    switch (look.corner) {
    case Corner::kTopLeft: centre = {w, h}; break;
    case Corner::kTopRight: centre = {0, h}; break;
    case Corner::kBottomRight: centre = {0, 0}; break;
    case Corner::kBottomLeft: centre = {w, 0}; break;
    }
    QPainterPath square;
    square.addRect(QRectF(0, 0, w, h));
    QPainterPath disc;
    disc.addEllipse(centre, w, h);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToQColor(look.colour));
    painter.drawPath(square.subtracted(disc));
}

// The right end of the top strip: outside a half disc on the left edge, in the surface colour.
void _DrawStripEnd(QPainter& painter, const ImageSpec& look)
{
    QPainterPath square;
    square.addRect(QRectF(0, 0, look.width, look.height));
    QPainterPath halfDisc;
    halfDisc.addEllipse(QPointF(0, look.height / 2.0), look.width, look.height / 2.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToQColor(look.colour));
    painter.drawPath(square.subtracted(halfDisc));
}

void _DrawBarMark(QPainter& painter, const ImageSpec& look)
{
    _FillPolygon(painter, _Triangle({0, 0}, {7, 0}, {3.5, 7}), ToQColor(look.colour));
}

void _DrawLight(QPainter& painter, QColor centre, QColor edge)
{
    const QPointF middle(4, 5);
    QRadialGradient glow(middle, 3.75, QPointF(3.2, 4.2));
    glow.setColorAt(0, centre);
    glow.setColorAt(1, edge);
    painter.setBrush(glow);
    painter.setPen(QPen(ToQColor(DJPalette::kDeckSurface), 0.75));
    painter.drawEllipse(middle, 3.5, 3.5);
}

void _DrawLightOn(QPainter& painter, const ImageSpec&)
{
    _DrawLight(painter, ToQColor(DJPalette::kFxLit), ToQColor(DJPalette::kButtonFrameHotPen));
}

void _DrawLightOff(QPainter& painter, const ImageSpec&)
{
    _DrawLight(painter, ToQColor(DJPalette::kLabelGrey), ToQColor(DJPalette::kDeckSurface));
}

// A record on a recessed plate, with a tone arm.
void _DrawConsole(QPainter& painter, const ImageSpec& look)
{
    const QRectF plate(0.5, 0.5, look.width - 1, look.height - 1);
    QLinearGradient shade(plate.topLeft(), plate.bottomLeft());
    shade.setColorAt(0, ToQColor(DJPalette::kFxTitleBar));
    shade.setColorAt(1, ToQColor(DJPalette::kDeckSurface));
    painter.setBrush(shade);
    painter.setPen(QPen(ToQColor(DJPalette::kLabelGrey), 1));
    painter.drawRoundedRect(plate, 8, 8);

    const QPointF centre(look.width / 2.0, 118);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToQColor(DJPalette::kDeckSurface).darker(140));
    painter.drawEllipse(centre, 74, 74);
    QColor groove = ToQColor(DJPalette::kLabelGrey);
    groove.setAlpha(110);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(groove, 0.6));
    for (qreal radius = 28; radius <= 70; radius += 4) {
        painter.drawEllipse(centre, radius, radius);
    }
    painter.setPen(QPen(ToQColor(DJPalette::kDeckLetter), 1));
    painter.setBrush(ToQColor(DJPalette::kDeckLetterBox));
    painter.drawEllipse(centre, 22, 22);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToQColor(DJPalette::kDeckLetter));
    painter.drawEllipse(centre, 2.5, 2.5);

    const QPointF pivot(look.width - 18.0, 30);
    QPainterPath arm;
    arm.moveTo(pivot);
    arm.lineTo(pivot.x() - 6, 120);
    arm.lineTo(pivot.x() - 26, 150);
    _StrokeQPath(painter, arm, ToQColor(DJPalette::kButtonFace), 3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToQColor(DJPalette::kLabelGrey));
    painter.drawEllipse(pivot, 7, 7);
    painter.setBrush(ToQColor(DJPalette::kButtonFace));
    painter.drawEllipse(pivot, 2.5, 2.5);
}

constexpr LGuiColorRef kUp = DJPalette::kGlyphUp;
constexpr LGuiColorRef kDown = DJPalette::kGlyphDown;
constexpr LGuiColorRef kWindow = DJPalette::kWindowBackground;
constexpr LGuiColorRef kDeck = DJPalette::kDeckSurface;
constexpr LGuiColorRef kWhite = DJPalette::kCentreLinePen;
constexpr LGuiColorRef kRed = DJPalette::kScanningBox;
constexpr Corner kTL = Corner::kTopLeft, kTR = Corner::kTopRight, kBR = Corner::kBottomRight,
                 kBL = Corner::kBottomLeft;

// clang-format off
const ImageSpec kImages[] = {
    {DJImage::kLoopUp, 16, 12, "loop", _DrawLoop, kUp, kTL},
    {DJImage::kCuePlayUp, 16, 12, "cue play", _DrawCuePlay, kUp, kTL},
    {DJImage::kCuePauseUp, 16, 12, "cue pause", _DrawCuePause, kUp, kTL},
    {DJImage::kSetCueUp, 16, 12, "set cue mark", _DrawSetCue, kUp, kTL},
    {DJImage::kLoopMenuUp, 8, 6, "loop menu arrow", _DrawMenuArrow, kUp, kTL},
    {DJImage::kHeadphonesUp, 16, 14, "headphones", _DrawHeadphones, kUp, kTL},
    {DJImage::kPlayUp, 16, 12, "play", _DrawPlay, kUp, kTL},
    {DJImage::kPlayDown, 16, 12, "play, down", _DrawPlay, kDown, kTL},
    {DJImage::kLoopDown, 16, 12, "loop, down", _DrawLoop, kDown, kTL},
    {DJImage::kLoopMenuDown, 8, 6, "loop menu arrow, down", _DrawMenuArrow, kDown, kTL},
    {DJImage::kCuePauseDown, 16, 12, "cue pause, down", _DrawCuePause, kDown, kTL},
    {DJImage::kCuePlayDown, 16, 12, "cue play, down", _DrawCuePlay, kDown, kTL},
    {DJImage::kSetCueDown, 16, 12, "set cue mark, down", _DrawSetCue, kDown, kTL},
    {DJImage::kHeadphonesDown, 16, 14, "headphones, down", _DrawHeadphones, kDown, kTL},
    {DJImage::kGroupCornerBottomLeft, 4, 4, "group, bottom left", _DrawCorner, kDeck, kBL},
    {DJImage::kGroupCornerBottomRight, 4, 4, "group, bottom right", _DrawCorner, kDeck, kBR},
    {DJImage::kGroupCornerTopLeft, 4, 4, "group, top left", _DrawCorner, kDeck, kTL},
    {DJImage::kGroupCornerTopRight, 4, 4, "group, top right", _DrawCorner, kDeck, kTR},
    {DJImage::kKillUp, 12, 12, "kill", _DrawKillUp, kUp, kTL},
    {DJImage::kKillDown, 12, 12, "kill, down", _DrawKillDown, kRed, kTL},
    {DJImage::kConsoleCorner4, 6, 6, "console, bottom left", _DrawCorner, kWindow, kBL},
    {DJImage::kConsoleCorner3, 6, 6, "console, bottom right", _DrawCorner, kWindow, kBR},
    {DJImage::kConsoleCorner1, 6, 6, "console, top left", _DrawCorner, kWindow, kTL},
    {DJImage::kConsoleCorner2, 6, 6, "console, top right", _DrawCorner, kWindow, kTR},
    {DJImage::kSmallCornerBottomLeft, 4, 4, "small, bottom left", _DrawCorner, kWindow, kBL},
    {DJImage::kSmallCornerBottomRight, 4, 4, "small, bottom right", _DrawCorner, kWindow, kBR},
    {DJImage::kSmallCornerTopLeft, 4, 4, "small, top left", _DrawCorner, kWindow, kTL},
    {DJImage::kSmallCornerTopRight, 4, 4, "small, top right", _DrawCorner, kWindow, kTR},
    {DJImage::kConsoleBackground, 180, 276, "console background", _DrawConsole, kDeck, kTL},
    {DJImage::kTopStripEnd, 4, 8, "top strip end", _DrawStripEnd, kDeck, kTL},
    {DJImage::kDeckCornerTopRight, 6, 6, "deck, top right", _DrawCorner, kWindow, kTR},
    {DJImage::kDeckCornerTopLeft, 6, 6, "deck, top left", _DrawCorner, kWindow, kTL},
    {DJImage::kDeckCornerBottomRight, 6, 6, "deck, bottom right", _DrawCorner, kWindow, kBR},
    {DJImage::kDeckCornerBottomLeft, 6, 6, "deck, bottom left", _DrawCorner, kWindow, kBL},
    {DJImage::kBarMark, 7, 7, "bar mark", _DrawBarMark, kWhite, kTL},
    {DJImage::kBendDownUp, 7, 10, "bend down, fade left", _DrawArrowLeft, kUp, kTL},
    {DJImage::kBendDownDown, 7, 10, "bend down, fade left, down", _DrawArrowLeft, kDown, kTL},
    {DJImage::kBendUpUp, 7, 10, "bend up, fade right", _DrawArrowRight, kUp, kTL},
    {DJImage::kBendUpDown, 7, 10, "bend up, fade right, down", _DrawArrowRight, kDown, kTL},
    {DJImage::kLightOn, 8, 10, "light on", _DrawLightOn, kUp, kTL},
    {DJImage::kLightOff, 8, 10, "light off", _DrawLightOff, kUp, kTL},
};
// clang-format on

QImage _Render(const ImageSpec& look, qreal devicePixelRatio)
{
    if (!std::isfinite(devicePixelRatio) || devicePixelRatio <= 0 ||
        devicePixelRatio > kMaxDevicePixelRatio) {
        return QImage();
    }
    QImage image(static_cast<int>(std::lround(look.width * devicePixelRatio)),
                 static_cast<int>(std::lround(look.height * devicePixelRatio)),
                 QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        return image;
    }
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    look.draw(painter, look);
    return image;
}
}  // namespace

const std::vector<DJThemeImageInfo>& DJThemeImageTable()
{
    static const std::vector<DJThemeImageInfo> table = [] {
        std::vector<DJThemeImageInfo> infos;
        for (const ImageSpec& look : kImages) {
            infos.push_back({look.number, look.width, look.height, look.use});
        }
        std::sort(infos.begin(), infos.end(), [](const auto& a, const auto& b) {
            return static_cast<int>(a.number) < static_cast<int>(b.number);
        });
        return infos;
    }();
    return table;
}

void DJThemeRegisterImages()
{
    static std::once_flag registered;
    std::call_once(registered, [] {
        for (const ImageSpec& look : kImages) {
            LImageResources::Register(static_cast<int>(look.number),
                                      [&look](qreal ratio) { return _Render(look, ratio); });
        }
    });
}
