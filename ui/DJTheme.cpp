#include "ui/DJTheme.h"

#include "app/LSettings.h"
#include "ui/DJThemePalette.h"

#include <map>
#include <string>

namespace {
using Surface = LPaintSurface;

constexpr int kSmallLabelFontPx = 12;
constexpr int kMenuButtonFontPx = 11;
constexpr int kInfoFontPx = 14;
constexpr int kBoldFontPx = 12;
constexpr int kDeckLetterFontPx = 36;
constexpr int kProgressFontPx = 32;

// Offsets inside the buttons, pixels from the control's corner.
constexpr float kLitInsetPx = 2;
constexpr float kMenuArrowX = 33, kMenuArrowY = 5;
constexpr float kMenuTextX = 4, kMenuTextY = 2;
constexpr float kFxTextX = 4, kFxTextY = 2;
constexpr float kFxEditLetterX = 5, kFxEditLetterY = 3;
constexpr float kKillImageX = 4, kKillImageY = 4;
constexpr float kLightImageX = 0, kLightImageY = 1;
constexpr float kLightTextX = 10, kLightTextY = 0;

// Button texts shrink to fit, but not below this.
constexpr int kMinFittedFontPx = 8;
// Room kept between a bottom button's text and its frame, each side.
constexpr float kBottomTextPaddingPx = 2;

constexpr const char* kSettingsSection = "Settings";
constexpr const char* kMetalKey = "Metal";

LGuiFont _MakeFont(int heightPx, bool bold, LGuiColorRef colour)
{
    LGuiFont font;
    font.CreateFont(heightPx, bold, false, false, colour);
    return font;
}

}  // namespace

LGuiFont DJTheme::FitFont(const PaintData& data, const LGuiFont& font, const char* text, float width)
{
    PaintData probe;
    probe.context = data.context;
    probe.font = font;
    for (int px = font.GetPixelSize(); px > kMinFittedFontPx; --px) {
        float textWidth = 0;
        Surface::_MeasureText(probe, text, 0, &textWidth, nullptr);
        if (textWidth <= width) {
            break;
        }
        probe.font.CreateFont(px - 1, font.GetWeight() >= LGuiFont::kWeightBold, font.IsItalic(),
                              font.IsUnderline(), font.GetColor());
    }
    return probe.font;
}

struct DJTheme::Images {
    std::map<DJImage, LGuiJPG> byNumber;
};

