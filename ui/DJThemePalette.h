#pragma once

#include "ui/LGuiTypes.h"

// The theme's colours, 8-bit red, green, blue. DJTheme's members and the drawn images both
// take them from here, so a colour changes in one place.
namespace DJPalette {
constexpr LGuiColorRef kDeckSurface = LGuiColorRef::FromRGB(41, 46, 47);
// Console and bottom panel surfaces, and the title text of labels.
constexpr LGuiColorRef kConsoleSurface = LGuiColorRef::FromRGB(66, 66, 66);
// Label grey, and the fill of the deck panel's raised groups and top strip.
constexpr LGuiColorRef kLabelGrey = LGuiColorRef::FromRGB(90, 90, 90);
constexpr LGuiColorRef kFxTitleBar = LGuiColorRef::FromRGB(60, 60, 60);
constexpr LGuiColorRef kButtonFace = LGuiColorRef::FromRGB(191, 191, 191);
constexpr LGuiColorRef kPressedInner = LGuiColorRef::FromRGB(66, 66, 66);
constexpr LGuiColorRef kSeparator = LGuiColorRef::FromRGB(191, 191, 191);
constexpr LGuiColorRef kFxLit = LGuiColorRef::FromRGB(243, 241, 207);
constexpr LGuiColorRef kFxFrame = LGuiColorRef::FromRGB(0, 0, 0);
constexpr LGuiColorRef kBottomFrame = LGuiColorRef::FromRGB(50, 50, 50);
constexpr LGuiColorRef kBottomFace = LGuiColorRef::FromRGB(186, 186, 186);
constexpr LGuiColorRef kBottomLitFace = LGuiColorRef::FromRGB(100, 100, 100);
constexpr LGuiColorRef kSyncLitText = LGuiColorRef::FromRGB(147, 144, 139);
constexpr LGuiColorRef kSyncPlainText = LGuiColorRef::FromRGB(66, 66, 66);
constexpr LGuiColorRef kInfoText = LGuiColorRef::FromRGB(31, 42, 42);
constexpr LGuiColorRef kDeckLetter = LGuiColorRef::FromRGB(190, 205, 198);
constexpr LGuiColorRef kDeckLetterBox = LGuiColorRef::FromRGB(71, 82, 82);
constexpr LGuiColorRef kScanningBox = LGuiColorRef::FromRGB(154, 71, 71);
constexpr LGuiColorRef kScanningText = LGuiColorRef::FromRGB(234, 215, 215);
// Wave background and deck info background.
constexpr LGuiColorRef kWaveBackground = LGuiColorRef::FromRGB(190, 205, 198);
constexpr LGuiColorRef kDragBackground = LGuiColorRef::FromRGB(221, 231, 226);
// Loop background and the colour past a track's end.
constexpr LGuiColorRef kLoopBackground = LGuiColorRef::FromRGB(75, 58, 66);
constexpr LGuiColorRef kBeatStrip = LGuiColorRef::FromRGB(100, 100, 100);
constexpr LGuiColorRef kCueFlag = LGuiColorRef::FromRGB(0, 0, 255);
constexpr LGuiColorRef kPreviewWindow = LGuiColorRef::FromRGB(255, 255, 255);
constexpr LGuiColorRef kAutoPlayBox = LGuiColorRef::FromRGB(156, 179, 168);
// Auto play box frame and the conversion progress text.
constexpr LGuiColorRef kAutoPlayBoxFrame = LGuiColorRef::FromRGB(58, 81, 88);
constexpr LGuiColorRef kAutoPlayText = LGuiColorRef::FromRGB(0, 0, 0);
// The main window's background, around the panels: what the panels' corner images mask with.
constexpr LGuiColorRef kWindowBackground = LGuiColorRef::FromRGB(190, 190, 190);

// Pens.
constexpr LGuiColorRef kButtonFramePen = LGuiColorRef::FromRGB(66, 66, 66);
constexpr LGuiColorRef kButtonFrameHotPen = LGuiColorRef::FromRGB(245, 184, 0);
constexpr LGuiColorRef kFxFrameDarkPen = LGuiColorRef::FromRGB(0, 0, 0);
constexpr LGuiColorRef kFxFrameLightPen = LGuiColorRef::FromRGB(200, 200, 200);
constexpr LGuiColorRef kWavePen = LGuiColorRef::FromRGB(58, 81, 88);
constexpr LGuiColorRef kLoopWavePen = LGuiColorRef::FromRGB(197, 174, 167);
constexpr LGuiColorRef kCentreLinePen = LGuiColorRef::FromRGB(255, 255, 255);
constexpr LGuiColorRef kPlayLinePen = LGuiColorRef::FromRGB(255, 255, 0);
constexpr LGuiColorRef kCueLinePen = LGuiColorRef::FromRGB(0, 0, 255);
constexpr LGuiColorRef kBeatTickPen = LGuiColorRef::FromRGB(0, 0, 0);
constexpr int kThinPenWidthPx = 1;
constexpr int kBeatTickPenWidthPx = 2;

// Text of the light buttons and of the effect edit letter.
constexpr LGuiColorRef kLightButtonFill = LGuiColorRef::FromRGB(66, 66, 66);
constexpr LGuiColorRef kLightButtonText = LGuiColorRef::FromRGB(186, 186, 186);
constexpr LGuiColorRef kFxGlyph = LGuiColorRef::FromRGB(66, 66, 66);

// Glyphs of the drawn button images: dark on the button face (up), light on the pressed
// inner colour (down).
constexpr LGuiColorRef kGlyphUp = kDeckSurface;
constexpr LGuiColorRef kGlyphDown = kFxLit;
}  // namespace DJPalette
