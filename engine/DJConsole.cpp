#include "engine/DJConsole.h"

#include "engine/DJSettingsAccess.h"
#include "output/LSoundPlayDevice.h"
#include "sound/LPeakLimit.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace {

const char* const kMapSettings[kChannelMapSlots] = {"MainOutputLeft", "MainOutputRight", "HeadphoneOutputLeft",
                                                     "HeadphoneOutputRight"};
constexpr int kMapDefaults[kChannelMapSlots] = {0, 1, 0, 1};
constexpr int kCrossFadeMax = 100;  // percent

// Linear in amplitude: the share p of 100, rounded half away from zero, as dB.
LdBValue _CrossFadeDB(int percent)
{
    const int64_t gain = (int64_t(percent) * kGainUnity + kCrossFadeMax / 2) / kCrossFadeMax;
    return LGainToDB(static_cast<int>(gain));
}

LdBValue _Product(LdBValue a, LdBValue b)
{
    return LGainToDB(LGainMultiply(a.GetGain(), b.GetGain()));
}

int _Remainder(int64_t value, int64_t period)
{
    return static_cast<int>(value % period);  // takes the sign of the dividend
}

// A block already read, played back into the ring with the positions it came from. The fade
// of a resync spans exactly one Read, so it is read here in one piece; the ring may then take
// it in two pieces where it wraps without cutting the fade short.
class _ReadBlock : public LSoundSourceBase {
public:
    _ReadBlock(LSoundSource& from, int frames)
        : LSoundSourceBase(from->GetRate(), from->GetChannels(), from->GetPeak()),
          _start(from->GetPositionSample()),
          _data(size_t(std::max(frames, 0)) * from->GetChannels())
    {
        from->Read(_data.data(), frames);
    }
    void Read(int* buffer, int frames) override
    {
        const size_t values = size_t(frames) * channels;
        std::copy_n(_data.begin() + _read, values, buffer);
        _read += values;
    }
    int GetPositionSample() const override { return _start + static_cast<int>(_read / channels); }
    int GetEndSample() const override { return _start + static_cast<int>(_data.size() / channels); }

private:
    int _start;
    std::vector<int> _data;
    size_t _read = 0;
};

}  // namespace

// Takes the second player's lock (when a second device is in use), then the main one, each
// only if the interface thread does not hold it already; gives back what it took. The player's
// own "held" flag cannot tell: it is also set while the player thread fills the ring.
class DJConsole::_PlayerLocks {
public:
    explicit _PlayerLocks(DJConsole& console) : _console(console)
    {
        _tookSecond = console._secondInUse && !console._secondHeld;
        if (_tookSecond) {
            console._second.Lock();
            console._secondHeld = true;
        }
        _tookMain = !console._mainHeld;
        if (_tookMain) {
            console._main.Lock();
            console._mainHeld = true;
        }
    }
    ~_PlayerLocks()
    {
        if (_tookMain) {
            _console._mainHeld = false;
            _console._main.Unlock();
        }
        if (_tookSecond) {
            _console._secondHeld = false;
            _console._second.Unlock();
        }
    }
    _PlayerLocks(const _PlayerLocks&) = delete;
    _PlayerLocks& operator=(const _PlayerLocks&) = delete;

private:
    DJConsole& _console;
    bool _tookSecond = false, _tookMain = false;
};

DJConsole::DJConsole() : _splitRing(std::make_shared<LSplitterRing>())
{
    _main.SetNotify(this, kMainPlayerId);
    _second.SetNotify(this, kSecondPlayerId);
    UpdateDevice();
    _crossfade = kDefaultCrossFade;
    _master = LdBValue(0);
    std::fill(std::begin(_map), std::end(_map), -1);
}

DJConsole::~DJConsole()
{
    _main.Stop();
    _second.Stop();
    _chainLocks.reset();
    _recordSink.Close();
    _splitRing.reset();
    _decks = nullptr;
    _ownedDecks.clear();
}

DJDeck& DJConsole::AddDeck(DJDeckPosition position)
{
    _ownedDecks.push_back(std::make_unique<DJDeck>(position));
    DJDeck& deck = *_ownedDecks.back();
    deck.AddNotify(this);
    deck.next = _decks;
    _decks = &deck;
    return deck;
}

DJDeck* DJConsole::GetDeck(DJDeckPosition position) const
{
    for (DJDeck* d = _decks; d; d = d->next)
        if (d->GetDeckPosition() == position)
            return d;
    return nullptr;
}

