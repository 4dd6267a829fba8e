#pragma once

#include "sound/LSoundSource.h"

#include <memory>

// Push-side channel conversion: frames written here in this sink's channel count reach the
// destination in its own. Each holds a work buffer of one block in the destination's shape.
class LSinkConvertChannelsBase : public LSoundSinkBase {
public:
    static constexpr int kWorkFrames = 8192;

    LSinkConvertChannelsBase(unsigned char sinkChannels, LSoundSink& destination);
    void Write(int const* samples, int frames) override;
    // Seeks the destination and takes its position over.
    void Seek(int frame) override;

protected:
    virtual void Convert(int const* in, int* out, int frames) const = 0;

private:
    LSoundSink _destination;
    std::unique_ptr<int[]> _work;
};

// Stereo written, mono passed on: (left + right) >> 1.
class LSinkConvertMonoToStereo : public LSinkConvertChannelsBase {
public:
    explicit LSinkConvertMonoToStereo(LSoundSink& destination) : LSinkConvertChannelsBase(2, destination) {}

protected:
    void Convert(int const* in, int* out, int frames) const override;
};

// Mono written, stereo passed on: the sample on both channels.
class LSinkConvertStereoToMono : public LSinkConvertChannelsBase {
public:
    explicit LSinkConvertStereoToMono(LSoundSink& destination) : LSinkConvertChannelsBase(1, destination) {}

protected:
    void Convert(int const* in, int* out, int frames) const override;
};

// Four channels written, the first two passed on.
class LSinkConvert4ToStereo : public LSinkConvertChannelsBase {
public:
    explicit LSinkConvert4ToStereo(LSoundSink& destination) : LSinkConvertChannelsBase(4, destination) {}

protected:
    void Convert(int const* in, int* out, int frames) const override;
};

class LSinkConvertChannels {
public:
    // A sink taking `channels` in front of `destination`: the destination itself when the
    // counts agree; an error sink for a pair with no converter (all but 2 to 1, 1 to 2, 4 to 2).
    static LSoundSink OpenSink(LSoundSink& destination, unsigned char channels);
};

// Gives `sink` a front that takes `rate` and `channels`, converting the fewest channels.
void LSinkConvertRateChannels(int rate, unsigned char channels, LSoundSink& sink);
