#include "tools/ToolCommands.h"

#include "base/LEventQueue.h"
#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <unistd.h>

namespace tool {

namespace {

constexpr unsigned int kSessionWaitMs = 24 * 3600 * 1000;
constexpr int kLastStartMarginMs = 100;  // B starts before A ends, or the recording would close
constexpr int kMixChannels = 2;
constexpr int kMixBits = 16;
constexpr int kNoSyncPeriod = 22050;     // frames: a grid that spares the detection when no sync is asked

// The mix's own settings: the user's device, channel map, second device and recording folder
// must not shape a file written to a path named on the command line.
class MixSettings : public DJSettingsAccess {
public:
    MixSettings(const std::string& folder, const std::string& name)
    {
        _values["DefaultRecordFolder"] = folder;
        _values["RecordingFileName"] = name;
        DJSetSettingsAccess(this);
    }
    ~MixSettings() override { DJSetSettingsAccess(nullptr); }
    std::string GetString(const char* section, const char* key, const char* def) override
    {
        auto it = _values.find(key);
        return std::string(section) == "Settings" && it != _values.end() ? it->second : def;
    }
    void SetString(const char*, const char*, const char*) override {}

private:
    std::map<std::string, std::string> _values;
};

class MixController : public DJConsoleNotify {
public:
    bool djcntfIsRecording() override { return _recording; }
    void djcntfStopRecording() override { _recording = false; }
    void djcntfShowMessage(char const* text, char const*) override { PrintError("%s", text); }
    bool Failed() const { return !_recording; }

private:
    bool _recording = true;
};

// Temporary files beside OUT, so that the final rename stays on one file system.
struct MixFiles {
    explicit MixFiles(const std::string& out)
    {
        const size_t slash = out.rfind('/');
        folder = slash == std::string::npos ? "." : (slash == 0 ? "/" : out.substr(0, slash));
        const std::string base = slash == std::string::npos ? out : out.substr(slash + 1);
        const std::string tag = "." + base + ".part-" + std::to_string(getpid());
        recordName = tag;
        recording = folder + "/" + tag + ".wav";
        capture = folder + "/" + tag + ".capture.wav";
    }
    ~MixFiles()
    {
        unlink(recording.c_str());
        unlink(capture.c_str());
    }
    std::string folder, recordName, recording, capture;
};

struct BeatsWait : DJDeckNotify {
    void djntfBeats(DJDeck&) override { ++count; }
    int count = 0;
};

bool _LoadDeck(DJDeck& deck, const std::string& path, bool detect)
{
    std::string deckFile;
    if (!DeckFile(path, deckFile))
        return false;
    if (deck.Load(deckFile.c_str(), detect ? 0 : kNoSyncPeriod, 0))
        return true;
    PrintError("%s: %s", path.c_str(), LGetSoundErrorText(deck.GetPositionSource()->GetError()));
    return false;
}

int _Ms(const DJDeck& deck)
{
    return deck.GetPosition().GetMilliseconds();
}

// The script: A plays; at `atMs` of A, B starts (synced if asked) and the crossfader moves
// right over the fade; the mix ends at its length or when B ends.
class MixScript {
public:
    MixScript(DJConsole& console, DJDeck& a, DJDeck& b, const MixOptions& o, int atMs)
        : _console(console), _a(a), _b(b), _o(o), _atMs(atMs), _fadeMs(static_cast<int>(o.fade * 1000))
    {
    }

