#pragma once

#include "sound/LdB.h"
#include "ui/LGuiTypes.h"
#include "ui/LPaintControl.h"

// The horizontal volume fader in whole dB, from -48 to +12 across its width. A press on the
// thumb keeps the point where it was grabbed; elsewhere the thumb jumps to the pointer. Every
// change of the level tells the parent (message 7).
class LDBEditCustom : public LPaintControl {
public:
    LDBEditCustom() = default;

    // Held to the range; the same value does nothing, else it stores, tells the parent and
    // asks for a repaint.
    void SetLevel(LdBValue level);
    LdBValue GetLevel() const { return _level; }
    int GetMinLevel() const { return _minLevel; }
    int GetMaxLevel() const { return _maxLevel; }

    // Logical thumb position in pixels: (level - min) x width / range.
    static int ThumbPosition(int levelDb, int minLevel, int range, int width);
    // Where the thumb is drawn: the logical position scaled so the whole thumb stays inside.
    static int ThumbDrawLeft(int thumbPosition, int thumbWidth, int width);
    // The dB a pointer at `x` asks for while dragging with `grabOffset`; past the ends gives
    // maxLevel or -127 (which SetLevel holds to minLevel).
    static int MapPixelToDB(int x, int grabOffset, int width, int minLevel, int maxLevel,
                            int range);

    int GetGrabOffset() const { return _grabOffset; }
    bool IsDragging() const { return _dragging; }

    void Paint(PaintData& data) override;
    // The thumb drawn at `left`: a frame in the high track colour around the inner fill.
    void DrawThumb(PaintData& data, int left, int height) const;
    void EvMouseMove(int x, int y) override;
    void EvLButtonDown(int x, int y) override;
    void EvLButtonUp(int x, int y) override;
    void EvRButtonDown(int x, int y) override;
    void EvMouseWheel(int x, int y, int delta) override;

    static constexpr LGuiColorRef kTrackLow = LGuiColorRef::FromRGB(167, 164, 167);
    static constexpr LGuiColorRef kTrackHigh = LGuiColorRef::FromRGB(125, 133, 125);
    static constexpr LGuiColorRef kThumbInner = LGuiColorRef::FromRGB(177, 41, 57);

private:
    // Holds an int of any size to the range before it becomes a dB value.
    void _SetLevelDB(long db);

    bool _dragging = false;
    LdBValue _level{0};
    int _maxLevel = 12;   // dB
    int _minLevel = -48;  // dB
    int _range = 60;      // dB across the width
    int _thumbWidth = 11; // pixels
    int _grabOffset = 0;  // pixels from the thumb's position to the grab point
};
