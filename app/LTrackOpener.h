#pragma once

#include "base/LProcessInterface.h"

// What the library needs of a track file: whether its type is offered, and its length and rate.
// The default opener opens every type the program reads, as a deck does; tests may set another.
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

// The opener in use; the default one until another is set. Null restores the default.
const LTrackOpener& LGetTrackOpener();
void LSetTrackOpener(const LTrackOpener* opener);
