#include "ui/LUpdateRequests.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Rect = LUpdateRequests::Rect;

struct MergeCase {
    const char* name;
    std::vector<Rect> areas;  // {0,0,0,0} stands for a whole-control request
    bool whole;
    std::vector<Rect> expected;
};

bool _IsWholeMarker(const Rect& r)
{
    return r == Rect{0, 0, 0, 0};
}

}  // namespace

TEST(UpdateRequests, MergeRule)
{
    const Rect kWhole{0, 0, 0, 0};
    const MergeCase cases[] = {
        {"whole replaces whole", {kWhole, kWhole}, true, {}},
        {"whole replaces areas", {{1, 1, 5, 5}, {50, 50, 5, 5}, kWhole}, true, {}},
        {"areas after whole stay whole", {kWhole, {1, 1, 5, 5}}, true, {}},
        {"overlapping merge", {{0, 0, 10, 10}, {5, 5, 10, 10}}, false, {{0, 0, 15, 15}}},
        {"touching merge", {{0, 0, 10, 10}, {10, 0, 10, 10}}, false, {{0, 0, 20, 10}}},
        {"one pixel apart merge", {{0, 0, 10, 10}, {11, 0, 10, 10}}, false, {{0, 0, 21, 10}}},
        {"diagonal within a pixel", {{0, 0, 10, 10}, {11, 11, 4, 4}}, false, {{0, 0, 15, 15}}},
        {"two pixels apart stay two", {{0, 0, 10, 10}, {12, 0, 10, 10}}, false,
         {{0, 0, 10, 10}, {12, 0, 10, 10}}},
        {"far areas stay two", {{0, 0, 5, 5}, {100, 100, 5, 5}}, false,
         {{0, 0, 5, 5}, {100, 100, 5, 5}}},
        {"contained area vanishes", {{0, 0, 50, 50}, {10, 10, 5, 5}}, false, {{0, 0, 50, 50}}},
        // A bridge between two far areas takes both, and the union reaches a third.
        {"chain", {{0, 0, 10, 10}, {30, 0, 10, 10}, {0, 30, 50, 5}, {5, 5, 30, 4}}, false,
         {{0, 30, 50, 5}, {0, 0, 40, 10}}},
        {"union absorbs what the new area alone did not reach",
         {{36, 20, 5, 5}, {40, 0, 5, 5}, {0, 0, 37, 21}}, false, {{0, 0, 45, 25}}},
        {"empty areas are ignored", {{5, 5, 0, 10}, {5, 5, 10, -1}}, false, {}},
        // Absurd areas are bounded rather than overflowing when merged.
        {"huge areas", {{2147483600, 0, 2147483647, 10}, {16777216, 0, 5, 5}}, false,
         {{16777216, 0, 16777216, 10}}},
    };
    for (const MergeCase& c : cases) {
        LUpdateRequests requests;
        for (const Rect& r : c.areas) {
            if (_IsWholeMarker(r)) {
                requests.AddWhole();
            } else {
                requests.AddArea(r);
            }
        }
        EXPECT_EQ(requests.IsWhole(), c.whole) << c.name;
        EXPECT_EQ(requests.GetAreas(), c.expected) << c.name;
    }
}

// Only the request that finds the set empty answers true: that caller posts the one event.
TEST(UpdateRequests, OnlyTheFirstRequestPosts)
{
    LUpdateRequests requests;
    EXPECT_FALSE(requests.AddArea({0, 0, 0, 5}));  // empty: nothing to post
    EXPECT_TRUE(requests.IsEmpty());
    EXPECT_TRUE(requests.AddArea({0, 0, 5, 5}));
    EXPECT_FALSE(requests.AddArea({100, 0, 5, 5}));
    EXPECT_FALSE(requests.AddWhole());
    EXPECT_FALSE(requests.AddArea({0, 0, 5, 5}));
    requests.Clear();
    EXPECT_TRUE(requests.IsEmpty());
    EXPECT_TRUE(requests.AddWhole());
}

// The throttle on a fake clock: one delivery per 16 ms, the request inside the window held for
// its end, never lost, across the wrap of the 32-bit millisecond clock too.
TEST(UpdateThrottle, OneRepaintPer16MsAndTheLastRequestIsKept)
{
    using A = LUpdateThrottle::Action;
    struct Step {
        unsigned int now;
        A expected;
    };
    for (unsigned int start : {0u, 1000u, 0xFFFFFFF8u}) {
        LUpdateThrottle throttle;
        const Step steps[] = {
            {start, A::kNow},           {start + 1, A::kLater},
            {start + 5, A::kAlreadyHeld}, {start + 15, A::kAlreadyHeld},
        };
        for (const Step& s : steps) {
            EXPECT_EQ(throttle.Request(s.now), s.expected) << start << " at +" << s.now - start;
        }
        EXPECT_EQ(throttle.DueAtMs(), start + 16);
        throttle.Delivered(start + 16);
        // The delivery opened a new window.
        EXPECT_EQ(throttle.Request(start + 20), A::kLater);
        throttle.Delivered(start + 32);
        EXPECT_EQ(throttle.Request(start + 48), A::kNow);
        EXPECT_EQ(throttle.Request(start + 100), A::kNow);
    }
}

// A stream of requests every millisecond yields at most 63 deliveries in its first second, and
// the last request of the stream is delivered after it ends.
TEST(UpdateThrottle, SteadyStreamStaysWithinSixtyThreeASecond)
{
    LUpdateThrottle throttle;
    std::vector<unsigned int> deliveries;
    bool held = false;
    for (unsigned int now = 0; now < 1000; ++now) {
        if (held && now == throttle.DueAtMs()) {
            throttle.Delivered(now);
            held = false;
            deliveries.push_back(now);
        }
        switch (throttle.Request(now)) {
        case LUpdateThrottle::Action::kNow:
            deliveries.push_back(now);
            break;
        case LUpdateThrottle::Action::kLater:
            held = true;
            break;
        case LUpdateThrottle::Action::kAlreadyHeld:
            break;
        }
    }
    EXPECT_LE(deliveries.size(), 63u);
    EXPECT_GE(deliveries.size(), 60u);
    for (size_t i = 1; i < deliveries.size(); ++i) {
        EXPECT_GE(deliveries[i] - deliveries[i - 1], LUpdateThrottle::kIntervalMs);
    }
    ASSERT_TRUE(held);  // the stream's last request waits for its window's end
    EXPECT_GE(throttle.DueAtMs(), 999u);
}
