#include "tools/ToolCommands.h"

#include "files/LGenSource.h"
#include "sound/LWaveFile.h"

#include <cstdio>
#include <memory>

namespace tool {

LSoundSource OpenByType(const std::string& path)
{
    LProcessInterfaceVoid quietly;
    LGenSourceOpenInterfaceProcess open(quietly);
    LSoundSource source;
    ProcessGenSourceOpenSource(source, path.c_str(), open, true, "");
    return source;
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
