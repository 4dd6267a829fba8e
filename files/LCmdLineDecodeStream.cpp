#include "files/LCmdLineDecodeStream.h"

#include "files/LCmdLineDecodeRun.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

thread_local LStreamingReadScope* tCurrentScope = nullptr;

constexpr unsigned int kFollowPollMs = 2;       // how often a waiting Read looks at the file again
constexpr size_t kHeaderBytes = 4096;           // a header that is not whole in these is not followed
constexpr uint32_t kPlaceholderLength = 0xffffff00;  // data sizes above it are placeholders

// WAVE format tags of uncoded samples.
constexpr int kTagPCM = 1;
constexpr int kTagFloat = 3;
constexpr int kTagExtensible = 0xfffe;

struct AnnouncedWave {
    int64_t dataStart = 0;  // bytes
    uint32_t dataBytes = 0;
    int blockAlign = 0;     // bytes of one frame
};

uint32_t _LE32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

// A RIFF WAVE header whose "fmt " chunk and "data" chunk header are both in the file.
bool _ReadAnnouncedHeader(int fd, AnnouncedWave& wave)
{
    uint8_t head[kHeaderBytes];
    const ssize_t got = pread(fd, head, sizeof head, 0);
    if (got < 12 || std::memcmp(head, "RIFF", 4) != 0 || std::memcmp(head + 8, "WAVE", 4) != 0)
        return false;
    const int64_t held = got;
    for (int64_t at = 12; at + 8 <= held;) {
        const uint32_t size = _LE32(head + at + 4);
        if (std::memcmp(head + at, "fmt ", 4) == 0) {
            if (size < 16 || at + 8 + 16 > held)
                return false;
            const uint8_t* format = head + at + 8;
            const int tag = format[0] | format[1] << 8;
            if (tag != kTagPCM && tag != kTagFloat && tag != kTagExtensible)
                return false;  // a coded format is not read frame by frame
            const int channels = format[2] | format[3] << 8;
            const int bits = format[14] | format[15] << 8;
            wave.blockAlign = channels * ((bits + 7) / 8);  // as the reader counts a frame
        } else if (std::memcmp(head + at, "data", 4) == 0) {
            wave.dataStart = at + 8;
            wave.dataBytes = size;
            return wave.blockAlign > 0;
        }
        at += 8 + int64_t(size) + (size & 1);
    }
    return false;
}

bool _AnnouncesLength(const AnnouncedWave& wave)
{
    // A length of 0 while the decoder runs is a placeholder too (FFmpeg's muxer writes it).
    return wave.dataBytes > 0 && wave.dataBytes <= kPlaceholderLength;
}

class LDecoderOutputSource : public LSoundSourceBase {
public:
    LDecoderOutputSource(const LSoundSource& inner, std::shared_ptr<LDecoderRun> run, std::thread helper,
                         const char* path, int fd, const AnnouncedWave& wave)
        : LSoundSourceBase(inner->GetRate(), inner->GetChannels(), inner->GetPeak()),
          _inner(inner), _run(std::move(run)), _helper(std::move(helper)), _path(path), _fd(fd), _wave(wave),
          _announcedEnd(int(std::min<int64_t>(wave.dataBytes / uint32_t(wave.blockAlign), INT_MAX)))
    {
    }

    ~LDecoderOutputSource() override
    {
        _inner.Close();
        LStreamingReadScope* scope = LStreamingReadScope::Current();
        if (!_final && (_giveUp->load() || (scope && scope->IsToStop())))
            _run->Abandon(_helper);
        else
            _JoinHelper();  // the decoder ends by itself; what it leaves goes with the source
        close(_fd);
    }

