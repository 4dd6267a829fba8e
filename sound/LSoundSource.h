#pragma once

#include <cstdint>

// The pull graph. Samples are signed 32-bit, frames interleaved; full scale is 2^19
// (+524288 is float +1.0, a 16-bit value is held shifted left by 4). Every count handed to
// Read, Seek, GetPositionSample and GetEndSample is in frames.

constexpr int kFullScale = 0x80000;        // float 1.0
constexpr int kPeakLimit = 0x7fff0;        // largest value a device or file may receive
constexpr int kPeakFloatFile = 0x1000a8;   // peak of a float file source
constexpr int kPeakDefault = 0x200000;     // peak when a source cannot tell
constexpr int kRateFallbackHz = 44100;     // what a rate below 1 becomes
constexpr int kClosedRateHz = 11025;       // rate of the silent source a closed handle holds
constexpr int kPeakMaxDoubled = 0x100000;  // 2 x full scale: a stage that can overshoot doubles a peak up to this

// Stream error states: the error byte of a source.
enum LSoundError : unsigned char {
    kErrNone = 0,
    kErrClosed = 1,        // closed or never opened
    kErrInner = 2,         // a process's inner source has an error
    kErrBadFormat = 3,     // bad rate, channels or file format
    kErrMissing = 4,       // file missing or unreadable
    kErrCodec = 5,         // codec not handled
    kErrEncrypted = 6,
    kErrRefusedCodec = 7,  // WAVE tags 6, 7, 34
};

// Ids of the out-of-band messages sent down a chain, each with one meaning wherever it lands.
enum LControlMessage : int {
    kMsgPrefillSecondary = 0,  // splitter: prefill the secondary branch; data points at a frame difference
    kMsgCrossFade = 1,         // recording tap: crossfade the next block; data, when given, the frames to span
    kMsgSeekBelow = 2,         // rate converter: seek the stream below it to *data (its own frames)
    kMsgPositionBelow = 3,     // rate converter: store the position of the stream below it in *data
};

// A short English meaning of a source error state, for messages.
char const* LGetSoundErrorText(LSoundError errorState);

class LSoundSource;

class LSoundSourceBase {
public:
    // A rate below 1 becomes 44100 and channels 0 becomes 1; both set error 3.
    LSoundSourceBase(int rate, unsigned char channels, int peak);
    virtual ~LSoundSourceBase() = default;
    LSoundSourceBase(const LSoundSourceBase&) = delete;
    LSoundSourceBase& operator=(const LSoundSourceBase&) = delete;

    // Fills all `frames` frames; past the end of data the rest is zero.
    virtual void Read(int* buffer, int frames) = 0;
    // Index of the next frame Read delivers.
    virtual int GetPositionSample() const = 0;
    // Frame count of the stream.
    virtual int GetEndSample() const = 0;
    virtual void Seek(int sample);
    // Where the player re-aligns the stream; a mixer answers differently.
    virtual int GetResyncPositionSample() const;
    // Out-of-band message from the consumer; false when nobody took it. Wrappers that care
    // pass the ones they do not take to their inner source.
    virtual bool ControlMessage(LControlMessage id, long* data);
    // True while more data may arrive though GetEndSample is reached.
    virtual bool IsStreaming() const;
    // Sleeps `milliseconds`, resuming after signals.
    virtual void WaitForStreamingData(int milliseconds);

    int GetRate() const { return rate; }
    int GetPeak() const { return peak; }
    unsigned char GetChannels() const { return channels; }
    LSoundError GetError() const { return error; }

protected:
    int rate;
    int peak;
    unsigned char channels;
    LSoundError error = kErrNone;

private:
    friend class LSoundSource;
    uint16_t _refs = 0;  // owned by the handles; not atomic, a chain belongs to one thread at a time
};

