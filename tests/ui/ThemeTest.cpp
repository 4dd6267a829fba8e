#include "ui/DJTheme.h"

#include "app/LSettings.h"
#include "base/LFile.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/LQtConvert.h"
#include "ui/PaintCanvas.h"

#include <QBuffer>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

// Every number of the theme's image table, and the sizes fixed by the panels' layouts.
const int kAllNumbers[] = {332, 333, 327, 336, 326, 337, 328, 338, 325, 334, 329,
                           335, 330, 340, 345, 346, 366, 367, 368, 369, 361, 362,
                           363, 364, 343, 344, 342, 341, 351, 352, 354, 353, 349,
                           350, 348, 347, 360, 365, 370, 371, 355};

struct FixedSize {
    int number, width, height;
};
const FixedSize kFixedSizes[] = {{360, 4, 8}, {365, 7, 7}, {355, 180, 276}};

using LQtConvert::ToQColor;

// The device pixel under the centre of device-independent pixel (x, y).
QColor PixelAt(const QImage& image, int x, int y)
{
    const qreal ratio = image.devicePixelRatio();
    return image.pixelColor(static_cast<int>(std::floor((x + 0.5) * ratio)),
                            static_cast<int>(std::floor((y + 0.5) * ratio)));
}

std::string Describe(const QColor& colour)
{
    return "(" + std::to_string(colour.red()) + ", " + std::to_string(colour.green()) + ", " +
           std::to_string(colour.blue()) + ", alpha " + std::to_string(colour.alpha()) + ")";
}

bool HasVisiblePixel(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) != 0) {
                return true;
            }
        }
    }
    return false;
}

class ThemeTest : public testing::Test {
protected:
    static void SetUpTestSuite() { QtTestApp(); }
    void TearDown() override { LImageResources::SetDevicePixelRatio(0); }

    TestHome home;  // no override images but the test's own
};

TEST_F(ThemeTest, EveryNumberDrawsAtItsSizeAtBothRatios)
{
    DJThemeRegisterImages();
    ASSERT_EQ(DJThemeImageTable().size(), std::size(kAllNumbers));
    for (int number : kAllNumbers) {
        ASSERT_TRUE(LImageResources::IsRegistered(number)) << number;
    }
    for (const DJThemeImageInfo& info : DJThemeImageTable()) {
        const int number = static_cast<int>(info.number);
        for (qreal ratio : {1.0, 2.0}) {
            const QImage image = LImageResources::Load(number, ratio);
            ASSERT_FALSE(image.isNull()) << number << " at " << ratio;
            EXPECT_EQ(image.size(), QSize(info.width, info.height) * ratio) << number;
            EXPECT_EQ(image.deviceIndependentSize(), QSizeF(info.width, info.height)) << number;
            EXPECT_TRUE(HasVisiblePixel(image)) << number << " at " << ratio;
        }
    }
    for (const FixedSize& fixed : kFixedSizes) {
        const QImage image = LImageResources::Load(fixed.number, 1);
        EXPECT_EQ(image.size(), QSize(fixed.width, fixed.height)) << fixed.number;
    }
}

TEST_F(ThemeTest, ThemeLoadsImagesAtTheResourceRatio)
{
    // A fractional ratio too: every image keeps its size in the window's pixels.
    for (qreal ratio : {1.0, 1.5, 2.0}) {
        LImageResources::SetDevicePixelRatio(ratio);
        const DJTheme theme;
        for (const DJThemeImageInfo& info : DJThemeImageTable()) {
            const LGuiImage& image = theme.GetImage(info.number);
            ASSERT_TRUE(image.IsValid());
            EXPECT_EQ(image.GetImage().devicePixelRatio(), ratio);
            EXPECT_EQ(image.GetWidth(), info.width) << static_cast<int>(info.number);
            EXPECT_EQ(image.GetHeight(), info.height) << static_cast<int>(info.number);
        }
    }
}

TEST_F(ThemeTest, AbsurdRatiosMakeNoHugeImage)
{
    DJThemeRegisterImages();
    for (qreal ratio : {9.0, 1e9}) {
        EXPECT_TRUE(LImageResources::Load(332, ratio).isNull()) << ratio;
    }
    EXPECT_EQ(LImageResources::Load(355, 8).size(), QSize(180 * 8, 276 * 8));
}

