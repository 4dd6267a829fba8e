#pragma once

#include "sound/LSoundSource.h"

#include <memory>

class LSPHighPass : public LSoundProcessDescription {
public:
    explicit LSPHighPass(int frequencyHz) : frequency(frequencyHz) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int frequency;  // Hz, corner
};

// One-pole high pass: a low-frequency track of each channel, in 32-bit fixed point with 8
// fraction bits, is subtracted from the signal.
class LSRCHighPass : public LSoundProcessBase {
public:
    static constexpr int kWarmUpFrames = 512;  // frames replayed before the target of a Seek

    LSRCHighPass(LSoundSource& inner, int frequencyHz);
    void Read(int* buffer, int frames) override;
    // Seeks, then replays up to kWarmUpFrames frames before `sample` so that the track is
    // settled on the material there.
    void Seek(int sample) override;

private:
    int _k;                          // pole coefficient, 8 fraction bits
    std::unique_ptr<int[]> _acc;     // one accumulator a channel
    std::unique_ptr<int[]> _warmUp;  // kWarmUpFrames frames, kept so Seek does not allocate
};
