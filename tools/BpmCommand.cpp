#include "tools/ToolCommands.h"

#include "base/LEventQueue.h"
#include "engine/DJDeck.h"

#include <cstdio>

namespace tool {

namespace {

constexpr unsigned int kDetectWaitMs = 3600 * 1000;  // an hour-long file still finishes

struct BeatsWait : DJDeckNotify {
    void djntfBeats(DJDeck&) override { done = true; }
    bool done = false;
};

// Loads `path` on a deck as the program does with no grid known, and waits for the result.
bool _Detect(const std::string& path)
{
    std::string deckFile;
    if (!DeckFile(path, deckFile))
        return false;
    DJDeck deck;
    BeatsWait wait;
    deck.AddNotify(&wait);
    if (!deck.Load(deckFile.c_str(), 0, 0)) {
        PrintError("%s: %s", path.c_str(), LGetSoundErrorText(deck.GetPositionSource()->GetError()));
        return false;
    }
    // No audio plays here, so the detection need not yield to everything else on the machine.
    deck.GetBeatDetector().SetPriority(kThreadPriorityNormal);
    if (!LEventQueue::ForCurrentThread()->RunUntil([&] { return wait.done; }, kDetectWaitMs)) {
        PrintError("%s: beat detection did not finish", path.c_str());
        return false;
    }
    const int period = deck.GetBeatFrequency();
    const double bpm = period > 0 ? 60.0 * deck.GetSampleRate() / period : 0.0;
    std::printf("%s\t%.2f\t%d\t%d\n", path.c_str(), bpm, period, deck.GetBeatOffset());
    std::fflush(stdout);
    return true;
}

}  // namespace

int Bpm(const std::vector<std::string>& files)
{
    int result = kExitOk;
    for (const std::string& path : files)
        if (!_Detect(path))
            result = kExitFailed;
    return result;
}

}  // namespace tool
