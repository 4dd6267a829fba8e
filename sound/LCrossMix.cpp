#include "sound/LCrossMix.h"

#include "sound/LSampleMath.h"

#include <algorithm>

LSoundSource LSPCrossMix::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCCrossMix(inner, second, length));
}

LSRCCrossMix::LSRCCrossMix(LSoundSource& first, const LSoundSource& second, int lengthFrames)
    : LSoundProcessBase(first),
      _second(second),
      _length(std::max(lengthFrames, 0)),
      _rise(static_cast<size_t>(_length)),
      _fall(static_cast<size_t>(_length)),
      _firstWork(std::make_unique<int[]>(static_cast<size_t>(kWorkFrames) * channels)),
      _secondWork(std::make_unique<int[]>(static_cast<size_t>(kWorkFrames) * second->GetChannels()))
{
    const float step = 1.0f / static_cast<float>(std::max(_length, 1));
    for (int i = 0; i < _length; ++i) {
        _rise[size_t(i)] = static_cast<float>(i) * step;
        _fall[size_t(i)] = 1 - static_cast<float>(i) * step;
    }
    if (second->GetError() != kErrNone)
        error = kErrInner;
}

void LSRCCrossMix::Read(int* out, int frames)
{
    while (frames > 0) {
        const int tailStart = source->GetEndSample() - _length;
        int n;
        if (_position < 0) {  // sought before the start: nothing to fade yet
            n = _Straight(out, std::min(frames, -_position));
        } else if (_position < _length) {
            n = _FadeIn(out, frames);
        } else if (_position < tailStart) {
            _SecondToTail(0);
            n = _Straight(out, std::min(frames, tailStart - _position));
        } else {
            n = _FadeOut(out, frames, _position - tailStart);
        }
        _position += n;
        out += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

int LSRCCrossMix::_FadeIn(int* out, int frames)
{
    const int n = std::min({frames, _length - _position, kWorkFrames});
    _Mix(out, n, &_rise[size_t(_position)], &_fall[size_t(_position)]);
    return n;
}

int LSRCCrossMix::_Straight(int* out, int frames)
{
    source->Read(out, frames);
    return frames;
}

int LSRCCrossMix::_FadeOut(int* out, int frames, int j)
{
    if (j >= _length)  // past the end: the first stream's own silence
        return _Straight(out, frames);
    _SecondToTail(j);
    const int n = std::min({frames, _length - j, kWorkFrames});
    _Mix(out, n, &_fall[size_t(j)], &_rise[size_t(j)]);
    return n;
}

void LSRCCrossMix::_Mix(int* out, int frames, const float* firstGain, const float* secondGain)
{
    source->Read(_firstWork.get(), frames);
    _second->Read(_secondWork.get(), frames);
    const int secondChannels = _second->GetChannels();
    for (int f = 0; f < frames; ++f) {
        const int* a = &_firstWork[size_t(f) * channels];
        const int* b = &_secondWork[size_t(f) * secondChannels];
        for (int c = 0; c < channels; ++c)
            *out++ = LTruncToInt(static_cast<float>(a[c]) * firstGain[f] +
                                 static_cast<float>(b[c % secondChannels]) * secondGain[f]);
    }
}

void LSRCCrossMix::_SecondToTail(int j)
{
    if (_secondAtTail)
        return;
    _second->Seek(_second->GetEndSample() - _length + j);
    _secondAtTail = true;
}

void LSRCCrossMix::Seek(int sample)
{
    source->Seek(sample);
    _position = sample;
    _secondAtTail = false;
}
