#pragma once

#include "sound/LSoundSource.h"

#include <cmath>
#include <numbers>
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

inline std::vector<int> ReadAll(LSoundSource& source, int frames)
{
    std::vector<int> out(static_cast<size_t>(frames) * source->GetChannels());
    source->Read(out.data(), frames);
    return out;
}
