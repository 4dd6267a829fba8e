#pragma once

#include <climits>
#include <cstdint>

class QPainter;

// A colour of three 16-bit components; only the high byte of each is significant
// (0x3C00 is the 8-bit value 60).
struct LGuiColorRef {
    uint16_t red = 0;
    uint16_t green = 0;
    uint16_t blue = 0;

    // From 8-bit components: each goes into the high byte.
    static constexpr LGuiColorRef FromRGB(int r, int g, int b)
    {
        return {static_cast<uint16_t>((r & 0xff) << 8), static_cast<uint16_t>((g & 0xff) << 8),
                static_cast<uint16_t>((b & 0xff) << 8)};
    }
    constexpr int Red8() const { return red >> 8; }
    constexpr int Green8() const { return green >> 8; }
    constexpr int Blue8() const { return blue >> 8; }
    // A component as a float colour: high byte times 1/255.
    static constexpr float ToFloat(uint16_t component) { return (component >> 8) * 0.003921569f; }

    friend constexpr bool operator==(LGuiColorRef a, LGuiColorRef b)
    {
        return a.Red8() == b.Red8() && a.Green8() == b.Green8() && a.Blue8() == b.Blue8();
    }
};

using LGuiColor = LGuiColorRef;

// Fills what is drawn between Apply and Restore.
class LGuiBrush {
public:
    virtual ~LGuiBrush() = default;
    virtual void Apply(QPainter& context) const = 0;
    virtual void Restore(QPainter& context) const = 0;
};

class LGuiSolidBrush : public LGuiBrush {
public:
    LGuiSolidBrush() = default;
    explicit LGuiSolidBrush(LGuiColorRef colour) : _colour(colour) {}
    void SetColor(LGuiColorRef colour) { _colour = colour; }
    LGuiColorRef GetColor() const { return _colour; }
    void Apply(QPainter& context) const override;
    void Restore(QPainter& context) const override;

private:
    LGuiColorRef _colour;
};

// Paints nothing.
class LGuiTransparentBrush : public LGuiBrush {
public:
    void Apply(QPainter& context) const override;
    void Restore(QPainter& context) const override;
};

class LGuiPen {
public:
    virtual ~LGuiPen() = default;
    virtual LGuiColorRef GetColor() const = 0;
    virtual int GetWidth() const = 0;  // pixels
};

class LGuiSolidPen : public LGuiPen {
public:
    LGuiSolidPen() = default;
    LGuiSolidPen(LGuiColorRef colour, int width) : _colour(colour), _width(width) {}
    LGuiColorRef GetColor() const override { return _colour; }
    int GetWidth() const override { return _width; }

private:
    LGuiColorRef _colour;
    int _width = 1;
};

// A text style. The family is pinned (DejaVu Sans) and the size is in pixels, so layouts do
// not depend on the desktop's fonts or DPI.
class LGuiFont {
public:
    static constexpr int kWeightNormal = 400;
    static constexpr int kWeightBold = 700;

    // `height` in pixels; its magnitude is the pixel size.
    void CreateFont(int height, bool bold, bool italic, bool underline, LGuiColorRef colour);
    void SetFont(const LGuiFont& other) { *this = other; }
    void SetColor(LGuiColorRef colour) { _colour = colour; }
    void SetWeight(int weight) { _weight = weight; }

    int GetHeight() const { return _height; }
    int GetPixelSize() const { return _height >= 0 ? _height : _height == INT_MIN ? INT_MAX : -_height; }
    // |height| x 0.75 rounded to nearest.
    int GetPointSize() const { return (GetPixelSize() * 3 + 2) / 4; }
    int GetWeight() const { return _weight; }
    bool IsItalic() const { return _italic; }
    bool IsUnderline() const { return _underline; }
    LGuiColorRef GetColor() const { return _colour; }
    bool IsValid() const { return _height != 0; }

private:
    int _height = 0;
    int _weight = kWeightNormal;
    bool _italic = false;
    bool _underline = false;
    LGuiColorRef _colour;
};

// Pointer shapes by their numbers.
enum class LCursorShape : int { kArrow = 0, kPointingHand = 10, kResizeHorizontal = 17 };

struct LPaintControlFlags {
    bool first = false;
    bool second = false;
};
