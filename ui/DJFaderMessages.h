#pragma once

// Inter-window messages the faders and meters send to their parent window; data1 is always
// the sending control's id.
enum class DJFaderMessage : int {
    kPitchChanged = 1,   // DJPitchSlider moved by the user
    kSliderChanged = 2,  // DJVerticalSlider moved by the user
    kContextMenu = 4,    // right button pressed on a fader
    kLevelChanged = 7,   // LDBEditCustom's level changed
};
