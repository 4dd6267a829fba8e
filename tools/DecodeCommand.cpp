// decode IN OUT.wav: IN as its decoder gives it, for exact comparison of decoders.
#include "tools/ToolCommands.h"

namespace tool {

namespace {

// Passes the samples on unchanged but declares no peak beyond full scale, so the writer clamps
// what lies beyond instead of limiting the whole stream.
class UnlimitedSource : public LSoundProcessBase {
public:
    explicit UnlimitedSource(const LSoundSource& inner) : LSoundProcessBase(inner) { peak = kPeakLimit; }
    void Read(int* buffer, int frames) override { source->Read(buffer, frames); }
};

}  // namespace

int Decode(const std::string& in, const std::string& out)
{
    LSoundSource source = OpenByType(in);
    if (source->GetError() != kErrNone) {
        PrintError("%s: %s", in.c_str(), LGetSoundErrorText(source->GetError()));
        return kExitFailed;
    }
    LSoundSource unlimited(new UnlimitedSource(source));
    return WriteWave(unlimited, out, WaveBits::k32);
}

}  // namespace tool
