#pragma once

#include "ui/LPaintSurface.h"

#include <QImage>

// A panel's own background, kept as one off-screen image of the panel's size.
class LPaintBackground {
public:
    virtual ~LPaintBackground() = default;
    // Rebuilds the image at that size.
    virtual void PaintBackgroundBitmap(int width, int height);
    // Copies the part of the image under data's rectangle; rebuilds it first when the panel's
    // size differs from the image's.
    virtual void PaintSubBackground(PaintData& data);

protected:
    // The panel's current size, for PaintSubBackground's check.
    virtual int _BackgroundWidth() const = 0;
    virtual int _BackgroundHeight() const = 0;
    QImage _background;
};

// A background painted once per size through PaintBackground: panels draw their surfaces and
// group frames there, not on every control update.
class LPaintBackgroundCustom : public LPaintBackground {
public:
    void PaintBackgroundBitmap(int width, int height) override;
    virtual void PaintBackground(PaintData& data) = 0;
};