DJDeck* DJConsole::_OtherDeck(const DJDeck& deck) const
{
    for (DJDeck* d = _decks; d; d = d->next)
        if (d->GetDeckPosition() != deck.GetDeckPosition())
            return d;
    return nullptr;
}

bool DJConsole::_AnyDeckPlaying() const
{
    for (DJDeck* d = _decks; d; d = d->next)
        if (d->GetState() == kDeckPlaying)
            return true;
    return false;
}

void DJConsole::Stop()
{
    for (DJDeck* d = _decks; d; d = d->next)
        d->Stop();
}

bool DJConsole::_UseSecondDevice() const
{
    return DJSettingBool("UseSecondDevice", false);
}

void DJConsole::_ResyncIfRunning()
{
    if (IsPlayerRunning())
        ResyncPlayer();
}

void DJConsole::SetCrossFade(int position)
{
    position = std::clamp(position, 0, kCrossFadeMax);
    if (position == _crossfade)
        return;
    _crossfade = position;
    ApplyCrossFade();
    _ResyncIfRunning();
}

void DJConsole::SetVolume(LdBValue master)
{
    _master = master;
    ApplyCrossFade();
    _ResyncIfRunning();
}

int DJConsole::GetLag()
{
    LCARingBuffer* ring = _main.output.GetRing();
    if (!ring)
        return 0;
    return std::max(ring->GetHeldFrames() - ring->GetFramesPerSlice(), 0);
}

void DJConsole::ApplyCrossFade()
{
    for (DJDeck* d = _decks; d; d = d->next) {
        const int share = d->GetDeckPosition() == kDeckRight ? _crossfade : kCrossFadeMax - _crossfade;
        d->SetCrossFadeVolume(_CrossFadeDB(share));
        const LdBValue level = _Product(d->GetVolumeTotal(), _master);
        if (_map[kMainOutputLeft] >= 0)
            _mixer.SetChannelDesignationVolume(d->GetDeckPosition(), 0, _map[kMainOutputLeft], level);
        if (_map[kMainOutputRight] >= 0)
            _mixer.SetChannelDesignationVolume(d->GetDeckPosition(), 1, _map[kMainOutputRight], level);
    }
}

void DJConsole::UpdateChannelMapping()
{
    for (int slot = 0; slot < kChannelMapSlots; ++slot) {
        const int value = DJSettingInt(kMapSettings[slot], kMapDefaults[slot]);
        _map[slot] = (value < -1 || value > kMaxMapChannel) ? kMapDefaults[slot] : value;
    }
}

// A headphone channel that is also a main channel is the main route itself: the headphone
// level must not overwrite the crossfaded one, nor its removal silence the deck.
bool DJConsole::_IsMainRoute(int channel) const
{
    return channel == _map[kMainOutputLeft] || channel == _map[kMainOutputRight];
}

void DJConsole::_RouteHeadphones(DJDeck& deck, bool on)
{
    const int channels[2] = {_map[kHeadphoneOutputLeft], _map[kHeadphoneOutputRight]};
    for (int source = 0; source < 2; ++source) {
        const int out = channels[source];
        if (out < 0 || _IsMainRoute(out))
            continue;
        if (on)
            _mixer.AddChannelDesignation(deck.GetDeckPosition(), source, out);
        else
            _mixer.RemoveChannelDesignation(deck.GetDeckPosition(), source, out);
    }
}

void DJConsole::_SetHeadphoneVolume(DJDeck& deck)
{
    const int channels[2] = {_map[kHeadphoneOutputLeft], _map[kHeadphoneOutputRight]};
    for (int source = 0; source < 2; ++source)
        if (channels[source] >= 0 && !_IsMainRoute(channels[source]))
            _mixer.SetChannelDesignationVolume(deck.GetDeckPosition(), source, channels[source], deck.GetVolume());
}

void DJConsole::ConfigureMixerChannels()
{
    for (DJDeck* d = _decks; d; d = d->next) {
        if (_map[kMainOutputLeft] >= 0)
            _mixer.AddChannelDesignation(d->GetDeckPosition(), 0, _map[kMainOutputLeft]);
        if (_map[kMainOutputRight] >= 0)
            _mixer.AddChannelDesignation(d->GetDeckPosition(), 1, _map[kMainOutputRight]);
        if (d->IsHeadphoneMode()) {
            _RouteHeadphones(*d, true);
            _SetHeadphoneVolume(*d);
        }
    }
    ApplyCrossFade();
}

