#include "sound/LSRCConvertRate.h"

#include "sound/LBufferHelpers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

constexpr int kHistoryFrames = 63;     // the filter's span kept from one block to the next
constexpr int kCentreTap = 31;
constexpr int kFirstTap = 32;          // `position` that puts the centre on buffer frame 63
constexpr int kCompactAfter = 32511;   // consumed frames beyond which the buffer is rewound
constexpr int kFirstHalfTaps = 32;     // products summed into the first of two partial sums
constexpr int kSampleLimit = 32767;    // block floating point keeps samples within 16 bits
constexpr int kMaxBlockShift = 15;     // so that productShift never goes negative

// Samples wider than 16 bits only come from streams beyond the framework's range; their
// results saturate rather than wrap.
template <typename Product>
inline int _Output(int64_t a, int64_t b, int64_t rounding, int shift)
{
    const int64_t value = ((a >> 1) + (b >> 1) + rounding) >> shift;
    if constexpr (sizeof(Product) > sizeof(int))
        return static_cast<int>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
    return static_cast<int>(value);
}

// One output frame: 63 products per channel in two 64-bit partial sums, so loud clipped
// material cannot wrap. `Product` is int when every sample is within 16 bits (then no single
// product reaches 2^31) and int64_t otherwise.
template <typename Product, int kChannels>
inline void _FilterFrame(const int* row, const int* samples, int channelCount, int64_t rounding,
                         int shift, int* out)
{
    const int n = kChannels ? kChannels : channelCount;
    for (int c = 0; c < n; ++c) {
        int64_t a = 0, b = 0;
        for (int k = 0; k < kFirstHalfTaps; ++k)
            a += static_cast<Product>(row[k]) * samples[k * n + c];
        for (int k = kFirstHalfTaps; k < LSRCConvertRate::kTaps; ++k)
            b += static_cast<Product>(row[k]) * samples[k * n + c];
        out[c] = _Output<Product>(a, b, rounding, shift);
    }
}

// The same sums for two channels, sharing each coefficient load.
template <typename Product>
inline void _FilterStereo(const int* row, const int* samples, int64_t rounding, int shift, int* out)
{
    int64_t aL = 0, aR = 0, bL = 0, bR = 0;
    for (int k = 0; k < kFirstHalfTaps; ++k) {
        const Product c = row[k];
        aL += c * samples[2 * k];
        aR += c * samples[2 * k + 1];
    }
    for (int k = kFirstHalfTaps; k < LSRCConvertRate::kTaps; ++k) {
        const Product c = row[k];
        bL += c * samples[2 * k];
        bR += c * samples[2 * k + 1];
    }
    out[0] = _Output<Product>(aL, bL, rounding, shift);
    out[1] = _Output<Product>(aR, bR, rounding, shift);
}

template <typename Product>
inline void _Filter(const int* row, const int* samples, int channels, int64_t rounding, int shift, int* out)
{
    if (channels == 2)
        _FilterStereo<Product>(row, samples, rounding, shift, out);
    else if (channels == 1)
        _FilterFrame<Product, 1>(row, samples, 1, rounding, shift, out);
    else
        _FilterFrame<Product, 0>(row, samples, channels, rounding, shift, out);
}

// What a run of output frames needs, fixed between two refills.
struct FilterRun {
    const int* table;
    const int* buffer;
    int channels, phases, step, consumed;
    int64_t rounding;
    int shift;
};

// Output frames until the buffer runs short of what the next one needs; returns how many.
// The caller refills and calls again.
template <typename Product>
inline int _RunFrames(const FilterRun& run, int& position, int& phase, int* out, int frames)
{
    const int taps = LSRCConvertRate::kTaps;
    int done = 0;
    for (; done < frames; ++done) {
        if (phase >= run.phases) {
            position += phase / run.phases;
            phase %= run.phases;
        }
        if (run.consumed <= position)
            break;
        _Filter<Product>(run.table + phase * taps, run.buffer + position * run.channels, run.channels,
                         run.rounding, run.shift, out);
        out += run.channels;
        phase += run.step;
    }
    return done;
}

// The common case gets a vector build where the processor has one.
#if defined(__x86_64__) && defined(__GNUC__)
__attribute__((target_clones("avx2", "default")))
#endif
int _RunNarrow(const FilterRun& run, int& position, int& phase, int* out, int frames)
{
    return _RunFrames<int>(run, position, phase, out, frames);
}

int _RunWide(const FilterRun& run, int& position, int& phase, int* out, int frames)
{
    return _RunFrames<int64_t>(run, position, phase, out, frames);
}

}  // namespace

LSRCConvertRate::LSRCConvertRate(LSoundSource& inner, int targetRate, bool wideGuard,
                                 bool approximate)
    : LSoundProcessBase(inner),
      LConvertRateBase(inner->GetRate(), targetRate, kTaps, wideGuard, approximate),
      buffer(std::make_unique<int[]>(static_cast<size_t>(kBlockFrames + kTaps) * channels))
{
    rate = targetRate;
    if (targetRate < 1) {
        rate = kRateFallbackHz;
        error = kErrBadFormat;
    }
    if (peak <= kPeakMaxDoubled)
        peak *= 2;
}

