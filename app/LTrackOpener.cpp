#include "app/LTrackOpener.h"

#include "base/LFile.h"
#include "sound/LWaveFile.h"

#include <strings.h>

namespace {

constexpr const char* kSupportedExtensions[] = {
    ".wav", ".mp3", ".aif", ".aiff", ".au",  ".gsm", ".vox", ".voc", ".raw", ".dct", ".dart", ".amr",
    ".avi", ".mpg", ".mpeg", ".mid", ".ogg", ".flac", ".aac", ".m4a", ".mpc", ".wma", ".wmv",
};

const LTrackOpener kDefaultOpener;
const LTrackOpener* gOpener = &kDefaultOpener;

}  // namespace

bool LGenSourceIsSupported(const char* extension)
{
    for (const char* known : kSupportedExtensions)
        if (strcasecmp(known, extension) == 0)
            return true;
    return false;
}

bool LTrackOpener::IsSupported(const char* path) const
{
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    return LGenSourceIsSupported(extension);
}

bool LTrackOpener::Open(const char* path, LTrackFacts& facts, LProcessInterface& process) const
{
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    if (strcasecmp(extension, ".wav") != 0) {
        process.SetErrorF("The file %s can't be opened: only WAVE files are read here.", path);
        return false;
    }
    LSoundSource source = LWaveFile::OpenSource(path);
    if (source->GetError() != kErrNone) {
        process.SetErrorF("The file %s can't be opened: %s.", path, LGetSoundErrorText(source->GetError()));
        return false;
    }
    facts.lengthSamples = source->GetEndSample();
    facts.rate = source->GetRate();
    return true;
}

const LTrackOpener& LGetTrackOpener()
{
    return *gOpener;
}

void LSetTrackOpener(const LTrackOpener* opener)
{
    gOpener = opener ? opener : &kDefaultOpener;
}
