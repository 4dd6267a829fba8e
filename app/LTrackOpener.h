#pragma once

#include "base/LProcessInterface.h"

// What the library needs of a track file: whether its type is offered, and its length and rate.
// The default opener reads WAVE files itself; the opening of every file type plugs in here by
// LSetTrackOpener at start (the program's and the tool's), so the library does not depend on it.
struct LTrackFacts {
    int lengthSamples = 0;  // frames at `rate`
    int rate = 0;           // Hz
};

class LTrackOpener {
public:
    virtual ~LTrackOpener() = default;
    // By the extension alone, any case: the types the library offers when it scans folders.
    virtual bool IsSupported(const char* path) const;
    // Opens the file as a deck would; on failure false, with the reason given to SetError.
    virtual bool Open(const char* path, LTrackFacts& facts, LProcessInterface& process) const;
};

// The 23 extensions (with the dot) the library scans for, in any case.
bool LGenSourceIsSupported(const char* extension);

// The opener in use; the default one until another is set. Null restores the default.
const LTrackOpener& LGetTrackOpener();
void LSetTrackOpener(const LTrackOpener* opener);
