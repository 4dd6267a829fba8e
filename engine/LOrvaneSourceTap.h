#pragma once

#include "sound/LCrossFade.h"
#include "sound/LSoundSource.h"

// The recording tap: passes the mix through unchanged and writes every block it passes to a
// sink, so the recording is exactly what the player plays. The mix inside goes through the
// tap's own crossfade, so that a resync's fade is recorded as it is heard.
class LOrvaneSourceTap : public LSoundProcessBase {
public:
    // Audio between two commits of the file, so that a crash or power cut loses at most this
    // much of a recording. Committed from the player thread, never the render callback.
    static constexpr int kCommitSeconds = 10;

    // `sink` is the console's handle and must outlive the tap.
    LOrvaneSourceTap(const LSoundSource& inner, LSoundSink* sink);

    void Read(int* buffer, int frames) override;
    // kMsgCrossFade asks the tap's own crossfade to fade the next block (or, when `data` is
    // given, that many frames) and is taken; others go inside.
    bool ControlMessage(LControlMessage id, long* data) override;

private:
    LSoundSink* _sink;
    LCrossFadeSource _crossfade;
    int _sinceCommit = 0;  // frames passed since the file was last committed
};
