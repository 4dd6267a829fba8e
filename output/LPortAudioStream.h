#pragma once

#include "output/LOutputStream.h"

#include <portaudio.h>

#include <atomic>

// A PortAudio output stream of interleaved paInt32 samples whose callback is the client's.
class LPortAudioStream : public LOutputStream {
public:
    // Null, with `error`, when the device refuses the format.
    static std::unique_ptr<LPortAudioStream> Open(PaDeviceIndex device, const LOutputFormat& format,
                                                  LRenderClient& client, std::string& error);
    ~LPortAudioStream() override;

    bool Start() override;
    void Stop() override;
    int GetFramesPerSlice() const override { return _framesPerSlice.load(std::memory_order_relaxed); }
    double GetLatencySeconds() const override;

private:
    LPortAudioStream(LRenderClient& client, int channels) : _client(client), _channels(channels) {}
    static int _Callback(const void* input, void* output, unsigned long frames,
                         const PaStreamCallbackTimeInfo* time, PaStreamCallbackFlags flags, void* self);

    LRenderClient& _client;
    int _channels;
    PaStream* _stream = nullptr;
    std::atomic<int> _framesPerSlice{512};  // the largest call seen so far
};
