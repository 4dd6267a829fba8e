#include "files/LQTDecode.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/intreadwrite.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// Frames decoded and dropped before a seek target in the codecs sought in place: many MP3
// packets (1152 frames each), so that the bit reservoir and the overlap are filled again
// before the target; lossless codecs need none but lose little.
constexpr int kSeekPrerollFrames = 20000;
// Seconds by which the last timestamp may lie beyond the packets' summed durations.
constexpr int kMaxTimestampGapSeconds = 10;
// Decoder errors in a row after which the rest of the file counts as lost.
constexpr int kMaxDecodeErrorsInRow = 64;

// `opaque` is the decoder's slot holding the opening's flag: FFmpeg copies the callback into
// every I/O context it makes, so the slot, not the flag, is what the contexts keep, and
// clearing it after the open detaches them all.
int _OnInterrupt(void* opaque)
{
    auto* slot = static_cast<const std::atomic<bool>* const*>(opaque);
    const std::atomic<bool>* cancel = slot ? *slot : nullptr;
    return cancel && cancel->load(std::memory_order_relaxed) ? 1 : 0;
}

bool _IsFloatFormat(int format)
{
    const auto packed = av_get_packed_sample_fmt(static_cast<AVSampleFormat>(format));
    return packed == AV_SAMPLE_FMT_FLT || packed == AV_SAMPLE_FMT_DBL;
}

// Codecs whose decoder, flushed after a seek and given two packets or more, gives the very
// values of a decoding from the start.
bool _SeeksExactlyInPlace(AVCodecID id)
{
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(id);
    const bool lossless = descriptor && (descriptor->props & AV_CODEC_PROP_LOSSLESS);
    return lossless || id == AV_CODEC_ID_MP3 || id == AV_CODEC_ID_MP2 || id == AV_CODEC_ID_MP1;
}

// Codecs whose demuxer carries the end padding as discard data on the last packet instead of
// shortening its duration (the LAME tag's padding).
bool _EndPaddingInSideData(AVCodecID id)
{
    return id == AV_CODEC_ID_MP3 || id == AV_CODEC_ID_MP2 || id == AV_CODEC_ID_MP1;
}

struct FormatCloser {
    void operator()(AVFormatContext* f) const { avformat_close_input(&f); }
};
using FormatPtr = std::unique_ptr<AVFormatContext, FormatCloser>;

FormatPtr _OpenFormat(const char* path, const std::atomic<bool>* const* cancelSlot, LSoundError& failure)
{
    AVFormatContext* f = avformat_alloc_context();
    if (!f) {
        failure = kErrBadFormat;
        return nullptr;
    }
    f->interrupt_callback.callback = _OnInterrupt;
    f->interrupt_callback.opaque = const_cast<std::atomic<bool>**>(cancelSlot);
    if (avformat_open_input(&f, path, nullptr, nullptr) < 0) {  // frees f on failure
        failure = kErrBadFormat;
        return nullptr;
    }
    return FormatPtr(f);
}

}  // namespace

struct LQTDecodeSoundSourceBase::Decoder {
    FormatPtr format;
    AVCodecContext* codec = nullptr;
    SwrContext* swr = nullptr;
    int swrFormat = -1;  // the input sample format swr was set up for
    AVPacket* packet = nullptr;
    AVFrame* frame = nullptr;
    int stream = -1;
    AVRational timeBase{1, 1};
    int64_t startTs = 0;      // stream timestamp of timeline frame 0
    bool placeByPts = false;  // timestamps are fine enough to place single samples
    bool floatOut = false;    // converted through float (float decoders) or int32
    bool seekInPlace = false; // a seek may start shortly before the target
    bool drained = false;     // the decoder was told the input ended
    int64_t nextFrame = 0;    // timeline frame after the last frame taken
    std::vector<uint8_t> converted;
    const std::atomic<bool>* cancel = nullptr;
    std::string path;

    ~Decoder()
    {
        swr_free(&swr);
        avcodec_free_context(&codec);
        av_packet_free(&packet);
        av_frame_free(&frame);
    }

    int64_t ToFrames(int64_t ts, int rate) const
    {
        return av_rescale_q(ts - startTs, timeBase, AVRational{1, rate});
    }
    int64_t ToTimestamp(int64_t frames, int rate) const
    {
        return av_rescale_q(frames, AVRational{1, rate}, timeBase) + startTs;
    }
};

LQTDecodeSoundSourceBase::LQTDecodeSoundSourceBase(int rateHz, unsigned char channelCount, int peakValue)
    : LSoundSourceBase(rateHz, channelCount, peakValue)
{
}

