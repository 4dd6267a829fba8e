#pragma once

#include "sound/LSoundSource.h"

#include <memory>

// Recirculating delay in integers: each output goes back into the line, so echoes fall by
// `percent` each time round. The ring is interleaved, so feedback stays within each channel.
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

    int GetLength() const { return _length; }

private:
    int _length;  // ints, channels interleaved
    std::unique_ptr<int[]> _ring;
    int _index = 0;
    int _factor;  // feedback, 9 fractional bits
};

class LSPEcho : public LSoundProcessDescription {
public:
    LSPEcho(int percentFeedback, int delay) : percent(percentFeedback), delayMs(delay) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int percent;
    int delayMs;
    mutable LSoundSource source;  // the stream the last OpenSource made
};
