#pragma once

#include "sound/LSoundSource.h"

// Repeats frames start..end of the inner stream. Positions, end and Seek are the inner
// stream's, so a looping deck reports the whole track and never finishes by itself.
class LLoopSourceBase : public LSoundProcessBase {
public:
    // Clamped to the inner stream: a start at or past its end moves back by the length, so a
    // loop cued at the track end plays the last frames.
    LLoopSourceBase(const LSoundSource& inner, int start, int end);

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
    LSoundSource OpenSource(LSoundSource& inner, int start, int end) const;
};