void LSRCConvertRate::Read(int* out, int frames)
{
    while (frames > 0) {
        const FilterRun run{coefficients.get(), buffer.get(), channels, phases, step, consumed, rounding, productShift};
        const int done = _narrowSamples ? _RunNarrow(run, position, phase, out, frames)
                                        : _RunWide(run, position, phase, out, frames);
        out += static_cast<size_t>(done) * channels;
        frames -= done;
        if (frames > 0) {
            while (consumed <= position)
                ReadBuffer();
        }
    }
}

void LSRCConvertRate::ReadBuffer()
{
    if (consumed > kCompactAfter)
        _CompactBuffer();
    if (blockShift != 0) {
        // Back to framework scale before the whole block is measured again.
        int* history = _Frame(consumed);
        const int64_t scale = int64_t{1} << blockShift;
        for (int i = 0; i < kHistoryFrames * channels; ++i)
            history[i] = static_cast<int>(std::clamp<int64_t>(history[i] * scale, INT32_MIN, INT32_MAX));
    }
    const int n = _RefillCount();
    source->Read(_Frame(consumed + kHistoryFrames), n);

    int* block = _Frame(consumed);
    const int count = (n + kHistoryFrames) * channels;
    const int peak = GetBufferPeak(block, n + kHistoryFrames, channels);
    int shift = 0;
    while ((peak >> shift) > kSampleLimit && shift < kMaxBlockShift)
        ++shift;
    blockShift = static_cast<uint8_t>(shift);
    _narrowSamples = (peak >> shift) <= kSampleLimit;
    productShift = static_cast<uint8_t>(kMaxBlockShift - shift);
    rounding = (1 << productShift) >> 1;
    if (shift != 0)
        _NormaliseBlock(block, count);
    consumed += n;
}

void LSRCConvertRate::_CompactBuffer()
{
    std::memmove(_Frame(0), _Frame(consumed), sizeof(int) * kHistoryFrames * channels);
    position -= consumed;
    consumed = 0;
}

int LSRCConvertRate::_RefillCount() const
{
    const int room = kBlockFrames - consumed;
    int n = room;
    if (source->IsStreaming()) {
        n = source->GetEndSample() - source->GetPositionSample();
        if (n < 1)
            n = kStreamingFrames;
    }
    return std::min({n, room, kRefillFrames});
}

void LSRCConvertRate::_NormaliseBlock(int* values, int count)
{
    const int half = (1 << blockShift) >> 1;
    for (int i = 0; i < count; ++i)
        values[i] = static_cast<int>((static_cast<int64_t>(values[i]) + half) >> blockShift);
}

int LSRCConvertRate::GetPositionSample() const
{
    // The source frame under the filter's centre, then scaled in two steps to stay in range.
    const int64_t s = static_cast<int64_t>(source->GetPositionSample()) + position - consumed - kFirstTap;
    return static_cast<int>((s / step) * phases + (phases * (s % step) + phase) / step);
}

int LSRCConvertRate::GetEndSample() const
{
    // A stream still growing may lack the frames the filter's second half needs.
    const bool streaming = source->IsStreaming();
    int64_t e = source->GetEndSample();
    if (streaming)
        e -= kFirstTap + 1;
    int64_t end = (e / step) * phases + (phases * (e % step)) / step;
    if (streaming)
        --end;
    return static_cast<int>(end);
}

void LSRCConvertRate::Seek(int frame)
{
    const int64_t q = frame / phases;
    const int64_t r = frame % phases;
    int64_t s = q * step + (static_cast<int64_t>(step) * r) / phases - kCentreTap;
    phase = static_cast<int>((static_cast<int64_t>(step) * r) % phases);
    if (s < 0) {
        // One frame earlier and one row further: the first normalising step moves position
        // to 33, which keeps the source from being asked for frames before -32.
        phase += phases;
        --s;
    }
    source->Seek(static_cast<int>(s));
    position = kFirstTap;
    consumed = 0;
    // The filter's history, at framework scale; the next refill normalises it with the block.
    source->Read(_Frame(kFirstTap), kCentreTap);
    blockShift = 0;
}

bool LSRCConvertRate::ControlMessage(LControlMessage message, long* value)
{
    if (value == nullptr)
        return false;
    if (message == kMsgPositionBelow) {
        *value = source->GetPositionSample();
        return true;
    }
    if (message == kMsgSeekBelow) {
        source->Seek(static_cast<int>(*value));
        return true;
    }
    return false;
}

LSoundSource LSPConvertRate::OpenSource(LSoundSource& inner) const
{
    if (inner->GetError() != kErrNone || inner->GetRate() == rate)
        return inner;
    LSoundSource stage = inner;
    if ((inner->GetRate() >> 2) > rate)
        stage = LSoundSource(new LSRCConvertRate(stage, rate * 2, false, approximate));
    return LSoundSource(new LSRCConvertRate(stage, rate, false, approximate));
}

LSRCPitchSpeed::LSRCPitchSpeed(LSoundSource& inner, double speed, bool approximate)
    : LSoundProcessBase(inner)
{
    if (!(speed >= kMinSpeed))
        speed = kMinSpeed;
    const double target = std::trunc(rate / speed);
    source = LSPConvertRate(target >= 1.0 ? static_cast<int>(target) : 0, approximate).OpenSource(source);
    if (source->GetError() != kErrNone)
        error = kErrInner;
}

void LSRCPitchSpeed::Read(int* out, int frames)
{
    source->Read(out, frames);
}

bool LSRCPitchSpeed::ControlMessage(LControlMessage message, long* value)
{
    return source->ControlMessage(message, value);
}
