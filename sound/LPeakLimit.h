#pragma once

#include "sound/LSoundSource.h"

#include <memory>

class LSPPeakLimit : public LSoundProcessDescription {
public:
    explicit LSPPeakLimit(int limitValue) : limit(limitValue) {}
    // The stream itself when its peak is already within the limit.
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int limit;
};

// Gain at 2^24 that brings a block of peak `peak` under `limit` (1..LSRCPeakLimit::kMaxLimit):
// limit / (peak + 64) when the peak passes the limit, in 32-bit division; unity otherwise.
int LPeakLimitBlockGain(int peak, int limit);

// Look-ahead limiter, two blocks of delay. Three block buffers rotate: the one being played
// and the next two. Each block has a gain that brings its peak under the limit; the running
// gain ramps, over each block, to the smallest of the played block's, the next block's and
// the average of the last four, so the output never passes the limit and never steps.
class LSRCPeakLimit : public LSoundProcessBase {
public:
    static constexpr int kMaxLimit = 0x3fffff;
    static constexpr int kMaxBlockFrames = 8192;
    static constexpr int kMinBlockFrames = 16;

    LSRCPeakLimit(LSoundSource& inner, int limitValue);
    void Read(int* buffer, int frames) override;
    // The wrapped positions less the frames read ahead.
    int GetPositionSample() const override;
    int GetResyncPositionSample() const override;
    int GetEndSample() const override;
    void Seek(int sample) override;
    bool ControlMessage(LControlMessage id, long* data) override;

private:
    int* _Buffer(int age) const;  // 0 the played block, 2 the newest
    int _BlockGain(const int* block) const;
    void _Rotate();
    int _FramesToPrime() const;
    void _Prime();
    void _SetSlope();
    void _Output(int* out, int frames);

    int _limit;
    int _blockFrames;
    int _blockPosition;
    int _fillMark;
    std::unique_ptr<int[]> _blocks;  // three blocks back to back
    int _played = 0;                 // which of the three is being played
    int _g[4] = {};                  // block gains, 24 fraction bits; g[1] is the played block's
    int _gain = 0;
    int _slope = 0;                  // added to _gain once a frame
};
