#pragma once

// Conversions between the toolkit's colour and font types and Qt's. Private to ui/.

#include "ui/LGuiTypes.h"

#include <QColor>
#include <QFont>

#include <algorithm>

namespace LQtConvert {

// The one family every text is drawn in, so layouts do not depend on the desktop's fonts.
inline constexpr const char* kFontFamily = "DejaVu Sans";
// Pixel size used for a font that was never created (height 0).
inline constexpr int kDefaultPixelSize = 12;
// Larger sizes are clamped: no panel needs them and glyph caches would grow without bound.
inline constexpr int kMaxPixelSize = 1024;

// Only the high byte of each component is significant.
inline QColor ToQColor(LGuiColorRef colour)
{
    return QColor(colour.Red8(), colour.Green8(), colour.Blue8());
}

inline LGuiColorRef FromQColor(const QColor& colour)
{
    const QColor rgb = colour.toRgb();
    return LGuiColorRef::FromRGB(rgb.red(), rgb.green(), rgb.blue());
}

// The pixel size is |height|. Hinting, kerning and antialiasing are fixed here rather than
// taken from the desktop, so a text measures the same on every screen and platform plugin:
// vertical hinting only (horizontal advances stay the font's design advances), no kerning (the
// width of a text is the sum of its parts, which keeps wrapping and ellipsis decisions
// monotonic), grey-scale antialiasing (no subpixel colour fringes in off-screen images).
inline QFont ToQFont(const LGuiFont& font)
{
    QFont result(QString::fromLatin1(kFontFamily));
    result.setStyleHint(QFont::SansSerif);
    const int pixelSize = font.IsValid() ? font.GetPixelSize() : kDefaultPixelSize;
    result.setPixelSize(std::clamp(pixelSize, 1, kMaxPixelSize));
    result.setWeight(static_cast<QFont::Weight>(std::clamp(font.GetWeight(), 1, 1000)));
    result.setItalic(font.IsItalic());
    result.setUnderline(font.IsUnderline());
    result.setKerning(false);
    result.setHintingPreference(QFont::PreferVerticalHinting);
    result.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
    return result;
}

}  // namespace LQtConvert
