#include "sound/LWaveFile.h"

#include "base/LFile.h"
#include "base/LFileRef.h"
#include "sound/LByteOrder.h"
#include "sound/LSNKPCMFile.h"
#include "sound/LSRCPCMFile.h"
#include "sound/LSampleFormat.h"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uint32_t kMinFormatBytes = 16;
constexpr uint32_t kMaxFormatBytes = 8192;
// The sub-format GUID of extensible integer PCM, as stored in the file.
constexpr uint8_t kSubtypePCM[16] = {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                     0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71};

uint64_t _Padded(uint32_t size) { return (uint64_t(size) + 1) & ~uint64_t(1); }

// Walks the chunks of a WAVE file up to its data. Every step returns an error state, 0 when
// it succeeded; the file then stands behind what was read.
class WaveWalker {
public:
    explicit WaveWalker(LReadFileRef& file) : _file(file) {}

    // Skips outer chunks up to the RIFF WAVE form, then finds and reads the format chunk.
    unsigned char ReadFormat(LWaveFileFormat& format, bool& extensiblePCM)
    {
        if (!_FindRiffWave())
            return kErrBadFormat;
        uint32_t size = 0;
        if (!_FindChunk("fmt ", size) || size < kMinFormatBytes || size > kMaxFormatBytes)
            return kErrBadFormat;
        uint8_t block[kMaxFormatBytes];
        if (_file.Read(block, size) != size || ((size & 1) && !_file.SeekOffset64(1)))
            return kErrBadFormat;
        format.wFormatTag = LGetLE16(block);
        format.nChannels = LGetLE16(block + 2);
        format.nSamplesPerSec = LGetLE32(block + 4);
        format.nAvgBytesPerSec = LGetLE32(block + 8);
        format.nBlockAlign = LGetLE16(block + 12);
        format.wBitsPerSample = LGetLE16(block + 14);
        format.cbSize = size >= 18 ? LGetLE16(block + 16) : 0;
        extensiblePCM = format.wFormatTag == kWaveTagExtensible && format.cbSize >= 22 &&
                        size >= 40 && std::memcmp(block + 24, kSubtypePCM, 16) == 0;
        return kErrNone;
    }

    unsigned char FindData(uint32_t& dataBytes)
    {
        return _FindChunk("data", dataBytes) ? kErrNone : kErrBadFormat;
    }

private:
    bool _FindRiffWave()
    {
        uint8_t head[12];
        while (_file.Read(head, 12) == 12) {
            if (std::memcmp(head, "RIFF", 4) == 0 && std::memcmp(head + 8, "WAVE", 4) == 0)
                return true;
            const uint64_t size = _Padded(LGetLE32(head + 4));
            if (size < 5 || !_file.SeekOffset64(static_cast<int64_t>(size) - 4))
                return false;
        }
        return false;
    }

    bool _FindChunk(const char* id, uint32_t& size)
    {
        uint8_t head[8];
        while (_file.Read(head, 8) == 8) {
            size = LGetLE32(head + 4);
            if (std::memcmp(head, id, 4) == 0)
                return true;
            if (!_file.SeekOffset64(static_cast<int64_t>(_Padded(size))))
                return false;
        }
        return false;
    }

    LReadFileRef& _file;
};

// Only regular files: a pipe would block the open, and a device such as /dev/urandom would feed
// the chunk walk for ever.
bool _OpenRegular(LReadFileRef& file, char const* path)
{
    struct stat info;
    return stat(path, &info) == 0 && S_ISREG(info.st_mode) && file.Open(path) &&
           fstat(file.GetDescriptor(), &info) == 0 && S_ISREG(info.st_mode);
}

LSoundSource _OpenPCM(LReadFileRef& file, const LWaveFileFormat& format, uint32_t dataBytes)
{
    const int rate = static_cast<int>(format.nSamplesPerSec);
    const auto channels = static_cast<unsigned char>(format.nChannels);
    const unsigned bits = format.wBitsPerSample;
    if (bits < 9)
        return LSoundSource(new LSRCPCMFile<LSFU8>(file, rate, channels, kPeakLimit, 1, dataBytes));
    if (bits < 17)
        return LSoundSource(new LSRCPCMFile<LSF16>(file, rate, channels, kPeakLimit, 2, dataBytes));
    if (bits > 24)
        return LSoundSource(new LSRCPCMFile<LSF32>(file, rate, channels, kPeakLimit, 4, dataBytes));
    return LSoundSource(new LSRCPCMFile<LSFLE24>(file, rate, channels, kPeakLimit, 3, dataBytes));
}

