#include "tools/ToolCommands.h"

#include "sound/LSRCConvertRate.h"

namespace tool {

int Pitch(const PitchOptions& options)
{
    if (!CheckRange(kSpeedRange, options.speed))
        return kExitUsage;
    LSoundSource source = OpenByType(options.in);
    if (source->GetError() != kErrNone) {
        PrintError("%s: %s", options.in.c_str(), LGetSoundErrorText(source->GetError()));
        return kExitFailed;
    }
    // As a deck plays it: speed 1.0 has no converter at all.
    const int rate = source->GetRate();
    if (options.speed != 1.0)
        source = LSoundSource(new LSRCPitchSpeed(source, options.speed, true));
    if (source->GetError() != kErrNone) {
        PrintError("%s: %d Hz at speed %g would convert to below 1 Hz", options.in.c_str(), rate, options.speed);
        return kExitFailed;
    }
    return WriteWave(source, options.out, WaveBits::k16);
}

}  // namespace tool
