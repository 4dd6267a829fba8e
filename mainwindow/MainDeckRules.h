#pragma once

#include "engine/DJDeck.h"

#include <cstdint>
#include <string>
#include <string_view>

// The decisions of loading tracks onto decks, kept apart from the window so that they can be
// checked alone. Nothing here touches a deck, a file or the screen.

// What the choice of a deck needs to know of one deck.
struct MainDeckView {
    bool hasTrack = false;
    bool loading = false;
    bool playing = false;  // starting or playing
};

// The crossfader position that splits "turned towards A" from "turned towards B" (0..100).
inline constexpr int kMainCrossfaderCentre = 50;

// The deck a double click loads: an empty deck that isn't loading (A first), else one that
// isn't playing (A first), else the one the crossfader turns down (B below the centre).
DJDeckPosition MainFindFreestDeck(const MainDeckView& a, const MainDeckView& b, int crossfader);

// The part of `path` after its last '/'.
std::string_view MainFileNameOf(std::string_view path);
// The file name of a deck's loaded file without its last extension: a deck plays the cached
// copy "<source name with extension>.wav", so this is the source's file name. "" for none.
std::string_view MainDeckSourceName(std::string_view deckPath);
// The Deck cell of a track whose file name (with extension) is `itemName`, given the source
// names of what decks A and B hold ("" for an empty deck): "A", "B", "A+B" or "".
const char* MainDeckCellText(std::string_view itemName, std::string_view sourceA, std::string_view sourceB);

// A track's time in milliseconds from its length in frames and its rate in Hz: whole seconds
// times 1000 plus the remainder's share, in integers; 0 when the rate or the length is not
// above 0, and the largest time an LSoundTime holds when the track is longer.
int MainTrackTimeMs(int lengthFrames, int rate);

// The BPM text of a beat period in frames at 44,100 Hz: "%.2f" of 2646000 / period; "" when the
// period is not above 0.
std::string MainBpmText(int beatFrequency);

// Whether (x, y) lies strictly inside the rectangle (on its border is outside).
bool MainInsideStrictly(int left, int top, int width, int height, int x, int y);

// Whether the main and headphone outputs share a channel; -1 is "no channel" and shares none.
bool MainOutputsShareChannel(int mainLeft, int mainRight, int headphoneLeft, int headphoneRight);
