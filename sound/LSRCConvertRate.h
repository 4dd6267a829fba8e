#pragma once

#include "sound/LConvertRateBase.h"
#include "sound/LSoundSource.h"

#include <cstdint>
#include <memory>

// Pull-side rate converter: a 63-tap polyphase filter over a block floating point buffer, so
// that Read runs on integers alone and allocates nothing.
class LSRCConvertRate : public LSoundProcessBase, public LConvertRateBase {
public:
    static constexpr int kTaps = 63;
    static constexpr int kBlockFrames = 32768;   // frames read ahead at most
    static constexpr int kRefillFrames = 8192;   // frames asked of the source at most per refill
    static constexpr int kStreamingFrames = 64;  // asked of a stream with nothing known ahead

    // A target below 1 gives rate 44100 and error 3. The peak is doubled while at most kPeakMaxDoubled,
    // since the filter can overshoot.
    LSRCConvertRate(LSoundSource& inner, int targetRate, bool wideGuard, bool approximate);

    void Read(int* out, int frames) override;
    int GetPositionSample() const override;
    int GetEndSample() const override;
    // `frame` is in output frames; the source is left so that the next output is centred there.
    void Seek(int frame) override;
    // kMsgPositionBelow stores the wrapped source's position in *value, kMsgSeekBelow seeks
    // the wrapped source to *value; both in that source's own frames. No other message passes.
    bool ControlMessage(LControlMessage message, long* value) override;

private:
    void ReadBuffer();
    void _CompactBuffer();
    int _RefillCount() const;
    void _NormaliseBlock(int* frames, int count);
    int* _Frame(int index) { return buffer.get() + static_cast<size_t>(index) * channels; }

    int position = 32;  // buffer frame of the first tap for the next output frame
    int phase = 0;      // table row of the next output frame, normalised before use
    int consumed = 0;   // buffer holds consumed + 63 valid frames
    std::unique_ptr<int[]> buffer;
    uint8_t blockShift = 0;    // right shift applied to the samples now in buffer
    uint8_t productShift = 15;
    int rounding = 1 << 14;
    // Every sample in buffer lies within +-32768, so a product with a coefficient (below
    // 65536) fits in 32 bits. Only a peak at or above 2^30 clears it.
    bool _narrowSamples = true;
};

// Wraps a stream in a rate converter to `rate`; the same stream when nothing needs converting.
class LSPConvertRate : public LSoundProcessDescription {
public:
    LSPConvertRate(int targetRate, bool approximateRatio) : rate(targetRate), approximate(approximateRatio) {}
    // Reductions by more than four go through twice the target first, so that no single
    // stage has to cut too far below its input's Nyquist frequency.
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int rate;
    bool approximate;
};

// Plays a stream faster or slower: rate conversion to R/speed whose output is still labelled
// R, so pitch and speed move together. Positions are in converted frames.
class LSRCPitchSpeed : public LSoundProcessBase {
public:
    static constexpr double kMinSpeed = 0.1;

    LSRCPitchSpeed(LSoundSource& inner, double speed, bool approximate);
    void Read(int* out, int frames) override;
    bool ControlMessage(LControlMessage message, long* value) override;
};
