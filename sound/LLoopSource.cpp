#include "sound/LLoopSource.h"

#include <algorithm>
#include <climits>
#include <cstdint>

LLoopSourceBase::LLoopSourceBase(const LSoundSource& inner, int64_t start, int64_t end) : LSoundProcessBase(inner)
{
    peak = kPeakDefault;
    const int64_t innerEnd = source->GetEndSample();
    if (start >= innerEnd)
        start = innerEnd - (end - start);
    _start = static_cast<int>(std::clamp<int64_t>(start, 0, INT_MAX));
    _end = static_cast<int>(std::clamp<int64_t>(end, 0, std::max<int64_t>(innerEnd, 0)));
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
        int64_t left = int64_t(_end) - source->GetPositionSample();
        if (left < 1) {
            source->Seek(_start);
            left = int64_t(_end) - source->GetPositionSample();
            if (left < 1)
                break;  // the inner stream would not move: silence rather than spin
        }
        const int count = static_cast<int>(std::min<int64_t>(frames - done, left));
        source->Read(buffer + static_cast<size_t>(done) * channels, count);
        done += count;
    }
    return done;
}

LSoundSource LLoopSource::OpenSource(LSoundSource& inner, int64_t start, int64_t end) const
{
    return LSoundSource(new LLoopSourceBase(inner, start, end));
}