DJTheme::DJTheme()
    : deckSurface(DJPalette::kDeckSurface),
      consoleSurface(DJPalette::kConsoleSurface),
      labelGrey(DJPalette::kLabelGrey),
      fxTitleBar(DJPalette::kFxTitleBar),
      buttonFace(DJPalette::kButtonFace),
      pressedInner(DJPalette::kPressedInner),
      separator(DJPalette::kSeparator),
      fxLit(DJPalette::kFxLit),
      fxFrame(DJPalette::kFxFrame),
      bottomFrame(DJPalette::kBottomFrame),
      bottomFace(DJPalette::kBottomFace),
      bottomLitFace(DJPalette::kBottomLitFace),
      syncLitText(DJPalette::kSyncLitText),
      syncPlainText(DJPalette::kSyncPlainText),
      infoText(DJPalette::kInfoText),
      deckLetter(DJPalette::kDeckLetter),
      deckLetterBox(DJPalette::kDeckLetterBox),
      scanningBox(DJPalette::kScanningBox),
      scanningText(DJPalette::kScanningText),
      waveBackground(DJPalette::kWaveBackground),
      dragBackground(DJPalette::kDragBackground),
      loopBackground(DJPalette::kLoopBackground),
      beatStrip(DJPalette::kBeatStrip),
      cueFlag(DJPalette::kCueFlag),
      previewWindow(DJPalette::kPreviewWindow),
      autoPlayBox(DJPalette::kAutoPlayBox),
      autoPlayBoxFrame(DJPalette::kAutoPlayBoxFrame),
      autoPlayText(DJPalette::kAutoPlayText),
      labelText(DJPalette::kConsoleSurface),
      menuButtonText(DJPalette::kLabelGrey),
      windowBackground(DJPalette::kWindowBackground),
      deckSurfaceBrush(DJPalette::kDeckSurface),
      consoleSurfaceBrush(DJPalette::kConsoleSurface),
      labelGreyBrush(DJPalette::kLabelGrey),
      buttonFaceBrush(DJPalette::kButtonFace),
      pressedInnerBrush(DJPalette::kPressedInner),
      waveBackgroundBrush(DJPalette::kWaveBackground),
      buttonFramePen(DJPalette::kButtonFramePen, DJPalette::kThinPenWidthPx),
      buttonFrameHotPen(DJPalette::kButtonFrameHotPen, DJPalette::kThinPenWidthPx),
      fxFrameDarkPen(DJPalette::kFxFrameDarkPen, DJPalette::kThinPenWidthPx),
      fxFrameLightPen(DJPalette::kFxFrameLightPen, DJPalette::kThinPenWidthPx),
      wavePen(DJPalette::kWavePen, DJPalette::kThinPenWidthPx),
      loopWavePen(DJPalette::kLoopWavePen, DJPalette::kThinPenWidthPx),
      centreLinePen(DJPalette::kCentreLinePen, DJPalette::kThinPenWidthPx),
      playLinePen(DJPalette::kPlayLinePen, DJPalette::kThinPenWidthPx),
      cueLinePen(DJPalette::kCueLinePen, DJPalette::kThinPenWidthPx),
      beatTickPen(DJPalette::kBeatTickPen, DJPalette::kBeatTickPenWidthPx),
      smallLabelFont(_MakeFont(kSmallLabelFontPx, false, DJPalette::kConsoleSurface)),
      menuButtonFont(_MakeFont(kMenuButtonFontPx, false, DJPalette::kLabelGrey)),
      infoFont(_MakeFont(kInfoFontPx, false, DJPalette::kInfoText)),
      boldFont(_MakeFont(kBoldFontPx, true, DJPalette::kSyncPlainText)),
      deckLetterFont(_MakeFont(kDeckLetterFontPx, true, DJPalette::kDeckLetter)),
      progressFont(_MakeFont(kProgressFontPx, false, DJPalette::kAutoPlayBoxFrame))
{
    DJThemeRegisterImages();
    auto images = std::make_shared<Images>();
    for (const DJThemeImageInfo& info : DJThemeImageTable()) {
        // A number that cannot be made stays an empty image, which draws nothing.
        images->byNumber[info.number].LoadFromResource(
            std::to_string(static_cast<int>(info.number)).c_str());
    }
    _images = std::move(images);
}

const LGuiImage& DJTheme::GetImage(DJImage number) const
{
    static const LGuiImage kNone;
    auto found = _images->byNumber.find(number);
    return found == _images->byNumber.end() ? kNone : found->second;
}

void DJTheme::DrawCorners(PaintData& data, float x, float y, float width, float height,
                          DJImage topLeft, DJImage topRight, DJImage bottomRight,
                          DJImage bottomLeft) const
{
    const LGuiImage& tl = GetImage(topLeft);
    const LGuiImage& tr = GetImage(topRight);
    const LGuiImage& br = GetImage(bottomRight);
    const LGuiImage& bl = GetImage(bottomLeft);
    Surface::DrawImage(data, tl, x, y);
    Surface::DrawImage(data, tr, x + width - tr.GetWidth(), y);
    Surface::DrawImage(data, br, x + width - br.GetWidth(), y + height - br.GetHeight());
    Surface::DrawImage(data, bl, x, y + height - bl.GetHeight());
}

void DJTheme::DrawDeckCorners(PaintData& data) const
{
    DrawCorners(data, data.x, data.y, data.width, data.height, DJImage::kDeckCornerTopLeft,
                DJImage::kDeckCornerTopRight, DJImage::kDeckCornerBottomRight,
                DJImage::kDeckCornerBottomLeft);
}

void DJTheme::DrawCornersSmall(PaintData& data) const
{
    DrawCorners(data, data.x, data.y, data.width, data.height, DJImage::kSmallCornerTopLeft,
                DJImage::kSmallCornerTopRight, DJImage::kSmallCornerBottomRight,
                DJImage::kSmallCornerBottomLeft);
}

