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
        long span = fadeFrames;
        source->ControlMessage(kMsgCrossFade, &span);
        _main.crossfade.fadeFrames = fadeFrames;
        _main.crossfade.fadeRequested = true;
    }
    _RestartRing(_main, kResyncHeadFrames);
    render.unlock();
#ifdef ORVANE_RESYNC_HOLD_PROBE
    DJResyncHoldProbe(std::chrono::duration_cast<std::chrono::nanoseconds>(
                          std::chrono::steady_clock::now() - heldFrom).count());
#endif
    const bool second = render2.owns_lock();
    if (second) {
        _ResyncSecond(lag2);
        render2.unlock();
    }
    // The device plays the head meanwhile; the chunks stay small so that it keeps ahead of
    // the device even where rendering is slow, and the ring is as full as before the resync
    // once the player thread runs again.
    _FillAfterResync(_main);
    if (second)
        _FillAfterResync(_second);
}

// With the second player's render lock held.
void DJConsole::_ResyncSecond(int lag2)
{
    LSoundSource& source = _second.GetSource();
    source->Seek(std::max(source->GetResyncPositionSample() - lag2, 0));
    _second.crossfade.fadeFrames = kResyncFillFrames;
    _second.crossfade.fadeRequested = true;
    _RestartRing(_second, kResyncHeadFrames);
}

// With the player's render lock held: keeps the frames the device is about to take and
// writes `head` frames behind them from the source's present position.
void DJConsole::_RestartRing(LSoundPlayer& player, int head)
{
    LSoundSource& source = player.GetSource();
    const int position = std::max(source->GetPositionSample(), 0);
    player.output.SetLastPosition(position);
    player.output.GetRing()->KeepSlice(position);
    player.output.WriteRing(source, head);
}

// With the player's lock held but not its render lock: the writer side of the ring, as the
// player thread is.
void DJConsole::_FillAfterResync(LSoundPlayer& player)
{
    LSoundSource& source = player.GetSource();
    for (int written = kResyncHeadFrames; written < kResyncFillFrames; written += kResyncHeadFrames)
        player.output.WriteRing(source, std::min(kResyncHeadFrames, kResyncFillFrames - written));
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

// The pitch is the ratio of the stored periods, but the pitch stage plays at its converter's
// real speed M/L, the nearest fraction its search finds (within 0.001): 128 BPM synced to 125
// plays at 40/41 instead of 0.97657, and its beats drift 20.7 frames a beat from the other's
// (662 frames, 15 ms, over 32 beats). The phase uses the grid offset in the track's own frames
// against a position in pitched ones, so the first beat also lands late by the offset's share
// of that stretch (225 frames for an offset of 9000).
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

// The new chain stands where the old one did, in the new chain's frames. The player locks are
// held from the first resync to the swap: a fill of the player in between would put more of
// the old chain in the ring, and the resync after the swap rewinds the ring's frames in the
// new chain's frames, so the fill would play again (pitch up) or be skipped (pitch down) in
// part. What is left are the old chain's frames ahead of the ear after the first resync (its
// fill of 8192 and the limiter's read-ahead): |r - 1| times those, at pitch ratio r, repeat or
// go inside the fade (2,970 frames of the track measured from 1.0 to 1.25; about 230 at 1.02).
void DJConsole::djntfPitch(DJDeck& deck)
{
    SetDeckOffsets();
    {
        _PlayerLocks locks(*this);
        _ResyncIfRunning();
        if (!deck.IsActive())
            return;
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
