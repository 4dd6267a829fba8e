#pragma once

#include "sound/LdB.h"
#include "ui/LGuiImage.h"
#include "ui/LGuiTypes.h"
#include "ui/LPaintControl.h"
#include "ui/LTimerHandler.h"

#include <array>
#include <vector>

// The level meter: one bar a channel from -48 to 0 dB, coloured from dark green through yellow
// to red, with an optional scale above and a white peak line a channel that holds for 8 ticks
// of 0.05 s and then falls faster and faster. Colours and the level image are made once per
// size; a paint copies part of the image.
class LDBDisplay2 : public LPaintControlPrePaint {
public:
    static constexpr int kPeakChannels = 2;      // channels with bars and peak lines
    static constexpr unsigned int kTickMs = 50;  // the peak timer
    static constexpr int kHoldTicks = 8;
    static constexpr int kHeadroomDB = 12;       // a channel's level reads this much lower
    static constexpr int kDesignTwoReserve = 14; // pixels design two keeps at the right

    LDBDisplay2();

    void SetLevel(const LDBMC& level);
    const LDBMC& GetLevel() const { return _level; }
    // One channel at -127, the timer off, the peaks back to their start.
    void Clear();
    void SetShowScale(bool show) { _showScale = show; Update(); }
    bool GetShowScale() const { return _showScale; }
    void SetDesignTwo(bool designTwo) { _designTwo = designTwo; _needsRebuild = true; Update(); }
    void SetBackgroundColor(LGuiColorRef colour) { _background = colour; Update(); }
    void SetScaleColor(LGuiColorRef colour) { _scaleColour = colour; Update(); }

    // The pixel of a dB value on the width the colours were last worked out for, truncated.
    int MapDBToPixel(int db) const;
    // Colour of a pixel column: dark green to yellow up to half the 0 dB pixel, yellow to red
    // up to it, red beyond.
    LGuiColorRef MapPixelToColour(int x) const;
    static LGuiColorRef MapPixelToColour(int x, int zeroDBPixel);
    // The scale's step, the dB-to-pixel table and the colour of each pixel, for a width.
    void CalculateColours(int width);
    // An image of `width` x `height`, one column of the pixel colours a pixel.
    void CreateLevelBitmap(int width, int height);

    int GetScaleStep() const { return _scaleStep; }
    // dbToPixel of minDb..maxDb; a dB below the table reads 0, above it the last entry.
    int GetDBPixel(int db) const;
    const std::vector<LGuiColorRef>& GetPixelColours() const { return _pixelColours; }
    const LGuiImage& GetLevelImage() const { return _levelImage; }
    bool NeedsRebuild() const { return _needsRebuild; }

    struct Peak {
        int pixel = 0;
        int fallSpeed = 1;  // pixels a tick, growing by one each tick of the fall
        int holdMax = kHoldTicks;
        int holdCount = 0;
    };
    const Peak& GetPeak(int channel) const { return _peaks.at(static_cast<size_t>(channel)); }
    bool IsTimerRunning() const { return _timer.IsSet(); }
    // One tick of the peak timer: hold, then fall; sets itself again until both peaks are
    // down and past their holds.
    void TimerAction();

    void Prepaint(PaintData& data) override;
    void EvSize() override;
    // The scale above bars with peak lines; the panels use this one.
    void PaintDesignOne(PaintData& data);
    // Bars and peaks without scale over the width less 14, and in those 14 pixels a light
    // that turns red while a channel reads 0 dB or more.
    void PaintDesignTwo(PaintData& data);

private:
    // Where the meter's bars go: below the scale when it shows.
    struct Area {
        int top, height;
    };
    Area _MeterArea(int height) const;
    int _UsableWidth(int width) const;
    void _RebuildIfNeeded(int width, int height);
    void _PaintScale(PaintData& data, int scaleHeight) const;
    // Draws the bars and peaks over `width` and moves the peaks up; answers whether any
    // channel reads maxDb.
    bool _PaintBars(PaintData& data, const Area& area);
    // The displayed dB of a level: 12 dB lower, held to +-127 and to at most maxDb.
    int _DisplayedDB(LdBValue level) const;

    bool _needsRebuild = true;
    bool _designTwo = false;
    LDBMC _level;
    int _minDb = -48;
    int _maxDb = 0;
    int _scaleStep = 3;  // dB between scale labels
    std::array<Peak, kPeakChannels> _peaks{};
    bool _showScale = true;
    int _tableWidth = 0;  // pixels the tables were made for
    std::vector<int> _dbToPixel;  // index dB - minDb
    std::vector<LGuiColorRef> _pixelColours;
    LGuiImage _levelImage;
    LGuiColorRef _background = LGuiColorRef::FromRGB(41, 46, 47);
    LGuiColorRef _scaleColour = LGuiColorRef::FromRGB(147, 144, 139);
    LTimerCallBack<LDBDisplay2> _timer{this};
};
