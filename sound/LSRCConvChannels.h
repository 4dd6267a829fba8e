#pragma once

#include "sound/LSoundSource.h"

#include <memory>

// Pull-side channel conversion: reads the inner stream into a work buffer of its own shape,
// then maps it to this stream's channel count.
class LSRCConvChannels : public LSoundProcessBase {
public:
    static constexpr int kWorkFrames = 8192;

    LSRCConvChannels(LSoundSource& inner, unsigned char targetChannels);
    void Read(int* out, int frames) override;

protected:
    // Maps `frames` frames of the work buffer into `out`.
    virtual void Convert(const int* work, int* out, int frames) const = 0;
    unsigned char InnerChannels() const { return _innerChannels; }

private:
    std::unique_ptr<int[]> _work;
    unsigned char _innerChannels;
};

// 2 to 1: the mean of left and right, rounded down.
class LSRCConvStereoMono : public LSRCConvChannels {
public:
    explicit LSRCConvStereoMono(LSoundSource& inner) : LSRCConvChannels(inner, 1) {}

protected:
    void Convert(const int* work, int* out, int frames) const override;
};

// 1 to 2: the sample on both channels.
class LSRCConvMonoStereo : public LSRCConvChannels {
public:
    explicit LSRCConvMonoStereo(LSoundSource& inner) : LSRCConvChannels(inner, 2) {}

protected:
    void Convert(const int* work, int* out, int frames) const override;
};

// n to m: output channel c is inner channel c modulo n.
class LSRCConvChannelsN : public LSRCConvChannels {
public:
    LSRCConvChannelsN(LSoundSource& inner, unsigned char targetChannels) : LSRCConvChannels(inner, targetChannels) {}

protected:
    void Convert(const int* work, int* out, int frames) const override;
};

class LSPConvChannels : public LSoundProcessDescription {
public:
    explicit LSPConvChannels(unsigned char targetChannels) : channels(targetChannels) {}
    // The stream itself when it has an error, either count is 0, or they agree.
    LSoundSource OpenSource(LSoundSource& inner) const override;

    unsigned char channels;
};

// Brings `source` to `rate` and `channels` in place, in the order that converts the fewest
// channels: reduce channels, then change the rate, then raise channels.
void LSPConvertSourceRateChannels(int rate, unsigned char channels, LSoundSource& source);
