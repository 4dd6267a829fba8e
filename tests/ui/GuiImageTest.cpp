#include "ui/LGuiImage.h"

#include "support/TestHome.h"
#include "ui/PaintCanvas.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace {

constexpr int kDrawnNumber = 99001;
constexpr int kNullNumber = 99002;
constexpr int kNestedNumber = 99003;
constexpr int kDrawnWidth = 10, kDrawnHeight = 6;
const QColor kDrawnColour(200, 0, 0);
const QColor kOverrideColour(0, 200, 0);

QImage Solid(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(colour);
    return image;
}

void RegisterTestDrawers()
{
    EnsureQtApplication();
    LImageResources::Register(kDrawnNumber, [](qreal ratio) {
        return Solid(QSize(kDrawnWidth, kDrawnHeight) * ratio, kDrawnColour);
    });
    LImageResources::Register(kNullNumber, [](qreal) { return QImage(); });
    // A drawer may load another resource.
    LImageResources::Register(kNestedNumber, [](qreal ratio) { return LImageResources::Load(kDrawnNumber, ratio); });
}

class ThemeOverrideTest : public ::testing::Test {
public:
    void SetUp() override
    {
        RegisterTestDrawers();
        std::filesystem::create_directories(ThemeFile(""));
    }
    void TearDown() override { LImageResources::SetDevicePixelRatio(0); }

    std::string ThemeFile(const std::string& name) const { return _home / (".local/share/Orvane/Theme/" + name); }
    void WritePng(const std::string& name, QSize size) const
    {
        ASSERT_TRUE(Solid(size, kOverrideColour).save(QString::fromStdString(ThemeFile(name)), "PNG"));
    }
    void WriteBytes(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(ThemeFile(name), std::ios::binary) << bytes;
    }
    // A valid PNG of the right size cut in half.
    void WriteTruncatedPng(const std::string& name, QSize size) const
    {
        WritePng(name, size);
        std::filesystem::resize_file(ThemeFile(name), std::filesystem::file_size(ThemeFile(name)) / 2);
    }

private:
    TestHome _home;
};

struct OverrideCase {
    const char* name;
    qreal ratio;
    std::function<void(ThemeOverrideTest&)> setup;
    bool overridden;
};

TEST_F(ThemeOverrideTest, OverrideIsUsedOnlyWhenItLoadsAtTheDrawnSize)
{
    const QSize size(kDrawnWidth, kDrawnHeight);
    const std::string png = std::to_string(kDrawnNumber) + ".png";
    const std::string png2x = std::to_string(kDrawnNumber) + "@2x.png";
    const std::vector<OverrideCase> cases = {
        {"missing", 1, [](ThemeOverrideTest&) {}, false},
        {"right size", 1, [&](ThemeOverrideTest& t) { t.WritePng(png, size); }, true},
        {"wrong size", 1, [&](ThemeOverrideTest& t) { t.WritePng(png, size + QSize(1, 0)); }, false},
        {"corrupt", 1, [&](ThemeOverrideTest& t) { t.WriteBytes(png, "\x89PNG\r\n\x1a\n this is no image"); }, false},
        {"empty file", 1, [&](ThemeOverrideTest& t) { t.WriteBytes(png, ""); }, false},
        {"truncated", 1, [&](ThemeOverrideTest& t) { t.WriteTruncatedPng(png, size); }, false},
        {"a folder", 1, [&](ThemeOverrideTest& t) { std::filesystem::create_directory(t.ThemeFile(png)); }, false},
        {"a pipe is not opened", 1, [&](ThemeOverrideTest& t) { mkfifo(t.ThemeFile(png).c_str(), 0600); }, false},
        {"2x at ratio 2", 2, [&](ThemeOverrideTest& t) { t.WritePng(png2x, size * 2); }, true},
        {"1x scaled at ratio 2", 2, [&](ThemeOverrideTest& t) { t.WritePng(png, size); }, true},
        {"wrong 2x falls back to 1x", 2,
         [&](ThemeOverrideTest& t) { t.WritePng(png2x, size); t.WritePng(png, size); }, true},
        {"corrupt 2x and no 1x", 2, [&](ThemeOverrideTest& t) { t.WriteBytes(png2x, "junk"); }, false},
        {"2x is not used at ratio 1", 1, [&](ThemeOverrideTest& t) { t.WritePng(png2x, size * 2); }, false},
    };
    for (const OverrideCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove_all(ThemeFile(""));
        std::filesystem::create_directories(ThemeFile(""));
        c.setup(*this);
        LImageResources::SetDevicePixelRatio(c.ratio);
        LGuiJPG image;
        ASSERT_TRUE(image.LoadFromResource(std::to_string(kDrawnNumber).c_str()));
        EXPECT_EQ(image.GetImage().size(), size * c.ratio);
        EXPECT_EQ(image.GetImage().devicePixelRatio(), c.ratio);
        EXPECT_EQ(image.GetWidth(), kDrawnWidth);
        EXPECT_EQ(image.GetHeight(), kDrawnHeight);
        const QColor expected = c.overridden ? kOverrideColour : kDrawnColour;
        EXPECT_EQ(image.GetImage().pixelColor(0, 0), expected);
        EXPECT_EQ(image.GetImage().pixelColor(image.GetImage().width() - 1, image.GetImage().height() - 1), expected);
    }
}

