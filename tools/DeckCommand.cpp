#include "tools/ToolCommands.h"

#include "engine/DJDeck.h"

#include <algorithm>
#include <climits>
#include <span>

namespace tool {

namespace {

constexpr int kLoopRenderSeconds = 30;  // a loop never ends by itself

// Each value against the range of its place in the list (one range serves every place when
// only one is given).
template <typename T>
bool _CheckList(const std::vector<T>& values, std::span<const OptionRange> ranges)
{
    for (size_t i = 0; i < values.size(); ++i)
        if (!CheckRange(ranges[std::min(i, ranges.size() - 1)], static_cast<double>(values[i])))
            return false;
    return true;
}

bool _CheckSettings(const DeckOptions& o)
{
    return _CheckList(o.eq, {&kEqRange, 1}) &&
           (!o.highPass || CheckRange(kHighPassRange, *o.highPass)) &&
           _CheckList(o.reverb, kReverbRanges) && _CheckList(o.distortion, kDistortionRanges) &&
           _CheckList(o.phaser, kPhaserRanges) && _CheckList(o.flanger, kFlangerRanges) &&
           _CheckList(o.delay, kDelayRanges) && CheckRange(kPitchRange, o.pitch);
}

// Positions lie within the track as it plays at the deck's pitch (`end` frames); a loop's end
// must stay a frame count.
bool _CheckPositions(const DeckOptions& o, int end, int channels)
{
    if (!CheckRange({"--start", "frame of the track", 0, double(end), true}, o.start))
        return false;
    if (!o.loop.empty()) {
        if (!CheckRange({"--loop CUE", "frame of the track", 0, double(end), true}, o.loop[0]))
            return false;
        const int longest = std::min(end, INT_MAX - o.loop[0]);  // the loop's end stays a frame count
        if (!CheckRange({"--loop FRAMES", "length in frames", 1, double(longest), true}, o.loop[1]))
            return false;
    }
    const int most = MaxWaveFrames(channels, WaveBits::k16);
    return !o.frames || CheckRange({"--frames", "what a WAVE file holds", 0, double(most), true}, *o.frames);
}

// Puts every effect the options name on the deck, as the deck panel's controls would.
void _ApplyEffects(const DeckOptions& o, DJDeck& deck)
{
    if (!o.eq.empty())
        deck.SetEq(LdBValue(o.eq[0]), LdBValue(o.eq[1]), LdBValue(o.eq[2]));
    if (o.highPass)
        deck.SetHighPass(*o.highPass, true);
    if (!o.reverb.empty())
        deck.SetReverb(o.reverb[0], LSoundTime(o.reverb[1]), static_cast<unsigned char>(o.reverb[2]), true);
    if (!o.distortion.empty())
        deck.SetDistortion(o.distortion[0], LdBValue(static_cast<int>(o.distortion[1])), true);
    if (!o.phaser.empty())
        deck.SetPhaser(o.phaser[0], o.phaser[1], true);
    if (!o.flanger.empty())
        deck.SetFlanger(static_cast<int>(o.flanger[0]), o.flanger[1], static_cast<int>(o.flanger[2]),
                        static_cast<int>(o.flanger[3]), true);
    if (!o.delay.empty())
        deck.SetDelay(o.delay[0], o.delay[1], true);
}

}  // namespace

int Deck(const DeckOptions& options)
{
    if (!_CheckSettings(options))
        return kExitUsage;
    DJDeck deck;
    if (!deck.SetTrack(options.in.c_str())) {
        PrintError("%s: %s", options.in.c_str(), LGetSoundErrorText(deck.GetPositionSource()->GetError()));
        return kExitFailed;
    }
    _ApplyEffects(options, deck);
    // Positions are in frames of the played stream, so the pitch comes first.
    deck.SetPitch(options.pitch);
    LSoundSource source = deck.OpenSource();
    if (!_CheckPositions(options, source->GetEndSample(), source->GetChannels()))
        return kExitUsage;
    if (!options.loop.empty())
        deck.SetLoopFrames(options.loop[0], options.loop[1]);
    deck.SetRestartPosition(options.start);

    source = deck.OpenSource();
    int frames = options.frames.value_or(-1);
    if (!options.frames && deck.IsLoopActive())
        frames = kLoopRenderSeconds * source->GetRate();
    return WriteWave(source, options.out, WaveBits::k16, frames);  // through the console's limiter
}

}  // namespace tool