// Golden hashes of every drawn image at ratios 1 and 2. After a deliberate change of a glyph,
// set ORVANE_THEME_DUMP to a folder to get the images as PNGs, look at them, and take the new
// hashes from the failure messages.
struct Golden {
    int number;
    const char* ratio1;
    const char* ratio2;
};
const Golden kGolden[] = {
    {325, "6a93f4dea2434325", "32fbc564c3dcdc18"},
    {326, "8c1b9c29699ceb22", "bccc2de89c47ce66"},
    {327, "35802214262d5641", "464c63001cc3299f"},
    {328, "1d2ed1085777653c", "85d9e7a30998c2a2"},
    {329, "c5d87cca9dbe32f9", "0f81d825de709beb"},
    {330, "0b4c763f4c6e2e17", "0672f00822094f00"},
    {332, "8eb871f37c10bed5", "5428767a143a4f90"},
    {333, "e787910581bc3ae2", "349bd9099491a23e"},
    {334, "42fa2436d48b2de9", "d42b8853e4938729"},
    {335, "7c32b43c68168915", "5c1c8443b9825f92"},
    {336, "cc5359d923e437c3", "a878b60ce940ea83"},
    {337, "b7ce021a03cecc1d", "a1a42a5a2f923463"},
    {338, "a5a866408c64abc7", "3da37049f92ac430"},
    {340, "4aee65acacfd41c9", "e02035c7814520c2"},
    {341, "c7238374a5193b59", "912cf8bd95e9f580"},
    {342, "a1aff5dd2f8c9451", "47a6b6c62047cd5d"},
    {343, "4f88f50a6b5667e8", "a4d0f410d86cfef4"},
    {344, "768462de074c1612", "f07dab4ea4df1597"},
    {345, "93a4f2de05e98582", "6bdfe63fc2811684"},
    {346, "d5bfb9fcf17f712c", "07c402af5e685571"},
    {347, "3d6e38c6d6f5ba91", "41777860879c9cf1"},
    {348, "ea1b8ff80ea98e18", "72ce920cae2bf97c"},
    {349, "fd6de6e3b86d9a3d", "cdd8ffa13d99cc17"},
    {350, "51ac71d4f37fab15", "8e6725e90d0eee08"},
    {351, "f8451f4b1c12468f", "fd4e52ba2e41b7f5"},
    {352, "291751a0b7764ee2", "281af905167e8268"},
    {353, "13ed135485aaeadb", "92871f87f552c773"},
    {354, "d0375652da9afa9d", "dd1e579658ff0aa0"},
    {355, "0a811df1aa479534", "530bcde0339abe0f"},
    {360, "84d074f529632f0c", "7acb37a9d5c462ed"},
    {361, "51ac71d4f37fab15", "8e6725e90d0eee08"},
    {362, "fd6de6e3b86d9a3d", "cdd8ffa13d99cc17"},
    {363, "ea1b8ff80ea98e18", "72ce920cae2bf97c"},
    {364, "3d6e38c6d6f5ba91", "41777860879c9cf1"},
    {365, "558a9b667e0a6650", "4deb7a9c633a64b7"},
    {366, "9b27a633d46d7976", "125cc375f52698e8"},
    {367, "e6fbf147e792f079", "1dbcda0e9341a442"},
    {368, "9bb75f798e492e26", "37af8175099fdb9d"},
    {369, "fa66a18dfeb17f7b", "728de520fefbd586"},
    {370, "97f4c77a459d208d", "99647433cb355ec5"},
    {371, "df700dc31814bd54", "46b06139f50d4671"},
};

TEST_F(ThemeTest, DrawnImagesMatchTheirGoldenHashes)
{
    DJThemeRegisterImages();
    ASSERT_EQ(std::size(kGolden), std::size(kAllNumbers));
    const char* dump = std::getenv("ORVANE_THEME_DUMP");
    for (const Golden& golden : kGolden) {
        for (int ratio : {1, 2}) {
            const QImage image = LImageResources::Load(golden.number, ratio);
            if (dump != nullptr) {
                image.save(QString("%1/%2@%3x.png").arg(dump).arg(golden.number).arg(ratio));
            }
            EXPECT_EQ(ImageHash(image), ratio == 1 ? golden.ratio1 : golden.ratio2)
                << golden.number << " at ratio " << ratio;
        }
    }
}

