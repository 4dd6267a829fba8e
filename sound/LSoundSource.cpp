#include "sound/LSoundSource.h"

#include <cerrno>
#include <cstring>
#include <time.h>

char const* LGetSoundErrorText(LSoundError errorState)
{
    static char const* const texts[] = {
        "none",
        "closed or never opened",
        "inner source has an error",
        "bad or corrupt file",
        "missing or unreadable file",
        "codec not handled",
        "encrypted without the right key",
        "codec refused in WAVE files (A-law, mu-law, True Speech)",
    };
    return errorState < sizeof(texts) / sizeof(texts[0]) ? texts[errorState] : "unknown error";
}

LSoundSourceBase::LSoundSourceBase(int rateHz, unsigned char channelCount, int peakValue)
    : rate(rateHz), peak(peakValue), channels(channelCount)
{
    if (rate < 1) {
        rate = kRateFallbackHz;
        error = kErrBadFormat;
    }
    if (channels == 0) {
        channels = 1;
        error = kErrBadFormat;
    }
}

void LSoundSourceBase::Seek(int) {}

int LSoundSourceBase::GetResyncPositionSample() const
{
    return GetPositionSample();
}

bool LSoundSourceBase::ControlMessage(LControlMessage, long*)
{
    return false;
}

bool LSoundSourceBase::IsStreaming() const
{
    return false;
}

void LSoundSourceBase::WaitForStreamingData(int milliseconds)
{
    if (milliseconds <= 0)
        return;
    timespec wait{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1000000L};
    while (nanosleep(&wait, &wait) != 0 && errno == EINTR) {
    }
}

LSoundSourceError::LSoundSourceError(int rateHz, unsigned char channelCount, int peakValue,
                                     LSoundError errorState)
    : LSoundSourceBase(rateHz, channelCount, peakValue)
{
    error = errorState;
}

void LSoundSourceError::Read(int* buffer, int frames)
{
    // Zero-fills `frames` values, as the error source always has.
    if (frames > 0)
        std::memset(buffer, 0, sizeof(int) * static_cast<size_t>(frames));
}

LSoundSource MakeErrorSource(LSoundError errorState, int rate, unsigned char channels, int peak)
{
    return LSoundSource(new LSoundSourceError(rate, channels, peak, errorState));
}

LSoundSource::LSoundSource() : _source(new LSoundSourceError(kClosedRateHz, 1, kPeakDefault, kErrClosed))
{
    _source->_refs = 1;
}

LSoundSource::LSoundSource(LSoundSourceBase* source) : _source(source)
{
    ++_source->_refs;
}

LSoundSource::LSoundSource(const LSoundSource& other) : _source(other._source)
{
    ++_source->_refs;
}

LSoundSource& LSoundSource::operator=(const LSoundSource& other)
{
    // Increment first, so that assigning a handle to itself keeps the object alive.
    LSoundSourceBase* incoming = other._source;
    ++incoming->_refs;
    _Release(_source);
    _source = incoming;
    return *this;
}

LSoundSource::~LSoundSource()
{
    _Release(_source);
}

void LSoundSource::Close()
{
    *this = LSoundSource();
}

void LSoundSource::_Release(LSoundSourceBase* source)
{
    if (--source->_refs == 0)
        delete source;
}

LSoundProcessBase::LSoundProcessBase(const LSoundSource& inner)
    : LSoundSourceBase(inner->GetRate(), inner->GetChannels(), inner->GetPeak()), source(inner)
{
    if (inner->GetError() != kErrNone)
        error = kErrInner;
}

int LSoundProcessBase::GetPositionSample() const
{
    return source->GetPositionSample();
}

int LSoundProcessBase::GetEndSample() const
{
    return source->GetEndSample();
}

void LSoundProcessBase::Seek(int sample)
{
    source->Seek(sample);
}

bool LSoundProcessBase::IsStreaming() const
{
    return source->IsStreaming();
}

void LSoundProcessBase::WaitForStreamingData(int milliseconds)
{
    source->WaitForStreamingData(milliseconds);
}

LSoundSinkBase::LSoundSinkBase(int rateHz, unsigned char channelCount)
    : rate(rateHz), channels(channelCount)
{
    if (channels == 0) {
        channels = 1;
        error = kSinkErrorFlag;
    }
}

void LSoundSinkBase::Seek(int) {}

LSoundSinkError::LSoundSinkError() : LSoundSinkBase(kRateFallbackHz, 1)
{
    error = kSinkErrorFlag;
}

LSoundSink::LSoundSink() : _sink(new LSoundSinkError())
{
    _sink->_refs = 1;
}

LSoundSink::LSoundSink(LSoundSinkBase* sink) : _sink(sink)
{
    ++_sink->_refs;
}

LSoundSink::LSoundSink(const LSoundSink& other) : _sink(other._sink)
{
    ++_sink->_refs;
}

LSoundSink& LSoundSink::operator=(const LSoundSink& other)
{
    LSoundSinkBase* incoming = other._sink;
    ++incoming->_refs;
    _Release(_sink);
    _sink = incoming;
    return *this;
}

LSoundSink::~LSoundSink()
{
    _Release(_sink);
}

void LSoundSink::Close()
{
    *this = LSoundSink();
}

void LSoundSink::_Release(LSoundSinkBase* sink)
{
    if (--sink->_refs == 0)
        delete sink;
}
