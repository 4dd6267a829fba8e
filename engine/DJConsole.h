#pragma once

#include "engine/DJDeck.h"
#include "output/LSoundPlayer.h"
#include "sound/LAudioMixer.h"
#include "sound/LSplitterSource.h"

#include <memory>
#include <string>
#include <vector>

// What the console reports to the main controller. Every slot has an empty default.
class DJConsoleNotify {
public:
    virtual ~DJConsoleNotify() = default;
    virtual void djcntfLevel(LDBMC const&, long /*id*/) {}
    virtual void djcntfBeats(DJDeck&) {}
    virtual void djcntfStop(DJDeck&) {}
    virtual void djcntfPlay(DJDeck&) {}
    virtual void djcntfStopRecording() {}
    virtual bool djcntfIsRecording() { return false; }
    virtual void djcntfShowMessage(char const* /*text*/, char const* /*title*/) {}
};

// Output channels of the mixer, as the settings name them.
enum DJChannelMapSlot { kMainOutputLeft = 0, kMainOutputRight, kHeadphoneOutputLeft, kHeadphoneOutputRight, kChannelMapSlots };

// The two-deck mixing engine: owns the decks, the mixer, the main and headphone players and
// the recording sink, and turns every deck action into a change of mixer sources, routes or
// player state. Everything runs on the interface thread.
class DJConsole : public LSoundPlayerNotify, public DJDeckNotify {
public:
    static constexpr long kMainPlayerId = 0;
    static constexpr long kSecondPlayerId = 1;
    static constexpr int kFadeFrames = 1024;
    static constexpr int kStopRewindFrames = 4096;  // a stopped deck restarts this much earlier than heard
    static constexpr int kResyncFillFrames = 8192;
    // Rendered while a resync holds the render lock: 46 ms of audio at 44,100 Hz, so that the
    // rest of the fill gets ahead of the device even when the interface thread is held up.
    static constexpr int kResyncHeadFrames = 2048;
    static constexpr int kDefaultCrossFade = 50;    // percent
    static constexpr int kMaxMapChannel = 63;       // highest output channel a setting may name

    DJConsole();
    ~DJConsole() override;
    DJConsole(const DJConsole&) = delete;
    DJConsole& operator=(const DJConsole&) = delete;

    // A new deck at the head of the list, the console its first listener.
    DJDeck& AddDeck(DJDeckPosition position);
    DJDeck* GetDeck(DJDeckPosition position) const;
    DJDeck* GetFirstDeck() const { return _decks; }
    void SetNotify(DJConsoleNotify* notify) { _notify = notify; }
    void Stop();

    // 0 is deck 0 alone, 100 deck 1 alone.
    void SetCrossFade(int position);
    int GetCrossFade() const { return _crossfade; }
    void SetVolume(LdBValue master);
    LdBValue GetVolume() const { return _master; }
    int GetOutputChannelLeft() const { return _map[kMainOutputLeft]; }
    int GetOutputChannelRight() const { return _map[kMainOutputRight]; }
    int GetOutputChannelLeftMonitor() const { return _map[kHeadphoneOutputLeft]; }
    int GetOutputChannelRightMonitor() const { return _map[kHeadphoneOutputRight]; }

    // Frames in the main ring beyond the slice the device is about to take.
    int GetLag() override;
    bool IsPlayerRunning() const { return _main.output.GetStatus() != 0; }
    bool IsRecording() const { return (_recordSink->GetError() & kSinkErrorFlag) == 0; }

    void UpdateDevice();
    void UpdateChannelMapping();
    void ConfigureMixerChannels();
    void ApplyCrossFade();
    // Makes an audible change take effect at once and without a click: the ring is thrown
    // away but for the slice the device is about to take, the mix is rewound by what was
    // thrown, and the next block fades from old to new.
    void ResyncPlayer();
    void SetDeckOffsets();

    // Both do nothing while the main player is stopped.
    void StartRecording();
    // Recordings go to `path` as given, in place of the recording settings' folder and name
    // (a writer that commits the file itself names its temporary here); "" returns to those.
    void SetRecordingPath(const std::string& path) { _recordingPath = path; }
    void StopRecording();

    // Resyncs done so far, for diagnostics.
    int GetResyncCount() const { return _resyncCount; }
    LSoundPlayer& GetMainPlayer() { return _main; }
    LSoundPlayer& GetSecondPlayer() { return _second; }
    LAudioMixer& GetMixer() { return _mixer; }

    // DJDeckNotify
    void djntfPlay(DJDeck& deck) override;
    void djntfStop(DJDeck& deck) override;
    void djntfVolume(LdBValue volume, LdBValue crossfade, DJDeck& deck) override;
    void djntfPosition(DJDeck& deck) override;
    void djntfPitch(DJDeck& deck) override;
    void djntfFX(DJDeck& deck) override;
    void djntfSync(DJDeck& deck) override;
    void djntfUnsync(DJDeck& deck) override;
    void djntfBeats(DJDeck& deck) override;
    void djntfHeadphone(DJDeck& deck, bool on) override;
    void djntfLoop(DJDeck& deck) override;
    void djntfLockChain(DJDeck& deck, bool lock) override;

    // LSoundPlayerNotify
    void spntfTime(LSoundTime time, long id) override;
    void spntfLevel(LDBMC const& level, long id) override;

private:
    // Player locks in their one order: second, then main; each only if not held already.
    class _PlayerLocks;

    bool _UseSecondDevice() const;
    DJDeck* _OtherDeck(const DJDeck& deck) const;
    bool _AnyDeckPlaying() const;
    void _ResyncIfRunning();
    // With `record`, the main chain carries the recording tap from its first frame.
    void _StartPlayers(bool record);
    // Opens the recording file and puts the tap over `mix`; false, with the message shown
    // and the recording state stopped, when the file cannot be made.
    bool _OpenRecording(LSoundSource& mix);
    void _StartOn(LSoundPlayer& player, LSoundSource source);
    void _SetPlayerSource(LSoundPlayer& player, LSoundSource source);
    void _UpdateDeviceOf(LSoundPlayer& player, const char* setting);
    bool _IsMainRoute(int channel) const;
    void _RouteHeadphones(DJDeck& deck, bool on);
    void _SetHeadphoneVolume(DJDeck& deck);
    void _ResyncSecond(int lag2);
    void _RestartRing(LSoundPlayer& player, int head);
    void _FillAfterResync(LSoundPlayer& player);
    std::string _RecordingPath() const;
    void _FailRecording(const std::string& path);

    LSoundPlayer _main;
    LSoundPlayer _second;
    DJConsoleNotify* _notify = nullptr;
    LAudioMixer _mixer{false};
    DJDeck* _decks = nullptr;  // list head; owned by _ownedDecks
    std::vector<std::unique_ptr<DJDeck>> _ownedDecks;
    LdBValue _master{0};
    LSoundSink _recordSink;
    std::string _recordingPath;  // "": from the settings
    std::shared_ptr<LSplitterRing> _splitRing;
    bool _secondInUse = false;
    bool _mainHeld = false, _secondHeld = false;  // player locks the interface thread holds
    int _resyncCount = 0;  // the players were started with the second device
    int _crossfade = kDefaultCrossFade;
    int _map[kChannelMapSlots] = {-1, -1, -1, -1};
    std::unique_ptr<_PlayerLocks> _chainLocks;  // held between the two djntfLockChain calls
};
