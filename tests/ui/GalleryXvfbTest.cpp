// The gallery program photographed: on a real X server (import of its window) and rendered
// off screen by its --screenshot option; the theme's colours must lie at known points.
#include "XvfbTestSupport.h"

#include "gallery/GalleryLayout.h"
#include "gallery/GalleryWindow.h"
#include "support/TestHome.h"
#include "ui/DJTheme.h"
#include "ui/LDBDisplay2.h"

#include <QWidget>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <vector>

using namespace XvfbTest;
using namespace GalleryLayout;

namespace {

// A point of the gallery's window and the colour the theme puts there.
struct Probe {
    const char* what;
    QPoint point;
    LGuiColorRef colour;
};

QPoint Inside(const Box& box, int dx, int dy)
{
    return {box.x + dx, box.y + dy};
}

Box HelperTile(int row, bool lit)
{
    const int x = (lit ? kHelperLitColumnX : kHelperColumnX) + kHelperTileOffset;
    return {x, kHelperRowY + row * kHelperRowHeight, 0, 0};
}

// Rows of the console group's helpers, in the gallery's order.
enum HelperRow : int { kMenuRow = 0, kFxItemRow = 1, kFxEditRow = 2, kBottomRow = 5 };

std::vector<Probe> ThemeProbes()
{
    const DJTheme& theme = DJThemeUser::GetTheme();
    Box litPlay = kFirstPlayTile;
    litPlay.y += kPlayTileHeight + kPlayTileGap;
    return {
        {"deck group surface", {kDeckGroupBlank.CentreX(), kDeckGroupBlank.CentreY()},
         theme.deckSurface},
        {"console group surface", {kConsoleGroupBlank.CentreX(), kConsoleGroupBlank.CentreY()},
         theme.consoleSurface},
        {"lower group surface", {kLowerGroup.x + kLowerGroup.width - 20,
                                 kLowerGroup.y + kLowerGroup.height - 12}, theme.labelGrey},
        {"unlit play button face", Inside(kFirstPlayTile, 1, 3), theme.buttonFace},
        {"lit play button face", Inside(litPlay, 1, 3), theme.buttonFace},
        {"lit play button inner", Inside(litPlay, 3, 3), theme.pressedInner},
        {"unlit bottom button face", Inside(HelperTile(kBottomRow, false), 3, 3),
         theme.bottomFace},
        {"lit bottom button face", Inside(HelperTile(kBottomRow, true), 3, 3),
         theme.bottomLitFace},
        {"lit effect edit button", Inside(HelperTile(kFxEditRow, true), 3, 3), theme.fxLit},
        {"unlit effect edit button", Inside(HelperTile(kFxEditRow, false), 3, 3),
         theme.buttonFace},
    };
}

// What does not match, one line a probe; empty when all do.
std::string Mismatches(const QImage& image, const std::vector<Probe>& probes)
{
    if (image.isNull()) {
        return "no image";
    }
    std::string report;
    for (const Probe& probe : probes) {
        if (!image.valid(probe.point)) {
            report += std::string(probe.what) + ": outside the image\n";
            continue;
        }
        const LGuiColorRef seen = PixelAt(image, probe.point);
        if (!(seen == probe.colour)) {
            report += std::string(probe.what) + " at " + std::to_string(probe.point.x()) + "," +
                      std::to_string(probe.point.y()) + ": " + Describe(seen) + ", expected " +
                      Describe(probe.colour) + "\n";
        }
    }
    return report;
}

class GalleryXvfbTest : public testing::Test {
protected:
    void TearDown() override
    {
        if (_gallery > 0) {
            Stop(_gallery);
        }
    }

    // Starts the gallery with its signal off and answers its window's X id once it shows.
    std::string StartGallery()
    {
        _gallery = Spawn({ORVANE_GALLERY_PATH, "--still"}, {});
        std::string id;
        RunProgram({"timeout", "30", "xdotool", "search", "--sync", "--onlyvisible", "--name",
             std::string("^") + kTitle + "$"},
            &id);
        return id.substr(0, id.find('\n'));
    }

    // Photographs the window until every probe matches (the first paint may still be on
    // its way) or the wait is over; answers what still differs.
    std::string PhotographUntilMatching(const std::string& window,
                                        const std::vector<Probe>& probes)
    {
        const std::string shot = _folder / "shot.png";
        std::string report = "no screenshot";
        WaitFor([&] {
            if (RunProgram({"import", "-window", window, shot}) != 0) {
                return false;
            }
            report = Mismatches(QImage(QString::fromStdString(shot)), probes);
            return report.empty();
        });
        return report;
    }