// Pixels that show what each image is, checked at both ratios.
enum class Expect : int { kColour, kTransparent, kBright, kDark };
struct KeyPixel {
    DJImage number;
    int x, y;  // device-independent pixels of the image
    Expect expect;
    LGuiColorRef colour;
};
constexpr LGuiColorRef kGlyphUp = LGuiColorRef::FromRGB(41, 46, 47);
constexpr LGuiColorRef kGlyphDown = LGuiColorRef::FromRGB(243, 241, 207);
constexpr LGuiColorRef kWindow = LGuiColorRef::FromRGB(190, 190, 190);
constexpr LGuiColorRef kDeck = LGuiColorRef::FromRGB(41, 46, 47);
constexpr LGuiColorRef kNone{};
const KeyPixel kKeyPixels[] = {
    {DJImage::kPlayUp, 8, 6, Expect::kColour, kGlyphUp},
    {DJImage::kPlayUp, 1, 1, Expect::kTransparent, kNone},
    {DJImage::kPlayDown, 8, 6, Expect::kColour, kGlyphDown},
    {DJImage::kCuePlayUp, 1, 6, Expect::kColour, kGlyphUp},  // the flag's pole
    {DJImage::kBendDownUp, 4, 5, Expect::kColour, kGlyphUp},
    {DJImage::kBendDownUp, 0, 0, Expect::kTransparent, kNone},
    {DJImage::kBendUpDown, 2, 5, Expect::kColour, kGlyphDown},
    {DJImage::kBendUpDown, 6, 0, Expect::kTransparent, kNone},
    {DJImage::kLoopMenuUp, 4, 2, Expect::kColour, kGlyphUp},
    {DJImage::kKillDown, 8, 4, Expect::kColour, LGuiColorRef::FromRGB(154, 71, 71)},
    {DJImage::kDeckCornerTopLeft, 0, 0, Expect::kColour, kWindow},
    {DJImage::kDeckCornerTopLeft, 5, 5, Expect::kTransparent, kNone},
    {DJImage::kDeckCornerTopRight, 5, 0, Expect::kColour, kWindow},
    {DJImage::kDeckCornerTopRight, 0, 5, Expect::kTransparent, kNone},
    {DJImage::kDeckCornerBottomRight, 5, 5, Expect::kColour, kWindow},
    {DJImage::kDeckCornerBottomRight, 0, 0, Expect::kTransparent, kNone},
    {DJImage::kDeckCornerBottomLeft, 0, 5, Expect::kColour, kWindow},
    {DJImage::kDeckCornerBottomLeft, 5, 0, Expect::kTransparent, kNone},
    {DJImage::kGroupCornerTopLeft, 0, 0, Expect::kColour, kDeck},
    {DJImage::kGroupCornerBottomRight, 0, 0, Expect::kTransparent, kNone},
    {DJImage::kSmallCornerBottomLeft, 0, 3, Expect::kColour, kWindow},
    {DJImage::kConsoleCorner1, 0, 0, Expect::kColour, kWindow},  // top left
    {DJImage::kConsoleCorner3, 5, 5, Expect::kColour, kWindow},  // bottom right
    {DJImage::kTopStripEnd, 3, 0, Expect::kColour, kDeck},
    {DJImage::kTopStripEnd, 0, 4, Expect::kTransparent, kNone},
    {DJImage::kBarMark, 3, 1, Expect::kColour, LGuiColorRef::FromRGB(255, 255, 255)},
    {DJImage::kBarMark, 0, 6, Expect::kTransparent, kNone},
    {DJImage::kLightOn, 4, 5, Expect::kBright, kNone},
    {DJImage::kLightOff, 4, 5, Expect::kDark, kNone},
    {DJImage::kLightOn, 0, 0, Expect::kTransparent, kNone},
    {DJImage::kConsoleBackground, 90, 118, Expect::kColour, LGuiColorRef::FromRGB(190, 205, 198)},
};

