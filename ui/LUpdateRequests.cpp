#include "ui/LUpdateRequests.h"

#include <algorithm>

namespace {

// Pixels between two spans on one axis; negative when they overlap.
int _Gap(int a, int aLength, int b, int bLength)
{
    return std::max(b - (a + aLength), a - (b + bLength));
}

bool _Near(const LUpdateRequests::Rect& a, const LUpdateRequests::Rect& b)
{
    constexpr int kMergeGapPixels = 1;
    return _Gap(a.x, a.width, b.x, b.width) <= kMergeGapPixels &&
           _Gap(a.y, a.height, b.y, b.height) <= kMergeGapPixels;
}

LUpdateRequests::Rect _Union(const LUpdateRequests::Rect& a, const LUpdateRequests::Rect& b)
{
    const int left = std::min(a.x, b.x), top = std::min(a.y, b.y);
    const int right = std::max(a.x + a.width, b.x + b.width);
    const int bottom = std::max(a.y + a.height, b.y + b.height);
    return {left, top, right - left, bottom - top};
}

// Keeps coordinates far from the int limits so sums of position and size cannot overflow; no
// screen is near these sizes.
LUpdateRequests::Rect _Bounded(const LUpdateRequests::Rect& area)
{
    constexpr int kLimitPixels = 1 << 24;
    const int left = std::clamp(area.x, -kLimitPixels, kLimitPixels);
    const int top = std::clamp(area.y, -kLimitPixels, kLimitPixels);
    return {left, top, std::min(area.width, kLimitPixels), std::min(area.height, kLimitPixels)};
}

}  // namespace

bool LUpdateRequests::AddWhole()
{
    const bool wasEmpty = IsEmpty();
    _whole = true;
    _areas.clear();
    return wasEmpty;
}

bool LUpdateRequests::AddArea(const Rect& area)
{
    const bool wasEmpty = IsEmpty();
    if (_whole || area.width <= 0 || area.height <= 0) {
        return wasEmpty && !IsEmpty();
    }
    Rect merged = _Bounded(area);
    // A union can reach areas the new one alone did not, so merge until nothing is near.
    for (bool changed = true; changed;) {
        changed = false;
        for (auto it = _areas.begin(); it != _areas.end(); ++it) {
            if (_Near(merged, *it)) {
                merged = _Union(merged, *it);
                _areas.erase(it);
                changed = true;
                break;
            }
        }
    }
    _areas.push_back(merged);
    return wasEmpty;
}

void LUpdateRequests::Clear()
{
    _whole = false;
    _areas.clear();
}

LUpdateThrottle::Action LUpdateThrottle::Request(unsigned int nowMs)
{
    if (_held) {
        return Action::kAlreadyHeld;
    }
    if (!_started || nowMs - _lastMs >= kIntervalMs) {
        _started = true;
        _lastMs = nowMs;
        return Action::kNow;
    }
    _held = true;
    return Action::kLater;
}

void LUpdateThrottle::Delivered(unsigned int nowMs)
{
    _held = false;
    _lastMs = nowMs;
}
