#include "analysis/LBeatDetector.h"

#include "sound/LBufferHelpers.h"
#include "sound/LSRCConvChannels.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Frames read at once; a multiple of the block, so the peaks are those of 32-frame reads.
constexpr int kChunkFrames = 256 * LBeatDetector::kBlockFrames;
// Scan steps between two looks at the stop signal (each look is a system call).
constexpr int kStopCheckSteps = 4096;
// A candidate period must leave the search window behind, or the walk could stand still.
constexpr int kMinPeriodBlocks = 2 * LBeatDetector::kSearchBlocks + 1;

}  // namespace

LBeatDetector::~LBeatDetector()
{
    Stop();
}

// Only a running thread is asked: the stop signal stays set until the next start, and a scan on
// the caller's own thread reads the same signal.
void LBeatDetector::Stop()
{
    if (IsRunning())
        StopThreadSoon();
    WaitForThreadEnd();
    _resultReady.store(false, std::memory_order_release);
}

void LBeatDetector::CloseSource()
{
    Stop();
    _source.Close();
}

void LBeatDetector::DetectBeats(char const* path, LBeatDetectorNotify* notify)
{
    Stop();
    std::strncpy(_path, path ? path : "", sizeof _path - 1);
    _path[sizeof _path - 1] = '\0';
    _source = LWaveFile::OpenSource(_path);
    _notify = notify;
    if (notify)
        Start(kThreadPriorityBeatDetect);
}

void LBeatDetector::ThreadFunction()
{
    if (!CalculateBeats())
        return;
    _resultReady.store(true, std::memory_order_release);
    PostQueueNotify();
}

void LBeatDetector::EvNotify()
{
    // A post from a run that was stopped since is stale.
    if (!_resultReady.exchange(false, std::memory_order_acq_rel))
        return;
    if (_notify)
        _notify->bdntfDone(_period, _offset);
}

bool LBeatDetector::CalculateBeats()
{
    LSoundSource mono = LSPConvChannels(1).OpenSource(_source);
    const int end = std::max(mono->GetEndSample(), 0);
    mono->Seek(0);
    const int rate = mono->GetRate();
    const int minPeriod = std::max(rate / kMinPeriodDivisor, kMinPeriodBlocks);
    const int maxPeriod = std::max(rate / kMaxPeriodDivisor, minPeriod);
    const int count = end / kBlockFrames + 1;
    std::vector<int> env(static_cast<size_t>(count), 0);
    int maxPeak = 0;
    if (!_BuildEnvelope(mono, end, env.data(), count, maxPeak))
        return false;
    if (!_Scan(env.data(), count, minPeriod, maxPeriod, maxPeak))
        return false;
    if (_period == 0)
        _period = rate / 2;
    return true;
}

bool LBeatDetector::_BuildEnvelope(LSoundSource& mono, int end, int* env, int count, int& maxPeak)
{
    std::vector<int> chunk(kChunkFrames);
    int block = 0;
    for (int pos = 0; pos < end && block < count; pos += kChunkFrames) {
        if (IsToStop())
            return false;
        const int frames = std::min(kChunkFrames, end - pos);
        mono->Read(chunk.data(), frames);
        for (int at = 0; at < frames && block < count; at += kBlockFrames, ++block) {
            const int peak = GetBufferPeak(chunk.data() + at, std::min(kBlockFrames, frames - at), 1);
            env[block] = peak;
            maxPeak = std::max(maxPeak, peak);
        }
    }
    return true;
}

bool LBeatDetector::_Scan(int const* env, int count, int minPeriod, int maxPeriod, int maxPeak)
{
    const int threshold = maxPeak / 3;
    const int strong = 2 * threshold;
    int start = -1;
    double best = 100.0;
    for (int i = 0, steps = 0; i < count; ++i) {
        if (++steps == kStopCheckSteps) {
            steps = 0;
            if (IsToStop())
                return false;
        }
        const int a = std::abs(env[i]);
        if (a < threshold)
            continue;
        if (start == -1) {
            if (a > strong)
                start = i;
            continue;
        }
        const int p = i - start;
        if (p < minPeriod)
            continue;
        if (p > maxPeriod) {
            start += minPeriod;
            continue;
        }
        _TestCandidate(env, count, start, i, threshold, best);
        if (best == 0.0)
            break;  // no candidate can beat a ratio of 0: the result is final
        if (p >= maxPeriod) {
            i = start + 1;
            start = -1;
        }
    }
    return true;
}

// Steps through the track at the candidate's period, following the strongest block within
// three blocks of each expected beat; the fewer misses per hit, the better. A candidate is
// given up as soon as even all hits from here on could not beat the best ratio, which changes
// no result but keeps dense envelopes (a held tone) from costing the square of their length.
void LBeatDetector::_TestCandidate(int const* env, int count, int start, int i, int threshold, double& best)
{
    const int p = i - start;
    int hits = 1, misses = 0, last = 0;
    for (int j = i + p; j + kSearchBlocks < count; j = last + p) {
        int greatest = 0, where = 0;
        for (int k = -kSearchBlocks; k <= kSearchBlocks; ++k) {
            const int v = std::abs(env[j + k]);
            if (v > greatest) {
                greatest = v;
                where = k;
            }
        }
        if (greatest < threshold) {
            ++misses;
            const int stepsLeft = (count - j) / (p - kSearchBlocks) + 1;
            if (static_cast<double>(misses) / (hits + stepsLeft) >= best)
                return;
        } else {
            ++hits;
        }
        last = j + where;
    }
    const double ratio = static_cast<double>(misses) / hits;
    if (ratio < best && last != 0) {
        const int period = static_cast<int>((int64_t(last - start) * kBlockFrames) / (hits + misses));
        if (period <= 0)
            return;
        best = ratio;
        _period = period;
        _offset = (start * kBlockFrames) % period;
    }
}