TEST_F(ThemeTest, KeyPixelsOfTheImages)
{
    for (qreal ratio : {1.0, 2.0}) {
        LImageResources::SetDevicePixelRatio(ratio);
        const DJTheme theme;
        for (const KeyPixel& key : kKeyPixels) {
            const QColor pixel = PixelAt(theme.GetImage(key.number).GetImage(), key.x, key.y);
            const std::string where = std::to_string(static_cast<int>(key.number)) + " at (" +
                                      std::to_string(key.x) + ", " + std::to_string(key.y) +
                                      ") ratio " + std::to_string(ratio) + ": " +
                                      Describe(pixel);
            switch (key.expect) {
                case Expect::kColour: EXPECT_EQ(pixel, ToQColor(key.colour)) << where; break;
                case Expect::kTransparent: EXPECT_EQ(pixel.alpha(), 0) << where; break;
                case Expect::kBright: EXPECT_GT(pixel.lightness(), 160) << where; break;
                case Expect::kDark: EXPECT_LT(pixel.lightness(), 110) << where; break;
            }
        }
    }
}

const QColor kFace(191, 191, 191);
const QColor kPressed(66, 66, 66);
const QColor kFrame(66, 66, 66);

TEST_F(ThemeTest, ImageButtonPattern)
{
    for (qreal ratio : {1.0, 2.0}) {
        LImageResources::SetDevicePixelRatio(ratio);
        const DJTheme theme;
        for (bool lit : {false, true}) {
            PaintCanvas canvas(40, 22, ratio);
            theme.DrawPlayControlButton(canvas.data, lit, DJImage::kPlayUp, DJImage::kPlayDown);
            const QImage& image = canvas.Image();
            const std::string what =
                "ratio " + std::to_string(ratio) + " lit " + std::to_string(lit);
            for (QPoint border : {QPoint(0, 0), QPoint(39, 0), QPoint(0, 21), QPoint(39, 21),
                                  QPoint(20, 0), QPoint(0, 11), QPoint(39, 11), QPoint(20, 21)}) {
                EXPECT_EQ(PixelAt(image, border.x(), border.y()), kFrame) << what;
            }
            EXPECT_EQ(PixelAt(image, 1, 11), kFace) << what;
            EXPECT_EQ(PixelAt(image, 20, 1), kFace) << what;
            EXPECT_EQ(PixelAt(image, 2, 2), lit ? kPressed : kFace) << what;
            EXPECT_EQ(PixelAt(image, 37, 19), lit ? kPressed : kFace) << what;
            // The 16 by 12 glyph sits at (12, 5): the play triangle's middle is at (20, 11).
            EXPECT_EQ(PixelAt(image, 20, 11), ToQColor(lit ? kGlyphDown : kGlyphUp)) << what;
            EXPECT_EQ(PixelAt(image, 13, 6), lit ? kPressed : kFace) << what;
        }
    }
}

TEST_F(ThemeTest, ImageButtonCentresByTheDownImage)
{
    LImageResources::SetDevicePixelRatio(1);
    const DJTheme theme;
    PaintCanvas canvas(40, 22);
    // The 8 by 10 light, placed where the 16 by 12 play image would be centred: at (12, 5),
    // so its middle is at (16, 10), not at the (20, 11) of its own centring.
    theme.DrawPlayControlButton(canvas.data, false, DJImage::kLightOn, DJImage::kPlayDown);
    const QImage& image = canvas.Image();
    EXPECT_GT(image.pixelColor(16, 10).lightness(), 160) << Describe(image.pixelColor(16, 10));
    EXPECT_EQ(image.pixelColor(20, 13), kFace);
}

TEST_F(ThemeTest, BottomButtonFillsAndKeepsItsTextInside)
{
    const DJTheme theme;
    struct Button {
        const char* text;
        int width;
    };
    // The bottom panel's buttons: the long texts must shrink to stay off the frame.
    for (Button button : {Button{"Clear", 55}, {"- Remove", 55}, {"Export Playlist >>", 110}}) {
        for (bool lit : {false, true}) {
            const int w = button.width;
            PaintCanvas canvas(w, 15);
            theme.DrawBottomButton(canvas.data, button.text, lit);
            const QImage& image = canvas.Image();
            const QColor face = lit ? QColor(100, 100, 100) : QColor(186, 186, 186);
            for (QPoint frame : {QPoint(0, 0), QPoint(w - 1, 0), QPoint(0, 14), QPoint(w - 1, 14),
                                 QPoint(0, 7), QPoint(w - 1, 7)}) {
                EXPECT_EQ(image.pixelColor(frame), QColor(50, 50, 50)) << button.text;
            }
            int marked = 0;
            for (int y = 1; y < 14; ++y) {
                EXPECT_EQ(image.pixelColor(1, y), face) << button.text << " row " << y;
                EXPECT_EQ(image.pixelColor(w - 2, y), face) << button.text << " row " << y;
                for (int x = 1; x < w - 1; ++x) {
                    marked += image.pixelColor(x, y) != face ? 1 : 0;
                }
            }
            EXPECT_GT(marked, 10) << button.text << " lit " << lit;
        }
    }
}

