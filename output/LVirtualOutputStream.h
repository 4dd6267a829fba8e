#pragma once

#include "base/LThread.h"
#include "output/LOutputStream.h"
#include "sound/LSoundSource.h"

#include <memory>

// The devices of our own, driven by a thread of their own through the same client call as a
// real device. Without a capture sink the audio is dropped ("[Null Output]"). With one, every
// block goes to the sink: at real-time pace the whole block as a device would play it
// (silence where the ring ran dry); in fast mode only the frames delivered, as fast as the
// player fills the ring.
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
    void NoteRingWritten() override { _written.Signal(); }

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
};
