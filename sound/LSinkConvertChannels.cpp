#include "sound/LSinkConvertChannels.h"

#include "sound/LChannelMix.h"
#include "sound/LSinkConvertRate.h"

#include <algorithm>
#include <cstdint>

LSinkConvertChannelsBase::LSinkConvertChannelsBase(unsigned char sinkChannels, LSoundSink& destination)
    : LSoundSinkBase(destination->GetRate(), sinkChannels),
      _destination(destination),
      _work(std::make_unique<int[]>(static_cast<size_t>(kWorkFrames) * destination->GetChannels()))
{
    position = destination->GetPosition();
    if (destination->GetError() & kSinkErrorFlag)
        error |= kSinkErrorFlag;
}

void LSinkConvertChannelsBase::Write(int const* samples, int frames)
{
    if (frames <= 0)
        return;
    position += frames;
    while (frames > 0) {
        const int n = std::min(frames, kWorkFrames);
        Convert(samples, _work.get(), n);
        _destination->Write(_work.get(), n);
        samples += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

void LSinkConvertChannelsBase::Seek(int frame)
{
    _destination->Seek(frame);
    position = _destination->GetPosition();
}

void LSinkConvertMonoToStereo::Convert(int const* in, int* out, int frames) const
{
    LMixStereoToMono(in, out, frames);
}

void LSinkConvertStereoToMono::Convert(int const* in, int* out, int frames) const
{
    LSpreadMonoToStereo(in, out, frames);
}

void LSinkConvert4ToStereo::Convert(int const* in, int* out, int frames) const
{
    for (int i = 0; i < frames; ++i) {
        out[2 * i] = in[4 * i];
        out[2 * i + 1] = in[4 * i + 1];
    }
}

LSoundSink LSinkConvertChannels::OpenSink(LSoundSink& destination, unsigned char channels)
{
    const unsigned char to = destination->GetChannels();
    if (channels == to)
        return destination;
    if (channels == 2 && to == 1)
        return LSoundSink(new LSinkConvertMonoToStereo(destination));
    if (channels == 1 && to == 2)
        return LSoundSink(new LSinkConvertStereoToMono(destination));
    if (channels == 4 && to == 2)
        return LSoundSink(new LSinkConvert4ToStereo(destination));
    return LSoundSink(new LSoundSinkError());
}

void LSinkConvertRateChannels(int rate, unsigned char channels, LSoundSink& sink)
{
    // Built from the destination outwards: the writer meets the outermost sink first.
    if (channels > sink->GetChannels()) {
        sink = LSinkConvertRate(rate).OpenSink(sink, false);
        sink = LSinkConvertChannels::OpenSink(sink, channels);
    } else {
        sink = LSinkConvertChannels::OpenSink(sink, channels);
        sink = LSinkConvertRate(rate).OpenSink(sink, false);
    }
}