TEST_F(ThemeTest, LightButtons)
{
    LImageResources::SetDevicePixelRatio(1);
    const DJTheme theme;
    using Draw = void (DJTheme::*)(PaintData&, bool) const;
    for (Draw draw : {&DJTheme::DrawAutoPlayLightButton, &DJTheme::DrawRecordingLightButton}) {
        for (bool lit : {false, true}) {
            PaintCanvas canvas(125, 12);
            (theme.*draw)(canvas.data, lit);
            const QImage& image = canvas.Image();
            EXPECT_EQ(image.pixelColor(120, 6), QColor(66, 66, 66));
            // The light is the 8 by 10 image at (0, 1); its middle is (4, 6).
            const QColor light = image.pixelColor(4, 6);
            if (lit) {
                EXPECT_GT(light.lightness(), 160) << Describe(light);
            } else {
                EXPECT_LT(light.lightness(), 110) << Describe(light);
            }
            int textPixels = 0;
            for (int x = 10; x < 90; ++x) {
                for (int y = 0; y < 12; ++y) {
                    textPixels += image.pixelColor(x, y).lightness() > 150 ? 1 : 0;
                }
            }
            EXPECT_GT(textPixels, 10) << "lit " << lit;
        }
    }
}

TEST_F(ThemeTest, KillAndEffectButtons)
{
    LImageResources::SetDevicePixelRatio(1);
    const DJTheme theme;
    for (bool lit : {false, true}) {
        PaintCanvas kill(20, 20);
        theme.DrawKillButton(kill.data, lit);
        const QImage& killImage = kill.Image();
        EXPECT_EQ(killImage.pixelColor(0, 0), kFrame);
        EXPECT_EQ(killImage.pixelColor(19, 19), kFrame);
        EXPECT_EQ(killImage.pixelColor(2, 2), kFace);
        // The 12 by 12 kill image at (4, 4): its disc is red only when lit.
        EXPECT_EQ(killImage.pixelColor(12, 8) == QColor(154, 71, 71), lit);

        PaintCanvas onOff(16, 17);
        theme.DrawFxOnOffButton(onOff.data, lit);
        const QImage& onOffImage = onOff.Image();
        const QColor fill = lit ? QColor(243, 241, 207) : kFace;
        EXPECT_EQ(onOffImage.pixelColor(0, 0), QColor(0, 0, 0));
        EXPECT_EQ(onOffImage.pixelColor(15, 16), QColor(0, 0, 0));
        EXPECT_EQ(onOffImage.pixelColor(2, 2), fill);
        EXPECT_EQ(onOffImage.pixelColor(7, 8), QColor(66, 66, 66));  // inside the triangle
        EXPECT_EQ(onOffImage.pixelColor(13, 8), fill);

        PaintCanvas item(80, 16);
        theme.DrawFxItem(item.data, lit, "Reverb");
        const QImage& itemImage = item.Image();
        EXPECT_EQ(itemImage.pixelColor(0, 8), QColor(0, 0, 0));        // dark left
        EXPECT_EQ(itemImage.pixelColor(40, 0), QColor(0, 0, 0));       // dark top
        EXPECT_EQ(itemImage.pixelColor(79, 8), QColor(200, 200, 200));  // light right
        EXPECT_EQ(itemImage.pixelColor(40, 15), QColor(200, 200, 200)); // light bottom
        EXPECT_EQ(itemImage.pixelColor(0, 15), QColor(0, 0, 0));
        EXPECT_EQ(itemImage.pixelColor(79, 0), QColor(0, 0, 0));
        EXPECT_EQ(itemImage.pixelColor(79, 15), QColor(200, 200, 200));
        EXPECT_EQ(itemImage.pixelColor(1, 14), fill);
        EXPECT_EQ(itemImage.pixelColor(75, 8), fill);
    }
}

