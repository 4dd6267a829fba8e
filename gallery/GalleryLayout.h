#pragma once

// Where the gallery puts its controls, in window pixels. The real-window tests read the same
// numbers to find controls on screen and to know which theme colour lies under a point.
namespace GalleryLayout {

constexpr int kWindowWidth = 980;   // pixels
constexpr int kWindowHeight = 660;  // pixels
constexpr const char* kTitle = "Orvane toolkit gallery";

struct Box {
    int x, y, width, height;
    constexpr int CentreX() const { return x + width / 2; }
    constexpr int CentreY() const { return y + height / 2; }
};

// Group frames: the deck group on the deck surface, the console group on the console surface.
constexpr Box kDeckGroup{8, 8, 480, 320};
constexpr Box kConsoleGroup{496, 8, 476, 320};
constexpr Box kLowerGroup{8, 336, 964, 316};
constexpr int kGroupTitleHeight = 16;  // pixels

// A corner of each group that no control covers, for colour probes.
constexpr Box kDeckGroupBlank{kDeckGroup.x + 400, kDeckGroup.y + 296, 60, 16};
constexpr Box kConsoleGroupBlank{kConsoleGroup.x + 400, kConsoleGroup.y + 296, 60, 16};

// Cool buttons along the top of the deck group.
constexpr int kCoolButtonY = kDeckGroup.y + 22;
constexpr int kCoolButtonWidth = 86;   // pixels
constexpr int kCoolButtonHeight = 22;  // pixels
constexpr Box kPlainButton{16, kCoolButtonY, kCoolButtonWidth, kCoolButtonHeight};
constexpr Box kUpDownButton{108, kCoolButtonY, kCoolButtonWidth, kCoolButtonHeight};
constexpr Box kCustomButton{200, kCoolButtonY, kCoolButtonWidth, kCoolButtonHeight};
constexpr Box kSignalButton{292, kCoolButtonY, kCoolButtonWidth, kCoolButtonHeight};
constexpr Box kStatusText{16, kCoolButtonY + 26, 464, 16};

// Image buttons of the deck (one unlit row, one lit row), tile size and first tile.
constexpr int kPlayTileWidth = 44;   // pixels
constexpr int kPlayTileHeight = 30;  // pixels
constexpr int kPlayTileGap = 3;      // pixels
constexpr int kPlayRowY = kCoolButtonY + 48;
constexpr Box kFirstPlayTile{16, kPlayRowY, kPlayTileWidth, kPlayTileHeight};

// The faders of the deck group.
constexpr Box kPitchSlider{16, kPlayRowY + 2 * (kPlayTileHeight + kPlayTileGap) + 8, 400, 26};
constexpr int kVerticalSliderY = kPitchSlider.y + kPitchSlider.height + 10;
constexpr int kVerticalSliderWidth = 26;    // pixels
constexpr int kVerticalSliderHeight = 120;  // pixels
constexpr int kVerticalSliderGap = 8;       // pixels
constexpr Box kFirstVerticalSlider{16, kVerticalSliderY, kVerticalSliderWidth,
                                   kVerticalSliderHeight};
constexpr int kVerticalSliderCount = 4;  // three labelled, one plain
constexpr Box kDBFader{160, kVerticalSliderY, 200, 14};
constexpr Box kMeterWithScale{160, kVerticalSliderY + 26, 300, 24};
constexpr Box kMeterPlain{160, kVerticalSliderY + 58, 300, 12};
constexpr Box kMeterNarrow{160, kVerticalSliderY + 78, 120, 24};

// The console group: the other theme button helpers, unlit in the left column, lit in the
// right one.
constexpr int kHelperColumnX = 508;      // unlit column
constexpr int kHelperLitColumnX = 740;   // lit column
constexpr int kHelperRowY = kConsoleGroup.y + 22;
constexpr int kHelperRowHeight = 24;     // pixels
constexpr int kHelperTileOffset = 116;   // from a column's label to its tile, pixels

// The lower group: every numbered image, then text samples and gradients.
constexpr int kImageTileWidth = 44;   // pixels
constexpr int kImageTileHeight = 48;  // pixels
constexpr int kImageColumns = 21;
constexpr Box kFirstImageTile{16, kLowerGroup.y + 22, kImageTileWidth, kImageTileHeight};
constexpr int kTileGap = 4;  // pixels between text and gradient tiles
constexpr int kTextRowY = kFirstImageTile.y + 2 * kImageTileHeight + 8;
constexpr int kTextTileWidth = 150;  // pixels
constexpr int kTextTileHeight = 50;  // pixels
constexpr int kTextColumns = 6;
constexpr int kGradientRowY = kTextRowY + 2 * (kTextTileHeight + kTileGap);
constexpr int kGradientTileWidth = 150;  // pixels
constexpr int kGradientTileHeight = 40;  // pixels

}  // namespace GalleryLayout
