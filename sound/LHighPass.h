#pragma once

#include "sound/LSoundSource.h"

#include <memory>

// Pole coefficient of the one-pole high pass at `frequencyHz`, 8 fraction bits (0 to 255).
int LHighPassCoefficient(int frequencyHz, int rateHz);

// One-pole high pass: a low-frequency track of each channel, in 32-bit fixed point with 8
// fraction bits, is subtracted from the signal.
struct LHighPassKernel {
    static constexpr int kMaxChannels = 256;

    int k = 0;                       // LHighPassCoefficient
    int acc[kMaxChannels] = {};      // the track of each channel, 8 fraction bits

    // Filters `frames` interleaved frames in place.
    void Process(int* buffer, int frames, int channels);
};

class LSPHighPass : public LSoundProcessDescription {
public:
    explicit LSPHighPass(int frequencyHz) : frequency(frequencyHz) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int frequency;  // Hz, corner
};

class LSRCHighPass : public LSoundProcessBase {
public:
    static constexpr int kWarmUpFrames = 512;  // frames replayed before the target of a Seek

    LSRCHighPass(LSoundSource& inner, int frequencyHz);
    void Read(int* buffer, int frames) override;
    // Seeks, then replays up to kWarmUpFrames frames before `sample` so that the track is
    // settled on the material there.
    void Seek(int sample) override;

private:
    LHighPassKernel _kernel;
    std::unique_ptr<int[]> _warmUp;  // kWarmUpFrames frames, kept so Seek does not allocate
};
