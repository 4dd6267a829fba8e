// WriteWave: the one path by which orvane-tool writes an audio file.
#include "tools/ToolCommands.h"

#include "base/LProgressDialog.h"
#include "base/LSafeWrite.h"
#include "sound/LPeakLimit.h"
#include "sound/LSNKPCMFile.h"
#include "sound/LSampleFormat.h"
#include "sound/LWaveFile.h"
#include "tools/ToolSignals.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace tool {

namespace {

constexpr int kBlockFrames = 8192;

// OUT is written through LSafeWrite (a temporary beside it, renamed over it once whole); this
// class adds what a command on a terminal needs: SIGINT or SIGTERM stops the copy, and a second
// one removes the temporary at once for a write that is stuck.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target) : _signals(kExitFailed), _write(target.c_str()) {}

    bool Begin()
    {
        if (!_write.Begin())
            return false;
        _signals.Watch(_write.GetTemporaryPath());
        return true;
    }
    const char* Path() const { return _write.GetTemporaryPath(); }
    bool Commit() { return _write.Commit(); }
    bool Interrupted() const { return _signals.Caught(); }

private:
    ToolSignals _signals;
    LSafeWrite _write;
};

// The copy from source to sink, run as a long task so that base's progress view shows it on a
// terminal and takes Ctrl-C as a stop.
struct WaveCopy {
    LSoundSource& source;
    LSoundSink& sink;
    LSampleRange range;  // what the file keeps
    int frames;
    const TemporaryFile& temporary;  // its signals stop the copy
};

LProcessResult Process(LProcessInterface& progress, WaveCopy& copy)
{
    const int channels = copy.source->GetChannels();
    std::vector<int> block(static_cast<size_t>(kBlockFrames) * channels);
    for (int64_t done = 0; done < copy.frames; done += kBlockFrames) {
        if (progress.IsToStop() || copy.temporary.Interrupted())
            return kProcessStopped;
        const int frames = static_cast<int>(std::min<int64_t>(kBlockFrames, copy.frames - done));
        copy.source->Read(block.data(), frames);
        // A stage may swing past the peak it declares (a rate converter's filter rings), and
        // an integer file keeps only the low bits: beyond its range a value would wrap into a
        // full-scale click.
        for (int& v : block)
            v = std::clamp(v, copy.range.low, copy.range.high);
        copy.sink->Write(block.data(), frames);
        if (copy.sink->GetError() & kSinkErrorFlag)
            return kProcessFailed;
        progress.SetProgress(static_cast<double>(done + frames) / copy.frames);
    }
    return kProcessFinished;
}

// Faults of the source that would give a file the reader refuses or one that lies.
bool _CanWrite(const LSoundSource& source, const std::string& out, WaveBits bits, int frames)
{
    if (source->GetError() != kErrNone) {
        PrintError("%s: not written: %s", out.c_str(), LGetSoundErrorText(source->GetError()));
        return false;
    }
    if (source->GetRate() > LWaveFile::kMaxRate || source->GetChannels() > LWaveFile::kMaxChannels) {
        PrintError("%s: not written: %d Hz, %d channels is beyond what a WAVE file is read with",
                   out.c_str(), source->GetRate(), source->GetChannels());
        return false;
    }
    const int most = MaxWaveFrames(source->GetChannels(), bits);
    if (frames > most) {
        PrintError("%s: not written: %d frames are more than a WAVE file of this shape holds (%d)",
                   out.c_str(), frames, most);
        return false;
    }
    return true;
}

}  // namespace

int MaxWaveFrames(int channels, WaveBits bits)
{
    const int64_t frameBytes = static_cast<int64_t>(std::max(channels, 1)) * (static_cast<int>(bits) / 8);
    return static_cast<int>(std::min<int64_t>(LSNKPCMFileBase::kMaxDataBytes / frameBytes, INT_MAX));
}

int WriteWave(LSoundSource& source, const std::string& out, WaveBits bits, int frames)
{
    if (frames < 0)
        frames = std::max(0, source->GetEndSample() - source->GetPositionSample());
    if (!_CanWrite(source, out, bits, frames))
        return kExitFailed;
    TemporaryFile temporary(out);
    if (!temporary.Begin()) {
        PrintError("%s: cannot be written: %s", out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    LSoundSink sink = LWaveFile::OpenSinkPCM(temporary.Path(), source->GetRate(), source->GetChannels(),
                                             static_cast<unsigned short>(bits), 0);
    if (sink->GetError() & kSinkErrorFlag) {
        PrintError("%s: cannot be written: %s", out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    // The limiter the console puts between the mix and every output.
    LSoundSource limited = source->GetPeak() > kPeakLimit ? LSPPeakLimit(kPeakLimit).OpenSource(source) : source;
    WaveCopy copy{limited, sink, LPCMSampleRange(static_cast<unsigned>(bits)), frames, temporary};
    const std::string title = "writing " + out.substr(out.rfind('/') + 1);
    const LProcessResult result = ProcessRunAsDialog(nullptr, title.c_str(), copy);
    const bool failed = (sink->GetError() & kSinkErrorFlag) != 0;
    sink.Close();  // the header is made true here
    if (result == kProcessStopped || temporary.Interrupted()) {
        PrintError("%s: interrupted, not written", out.c_str());
        return kExitFailed;
    }
    if (result != kProcessFinished || failed) {
        PrintError("%s: writing failed", out.c_str());
        return kExitFailed;
    }
    if (!temporary.Commit()) {
        PrintError("%s: cannot be put in place: %s", out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tool
