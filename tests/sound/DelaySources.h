#pragma once

#include "sound/MemorySource.h"

#include <algorithm>
#include <cstdint>
#include <vector>

// `frames` frames of reproducible white noise within +-amplitude on every channel, each channel
// different, so that a delay or a swapped channel shows.
inline std::vector<int> MakeNoise(int channels, int frames, int amplitude, uint32_t seed = 12345)
{
    std::vector<int> out(static_cast<size_t>(frames) * channels);
    uint32_t state = seed;
    for (int& v : out) {
        state = state * 1664525u + 1013904223u;
        v = static_cast<int>((state >> 8) % (2u * amplitude + 1)) - amplitude;
    }
    return out;
}

// A handle to a fresh MemorySource; `memory` is left pointing at it for inspection.
inline LSoundSource MakeMemorySource(int rate, int channels, std::vector<int> samples, MemorySource** memory = nullptr)
{
    auto* m = new MemorySource(rate, static_cast<unsigned char>(channels), std::move(samples));
    if (memory)
        *memory = m;
    return LSoundSource(m);
}

// Input value `i` frames back from frame `f` of channel `c`; silence before the start.
inline double Behind(const std::vector<int>& in, int channels, int f, int c, int i)
{
    return f - i < 0 ? 0.0 : in[static_cast<size_t>(f - i) * channels + c];
}

// Reads `frames` in uneven blocks, so that state carried between calls is exercised.
inline std::vector<int> ReadInBlocks(LSoundSource& s, int frames)
{
    std::vector<int> out(static_cast<size_t>(frames) * s->GetChannels());
    int done = 0;
    for (int block = 1; done < frames; block = block * 3 + 7) {
        const int n = std::min(block, frames - done);
        s->Read(out.data() + static_cast<size_t>(done) * s->GetChannels(), n);
        done += n;
    }
    return out;
}
