#include "sound/LCrossFade.h"

#include "sound/LdB.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

LSoundSource LCrossFadeSource::OpenSource(LSoundSource& source)
{
    return LSoundSource(new LSRCCrossFade(source, *this));
}

LSRCCrossFade::LSRCCrossFade(LSoundSource& source, LCrossFadeSource& owner)
    : LSoundSourceBase(source->GetRate(), source->GetChannels(), kPeakDefault),
      _source(source),
      _owner(owner),
      _history(std::make_unique<int[]>(kHistoryValues))
{
    if (source->GetError() != kErrNone)
        error = kErrInner;
}

void LSRCCrossFade::Read(int* out, int frames)
{
    if (frames <= 0)
        return;
    _source->Read(out, frames);
    if (_owner.fadeRequested.exchange(false))
        _StartFade(frames);
    if (_fadeLeft > 0)
        _Fade(out, std::min(frames, _fadeLeft));
    _Remember(out, frames * channels);
}

// A new request restarts the fade from what was last produced, faded or not.
void LSRCCrossFade::_StartFade(int frames)
{
    const int span = _owner.fadeFrames.exchange(0);
    _fadeLeft = span > 0 ? span : frames;
    _fadeStep = kGainUnity / _fadeLeft;
    _fadeDone = 0;
}

// New gain rises from 0 and old gain falls from 1 by the same step each frame, carried on
// from one Read to the next until the fade's span is done.
void LSRCCrossFade::_Fade(int* block, int frames)
{
    int a = _fadeDone * _fadeStep;
    int b = kGainUnity - a;
    int h = _index;
    for (int f = 0; f < frames; ++f) {
        for (int c = 0; c < channels; ++c, ++block) {
            *block = LGainMultiply(*block, a) + LGainMultiply(_history[h], b);
            if (++h == kHistoryValues)
                h = 0;
        }
        a += _fadeStep;
        b -= _fadeStep;
    }
    _fadeDone += frames;
    _fadeLeft -= frames;
}

void LSRCCrossFade::_Remember(const int* block, int count)
{
    while (count > 0) {
        const int n = std::min(count, kHistoryValues - _index);
        std::memcpy(_history.get() + _index, block, sizeof(int) * static_cast<size_t>(n));
        block += n;
        count -= n;
        _index = (_index + n) % kHistoryValues;
    }
}

void LSRCCrossFade::Seek(int sample)
{
    const int64_t p = _source->GetResyncPositionSample();
    _source->Seek(sample);
    _fadeLeft = 0;  // a fade in progress ends at a jump; a resync asks again after its seek
    const int64_t back = (p - sample) * channels % kHistoryValues;
    _index = static_cast<int>((_index - back + kHistoryValues) % kHistoryValues);
}
