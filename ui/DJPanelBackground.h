#pragma once

#include "ui/LPaintBackground.h"
#include "ui/LPaintControl.h"

// The lowest control of a panel, covering it whole: paints the panel's cached background.
// Added before every other control so that they lie above it.
class DJPanelBackground : public LPaintControl {
public:
    explicit DJPanelBackground(LPaintBackground& owner) : _owner(owner) { SetOpaquePaint(true); }
    void Paint(PaintData& data) override { _owner.PaintSubBackground(data); }

private:
    LPaintBackground& _owner;
};
