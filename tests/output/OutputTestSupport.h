#pragma once

// Shared pieces of the output tests: a listener that keeps what the player reported, and the
// capture device switched on for one test.

#include "output/LSoundPlayer.h"
#include "output/LSoundPlayDevice.h"

#include <cstdlib>
#include <string>
#include <vector>

struct PlayerRecord : LSoundPlayerNotify {
    enum class Kind { kPlay, kStop, kTime, kLevel };
    struct Entry {
        Kind kind;
        int ms;
    };

    void spntfPlay(long) override { entries.push_back({Kind::kPlay, 0}); }
    void spntfStop(long) override
    {
        entries.push_back({Kind::kStop, 0});
        stopped = true;
    }
    void spntfTime(LSoundTime time, long) override
    {
        entries.push_back({Kind::kTime, time.GetMilliseconds()});
        if (onTime)
            onTime(time);
    }
    void spntfLevel(LDBMC const&, long) override { entries.push_back({Kind::kLevel, 0}); }

    std::vector<int> Times() const
    {
        std::vector<int> times;
        for (const Entry& e : entries)
            if (e.kind == Kind::kTime)
                times.push_back(e.ms);
        return times;
    }

    std::vector<Entry> entries;
    bool stopped = false;
    std::function<void(LSoundTime)> onTime;
};

// ORVANE_AUDIO_CAPTURE for the object's life.
class CaptureDevice {
public:
    explicit CaptureDevice(const std::string& path, bool fast = true) : _path(path)
    {
        setenv("ORVANE_AUDIO_CAPTURE", (path + (fast ? ":fast" : "")).c_str(), 1);
    }
    ~CaptureDevice() { unsetenv("ORVANE_AUDIO_CAPTURE"); }
    CaptureDevice(const CaptureDevice&) = delete;
    CaptureDevice& operator=(const CaptureDevice&) = delete;

    const std::string& Path() const { return _path; }
    int Index() const { return LSoundPlayDevice::GetListDeviceIndex(kCaptureDeviceName); }

private:
    std::string _path;
};

// Drains the interface queue until the player has reported its stop.
inline bool RunUntilStopped(const PlayerRecord& record)
{
    return LEventQueue::ForCurrentThread()->RunUntil([&] { return record.stopped; });
}
