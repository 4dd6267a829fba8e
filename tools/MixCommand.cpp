#include "tools/ToolCommands.h"

#include "base/LEventQueue.h"
#include "base/LSafeWrite.h"
#include "base/LSignalObject.h"
#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"
#include "output/LVirtualOutputStream.h"
#include "sound/LWaveFile.h"
#include "tools/ToolSignals.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

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

using Frames = int64_t;  // of the mix, at the mixer's rate
constexpr Frames kNothingDue = LRenderLimit::kUnlimited;
constexpr int kFullCrossFade = 100;  // percent: B alone
// What the player may read ahead of a stop. It writes whole blocks while one fits, so it
// stands more than this less a block ahead: less the slice the device keeps, a resync there
// still finds a whole fill to fade from.
constexpr int kAheadFrames = DJConsole::kResyncFillFrames + 2 * LSoundPlayer::kFillFrames;
// The crossfader moves at most once in this span (but reaches the right on time): the resync
// of each move fades from the old gain to the new over it, so the gain ramps without a break.
constexpr Frames kFaderStepFrames = DJConsole::kResyncFillFrames;

Frames _SecondsToFrames(double seconds)
{
    return static_cast<Frames>(std::llround(seconds * LAudioMixer::kRate));
}

// Dispatches the events of this thread until `done` answers true (asked before each wait);
// false when a signal came first.
bool _RunUntil(const ToolSignals& signals, const std::function<bool()>& done)
{
    LEventQueue& queue = *LEventQueue::ForCurrentThread();
    for (;;) {
        if (signals.Caught())
            return false;
        if (done())
            return true;
        if (!queue.DispatchOne())
            queue.WaitForEvent(kWaitForever, signals.GetDescriptor());
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

// Where the script's events fall on the mix's time line.
struct MixTimes {
    Frames at = 0;
    Frames fade = 0;
    Frames aEnd = 0;  // where A's track ends
    std::optional<Frames> length;
};

// The script on the mix's own time line: A plays from frame 0; at `at` B starts (synced if
// asked) and the crossfader moves right over the fade, in whole percents; the mix ends at
// its length or when B ends.
class MixScript {
public:
    MixScript(DJConsole& console, DJDeck& a, DJDeck& b, bool sync, const MixTimes& times)
        : _console(console), _a(a), _b(b), _sync(sync), _t(times)
    {
    }

    bool IsOver(Frames now) const
    {
        return (_t.length && now >= *_t.length) || (_bStarted && _b.GetState() == kDeckStopped);
    }
    // Everything due at `now`.
    void Apply(Frames now)
    {
        if (!_bStarted && (now >= _t.at || _a.GetState() != kDeckPlaying))
            _StartB();
        // A stops where its track ends. The engine would stop it at the report of a later
        // render, but a deck left at its end past the other's start puts the mix's end too
        // early. B still plays here (the mix is over once it stops), so the players go on.
        if (_bStarted && now >= _t.aEnd && _a.GetState() == kDeckPlaying && _b.GetState() == kDeckPlaying)
            _a.Stop();
        if (_bStarted)
            _console.SetCrossFade(_a.GetState() == kDeckPlaying ? _Percent(now) : kFullCrossFade);
    }
    // The next frame after `now` at which something may be due.
    Frames Next(Frames now) const
    {
        Frames next = _t.length && *_t.length > now ? *_t.length : kNothingDue;
        if (!_bStarted)
            return std::min(next, _t.at);
        if (_a.GetState() == kDeckPlaying) {
            const int percent = _Percent(now);
            if (percent < kFullCrossFade)
                next = std::min({next, std::max(_PercentStart(percent + 1), now + kFaderStepFrames),
                                 _PercentStart(kFullCrossFade)});
            if (_t.aEnd > now)
                next = std::min(next, _t.aEnd);
            if (_b.GetState() == kDeckPlaying)
                next = std::min(next, now + _FramesToEnd(_b));
        }
        return next;
    }

private:
    void _StartB()
    {
        _bStarted = true;
        _b.Play();
        if (_sync)
            _b.Sync();
        // A held display glides by a step for each report, and the reports come as threads
        // are scheduled; the mix shows nothing, so both positions are taken as they are.
        _a.SetHold(false);
        _b.SetHold(false);
    }
    // Mix frames until the engine reports `deck` at its end (and stops it), by the position it
    // reported last; a millisecond more, since a report is whole milliseconds.
    static Frames _FramesToEnd(const DJDeck& deck)
    {
        const int endMs = LSoundTime::FromFrames(deck.GetEndSample(), std::max(deck.GetSampleRate(), 1)).GetMilliseconds();
        const int leftMs = std::max(endMs - deck.GetPosition().GetMilliseconds(), 0) + 1;
        return Frames(leftMs) * LAudioMixer::kRate / 1000;
    }
    // The crossfader at `now`, rounded half up.
    int _Percent(Frames now) const
    {
        if (_t.fade <= 0)
            return now >= _t.at ? kFullCrossFade : 0;
        const Frames into = std::clamp<Frames>(now - _t.at, 0, _t.fade);
        return static_cast<int>((into * 2 * kFullCrossFade + _t.fade) / (2 * _t.fade));
    }
    // The first frame at which the crossfader stands at `percent`.
    Frames _PercentStart(int percent) const
    {
        const Frames scaled = (2 * percent - 1) * _t.fade;
        const Frames divisor = 2 * kFullCrossFade;
        return _t.at + (scaled + divisor - 1) / divisor;
    }

    DJConsole& _console;
    DJDeck& _a;
    DJDeck& _b;
    bool _sync;
    MixTimes _t;
    bool _bStarted = false;
};

// Runs the console on the fast capture device in steps: the device stops at the limit, the
// engine's reports of that position are dispatched, the script applies what is due there, and
// only then the limit moves on. A change is applied with the device standing still and the
// player's read-ahead at its bound (or at the end of the mix), so the resync it makes rewinds
// and fades the same frames, from chains in the same state, however the threads ran.
class MixDriver {
public:
    MixDriver(DJConsole& console, const ToolSignals& signals, LRenderLimit& limit)
        : _console(console), _player(console.GetMainPlayer()), _signals(signals), _limit(limit)
    {
    }

    // False when a signal came first.
    bool WaitAtStop()
    {
        for (;;) {
            _limit.ResetStandSignal();
            if (_signals.Caught())
                return false;
            if (_IsReady())
                return true;
            LSignalObjectGroup group;
            group.Add(_limit.GetStandSignal());
            group.Add(_player.GetFinishedSignal());
            group.AddDescriptor(_signals.GetDescriptor());
            group.Select(kWaitForever);
        }
    }
    // The mix's time line is the capture device's: the frames it has delivered.
    Frames GetPosition() const { return _limit.GetDelivered(); }
    // The engine's own reports, and what they set off, at this stop. The player posts its
    // position after the renders, and the post may still be on its way when the device has
    // stopped: the decks are given that report here, so that a deck at its end stops at the
    // first stop at or after its end in every run. Reports queued before are read as they run,
    // at this same position.
    void DispatchEvents()
    {
        _LetGo();
        if (_console.IsPlayerRunning()) {
            const LSoundTime at = LSoundTime::FromFrames(_player.output.GetLastPosition(), _player.GetSource()->GetRate());
            _console.spntfTime(at, DJConsole::kMainPlayerId);
        }
        LEventQueue& queue = *LEventQueue::ForCurrentThread();
        while (queue.DispatchOne()) {
        }
    }
    // Applies `change` with the player locks held from first to last, as a deck holds them over
    // a change of its chain: the ring gets no fill between a change of the mix and the resync
    // that rewinds it, nor between two resyncs. Nothing in it may stop the players.
    template <typename Change>
    void Apply(DJDeck& deck, Change change)
    {
        _LetGo();
        _console.djntfLockChain(deck, true);
        change();
        _console.djntfLockChain(deck, false);
    }
    void MoveOn(Frames now, Frames next)
    {
        if (next == kNothingDue)
            _limit.Raise(LRenderLimit::kUnlimited);
        else
            _limit.Raise(_limit.GetDelivered() + std::max<Frames>(next - now, 1));
    }

private:
    bool _IsReady()
    {
        if (!_player.IsRunning())
            return true;  // ended, the ring played out, or not started
        if (!_limit.IsReached())
            return false;
        // The player writes whole blocks while the limit lets it: once it cannot, what it has
        // read ahead is the same in every run.
        return _player.output.GetWriteRoom() < LSoundPlayer::kFillFrames || _IsAllWritten();
    }
    bool _IsAllWritten()
    {
        _LetGo();
        _player.Lock();
        LSoundSource& source = _player.GetSource();
        const bool all = source->GetPositionSample() >= source->GetEndSample();
        _player.Unlock();
        return all;
    }
    // A player draining its ring at the end of the mix holds its lock until a render wakes it,
    // and the device renders nothing while it stands: wake it as a render would.
    void _LetGo() { _player.output.WakeRenderWaiter(); }

    DJConsole& _console;
    LSoundPlayer& _player;
    const ToolSignals& _signals;
    LRenderLimit& _limit;
};

bool _CheckOptions(const MixOptions& o)
{
    return (!o.at || CheckRange(kMixAtRange, *o.at)) && CheckRange(kMixFadeRange, o.fade) &&
           (!o.length || CheckRange(kMixLengthRange, *o.length));
}

MixTimes _Times(const MixOptions& o, const DJDeck& a)
{
    MixTimes t;
    const int64_t aFrames = a.GetTrackEnd();
    const int aRate = std::max(a.GetSampleRate(), 1);
    t.aEnd = (aFrames * LAudioMixer::kRate + aRate - 1) / aRate;
    const Frames margin = Frames(kLastStartMarginMs) * LAudioMixer::kRate / 1000;
    t.fade = _SecondsToFrames(o.fade);
    const Frames wanted = o.at ? _SecondsToFrames(*o.at) : t.aEnd - t.fade;
    t.at = std::clamp<Frames>(wanted, 0, std::max<Frames>(t.aEnd - margin, 0));
    if (o.length)
        t.length = std::max<Frames>(_SecondsToFrames(*o.length), 1);
    return t;
}

// How a run of the script ended.
struct MixEnd {
    bool finished = false;
    std::optional<Frames> cut;  // where the mix was stopped while the console still played
};

// Plays the script on the console, recording into `recording`; the file is closed with a
// true header when this returns.
int _RunMix(const MixOptions& o, const std::string& recording, const ToolSignals& signals, MixEnd& end)
{
    LRenderLimit limit(kAheadFrames);  // before the console, so that it outlives the device
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
    if (o.sync && !_RunUntil(signals, [&] { return beats.count >= 2; }))
        return kExitFailed;
    const MixTimes times = _Times(o, a);
    console.SetCrossFade(0);
    MixScript script(console, a, b, o.sync, times);
    // A track without frames would end the players at once, and B would start a second
    // recording over the first: B then starts alone.
    if (times.aEnd > 0)
        a.Play();
    MixDriver driver(console, signals, limit);
    // A failed write shows as the sink's flag while the player runs; at the natural end the
    // console closes the file itself.
    bool writeFailed = false;
    while (driver.WaitAtStop()) {
        const Frames now = driver.GetPosition();
        driver.DispatchEvents();
        writeFailed = writeFailed || (console.IsPlayerRunning() && !console.IsRecording());
        if (writeFailed || controller.Failed())
            break;
        if (script.IsOver(now)) {
            end.finished = true;
            if (console.IsPlayerRunning())
                end.cut = times.length ? std::min(now, *times.length) : now;
            break;
        }
        driver.Apply(a, [&] { script.Apply(now); });
        if (!console.IsPlayerRunning())
            break;  // the device could not be opened or started
        driver.MoveOn(now, script.Next(now));
    }
    writeFailed = writeFailed || (console.IsPlayerRunning() && !console.IsRecording());
    const bool recorded = end.finished && !writeFailed && !controller.Failed();
    console.Stop();
    if (!recorded && !signals.Caught()) {
        PrintError("%s: the recording failed", o.out.c_str());
        return kExitFailed;
    }
    return recorded ? kExitOk : kExitFailed;
}

// The script stopped the console where the engine reported `frames`, with more recorded
// ahead of it; the sink cuts the file there and makes its header true.
bool _Cut(const std::string& recording, Frames frames)
{
    const int kept = static_cast<int>(std::min<Frames>(frames, INT32_MAX));
    LSoundSink cut = LWaveFile::OpenSinkPCM(recording.c_str(), LAudioMixer::kRate, kMixChannels, kMixBits, kept);
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
    ToolSignals signals;
    LSafeWrite recording(options.out.c_str());
    LSafeWrite capture(options.out.c_str());
    if (!recording.Begin() || !capture.Begin()) {
        PrintError("%s: cannot be written: %s", options.out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    signals.Watch(recording.GetTemporaryPath());
    signals.Watch(capture.GetTemporaryPath());
    setenv("ORVANE_AUDIO_CAPTURE", (std::string(capture.GetTemporaryPath()) + ":fast").c_str(), 1);
    MixEnd end;
    const int result = _RunMix(options, recording.GetTemporaryPath(), signals, end);
    unsetenv("ORVANE_AUDIO_CAPTURE");
    capture.Abandon();
    if (signals.Caught()) {
        PrintError("%s: interrupted, not written", options.out.c_str());
        return signals.ExitCode();
    }
    if (result != kExitOk)
        return result;
    if (end.cut && !_Cut(recording.GetTemporaryPath(), *end.cut)) {
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
