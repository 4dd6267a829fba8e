#include "tools/ToolCommands.h"

#include "base/LEventQueue.h"
#include "base/LSafeWrite.h"
#include "base/LSignalObject.h"
#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <unistd.h>

namespace tool {

namespace {

constexpr int kLastStartMarginMs = 100;  // B starts before A ends, or the recording would close
constexpr int kMixChannels = 2;
constexpr int kMixBits = 16;
constexpr int kNoSyncPeriod = 22050;     // frames: a grid that spares the detection when no sync is asked

// The mix's own settings: every engine setting reads its default, so the user's devices,
// channel map, second device and recording folder cannot shape a file named on the command
// line. The store installed before is back when the mix ends.
class MixSettings : public DJSettingsAccess {
public:
    MixSettings() : _former(DJSetSettingsAccess(this)) {}
    ~MixSettings() override { DJSetSettingsAccess(_former); }
    std::string GetString(const char*, const char*, const char* def) override { return def; }
    void SetString(const char*, const char*, const char*) override {}

private:
    DJSettingsAccess* _former;
};

// SIGINT and SIGTERM end the mix: the run loop sees the signal, the console stops, the
// temporaries go and OUT stays as it was. A second signal, for a mix that does not stop,
// removes the temporaries at once and leaves.
volatile sig_atomic_t gSignal = 0;
const LSignalObject* gWake = nullptr;
constexpr int kTemporaries = 2;
char gTemporaryPaths[kTemporaries][PATH_MAX + 64];

void _OnSignal(int signal)
{
    if (gSignal) {
        for (const char* path : gTemporaryPaths)
            if (path[0])
                unlink(path);
        _exit(128 + signal);
    }
    gSignal = signal;
    if (gWake)
        gWake->Signal();  // one write: safe in a signal handler
}

class MixInterrupt {
public:
    MixInterrupt()
    {
        gSignal = 0;
        gWake = &_wake;
        for (char* path : gTemporaryPaths)
            path[0] = '\0';
        struct sigaction action {};
        action.sa_handler = _OnSignal;
        action.sa_flags = SA_RESTART;  // the engine's threads go on; this thread wakes by `_wake`
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &_previousInt);
        sigaction(SIGTERM, &action, &_previousTerm);
    }
    ~MixInterrupt()
    {
        sigaction(SIGINT, &_previousInt, nullptr);
        sigaction(SIGTERM, &_previousTerm, nullptr);
        gWake = nullptr;
        for (char* path : gTemporaryPaths)
            path[0] = '\0';
    }
    MixInterrupt(const MixInterrupt&) = delete;
    MixInterrupt& operator=(const MixInterrupt&) = delete;