// Reference-counted handle, never null: a closed or default handle holds an error source.
class LSoundSource {
public:
    LSoundSource();
    // Takes the first reference of a freshly made source.
    explicit LSoundSource(LSoundSourceBase* source);
    LSoundSource(const LSoundSource& other);
    LSoundSource& operator=(const LSoundSource& other);
    ~LSoundSource();

    // Releases the source and installs a silent error source (11025 Hz, 1 channel, error 1).
    void Close();

    LSoundSourceBase* operator->() const { return _source; }
    LSoundSourceBase& operator*() const { return *_source; }
    LSoundSourceBase* Get() const { return _source; }

private:
    static void _Release(LSoundSourceBase* source);
    LSoundSourceBase* _source;
};

// Silence of length 0 carrying an error state.
class LSoundSourceError : public LSoundSourceBase {
public:
    LSoundSourceError(int rate, unsigned char channels, int peak, LSoundError errorState);
    void Read(int* buffer, int frames) override;
    int GetPositionSample() const override { return 0; }
    int GetEndSample() const override { return 0; }
};

// Makes a handle to an error source of the given state and shape.
LSoundSource MakeErrorSource(LSoundError errorState, int rate = kClosedRateHz, unsigned char channels = 1,
                             int peak = kPeakDefault);

// A source that wraps another. Takes the inner source's rate, channels and peak; error 2 when
// the inner source has an error. Forwards positions, Seek and streaming; not the resync
// position or control messages.
class LSoundProcessBase : public LSoundSourceBase {
public:
    explicit LSoundProcessBase(const LSoundSource& inner);
    int GetPositionSample() const override;
    int GetEndSample() const override;
    void Seek(int sample) override;
    bool IsStreaming() const override;
    void WaitForStreamingData(int milliseconds) override;

protected:
    LSoundSource source;  // the inner source
};

// A parameter object that wraps a stream: fill it, then `h = desc.OpenSource(h)`.
class LSoundProcessDescription {
public:
    virtual ~LSoundProcessDescription() = default;
    virtual LSoundSource OpenSource(LSoundSource& inner) const = 0;
};

// Bits of a sink's error flags.
enum LSoundSinkFlag : unsigned char { kSinkErrorFlag = 1 };

class LSoundSink;

class LSoundSinkBase {
public:
    // Channels 0 becomes 1 and sets the error flag.
    LSoundSinkBase(int rate, unsigned char channels);
    virtual ~LSoundSinkBase() = default;
    LSoundSinkBase(const LSoundSinkBase&) = delete;
    LSoundSinkBase& operator=(const LSoundSinkBase&) = delete;

    virtual void Write(int const* buffer, int frames) = 0;
    virtual void Seek(int sample);
    // Makes what was written so far a whole, readable file on disk (a header true to it,
    // data flushed); the default has nothing to do.
    virtual void Commit() {}

    int GetPosition() const { return position; }
    int GetRate() const { return rate; }
    unsigned char GetChannels() const { return channels; }
    unsigned char GetError() const { return error; }

protected:
    int position = 0;  // frames written so far
    int rate;
    unsigned char channels;
    unsigned char error = 0;  // bit 0: a failure happened

private:
    friend class LSoundSink;
    uint16_t _refs = 0;
};

class LSoundSink {
public:
    LSoundSink();
    explicit LSoundSink(LSoundSinkBase* sink);
    LSoundSink(const LSoundSink& other);
    LSoundSink& operator=(const LSoundSink& other);
    ~LSoundSink();

    // Releases the sink and installs an error sink (44100 Hz, 1 channel, flag set) that
    // ignores writes.
    void Close();

    LSoundSinkBase* operator->() const { return _sink; }
    LSoundSinkBase& operator*() const { return *_sink; }
    LSoundSinkBase* Get() const { return _sink; }

private:
    static void _Release(LSoundSinkBase* sink);
    LSoundSinkBase* _sink;
};

class LSoundSinkError : public LSoundSinkBase {
public:
    LSoundSinkError();
    void Write(int const*, int) override {}
};
