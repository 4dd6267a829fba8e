#include "tools/ToolCommands.h"

#include "app/LSettings.h"
#include "base/LEventQueue.h"
#include "output/LSoundPlayDevice.h"
#include "output/LSoundPlayer.h"
#include "sound/LPeakLimit.h"
#include "sound/LSRCConvChannels.h"
#include "tools/ToolSignals.h"

#include <cstdio>
#include <string>
#include <strings.h>

namespace tool {

namespace {

constexpr int kPositionStepMs = 1000;  // one position line a second of audio
constexpr char kLatencySection[] = "Settings";
constexpr char kLatencyKey[] = "OutputLatency";  // ms; empty or 0: the device's low latency

// Prints the position as it passes each second, and asks for the stop at the time limit.
class PlayListener : public LSoundPlayerNotify {
public:
    explicit PlayListener(int limitMs) : _limitMs(limitMs) {}

    void spntfTime(LSoundTime time, long) override
    {
        _last = time;
        if (time.GetMilliseconds() / kPositionStepMs != _printedStep) {
            _printedStep = time.GetMilliseconds() / kPositionStepMs;
            _Print(time);
        }
        if (_limitMs > 0 && time.GetMilliseconds() >= _limitMs)
            limitReached = true;
    }
    void spntfStop(long) override
    {
        if (!(_last == _printed))
            _Print(_last);  // where it stopped
        stopped = true;
    }

    bool limitReached = false;
    bool stopped = false;

private:
    void _Print(LSoundTime time)
    {
        _printed = time;
        char text[32];
        time._GetTextHMMSSF(text);
        std::printf("%s\n", text);
        std::fflush(stdout);
    }

    int _limitMs;
    int _printedStep = -1;
    LSoundTime _last;
    LSoundTime _printed{-1};
};

// The device asked for by name; an unknown name plays on the default output.
int _DeviceIndex(const std::string& name)
{
    if (name.empty() || strcasecmp(name.c_str(), kDefaultDeviceName) == 0)
        return 0;
    const int index = LSoundPlayDevice::GetListDeviceIndex(name.c_str());
    if (index == 0)
        PrintError("no output device \"%s\"; playing on %s", name.c_str(), kDefaultDeviceName);
    return index;
}

// The name of the row, and for the default output also the device that stands behind it.
std::string _DeviceName(int index)
{
    char name[kDeviceNameBytes];
    LSoundPlayDevice::GetListDeviceName(index, name);
    if (index != 0)
        return name;
    char actual[kDeviceNameBytes];
    LSoundPlayDevice::GetListDeviceName(LSoundPlayDevice::GetDeviceIndexById(LSoundPlayDevice::GetDefaultDeviceID()), actual);
    return std::string(name) + " (" + actual + ")";
}

// The chain a console would give the player: limited to what a device takes, stereo, fading.
LSoundSource _Chain(LSoundSource source, LSoundPlayer& player)
{
    if (source->GetChannels() == 1)
        LSPConvertSourceRateChannels(source->GetRate(), 2, source);  // both speakers
    source = LSPPeakLimit(kPeakLimit).OpenSource(source);
    return player.crossfade.OpenSource(source);
}

// Turns the event queue until the player has stopped; Ctrl-C or the time limit stop it.
void _RunUntilStopped(LSoundPlayer& player, PlayListener& listener, const ToolSignals& signals)
{
    const auto queue = LEventQueue::ForCurrentThread();
    while (!listener.stopped) {
        if (signals.Caught() || listener.limitReached) {
            player.Stop();
            continue;
        }
        if (queue->WaitForEvent(kWaitForever, signals.GetDescriptor()) == LEventQueue::Wait::kEvent)
            queue->DispatchPending(64);
    }
}

}  // namespace

int Play(const PlayOptions& options)
{
    if (options.seconds && !CheckRange(kSecondsRange, *options.seconds))
        return kExitUsage;
    LSoundSource source = OpenByType(options.file);
    if (source->GetError() != kErrNone) {
        PrintError("%s: %s", options.file.c_str(), LGetSoundErrorText(source->GetError()));
        return kExitFailed;
    }
    PlayListener listener(options.seconds ? static_cast<int>(*options.seconds * 1000) : 0);
    LSoundPlayer player;
    player.SetNotify(&listener, 0);
    player.output.SetDeviceIndex(_DeviceIndex(options.device));
    player.output.SetLatencyMs(LUserSettingGetInt(kLatencySection, kLatencyKey, 0));
    player.SetSoundSource(_Chain(source, player));
    const std::string name = _DeviceName(player.output.GetDeviceIndex());
    const char* device = name.c_str();
    if (!player.output.OpenAudioUnit()) {
        PrintError("cannot open %s: %s", device, player.output.GetOpenError().c_str());
        return kExitFailed;
    }
    std::printf("device: %s\nlatency: %.1f ms\n", device, player.output.GetLatencySeconds() * 1000);

    // Ctrl-C or SIGTERM is the user's way to stop: the player stops cleanly and play succeeds.
    const ToolSignals signals;
    if (!player.Play()) {
        PrintError("cannot start %s", device);
        return kExitFailed;
    }
    _RunUntilStopped(player, listener, signals);
    return kExitOk;
}

}  // namespace tool
