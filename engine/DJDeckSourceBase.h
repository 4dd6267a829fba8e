#pragma once

#include "sound/LSoundSource.h"
#include "sound/LSoundTime.h"
#include "sound/LdB.h"

#include <array>
#include <atomic>

// The level history of a deck: what the player thread measured, stamped with stream time, so
// that a meter can show the level of the moment now audible. It belongs to the deck and
// outlives every chain the deck builds.
class DJDeckSourceBaseInfo {
public:
    static constexpr int kEntries = 256;

    // Loudest level of the entries lying wholly inside [from, to]; 0 while the history is void.
    LdBValue GetLevelFromRange(LSoundTime from, LSoundTime to) const;

private:
    friend class DJDeckSourceBase;

    // Player thread only: appends one measured block.
    void _Store(LSoundTime start, LSoundTime end, LdBValue level);
    // Voids the history (a seek makes it meaningless).
    void _Void() { _oldest.store(-1, std::memory_order_relaxed); }

    // Fields are atomics so that the interface thread may read while the player writes; a
    // stale or mixed entry only shows a slightly wrong level for one meter update.
    struct _Entry {
        std::atomic<int> startMs{0};
        std::atomic<int> endMs{0};
        std::atomic<int> level{LdBValue::kSilence};
    };

    int _ScanLoudest(int from, int to, int fromMs, int toMs) const;

    std::array<_Entry, kEntries> _entries;
    std::atomic<int> _next{0};
    std::atomic<int> _oldest{-1};
};

// Outermost source of a deck's chain: forwards everything to the chain and records the level
// of each block read into the deck's history.
class DJDeckSourceBase : public LSoundSourceBase {
public:
    // `info` belongs to the deck and must outlive the chain.
    DJDeckSourceBase(const LSoundSource& inner, DJDeckSourceBaseInfo* info);

    void Read(int* buffer, int frames) override;
    int GetPositionSample() const override { return _source->GetPositionSample(); }
    int GetEndSample() const override { return _source->GetEndSample(); }
    void Seek(int sample) override;
    bool ControlMessage(LControlMessage id, long* data) override { return _source->ControlMessage(id, data); }

private:
    LSoundTime _Now() const { return LSoundTime::FromFrames(_source->GetPositionSample(), _source->GetRate()); }

    LSoundSource _source;
    DJDeckSourceBaseInfo* _info;
};