TEST_F(ThemeOverrideTest, UnknownNumbersAndBadTextsLoadNothing)
{
    for (const char* text : {static_cast<const char*>(nullptr), "", "12a", "-5", " 99001", "+99001",
                             "99999999999999999999", "99004", "99002"}) {
        SCOPED_TRACE(text ? text : "(null)");
        LGuiJPG image;
        image.SetImage(Solid(QSize(2, 2), Qt::white));
        EXPECT_FALSE(image.LoadFromResource(text));
        EXPECT_FALSE(image.IsValid());
    }
    EXPECT_TRUE(LImageResources::IsRegistered(kNullNumber));
    EXPECT_FALSE(LImageResources::IsRegistered(99004));
    // A drawer that loads another resource does not deadlock.
    EXPECT_EQ(LImageResources::Load(kNestedNumber, 1).size(), QSize(kDrawnWidth, kDrawnHeight));
    // A ratio that is not a positive number loads at 1.
    EXPECT_EQ(LImageResources::Load(kDrawnNumber, std::nan("")).size(), QSize(kDrawnWidth, kDrawnHeight));
}

TEST(GuiImageTest, DrawSizeIsUsedOnlyWhenBothArePositive)
{
    EnsureQtApplication();
    QImage twice = Solid(QSize(20, 12), Qt::red);
    twice.setDevicePixelRatio(2);
    LGuiImage image(twice);
    EXPECT_EQ(image.GetWidth(), 10);
    EXPECT_EQ(image.GetHeight(), 6);
    image.SetDrawSize(7, 0);
    EXPECT_EQ(image.GetWidth(), 10);
    image.SetDrawSize(7, 3);
    EXPECT_EQ(image.GetWidth(), 7);
    EXPECT_EQ(image.GetHeight(), 3);
    EXPECT_EQ(LGuiImage().GetWidth(), 0);

    PaintCanvas canvas(12, 8);
    image.Draw(canvas.Painter(), 1, 1);
    EXPECT_TRUE(canvas.IsSet(7, 3));
    EXPECT_FALSE(canvas.IsSet(8, 3));
    EXPECT_FALSE(canvas.IsSet(7, 4));

    // An absurd size is cut to the image's area, not allocated.
    PaintCanvas huge(12, 8);
    image.Draw(huge.Painter(), -1e9f, -1e9f, 3e9f, 3e9f);
    EXPECT_TRUE(huge.IsSet(0, 0));
    EXPECT_TRUE(huge.IsSet(11, 7));
}

// The source rectangle is in device-independent pixels; a part outside the image is cut off
// together with its share of the target.
TEST(GuiImageTest, SubImagesTakeTheirSourceInDeviceIndependentPixels)
{
    EnsureQtApplication();
    for (const qreal ratio : {1.0, 2.0}) {
        QImage quadrants = Solid(QSize(8, 6) * ratio, Qt::red);
        quadrants.setDevicePixelRatio(ratio);
        QPainter(&quadrants).fillRect(QRectF(4, 0, 4, 3), Qt::green);
        const LGuiImage image(quadrants);

        PaintCanvas canvas(16, 8);
        image.DrawSubImage(canvas.Painter(), 0, 0, 8, 6, 4, 0, 8, 6);
        EXPECT_EQ(canvas.Pixel(0, 0), qRgb(0, 255, 0)) << ratio;
        EXPECT_EQ(canvas.Pixel(3, 2), qRgb(0, 255, 0)) << ratio;
        EXPECT_EQ(canvas.Pixel(3, 3), qRgb(255, 0, 0)) << ratio;
        EXPECT_FALSE(canvas.IsSet(4, 0)) << ratio;
        EXPECT_FALSE(canvas.IsSet(0, 6)) << ratio;

        PaintCanvas nothing(16, 8);
        image.DrawSubImage(nothing.Painter(), 0, 0, 8, 6, 9, 0, 4, 4);
        image.DrawSubImage(nothing.Painter(), 0, 0, 8, 6, 0, 0, -4, 4);
        image.DrawSubImage(nothing.Painter(), 0, 0, 0, 6, 0, 0, 4, 4);
        image.DrawSubImage(nothing.Painter(), 0, 0, 8, 6, std::nanf(""), 0, 4, 4);
        for (int x = 0; x < 16; ++x)
            EXPECT_FALSE(nothing.IsSet(x, 1)) << ratio << " " << x;
    }
}

}  // namespace
