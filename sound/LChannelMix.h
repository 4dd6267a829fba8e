#pragma once

#include <cstdint>

// The channel arithmetic shared by the source-side and sink-side converters.

// Stereo frames to mono: the mean of left and right, summed in 64 bits so loud material cannot wrap.
inline void LMixStereoToMono(int const* stereo, int* mono, int frames)
{
    for (int i = 0; i < frames; ++i)
        mono[i] = static_cast<int>((static_cast<int64_t>(stereo[2 * i]) + stereo[2 * i + 1]) >> 1);
}

// Mono frames to stereo: the same value on both sides.
inline void LSpreadMonoToStereo(int const* mono, int* stereo, int frames)
{
    for (int i = 0; i < frames; ++i)
        stereo[2 * i] = stereo[2 * i + 1] = mono[i];
}