TEST_F(ThemeTest, MenuButtonDrawsItsArrow)
{
    LImageResources::SetDevicePixelRatio(1);
    const DJTheme theme;
    for (bool lit : {false, true}) {
        PaintCanvas canvas(47, 14);
        theme.DrawMenuButton(canvas.data, lit, "Menu");
        const QImage& image = canvas.Image();
        EXPECT_EQ(image.pixelColor(0, 0), kFace);
        EXPECT_EQ(image.pixelColor(44, 7), lit ? kPressed : kFace);
        // The 8 by 6 arrow at (33, 5): its middle column is the glyph colour.
        EXPECT_EQ(image.pixelColor(37, 7), ToQColor(lit ? kGlyphDown : kGlyphUp)) << "lit " << lit;
    }
}

TEST_F(ThemeTest, CornersGoToTheCornersOfTheRectangle)
{
    LImageResources::SetDevicePixelRatio(1);
    const DJTheme theme;
    PaintCanvas canvas(100, 60);
    canvas.Painter().fillRect(QRect(-1, -1, 102, 62), ToQColor(kDeck));
    theme.DrawDeckCorners(canvas.data);
    const QImage& image = canvas.Image();
    for (QPoint outer : {QPoint(0, 0), QPoint(99, 0), QPoint(99, 59), QPoint(0, 59)}) {
        EXPECT_EQ(image.pixelColor(outer), ToQColor(kWindow)) << outer.x() << "," << outer.y();
    }
    for (QPoint inner : {QPoint(5, 5), QPoint(94, 5), QPoint(94, 54), QPoint(5, 54),
                         QPoint(50, 0), QPoint(0, 30)}) {
        EXPECT_EQ(image.pixelColor(inner), ToQColor(kDeck)) << inner.x() << "," << inner.y();
    }
}

TEST_F(ThemeTest, MissingImagesDrawNothingAndButtonsStillDraw)
{
    LGuiJPG image;
    EXPECT_FALSE(image.LoadFromResource("999"));
    EXPECT_FALSE(image.IsValid());
    EXPECT_FALSE(image.LoadFromResource("not a number"));
    EXPECT_FALSE(image.LoadFromResource(""));

    const DJTheme theme;
    EXPECT_FALSE(theme.GetImage(static_cast<DJImage>(999)).IsValid());
    PaintCanvas canvas(40, 22);
    theme.DrawPlayControlButton(canvas.data, true, static_cast<DJImage>(1),
                                static_cast<DJImage>(2));
    const QImage& drawn = canvas.Image();
    EXPECT_EQ(drawn.pixelColor(0, 0), kFrame);
    EXPECT_EQ(drawn.pixelColor(20, 11), kPressed);
}

TEST_F(ThemeTest, TextsThatAreEmptyHugeOrBrokenDoNotStopTheButtons)
{
    const DJTheme theme;
    const std::string huge(100000, 'W');
    for (const char* text : {static_cast<const char*>(nullptr), "", "\xff\xfe\xc3", huge.c_str()}) {
        PaintCanvas canvas(55, 15);
        theme.DrawBottomButton(canvas.data, text, false);
        theme.DrawMenuButton(canvas.data, false, text);
        theme.DrawFxItem(canvas.data, true, text);
        const QImage& image = canvas.Image();
        EXPECT_EQ(image.pixelColor(54, 14), QColor(200, 200, 200));  // the effect item's frame
    }
}

TEST_F(ThemeTest, AbsurdRectanglesDrawWithoutHarm)
{
    const DJTheme theme;
    const float nan = std::nanf("");
    struct Box {
        float x, y, width, height;
    };
    for (Box box : {Box{0, 0, 0, 0}, {0, 0, -30, -12}, {0, 0, 3, 2}, {-1e9f, 5, 1e9f, 1e9f},
                    {nan, nan, nan, nan}, {2, 2, 1e30f, 1e30f}}) {
        PaintCanvas canvas(20, 20);
        PaintData& data = canvas.data;
        data.x = box.x;
        data.y = box.y;
        data.width = box.width;
        data.height = box.height;
        theme.DrawDeckCorners(data);
        theme.DrawCornersSmall(data);
        theme.DrawPlayControlButton(data, true, DJImage::kPlayUp, DJImage::kPlayDown);
        theme.DrawMenuButton(data, true, "Menu");
        theme.DrawFxItem(data, true, "Delay");
        theme.DrawFxEditButton(data, true);
        theme.DrawFxOnOffButton(data, false);
        theme.DrawKillButton(data, true);
        theme.DrawBottomButton(data, "Clear", true);
        theme.DrawAutoPlayLightButton(data, true);
        theme.DrawRecordingLightButton(data, false);
        EXPECT_TRUE(data.path.empty());
        EXPECT_FALSE(canvas.Image().isNull());
    }
}

