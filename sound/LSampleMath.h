#pragma once

#include <cstdint>

constexpr double kTwoPi = 6.283185307179586;  // radians in a turn

// 2π to nine decimals, rounded up and cut: the equaliser's and the high pass's responses are
// tuned to these exact values, so they are kept rather than the full 2π.
constexpr double kTwoPiNineDecimalsUp = static_cast<double>(static_cast<int64_t>(kTwoPi * 1e9) + 1) / 1e9;
constexpr double kTwoPiNineDecimalsCut = static_cast<double>(static_cast<int64_t>(kTwoPi * 1e9)) / 1e9;

// Double to int by truncation toward zero, held within the int range (NaN gives 0), so that a
// wild filter state never turns into undefined behaviour on the audio path.
inline int LTruncToInt(double value)
{
    if (!(value == value))
        return 0;
    if (value >= 2147483647.0)
        return 2147483647;
    if (value <= -2147483648.0)
        return -2147483647 - 1;
    return static_cast<int>(value);
}
