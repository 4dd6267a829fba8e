#include "engine/LOrvaneSourceTap.h"

#include <algorithm>
#include <cstdint>

LOrvaneSourceTap::LOrvaneSourceTap(const LSoundSource& inner, LSoundSink* sink)
    : LSoundProcessBase(inner), _sink(sink)
{
    source = _crossfade.OpenSource(source);
}

void LOrvaneSourceTap::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    (*_sink)->Write(buffer, frames);
    _sinceCommit += frames;
    if (_sinceCommit >= kCommitSeconds * rate) {
        _sinceCommit = 0;
        (*_sink)->Commit();
    }
}

bool LOrvaneSourceTap::ControlMessage(LControlMessage id, long* data)
{
    if (id != kMsgCrossFade)
        return source->ControlMessage(id, data);
    _crossfade.fadeFrames = data ? static_cast<int>(std::clamp(*data, 0L, long(INT32_MAX))) : 0;
    _crossfade.fadeRequested = true;
    return true;
}