LQTDecodeSoundSourceBase::~LQTDecodeSoundSourceBase() = default;

const char* LQTDecodeSoundSourceBase::GetCodecName() const
{
    return _decoder && _decoder->codec && _decoder->codec->codec ? _decoder->codec->codec->name : "";
}

bool LQTDecodeSoundSourceBase::_ReceiveFrame()
{
    Decoder& d = *_decoder;
    if (avcodec_receive_frame(d.codec, d.frame) != 0)
        return false;
    _TakeFrame();
    av_frame_unref(d.frame);
    return true;
}

bool LQTDecodeSoundSourceBase::_DecodeNext()
{
    Decoder& d = *_decoder;
    int errors = 0;
    while (errors < kMaxDecodeErrorsInRow) {
        if (_ReceiveFrame())
            return true;
        if (d.drained)
            return false;
        const int got = av_read_frame(d.format.get(), d.packet);
        if (got < 0) {
            if (got == AVERROR(EAGAIN)) {
                ++errors;
                continue;
            }
            avcodec_send_packet(d.codec, nullptr);
            d.drained = true;
            continue;
        }
        if (d.packet->stream_index == d.stream) {
            const int sent = avcodec_send_packet(d.codec, d.packet);
            errors = sent < 0 && sent != AVERROR(EAGAIN) ? errors + 1 : 0;
        }
        av_packet_unref(d.packet);
    }
    return false;
}

// Converts the decoded frame to the framework's scale and makes it the pending block, placed
// on the timeline by its timestamp.
void LQTDecodeSoundSourceBase::_TakeFrame()
{
    Decoder& d = *_decoder;
    AVFrame* f = d.frame;
    const int n = f->nb_samples;
    if (n <= 0 || f->ch_layout.nb_channels != channels) {
        _pendingFrames = 0;
        return;
    }
    if (!d.swr || d.swrFormat != f->format) {
        swr_free(&d.swr);
        const AVSampleFormat out = d.floatOut ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S32;
        if (swr_alloc_set_opts2(&d.swr, &f->ch_layout, out, rate, &f->ch_layout,
                                static_cast<AVSampleFormat>(f->format), rate, 0, nullptr) < 0 ||
            swr_init(d.swr) < 0) {
            swr_free(&d.swr);
            _pendingFrames = 0;
            return;
        }
        d.swrFormat = f->format;
    }
    const size_t values = size_t(n) * channels;
    d.converted.resize(values * 4);
    uint8_t* out = d.converted.data();
    const int got = swr_convert(d.swr, &out, n, const_cast<const uint8_t**>(f->extended_data), n);
    if (got <= 0) {
        _pendingFrames = 0;
        return;
    }
    if (_pendingCapacity < got) {
        _pending = std::make_unique<int[]>(size_t(got) * channels);
        _pendingCapacity = got;
    }
    const size_t count = size_t(got) * channels;
    if (d.floatOut) {
        const float* in = reinterpret_cast<const float*>(d.converted.data());
        for (size_t i = 0; i < count; ++i) {
            const float v = std::isnan(in[i]) ? 0.0f : in[i] * float(kFullScale);
            _pending[i] = int(std::clamp(v, -float(kPeakFloatFile), float(kPeakFloatFile)));
        }
    } else {
        const int32_t* in = reinterpret_cast<const int32_t*>(d.converted.data());
        for (size_t i = 0; i < count; ++i)
            _pending[i] = int((int64_t(in[i]) + 2048) >> 12);
    }
    const bool timed = d.placeByPts && f->pts != AV_NOPTS_VALUE;
    _pendingStart = timed ? d.ToFrames(f->pts, rate) : d.nextFrame;
    _pendingFrames = got;
    d.nextFrame = _pendingStart + got;
}

void LQTDecodeSoundSourceBase::Read(int* buffer, int frames)
{
    int done = 0;
    while (done < frames && _position < _end) {
        const int want = std::min(frames - done, _end - _position);
        const int64_t pendingEnd = _pendingStart + _pendingFrames;
        if (_pendingFrames > 0 && _position >= _pendingStart && _position < pendingEnd) {
            const int n = int(std::min<int64_t>(want, pendingEnd - _position));
            std::memcpy(buffer + size_t(done) * channels,
                        _pending.get() + size_t(_position - _pendingStart) * channels,
                        size_t(n) * channels * sizeof(int));
            _position += n;
            done += n;
            continue;
        }
        if (_pendingFrames > 0 && _position < _pendingStart) {
            // A gap before the next decoded frame (a decoder that starts late) is silence.
            const int n = int(std::min<int64_t>(want, _pendingStart - _position));
            std::memset(buffer + size_t(done) * channels, 0, size_t(n) * channels * sizeof(int));
            _position += n;
            done += n;
            continue;
        }
        if (_eof || !_DecodeNext()) {
            // Decoded data ended before the container's length: the rest is silence.
            _eof = true;
            _pendingFrames = 0;
            std::memset(buffer + size_t(done) * channels, 0, size_t(want) * channels * sizeof(int));
            _position += want;
            done += want;
        }
    }
    if (done < frames)
        std::memset(buffer + size_t(done) * channels, 0, size_t(frames - done) * channels * sizeof(int));
}

