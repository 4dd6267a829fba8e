#include "mainwindow/MainWindowPlacement.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <ostream>
#include <string>

namespace {

constexpr int kChrome = 50;  // pixels of menu bar, status bar and frame in these cases
const MainWindowRect kScreen{0, 0, 1920, 1080};
const MainWindowRect kSmallScreen{0, 0, 800, 500};
const MainWindowRect kOffsetScreen{1920, 30, 1280, 994};

struct Case {
    const char* name;
    MainWindowSaved saved;
    MainWindowRect screen;
    MainWindowPlacement expected;
};

// Centre of kScreen for the default width: (1920 - 1056) / 2 = 432; for 936: 492.
const Case kCases[] = {
    {"nothing saved", {}, kScreen, {200, 200, 1056, 595, false}},
    {"saved width below the minimum", {"10", "100", "500", "300", ""}, kScreen, {10, 100, 936, 561, false}},
    {"saved X beyond the centre", {"1500", "100", "1056", "595", ""}, kScreen, {432, 100, 1056, 595, false}},
    {"saved X of 0", {"0", "100", "", "", ""}, kScreen, {0, 100, 1056, 595, false}},
    {"saved X below 0", {"-300", "100", "", "", ""}, kScreen, {0, 100, 1056, 595, false}},
    {"saved Y above the top", {"100", "-40", "", "", ""}, kScreen, {100, 0, 1056, 595, false}},
    {"saved Y beyond the centre", {"100", "900", "", "", ""}, kScreen, {100, (1080 - 645) / 2, 1056, 595, false}},
    {"huge values", {"99999999999", "99999999999", "99999999999", "99999999999", ""}, kScreen,
     {0, 0, 1920, 1080 - kChrome, false}},
    {"negative sizes", {"-5", "-5", "-2000", "-2000", ""}, kScreen, {0, 0, 936, 561, false}},
    {"not numbers", {"abc", "x", "wide", "tall", ""}, kScreen, {0, 0, 936, 561, false}},
    {"screen smaller than the minimum", {}, kSmallScreen, {0, 0, 800, 450, false}},
    {"second screen", {"0", "0", "", "", ""}, kOffsetScreen, {1920, 30, 1056, 595, false}},
    {"second screen, nothing saved", {}, kOffsetScreen, {2032, 204, 1056, 595, false}},
    {"maximized", {"", "", "", "", "1"}, kScreen, {200, 200, 1056, 595, true}},
    {"maximized 0", {"", "", "", "", "0"}, kScreen, {200, 200, 1056, 595, false}},
};

void PrintTo(const Case& c, std::ostream* os)
{
    *os << c.name;
}

class MainWindowPlacementTest : public testing::TestWithParam<Case> {};

TEST_P(MainWindowPlacementTest, PlacesTheWindowOnScreen)
{
    const Case& c = GetParam();
    const MainWindowPlacement got = PlaceMainWindow(c.saved, c.screen, kChrome);
    EXPECT_EQ(got.x, c.expected.x);
    EXPECT_EQ(got.y, c.expected.y);
    EXPECT_EQ(got.width, c.expected.width);
    EXPECT_EQ(got.height, c.expected.height);
    EXPECT_EQ(got.maximized, c.expected.maximized);
    // Whatever was saved, the window's top left corner is on the screen.
    EXPECT_GE(got.x, c.screen.x);
    EXPECT_GE(got.y, c.screen.y);
    EXPECT_LE(got.x + got.width, c.screen.x + c.screen.width);
    EXPECT_LE(got.y + got.height + kChrome, c.screen.y + c.screen.height);
}

INSTANTIATE_TEST_SUITE_P(Cases, MainWindowPlacementTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& info) {
                             std::string name = info.param.name;
                             for (char& ch : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) {
                                     ch = '_';
                                 }
                             }
                             return name;
                         });

TEST(MainWindowParseIntTest, ReadsLikeTheSettingsStore)
{
    const struct {
        const char* text;
        int value;
    } cases[] = {{"", 0}, {"abc", 0}, {"12abc", 12}, {" -7", -7}, {"+3", 3},
                 {"99999999999999999999", INT_MAX}, {"-99999999999999999999", INT_MIN}};
    for (const auto& c : cases) {
        EXPECT_EQ(MainWindowParseInt(c.text), c.value) << c.text;
    }
}

}  // namespace
