#pragma once

#include "base/LThread.h"
#include "output/LOutputStream.h"
#include "sound/LSoundSource.h"

#include <atomic>
#include <cstdint>
#include <memory>

// How far a fast capture device may run: the frames it may deliver, counted over the fast
// capture streams that run while this object lives (one at a time; it must outlive them).
// The device stops at the limit and waits, without a time limit, until it is raised. Whoever
// drives the session raises it only after applying what is due at that frame, so what the
// device takes depends on the session's script and not on how threads are scheduled.
class LRenderLimit {
public:
    static constexpr int64_t kUnlimited = INT64_MAX;

    // Installs itself with a limit of 0 frames. The player may keep `aheadFrames` in the ring
    // beyond the limit, and no more, so that what it has read ahead at a stop is the same
    // whenever the stop is reached.
    explicit LRenderLimit(int aheadFrames);
    ~LRenderLimit();
    LRenderLimit(const LRenderLimit&) = delete;
    LRenderLimit& operator=(const LRenderLimit&) = delete;

    // The installed limit, null when there is none.
    static LRenderLimit* GetInstalled() { return _installed.load(std::memory_order_acquire); }

    // A limit below the present one is ignored: frames delivered are not taken back.
    void Raise(int64_t frames);
    int64_t GetLimit() const { return _limit.load(std::memory_order_acquire); }
    int64_t GetDelivered() const { return _delivered.load(std::memory_order_acquire); }
    bool IsReached() const { return GetDelivered() >= GetLimit(); }
    // Signalled when the device reaches the limit, and at each write to its ring while it
    // stands there; the driver resets it before it looks at the state again.
    LSignalObjectRef GetStandSignal() const { return _stand.Ref(); }
    void ResetStandSignal() const { _stand.Reset(); }

private:
    friend class LVirtualOutputStream;
    // Device side: the frames of a block of `frames` that may go now; 0 at the limit.
    int _Allowed(int frames) const;
    void _AddDelivered(int frames);
    void _NoteRingWritten() const;
    int _WriteRoom(int heldFrames) const;

    static std::atomic<LRenderLimit*> _installed;
    std::atomic<int64_t> _limit{0};
    std::atomic<int64_t> _delivered{0};
    int _ahead;             // frames
    LSignalObject _raised;  // the device waits on it at the limit
    LSignalObject _stand;   // the driver waits on it
};

// The devices of our own, driven by a thread of their own through the same client call as a
// real device. Without a capture sink the audio is dropped ("[Null Output]"). With one, every
// block goes to the sink: at real-time pace the whole block as a device would play it
// (silence where the ring ran dry); in fast mode only the frames delivered, as fast as the
// player fills the ring, and no further than the installed LRenderLimit allows.
class LVirtualOutputStream : public LOutputStream, private LThread {
public:
    static constexpr int kLowLatencyFrames = 512;  // a block at 44,100 Hz when no latency is asked for
    static constexpr int kLowLatencyRate = 44100;  // Hz; other rates keep the block's duration

    LVirtualOutputStream(const LOutputFormat& format, LRenderClient& client, LSoundSink capture, bool fast);
    ~LVirtualOutputStream() override;

    bool Start() override;
    void Stop() override;
    int GetFramesPerSlice() const override { return _blockFrames; }
    double GetLatencySeconds() const override { return static_cast<double>(_blockFrames) / _rate; }
    void NoteRingWritten() override;
    int GetWriteRoom(int heldFrames) const override;

private:
    void ThreadFunction() override;
    void _RunPaced();
    void _RunFast();
    void _Capture(int frames);

    LRenderClient& _client;
    int _rate;       // Hz
    int _channels;
    int _blockFrames;
    bool _fast;
    LSoundSink _capture;  // the error sink when nothing is kept
    bool _capturing;
    std::unique_ptr<int32_t[]> _block;  // device scale
    std::unique_ptr<int[]> _graph;      // the block at graph scale for the sink
    LSignalObject _written;
    LRenderLimit* _limit;  // fast capture only; null: as fast as the ring fills
};
