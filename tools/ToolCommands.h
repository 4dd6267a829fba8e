#pragma once

// The subcommands of orvane-tool. Each takes plain arguments (parsed in OrvaneTool.cpp, the
// only file that includes the argument parser), checks every number against its range, and
// returns the process exit code.

#include "sound/LSoundSource.h"
#include "tools/OptionRanges.h"

#include <optional>
#include <string>
#include <vector>

namespace tool {

enum ToolExit : int {
    kExitOk = 0,
    kExitFailed = 1,  // the operation failed: unreadable file, error state, write failure
    kExitUsage = 2,   // bad arguments
};

// Prints one error line to stderr as "orvane-tool: <text>".
void PrintError(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Opens a file the way the program does, by its type.
LSoundSource OpenByType(const std::string& path);
// Connects the files layer to the user settings and prints its alerts on stderr.
void InstallFilesHooks();
// The file a deck loads for `path`: a WAVE file itself, any other type its cached WAVE file,
// found or made as a deck load does. False, with one line on stderr, when it cannot be made.
bool DeckFile(const std::string& path, std::string& deckFile);
// cache FILE: finds or makes the cached WAVE file and prints its path.
int Cache(const std::string& path);
// formats: the extensions opened, one a line, then each outside decoder and where it was found.
int Formats();
// decode IN OUT.wav: IN at its own rate and channels as 32-bit PCM, no limiter, clamped.
int Decode(const std::string& in, const std::string& out);

// info FILE: rate, channels, frames, seconds, peak, error and codec as "key: value" lines.
int Info(const std::string& path);

struct ConvertOptions {
    std::string in;
    std::string out;
    std::string bits = "16";      // 8, 16, 24 or 32
    std::optional<int> rate;      // Hz; unset: the input's
    std::optional<int> channels;  // unset: the input's
};
// convert IN OUT.wav: IN, at the rate and channels asked (exact mode) or its own, into a WAVE
// file of the chosen depth.
int Convert(const ConvertOptions& options);
// settings get SECTION KEY / settings set SECTION KEY VALUE: prints the value as stored.
int SettingsGet(const std::string& section, const std::string& key);
int SettingsSet(const std::string& section, const std::string& key, const std::string& value);

// The integer depth of a file OUT.wav that WriteWave makes.
enum class WaveBits : unsigned short { k8 = 8, k16 = 16, k24 = 24, k32 = 32 };
// Frames of `channels` at `bits` that a WAVE file holds while its sizes still read back.
int MaxWaveFrames(int channels, WaveBits bits);
// Writes `frames` frames of `source` (-1: from its position to its end) to OUT.wav, through
// the peak limiter when the source's peak asks for it and always held within what the file
// keeps. OUT appears only when complete; a source in an error state, a length the file
// cannot hold, a failed write or an interruption (Ctrl-C, SIGTERM) leave no file and give 1.
int WriteWave(LSoundSource& source, const std::string& out, WaveBits bits, int frames = -1);

struct PitchOptions {
    std::string in;
    std::string out;
    double speed = 1.0;
};
// pitch IN OUT.wav --speed V: the deck's speed change, labelled at IN's rate, 16 bits.
int Pitch(const PitchOptions& options);

// deck IN.wav OUT.wav [options]: IN through the chain a deck builds with those settings on.
// Lists hold the values of one option in order; an empty list leaves that setting off.
struct DeckOptions {
    std::string in;
    std::string out;
    std::vector<int> eq;            // low, mid, high dB
    std::optional<int> highPass;    // corner Hz
    std::vector<int> reverb;        // mix percent, time ms, damping
    std::vector<double> distortion; // amount, gain dB
    std::vector<int> phaser;        // delay ms, mix percent
    std::vector<double> flanger;    // delay ms, sweep rate Hz, depth percent, mix percent
    std::vector<int> delay;         // feedback percent, time ms
    double pitch = 1.0;
    std::vector<int> loop;          // cue frame, length in frames
    int start = 0;                  // frame
    std::optional<int> frames;      // unset: to the end, or 30 s with a loop
};
int Deck(const DeckOptions& options);

// devices: the output devices, default first, one a line: index, name, channel names.
int Devices();
struct PlayOptions {
    std::string file;
    std::string device;   // empty: the default output
    std::optional<double> seconds;  // unset: to the end
};
// play FILE: through the player on a device, a position line each second; Ctrl-C stops.
int Play(const PlayOptions& options);

// bpm FILE...: beat detection as a deck load runs it, one line a file:
// path<TAB>bpm<TAB>period<TAB>offset. Files other than WAVE go through the cache first.
int Bpm(const std::vector<std::string>& files);

inline constexpr OptionRange kMixAtRange{"--at", "start of B in seconds of A", 0, 1e6};
inline constexpr OptionRange kMixFadeRange{"--fade", "crossfade in seconds", 0, 3600};
inline constexpr OptionRange kMixLengthRange{"--length", "length of the mix in seconds", 0.001, 1e6};
struct MixOptions {
    std::string a;
    std::string b;
    std::string out;
    std::optional<double> at;      // seconds of A; unset: A's length less the fade
    double fade = 10.0;            // seconds
    bool sync = false;
    std::optional<double> length;  // seconds; unset: until B ends
};
// mix A B -o OUT.wav: a scripted session through the console on the capture device, recorded
// by the console's recording path. Files other than WAVE go through the cache first.
int Mix(const MixOptions& options);

// tags FILE: the tags as the library reads them, "KEY: value" lines.
int Tags(const std::string& path);
// library list / add PATH... / export OUT: the user's library.xml as the program keeps it.
int LibraryList();
int LibraryAdd(const std::vector<std::string>& paths);
int LibraryExport(const std::string& out);

}  // namespace tool
