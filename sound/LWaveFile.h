#pragma once

#include "sound/LSoundSource.h"

#include <cstdint>
#include <memory>

// The format block of a WAVE file (the standard WAVEFORMATEX layout, 18 bytes on disk).
struct LWaveFileFormat {
    uint16_t wFormatTag = 0;
    uint16_t nChannels = 0;
    uint32_t nSamplesPerSec = 0;
    uint32_t nAvgBytesPerSec = 0;
    uint16_t nBlockAlign = 0;
    uint16_t wBitsPerSample = 0;
    uint16_t cbSize = 0;  // bytes of format data behind these fields
};
using WAVEFORMATEX = LWaveFileFormat;

// Format tags this layer acts on.
enum : uint16_t {
    kWaveTagPCM = 1,
    kWaveTagFloat = 3,
    kWaveTagALaw = 6,
    kWaveTagMuLaw = 7,
    kWaveTagIMA = 17,
    kWaveTagTrueSpeech = 34,
    kWaveTagGSM = 49,
    kWaveTagMP3 = 85,
    kWaveTagExtensible = 0xfffe,
};

// Opening and creating WAVE files.
class LWaveFile {
public:
    // What the reader accepts; a file beyond these is error 3, so writers keep within them.
    static constexpr int kMaxRate = 196000;  // Hz
    static constexpr int kMaxChannels = 255;

    // A source over the file's data; on failure an error source: 3 corrupt or unsupported
    // shape, 4 unreadable, 5 codec not handled, 7 refused codec.
    static LSoundSource OpenSource(char const* path);
    // As OpenSource; the file is deleted when the source dies.
    static LSoundSource OpenSourceDeletingFileWhenClosed(char const* path);
    // PCM by the format's bit depth, or 32-bit float for tag 3; otherwise an error sink.
    static LSoundSink OpenSink(char const* path, LWaveFileFormat const& format);
    // 8, 16, 24 or 32-bit integer PCM (bits up to 8, 16, 24, above), continuing at `startFrame`.
    static LSoundSink OpenSinkPCM(char const* path, int rate, unsigned char channels,
                                  unsigned short bits, int startFrame);
};

class LWaveFormatEx {
public:
    // The file's format block; false for any fault of the file. For format chunks of 17 bytes
    // or less the extra size reads 0.
    static bool _Load(char const* path, std::unique_ptr<WAVEFORMATEX>& out);
};

// Plays an inner source and deletes its file when the last handle goes.
class LWavSourceDeleteWhenClosed : public LSoundSourceBase {
public:
    LWavSourceDeleteWhenClosed(char const* path, const LSoundSource& inner);
    ~LWavSourceDeleteWhenClosed() override;

    void Read(int* buffer, int frames) override { _source->Read(buffer, frames); }
    int GetPositionSample() const override { return _source->GetPositionSample(); }
    int GetEndSample() const override { return _source->GetEndSample(); }
    void Seek(int sample) override { _source->Seek(sample); }
    bool IsStreaming() const override { return _source->IsStreaming(); }
    void WaitForStreamingData(int milliseconds) override { _source->WaitForStreamingData(milliseconds); }

private:
    char _path[260];
    LSoundSource _source;
};

struct LWaveCodecName {
    uint16_t tag;
    char const* text;
};
extern const LWaveCodecName WaveCodecs[];
extern const unsigned uNumWaveCodecs;

// The name of the file's codec; the unknown-format name when the file has no usable format.
// `out` holds at least 260 bytes.
void LGetWaveFileCodecName(char* out, char const* path);