    // A path the second signal removes.
    void Watch(int slot, const char* path) const
    {
        std::snprintf(gTemporaryPaths[slot], sizeof gTemporaryPaths[slot], "%s", path);
    }
    bool Caught() const { return gSignal != 0; }
    // The shell's code for a process ended by the signal: 130 for SIGINT, 143 for SIGTERM.
    int ExitCode() const { return 128 + gSignal; }
    int GetDescriptor() const { return _wake.GetReadDescriptor(); }

private:
    LSignalObject _wake;
    struct sigaction _previousInt {};
    struct sigaction _previousTerm {};
};

// Dispatches the events of this thread until `done` answers true (asked before each wait);
// false when a signal came first.
bool _RunUntil(const MixInterrupt& interrupt, const std::function<bool()>& done)
{
    LEventQueue& queue = *LEventQueue::ForCurrentThread();
    for (;;) {
        if (interrupt.Caught())
            return false;
        if (done())
            return true;
        if (!queue.DispatchOne())
            queue.WaitForEvent(kWaitForever, interrupt.GetDescriptor());
    }
}

class MixController : public DJConsoleNotify {
public:
    bool djcntfIsRecording() override { return _recording; }
    void djcntfStopRecording() override { _recording = false; }
    void djcntfShowMessage(char const* text, char const*) override { PrintError("%s", text); }
    bool Failed() const { return !_recording; }

private:
    bool _recording = true;
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
    if (deck.Load(deckFile.c_str(), detect ? 0 : kNoSyncPeriod, 0)) {
        // The mix waits for the detection before anything plays, so it need not yield to
        // everything else on the machine (at idle priority a busy machine starves it).
        if (detect)
            deck.GetBeatDetector().SetPriority(kThreadPriorityNormal);
        return true;
    }
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

// Plays the script on the console, recording into `recording`; the file is closed with a
// true header when this returns.
int _RunMix(const MixOptions& o, const std::string& recording, const MixInterrupt& interrupt)
{
    MixSettings settings;
    MixController controller;
    DJConsole console;
    console.SetNotify(&controller);
    console.SetRecordingPath(recording);
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    BeatsWait beats;
    a.AddNotify(&beats);
    b.AddNotify(&beats);
    const bool aOk = _LoadDeck(a, o.a, o.sync);
    const bool bOk = _LoadDeck(b, o.b, o.sync);
    if (!aOk || !bOk)
        return kExitFailed;
    if (o.sync && !_RunUntil(interrupt, [&] { return beats.count >= 2; }))
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
    const bool finished = script.Step() || _RunUntil(interrupt, [&] {
        writeFailed = writeFailed || (console.IsPlayerRunning() && !console.IsRecording());
        return controller.Failed() || writeFailed || script.Step();
    });
    writeFailed = writeFailed || (console.IsPlayerRunning() && !console.IsRecording());
    const bool recorded = finished && !writeFailed && !controller.Failed();
    console.Stop();
    if (!recorded && !interrupt.Caught()) {
        PrintError("%s: the recording failed", o.out.c_str());
        return kExitFailed;
    }
    return recorded ? kExitOk : kExitFailed;
}

// The script stops on positions the interface saw, a little after the length asked; the sink
// cuts the file there and makes its header true.
bool _CutToLength(const std::string& recording, double seconds)
{
    const int frames = static_cast<int>(std::min(seconds * LAudioMixer::kRate, double(INT32_MAX)));
    LSoundSink cut = LWaveFile::OpenSinkPCM(recording.c_str(), LAudioMixer::kRate, kMixChannels, kMixBits, frames);
    const bool opened = (cut->GetError() & kSinkErrorFlag) == 0;
    cut.Close();
    return opened;
}

}  // namespace

// OUT is written as every file of the program is (LSafeWrite): the recording goes to a hidden
// temporary beside OUT and is renamed over it once whole. The capture device's file is a second
// temporary of the same target, never committed. So a failure or a signal leaves OUT as it was
// and no temporary, and those of a killed run go with the next write of OUT.
int Mix(const MixOptions& options)
{
    if (!_CheckOptions(options))
        return kExitUsage;
    MixInterrupt interrupt;
    LSafeWrite recording(options.out.c_str());
    LSafeWrite capture(options.out.c_str());
    if (!recording.Begin() || !capture.Begin()) {
        PrintError("%s: cannot be written: %s", options.out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    interrupt.Watch(0, recording.GetTemporaryPath());
    interrupt.Watch(1, capture.GetTemporaryPath());
    setenv("ORVANE_AUDIO_CAPTURE", (std::string(capture.GetTemporaryPath()) + ":fast").c_str(), 1);
    const int result = _RunMix(options, recording.GetTemporaryPath(), interrupt);
    unsetenv("ORVANE_AUDIO_CAPTURE");
    capture.Abandon();
    if (interrupt.Caught()) {
        PrintError("%s: interrupted, not written", options.out.c_str());
        return interrupt.ExitCode();
    }
    if (result != kExitOk)
        return result;
    if (options.length && !_CutToLength(recording.GetTemporaryPath(), *options.length)) {
        PrintError("%s: the recording failed", options.out.c_str());
        return kExitFailed;
    }
    if (!recording.Commit()) {
        PrintError("%s: cannot be put in place: %s", options.out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tool
