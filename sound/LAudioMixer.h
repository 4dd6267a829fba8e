#pragma once

#include "sound/LSoundSource.h"
#include "sound/LdB.h"

#include <atomic>
#include <memory>
#include <mutex>

// One source of the mixer and its routes. Each source channel feeds a list of output channels
// (its channel designations), each route with its own volume.
struct LAudioMixerSource {
    static constexpr int kMaxChannels = 256;

    LAudioMixerSource(const LSoundSource& sound, int sourceId, bool held);

    // Routes of `sourceChannel` up to the first -1.
    int CountDesignations(int sourceChannel) const;

    std::unique_ptr<LAudioMixerSource> next;
    // Volume of each route in dB; set without the lock, so each byte is atomic.
    std::atomic<signed char> volumes[kMaxChannels][kMaxChannels];
    int designations[kMaxChannels][kMaxChannels];  // output channels, ending at the first -1
    int id;
    bool notYetNoticed;  // a held source: mixed, but left out of resync position and seek
    LSoundSource source;
};

// The list and its lock, shared by the mixer and every stream opened over it so that neither
// outlives the other's state.
struct LAudioMixerList {
    std::mutex lock;
    std::unique_ptr<LAudioMixerSource> head;  // newest first
};

// Sums any number of sources into one multi-channel stream through per-route gains.
class LAudioMixer {
public:
    static constexpr int kRate = 44100;  // Hz, fixed

    explicit LAudioMixer(bool endAtShortest);

    void SetOutputChannels(unsigned char outputChannels);
    unsigned char GetOutputChannels() const { return _outputChannels; }
    int GetRate() const { return kRate; }

    // A stream over the live list: sources added later are mixed at once.
    LSoundSource OpenSource();

    // Replaces the source of a known id; else adds a new entry, held or not.
    void AddSource(LSoundSource& source, int id, bool held);
    void DeleteSource(int id);
    // Swaps the source as it stands.
    void ChangeSource(int id, LSoundSource& source);
    // Seeks the new source to the old one's position, then swaps.
    void UpdateSource(int id, LSoundSource& source);
    void NoticeSource(int id);
    void NoticeAll();

    // No effect when the route exists already or the list is full.
    void AddChannelDesignation(int id, int sourceChannel, int outputChannel);
    // Leaves a hole (-1): routes behind it are out of use until the next add fills it.
    void RemoveChannelDesignation(int id, int sourceChannel, int outputChannel);
    // Lock-free: one byte is stored.
    void SetChannelDesignationVolume(int id, int sourceChannel, int outputChannel, LdBValue volume);

private:
    // Caller holds the lock, or is the only thread that changes the list.
    LAudioMixerSource* _Find(int id) const;
    // Swaps in `source`, returning the old handle so it is released outside the lock.
    LSoundSource _Swap(int id, LSoundSource& source, bool keepPosition);
    // Runs `change(list, listEnd)` on one designation list under the lock; channels out of
    // range are ignored.
    template <typename Change>
    void _ChangeDesignations(int id, int sourceChannel, int outputChannel, Change change);

    std::shared_ptr<LAudioMixerList> _list;
    bool _endAtShortest;
    unsigned char _outputChannels = 2;
};

// The mixed stream. Read takes the mixer lock for the whole block.
class LAudioMixerSourceBase : public LSoundSourceBase {
public:
    static constexpr int kScratchInts = 16384;

    // Brings every source of a different rate to the mixer's rate, keeping its channels.
    LAudioMixerSourceBase(std::shared_ptr<LAudioMixerList> list, int rate, unsigned char outputChannels,
                          bool endAtShortest);

    void Read(int* buffer, int frames) override;
    // Largest position of all sources, 0 with none.
    int GetPositionSample() const override;
    int GetEndSample() const override;
    // Moves the sources not held, together, keeping their distances.
    void Seek(int sample) override;
    // Largest position of the sources not held.
    int GetResyncPositionSample() const override;

private:
    void _MixSource(LAudioMixerSource& entry, int* buffer, int frames);
    void _MixChannel(const LAudioMixerSource& entry, int sourceChannels, int channel, int* out, int frames) const;
    int _Position(bool noticedOnly) const;
    int _EndAtShortest() const;
    int _EndAtLongest() const;

    std::shared_ptr<LAudioMixerList> _list;
    bool _endAtShortest;
    std::unique_ptr<int[]> _scratch;
};
