#include "ui/LPaintBackground.h"

#include "ui/PaintCanvas.h"

#include <gtest/gtest.h>

namespace {

// A panel whose background is red on the left half and blue on the right.
class HalvesPanel : public LPaintBackgroundCustom {
public:
    void PaintBackground(PaintData& data) override
    {
        ++paints;
        LPaintSurface::FillRect(data, LGuiColorRef::FromRGB(255, 0, 0), 0, 0, data.width / 2, data.height);
        LPaintSurface::FillRect(data, LGuiColorRef::FromRGB(0, 0, 255), data.width / 2, 0, data.width / 2,
                                data.height);
    }
    int width = 20, height = 10;
    int paints = 0;

protected:
    int _BackgroundWidth() const override { return width; }
    int _BackgroundHeight() const override { return height; }
};

struct RatioGuard {
    explicit RatioGuard(qreal ratio) { LImageResources::SetDevicePixelRatio(ratio); }
    ~RatioGuard() { LImageResources::SetDevicePixelRatio(0); }
};

TEST(PaintBackgroundTest, CopiesThePartUnderThePaintRectangle)
{
    for (const qreal ratio : {1.0, 2.0}) {
        SCOPED_TRACE(ratio);
        RatioGuard guard(ratio);
        HalvesPanel panel;
        PaintCanvas canvas(20, 10, ratio);
        canvas.data.x = 8;
        canvas.data.y = 2;
        canvas.data.width = 4;
        canvas.data.height = 3;
        panel.PaintSubBackground(canvas.data);
        const QImage& image = canvas.Image();
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QPoint at(int(x / ratio), int(y / ratio));
                const QRgb expected = !QRect(8, 2, 4, 3).contains(at) ? kCanvasBlack
                                      : at.x() < 10                   ? qRgb(255, 0, 0)
                                                                      : qRgb(0, 0, 255);
                ASSERT_EQ(image.pixel(x, y), expected) << x << "," << y;
            }
        }
    }
}

TEST(PaintBackgroundTest, RebuildsOnlyWhenThePanelSizeChanges)
{
    EnsureQtApplication();
    HalvesPanel panel;
    PaintCanvas canvas(40, 20);
    panel.PaintSubBackground(canvas.data);
    panel.PaintSubBackground(canvas.data);
    EXPECT_EQ(panel.paints, 1);
    panel.width = 30;
    panel.PaintSubBackground(canvas.data);
    EXPECT_EQ(panel.paints, 2);
    // The new image spans the new width: its right half starts at 15.
    EXPECT_EQ(canvas.Pixel(14, 1), qRgb(255, 0, 0));
    EXPECT_EQ(canvas.Pixel(15, 1), qRgb(0, 0, 255));
    EXPECT_FALSE(canvas.IsSet(30, 1));
}

TEST(PaintBackgroundTest, EmptyAndAbsurdSizesDrawNothing)
{
    EnsureQtApplication();
    struct Size {
        int width, height;
    };
    for (const Size size : {Size{0, 10}, Size{-5, 10}, Size{20, 0}, Size{1 << 30, 1 << 30}}) {
        HalvesPanel panel;
        panel.width = size.width;
        panel.height = size.height;
        PaintCanvas canvas(20, 10);
        panel.PaintSubBackground(canvas.data);
        EXPECT_EQ(panel.paints, 0) << size.width;
        EXPECT_FALSE(canvas.IsSet(1, 1)) << size.width;
    }
    HalvesPanel panel;
    PaintData noContext;
    panel.PaintSubBackground(noContext);
    EXPECT_EQ(panel.paints, 1);
}

}  // namespace
