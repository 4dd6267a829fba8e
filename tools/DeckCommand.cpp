#include "tools/ToolCommands.h"

#include "engine/DJDeck.h"

namespace tool {

namespace {

constexpr int kLoopRenderSeconds = 30;  // a loop never ends by itself

// Puts every effect the options name on the deck, as the deck panel's controls would.
void _ApplyEffects(const DeckOptions& o, DJDeck& deck)
{
    if (!o.eq.empty())
        deck.SetEq(LdBValue(o.eq[0]), LdBValue(o.eq[1]), LdBValue(o.eq[2]));
    if (o.highPass > 0)
        deck.SetHighPass(o.highPass, true);
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

bool _InDBRange(const std::vector<int>& values)
{
    for (int v : values)
        if (v < -127 || v > 127)
            return false;
    return true;
}

}  // namespace

int Deck(const DeckOptions& options)
{
    if (!(options.pitch > 0) || options.start < 0 || !_InDBRange(options.eq) ||
        (!options.distortion.empty() && (options.distortion[1] < -127 || options.distortion[1] > 127))) {
        PrintError("--pitch must be above 0, --start at least 0 and dB values within -127..127");
        return kExitUsage;
    }
    DJDeck deck;
    if (!deck.SetTrack(options.in.c_str())) {
        PrintError("%s: %s", options.in.c_str(), LGetSoundErrorText(deck.GetPositionSource()->GetError()));
        return kExitFailed;
    }
    _ApplyEffects(options, deck);
    // Positions are in frames of the played stream, so the pitch comes first.
    deck.SetPitch(options.pitch);
    if (!options.loop.empty())
        deck.SetLoopFrames(options.loop[0], options.loop[1]);
    deck.SetRestartPosition(options.start);

    LSoundSource source = deck.OpenSource();
    int frames = options.frames;
    if (frames < 0 && deck.IsLoopActive())
        frames = kLoopRenderSeconds * source->GetRate();
    return WriteWave(source, options.out, "16", frames);  // through the console's limiter
}

}  // namespace tool
