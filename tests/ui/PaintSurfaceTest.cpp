#include "ui/LPaintSurface.h"
#include "ui/LQtConvert.h"

#include "ui/PaintCanvas.h"

#include <QFontInfo>
#include <QRegion>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using PS = LPaintSurface;

const LGuiColorRef kRed = LGuiColorRef::FromRGB(255, 0, 0);
const LGuiColorRef kGreen = LGuiColorRef::FromRGB(0, 255, 0);
const LGuiColorRef kBlue = LGuiColorRef::FromRGB(0, 0, 255);
const LGuiColorRef kWhite = LGuiColorRef::FromRGB(255, 255, 255);

constexpr int kCanvasWidth = 10, kCanvasHeight = 8;

QImage SolidImage(int width, int height, qreal ratio, QColor colour)
{
    QImage image(int(width * ratio), int(height * ratio), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(colour);
    return image;
}

// A drawing and the ratio-1 pixels it must cover, no more and no fewer.
struct CoverCase {
    const char* name;
    std::function<void(PaintData&, qreal ratio)> draw;
    std::vector<QRect> covered;
};

const std::vector<CoverCase>& CoverCases()
{
    static const std::vector<CoverCase> cases = {
        {"fill", [](PaintData& d, qreal) { PS::FillRect(d, kRed, 2, 3, 5, 4); }, {QRect(2, 3, 5, 4)}},
        {"fill fractional: next pixel centres", [](PaintData& d, qreal) { PS::FillRect(d, kRed, 1.5f, 2.2f, 3, 2); },
         {QRect(2, 3, 3, 2)}},
        {"fill negative width", [](PaintData& d, qreal) { PS::FillRect(d, kRed, 8, 2, -3, 2); }, {QRect(5, 2, 3, 2)}},
        {"fill empty", [](PaintData& d, qreal) { PS::FillRect(d, kRed, 2, 2, 0, 5); }, {}},
        {"fill not finite", [](PaintData& d, qreal) { PS::FillRect(d, kRed, 2, 2, std::nanf(""), 5); }, {}},
        {"fill huge is cut to the image", [](PaintData& d, qreal) { PS::FillRect(d, kRed, -1e30f, 6, 2e30f, 1e30f); },
         {QRect(0, 6, 10, 2)}},
        {"solid brush", [](PaintData& d, qreal) { PS::FillRect(d, LGuiSolidBrush(kGreen), 1, 1, 3, 3); },
         {QRect(1, 1, 3, 3)}},
        {"transparent brush", [](PaintData& d, qreal) { PS::FillRect(d, LGuiTransparentBrush(), 1, 1, 3, 3); }, {}},
        {"frame 1 px: border pixels only", [](PaintData& d, qreal) { PS::StrokeRect(d, kRed, 1, 1, 1, 8, 6); },
         {QRect(1, 1, 8, 1), QRect(1, 6, 8, 1), QRect(1, 2, 1, 4), QRect(8, 2, 1, 4)}},
        {"frame 2 px from a pen", [](PaintData& d, qreal) { PS::StrokeRect(d, LGuiSolidPen(kRed, 2), 1, 1, 8, 6); },
         {QRect(1, 1, 8, 2), QRect(1, 5, 8, 2), QRect(1, 3, 2, 2), QRect(7, 3, 2, 2)}},
        {"frame wider than its room fills", [](PaintData& d, qreal) { PS::StrokeRect(d, kRed, 2, 2, 2, 3, 5); },
         {QRect(2, 2, 3, 5)}},
        {"vertical line: start row to the row before the end",
         [](PaintData& d, qreal) { PS::MoveTo(d, 3, 2); PS::LineTo(d, 3, 8); PS::StrokePath(d, kRed, 1); },
         {QRect(3, 2, 1, 6)}},
        {"line drawn upwards",
         [](PaintData& d, qreal) { PS::MoveTo(d, 3, 8); PS::LineTo(d, 3, 2); PS::StrokePath(d, kRed, 1); },
         {QRect(3, 2, 1, 6)}},
        {"line 3 wide centred",
         [](PaintData& d, qreal) { PS::MoveTo(d, 1, 4); PS::LineTo(d, 9, 4); PS::StrokePath(d, kRed, 3); },
         {QRect(1, 3, 8, 3)}},
        {"corner 1 px",
         [](PaintData& d, qreal) { PS::MoveTo(d, 1, 1); PS::LineTo(d, 1, 5); PS::LineTo(d, 6, 5); PS::StrokePath(d, kRed, 1); },
         {QRect(1, 1, 1, 4), QRect(1, 5, 5, 1)}},
        {"corner 2 px has its mitre",
         [](PaintData& d, qreal) { PS::MoveTo(d, 2, 1); PS::LineTo(d, 2, 6); PS::LineTo(d, 8, 6); PS::StrokePath(d, kRed, 2); },
         {QRect(1, 1, 2, 6), QRect(2, 5, 6, 2)}},
        {"two subpaths",
         [](PaintData& d, qreal) {
             PS::MoveTo(d, 1, 1); PS::LineTo(d, 4, 1); PS::MoveTo(d, 1, 3); PS::LineTo(d, 4, 3);
             PS::StrokePath(d, kRed, 1);
         },
         {QRect(1, 1, 3, 1), QRect(1, 3, 3, 1)}},
        {"line with no move starts there",
         [](PaintData& d, qreal) { PS::LineTo(d, 2, 2); PS::LineTo(d, 2, 5); PS::StrokePath(d, kRed, 1); },
         {QRect(2, 2, 1, 3)}},
        {"line width 0 counts as 1",
         [](PaintData& d, qreal) { PS::MoveTo(d, 2, 2); PS::LineTo(d, 5, 2); PS::StrokePath(d, kRed, 0); },
         {QRect(2, 2, 3, 1)}},
        {"filled rectangle path equals the fill",
         [](PaintData& d, qreal) {
             PS::MoveTo(d, 2, 2); PS::LineTo(d, 7, 2); PS::LineTo(d, 7, 5); PS::LineTo(d, 2, 5); PS::FillPath(d, kRed);
         },
         {QRect(2, 2, 5, 3)}},
        {"image at its own size",
         [](PaintData& d, qreal r) { PS::DrawImage(d, LGuiImage(SolidImage(3, 2, r, Qt::green)), 4, 5); },
         {QRect(4, 5, 3, 2)}},
        {"image at a given size",
         [](PaintData& d, qreal r) { PS::DrawImage(d, LGuiImage(SolidImage(3, 2, r, Qt::green)), 1, 1, 6, 4); },
         {QRect(1, 1, 6, 4)}},
        {"clip set by the toolkit",
         [](PaintData& d, qreal) {
             d.context->setClipRect(QRectF(1.5, 1.5, 4, 4));
             PS::FillRect(d, kRed, 0, 0, kCanvasWidth, kCanvasHeight);
         },
         {QRect(2, 2, 4, 4)}},
    };
    return cases;
}

TEST(PaintSurfaceTest, EachPrimitiveCoversExactlyItsPixelsAndDoublesAtRatio2)
{
    for (const CoverCase& c : CoverCases()) {
        SCOPED_TRACE(c.name);
        QRegion expected;
        for (const QRect& rect : c.covered)
            expected += rect;
        for (const qreal ratio : {1.0, 2.0}) {
            PaintCanvas canvas(kCanvasWidth, kCanvasHeight, ratio);
            c.draw(canvas.data, ratio);
            const QImage& image = canvas.Image();
            int wrong = 0;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    wrong += (image.pixel(x, y) != kCanvasBlack) != expected.contains(QPoint(int(x / ratio), int(y / ratio)));
            EXPECT_EQ(wrong, 0) << "ratio " << ratio << ", see "
                                << SaveForInspection(image, std::string("cover-") + std::to_string(int(ratio)));
        }
    }
}

TEST(PaintSurfaceTest, GradientEndsAreTheTwoColours)
{
    for (const bool vertical : {true, false}) {
        PaintCanvas canvas(kCanvasWidth, kCanvasHeight);
        PS::_FillRectGradient(canvas.data, kRed, kBlue, vertical, 1, 1, 8, 6);
        const QPoint first(1, 1), last = vertical ? QPoint(1, 6) : QPoint(8, 1);
        const QPoint middle = vertical ? QPoint(1, 3) : QPoint(4, 1);
        EXPECT_EQ(canvas.Pixel(first.x(), first.y()), qRgb(255, 0, 0)) << vertical;
        EXPECT_EQ(canvas.Pixel(last.x(), last.y()), qRgb(0, 0, 255)) << vertical;
        const QRgb mid = canvas.Pixel(middle.x(), middle.y());
        EXPECT_GT(Red(mid), 0);
        EXPECT_GT(Blue(mid), 0);
        // Along the other axis the colour does not change.
        const QPoint across = vertical ? QPoint(8, 6) : QPoint(8, 6);
        EXPECT_EQ(canvas.Pixel(across.x(), across.y()), qRgb(0, 0, 255));
        EXPECT_FALSE(canvas.IsSet(0, 0));
        EXPECT_FALSE(canvas.IsSet(9, 7));
    }
}

TEST(PaintSurfaceTest, AlphaHalfHalvesTheColourOverBlack)
{
    PaintCanvas canvas(kCanvasWidth, kCanvasHeight);
    PS::SetAlpha(canvas.data, 0.5f);
    PS::FillRect(canvas.data, LGuiColorRef::FromRGB(200, 100, 60), 0, 0, 4, 4);
    PS::SetAlpha(canvas.data, 7.0f);  // clamped to opaque
    PS::FillRect(canvas.data, LGuiColorRef::FromRGB(200, 100, 60), 5, 0, 4, 4);
    const QRgb half = canvas.Pixel(1, 1), full = canvas.Pixel(6, 1);
    EXPECT_NEAR(Red(half), 100, 1);
    EXPECT_NEAR(Green(half), 50, 1);
    EXPECT_NEAR(Blue(half), 30, 1);
    EXPECT_EQ(full, qRgb(200, 100, 60));
}

TEST(PaintSurfaceTest, DiagonalAndAntiAliasedPathsStayInsideTheirBounds)
{
    PaintCanvas canvas(kCanvasWidth, kCanvasHeight);
    PS::MoveTo(canvas.data, 1, 1);
    PS::LineTo(canvas.data, 6, 6);
    PS::StrokePath(canvas.data, kRed, 1);
    PS::SetAntiAlias(canvas.data, true);
    PS::MoveTo(canvas.data, 8, 1);
    PS::LineTo(canvas.data, 8, 6);
    PS::StrokePath(canvas.data, kGreen, 1);
    EXPECT_TRUE(canvas.data.path.empty());
    const QImage& image = canvas.Image();
    int diagonal = 0;
    for (int i = 0; i < 8; ++i)
        diagonal += image.pixel(i, i) != kCanvasBlack ? 1 : 0;
    EXPECT_GE(diagonal, 4);
    EXPECT_FALSE(canvas.IsSet(6, 1));
    EXPECT_FALSE(canvas.IsSet(1, 6));
    EXPECT_GT(Green(canvas.Pixel(8, 3)), 0);
}

// Golden images: each scene's hash at ratios 1 and 2. A mismatch leaves the image in the
// test's temporary folder.
struct GoldenCase {
    const char* name;
    std::function<void(PaintData&, qreal ratio)> draw;
    const char* hash1;
    const char* hash2;
};

QImage QuadrantImage(qreal ratio)
{
    QImage image = SolidImage(8, 6, ratio, Qt::red);
    QPainter painter(&image);
    painter.fillRect(QRectF(4, 0, 4, 3), Qt::green);
    painter.fillRect(QRectF(0, 3, 4, 3), Qt::blue);
    painter.fillRect(QRectF(4, 3, 4, 3), Qt::white);
    return image;
}

const std::vector<GoldenCase>& GoldenCases()
{
    static const std::vector<GoldenCase> cases = {
        {"fills", [](PaintData& d, qreal) {
             PS::FillRect(d, kRed, 2, 2, 10, 6);
             PS::FillRect(d, LGuiSolidBrush(kGreen), 8.5f, 5, 9, 9);
             PS::SetAlpha(d, 0.5f);
             PS::FillRect(d, kBlue, 5, 4, 12, 3);
         }, "503f844e6d96d83b", "1348de484e00c922"},
        {"frames", [](PaintData& d, qreal) {
             PS::StrokeRect(d, kRed, 1, 1, 1, 22, 14);
             PS::StrokeRect(d, LGuiSolidPen(kGreen, 2), 4, 4, 16, 8);
             PS::StrokeRect(d, kWhite, 3, 9, 6, 6, 4);
         }, "0ce05370a3950753", "a72ff116499e2430"},
        {"paths", [](PaintData& d, qreal) {
             PS::MoveTo(d, 2, 2); PS::LineTo(d, 20, 2); PS::LineTo(d, 20, 12); PS::LineTo(d, 2, 12);
             PS::StrokePath(d, kRed, 1);
             PS::MoveTo(d, 4, 4); PS::LineTo(d, 18, 10); PS::StrokePath(d, kGreen, 1);
             PS::MoveTo(d, 5, 14); PS::LineTo(d, 12, 8); PS::LineTo(d, 19, 14); PS::FillPath(d, kBlue);
             PS::SetAntiAlias(d, true);
             PS::MoveTo(d, 2, 15); PS::LineTo(d, 22, 6); PS::StrokePath(d, kWhite, 2);
         }, "91ad70da46efe10b", "cbeafdbe9c9b33b8"},
        {"gradients", [](PaintData& d, qreal) {
             PS::_FillRectGradient(d, kRed, kBlue, true, 1, 1, 10, 14);
             PS::_FillRectGradient(d, kGreen, kWhite, false, 12, 1, 11, 14);
         }, "7ffe6d3b4baaa657", "cd119cbde29263c5"},
        {"images", [](PaintData& d, qreal r) {
             const LGuiImage image(QuadrantImage(r));
             image.Draw(*d.context, 1, 1);
             image.Draw(*d.context, 10, 1, 12, 5);
             image.DrawSubImage(*d.context, 10, 8, 8, 6, 4, 0, 4, 3);
             PS::DrawImage(d, image, 1, 9, 4, 3);
         }, "7208c9cbfe890e52", "74f344e9286c9af9"},
        {"text", [](PaintData& d, qreal) {
             d.font.CreateFont(-11, true, false, false, kWhite);
             PS::DrawText(d, "Ab", 0, 0, 24, 16, LHAlignment::kCentre, LVAlignment::kCentre);
         }, "8a28d45d6774a7c7", "963f3c33b0c92b72"},
    };
    return cases;
}

TEST(PaintSurfaceTest, GoldenImagesOfThePrimitives)
{
    for (const GoldenCase& c : GoldenCases()) {
        SCOPED_TRACE(c.name);
        for (const qreal ratio : {1.0, 2.0}) {
            PaintCanvas canvas(24, 16, ratio);
            c.draw(canvas.data, ratio);
            const QImage& image = canvas.Image();
            const std::string hash = ImageHash(image);
            const std::string expected = ratio == 1 ? c.hash1 : c.hash2;
            if (hash != expected)
                ADD_FAILURE() << "ratio " << ratio << " hash " << hash << ", see "
                              << SaveForInspection(image, std::string("golden-") + c.name + "-" +
                                                              std::to_string(int(ratio)));
        }
    }
}

// Every call with no painter, or with values that are not numbers, infinite or absurd, draws
// nothing it should not and leaves the path empty where it draws one.
TEST(PaintSurfaceTest, AbsurdArgumentsAndNoPainterAreHarmless)
{
    const float nan = std::nanf(""), inf = std::numeric_limits<float>::infinity();
    const LGuiImage image(SolidImage(3, 3, 1, Qt::green));
    const std::vector<std::function<void(PaintData&)>> calls = {
        [&](PaintData& d) { PS::FillRect(d, kRed, nan, 0, 5, 5); },
        [&](PaintData& d) { PS::FillRect(d, LGuiSolidBrush(kRed), 0, inf, 5, 5); },
        [&](PaintData& d) { PS::StrokeRect(d, kRed, -7, nan, 1, 4, 4); },
        [&](PaintData& d) { PS::StrokeRect(d, kRed, 1 << 30, 1, 1, nan, 4); },
        [&](PaintData& d) { PS::MoveTo(d, nan, 1); PS::LineTo(d, 5, inf); PS::StrokePath(d, kRed, 1); },
        [&](PaintData& d) { PS::MoveTo(d, 1, 1); PS::StrokePath(d, kRed, 1); },
        [&](PaintData& d) { PS::MoveTo(d, 1, 1); PS::LineTo(d, 1, 1); PS::StrokePath(d, kRed, 5); },
        [&](PaintData& d) { PS::MoveTo(d, 1, 1); PS::LineTo(d, 3, 3); PS::FillPath(d, kRed); },
        [&](PaintData& d) { PS::MoveTo(d, nan, nan); PS::LineTo(d, nan, 2); PS::LineTo(d, 3, nan); PS::FillPath(d, kRed); },
        [&](PaintData& d) { PS::MoveTo(d, nan, 0); PS::LineTo(d, 6, 6); PS::LineTo(d, 6, 6); PS::StrokePath(d, kRed, 1); },
        [&](PaintData& d) { PS::SetAlpha(d, nan); PS::SetStrokeColor(d, kRed); PS::SetAntiAlias(d, true); },
        [&](PaintData& d) { PS::DrawImage(d, image, nan, 0); },
        [&](PaintData& d) { PS::DrawImage(d, image, 0, 0, -3, 3); },
        [&](PaintData& d) { PS::DrawImage(d, LGuiImage(), 0, 0); },
        [&](PaintData& d) { PS::DrawText(d, "text", nan, 0, 10, 10); },
        [&](PaintData& d) { PS::DrawText(d, "text", 0, 0, inf, 10); },
        [&](PaintData& d) { PS::DrawText(d, "text", 1e30f, 0, 1e30f, 1e30f, LHAlignment::kRight, LVAlignment::kCentre, LWrapping::kWord); },
        [&](PaintData& d) { PS::DrawText(d, "text text", -1e30f, 0, 1e30f, 10, LHAlignment::kCentre, LVAlignment::kTop, LWrapping::kEllipsis); },
        [&](PaintData& d) { PS::_FillRectGradient(d, kRed, kBlue, true, 0, 0, nan, 4); },
        [&](PaintData& d) { PS::_FillRectGradient(d, kRed, kBlue, false, 0, 0, 0, 4); },
    };
    for (size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(i);
        PaintData noPainter;
        calls[i](noPainter);
        PaintCanvas canvas(kCanvasWidth, kCanvasHeight);
        calls[i](canvas.data);
        EXPECT_TRUE(canvas.data.path.empty());
        for (int y = 0; y < kCanvasHeight; ++y)
            for (int x = 0; x < kCanvasWidth; ++x)
                ASSERT_FALSE(canvas.IsSet(x, y)) << x << "," << y;
    }
    float width = 1, height = 1;
    PaintData noPainter;
    PS::_MeasureText(noPainter, "text", nan, &width, &height);
    PS::_MeasureText(noPainter, "text", 0, nullptr, nullptr);
    EXPECT_EQ(width, 0);
}

TEST(PaintSurfaceTest, StrokeColourIsThePaintersPen)
{
    PaintCanvas canvas(kCanvasWidth, kCanvasHeight);
    PS::SetStrokeColor(canvas.data, LGuiColorRef{0x3C00, 0x1000, 0xFFFF});
    EXPECT_EQ(canvas.Painter().pen().color(), QColor(60, 16, 255));
}

TEST(GuiColorTest, OnlyTheHighByteCounts)
{
    const LGuiColorRef colour{0x3C00, 0x3CFF, 0xFF01};
    const QColor converted = LQtConvert::ToQColor(colour);
    EXPECT_EQ(converted.red(), 60);
    EXPECT_EQ(converted.green(), 60);
    EXPECT_EQ(converted.blue(), 255);
    const LGuiColorRef back = LQtConvert::FromQColor(QColor(60, 1, 255));
    EXPECT_EQ(back.red, 0x3C00);
    EXPECT_EQ(back.green, 0x0100);
    EXPECT_EQ(back.blue, 0xFF00);
    EXPECT_FLOAT_EQ(LGuiColorRef::ToFloat(0x3C00), 60 * 0.003921569f);
}

TEST(GuiFontTest, FontsArePinnedAndSizedInPixels)
{
    EnsureQtApplication();
    LGuiFont font;
    font.CreateFont(-13, true, true, true, kRed);
    EXPECT_EQ(font.GetPointSize(), 10);
    const QFont converted = LQtConvert::ToQFont(font);
    EXPECT_EQ(converted.pixelSize(), 13);
    EXPECT_EQ(converted.weight(), QFont::Bold);
    EXPECT_TRUE(converted.italic());
    EXPECT_TRUE(converted.underline());
    EXPECT_EQ(QFontInfo(converted).family(), QString("DejaVu Sans")) << "fonts-dejavu-core missing?";
    // A font never created and an absurd one still give a usable size.
    EXPECT_EQ(LQtConvert::ToQFont(LGuiFont()).pixelSize(), LQtConvert::kDefaultPixelSize);
    LGuiFont huge;
    huge.CreateFont(-2000000000, false, false, false, kRed);
    EXPECT_EQ(LQtConvert::ToQFont(huge).pixelSize(), LQtConvert::kMaxPixelSize);
    const LGuiSolidBrush brush(kRed);
    PaintCanvas canvas(4, 4);
    const QBrush before = canvas.Painter().brush();
    brush.Apply(canvas.Painter());
    EXPECT_EQ(canvas.Painter().brush().color(), QColor(255, 0, 0));
    brush.Restore(canvas.Painter());
    EXPECT_EQ(canvas.Painter().brush(), before);
}

}  // namespace
