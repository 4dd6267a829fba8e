#pragma once

#include "sound/LSoundSource.h"

#include <atomic>
#include <memory>

// Kept by a player (and a recording tap): the flag that asks the next block to fade from what
// was played before to what the chain gives now, and the factory of the fading source.
class LCrossFadeSource {
public:
    // Wraps `source` in a fading source that reads this object's flag.
    LSoundSource OpenSource(LSoundSource& source);

    // Frames the next requested fade spans, however many Reads that takes; 0 makes it span the
    // one Read that follows. Stored before the flag is set; taken (and cleared) with it.
    std::atomic<int> fadeFrames{0};
    // Set by the console with the deck's lock held; read and cleared on the player thread.
    std::atomic<bool> fadeRequested{false};
};

// Outermost stage of a player's chain. Remembers the last 0x200000 values it produced, so that
// after the chain inside is rebuilt and sought back to where the listener stands, the next block
// can fade from the material the old chain gave for those frames without reading it again.
class LSRCCrossFade : public LSoundSourceBase {
public:
    static constexpr int kHistoryValues = 0x200000;  // ints: under 24 s of stereo at 44,100 Hz

    LSRCCrossFade(LSoundSource& source, LCrossFadeSource& owner);
    void Read(int* out, int frames) override;
    int GetPositionSample() const override { return _source->GetPositionSample(); }
    int GetEndSample() const override { return _source->GetEndSample(); }
    int GetResyncPositionSample() const override { return _source->GetResyncPositionSample(); }
    bool ControlMessage(LControlMessage id, long* data) override { return _source->ControlMessage(id, data); }
    // Seeks the chain and moves the history index back (or on) by the same distance; ends a
    // fade in progress.
    void Seek(int sample) override;

    int GetHistoryIndex() const { return _index; }

private:
    void _StartFade(int frames);
    void _Fade(int* block, int frames);
    void _Remember(const int* block, int count);

    LSoundSource _source;
    LCrossFadeSource& _owner;
    std::unique_ptr<int[]> _history;
    int _index = 0;  // next place in _history, in ints
    int _fadeStep = 0;      // gain change per frame of the fade in progress
    int _fadeDone = 0;      // frames of it already faded
    int _fadeLeft = 0;      // frames of it still to fade
};
