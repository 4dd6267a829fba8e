#include "engine/DJDeckSourceBase.h"

#include "sound/LBufferHelpers.h"

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

int _Following(int index)
{
    return (index + 1) % DJDeckSourceBaseInfo::kEntries;
}

}  // namespace

void DJDeckSourceBaseInfo::_Store(LSoundTime start, LSoundTime end, LdBValue level)
{
    const int next = _next.load(kRelaxed);
    _Entry& entry = _entries[static_cast<size_t>(next)];
    entry.startMs.store(start.GetMilliseconds(), kRelaxed);
    entry.endMs.store(end.GetMilliseconds(), kRelaxed);
    entry.level.store(level.GetDB(), kRelaxed);
    int oldest = _oldest.load(kRelaxed);
    if (oldest == -1)
        oldest = next;
    const int following = _Following(next);
    if (following == oldest)
        oldest = _Following(oldest);
    _oldest.store(oldest, kRelaxed);
    _next.store(following, kRelaxed);
}

// Greatest level above silence among entries from..to (to excluded) lying in [fromMs, toMs].
int DJDeckSourceBaseInfo::_ScanLoudest(int from, int to, int fromMs, int toMs) const
{
    int loudest = LdBValue::kSilence;
    for (int i = from; i != to; i = _Following(i)) {
        const _Entry& entry = _entries[static_cast<size_t>(i)];
        if (entry.startMs.load(kRelaxed) >= fromMs && entry.endMs.load(kRelaxed) <= toMs)
            loudest = std::max(loudest, entry.level.load(kRelaxed));
    }
    return loudest;
}

LdBValue DJDeckSourceBaseInfo::GetLevelFromRange(LSoundTime from, LSoundTime to) const
{
    const int oldest = _oldest.load(kRelaxed);
    if (oldest == -1)
        return LdBValue(0);
    const int next = _next.load(kRelaxed);
    const int fromMs = from.GetMilliseconds(), toMs = to.GetMilliseconds();
    int level = _ScanLoudest(oldest, next, fromMs, toMs);
    if (level == LdBValue::kSilence)
        level = _ScanLoudest(next, oldest, fromMs, toMs);
    if (level == LdBValue::kSilence)
        level = _entries[static_cast<size_t>(oldest)].level.load(kRelaxed);
    return LdBValue(level);
}

DJDeckSourceBase::DJDeckSourceBase(const LSoundSource& inner, DJDeckSourceBaseInfo* info)
    : LSoundSourceBase(inner->GetRate(), inner->GetChannels(), kPeakDefault), _source(inner), _info(info)
{
}

void DJDeckSourceBase::Read(int* buffer, int frames)
{
    const LSoundTime start = _Now();
    _source->Read(buffer, frames);
    // The meter takes the first `frames` values of the block, channels mixed.
    const LdBValue level = LMeanSquareToDB(GetBufferMeanSquareChan(channels, buffer, frames, 1));
    _info->_Store(start, _Now(), level);
}

void DJDeckSourceBase::Seek(int sample)
{
    _info->_Void();
    _source->Seek(sample);
}
