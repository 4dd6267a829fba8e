#pragma once

// The subcommands of orvane-tool. Each takes plain arguments (parsed in OrvaneTool.cpp, the
// only file that includes the argument parser) and returns the process exit code:
// 0 success, 1 failed operation, 2 bad usage.

#include "sound/LSoundSource.h"

#include <string>
#include <vector>

namespace tool {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// Prints one error line to stderr as "orvane-tool: <text>".
void PrintError(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Opens a file the way the program does, by its type.
LSoundSource OpenByType(const std::string& path);

// info FILE: rate, channels, frames, seconds, peak, error and codec as "key: value" lines.
int Info(const std::string& path);

struct ConvertOptions {
    std::string in;
    std::string out;
    std::string bits = "16";  // 8, 16, 24, 32 or float
    static constexpr int kUnset = -1;
    int rate = kUnset;        // Hz; unset: the input's
    int channels = kUnset;    // unset: the input's
};
// convert IN OUT.wav: IN, at the rate and channels asked (exact mode) or its own, into a WAVE
// file of the chosen depth.
int Convert(const ConvertOptions& options);
// settings get SECTION KEY / settings set SECTION KEY VALUE: prints the value as stored.
int SettingsGet(const std::string& section, const std::string& key);
int SettingsSet(const std::string& section, const std::string& key, const std::string& value);

// Writes `frames` frames of `source` (-1: from its position to its end) to OUT.wav of `bits`
// (as convert's --bits), through the peak limiter when the source's peak asks for it and held
// within what the file can keep; OUT appears only when complete.
int WriteWave(LSoundSource& source, const std::string& out, const std::string& bits, int frames = -1);

struct PitchOptions {
    std::string in;
    std::string out;
    double speed = 1.0;
};
// pitch IN OUT.wav --speed V: the deck's speed change, labelled at IN's rate, 16 bits.
int Pitch(const PitchOptions& options);

// deck IN.wav OUT.wav [options]: IN through the chain a deck builds with those settings on.
// Lists hold the values of one option in order; an empty list leaves that effect off.
struct DeckOptions {
    std::string in;
    std::string out;
    std::vector<int> eq;            // low, mid, high dB
    int highPass = 0;               // Hz; 0 off
    std::vector<int> reverb;        // mix percent, time ms, option
    std::vector<double> distortion; // amount, gain dB
    std::vector<int> phaser;        // a, b
    std::vector<double> flanger;    // a, b, c, d
    std::vector<int> delay;         // a, b
    double pitch = 1.0;
    std::vector<int> loop;          // cue frame, length in frames
    int start = 0;                  // frame
    int frames = -1;                // -1: to the end, or 30 s with a loop
};
int Deck(const DeckOptions& options);

// devices: the output devices, default first, one a line: index, name, channel names.
int Devices();
struct PlayOptions {
    std::string file;
    std::string device;   // empty: the default output
    double seconds = 0;   // 0: to the end
};
// play FILE: through the player on a device, a position line each second; Ctrl-C stops.
int Play(const PlayOptions& options);

}  // namespace tool
