#pragma once

#include "sound/LSoundSource.h"

#include <atomic>
#include <cstdint>
#include <memory>

// The media decoder: whatever FFmpeg's libraries read, as a source at the file's own rate and
// channels in the framework's scale.
//
// Frames are placed by their timestamps on a timeline whose 0 is the stream's first sample, so
// encoder delay that the container announces is dropped, a decoder that starts late is padded
// with silence, and end padding past the container's length is cut. GetEndSample is that
// length, found at open by reading the packets (not decoding them); where timestamps are too
// coarse to place samples (Windows Media's milliseconds), by decoding the file once.
// Seek goes back at least two packets before the target and discards decoded frames up to it,
// so seek-then-read gives the frames that reading from the start gives.
class LQTDecodeSoundSourceBase : public LSoundSourceBase {
public:
    ~LQTDecodeSoundSourceBase() override;

    void Read(int* buffer, int frames) override;
    int GetPositionSample() const override { return _position; }
    int GetEndSample() const override { return _end; }
    void Seek(int sample) override;

    // The stream's codec as FFmpeg names it ("mp3", "vorbis"); "" when not open.
    const char* GetCodecName() const;

private:
    friend class LQTDecode;
    struct Decoder;  // FFmpeg's state

    LQTDecodeSoundSourceBase(int rate, unsigned char channels, int peak);

    // Decodes the next frame into the pending block; false at the end of the stream or on a
    // decoder fault (the end then becomes the position reached).
    bool _DecodeNext();
    bool _ReceiveFrame();
    void _TakeFrame();
    bool _RewindTo(int target);
    static LSoundError _OpenDecoder(Decoder& d);
    // Sets _end; false when the stream has no frames or the open was cancelled.
    bool _MeasureLength(const char* path);
    int64_t _ScanPacketsForEnd(const char* path);

    std::unique_ptr<Decoder> _decoder;
    int _position = 0;
    int _end = 0;
    bool _eof = false;
    // Decoded frames not yet delivered: _pending[(i - _pendingStart) * channels ...] for
    // timeline frames _pendingStart up to _pendingStart + _pendingFrames.
    std::unique_ptr<int[]> _pending;
    int _pendingCapacity = 0;  // frames
    int64_t _pendingStart = 0;
    int _pendingFrames = 0;
};

class LQTDecode {
public:
    // Opens `path` on the calling thread. `cancel` (optional) ends a slow open early: FFmpeg's
    // reads check it until OpenSource returns, and not after. Error states: 4 missing or unreadable, 3 nothing FFmpeg can decode, 5 a
    // stream whose decoder FFmpeg lacks, 1 cancelled.
    static LSoundSource OpenSource(const char* path, const std::atomic<bool>* cancel = nullptr);
};
