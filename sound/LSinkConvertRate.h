#pragma once

#include "sound/LConvertRateBase.h"
#include "sound/LSoundSource.h"

#include <memory>

// Push-side rate converter: what is written at this sink's rate reaches the destination at
// its own rate, through a 15-tap table at 16-bit precision.
class LSinkConvertRateBase : public LSoundSinkBase, public LConvertRateBase {
public:
    static constexpr int kTaps = 15;
    static constexpr int kBlockFrames = 8192;  // frames per Write passed on, and taken in at once

    // Takes the destination's channels and its position, rescaled to this rate through
    // milliseconds. The error flag of the destination carries over.
    LSinkConvertRateBase(int rate, LSoundSink& destination, bool approximate);
    // Flushes the filter's tail into the destination.
    ~LSinkConvertRateBase() override;

    void Write(int const* samples, int frames) override;
    // Flushes, then moves the destination to the matching frame of its own rate.
    void Seek(int frame) override;

private:
    void _Append(int const* samples, int frames);
    void _AppendSilence(int frames);
    void _Process();
    void _Restart();

    LSoundSink _destination;
    int _filled = 0;  // integers in the input buffer
    int _phase = 0;
    std::unique_ptr<int[]> _input;
    std::unique_ptr<int[]> _output;
};

// Makes the sink that converts to a destination's rate from `rate`.
class LSinkConvertRate {
public:
    explicit LSinkConvertRate(int sinkRate) : rate(sinkRate) {}
    // The destination itself when the rates agree.
    LSoundSink OpenSink(LSoundSink& destination, bool approximate) const;

    int rate;
};