LSoundSource _OpenByTag(LReadFileRef& file, const LWaveFileFormat& format, uint32_t dataBytes)
{
    switch (format.wFormatTag) {
    case kWaveTagPCM:
        return _OpenPCM(file, format, dataBytes);
    case kWaveTagFloat:
        if (format.wBitsPerSample != 32)
            return MakeErrorSource(kErrBadFormat);
        return LSoundSource(new LSRCPCMFile<LSFF32>(file, static_cast<int>(format.nSamplesPerSec),
                                                    static_cast<unsigned char>(format.nChannels),
                                                    kPeakFloatFile, 4, dataBytes));
    case kWaveTagALaw:
    case kWaveTagMuLaw:
    case kWaveTagTrueSpeech:
        return MakeErrorSource(kErrRefusedCodec, static_cast<int>(format.nSamplesPerSec),
                               static_cast<unsigned char>(format.nChannels));
    default:
        // IMA ADPCM, GSM 6.10 and MP3 in WAVE have no decoder here yet.
        return MakeErrorSource(kErrCodec);
    }
}

}  // namespace

LSoundSource LWaveFile::OpenSource(char const* path)
{
    LReadFileRef file;
    if (!_OpenRegular(file, path))
        return MakeErrorSource(kErrMissing);
    WaveWalker walker(file);
    LWaveFileFormat format;
    bool extensiblePCM = false;
    uint32_t dataBytes = 0;
    if (walker.ReadFormat(format, extensiblePCM) != kErrNone || walker.FindData(dataBytes) != kErrNone)
        return MakeErrorSource(kErrBadFormat);
    if (extensiblePCM)
        format.wFormatTag = kWaveTagPCM;
    if (format.nChannels < 1 || format.nChannels > LWaveFile::kMaxChannels ||
        format.nSamplesPerSec < 1 || format.nSamplesPerSec > LWaveFile::kMaxRate)
        return MakeErrorSource(kErrBadFormat);
    return _OpenByTag(file, format, dataBytes);
}

LSoundSource LWaveFile::OpenSourceDeletingFileWhenClosed(char const* path)
{
    // The file is deleted by the path kept in a path buffer: a path that does not fit there is
    // refused, or the file of its cut name would go.
    if (!LFile::_FitsPath(path))
        return MakeErrorSource(kErrMissing);
    return LSoundSource(new LWavSourceDeleteWhenClosed(path, OpenSource(path)));
}

LSoundSink LWaveFile::OpenSink(char const* path, LWaveFileFormat const& format)
{
    const auto channels = static_cast<unsigned char>(format.nChannels);
    const int rate = static_cast<int>(format.nSamplesPerSec);
    if (format.wFormatTag == kWaveTagPCM)
        return OpenSinkPCM(path, rate, channels, format.wBitsPerSample, 0);
    if (format.wFormatTag == kWaveTagFloat && format.wBitsPerSample == 32)
        return LSoundSink(new LSNKPCMFile<LSFF32>(path, rate, channels, 0));
    // GSM 6.10 has no encoder here yet.
    return LSoundSink();
}

LSoundSink LWaveFile::OpenSinkPCM(char const* path, int rate, unsigned char channels,
                                  unsigned short bits, int startFrame)
{
    if (bits < 9)
        return LSoundSink(new LSNKPCMFile<LSFU8>(path, rate, channels, startFrame));
    if (bits < 17)
        return LSoundSink(new LSNKPCMFile<LSF16>(path, rate, channels, startFrame));
    if (bits < 25)
        return LSoundSink(new LSNKPCMFile<LSFLE24>(path, rate, channels, startFrame));
    return LSoundSink(new LSNKPCMFile<LSF32>(path, rate, channels, startFrame));
}

bool LWaveFormatEx::_Load(char const* path, std::unique_ptr<WAVEFORMATEX>& out)
{
    LReadFileRef file;
    if (!_OpenRegular(file, path))
        return false;
    auto format = std::make_unique<WAVEFORMATEX>();
    bool extensiblePCM = false;
    if (WaveWalker(file).ReadFormat(*format, extensiblePCM) != kErrNone)
        return false;
    out = std::move(format);
    return true;
}

LWavSourceDeleteWhenClosed::LWavSourceDeleteWhenClosed(char const* path, const LSoundSource& inner)
    : LSoundSourceBase(inner->GetRate(), inner->GetChannels(), inner->GetPeak()), _source(inner)
{
    if (!LFile::_MakeFilePath(_path, "", path))
        _path[0] = 0;  // never delete by a cut name
    error = inner->GetError();
}

LWavSourceDeleteWhenClosed::~LWavSourceDeleteWhenClosed()
{
    // The file goes only after the reader has let it go.
    _source.Close();
    if (_path[0])
        unlink(_path);
}

void LGetWaveFileCodecName(char* out, char const* path)
{
    std::snprintf(out, 260, "%s", WaveCodecs[0].text);
    std::unique_ptr<WAVEFORMATEX> format;
    if (!LWaveFormatEx::_Load(path, format) || format->wFormatTag == 0 || format->nChannels == 0 ||
        format->nSamplesPerSec == 0)
        return;
    for (unsigned i = 0; i < uNumWaveCodecs; ++i) {
        if (WaveCodecs[i].tag == format->wFormatTag) {
            std::snprintf(out, 260, "%s", WaveCodecs[i].text);
            return;
        }
    }
}