void DJConsole::_UpdateDeviceOf(LSoundPlayer& player, const char* setting)
{
    const std::string name = DJSettingString(setting);
    const int index = name.empty() ? 0 : LSoundPlayDevice::GetListDeviceIndex(name.c_str());
    if (index != player.output.GetDeviceIndex()) {
        player.output.CloseAudioUnit();
        player.output.SetDeviceIndex(index);
    }
}

// The device opens when a deck first plays; here only the choice of device is taken over.
void DJConsole::UpdateDevice()
{
    if (IsPlayerRunning() || _second.output.GetStatus() != 0)
        return;
    _UpdateDeviceOf(_main, "SoundOutDevice");
    _UpdateDeviceOf(_second, "SoundOutDeviceHeadphone");
    UpdateChannelMapping();
    const int highest = *std::max_element(std::begin(_map), std::end(_map));
    _mixer.SetOutputChannels(static_cast<unsigned char>(highest + 1));
}

void DJConsole::SetDeckOffsets()
{
    DJDeck* first = _decks;
    DJDeck* second = first ? first->next : nullptr;
    if (!first)
        return;
    const bool firstActive = first->IsActive();
    const bool secondActive = second && second->IsActive();
    if (!secondActive) {
        first->SetPlayerTimeOffset(LSoundTime(0));
        return;
    }
    if (!firstActive) {
        second->SetPlayerTimeOffset(LSoundTime(0));
        return;
    }
    const int a = first->GetPositionSourceTime().GetMilliseconds();
    const int b = second->GetPositionSourceTime().GetMilliseconds();
    first->SetPlayerTimeOffset(LSoundTime(a < b ? b - a : 0));
    second->SetPlayerTimeOffset(LSoundTime(b < a ? a - b : 0));
}

#ifdef ORVANE_RESYNC_HOLD_PROBE
// Bench builds only (the probe is compiled out elsewhere): told, in nanoseconds, how long each
// resync held the main player's render lock.
void DJResyncHoldProbe(long long heldNs);
#endif

void DJConsole::ResyncPlayer()
{
    _PlayerLocks locks(*this);
    ++_resyncCount;
    std::unique_lock render(_main.output.GetRenderLock());
#ifdef ORVANE_RESYNC_HOLD_PROBE
    const auto heldFrom = std::chrono::steady_clock::now();
#endif
    LCARingBuffer* ring = _main.output.GetRing();
    if (!ring)
        return;
    LSoundSource& source = _main.GetSource();
    const int lag = std::max(ring->GetHeldFrames() - ring->GetFramesPerSlice(), 0);
    const int target = std::max(source->GetResyncPositionSample() - lag, 0);
    int lag2 = 0;
    std::unique_lock<std::mutex> render2;
    if (_secondInUse && _second.output.GetRing()) {
        render2 = std::unique_lock(_second.output.GetRenderLock());
        LCARingBuffer* ring2 = _second.output.GetRing();
        lag2 = std::max(ring2->GetHeldFrames() - ring2->GetFramesPerSlice(), 0);
        const int target2 = std::max(_second.GetSource()->GetResyncPositionSample() - lag2, 0);
        _splitRing->Clear();
        source->Seek(target2);
        long diff = target - target2;
        source->ControlMessage(kMsgPrefillSecondary, &diff);
    }
    source->Seek(target);
    // The file loses what will be played again.
    _recordSink->Seek(_recordSink->GetPosition() - lag);
    // The fade's old side is what the old chain gave for the frames thrown away, so it can
    // span no more than those; with none thrown (a device that takes all at once) there is
    // nothing to fade from.
    const int fadeFrames = std::min(lag, kResyncFillFrames);
    if (fadeFrames > 0) {
        source->ControlMessage(kMsgCrossFade, nullptr);
        _main.crossfade.fadeRequested = true;
    }
    const int position = std::max(source->GetPositionSample(), 0);
    _main.output.SetLastPosition(position);
    ring->KeepSlice(position);
    if (fadeFrames > 0) {
        const int left = source->GetEndSample() - source->GetPositionSample();
        LSoundSource block(new _ReadBlock(source, std::min({fadeFrames, ring->GetFreeFrames(), std::max(left, 0)})));
        _main.output.WriteRing(block, fadeFrames);
    }
    _main.output.WriteRing(source, kResyncFillFrames - fadeFrames);
    render.unlock();
#ifdef ORVANE_RESYNC_HOLD_PROBE
    DJResyncHoldProbe(std::chrono::duration_cast<std::chrono::nanoseconds>(
                          std::chrono::steady_clock::now() - heldFrom).count());
#endif
    if (render2.owns_lock()) {
        render2.unlock();
        _ResyncSecond(lag2);
    }
}

