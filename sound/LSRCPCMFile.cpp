#include "sound/LSRCPCMFile.h"

#include "sound/LByteOrder.h"
#include "sound/LSampleFormat.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned int kUnknownLength = 0xffffff00;  // data sizes above this are placeholders

int _ClampFrames(int64_t frames)
{
    return static_cast<int>(std::clamp<int64_t>(frames, INT_MIN, INT_MAX));
}

int64_t _FileBytes(int fd)
{
    struct stat info;
    return fstat(fd, &info) == 0 ? info.st_size : 0;
}

ssize_t _ReadAt(int fd, void* dest, size_t bytes, int64_t offset)
{
    ssize_t got;
    do {
        got = pread(fd, dest, bytes, offset);
    } while (got < 0 && errno == EINTR);
    return got;
}

}  // namespace

LSRCPCMFileBase::LSRCPCMFileBase(LReadFileRef& file, int rateHz, unsigned char channelCount, int peakValue,
                                 unsigned long bytesPerSample, unsigned int dataBytes)
    : LSoundSourceBase(rateHz, channelCount, peakValue),
      _bytesPerSample(static_cast<int>(std::min<unsigned long>(bytesPerSample, 8)))
{
    dataStart = file.Tell64();
    fd = file.TakeDescriptor();
    if (fd < 0)
        error = kErrMissing;
    frameSize = _bytesPerSample * channels;
    if (frameSize == 0) {
        error = kErrBadFormat;
        frameSize = 2;
        _bytesPerSample = 2;
    }
    if (dataBytes <= kUnknownLength)
        end = _HeldFrames(dataBytes);
    conversion = std::make_unique<uint8_t[]>(static_cast<size_t>(frameSize) * kBlockFrames);
}

LSRCPCMFileBase::~LSRCPCMFileBase()
{
    if (fd >= 0)
        close(fd);
}

int LSRCPCMFileBase::GetEndSample() const
{
    if (end >= 0 || fd < 0)
        return std::max(end, 0);
    // The writer rewrites the data size when it finishes; until then the file size tells.
    uint8_t field[4];
    if (dataStart >= 4 && _ReadAt(fd, field, 4, dataStart - 4) == 4) {
        const uint32_t size = LGetLE32(field);
        if (size <= kUnknownLength) {
            end = _HeldFrames(size);
            return end;
        }
    }
    return _HeldFrames(INT64_MAX);
}

int LSRCPCMFileBase::_HeldFrames(int64_t dataBytes) const
{
    // A size field may claim more than the file holds (a cut download, a corrupt header): the
    // length is what is there, in whole frames, and always fits a frame count.
    const int64_t held = fd >= 0 ? std::max<int64_t>(_FileBytes(fd) - dataStart, 0) : 0;
    return _ClampFrames(std::min(dataBytes, held) / frameSize);
}

void LSRCPCMFileBase::Seek(int sample)
{
    // The file offset follows from the position at each read, so only the position is kept.
    position = sample;
}

LSRCPCMFileBase::Piece LSRCPCMFileBase::_FetchPiece(int frames)
{
    const int64_t before = position;
    const int64_t after = before + frames;
    position = _ClampFrames(after);
    if (after <= 0 || fd < 0)
        return {frames, 0};
    const int leading = before < 0 ? static_cast<int>(-before) : 0;
    const int64_t first = std::max<int64_t>(before, 0);
    int64_t wanted = frames - leading;
    if (end >= 0)
        wanted = std::clamp<int64_t>(end - first, 0, wanted);
    if (wanted == 0)
        return {leading, 0};
    const ssize_t got = _ReadAt(fd, conversion.get(), static_cast<size_t>(wanted * frameSize),
                                dataStart + first * frameSize);
    return {leading, got > 0 ? static_cast<int>(got / _bytesPerSample) : 0};
}

template <typename F>
void LSRCPCMFile<F>::Read(int* buffer, int frames)
{
    while (frames > 0) {
        const int pieceFrames = std::min(frames, kBlockFrames);
        const Piece piece = _FetchPiece(pieceFrames);
        const int pieceValues = pieceFrames * channels;
        const int leadingValues = piece.leadingFrames * channels;
        std::memset(buffer, 0, sizeof(int) * static_cast<size_t>(leadingValues));
        ConvertSamplesIn(buffer + leadingValues, reinterpret_cast<F const*>(conversion.get()),
                         piece.values);
        const int done = leadingValues + piece.values;
        std::memset(buffer + done, 0, sizeof(int) * static_cast<size_t>(pieceValues - done));
        buffer += pieceValues;
        frames -= pieceFrames;
    }
}

template class LSRCPCMFile<LSFU8>;
template class LSRCPCMFile<LSF16>;
template class LSRCPCMFile<LSFLE24>;
template class LSRCPCMFile<LSF32>;
template class LSRCPCMFile<LSFF32>;