    TempFolder _folder;
    pid_t _gallery = -1;
};

TEST_F(GalleryXvfbTest, WindowOnScreenShowsTheThemeColoursAtKnownPoints)
{
    const std::string window = StartGallery();
    ASSERT_FALSE(window.empty()) << "the gallery's window never showed";
    EXPECT_EQ(PhotographUntilMatching(window, ThemeProbes()), "");
}

TEST_F(GalleryXvfbTest, CustomDrawnButtonShowsTheHotFrameOnlyUnderThePointer)
{
    const std::string window = StartGallery();
    ASSERT_FALSE(window.empty());
    const DJTheme& theme = DJThemeUser::GetTheme();
    std::string origin;
    ASSERT_EQ(RunProgram({"xdotool", "getwindowgeometry", "--shell", window}, &origin), 0);
    int x = 0, y = 0;
    ASSERT_EQ(std::sscanf(origin.c_str() + origin.find("X="), "X=%d\nY=%d", &x, &y), 2);
    const QPoint frame = Inside(kCustomButton, 0, kCustomButton.height / 2);

    ASSERT_TRUE(MovePointer({x + kCustomButton.CentreX(), y + kCustomButton.CentreY()}));
    const LGuiColorRef hot = theme.buttonFrameHotPen.GetColor();
    EXPECT_EQ(PhotographUntilMatching(window, {{"hot frame", frame, hot}}), "");
    ASSERT_TRUE(MovePointer({x + kDeckGroupBlank.x, y + kDeckGroupBlank.y}));
    EXPECT_EQ(PhotographUntilMatching(window, {{"frame gone", frame, theme.bottomFrame}}), "");
}

TEST_F(GalleryXvfbTest, ScreenshotOptionRendersWithoutADisplay)
{
    const std::string shot = _folder / "gallery.png";
    const pid_t pid = Spawn({ORVANE_GALLERY_PATH, "--screenshot", shot},
                            {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"});
    ASSERT_EQ(WaitExit(pid), 0);
    const QImage image(QString::fromStdString(shot));
    ASSERT_EQ(image.size(), QSize(kWindowWidth, kWindowHeight));
    EXPECT_EQ(Mismatches(image, ThemeProbes()), "");
}

TEST_F(GalleryXvfbTest, BadArgumentsFailAndWriteNothing)
{
    const std::string missingFolder = _folder / "missing/gallery.png";
    struct Case {
        std::vector<std::string> argv;
        int exitCode;
    };
    const Case cases[] = {
        {{ORVANE_GALLERY_PATH, "--screenshot", missingFolder}, 1},
        {{ORVANE_GALLERY_PATH, "--screenshot"}, 2},
        {{ORVANE_GALLERY_PATH, "--frobnicate"}, 2},
        {{ORVANE_GALLERY_PATH, "--help"}, 0},
    };
    for (const Case& c : cases) {
        const pid_t pid = Spawn(c.argv, {"QT_QPA_PLATFORM=offscreen"});
        EXPECT_EQ(WaitExit(pid), c.exitCode) << c.argv.back();
    }
    struct stat info;
    EXPECT_NE(stat((_folder / "missing").c_str(), &info), 0) << "a folder was made";
}

// The meters' test signal runs only while the window shows, and a click on the Signal button
// stops it and silences them.
TEST(GalleryWindowXvfbTest, MetersMoveOnlyWhileTheWindowShowsAndTheSignalIsOn)
{
    GalleryWindow window(GalleryMeters::kMoving);
    window.CreateTopLevel(kTitle, kWindowWidth, kWindowHeight);
    EXPECT_FALSE(window.IsSignalRunning()) << "running before the window shows";
    window.Show();
    ASSERT_TRUE(WaitExposed(window.GetWidget()));
    EXPECT_TRUE(WaitFor([&] { return window.IsSignalRunning(); }));
    EXPECT_TRUE(WaitFor([&] { return window.GetMeter(0).GetLevel().channels == 2; }));

    window.Hide();
    EXPECT_TRUE(WaitFor([&] { return !window.IsSignalRunning(); }));
    window.Show();
    ASSERT_TRUE(WaitExposed(window.GetWidget()));
    EXPECT_TRUE(WaitFor([&] { return window.IsSignalRunning(); }));

    const QPoint button = window.GetWidget()->mapToGlobal(
        QPoint(kSignalButton.CentreX(), kSignalButton.CentreY()));
    ASSERT_TRUE(MovePointer(button));
    ASSERT_TRUE(Xdotool({"click", "1"}));
    EXPECT_TRUE(WaitFor([&] { return window.GetMeterMode() == GalleryMeters::kSilent; }));
    EXPECT_FALSE(window.IsSignalRunning());
    EXPECT_TRUE(window.GetMeter(0).GetLevel().level[0].IsSilent());
}

}  // namespace
