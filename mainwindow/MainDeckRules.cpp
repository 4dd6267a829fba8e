#include "mainwindow/MainDeckRules.h"

#include <algorithm>
#include <climits>
#include <cstdio>

namespace {

constexpr double kFramesPerMinute = 2646000.0;  // 44,100 Hz times 60 s
constexpr int64_t kMsPerSecond = 1000;
constexpr int kNoChannel = -1;

}  // namespace

DJDeckPosition MainFindFreestDeck(const MainDeckView& a, const MainDeckView& b, int crossfader)
{
    if (!a.hasTrack && !a.loading) {
        return kDeckLeft;
    }
    if (!b.hasTrack && !b.loading) {
        return kDeckRight;
    }
    if (!a.playing) {
        return kDeckLeft;
    }
    if (!b.playing) {
        return kDeckRight;
    }
    return crossfader < kMainCrossfaderCentre ? kDeckRight : kDeckLeft;
}

std::string_view MainFileNameOf(std::string_view path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view MainDeckSourceName(std::string_view deckPath)
{
    const std::string_view name = MainFileNameOf(deckPath);
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? name : name.substr(0, dot);
}

const char* MainDeckCellText(std::string_view itemName, std::string_view sourceA, std::string_view sourceB)
{
    // An empty deck (or an empty name) matches nothing.
    const bool onA = !itemName.empty() && itemName == sourceA;
    const bool onB = !itemName.empty() && itemName == sourceB;
    if (onA && onB) {
        return "A+B";
    }
    if (onA) {
        return "A";
    }
    return onB ? "B" : "";
}

int MainTrackTimeMs(int lengthFrames, int rate)
{
    if (rate <= 0 || lengthFrames <= 0) {
        return 0;
    }
    // In 64 bits: a length near 2^31 frames at a low rate has more milliseconds than an int.
    const int64_t length = lengthFrames;
    const int64_t ms = length / rate * kMsPerSecond + (length % rate) * kMsPerSecond / rate;
    return static_cast<int>(std::min<int64_t>(ms, INT_MAX));
}

std::string MainBpmText(int beatFrequency)
{
    if (beatFrequency <= 0) {
        return "";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", kFramesPerMinute / beatFrequency);
    return text;
}

bool MainInsideStrictly(int left, int top, int width, int height, int x, int y)
{
    const int64_t right = int64_t(left) + width;
    const int64_t bottom = int64_t(top) + height;
    return x > left && x < right && y > top && y < bottom;
}

bool MainOutputsShareChannel(int mainLeft, int mainRight, int headphoneLeft, int headphoneRight)
{
    for (int main : {mainLeft, mainRight}) {
        if (main != kNoChannel && (main == headphoneLeft || main == headphoneRight)) {
            return true;
        }
    }
    return false;
}
