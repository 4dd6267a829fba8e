#pragma once

#include "sound/LSoundSource.h"
#include "sound/LdB.h"

#include <atomic>
#include <cstdint>
#include <memory>

// The ring between the player thread and the render callback: interleaved graph samples and,
// for every frame, the source position it came from. The player thread owns the write index
// and the callback the read index, so neither side needs a lock. One frame always stays free:
// read equal to write means empty.
class LCARingBuffer {
public:
    static constexpr int kMaxBlockFrames = 8192;  // most frames written or read at a time

    // Null when either array cannot be had.
    static std::unique_ptr<LCARingBuffer> Make(int frames, unsigned char channels);

    int GetFreeFrames() const;
    int GetHeldFrames() const;
    int GetFrames() const { return _frames; }
    unsigned char GetChannels() const { return _channels; }
    int GetFramesPerSlice() const { return _framesPerSlice; }
    void SetFramesPerSlice(int frames) { _framesPerSlice = frames; }

    // Player thread: at most `frames` (and no more than the source has left or the ring has
    // free) from `source`, with the position of each frame.
    void Write(LSoundSource& source, int frames);
    // Callback: takes `frames` held frames (at most kMaxBlockFrames), gains them (9 fractional
    // bits), meters channels 0 and 1 and writes them to `out` at device scale. `bytes` grows by
    // what was written. Answers the source position of the last frame taken.
    int Read(int32_t* out, unsigned long* bytes, int frames, int gain, LdBValue& left, LdBValue& right);

    // Empties the ring (both sides must be still).
    void Clear();
    // Keeps only the frames the device is about to take, and gives each of them `position`
    // (both sides must be still).
    void KeepSlice(int position);

private:
    LCARingBuffer(int frames, unsigned char channels);

    std::unique_ptr<int[]> _samples;
    unsigned char _channels;
    int _frames;    // capacity in frames less 1
    int _capacity;  // ints: channels * (frames + 1)
    std::atomic<int> _read{0};   // ints
    std::atomic<int> _write{0};  // ints
    int _framesPerSlice = 512;
    std::unique_ptr<int[]> _positions;  // one a frame
};
