#pragma once

// Shared pieces of the console tests: settings held in memory, a controller that keeps what
// the console reported, test tracks, and the capture device.

#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"

#include "analysis/ClickTrain.h"
#include "base/LEventQueue.h"
#include "output/LSoundPlayDevice.h"
#include "sound/LWaveFile.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <numbers>
#include <string>
#include <vector>

// Settings in memory, installed for the object's life.
struct MemorySettings : DJSettingsAccess {
    MemorySettings() { DJSetSettingsAccess(this); }
    ~MemorySettings() override { DJSetSettingsAccess(nullptr); }
    std::string GetString(const char* section, const char* key, const char* def) override
    {
        auto it = values.find(std::string(section) + "/" + key);
        return it == values.end() ? def : it->second;
    }
    void SetString(const char* section, const char* key, const char* value) override
    {
        values[std::string(section) + "/" + key] = value;
    }
    void Set(const std::string& key, const std::string& value) { values["Settings/" + key] = value; }
    std::map<std::string, std::string> values;
};

struct ControllerRecord : DJConsoleNotify {
    void djcntfStop(DJDeck&) override { ++stops; }
    void djcntfPlay(DJDeck&) override { ++plays; }
    void djcntfStopRecording() override { recording = false; }
    bool djcntfIsRecording() override { return recording; }
    void djcntfShowMessage(char const* text, char const* title) override { messages.push_back(std::string(title) + "|" + text); }
    bool recording = false;
    int stops = 0, plays = 0;
    std::vector<std::string> messages;
};

// ORVANE_AUDIO_CAPTURE for the object's life.
struct Capture {
    explicit Capture(const std::string& path, bool fast = true) : path(path)
    {
        setenv("ORVANE_AUDIO_CAPTURE", (path + (fast ? ":fast" : "")).c_str(), 1);
    }
    ~Capture() { unsetenv("ORVANE_AUDIO_CAPTURE"); }
    // Interleaved stereo at framework scale.
    std::vector<int> Read() const
    {
        LSoundSource source = LWaveFile::OpenSource(path.c_str());
        std::vector<int> samples(size_t(std::max(source->GetEndSample(), 0)) * source->GetChannels());
        source->Read(samples.data(), source->GetEndSample());
        return samples;
    }
    std::string path;
};

// A sine on the chosen channels (the other stays silent), 16-bit units.
inline std::vector<int> MakeTone(double seconds, double hz, int amplitude16, bool left, bool right)
{
    const int frames = static_cast<int>(seconds * 44100);
    std::vector<int> samples(size_t(frames) * 2, 0);
    for (int f = 0; f < frames; ++f) {
        const int v = static_cast<int>(std::lround(amplitude16 * std::sin(2 * std::numbers::pi * hz * f / 44100))) * 16;
        samples[size_t(f) * 2] = left ? v : 0;
        samples[size_t(f) * 2 + 1] = right ? v : 0;
    }
    return samples;
}

// Drains the interface queue until `done` or a minute has passed.
inline bool RunUntil(const std::function<bool()>& done)
{
    return LEventQueue::ForCurrentThread()->RunUntil(done, 60000);
}

// Largest difference between neighbouring frames of one channel, from frame `from` on.
inline int LargestStep(const std::vector<int>& stereo, int channel, size_t from = 1)
{
    int largest = 0;
    for (size_t f = std::max<size_t>(from, 1); f < stereo.size() / 2; ++f)
        largest = std::max(largest, std::abs(stereo[f * 2 + channel] - stereo[(f - 1) * 2 + channel]));
    return largest;
}

inline size_t LargestStepAt(const std::vector<int>& stereo, int channel, size_t from = 1)
{
    int largest = 0;
    size_t at = 0;
    for (size_t f = std::max<size_t>(from, 1); f < stereo.size() / 2; ++f) {
        const int step = std::abs(stereo[f * 2 + channel] - stereo[(f - 1) * 2 + channel]);
        if (step > largest) {
            largest = step;
            at = f;
        }
    }
    return at;
}
