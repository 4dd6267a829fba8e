#include "sound/LLoopSource.h"

#include <algorithm>

LLoopSourceBase::LLoopSourceBase(const LSoundSource& inner, int start, int end)
    : LSoundProcessBase(inner), _start(start), _end(end)
{
    peak = kPeakDefault;
    const int innerEnd = source->GetEndSample();
    const int length = _end - _start;
    if (_start >= innerEnd)
        _start = innerEnd - length;
    _start = std::max(_start, 0);
    _end = std::clamp(_end, 0, innerEnd);
}

void LLoopSourceBase::Read(int* buffer, int frames)
{
    if (frames <= 0)
        return;
    // An empty or reversed stretch has nothing to repeat.
    const int done = _end > _start ? _ReadLooped(buffer, frames) : 0;
    std::fill(buffer + static_cast<size_t>(done) * channels, buffer + static_cast<size_t>(frames) * channels, 0);
}

int LLoopSourceBase::_ReadLooped(int* buffer, int frames)
{
    int done = 0;
    while (done < frames) {
        int left = _end - source->GetPositionSample();
        if (left < 1) {
            source->Seek(_start);
            left = _end - source->GetPositionSample();
            if (left < 1)
                break;  // the inner stream would not move: silence rather than spin
        }
        const int count = std::min(frames - done, left);
        source->Read(buffer + static_cast<size_t>(done) * channels, count);
        done += count;
    }
    return done;
}

LSoundSource LLoopSource::OpenSource(LSoundSource& inner, int start, int end) const
{
    return LSoundSource(new LLoopSourceBase(inner, start, end));
}
