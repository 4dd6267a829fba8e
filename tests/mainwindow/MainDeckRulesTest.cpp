#include "mainwindow/MainDeckRules.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

constexpr MainDeckView kEmpty{false, false, false};
constexpr MainDeckView kLoading{false, true, false};
constexpr MainDeckView kStopped{true, false, false};
constexpr MainDeckView kPlaying{true, false, true};

TEST(MainDeckRules, FreestDeckPrefersEmptyThenStoppedThenTheOneTurnedDown)
{
    struct Case {
        MainDeckView a, b;
        int crossfader;
        DJDeckPosition expected;
    } cases[] = {
        {kEmpty, kEmpty, 50, kDeckLeft},
        {kPlaying, kEmpty, 50, kDeckRight},
        {kLoading, kEmpty, 50, kDeckRight},      // a loading deck is not free
        {kLoading, kLoading, 50, kDeckLeft},     // neither empty; A is not playing
        {kStopped, kEmpty, 0, kDeckRight},       // empty beats stopped
        {kStopped, kStopped, 100, kDeckLeft},
        {kPlaying, kStopped, 50, kDeckRight},
        {kStopped, kPlaying, 50, kDeckLeft},
        {kPlaying, kLoading, 50, kDeckRight},    // loading and not playing
        {kPlaying, kPlaying, 50, kDeckLeft},     // centre: A is turned down as much as B
        {kPlaying, kPlaying, 49, kDeckRight},
        {kPlaying, kPlaying, 0, kDeckRight},
        {kPlaying, kPlaying, 51, kDeckLeft},
        {kPlaying, kPlaying, 100, kDeckLeft},
        {kPlaying, kPlaying, -7, kDeckRight},    // out of range still decides
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainFindFreestDeck(c.a, c.b, c.crossfader), c.expected)
            << c.a.hasTrack << c.a.loading << c.a.playing << " " << c.b.hasTrack << c.b.loading << c.b.playing
            << " at " << c.crossfader;
    }
}

TEST(MainDeckRules, DeckCellComparesTheTrackNameWithTheCachedNameLessItsExtension)
{
    struct Case {
        std::string itemPath, deckA, deckB;
        std::string expected;
    } cases[] = {
        {"/music/song.mp3", "/cache/song.mp3.wav", "", "A"},
        {"/music/song.mp3", "", "/cache/song.mp3.wav", "B"},
        {"/music/song.mp3", "/cache/song.mp3.wav", "/tmp/song.mp3.wav", "A+B"},
        {"/music/song.mp3", "/cache/song.wav", "", ""},          // not the same source
        {"/music/song.mp3", "/cache/song.mp3", "", ""},          // a deck file is always name + ".wav"
        {"/music/song", "/cache/song.wav", "", "A"},             // a source without extension
        {"/music/Song.mp3", "/cache/song.mp3.wav", "", ""},      // names differ in case
        {"/music/a.b.c.flac", "", "/c/a.b.c.flac.wav", "B"},
        {"/music/", "/cache/.wav", "", ""},                      // empty names match nothing
        {"/music/x.mp3", "", "", ""},
        {"relative.mp3", "relative.mp3.wav", "", "A"},           // no folder at all
        {"/dir.with.dot/track", "/cache/track.wav", "", "A"},    // a dot in the folder is no extension
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainDeckCellText(MainFileNameOf(c.itemPath), MainDeckSourceName(c.deckA),
                                   MainDeckSourceName(c.deckB)),
                  c.expected)
            << c.itemPath << " | " << c.deckA << " | " << c.deckB;
    }
}

TEST(MainDeckRules, TrackTimeIsWholeSecondsPlusTheRemaindersShare)
{
    struct Case {
        int length, rate, expected;
    } cases[] = {
        {0, 44100, 0},
        {44100, 44100, 1000},
        {66150, 44100, 1500},
        {44099, 44100, 999},          // the remainder's share truncates
        {1, 44100, 0},
        {13230000, 44100, 300000},    // five minutes
        {12345, 0, 0},                // no rate
        {12345, -44100, 0},
        {-5, 44100, 0},               // a damaged length
        {INT_MAX, 44100, 48695774},   // the longest length at CD rate
        {INT_MAX, 1, INT_MAX},        // more milliseconds than an int holds
        {INT_MAX, 1000, INT_MAX},     // just fits
        {7, 3, 2333},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainTrackTimeMs(c.length, c.rate), c.expected) << c.length << " / " << c.rate;
    }
}

TEST(MainDeckRules, BpmTextOfABeatPeriod)
{
    struct Case {
        int period;
        std::string expected;
    } cases[] = {
        {22050, "120.00"}, {20000, "132.30"}, {1, "2646000.00"}, {30000, "88.20"}, {0, ""}, {-22050, ""},
        {INT_MAX, "0.00"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainBpmText(c.period), c.expected) << c.period;
    }
}

TEST(MainDeckRules, InsideIsStrictlyWithinTheBorder)
{
    struct Case {
        int x, y;
        bool inside;
    } cases[] = {
        {10, 20, false}, {11, 21, true}, {109, 69, true}, {110, 50, false}, {50, 70, false},
        {9, 50, false},  {50, 19, false}, {-1000, -1000, false}, {INT_MAX, INT_MAX, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainInsideStrictly(10, 20, 100, 50, c.x, c.y), c.inside) << c.x << "," << c.y;
    }
    EXPECT_FALSE(MainInsideStrictly(0, 0, 0, 0, 0, 0));
    EXPECT_TRUE(MainInsideStrictly(INT_MAX - 10, 0, 100, 10, INT_MAX - 1, 5));  // the edge past INT_MAX
}

TEST(MainDeckRules, OutputsShareAChannelUnlessOneSideHasNone)
{
    struct Case {
        int mainLeft, mainRight, phonesLeft, phonesRight;
        bool shared;
    } cases[] = {
        {0, 1, 0, 1, true},  // nothing stored: both on the first pair
        {0, 1, 2, 3, false},
        {0, 1, 1, 2, true},
        {2, 3, 4, 0, false},
        {2, 3, 4, 2, true},
        {0, 1, -1, -1, false},  // no headphones
        {-1, -1, -1, -1, false},
        {-1, 1, 1, -1, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainOutputsShareChannel(c.mainLeft, c.mainRight, c.phonesLeft, c.phonesRight), c.shared)
            << c.mainLeft << c.mainRight << c.phonesLeft << c.phonesRight;
    }
}

}  // namespace
