#include "tools/ToolCommands.h"

#include "sound/LWaveFile.h"

#include <cstdio>
#include <memory>

namespace tool {

LSoundSource OpenByType(const std::string& path)
{
    // WAVE is the only type with a reader so far; other files come back as errors 3 or 5.
    return LWaveFile::OpenSource(path.c_str());
}

int Info(const std::string& path)
{
    LSoundSource source = OpenByType(path);
    const int frames = source->GetEndSample();
    std::printf("rate: %d\nchannels: %d\nframes: %d\nseconds: %.3f\npeak: %d\nerror: %d (%s)\n",
                source->GetRate(), source->GetChannels(), frames,
                static_cast<double>(frames) / source->GetRate(), source->GetPeak(),
                source->GetError(), LGetSoundErrorText(source->GetError()));
    std::unique_ptr<WAVEFORMATEX> format;
    if (LWaveFormatEx::_Load(path.c_str(), format)) {
        char codec[260];
        LGetWaveFileCodecName(codec, path.c_str());
        std::printf("codec: %s\n", codec);
    }
    if (source->GetError() == kErrNone)
        return kExitOk;
    PrintError("%s: %s", path.c_str(), LGetSoundErrorText(source->GetError()));
    return kExitFailed;
}

}  // namespace tool