bool LQTDecodeSoundSourceBase::_RewindTo(int target)
{
    Decoder& d = *_decoder;
    _eof = false;
    _pendingFrames = 0;
    if (d.seekInPlace && d.placeByPts && target > kSeekPrerollFrames) {
        const int64_t ts = d.ToTimestamp(target - kSeekPrerollFrames, rate);
        if (av_seek_frame(d.format.get(), d.stream, ts, AVSEEK_FLAG_BACKWARD) >= 0) {
            avcodec_flush_buffers(d.codec);
            d.drained = false;
            return true;
        }
    }
    // From the start, as at the open: a demuxer sought back may label its packets otherwise
    // (Ogg), and decoders with random state (AAC noise substitution, Opus) give other values
    // unless they decode the same packets from the first.
    return _OpenDecoder(d) == kErrNone;
}

void LQTDecodeSoundSourceBase::Seek(int sample)
{
    if (error != kErrNone)
        return;
    const int target = std::clamp(sample, 0, _end);
    const int64_t pendingEnd = _pendingStart + _pendingFrames;
    const bool inPending = _pendingFrames > 0 && target >= _pendingStart && target < pendingEnd;
    const bool ahead = target >= _position && (target - _position) <= kSeekPrerollFrames;
    if (!inPending && !ahead && !_RewindTo(target)) {
        _eof = true;  // the stream can't go back: only silence is left
        _position = target;
        return;
    }
    // Decode and drop what lies before the target.
    while (!_eof) {
        if (_pendingFrames > 0 && _pendingStart + _pendingFrames > target)
            break;
        if (!_DecodeNext())
            _eof = true;
    }
    _position = target;
}

bool LQTDecodeSoundSourceBase::_MeasureLength(const char* path)
{
    Decoder& d = *_decoder;
    int64_t frames = -1;
    if (d.placeByPts)
        frames = _ScanPacketsForEnd(path);
    if (frames < 0) {
        // No usable timestamps: the length is what decoding the whole stream gives.
        while (_DecodeNext()) {
            if (d.cancel && d.cancel->load(std::memory_order_relaxed))
                return false;
        }
        frames = d.nextFrame;
        d.placeByPts = false;
        if (!_RewindTo(0))
            return false;
    }
    if (frames <= 0)
        return false;
    _end = int(std::min<int64_t>(frames, INT32_MAX));
    return true;
}

