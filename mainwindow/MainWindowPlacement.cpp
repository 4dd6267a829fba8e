#include "mainwindow/MainWindowPlacement.h"

#include <algorithm>
#include <cctype>
#include <climits>

int MainWindowParseInt(const std::string& text)
{
    size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    long long value = 0;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
        value = std::min<long long>(value * 10 + (text[i] - '0'), static_cast<long long>(INT_MAX) + 1);
    }
    value = negative ? -value : value;
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

namespace {

// A side's length: the minimum (or the whole screen when smaller); a saved value larger than
// that, limited by the screen.
int _Length(const std::string& saved, int fallback, int minimum, int available)
{
    const int start = std::min(minimum, available);
    const int wanted = saved.empty() ? fallback : MainWindowParseInt(saved);
    return wanted > start ? std::min(wanted, available) : start;
}

}  // namespace

MainWindowPlacement PlaceMainWindow(const MainWindowSaved& saved, const MainWindowRect& available,
                                    int chromeHeight)
{
    MainWindowPlacement place;
    const int availableWidth = std::max(available.width, 1);
    const int availableHeight = std::max(available.height, 1);
    chromeHeight = std::clamp(chromeHeight, 0, availableHeight);
    place.width = _Length(saved.width, kMainWindowDefaultWidth, kMainWindowMinWidth, availableWidth);
    // The whole window, chrome included, has to fit the screen's height.
    place.height = _Length(saved.height, kMainWindowDefaultHeight, kMainWindowMinHeight,
                           std::max(availableHeight - chromeHeight, 1));
    const int outerHeight = place.height + chromeHeight;

    const long long centreX = available.x + (static_cast<long long>(availableWidth) - place.width) / 2;
    if (saved.x.empty()) {
        place.x = static_cast<int>(std::min<long long>(available.x + kMainWindowDefaultX, centreX));
    } else {
        const long long x = MainWindowParseInt(saved.x);
        place.x = static_cast<int>(x <= available.x ? available.x : std::min(x, centreX));
    }

    const long long top = available.y;
    const long long centreY = top + (static_cast<long long>(availableHeight) - outerHeight) / 2;
    const long long y = saved.y.empty() ? top + kMainWindowDefaultY : MainWindowParseInt(saved.y);
    place.y = static_cast<int>(y > top ? std::max(top, std::min(y, centreY)) : top);

    place.maximized = !saved.maximized.empty() && saved.maximized != "0";
    return place;
}
