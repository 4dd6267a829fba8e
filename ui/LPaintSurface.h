#pragma once

#include "ui/LGuiImage.h"
#include "ui/LGuiTypes.h"

#include <string>
#include <vector>

class QPainter;

enum class LHAlignment : int { kLeft = 0, kCentre = 1, kRight = 2 };
enum class LVAlignment : int { kTop = 0, kCentre = 1 };
// kNone: newlines still break lines; kWord: word wrap; kEllipsis and kEllipsisEnd cut the line
// at the width with an ellipsis at its end.
enum class LWrapping : int { kNone = 0, kWord = 1, kEllipsis = 2, kEllipsisEnd = 3 };

// Drawing operations on one paint's state. Coordinates are float pixels of the control; the
// toolkit has shifted them by half a pixel so that a one-pixel line at an integer coordinate
// falls on one pixel row. The grid (ui/LPaintSurfaceGrid.h): coordinate g is the centre of
// pixel g, and a shape covers the pixels whose centres it holds, left and top edges included.
// So FillRect(x, y, w, h) covers pixels x .. x + w - 1; a line of width 1 from (a, y) to
// (b, y) covers row y from pixel a up to b - 1 (butt ends), a line of width n covers n rows
// centred on y (rows y - n/2 .. y - n/2 + n - 1, n/2 rounded down); images and text are placed
// with their top-left corner at pixel (x, y). Fractional coordinates go to the next pixel
// centre. The same drawing at device pixel ratio 2 is the ratio-1 drawing with each pixel
// doubled. With anti-aliasing on, paths are drawn on their exact geometry instead.
class LPaintSurface {
public:
    // One paint call's state.
    struct PaintData {
        QPainter* context = nullptr;
        float x = 0, y = 0, width = 0, height = 0;  // the rectangle to paint
        LGuiFont font;                               // the current font of this paint
        bool fillTextBackground = false;             // DrawText fills the text's box first
        LGuiColorRef textBackground;
        LGuiFont savedFont;  // where a panel keeps the current font while it uses another
        struct Point {
            float x, y;
            bool move;  // starts a new subpath
        };
        std::vector<Point> path;  // collected by MoveTo/LineTo until drawn
    };

    virtual ~LPaintSurface() = default;

    static void SetFont(LGuiFont& saved, const LGuiFont& current) { saved = current; }

    static void FillRect(PaintData& data, const LGuiBrush& brush, float x, float y, float width,
                         float height);
    static void FillRect(PaintData& data, LGuiColorRef colour, float x, float y, float width,
                         float height);
    // A frame of the pen's width whose outer edge is the rectangle.
    static void StrokeRect(PaintData& data, const LGuiPen& pen, float x, float y, float width,
                           float height);
    static void StrokeRect(PaintData& data, LGuiColorRef colour, int lineWidth, float x, float y,
                           float width, float height);
    // A path: MoveTo and LineTo collect points; StrokePath draws and empties it.
    static void MoveTo(PaintData& data, float x, float y);
    static void LineTo(PaintData& data, float x, float y);
    static void StrokePath(PaintData& data, LGuiColorRef colour, int lineWidth);
    // Separate segments from points[2i] to points[2i + 1], `count` points in all, drawn as
    // StrokePath draws them but from the caller's array: nothing is allocated per segment.
    static void StrokeSegments(PaintData& data, LGuiColorRef colour, int lineWidth,
                               const PaintData::Point* points, int count);
    // A filled polygon of the points collected by MoveTo/LineTo; empties the path.
    static void FillPath(PaintData& data, LGuiColorRef colour);
    static void SetStrokeColor(PaintData& data, LGuiColorRef colour);
    static void SetAlpha(PaintData& data, float alpha);
    static void SetAntiAlias(PaintData& data, bool on);

    static void DrawImage(PaintData& data, const LGuiImage& image, float x, float y);
    static void DrawImage(PaintData& data, const LGuiImage& image, float x, float y, float width,
                          float height);

    // Draws UTF-8 `text` in the current font. Width 0 means unbounded; alignment needs a width.
    // Empty or null text draws nothing; bytes that are not UTF-8 draw as replacement marks.
    // Lines are _TextLineHeight apart from the box's top, or centred in a height above 0 (an
    // odd spare pixel goes below); with a height above 0, lines that would start below the
    // box are left out.
    // Only the part of a text that can show in the painter's area is laid out.
    static void DrawText(PaintData& data, const char* text, float x, float y, float width,
                         float height, LHAlignment hAlign = LHAlignment::kLeft,
                         LVAlignment vAlign = LVAlignment::kTop,
                         LWrapping wrapping = LWrapping::kNone);
    // The size `text` takes in the current font, wrapped at `wrapWidth` (0: no wrap); zero
    // for an empty text.
    static void _MeasureText(const PaintData& data, const char* text, float wrapWidth,
                             float* width, float* height);
    // One line as DrawText lays it out: UTF-8 text and its width in pixels.
    struct TextLine {
        std::string text;
        float width = 0;
    };
    // The lines DrawText draws for `text` at `width` with `wrapping`; each line's height is
    // _TextLineHeight.
    static std::vector<TextLine> _LayoutText(const PaintData& data, const char* text, float width,
                                             LWrapping wrapping);
    static float _TextLineHeight(const PaintData& data);
    // A linear gradient over the rectangle: top to bottom when `vertical`, else left to right.
    static void _FillRectGradient(PaintData& data, LGuiColorRef from, LGuiColorRef to,
                                  bool vertical, float x, float y, float width, float height);
};

using PaintData = LPaintSurface::PaintData;