// The end of the last packet on the timeline, read from a second demuxer so that the first
// one stays at the start; -1 when the packets carry no timestamps.
int64_t LQTDecodeSoundSourceBase::_ScanPacketsForEnd(const char* path)
{
    Decoder& d = *_decoder;
    LSoundError failure = kErrNone;
    FormatPtr scan = _OpenFormat(path, &d.cancel, failure);
    if (!scan)
        return -1;
    AVPacket* packet = av_packet_alloc();
    if (!packet)
        return -1;
    const AVCodecID codecId = d.codec->codec_id;
    int64_t end = AV_NOPTS_VALUE;
    int64_t lastEndSkip = 0;
    int64_t durations = 0;  // the packets' own durations, summed
    while (av_read_frame(scan.get(), packet) >= 0) {
        if (packet->stream_index == d.stream && packet->pts != AV_NOPTS_VALUE) {
            // The last packet says where the stream ends. Its duration may be negative (a
            // Vorbis end inside the last block), which the Ogg demuxer hands on wrapped to 32
            // bits.
            int64_t duration = packet->duration;
            if (duration > INT32_MAX && duration <= UINT32_MAX)
                duration = int32_t(uint32_t(duration));
            end = packet->pts + duration;
            durations += std::max<int64_t>(duration, 0);
            size_t size = 0;
            const uint8_t* skip = av_packet_get_side_data(packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
            lastEndSkip = skip && size >= 8 ? AV_RL32(skip + 4) : 0;
        }
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    if (end == AV_NOPTS_VALUE || (d.cancel && d.cancel->load(std::memory_order_relaxed)))
        return -1;
    int64_t frames = d.ToFrames(end, rate);
    if (_EndPaddingInSideData(codecId))
        frames -= lastEndSkip;
    // Timestamps that leap far beyond what the packets hold (a damaged file) would make hours
    // of silence: then the length is what decoding gives.
    const int64_t held = av_rescale_q(durations, d.timeBase, AVRational{1, rate});
    if (durations > 0 && frames > held + int64_t(rate) * kMaxTimestampGapSeconds)
        return -1;
    return frames;
}

// Opens the demuxer and the decoder of the best audio stream into `d`; an error state on failure.
LSoundError LQTDecodeSoundSourceBase::_OpenDecoder(Decoder& d)
{
    auto cancelled = [&d] { return d.cancel && d.cancel->load(std::memory_order_relaxed); };
    LSoundError failure = kErrNone;
    FormatPtr format = _OpenFormat(d.path.c_str(), &d.cancel, failure);
    if (!format)
        return cancelled() ? kErrClosed : failure;
    if (avformat_find_stream_info(format.get(), nullptr) < 0 || cancelled())
        return cancelled() ? kErrClosed : kErrBadFormat;
    const AVCodec* codec = nullptr;
    const int stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    if (stream == AVERROR_DECODER_NOT_FOUND)
        return kErrCodec;
    if (stream < 0 || !codec)
        return kErrBadFormat;
    AVStream* st = format->streams[stream];
    if (st->codecpar->ch_layout.nb_channels < 1 || st->codecpar->ch_layout.nb_channels > 255 ||
        st->codecpar->sample_rate < 1)
        return kErrBadFormat;
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (!context || avcodec_parameters_to_context(context, st->codecpar) < 0) {
        avcodec_free_context(&context);
        return kErrBadFormat;
    }
    context->pkt_timebase = st->time_base;
    if (avcodec_open2(context, codec, nullptr) < 0) {
        avcodec_free_context(&context);
        return kErrCodec;
    }
    swr_free(&d.swr);
    d.swrFormat = -1;
    avcodec_free_context(&d.codec);
    d.codec = context;
    d.stream = stream;
    d.timeBase = st->time_base;
    d.startTs = st->start_time != AV_NOPTS_VALUE ? st->start_time : 0;
    d.drained = false;
    d.nextFrame = 0;
    d.format = std::move(format);
    if (!d.packet)
        d.packet = av_packet_alloc();
    if (!d.frame)
        d.frame = av_frame_alloc();
    return d.packet && d.frame ? kErrNone : kErrBadFormat;
}

LSoundSource LQTDecode::OpenSource(const char* path, const std::atomic<bool>* cancel)
{
    struct stat info {};
    const int fd = path ? open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK) : -1;
    if (fd < 0)
        return MakeErrorSource(kErrMissing);
    const bool regular = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    close(fd);
    if (!regular)
        return MakeErrorSource(kErrMissing);
    av_log_set_level(AV_LOG_QUIET);

    auto decoder = std::make_unique<LQTDecodeSoundSourceBase::Decoder>();
    decoder->path = path;
    decoder->cancel = cancel;
    const LSoundError failure = LQTDecodeSoundSourceBase::_OpenDecoder(*decoder);
    if (failure != kErrNone)
        return MakeErrorSource(failure);
    const AVCodecParameters* parameters = decoder->format->streams[decoder->stream]->codecpar;
    const bool isFloat = _IsFloatFormat(decoder->codec->sample_fmt);
    auto* source = new LQTDecodeSoundSourceBase(parameters->sample_rate,
                                                static_cast<unsigned char>(parameters->ch_layout.nb_channels),
                                                isFloat ? kPeakFloatFile : kPeakLimit);
    LSoundSource handle(source);
    decoder->floatOut = isFloat;
    // Timestamps place single samples when a tick is no longer than a sample.
    const AVRational tb = decoder->timeBase;
    decoder->placeByPts = tb.num > 0 && tb.den / tb.num >= parameters->sample_rate;
    decoder->seekInPlace = _SeeksExactlyInPlace(decoder->codec->codec_id);
    source->_decoder = std::move(decoder);
    if (!source->_MeasureLength(path))
        return MakeErrorSource(cancel && cancel->load() ? kErrClosed : kErrBadFormat);
    // The flag belongs to the opening; the source outlives it.
    LQTDecodeSoundSourceBase::Decoder& d = *source->_decoder;
    d.cancel = nullptr;
    return handle;
}
