#pragma once

#include "EffectSources.h"
#include "sound/MemorySource.h"

#include <algorithm>
#include <cstdint>
#include <vector>

// Reproducible white noise within +-amplitude, every channel different, so that a delay or a
// swapped channel shows.
inline std::vector<int> MakeNoise(int channels, int frames, int amplitude, uint32_t state = 12345)
{
    std::vector<int> out(static_cast<size_t>(frames) * channels);
    for (int& v : out) {
        state = state * 1664525u + 1013904223u;
        v = static_cast<int>((state >> 8) % (2u * amplitude + 1)) - amplitude;
    }
    return out;
}

// A handle to a fresh MemorySource; `memory`, when given, is left pointing at it.
inline LSoundSource MakeMemorySource(int rate, int channels, std::vector<int> samples, MemorySource** memory = nullptr)
{
    auto* m = new MemorySource(rate, static_cast<unsigned char>(channels), std::move(samples));
    if (memory)
        *memory = m;
    return LSoundSource(m);
}