void DJConsole::_ResyncSecond(int lag2)
{
    std::lock_guard render(_second.output.GetRenderLock());
    LCARingBuffer* ring = _second.output.GetRing();
    if (!ring)
        return;
    LSoundSource& source = _second.GetSource();
    source->Seek(std::max(source->GetResyncPositionSample() - lag2, 0));
    _second.crossfade.fadeRequested = true;
    const int position = std::max(source->GetPositionSample(), 0);
    _second.output.SetLastPosition(position);
    ring->KeepSlice(position);
    _second.output.WriteRing(source, kResyncFillFrames);
}

void DJConsole::_StartOn(LSoundPlayer& player, LSoundSource source)
{
    if (source->GetError() != kErrNone)
        return;
    if (source->GetPeak() > kPeakLimit)
        source = LSPPeakLimit(kPeakLimit).OpenSource(source);
    player.SetSoundSource(player.crossfade.OpenSource(source));
    player.Play();
}

// Under the player's lock the new chain takes the old one's place at the same frame.
void DJConsole::_SetPlayerSource(LSoundPlayer& player, LSoundSource source)
{
    _PlayerLocks locks(*this);
    const int position = player.GetSource()->GetPositionSample();
    if (source->GetPeak() > kPeakLimit)
        source = LSPPeakLimit(kPeakLimit).OpenSource(source);
    source->Seek(position);
    player.SetSoundSource(player.crossfade.OpenSource(source));
}

void DJConsole::_StartPlayers(bool record)
{
    LSoundSource mix = _mixer.OpenSource();
    _main.Stop();
    _second.Stop();
    _secondInUse = _UseSecondDevice();
    LSoundSource main = mix;
    if (_secondInUse) {
        _splitRing->Clear();
        main = LSoundSource(new LSplitterPrimarySource(mix, _splitRing));
    }
    if (record && main->GetError() == kErrNone)
        _OpenRecording(main);
    _StartOn(_main, main);
    if (_secondInUse)
        _StartOn(_second, LSoundSource(new LSplitterSecondarySource(mix, _splitRing)));
}

void DJConsole::djntfPlay(DJDeck& deck)
{
    UpdateChannelMapping();
    SetDeckOffsets();
    LSoundSource chain = deck.OpenSource();
    const bool runs = IsPlayerRunning();
    _mixer.AddSource(chain, deck.GetDeckPosition(), runs);
    ConfigureMixerChannels();
    if (runs)
        ResyncPlayer();
    else
        _StartPlayers(_notify && _notify->djcntfIsRecording());
    _mixer.NoticeSource(deck.GetDeckPosition());
    SetDeckOffsets();
    if (_notify)
        _notify->djcntfPlay(deck);
}

void DJConsole::djntfStop(DJDeck& deck)
{
    const int lag = GetLag();
    const int position = deck.GetPositionSource()->GetPositionSample();
    const int restart = position < deck.GetEndSample() ? position - lag - kStopRewindFrames : position;
    deck.SetRestartPosition(std::max(restart, 0));
    SetDeckOffsets();
    _mixer.DeleteSource(deck.GetDeckPosition());
    ConfigureMixerChannels();
    if (_AnyDeckPlaying()) {
        _ResyncIfRunning();
    } else {
        _main.Stop();
        _second.Stop();
        _recordSink.Close();
    }
    _mixer.NoticeAll();
    SetDeckOffsets();
    if (_notify)
        _notify->djcntfStop(deck);
}

void DJConsole::djntfVolume(LdBValue, LdBValue, DJDeck& deck)
{
    ApplyCrossFade();
    _SetHeadphoneVolume(deck);
    _ResyncIfRunning();
}

void DJConsole::djntfPosition(DJDeck& deck)
{
    DJDeck* other = _OtherDeck(deck);
    if (!other)
        return;
    if (other->GetState() == kDeckPlaying)
        other->SetHold(true);
    deck.SetHold(false);
    if (IsPlayerRunning()) {
        ResyncPlayer();
        SetDeckOffsets();
    }
}

