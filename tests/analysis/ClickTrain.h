#pragma once

// Test signals written as WAVE files at test time: click trains at a given tempo, silence.

#include "sound/LWaveFile.h"

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

struct ClickTrain {
    double bpm = 120.0;
    double seconds = 30.0;
    int firstClickFrame = 0;
    int rate = 44100;
    int amplitude16 = 20000;  // 16-bit units
};

// Frame of each beat of a click train, the exact beat spacing rounded.
inline int ClickFrame(const ClickTrain& train, int beat)
{
    return train.firstClickFrame + static_cast<int>(std::lround(beat * 60.0 * train.rate / train.bpm));
}

// Stereo framework samples: a 10 ms decaying 1 kHz burst at each beat, silence between.
inline std::vector<int> MakeClickTrain(const ClickTrain& train)
{
    const int frames = static_cast<int>(train.seconds * train.rate);
    const int clickFrames = train.rate / 100;
    std::vector<int> samples(static_cast<size_t>(frames) * 2, 0);
    for (int beat = 0;; ++beat) {
        const int at = ClickFrame(train, beat);
        if (at >= frames)
            break;
        for (int f = 0; f < clickFrames && at + f < frames; ++f) {
            const double decay = 1.0 - static_cast<double>(f) / clickFrames;
            const double v = train.amplitude16 * decay * std::sin(2 * std::numbers::pi * 1000.0 * f / train.rate);
            samples[size_t(at + f) * 2] = samples[size_t(at + f) * 2 + 1] = static_cast<int>(std::lround(v)) * 16;
        }
    }
    return samples;
}

// Writes interleaved stereo framework samples as a 16-bit WAVE file.
inline bool WriteStereoWave(const std::string& path, const std::vector<int>& samples, int rate = 44100)
{
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), rate, 2, 16, 0);
    sink->Write(samples.data(), static_cast<int>(samples.size() / 2));
    const bool ok = (sink->GetError() & kSinkErrorFlag) == 0;
    sink.Close();
    return ok;
}
