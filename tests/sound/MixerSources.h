#pragma once

#include "MemorySource.h"

#include <utility>
#include <vector>

// A MemorySource behind a handle, with the raw pointer kept for looking at what it was asked.
struct HeldMemory {
    LSoundSource handle;
    MemorySource* memory = nullptr;
};

inline HeldMemory MakeMemory(std::vector<int> samples, unsigned char channels = 2, int rateHz = 44100)
{
    auto* memory = new MemorySource(rateHz, channels, std::move(samples));
    return {LSoundSource(memory), memory};
}

constexpr int kPairOffset = 1000000;  // added to every further channel pair of a Ramp

// `frames` frames counting up from `first` by one a frame, negated on odd channels and
// raised by kPairOffset for each further pair, so that each frame and channel can be told apart.
inline std::vector<int> Ramp(int frames, unsigned char channels = 2, int first = 1)
{
    std::vector<int> out(static_cast<size_t>(frames) * channels);
    for (int f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            out[static_cast<size_t>(f) * channels + c] = (c % 2 ? -1 : 1) * (first + f + c / 2 * kPairOffset);
    return out;
}

// `frames` frames holding `value` on every channel.
inline std::vector<int> Constant(int frames, int value, unsigned char channels = 2)
{
    return std::vector<int>(static_cast<size_t>(frames) * channels, value);
}

// Channel `channel` of an interleaved block.
inline std::vector<int> Channel(const std::vector<int>& block, unsigned char channels, int channel)
{
    std::vector<int> out;
    for (size_t i = static_cast<size_t>(channel); i < block.size(); i += channels)
        out.push_back(block[i]);
    return out;
}
