#pragma once

#include "ui/LPaintControl.h"

#include <functional>

// A self-drawn tile of the gallery. It paints through a function over its whole rectangle; a
// tile that toggles flips its lit state at each press, so every look can be tried by mouse.
class GalleryTile : public LPaintControl {
public:
    using Painter = std::function<void(PaintData& data, const GalleryTile& tile)>;

    GalleryTile(Painter painter, bool toggles, bool lit = false)
        : _painter(std::move(painter)), _toggles(toggles), _lit(lit)
    {
    }

    bool IsLit() const { return _lit; }
    bool IsHot() const { return _hot; }

    void Paint(PaintData& data) override;
    void EvLButtonDown(int x, int y) override;
    void EvMouseIn() override;
    void EvMouseOut() override;

private:
    Painter _painter;
    bool _toggles;
    bool _lit;
    bool _hot = false;
};