// Writes `bytes` as the override PNG `name` in the theme folder.
void WriteOverride(const std::string& name, const QByteArray& bytes)
{
    char folder[LFile::kPathBytes];
    ASSERT_TRUE(LFile::GetUserDataFolderAppSubFolder("Theme", folder));
    WriteWholeFile(std::string(folder) + "/" + name, bytes.toStdString());
}

QByteArray SolidPng(int width, int height, QColor colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

TEST_F(ThemeTest, OverridePngOfTheRightSizeReplacesTheDrawnImage)
{
    const QColor red(255, 0, 0);
    WriteOverride("332.png", SolidPng(16, 12, red));          // right size
    WriteOverride("333.png", SolidPng(10, 10, red));          // wrong size
    WriteOverride("328.png", QByteArray("not a png at all"));  // corrupt
    WriteOverride("338.png", QByteArray());                    // empty
    LImageResources::SetDevicePixelRatio(1);
    const DJTheme theme;
    EXPECT_EQ(PixelAt(theme.GetImage(DJImage::kPlayUp).GetImage(), 1, 1), red);
    const QImage& wrong = theme.GetImage(DJImage::kPlayDown).GetImage();
    EXPECT_EQ(wrong.size(), QSize(16, 12));
    EXPECT_EQ(PixelAt(wrong, 8, 6), ToQColor(kGlyphDown));
    EXPECT_EQ(PixelAt(theme.GetImage(DJImage::kSetCueUp).GetImage(), 1, 6), ToQColor(kGlyphUp));
    EXPECT_EQ(PixelAt(theme.GetImage(DJImage::kSetCueDown).GetImage(), 1, 6), ToQColor(kGlyphDown));
}

TEST_F(ThemeTest, OverridePngAtRatioTwoIsTwiceTheSize)
{
    const QColor green(0, 255, 0);
    WriteOverride("365@2x.png", SolidPng(14, 14, green));
    LImageResources::SetDevicePixelRatio(2);
    const DJTheme theme;
    const LGuiImage& mark = theme.GetImage(DJImage::kBarMark);
    EXPECT_EQ(mark.GetWidth(), 7);
    EXPECT_EQ(PixelAt(mark.GetImage(), 0, 6), green);
}

TEST_F(ThemeTest, SharedThemeIsOneObject)
{
    EXPECT_EQ(&DJThemeUser::GetTheme(), &DJThemeUser::GetTheme());
    EXPECT_TRUE(DJThemeUser::GetTheme().GetImage(DJImage::kConsoleBackground).IsValid());
}

TEST_F(ThemeTest, MetalLookIsStoredAsASetting)
{
    EXPECT_EQ(DJThemeGetMetalLook(), DJFrameLook::kUndecided);
    ASSERT_TRUE(DJThemeSetMetalLook(true));
    EXPECT_EQ(LUserSettingGetInt("Settings", "Metal", 0), 1);
    EXPECT_EQ(DJThemeGetMetalLook(), DJFrameLook::kMetal);
    ASSERT_TRUE(DJThemeSetMetalLook(false));
    EXPECT_EQ(LUserSettingGetInt("Settings", "Metal", 0), -1);
    EXPECT_EQ(DJThemeGetMetalLook(), DJFrameLook::kPlain);
    LUserSettingSetInt("Settings", "Metal", 7);
    EXPECT_EQ(DJThemeGetMetalLook(), DJFrameLook::kMetal);
}

TEST_F(ThemeTest, MetalLookReportsASettingThatCannotBeWritten)
{
    // A file where the settings folder should be: nothing can be stored.
    const std::string blocked = home / "blocked";
    WriteWholeFile(blocked, "x");
    setenv("XDG_CONFIG_HOME", blocked.c_str(), 1);
    EXPECT_FALSE(DJThemeSetMetalLook(true));
    EXPECT_EQ(DJThemeGetMetalLook(), DJFrameLook::kUndecided);
    EXPECT_EQ(ReadWholeFile(blocked), "x");
}

}  // namespace
