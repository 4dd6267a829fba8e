#include "app/LTrackOpener.h"

#include "base/LFile.h"
#include "files/LGenSource.h"

namespace {

const LTrackOpener kDefaultOpener;
const LTrackOpener* gOpener = &kDefaultOpener;

}  // namespace

bool LTrackOpener::IsSupported(const char* path) const
{
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    return LGenSourceIsSupported(extension);
}

bool LTrackOpener::Open(const char* path, LTrackFacts& facts, LProcessInterface& process) const
{
    // Opened as a deck would open it, every type in its order of tries; a failure is reported
    // through the task's SetError in the words of the opening.
    LGenSourceOpenInterfaceProcess opening(process);
    LSoundSource source;
    if (ProcessGenSourceOpenSource(source, path, opening, false, nullptr) != kProcessFinished)
        return false;
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
