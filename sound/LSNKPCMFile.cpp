#include "sound/LSNKPCMFile.h"

#include "base/LFile.h"
#include "base/LFileRef.h"
#include "sound/LByteOrder.h"
#include "sound/LSampleFormat.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Placeholders while writing: readers take sizes above 0xffffff00 as "still growing".
constexpr uint32_t kRiffPlaceholder = 0xffffffff;
constexpr uint32_t kDataPlaceholder = 0xffffffd9;

}  // namespace

LSNKPCMFileBase::LSNKPCMFileBase(char const* path, int rateHz, unsigned char channelCount,
                                 int bytes, int startFrame)
    : LSoundSinkBase(rateHz, channelCount), bytesPerSample(bytes), frameSize(bytes * channels)
{
    conversion = std::make_unique<uint8_t[]>(static_cast<size_t>(frameSize) * kBlockFrames);
    // Owner-writable whatever the umask: a recording is the user's file, not everyone's.
    fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC, LFile::kFileMode);
    if (fd >= 0 && flock(fd, LOCK_SH | LOCK_NB) != 0) {
        close(fd);
        fd = -1;
    }
    if (fd < 0 || !_WriteHeader(kRiffPlaceholder, kDataPlaceholder)) {
        error |= kSinkErrorFlag;
        return;
    }
    struct stat info;
    const int64_t fileSize = fstat(fd, &info) == 0 ? info.st_size : kHeaderBytes;
    const int64_t offset = std::clamp<int64_t>(_FrameOffset(std::max(startFrame, 0)),
                                               kHeaderBytes, std::max<int64_t>(fileSize, kHeaderBytes));
    // Continue at a whole frame, so that positions and file offsets stay in step.
    position = static_cast<int>((offset - kHeaderBytes) / frameSize);
    const int64_t start = _FrameOffset(position);
    if (lseek(fd, start, SEEK_SET) != start || ftruncate(fd, start) != 0)
        error |= kSinkErrorFlag;
}

LSNKPCMFileBase::~LSNKPCMFileBase()
{
    if (fd < 0)
        return;
    _WriteTrueHeader();
    close(fd);
}

// The data ends where writing stopped, even after a failed write.
bool LSNKPCMFileBase::_WriteTrueHeader()
{
    const int64_t dataBytes = std::clamp<int64_t>(lseek(fd, 0, SEEK_CUR) - kHeaderBytes, 0, kMaxDataBytes);
    return _WriteHeader(static_cast<uint32_t>(dataBytes + 38), static_cast<uint32_t>(dataBytes));
}

void LSNKPCMFileBase::Commit()
{
    if (fd < 0 || !_WriteTrueHeader() || fdatasync(fd) != 0)
        error |= kSinkErrorFlag;
}

bool LSNKPCMFileBase::_WriteHeader(uint32_t riffSize, uint32_t dataSize)
{
    const uint32_t bits = static_cast<uint32_t>(bytesPerSample) * 8;
    uint8_t header[kHeaderBytes] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E',
                                    'f', 'm', 't', ' '};
    LPutLE32(header + 4, riffSize);
    LPutLE32(header + 16, 18);
    LPutLE16(header + 20, 1);  // PCM, also for float data
    LPutLE16(header + 22, channels);
    LPutLE32(header + 24, static_cast<uint32_t>(rate));
    LPutLE32(header + 28, static_cast<uint32_t>(rate) * channels * bits / 8);
    LPutLE16(header + 32, bits / 8 * channels);
    LPutLE16(header + 34, bits);
    LPutLE16(header + 36, 0);
    header[38] = 'd';
    header[39] = 'a';
    header[40] = 't';
    header[41] = 'a';
    LPutLE32(header + 42, dataSize);
    return pwrite(fd, header, kHeaderBytes, 0) == kHeaderBytes;
}

void LSNKPCMFileBase::Seek(int sample)
{
    if (sample > position)
        return;
    position = std::max(sample, 0);
    const int64_t offset = _FrameOffset(position);
    if (fd < 0 || lseek(fd, offset, SEEK_SET) != offset || ftruncate(fd, offset) != 0)
        error |= kSinkErrorFlag;
}

void LSNKPCMFileBase::_WriteBytes(int frames)
{
    const size_t bytes = static_cast<size_t>(frames) * static_cast<size_t>(frameSize);
    if (fd < 0 || LWriteFully(fd, conversion.get(), bytes) != bytes)
        error |= kSinkErrorFlag;
}

template <typename F>
void LSNKPCMFile<F>::Write(int const* buffer, int frames)
{
    if (frames <= 0)
        return;
    position = position > INT_MAX - frames ? INT_MAX : position + frames;
    while (frames > 0) {
        const int piece = std::min(frames, kBlockFrames);
        ConvertSamplesOut(reinterpret_cast<F*>(conversion.get()), buffer, piece * channels);
        _WriteBytes(piece);
        buffer += piece * channels;
        frames -= piece;
    }
}

template class LSNKPCMFile<LSFU8>;
template class LSNKPCMFile<LSF16>;
template class LSNKPCMFile<LSFLE24>;
template class LSNKPCMFile<LSF32>;
template class LSNKPCMFile<LSFF32>;
