#include "tools/ToolCommands.h"

#include "sound/LSRCConvertRate.h"

namespace tool {

int Pitch(const PitchOptions& options)
{
    if (!(options.speed > 0)) {
        PrintError("--speed must be above 0");
        return kExitUsage;
    }
    LSoundSource source = OpenByType(options.in);
    if (source->GetError() != kErrNone) {
        PrintError("%s: %s", options.in.c_str(), LGetSoundErrorText(source->GetError()));
        return kExitFailed;
    }
    // As a deck plays it: speed 1.0 has no converter at all.
    if (options.speed != 1.0)
        source = LSoundSource(new LSRCPitchSpeed(source, options.speed, true));
    return WriteWave(source, options.out, "16");
}

}  // namespace tool
