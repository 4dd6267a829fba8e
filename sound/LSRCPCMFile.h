#pragma once

#include "base/LFileRef.h"
#include "sound/LSoundSource.h"

#include <cstdint>
#include <memory>

// A source over raw interleaved PCM in a file, from the file's offset at construction on.
// Positions may be negative (silence until frame 0) and pass the end (silence). While the end
// is unknown the file may still be growing: GetEndSample follows it and IsStreaming is true.
class LSRCPCMFileBase : public LSoundSourceBase {
public:
    // Takes over `file`'s descriptor (error 4 when it has none). `dataBytes` above 0xffffff00
    // means the length is unknown; a known length is limited to what the file holds.
    LSRCPCMFileBase(LReadFileRef& file, int rate, unsigned char channels, int peak,
                    unsigned long bytesPerSample, unsigned int dataBytes);
    ~LSRCPCMFileBase() override;

    int GetPositionSample() const override { return position; }
    int GetEndSample() const override;
    void Seek(int sample) override;
    bool IsStreaming() const override { return end < 0; }

protected:
    static constexpr int kBlockFrames = 8192;  // most frames read by one system call

    // One piece of a Read of at most kBlockFrames frames: advances the position and reads what
    // the file holds for it into `conversion`.
    struct Piece {
        int leadingFrames;  // silence before frame 0
        int values;         // values truly read into `conversion`, placed after the silence
    };
    Piece _FetchPiece(int frames);

    int fd = -1;
    int64_t dataStart = 0;  // bytes
    int position = 0;       // frames
    mutable int end = -1;   // frames, -1 while unknown
    int frameSize = 2;      // bytes
    std::unique_ptr<uint8_t[]> conversion;

private:
    // Whole frames of `dataBytes`, or of the file behind the data start when it holds less.
    int _HeldFrames(int64_t dataBytes) const;

    int _bytesPerSample;
};

// The reader of one sample format.
template <typename F>
class LSRCPCMFile : public LSRCPCMFileBase {
public:
    using LSRCPCMFileBase::LSRCPCMFileBase;
    void Read(int* buffer, int frames) override;
};
