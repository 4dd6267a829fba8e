#include "sound/LSoundSourceCat.h"

#include "sound/LSRCConvChannels.h"
#include "sound/LSoundTime.h"

#include <algorithm>

void LSoundSourceCat::AddSource(LSoundSource& source, int silenceMs)
{
    _entries.push_back({source, silenceMs});
}

LSoundSource LSoundSourceCat::OpenSource(int rate, unsigned char channels) const
{
    int peak = kPeakLimit;
    for (const Entry& entry : _entries)
        if (entry.source->GetError() == kErrNone)
            peak = std::max(peak, entry.source->GetPeak());
    return LSoundSource(new LSSRCCat(_entries, rate, channels, peak));
}

LSSRCCat::LSSRCCat(std::vector<LSoundSourceCat::Entry> entries, int rateHz, unsigned char channelCount,
                   int peakValue)
    : LSoundSourceBase(rateHz, channelCount, peakValue), _entries(std::move(entries))
{
    for (LSoundSourceCat::Entry& entry : _entries)
        if (entry.source->GetError() == kErrNone)
            LSPConvertSourceRateChannels(rate, channels, entry.source);
    _current = _closed;
    _Open();
}

void LSSRCCat::_Open()
{
    _current = _closed;
    _silenceLeft = 0;
    if (_next >= _entries.size())
        return;
    const LSoundSourceCat::Entry& entry = _entries[_next++];
    if (entry.source->GetError() != kErrNone) {
        _silenceLeft = std::max(LSoundTime(entry.silenceMs).ToFrames(rate), 0);
        return;
    }
    _current = entry.source;
    _current->Seek(0);
}

int LSSRCCat::_Length(const LSoundSourceCat::Entry& entry) const
{
    if (entry.source->GetError() != kErrNone)
        return std::max(LSoundTime(entry.silenceMs).ToFrames(rate), 0);
    return entry.source->GetEndSample();
}

int LSSRCCat::_ReadPart(int* out, int frames)
{
    if (_silenceLeft > 0) {
        const int count = std::min(frames, _silenceLeft);
        std::fill_n(out, static_cast<size_t>(count) * channels, 0);
        _silenceLeft -= count;
        return count;
    }
    if (!_HasCurrent())
        return 0;
    const int fits = _current->GetEndSample() - _current->GetPositionSample();
    if (fits <= 0)
        return 0;
    // The whole block is asked for; what lies behind the end is overwritten by what follows.
    _current->Read(out, frames);
    return std::min(frames, fits);
}

void LSSRCCat::Read(int* buffer, int frames)
{
    if (frames <= 0)
        return;
    int done = 0;
    if (_position < 0) {
        done = std::min(frames, -_position);
        std::fill_n(buffer, static_cast<size_t>(done) * channels, 0);
        _position += done;
    }
    while (done < frames) {
        const int count = _ReadPart(buffer + static_cast<size_t>(done) * channels, frames - done);
        done += count;
        _position += count;
        if (done == frames)
            return;
        if (count == 0 && !_HasCurrent() && _next >= _entries.size())
            break;
        _Open();
    }
    std::fill(buffer + static_cast<size_t>(done) * channels, buffer + static_cast<size_t>(frames) * channels, 0);
}

void LSSRCCat::Seek(int sample)
{
    _next = 0;
    _position = sample;
    int remaining = std::max(sample, 0);
    for (;;) {
        _Open();
        if (!_HasCurrent() && _silenceLeft == 0 && _next >= _entries.size()) {
            _silenceLeft = rate;  // past the last entry
            return;
        }
        const int length = _HasCurrent() ? _current->GetEndSample() : _silenceLeft;
        if (remaining < length) {
            if (_HasCurrent())
                _current->Seek(remaining);
            else
                _silenceLeft -= remaining;
            return;
        }
        remaining -= length;
    }
}

int LSSRCCat::GetEndSample() const
{
    int end = _position + _silenceLeft;
    if (_HasCurrent())
        end += std::max(_current->GetEndSample() - _current->GetPositionSample(), 0);
    for (size_t i = _next; i < _entries.size(); ++i)
        end += _Length(_entries[i]);
    return end;
}

bool LSSRCCat::IsStreaming() const
{
    return std::any_of(_entries.begin(), _entries.end(), [](const LSoundSourceCat::Entry& entry) {
        return entry.source->GetError() == kErrNone && entry.source->IsStreaming();
    });
}

void LSSRCCat::WaitForStreamingData(int milliseconds)
{
    if (_HasCurrent()) {
        _current->WaitForStreamingData(milliseconds);
        return;
    }
    for (LSoundSourceCat::Entry& entry : _entries)
        if (entry.source->GetError() == kErrNone) {
            entry.source->WaitForStreamingData(milliseconds);
            return;
        }
    LSoundSourceBase::WaitForStreamingData(milliseconds);
}
