#pragma once

#include <string>

// Where the main window opens, from the section "MainWindow" of the user settings and the
// screen's available geometry. A pure function so that every saved value, however absurd,
// can be tried without a screen.

constexpr int kMainWindowMinWidth = 936;      // pixels, content
constexpr int kMainWindowMinHeight = 561;     // pixels, content
constexpr int kMainWindowDefaultWidth = 1056;  // pixels, content
constexpr int kMainWindowDefaultHeight = 595;  // pixels, content
constexpr int kMainWindowDefaultX = 200;       // pixels
constexpr int kMainWindowDefaultY = 200;       // pixels

// The saved strings as read; "" means never saved.
struct MainWindowSaved {
    std::string x;
    std::string y;
    std::string width;
    std::string height;
    std::string maximized;
};

// A rectangle in screen pixels.
struct MainWindowRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

struct MainWindowPlacement {
    int x = 0;       // outer left edge, pixels
    int y = 0;       // outer top edge, pixels
    int width = 0;   // content width, pixels
    int height = 0;  // content height (without menu bar, status bar and frame), pixels
    bool maximized = false;
};

// A saved number as the settings store reads one: the leading decimal integer, 0 when there is
// none, saturated to the int range.
int MainWindowParseInt(const std::string& text);

// `available`: the screen's area for windows. `chromeHeight`: pixels the menu bar, status bar
// and frame add to the content height. The result always lies inside `available` when the
// minimum size fits there.
MainWindowPlacement PlaceMainWindow(const MainWindowSaved& saved, const MainWindowRect& available,
                                    int chromeHeight);
