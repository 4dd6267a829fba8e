#pragma once

#include <climits>
#include <cstdint>
#include <memory>
#include <string>

// What an output stream calls for every block it plays, on its real-time thread: fill `out`
// with up to `frames` interleaved frames of the stream's channels at device scale (full scale
// 0x7fffffff) and answer how many were delivered.
class LRenderClient {
public:
    virtual ~LRenderClient() = default;
    virtual int RenderData_(int32_t* out, int frames) = 0;
};

struct LOutputFormat {
    int rate = 44100;    // Hz
    int channels = 2;    // device channels to open
    int latencyMs = 0;   // 0: the device's low latency
};

// One open output on one device, calling its client from its own thread while started.
class LOutputStream {
public:
    virtual ~LOutputStream() = default;
    virtual bool Start() = 0;
    // Returns when the client will not be called again until the next Start.
    virtual void Stop() = 0;
    // The most frames one call of the client asks for (an estimate before the first call).
    virtual int GetFramesPerSlice() const = 0;
    // Seconds between a frame's delivery and its sound, as the device reports it.
    virtual double GetLatencySeconds() const = 0;
    // The player has put frames in the ring; a device that runs as fast as the ring fills
    // waits for this.
    virtual void NoteRingWritten() {}
    // Frames the player may put in the ring beyond the `heldFrames` it holds now. A device
    // that runs only as far as it is let bounds the read-ahead too, so that what has been read
    // ahead where it stands does not depend on how the threads ran.
    virtual int GetWriteRoom(int /*heldFrames*/) const { return INT_MAX; }
};

// Opens the device of `deviceId` (an id of LSoundPlayDeviceList). Null, with one line in
// `error`, when it cannot be opened.
std::unique_ptr<LOutputStream> LOpenOutputStream(long deviceId, const LOutputFormat& format,
                                                 LRenderClient& client, std::string& error);