void DJTheme::DrawButtonBorder(PaintData& data) const
{
    DrawButtonBorder(data, buttonFramePen);
}

void DJTheme::DrawButtonBorderHot(PaintData& data) const
{
    DrawButtonBorder(data, buttonFrameHotPen);
}

void DJTheme::DrawButtonBorder(PaintData& data, const LGuiPen& pen) const
{
    Surface::StrokeRect(data, pen, data.x, data.y, data.width, data.height);
}

void DJTheme::DrawPlayControlButton(PaintData& data, bool lit, DJImage up, DJImage down) const
{
    Surface::FillRect(data, buttonFaceBrush, data.x, data.y, data.width, data.height);
    if (lit) {
        Surface::FillRect(data, pressedInnerBrush, data.x + kLitInsetPx, data.y + kLitInsetPx,
                          data.width - 2 * kLitInsetPx, data.height - 2 * kLitInsetPx);
    }
    // Both states sit where the down image is centred, so the glyph does not jump on a press.
    const LGuiImage& downImage = GetImage(down);
    const float imageX = data.x + (data.width - downImage.GetWidth()) / 2;
    const float imageY = data.y + (data.height - downImage.GetHeight()) / 2;
    Surface::DrawImage(data, lit ? downImage : GetImage(up), imageX, imageY);
    DrawButtonBorder(data);
}

void DJTheme::DrawMenuButton(PaintData& data, bool lit, const char* text) const
{
    Surface::FillRect(data, buttonFaceBrush, data.x, data.y, data.width, data.height);
    if (lit) {
        Surface::FillRect(data, pressedInnerBrush, data.x + kLitInsetPx, data.y + kLitInsetPx,
                          data.width - 2 * kLitInsetPx, data.height - 2 * kLitInsetPx);
    }
    Surface::DrawImage(data, GetImage(lit ? DJImage::kLoopMenuDown : DJImage::kLoopMenuUp),
                       data.x + kMenuArrowX, data.y + kMenuArrowY);
    // The text ends before the arrow.
    const LGuiFont font = FitFont(data, menuButtonFont, text, kMenuArrowX - kMenuTextX - 1);
    _DrawText(data, font, menuButtonText, text, data.x + kMenuTextX, data.y + kMenuTextY);
}

void DJTheme::DrawFxItem(PaintData& data, bool lit, const char* text) const
{
    _FillFaceOrLit(data, lit);
    // A sunken frame: dark along the top and left, light along the bottom and right. Lines
    // end before their end point, so each side runs one pixel past the corner it reaches.
    const float left = data.x, top = data.y;
    const float right = data.x + data.width - 1, bottom = data.y + data.height - 1;
    Surface::MoveTo(data, left, bottom + 1);
    Surface::LineTo(data, left, top);
    Surface::MoveTo(data, left, top);
    Surface::LineTo(data, right + 1, top);
    Surface::StrokePath(data, fxFrameDarkPen.GetColor(), fxFrameDarkPen.GetWidth());
    Surface::MoveTo(data, right, top + 1);
    Surface::LineTo(data, right, bottom + 1);
    Surface::MoveTo(data, left + 1, bottom);
    Surface::LineTo(data, right + 1, bottom);
    Surface::StrokePath(data, fxFrameLightPen.GetColor(), fxFrameLightPen.GetWidth());
    _DrawText(data, smallLabelFont, labelText, text, data.x + kFxTextX, data.y + kFxTextY);
}

void DJTheme::DrawFxEditButton(PaintData& data, bool lit) const
{
    _FillFaceOrLit(data, lit);
    Surface::StrokeRect(data, fxFrame, DJPalette::kThinPenWidthPx, data.x, data.y, data.width,
                        data.height);
    _DrawText(data, smallLabelFont, DJPalette::kFxGlyph, "E", data.x + kFxEditLetterX,
              data.y + kFxEditLetterY);
}

