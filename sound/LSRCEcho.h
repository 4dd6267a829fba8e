#pragma once

#include "sound/LSoundSource.h"

#include <cstdint>
#include <memory>

// Ring length in ints for `delayMs` at `rateHz`, in two steps so that no product overflows;
// 64-bit because a huge rate can make it more than an int holds. At least 20.
int64_t LEchoRingLength(int rateHz, int delayMs, int channels);
// Feedback `percent` with 9 fraction bits.
int LEchoFactor(int percent);

// Recirculating delay in integers: each output goes back into the line, so echoes fall by
// `percent` each time round. The ring is interleaved, so feedback stays within each channel.
struct LEchoKernel {
    int* ring = nullptr;  // `length` ints, owned by the caller
    int length = 0;
    int index = 0;
    int factor = 0;       // LEchoFactor

    void Process(int* buffer, int count);
    void Silence();
};

class LSRCEcho : public LSoundProcessBase {
public:
    static constexpr int kMinDelayMs = 1;
    static constexpr int kMaxDelayMs = 4000;
    static constexpr int kFallbackLength = 20;  // ints; also the shortest ring

    // delayMs is held within kMinDelayMs..kMaxDelayMs. When the ring cannot be allocated the
    // stream goes on with a kFallbackLength ring.
    LSRCEcho(LSoundSource& inner, int percent, int delayMs);

    void Read(int* buffer, int frames) override;
    // Silences the tail at once.
    void Seek(int sample) override;

    int GetLength() const { return _kernel.length; }

private:
    std::unique_ptr<int[]> _ring;
    LEchoKernel _kernel;
};

class LSPEcho : public LSoundProcessDescription {
public:
    LSPEcho(int percentFeedback, int delay) : percent(percentFeedback), delayMs(delay) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int percent;  // feedback
    int delayMs;
    mutable LSoundSource source;  // the stream the last OpenSource made
};
