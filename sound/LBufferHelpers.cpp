#include "sound/LBufferHelpers.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace {

// Squares are split as they are summed: the high accumulator takes square >> 13, the low one
// square & 0x1fff, so neither can overflow on any block a Read can deliver.
struct MeanSquareSums {
    uint64_t high = 0;
    uint64_t low = 0;

    void Add(int x)
    {
        const int64_t scaled = x >> 5;
        const uint64_t square = static_cast<uint64_t>(scaled * scaled);
        high += square >> 13;
        low += square & 0x1fff;
    }

    // Saturates at the largest 32-bit value: from 4 times full scale up a block reads as the
    // loudest level the meter shows, never as a wrapped quiet one.
    uint32_t Mean(uint64_t count) const
    {
        if (count == 0)
            return 0;
        const uint64_t total = high + (low >> 13);
        const uint64_t mean = ((total / count) << 13) + (((total % count) << 13) / count);
        return static_cast<uint32_t>(std::min<uint64_t>(mean, UINT32_MAX));
    }
};

int64_t _ValueCount(int frames, unsigned char channels)
{
    return frames > 0 ? static_cast<int64_t>(frames) * channels : 0;
}

}  // namespace

int GetBufferPeak(int const* buffer, int frames, unsigned char channels)
{
    const int64_t count = _ValueCount(frames, channels);
    if (count == 0)
        return 0;
    int high = buffer[0];
    int low = buffer[0];
    for (int64_t i = 1; i < count; ++i) {
        high = std::max(high, buffer[i]);
        low = std::min(low, buffer[i]);
    }
    // The most negative int has no positive counterpart; it reads as the largest int.
    const int64_t negatedLow = -static_cast<int64_t>(low);
    return static_cast<int>(std::min<int64_t>(std::max<int64_t>(high, negatedLow), 0x7fffffff));
}

uint32_t GetBufferMeanSquare(int const* buffer, int frames, unsigned char channels)
{
    const int64_t count = _ValueCount(frames, channels);
    MeanSquareSums sums;
    for (int64_t i = 0; i < count; ++i)
        sums.Add(buffer[i]);
    return sums.Mean(static_cast<uint64_t>(count));
}

uint32_t GetBufferMeanSquareChan(unsigned char channel, int const* buffer, int frames,
                                 unsigned char channels)
{
    if (channels <= 1)
        return GetBufferMeanSquare(buffer, frames, 1);
    if (channel >= channels || frames <= 0)
        return 0;
    MeanSquareSums sums;
    int const* value = buffer + channel;
    for (int i = 0; i < frames; ++i, value += channels)
        sums.Add(*value);
    return sums.Mean(static_cast<uint64_t>(frames));
}

void GainAudioBufferQuick(int gain, int* buffer, int count)
{
    for (int i = 0; i < count; ++i)
        buffer[i] = static_cast<int>((static_cast<int64_t>(gain) * buffer[i]) >> 9);
}
