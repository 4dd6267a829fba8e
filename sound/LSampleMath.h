#pragma once

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
