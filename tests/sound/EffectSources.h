#pragma once

#include "sound/LSoundSource.h"

#include <algorithm>
#include <vector>

// Reads `frames` frames in uneven pieces, as a player whose ring wants odd counts does, so that
// block and phase boundaries fall in the middle of a Read.
inline std::vector<int> ReadInPieces(LSoundSource& s, int frames)
{
    std::vector<int> out(static_cast<size_t>(frames) * s->GetChannels());
    int done = 0;
    for (int piece = 1; done < frames; piece = piece * 7 % 1999 + 1) {
        const int n = std::min(piece, frames - done);
        s->Read(out.data() + static_cast<size_t>(done) * s->GetChannels(), n);
        done += n;
    }
    return out;
}
