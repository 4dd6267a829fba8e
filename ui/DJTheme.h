#pragma once

#include "ui/LGuiImage.h"
#include "ui/LPaintSurface.h"

#include <memory>
#include <vector>

// Numbers of the theme's images.
enum class DJImage : int {
    kPlayUp = 332, kPlayDown = 333,
    kCuePauseUp = 327, kCuePauseDown = 336,
    kCuePlayUp = 326, kCuePlayDown = 337,
    kSetCueUp = 328, kSetCueDown = 338,
    kLoopUp = 325, kLoopDown = 334,
    kLoopMenuUp = 329, kLoopMenuDown = 335,
    kHeadphonesUp = 330, kHeadphonesDown = 340,
    kKillUp = 345, kKillDown = 346,
    kBendDownUp = 366, kBendDownDown = 367,  // also auto fade left
    kBendUpUp = 368, kBendUpDown = 369,      // also auto fade right
    kDeckCornerTopRight = 361, kDeckCornerTopLeft = 362,
    kDeckCornerBottomRight = 363, kDeckCornerBottomLeft = 364,
    kGroupCornerTopLeft = 343, kGroupCornerTopRight = 344,
    kGroupCornerBottomRight = 342, kGroupCornerBottomLeft = 341,
    kSmallCornerBottomLeft = 351, kSmallCornerBottomRight = 352,
    kSmallCornerTopRight = 354, kSmallCornerTopLeft = 353,
    // Console corners: top left, top right, bottom right, bottom left.
    kConsoleCorner1 = 349, kConsoleCorner2 = 350, kConsoleCorner3 = 348, kConsoleCorner4 = 347,
    kTopStripEnd = 360,  // 4 by 8
    kBarMark = 365,      // 7 by 7
    kLightOn = 370, kLightOff = 371,
    kConsoleBackground = 355,  // 180 by 276
};

// One numbered image as the theme draws it: its size in device-independent pixels, and what
// it is for.
struct DJThemeImageInfo {
    DJImage number;
    int width;
    int height;
    const char* use;
};

// Every numbered image of the theme, in number order.
const std::vector<DJThemeImageInfo>& DJThemeImageTable();

// The one look of the deck and console panels: colours, brushes, pens, fonts, images, and the
// drawing of the buttons every panel shares. Built on the interface thread.
class DJTheme {
public:
    DJTheme();

    // Colours by role.
    LGuiColorRef deckSurface, consoleSurface, labelGrey, fxTitleBar, buttonFace, pressedInner,
        separator, fxLit, fxFrame, bottomFrame, bottomFace, bottomLitFace, syncLitText,
        syncPlainText, infoText, deckLetter, deckLetterBox, scanningBox, scanningText,
        waveBackground, dragBackground, loopBackground, beatStrip, cueFlag, previewWindow,
        autoPlayBox, autoPlayBoxFrame, autoPlayText;
    // Text of labels and menu buttons; the window around the panels.
    LGuiColorRef labelText, menuButtonText, windowBackground;
    LGuiSolidBrush deckSurfaceBrush, consoleSurfaceBrush, labelGreyBrush, buttonFaceBrush,
        pressedInnerBrush, waveBackgroundBrush;

    // Pens by role.
    LGuiSolidPen buttonFramePen, buttonFrameHotPen, fxFrameDarkPen, fxFrameLightPen, wavePen,
        loopWavePen, centreLinePen, playLinePen, cueLinePen, beatTickPen;

    // Fonts by role.
    LGuiFont smallLabelFont, menuButtonFont, infoFont, boldFont, deckLetterFont, progressFont;

    // The image of a number; an empty image (which draws nothing) when it could not be made.
    const LGuiImage& GetImage(DJImage number) const;

    // Corner images: the parts outside a quarter circle in the colour around the shape, the
    // inside transparent, so drawn over a filled rectangle's corners they round it.
    // DrawDeckCorners and DrawCornersSmall put theirs at the corners of data's rectangle.
    void DrawDeckCorners(PaintData& data) const;
    void DrawCornersSmall(PaintData& data) const;
    // Four corner images at the corners of a rectangle (a raised group, the console).
    void DrawCorners(PaintData& data, float x, float y, float width, float height,
                     DJImage topLeft, DJImage topRight, DJImage bottomRight,
                     DJImage bottomLeft) const;
    // A one-pixel frame just inside data's rectangle: button frame pen, hot pen, or `pen`.
    void DrawButtonBorder(PaintData& data) const;
    void DrawButtonBorderHot(PaintData& data) const;
    void DrawButtonBorder(PaintData& data, const LGuiPen& pen) const;
    // The image button: face; when lit the pressed inner colour inset by 2; the down image if
    // lit, else the up one, placed where the down image is centred; the frame.
    void DrawPlayControlButton(PaintData& data, bool lit, DJImage up, DJImage down) const;
    // Face, lit inner, the menu arrow at (33, 5), the text at (4, 2) ending before the arrow.
    void DrawMenuButton(PaintData& data, bool lit, const char* text) const;
    // An effect's name row: lit or face fill, a sunken frame, the text at (4, 2).
    void DrawFxItem(PaintData& data, bool lit, const char* text) const;
    // Lit or face fill, a black frame, and an "E" or a triangle pointing right.
    void DrawFxEditButton(PaintData& data, bool lit) const;
    void DrawFxOnOffButton(PaintData& data, bool lit) const;
    // Frame, face, and the kill image (down when lit) at (4, 4).
    void DrawKillButton(PaintData& data, bool lit) const;
    // Frame colour, lit or plain face inside it, the text centred in the current font (a size
    // smaller where it would not fit).
    void DrawBottomButton(PaintData& data, const char* text, bool lit) const;
    // Dark fill, the light image on or off at (0, 1), the name at (10, 0).
    void DrawAutoPlayLightButton(PaintData& data, bool lit) const;
    void DrawRecordingLightButton(PaintData& data, bool lit) const;

    // `font`, or the largest smaller size of it (not below 8 px) in which `text` fits `width`.
    // Widths made for narrower fonts are tight for the pinned family; a smaller text beats one
    // that spills over a frame.
    static LGuiFont FitFont(const PaintData& data, const LGuiFont& font, const char* text,
                            float width);

private:
    // Draws `text` in `font` and `colour` and gives data back its current font.
    static void _DrawText(PaintData& data, const LGuiFont& font, LGuiColorRef colour,
                          const char* text, float x, float y, float width = 0,
                          float height = 0, LHAlignment hAlign = LHAlignment::kLeft,
                          LVAlignment vAlign = LVAlignment::kTop);
    void _FillFaceOrLit(PaintData& data, bool lit) const;
    void _DrawLightButton(PaintData& data, bool lit, const char* text) const;

    struct Images;
    std::shared_ptr<const Images> _images;
};

// Registers the drawn images of every theme number (idempotent). DJTheme calls it.
void DJThemeRegisterImages();

// Gives a class the single shared theme, made on first use on the interface thread.
class DJThemeUser {
public:
    static const DJTheme& GetTheme();
};

// The window frame setting, "Metal" in section "Settings". Linux window systems have no metal
// frame, so the setting is kept and the frame does not change.
enum class DJFrameLook : int { kPlain = -1, kUndecided = 0, kMetal = 1 };
// Stores 1 (metal) or -1 (plain); false when the settings could not be written.
bool DJThemeSetMetalLook(bool metal);
// The stored look; a value above 0 is metal, below 0 plain, 0 or unset undecided.
DJFrameLook DJThemeGetMetalLook();
