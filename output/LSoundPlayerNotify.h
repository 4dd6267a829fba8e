#pragma once

#include "sound/LSoundTime.h"
#include "sound/LdB.h"

// What a player reports, on the interface thread. `id` is the one the player was given.
// spntfCue and spntfPause exist for listeners' sake; no player sends them.
class LSoundPlayerNotify {
public:
    virtual ~LSoundPlayerNotify() = default;
    virtual void spntfPlay(long /*id*/) {}
    virtual void spntfStop(long /*id*/) {}
    virtual void spntfCue(long /*id*/) {}
    virtual void spntfPause(long /*id*/) {}
    virtual void spntfTime(LSoundTime /*time*/, long /*id*/) {}
    virtual void spntfLevel(LDBMC const& /*level*/, long /*id*/) {}
};
