#pragma once

// Audio files made at test time by the ffmpeg program from a seeded noise signal, so that no
// encoded file is kept in the tree and every codec sees the same content.

#include "base/LRunProgram.h"
#include "sound/LSoundSource.h"

#include <string>
#include <vector>

struct MediaFixture {
    const char* extension;  // with its dot
    const char* codec;      // ffmpeg's encoder
    int rate;               // Hz of the source signal (Opus only runs at 48 kHz)
    bool exactLength;       // the container stores the length (raw ADTS and WMA don't)
};

inline const std::vector<MediaFixture>& MediaFixtures()
{
    static const std::vector<MediaFixture> fixtures = {
        {".mp3", "libmp3lame", 44100, true}, {".ogg", "libvorbis", 44100, true},
        {".m4a", "aac", 44100, true},        {".flac", "flac", 44100, true},
        {".opus", "libopus", 48000, true},   {".aac", "aac", 44100, false},
        {".wma", "wmav2", 44100, false},
    };
    return fixtures;
}

inline constexpr double kFixtureSeconds = 1.5;

inline bool HaveProgram(const char* name)
{
    const std::string command = std::string("command -v ") + name + " >/dev/null 2>&1";
    const char* const argv[] = {"sh", "-c", command.c_str(), nullptr};
    return LRunProgram(argv) == 0;
}

// The source signal as 16-bit PCM WAVE at `rate`, stereo, `seconds` long.
inline bool MakeSourceWave(const std::string& path, int rate, double seconds = kFixtureSeconds)
{
    const std::string noise = "anoisesrc=d=" + std::to_string(seconds) + ":c=pink:r=" +
                              std::to_string(rate) + ":a=0.3:s=7";
    const char* const argv[] = {"ffmpeg", "-v",  "error", "-y",       "-f", "lavfi", "-i",
                                noise.c_str(), "-ac", "2", "-c:a", "pcm_s16le", path.c_str(), nullptr};
    return LRunProgram(argv) == 0;
}

inline bool EncodeFixture(const std::string& wave, const MediaFixture& fixture, const std::string& out)
{
    const std::string format = std::string(fixture.extension) == ".aac" ? "adts" : "";
    std::vector<const char*> argv = {"ffmpeg", "-v", "error", "-y", "-i", wave.c_str(), "-c:a", fixture.codec};
    if (!format.empty()) {
        argv.push_back("-f");
        argv.push_back(format.c_str());
    }
    argv.push_back(out.c_str());
    argv.push_back(nullptr);
    return LRunProgram(argv.data()) == 0;
}

// Every frame from the source's position to its end.
inline std::vector<int> ReadAll(LSoundSource& source)
{
    const int frames = source->GetEndSample() - source->GetPositionSample();
    std::vector<int> all(size_t(std::max(frames, 0)) * source->GetChannels());
    if (frames > 0)
        source->Read(all.data(), frames);
    return all;
}
