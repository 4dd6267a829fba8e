#include "tools/ToolCommands.h"

#include "sound/LPeakLimit.h"
#include "sound/LSRCConvChannels.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace tool {

namespace {

constexpr int kBlockFrames = 8192;
constexpr int kMaxRate = 768000;  // Hz: the fastest audio hardware; beyond it a file only grows

LSoundSink _OpenOutput(const std::string& path, const std::string& bits, const LSoundSource& source)
{
    if (bits == "float") {
        LWaveFileFormat format;
        format.wFormatTag = kWaveTagFloat;
        format.nChannels = source->GetChannels();
        format.nSamplesPerSec = static_cast<uint32_t>(source->GetRate());
        format.wBitsPerSample = 32;
        return LWaveFile::OpenSink(path.c_str(), format);
    }
    return LWaveFile::OpenSinkPCM(path.c_str(), source->GetRate(), source->GetChannels(),
                                  static_cast<unsigned short>(std::stoi(bits)), 0);
}

void _ShowProgress(int done, int total)
{
    if (total > 0 && isatty(STDERR_FILENO))
        std::fprintf(stderr, "\rconverting %3d%%", static_cast<int>(100LL * done / total));
}

// The largest value an integer file of `bits` keeps without wrapping; 0 for float files.
int _OutputLimit(const std::string& bits)
{
    if (bits == "float")
        return 0;
    // 8 bits round to the nearest 4096, so the top 2048 values would wrap to the bottom.
    return bits == "8" ? 0x7f7ff : kPeakLimit;
}

// Pulls `end` frames of the source into the sink, holding values within `limit` when it is not 0.
void _Pump(LSoundSource& source, LSoundSink& sink, int limit, int end)
{
    const int channels = source->GetChannels();
    std::vector<int> block(static_cast<size_t>(kBlockFrames) * channels);
    for (int done = 0; done < end; done += kBlockFrames) {
        const int frames = std::min(kBlockFrames, end - done);
        source->Read(block.data(), frames);
        if (limit > 0)
            for (int& v : block)
                v = std::clamp(v, -limit, limit);
        sink->Write(block.data(), frames);
        if (done % (kBlockFrames * 64) == 0)
            _ShowProgress(done, end);
    }
    _ShowProgress(end, end);
    if (end > 0 && isatty(STDERR_FILENO))
        std::fputc('\n', stderr);
}

}  // namespace

int Convert(const ConvertOptions& options)
{
    const bool badRate = options.rate != ConvertOptions::kUnset && (options.rate < 1 || options.rate > kMaxRate);
    const bool badChannels = options.channels != ConvertOptions::kUnset && (options.channels < 1 || options.channels > 255);
    if (badRate || badChannels) {
        PrintError(badRate ? "--rate must be 1 to 768000" : "--channels must be 1 to 255");
        return kExitUsage;
    }
    LSoundSource source = OpenByType(options.in);
    if (source->GetError() != kErrNone) {
        PrintError("%s: %s", options.in.c_str(), LGetSoundErrorText(source->GetError()));
        return kExitFailed;
    }
    const int rate = options.rate == ConvertOptions::kUnset ? source->GetRate() : options.rate;
    const int channels = options.channels == ConvertOptions::kUnset ? source->GetChannels() : options.channels;
    LSPConvertSourceRateChannels(rate, static_cast<unsigned char>(channels), source);
    return WriteWave(source, options.out, options.bits);
}

int WriteWave(LSoundSource& source, const std::string& out, const std::string& bits, int frames)
{
    if (frames < 0)
        frames = std::max(0, source->GetEndSample() - source->GetPositionSample());
    // Written beside the target and renamed at the end, so a failure never leaves half a file.
    const std::string partial = out + ".part" + std::to_string(getpid());
    LSoundSink sink = _OpenOutput(partial, bits, source);
    if (sink->GetError() & kSinkErrorFlag) {
        unlink(partial.c_str());
        PrintError("%s: cannot be written", out.c_str());
        return kExitFailed;
    }
    // The limiter the console puts between the mix and every output.
    LSoundSource limited = source->GetPeak() > kPeakLimit ? LSPPeakLimit(kPeakLimit).OpenSource(source) : source;
    const int limit = _OutputLimit(bits);
    _Pump(limited, sink, limited->GetPeak() > limit ? limit : 0, frames);
    const bool failed = (sink->GetError() & kSinkErrorFlag) != 0;
    sink.Close();  // the header is made true here
    if (failed || rename(partial.c_str(), out.c_str()) != 0) {
        unlink(partial.c_str());
        PrintError("%s: writing failed", out.c_str());
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tool
