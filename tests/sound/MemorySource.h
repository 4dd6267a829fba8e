#pragma once

#include "sound/LSoundSource.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>
#include <vector>

// An in-memory stream for converter tests: silence before frame 0 and after the end, and a
// record of what it was asked.
class MemorySource : public LSoundSourceBase {
public:
    MemorySource(int rateHz, unsigned char channelCount, std::vector<int> samples, int peakValue = kPeakLimit)
        : LSoundSourceBase(rateHz, channelCount, peakValue), data(std::move(samples))
    {
    }

    void Read(int* buffer, int frames) override
    {
        reads.push_back(frames);
        const int end = Frames();
        for (int f = 0; f < frames; ++f, ++pos)
            for (int c = 0; c < channels; ++c)
                buffer[f * channels + c] = (pos >= 0 && pos < end) ? data[static_cast<size_t>(pos) * channels + c] : 0;
    }
    int GetPositionSample() const override { return pos; }
    int GetEndSample() const override { return streaming ? streamEnd : Frames(); }
    void Seek(int sample) override
    {
        seeks.push_back(sample);
        pos = sample;
    }
    bool IsStreaming() const override { return streaming; }

    int Frames() const { return static_cast<int>(data.size()) / channels; }

    std::vector<int> data;
    std::vector<int> reads;
    std::vector<int> seeks;
    int pos = 0;
    bool streaming = false;
    int streamEnd = 0;  // end reported while streaming
};

// `frames` frames of a sine of `hz` at `amplitude` on every channel.
inline std::vector<int> MakeSine(int rateHz, int channels, double hz, double amplitude, int frames)
{
    std::vector<int> out(static_cast<size_t>(frames) * channels);
    for (int f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            out[static_cast<size_t>(f) * channels + c] =
                static_cast<int>(std::lround(amplitude * std::sin(2 * std::numbers::pi * hz * f / rateHz)));
    return out;
}

// One Read of `frames` frames; the block starts out as a marker so that values a source leaves
// unwritten show.
inline std::vector<int> ReadAll(LSoundSource source, int frames)
{
    std::vector<int> out(static_cast<size_t>(frames) * source->GetChannels(), 0x5a5a5a5a);
    source->Read(out.data(), frames);
    return out;
}

// Reads `frames` frames in uneven pieces, as a player whose ring wants odd counts does, so that
// block and phase boundaries fall in the middle of a Read.
inline std::vector<int> ReadInPieces(LSoundSource s, int frames)
{
    std::vector<int> out(static_cast<size_t>(frames) * s->GetChannels());
    int done = 0;
    for (int piece = 1; done < frames; piece = piece * 7 % 1999 + 1) {
        const int n = std::min(piece, frames - done);
        s->Read(out.data() + static_cast<size_t>(done) * s->GetChannels(), n);
        done += n;
    }
    return out;
}

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

// A MemorySource behind a handle, with the raw pointer kept for looking at what it was asked.
struct HeldMemory {
    LSoundSource handle;
    MemorySource* memory = nullptr;
};

inline HeldMemory MakeMemory(std::vector<int> samples, unsigned char channels = 2, int rateHz = 44100, int peak = kPeakLimit)
{
    auto* memory = new MemorySource(rateHz, channels, std::move(samples), peak);
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


// `desc` over a fresh MemorySource.
inline LSoundSource Open(const LSoundProcessDescription& desc, std::vector<int> samples, int channels = 2, int rateHz = 44100)
{
    LSoundSource s = MakeMemory(std::move(samples), static_cast<unsigned char>(channels), rateHz).handle;
    return desc.OpenSource(s);
}