void DJConsole::djntfSync(DJDeck& deck)
{
    DJDeck* other = _OtherDeck(deck);
    if (!deck.IsLoaded() || !other || other->GetBeatFrequency() == 0 || deck.GetBeatFrequency() == 0)
        return;
    const int otherPeriod = other->GetBeatFrequency();
    deck.SetPitch(static_cast<double>(deck.GetBeatFrequency()) / otherPeriod * deck.GetPitch());
    ApplyCrossFade();
    SetDeckOffsets();
    {
        // Both positions from between the same two reads of the player.
        _PlayerLocks locks(*this);
        const int otherPhase = _Remainder(int64_t(other->GetPositionSource()->GetPositionSample()) - other->GetBeatOffset(), otherPeriod);
        const int deckPhase = _Remainder(int64_t(deck.GetPositionSource()->GetPositionSample()) - deck.GetBeatOffset(), otherPeriod);
        deck.SeekOffset(otherPhase - deckPhase);
        SetDeckOffsets();
    }
    _ResyncIfRunning();
}

void DJConsole::djntfUnsync(DJDeck& deck)
{
    deck.SetPitch(1.0);
    ApplyCrossFade();
    _ResyncIfRunning();
}

// The new chain stands where the old one did, in the new chain's frames.
void DJConsole::djntfPitch(DJDeck& deck)
{
    SetDeckOffsets();
    _ResyncIfRunning();
    if (!deck.IsActive())
        return;
    {
        _PlayerLocks locks(*this);
        const int position = deck.GetPositionSource()->GetPositionSample();
        const int end = deck.GetEndSample();
        SetDeckOffsets();
        LSoundSource chain = deck.OpenSource();
        const int newEnd = chain->GetEndSample();
        chain->Seek(end > 0 ? static_cast<int>(std::trunc(static_cast<double>(position) / end * newEnd)) : 0);
        _mixer.ChangeSource(deck.GetDeckPosition(), chain);
        SetDeckOffsets();
    }
    _ResyncIfRunning();
}

void DJConsole::djntfFX(DJDeck& deck)
{
    if (!deck.IsActive())
        return;
    {
        _PlayerLocks locks(*this);
        LSoundSource chain = deck.OpenSource();
        _mixer.UpdateSource(deck.GetDeckPosition(), chain);
    }
    _ResyncIfRunning();
}

// The rebuilt chain (with or without the loop) takes the old chain's position, which the
// seek of SetLoop has already set ahead by the lag.
void DJConsole::djntfLoop(DJDeck& deck)
{
    _ResyncIfRunning();
    if (!deck.IsActive())
        return;
    {
        _PlayerLocks locks(*this);
        const int position = deck.GetPositionSource()->GetPositionSample();
        LSoundSource chain = deck.OpenSource();
        chain->Seek(position);
        _mixer.ChangeSource(deck.GetDeckPosition(), chain);
    }
    _ResyncIfRunning();
}

void DJConsole::djntfBeats(DJDeck& deck)
{
    if (_notify)
        _notify->djcntfBeats(deck);
}

void DJConsole::djntfHeadphone(DJDeck& deck, bool on)
{
    _RouteHeadphones(deck, on);
    if (on)
        _SetHeadphoneVolume(deck);
    _ResyncIfRunning();
}

void DJConsole::djntfLockChain(DJDeck&, bool lock)
{
    // Only while the players run is the chain read by another thread.
    if (lock && IsPlayerRunning() && !_chainLocks)
        _chainLocks = std::make_unique<_PlayerLocks>(*this);
    else if (!lock)
        _chainLocks.reset();
}

void DJConsole::spntfTime(LSoundTime time, long id)
{
    if (id != kMainPlayerId)
        return;
    for (DJDeck* d = _decks; d; d = d->next) {
        if (d->GetState() != kDeckPlaying)
            continue;
        if (d->IsLoopActive()) {
            const int heard = time.GetMilliseconds() - d->GetTimeOffset().GetMilliseconds();
            if (heard > d->GetLoopEnd().GetMilliseconds() || heard < d->GetPosition().GetMilliseconds())
                SetDeckOffsets();
        }
        d->EvTimeChanged(time);
        if (d->GetState() != kDeckPlaying)
            break;
    }
}

void DJConsole::spntfLevel(LDBMC const& level, long id)
{
    if (_notify)
        _notify->djcntfLevel(level, id);
}
