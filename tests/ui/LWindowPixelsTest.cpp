// Placing an embedded window after it was made: its place in the parent, its size, and the
// layout it hears of, shown or not.
#include "support/QtTestApp.h"
#include "ui/LWindow.h"

#include <QApplication>
#include <QWidget>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

class Panel : public LEmbeddedWindow {
public:
    std::vector<std::pair<int, int>> layouts;  // (width, height) of each LayoutControls
    void LayoutControls(int /*x*/, int /*y*/, int width, int height) override
    {
        layouts.emplace_back(width, height);
    }
};

TEST(WindowPixels, PlacesAnEmbeddedWindowAndLaysItOutShownOrHidden)
{
    QtTestApp();
    struct Case {
        int x, y, width, height;
        int expectedWidth, expectedHeight;
    };
    const Case cases[] = {
        {10, 20, 300, 40, 300, 40},
        {-15, 7, 120, 90, 120, 90},
        {0, 0, -5, -1, 0, 0},
        {40000, 40000, 1, 2, 1, 2},
    };
    for (bool shown : {false, true}) {
        LWindow top;
        top.CreateTopLevel("pixels", 400, 300);
        Panel panel;
        panel.CreateEmbedded(&top, 0, 0, 50, 50);
        ASSERT_NE(panel.GetWidget(), nullptr);
        if (shown) {
            top.Show();
        }
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "shown " << shown << " x " << c.x << " width " << c.width);
            panel.layouts.clear();
            panel.SetWindowPixels(c.x, c.y, c.width, c.height);
            QApplication::processEvents();
            EXPECT_EQ(panel.GetWidget()->pos(), QPoint(c.x, c.y));
            EXPECT_EQ(panel.GetClientWidth(), c.expectedWidth);
            EXPECT_EQ(panel.GetClientHeight(), c.expectedHeight);
            ASSERT_FALSE(panel.layouts.empty()) << "no layout for the new size";
            EXPECT_EQ(panel.layouts.back(), std::make_pair(c.expectedWidth, c.expectedHeight));
        }
    }
}

TEST(WindowPixels, AWindowNotYetMadeIgnoresIt)
{
    QtTestApp();
    Panel panel;
    panel.SetWindowPixels(1, 2, 3, 4);
    EXPECT_EQ(panel.GetWidget(), nullptr);
    EXPECT_TRUE(panel.layouts.empty());
}

}  // namespace