    void Read(int* buffer, int frames) override
    {
        LStreamingReadScope* scope = LStreamingReadScope::Current();
        if (scope && !_final)
            scope->Watch(_giveUp);
        if (frames > 0 && !_final && !_Follow(int64_t(_inner->GetPositionSample()) + frames)) {
            // A stop: the reader will not use these frames, so nothing is waited for.
            std::fill(buffer, buffer + size_t(frames) * channels, 0);
            _inner->Seek(_inner->GetPositionSample() + frames);
            return;
        }
        if (scope && _short)
            scope->SetDecoderFailed();
        _inner->Read(buffer, frames);
    }
    int GetPositionSample() const override { return _inner->GetPositionSample(); }
    int GetEndSample() const override { return _final ? _inner->GetEndSample() : _announcedEnd; }
    void Seek(int sample) override { _inner->Seek(sample); }

private:
    int64_t _WrittenFrames() const
    {
        struct stat info {};
        if (fstat(_fd, &info) != 0)
            return 0;
        return std::max<int64_t>(info.st_size - _wave.dataStart, 0) / _wave.blockAlign;
    }

    // Waits until the frames up to `needEnd` are written or the decoder has exited; false when
    // a stop of the reading task ended the wait.
    bool _Follow(int64_t needEnd)
    {
        const int64_t need = std::min<int64_t>(needEnd, _announcedEnd);
        for (;;) {
            if (_run->finished.load()) {
                _Finish();
                return true;
            }
            if (_WrittenFrames() >= need)
                break;
            LStreamingReadScope* scope = LStreamingReadScope::Current();
            if (scope && scope->IsToStop())
                return false;
            _run->done.Ref().WaitSignal(kFollowPollMs);
        }
        // The reader took the length that was in the file when it opened.
        if (_inner->GetEndSample() < need)
            _Reopen();
        return true;
    }

    void _Reopen()
    {
        LSoundSource fresh = LWaveFile::OpenSource(_path.c_str());
        if (fresh->GetError() != kErrNone) {
            error = kErrBadFormat;
            _short = true;  // what is left cannot be read
            return;
        }
        fresh->Seek(_inner->GetPositionSample());
        _inner = fresh;
    }

    // The decoder has exited: from now on the file is read as it left it.
    void _Finish()
    {
        _final = true;
        _JoinHelper();
        _Reopen();
        _short = _short || _inner->GetEndSample() < _announcedEnd;
    }

    void _JoinHelper()
    {
        if (_helper.joinable())
            _helper.join();
    }

    LSoundSource _inner;
    std::shared_ptr<LDecoderRun> _run;
    std::thread _helper;
    std::string _path;
    int _fd;
    AnnouncedWave _wave;
    int _announcedEnd;  // frames
    bool _final = false;
    bool _short = false;  // the decoder exited before writing what it announced
    std::shared_ptr<std::atomic<bool>> _giveUp = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace

LStreamingReadScope::LStreamingReadScope(LProcessInterface& process) : _process(process), _outer(tCurrentScope)
{
    tCurrentScope = this;
}

LStreamingReadScope::~LStreamingReadScope()
{
    if (!_watched.empty() && _process.IsToStop())
        for (const auto& giveUp : _watched)
            giveUp->store(true);
    tCurrentScope = _outer;
}

void LStreamingReadScope::Watch(const std::shared_ptr<std::atomic<bool>>& giveUp)
{
    if (std::find(_watched.begin(), _watched.end(), giveUp) == _watched.end())
        _watched.push_back(giveUp);
}

LStreamingReadScope* LStreamingReadScope::Current()
{
    return tCurrentScope;
}

bool LDecoderOutputAnnouncesLength(const char* path)
{
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    AnnouncedWave wave;
    const bool announces = _ReadAnnouncedHeader(fd, wave) && _AnnouncesLength(wave);
    close(fd);
    return announces;
}

LSoundSource LOpenDecoderOutputWhileWritten(const std::shared_ptr<LDecoderRun>& run, std::thread& helper,
                                            const char* path)
{
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return LSoundSource();
    AnnouncedWave wave;
    if (!_ReadAnnouncedHeader(fd, wave) || !_AnnouncesLength(wave)) {
        close(fd);
        return LSoundSource();
    }
    LSoundSource inner = LWaveFile::OpenSource(path);
    if (inner->GetError() != kErrNone) {
        close(fd);
        return LSoundSource();
    }
    return LSoundSource(new LDecoderOutputSource(inner, run, std::move(helper), path, fd, wave));
}
