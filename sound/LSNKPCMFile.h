#pragma once

#include "sound/LSoundSource.h"

#include <cstdint>
#include <memory>

// A WAVE file being written: a 46-byte header whose sizes hold placeholders until the sink is
// destroyed, then interleaved PCM. A reader may play the file while it grows.
class LSNKPCMFileBase : public LSoundSinkBase {
public:
    static constexpr int kHeaderBytes = 46;
    // The largest data size that still reads back as a known length; a longer file's header
    // stops there.
    static constexpr int64_t kMaxDataBytes = 0xffffff00 - 38;

    // Opens `path` for reading and writing (created, not truncated) with a shared lock and
    // writes the placeholder header. A `startFrame` above 0 continues an earlier file from that
    // frame, as far as the file reaches; the file is cut behind it.
    LSNKPCMFileBase(char const* path, int rate, unsigned char channels, int bytesPerSample,
                    int startFrame);
    // Writes the true header and closes.
    ~LSNKPCMFileBase() override;

    // Backward only: rewinds to `sample` (negative is 0) and cuts the file there.
    void Seek(int sample) override;
    // The true header for the data so far, then the data flushed to the disk.
    void Commit() override;

protected:
    static constexpr int kBlockFrames = 8192;  // frames converted per write call

    void _WriteBytes(int frames);  // writes `frames` frames from `conversion`

    int bytesPerSample;
    int frameSize;
    int fd = -1;
    std::unique_ptr<uint8_t[]> conversion;

private:
    bool _WriteHeader(uint32_t riffSize, uint32_t dataSize);
    bool _WriteTrueHeader();
    int64_t _FrameOffset(int64_t frame) const { return kHeaderBytes + frame * frameSize; }
};

template <typename F>
class LSNKPCMFile : public LSNKPCMFileBase {
public:
    LSNKPCMFile(char const* path, int rate, unsigned char channels, int startFrame)
        : LSNKPCMFileBase(path, rate, channels, sizeof(F), startFrame)
    {
    }
    void Write(int const* buffer, int frames) override;
};
