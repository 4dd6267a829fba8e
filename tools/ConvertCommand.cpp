#include "tools/ToolCommands.h"

#include "sound/LSRCConvChannels.h"
#include "sound/LWaveFile.h"

#include <string>

namespace tool {

int Convert(const ConvertOptions& options)
{
    if ((options.rate && !CheckRange(kRateRange, *options.rate)) ||
        (options.channels && !CheckRange(kChannelsRange, *options.channels)))
        return kExitUsage;
    LSoundSource source = OpenByType(options.in);
    if (source->GetError() != kErrNone) {
        PrintError("%s: %s", options.in.c_str(), LGetSoundErrorText(source->GetError()));
        return kExitFailed;
    }
    const int rate = options.rate.value_or(source->GetRate());
    const int channels = options.channels.value_or(source->GetChannels());
    LSPConvertSourceRateChannels(rate, static_cast<unsigned char>(channels), source);
    return WriteWave(source, options.out, static_cast<WaveBits>(std::stoi(options.bits)));
}

}  // namespace tool