void DJTheme::DrawFxOnOffButton(PaintData& data, bool lit) const
{
    _FillFaceOrLit(data, lit);
    Surface::StrokeRect(data, fxFrame, DJPalette::kThinPenWidthPx, data.x, data.y, data.width,
                        data.height);
    Surface::MoveTo(data, data.x + 6, data.y + 3);
    Surface::LineTo(data, data.x + 6, data.y + 13);
    Surface::LineTo(data, data.x + 11, data.y + 8);
    Surface::FillPath(data, DJPalette::kFxGlyph);
}

void DJTheme::DrawKillButton(PaintData& data, bool lit) const
{
    Surface::StrokeRect(data, buttonFramePen, data.x, data.y, data.width, data.height);
    // The face goes inside the frame, which stays visible.
    Surface::FillRect(data, buttonFaceBrush, data.x + 1, data.y + 1, data.width - 2,
                      data.height - 2);
    Surface::DrawImage(data, GetImage(lit ? DJImage::kKillDown : DJImage::kKillUp),
                       data.x + kKillImageX, data.y + kKillImageY);
}

void DJTheme::DrawBottomButton(PaintData& data, const char* text, bool lit) const
{
    Surface::FillRect(data, bottomFrame, data.x, data.y, data.width, data.height);
    Surface::FillRect(data, lit ? bottomLitFace : bottomFace, data.x + 1, data.y + 1,
                      data.width - 2, data.height - 2);
    // Light text on the dark lit face, dark text on the plain one.
    const LGuiFont font =
        FitFont(data, data.font, text, data.width - 2 - 2 * kBottomTextPaddingPx);
    _DrawText(data, font, lit ? bottomFace : labelText, text, data.x, data.y, data.width,
              data.height, LHAlignment::kCentre, LVAlignment::kCentre);
}

void DJTheme::DrawAutoPlayLightButton(PaintData& data, bool lit) const
{
    _DrawLightButton(data, lit, "AutoPlay");
}

void DJTheme::DrawRecordingLightButton(PaintData& data, bool lit) const
{
    _DrawLightButton(data, lit, "Recording");
}

void DJTheme::_DrawLightButton(PaintData& data, bool lit, const char* text) const
{
    Surface::FillRect(data, DJPalette::kLightButtonFill, data.x, data.y, data.width, data.height);
    Surface::DrawImage(data, GetImage(lit ? DJImage::kLightOn : DJImage::kLightOff),
                       data.x + kLightImageX, data.y + kLightImageY);
    const LGuiFont font = data.font;
    _DrawText(data, font, DJPalette::kLightButtonText, text, data.x + kLightTextX,
              data.y + kLightTextY);
}

void DJTheme::_FillFaceOrLit(PaintData& data, bool lit) const
{
    Surface::FillRect(data, lit ? fxLit : buttonFace, data.x, data.y, data.width, data.height);
}

void DJTheme::_DrawText(PaintData& data, const LGuiFont& font, LGuiColorRef colour,
                        const char* text, float x, float y, float width, float height,
                        LHAlignment hAlign, LVAlignment vAlign)
{
    // Kept here, not in data.savedFont, which may hold a font of the caller's.
    const LGuiFont current = data.font;
    data.font.SetFont(font);
    data.font.SetColor(colour);
    Surface::DrawText(data, text, x, y, width, height, hAlign, vAlign);
    data.font.SetFont(current);
}

const DJTheme& DJThemeUser::GetTheme()
{
    // Made at the first call, which the panels make on the interface thread; the images it
    // loads need the application object.
    static const DJTheme theme;
    return theme;
}

bool DJThemeSetMetalLook(bool metal)
{
    const DJFrameLook look = metal ? DJFrameLook::kMetal : DJFrameLook::kPlain;
    return LUserSettingSetInt(kSettingsSection, kMetalKey, static_cast<int>(look));
}

DJFrameLook DJThemeGetMetalLook()
{
    const int value = LUserSettingGetInt(kSettingsSection, kMetalKey, 0);
    if (value > 0) {
        return DJFrameLook::kMetal;
    }
    return value < 0 ? DJFrameLook::kPlain : DJFrameLook::kUndecided;
}