    // One look at the positions the engine reported; true when the mix is over.
    bool Step()
    {
        if (!_bStarted && (_Ms(_a) >= _atMs || _a.GetState() != kDeckPlaying))
            _StartB();
        if (_bStarted)
            _MoveCrossFader();
        const int mixMs = std::max(_Ms(_a), _bStarted ? _atMs + _Ms(_b) : 0);
        if (_o.length && mixMs >= static_cast<int>(*_o.length * 1000))
            return true;
        return _bStarted && _b.GetState() == kDeckStopped;
    }

private:
    void _StartB()
    {
        _bStarted = true;
        _b.Play();
        if (_o.sync)
            _b.Sync();
    }
    void _MoveCrossFader()
    {
        const double progress = _fadeMs > 0 ? double(_Ms(_a) - _atMs) / _fadeMs : 1.0;
        const bool aDone = _a.GetState() != kDeckPlaying;
        _console.SetCrossFade(aDone ? 100 : static_cast<int>(std::lround(std::clamp(progress, 0.0, 1.0) * 100)));
    }

    DJConsole& _console;
    DJDeck& _a;
    DJDeck& _b;
    const MixOptions& _o;
    int _atMs;
    int _fadeMs;
    bool _bStarted = false;
};

bool _CheckOptions(const MixOptions& o)
{
    return (!o.at || CheckRange(kMixAtRange, *o.at)) && CheckRange(kMixFadeRange, o.fade) &&
           (!o.length || CheckRange(kMixLengthRange, *o.length));
}

int _RunMix(const MixOptions& o, const MixFiles& files)
{
    MixSettings settings(files.folder, files.recordName);
    MixController controller;
    DJConsole console;
    console.SetNotify(&controller);
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    BeatsWait beats;
    a.AddNotify(&beats);
    b.AddNotify(&beats);
    const bool aOk = _LoadDeck(a, o.a, o.sync);
    const bool bOk = _LoadDeck(b, o.b, o.sync);
    if (!aOk || !bOk)
        return kExitFailed;
    LEventQueue& queue = *LEventQueue::ForCurrentThread();
    if (o.sync && !queue.RunUntil([&] { return beats.count >= 2; }, kSessionWaitMs))
        return kExitFailed;
    const int aMs = LSoundTime::FromFrames(a.GetTrackEnd(), a.GetSampleRate()).GetMilliseconds();
    const int wantedAt = o.at ? static_cast<int>(*o.at * 1000) : aMs - static_cast<int>(o.fade * 1000);
    const int atMs = std::clamp(wantedAt, 0, std::max(aMs - kLastStartMarginMs, 0));
    console.SetCrossFade(0);
    MixScript script(console, a, b, o, atMs);
    // A track without frames would end the players at once, and B would start a second
    // recording over the first: B then starts alone.
    if (aMs > 0)
        a.Play();
    // A failed write shows as the sink's flag while the player runs; at the natural end the
    // console closes the file itself.
    bool writeFailed = false;
    const bool finished = script.Step() || queue.RunUntil(
        [&] {
            writeFailed = writeFailed || (console.IsPlayerRunning() && !console.IsRecording());
            return controller.Failed() || writeFailed || script.Step();
        },
        kSessionWaitMs);
    writeFailed = writeFailed || (console.IsPlayerRunning() && !console.IsRecording());
    const bool recorded = finished && !writeFailed && !controller.Failed();
    console.Stop();
    if (!recorded) {
        PrintError("%s: the recording failed", o.out.c_str());
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace

int Mix(const MixOptions& options)
{
    if (!_CheckOptions(options))
        return kExitUsage;
    MixFiles files(options.out);
    setenv("ORVANE_AUDIO_CAPTURE", (files.capture + ":fast").c_str(), 1);
    const int result = _RunMix(options, files);
    unsetenv("ORVANE_AUDIO_CAPTURE");
    if (result != kExitOk)
        return result;
    // The script stops on positions the interface saw, a little after the length asked; the
    // sink cuts the file there and makes its header true.
    if (options.length)
        LWaveFile::OpenSinkPCM(files.recording.c_str(), LAudioMixer::kRate, kMixChannels, kMixBits,
                               static_cast<int>(std::min(*options.length * LAudioMixer::kRate, double(INT32_MAX))));
    if (std::rename(files.recording.c_str(), options.out.c_str()) != 0) {
        PrintError("%s: cannot write the file", options.out.c_str());
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tool
