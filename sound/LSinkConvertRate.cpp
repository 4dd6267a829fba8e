#include "sound/LSinkConvertRate.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr int kFilterHistoryFrames = 7;  // zero frames ahead of the first, centring the filter on it
constexpr int kFlushFrames = 8;          // zero frames that push the last real frames through
constexpr int kInputShift = 4;           // framework scale to 16 bits
constexpr int kFirstHalfTaps = 8;
constexpr int kOutputShift = 11;         // with the halving of each partial sum: 16 bits back to framework scale
constexpr int kOutputRounding = 1024;

int _Rescale(int frames, int fromRate, int toRate)
{
    if (fromRate <= 0)
        return 0;
    const int64_t ms = (frames / fromRate) * int64_t{1000} + ((frames % fromRate) * int64_t{1000}) / fromRate;
    return static_cast<int>(toRate * (ms / 1000) + (toRate * (ms % 1000)) / 1000);
}

}  // namespace

LSinkConvertRateBase::LSinkConvertRateBase(int sinkRate, LSoundSink& destination, bool approximate)
    : LSoundSinkBase(sinkRate, destination->GetChannels()),
      LConvertRateBase(sinkRate, destination->GetRate(), kTaps, false, approximate),
      _destination(destination),
      _input(std::make_unique<int[]>(static_cast<size_t>(kBlockFrames + kTaps) * channels)),
      _output(std::make_unique<int[]>(static_cast<size_t>(kBlockFrames) * channels))
{
    if (sinkRate < 1 || (destination->GetError() & kSinkErrorFlag))
        error |= kSinkErrorFlag;
    _filled = kFilterHistoryFrames * channels;
    position = _Rescale(destination->GetPosition(), destination->GetRate(), sinkRate);
}

LSinkConvertRateBase::~LSinkConvertRateBase()
{
    _AppendSilence(kFlushFrames);
    _Process();
}

void LSinkConvertRateBase::Write(int const* samples, int frames)
{
    if (frames <= 0)
        return;
    position += frames;
    // Pieces of at most one block keep the input buffer from overflowing.
    while (frames > 0) {
        const int n = std::min(frames, kBlockFrames);
        _Append(samples, n);
        _Process();
        samples += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

void LSinkConvertRateBase::Seek(int frame)
{
    _AppendSilence(kFlushFrames);
    _Process();
    position = frame;
    _destination->Seek((frame / step) * phases + ((frame % step) * int64_t{phases}) / step);
    _Restart();
}

void LSinkConvertRateBase::_Append(int const* samples, int frames)
{
    int* to = _input.get() + _filled;
    const int count = frames * channels;
    for (int i = 0; i < count; ++i)
        to[i] = samples[i] >> kInputShift;
    _filled += count;
}

void LSinkConvertRateBase::_AppendSilence(int frames)
{
    const int count = frames * channels;
    std::fill_n(_input.get() + _filled, count, 0);
    _filled += count;
}

void LSinkConvertRateBase::_Restart()
{
    _phase = 0;
    _filled = kFilterHistoryFrames * channels;
    std::fill_n(_input.get(), _filled, 0);
}

void LSinkConvertRateBase::_Process()
{
    const int ch = channels;
    const int n = _filled / ch - kTaps;
    int i = 0;
    int o = 0;
    while (i < n) {
        if (o == kBlockFrames) {
            _destination->Write(_output.get(), o);
            o = 0;
        }
        const int* row = GetRow(_phase);
        const int* in = _input.get() + static_cast<size_t>(i) * ch;
        int* out = _output.get() + static_cast<size_t>(o) * ch;
        for (int c = 0; c < ch; ++c) {
            int64_t a = 0, b = 0;
            for (int k = 0; k < kFirstHalfTaps; ++k)
                a += static_cast<int64_t>(row[k]) * in[k * ch + c];
            for (int k = kFirstHalfTaps; k < kTaps; ++k)
                b += static_cast<int64_t>(row[k]) * in[k * ch + c];
            out[c] = static_cast<int>(((a >> 1) + (b >> 1) + kOutputRounding) >> kOutputShift);
        }
        ++o;
        _phase += step;
        i += _phase / phases;
        _phase %= phases;
    }
    if (o > 0)
        _destination->Write(_output.get(), o);
    const int kept = std::max(0, _filled - i * ch);
    std::memmove(_input.get(), _input.get() + static_cast<size_t>(i) * ch, sizeof(int) * kept);
    _filled = kept;
}

LSoundSink LSinkConvertRate::OpenSink(LSoundSink& destination, bool approximate) const
{
    if (destination->GetRate() == rate)
        return destination;
    return LSoundSink(new LSinkConvertRateBase(rate, destination, approximate));
}
