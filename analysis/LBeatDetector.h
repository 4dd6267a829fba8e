#pragma once

#include "base/LFile.h"
#include "base/LQueuedNotify.h"
#include "base/LThread.h"
#include "sound/LSoundSource.h"

#include <atomic>

// What a detection reports, on the interface thread.
class LBeatDetectorNotify {
public:
    virtual ~LBeatDetectorNotify() = default;
    virtual void bdntfDone(int /*period*/, int /*offset*/) {}
    virtual void bdntfCancel() {}
};

// Finds a track's beat period and offset (frames at the file's rate) from the rises of a block
// peak envelope, on a thread of its own at low priority. Build, use and destroy it on the
// interface thread: bdntfDone runs there.
class LBeatDetector : public LThread, public LThreadQueuedNotify {
public:
    static constexpr int kBlockFrames = 32;
    static constexpr int kMinPeriodDivisor = 128;  // rate / this = shortest period, in blocks (240 BPM)
    static constexpr int kMaxPeriodDivisor = 42;   // rate / this = longest period, in blocks (~79 BPM)
    static constexpr int kSearchBlocks = 3;        // a beat may drift this many blocks either side

    LBeatDetector() = default;
    ~LBeatDetector() override;

    // Stops a running detection, opens `path` and, with a listener, starts the thread.
    void DetectBeats(char const* path, LBeatDetectorNotify* notify);
    // Stops and joins a running detection; its result is never reported.
    void Stop();
    // Lets go of the file a detection opened.
    void CloseSource();

    // The scan on the calling thread; false when a stop was asked. Results in GetPeriod and
    // GetOffset; the period is rate / 2 when nothing qualifies.
    bool CalculateBeats();
    int GetPeriod() const { return _period; }
    int GetOffset() const { return _offset; }

protected:
    void ThreadFunction() override;
    void EvNotify() override;

private:
    // Block peaks of the mono view, one per 32 frames, plus a last 0; false on a stop request.
    bool _BuildEnvelope(LSoundSource& mono, int end, int* env, int count, int& maxPeak);
    bool _Scan(int const* env, int count, int minPeriod, int maxPeriod, int maxPeak);
    void _TestCandidate(int const* env, int count, int start, int i, int threshold, double& best);

    char _path[LFile::kPathBytes] = {};
    LSoundSource _source;
    int _offset = 0;
    int _period = 0;
    LBeatDetectorNotify* _notify = nullptr;
    std::atomic<bool> _resultReady{false};  // a finished run's result not yet reported
};
