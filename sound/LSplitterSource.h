#pragma once

#include "base/LSignalObject.h"
#include "sound/LSoundSource.h"

#include <atomic>
#include <memory>

// Stereo frames on their way from the main player's chain to the second player: one writer
// (the primary source) and one reader (the secondary source).
class LSplitterRing {
public:
    static constexpr int kCapacityInts = 1000001;  // over 11 s of stereo at 44,100 Hz

    LSplitterRing();

    // Values waiting to be read.
    int GetCount() const;
    // Appends channels `left` and `right` of `frames` interleaved frames of `stride` values.
    // Frames that would overrun unread ones are dropped.
    void AppendPairs(const int* frames, int count, int stride, int left, int right);
    // Copies out `count` values; false, with `out` untouched, when fewer are waiting.
    bool Take(int* out, int count);
    // Only while neither side runs (both players' locks held).
    void Clear();

    LSignalObject written;
    LSignalObject read;

private:
    std::unique_ptr<int[]> _samples;
    std::atomic<int> _readIndex{0};
    std::atomic<int> _writeIndex{0};
};

// The main player's side of the split: channels 0 and 1 of the inner stream, while the
// secondary pair goes to the ring. Positions and Seek are the inner stream's.
class LSplitterPrimarySource : public LSoundProcessBase {
public:
    static constexpr int kPrefillFrames = 12600;       // 10 reads of 1260
    static constexpr int kPrefillEnoughInts = 37800;   // no prefill while the ring holds more

    // The secondary pair is taken modulo the inner channel count, so that a stereo inner
    // stream feeds the same pair to both sides.
    LSplitterPrimarySource(const LSoundSource& inner, std::shared_ptr<LSplitterRing> ring,
                           int secondaryLeft = 2, int secondaryRight = 3);

    void Read(int* buffer, int frames) override;
    int GetResyncPositionSample() const override { return source->GetResyncPositionSample(); }
    // kMsgPrefillSecondary prefills the ring from the resync position and then skips what is already in it,
    // less the frame difference `*data`; every id answers true.
    bool ControlMessage(LControlMessage id, long* data) override;

private:
    void _Grow(int frames);
    void _Prefill();

    std::shared_ptr<LSplitterRing> _ring;
    int _secondaryLeft;
    int _secondaryRight;
    std::unique_ptr<int[]> _buffer;
    int _bufferInts;
    int _skip = 0;  // frames the ring already has from a prefill
};

// The second player's side: stereo frames from the ring.
class LSplitterSecondarySource : public LSoundSourceBase {
public:
    // `inner` is the primary's inner stream, for positions.
    LSplitterSecondarySource(const LSoundSource& inner, std::shared_ptr<LSplitterRing> ring);

    // Leaves `buffer` untouched when the ring holds less than the block.
    void Read(int* buffer, int frames) override;
    // The inner figure less the frames waiting in the ring.
    int GetPositionSample() const override;
    int GetResyncPositionSample() const override;
    int GetEndSample() const override { return _inner->GetEndSample(); }

private:
    LSoundSource _inner;
    std::shared_ptr<LSplitterRing> _ring;
};
