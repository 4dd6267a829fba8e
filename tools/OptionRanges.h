#pragma once

// The ranges of orvane-tool's numeric options. The commands check their values against them
// and the help describes them from the same tables.

#include "sound/LWaveFile.h"

#include <span>
#include <string>

namespace tool {

struct OptionRange {
    const char* name;     // as the user writes it: "--reverb MIX"
    const char* meaning;  // what the value is, with its unit
    double low;
    double high;
    bool whole = false;   // an integral value is due
};

// True when `value` is finite and within `range`; otherwise prints the range and the refusal.
bool CheckRange(const OptionRange& range, double value);
// "MIX wet mix in percent, 1 to 99; MS ..." for an option's help.
std::string DescribeRanges(std::span<const OptionRange> ranges);

// convert: the reader's own limits, so that every file written opens again.
inline constexpr OptionRange kRateRange{"--rate", "in Hz", 1, LWaveFile::kMaxRate, true};
inline constexpr OptionRange kChannelsRange{"--channels", "count", 1, LWaveFile::kMaxChannels, true};

// pitch: from the deck's floor of 0.1 up to 10; beyond that the rate converter's first stage
// keeps almost no band below its cut (2/speed - 0.047 of the source's rate).
inline constexpr OptionRange kSpeedRange{"--speed", "ratio, 1.0 normal", 0.1, 10.0};

// play: a positive time, at most about 11 days.
inline constexpr OptionRange kSecondsRange{"--seconds", "time to play in seconds", 0.001, 1e6};

// deck: the ranges of the deck panel's controls, what a deck is ever given.
inline constexpr OptionRange kEqRange{"--eq", "gain in dB", -12, 12, true};
inline constexpr OptionRange kHighPassRange{"--highpass", "corner in Hz", 2, 20402, true};
inline constexpr OptionRange kReverbRanges[] = {
    {"--reverb MIX", "wet mix in percent", 1, 99, true},
    {"--reverb MS", "room time in ms", 0, 4000, true},
    {"--reverb OPTION", "damping", 1, 100, true},
};
inline constexpr OptionRange kDistortionRanges[] = {
    {"--distortion AMOUNT", "tone", 0, 1},
    {"--distortion DB", "level in dB", -100, 12, true},
};
inline constexpr OptionRange kPhaserRanges[] = {
    {"--phaser A", "delay in ms", 0, 10, true},
    {"--phaser B", "mix in percent", 0, 100, true},
};
inline constexpr OptionRange kFlangerRanges[] = {
    {"--flanger A", "delay in ms", 0, 10, true},
    {"--flanger B", "sweep rate in Hz", 0, 50},
    {"--flanger C", "depth in percent", 0, 100, true},
    {"--flanger D", "mix in percent", 0, 100, true},
};
inline constexpr OptionRange kDelayRanges[] = {
    {"--delay A", "feedback in percent", 1, 99, true},
    {"--delay B", "time in ms", 0, 1000, true},
};
inline constexpr OptionRange kPitchRange{"--pitch", "speed ratio, 1.0 normal", 0.5, 1.5};

}  // namespace tool
