#pragma once

#include "sound/LSoundSource.h"

#include <cstdint>

// Repeats frames start..end of the inner stream. Positions, end and Seek are the inner
// stream's, so a looping deck reports the whole track and never finishes by itself.
class LLoopSourceBase : public LSoundProcessBase {
public:
    // Clamped to the inner stream: a start at or past its end moves back by the length, so a
    // loop cued at the track end plays the last frames. 64-bit, so that a start plus a length
    // beyond the int range keeps its length until it is clamped.
    LLoopSourceBase(const LSoundSource& inner, int64_t start, int64_t end);

    void Read(int* buffer, int frames) override;

    int GetStart() const { return _start; }
    int GetEnd() const { return _end; }

private:
    // Frames delivered before the inner stream refused to move.
    int _ReadLooped(int* buffer, int frames);

    int _start;
    int _end;
};

class LLoopSource {
public:
    LSoundSource OpenSource(LSoundSource& inner, int64_t start, int64_t end) const;
};
