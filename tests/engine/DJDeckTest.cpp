#include "engine/DJDeck.h"

#include "sound/LDistortion.h"
#include "sound/LHighPass.h"
#include "sound/LParametricEq.h"
#include "sound/LPeakLimit.h"
#include "sound/LSRCEcho.h"
#include "sound/LSRCFlanger.h"
#include "sound/LSRCReverb3.h"
#include "sound/LSRCConvertRate.h"
#include "sound/LWaveFile.h"
#include "sound/MemorySource.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>

namespace {

constexpr int kRate = 44100;
constexpr int kFrames = 44100;  // one second

// A stereo test track: a sine on the left, another on the right, loud enough for every stage
// to change it.
std::string WriteTrack(const TempFolder& folder)
{
    const std::string path = folder / "track.wav";
    std::vector<int> left = MakeSine(kRate, 1, 220.0, 300000, kFrames);
    std::vector<int> right = MakeSine(kRate, 1, 1330.0, 200000, kFrames);
    std::vector<int> stereo;
    for (int f = 0; f < kFrames; ++f)
        stereo.insert(stereo.end(), {left[f], right[f]});
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    sink->Write(stereo.data(), kFrames);
    return path;
}

std::vector<int> Render(LSoundSource source, int frames = 8192)
{
    return ReadAll(source, frames);
}

LSoundSource Equalised(LSoundSource working, int low, int mid, int high)
{
    working = LSPParametricEq(LdBValue(low), 100, 1.4).OpenSource(working);
    working = LSPParametricEq(LdBValue(mid), 400, 1.4).OpenSource(working);
    return LSPParametricEq(LdBValue(high), 1000, 1.4).OpenSource(working);
}

// Logs each listener's FX and pitch calls by its tag.
struct Listener : DJDeckNotify {
    Listener(std::string& log, char tag) : log(log), tag(tag) {}
    void djntfFX(DJDeck&) override { log += tag; }
    void djntfPitch(DJDeck&) override { log += 'p'; }
    std::string& log;
    char tag;
};

// A deck holding the test track.
class DJDeckChain : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(deck.SetTrack(path.c_str())); }
    TempFolder folder;
    const std::string path = WriteTrack(folder);
    DJDeck deck;
};

}  // namespace

TEST_F(DJDeckChain, PlainChainIsFileThenThreeEqualiserStagesAndAMissingFileNone)
{
    deck.SetEq(LdBValue(-6), LdBValue(3), LdBValue(9));
    LSoundSource chain = deck.OpenSource();
    EXPECT_EQ(chain->GetPeak(), kPeakDefault);
    EXPECT_EQ(chain->GetEndSample(), kFrames);
    EXPECT_EQ(Render(chain), Render(Equalised(LWaveFile::OpenSource(path.c_str()), -6, 3, 9)));

    // A missing file gives its error and no stages, whatever is switched on.
    EXPECT_FALSE(deck.SetTrack((folder / "gone.wav").c_str()));
    deck.SetReverb(50, LSoundTime(1000), 0, true);
    chain = deck.OpenSource();
    EXPECT_EQ(chain->GetError(), kErrMissing);
    EXPECT_EQ(chain.Get(), deck.GetPositionSource().Get());
}

TEST_F(DJDeckChain, EveryStageInItsOrderWithTheDecksParameterMapping)
{
    deck.SetHighPass(0, true);  // raised to 1 Hz
    deck.SetReverb(30, LSoundTime(2000), 40, true);
    deck.SetDistortion(0.4, LdBValue(6), true);
    deck.SetFlanger(5, 0.5, 40, 50, true);
    deck.SetPhaser(3, 60, true);
    deck.SetDelay(40, 5000, true);  // held at 4,000 ms
    deck.SetEq(LdBValue(2), LdBValue(-3), LdBValue(4));
    deck.SetPitch(1.05);
    deck.SetRestartPosition(1000);
    const std::vector<int> got = Render(deck.OpenSource());
    EXPECT_EQ(deck.GetEffects().highPassFrequency, 1);

    LSoundSource expected = LWaveFile::OpenSource(path.c_str());
    expected = LSPHighPass(1).OpenSource(expected);
    expected = LSPReverb3(2000, 40, LdBValue(-10), LdBValue(-3)).OpenSource(expected);
    expected = LSPDistortion(0.4, 261523).OpenSource(expected);  // trunc(10^0.3 * 2^17)
    expected = LSPFlanger(5, 0.5, 40, 50).OpenSource(expected);
    expected = LSPFlanger(3, 0.0, 0, 60).OpenSource(expected);
    expected = LSPEcho(40, 4000).OpenSource(expected);
    expected = LSoundSource(new LSRCPitchSpeed(expected, 1.05, true));
    expected->Seek(1000);
    EXPECT_EQ(got, Render(Equalised(expected, 2, -3, 4)));
}

TEST_F(DJDeckChain, ParameterMappingsAtTheirLimits)
{
    EXPECT_EQ(DJReverbWetGain(100).GetDB(), 0);
    EXPECT_EQ(DJReverbDryGain(100).GetDB(), LdBValue::kSilence);
    EXPECT_EQ(DJReverbWetGain(50).GetDB(), -6);
    EXPECT_EQ(DJReverbDryGain(1).GetDB(), 0);  // -0.087 rounds to 0
    EXPECT_EQ(DJReverbDryGain(150).GetDB(), LdBValue::kSilence) << "a mix beyond 100 leaves nothing dry";
    EXPECT_EQ(DJReverbWetGain(-50).GetDB(), LdBValue::kSilence);
    EXPECT_EQ(DJDistortionLevel(LdBValue(0)), 131072);
    EXPECT_EQ(DJDistortionLevel(LdBValue(-127)), 0);  // 10^-6.35 * 2^17 is below 1
    EXPECT_EQ(DJDistortionLevel(LdBValue(127)), 2147483647) << "held within int, not wrapped";

    // +127 dB asks for a level far beyond int: it is held above every sample, so the whole
    // track lies on the curve's steep piece, x * (4 - 3 * 0.78).
    deck.SetDistortion(1.0, LdBValue(127), true);
    std::vector<int> steep = Render(LWaveFile::OpenSource(path.c_str()));
    const int g0 = LDistortionCurveFor(1.0, kDistortionMaxLevel).g0;
    EXPECT_EQ(g0, int(1.66 * kGainUnity));
    for (int& x : steep)
        x = LGainMultiply(x, g0);
    EXPECT_EQ(Render(deck.OpenSource()), Render(Equalised(MakeMemory(steep, 2, kRate, kPeakLimit).handle, 0, 0, 0)));
    deck.SetDistortion(0.0, LdBValue(0), false);
    deck.SetDelay(40, 0, true);
    LSoundSource file = LWaveFile::OpenSource(path.c_str());
    LSoundSource expected = LSPEcho(40, 1).OpenSource(file);
    EXPECT_EQ(Render(deck.OpenSource()), Render(Equalised(expected, 0, 0, 0)));
}

TEST_F(DJDeckChain, AbsurdSettingsStillBuildAHealthyChainOfTheTracksLength)
{
    const double nan = std::nan("");
    deck.SetHighPass(INT_MAX, true);
    deck.SetReverb(150, LSoundTime(INT_MAX), 255, true);
    deck.SetDistortion(nan, LdBValue(127), true);
    deck.SetFlanger(INT_MIN, nan, INT_MAX, -1, true);
    deck.SetPhaser(INT_MAX, INT_MAX, true);
    deck.SetDelay(INT_MAX, INT_MIN, true);
    deck.SetEq(LdBValue(127), LdBValue(-127), LdBValue(127));
    LSoundSource chain = deck.OpenSource();
    EXPECT_EQ(chain->GetError(), kErrNone);
    EXPECT_EQ(chain->GetEndSample(), kFrames);
    Render(chain, kFrames);
    EXPECT_EQ(chain->GetPositionSample(), kFrames);

    deck.SetPitch(nan);  // plays as the slowest speed, a tenth
    EXPECT_NEAR(deck.OpenSource()->GetEndSample(), kFrames * 10, 10);
}

TEST_F(DJDeckChain, PitchBelowATenthPlaysAtATenthAndMovesTheMarks)
{
    deck.SetRestartPosition(kFrames / 2);
    deck.SetLoopFrames(kFrames / 4, 1000);
    std::string log;
    Listener first(log, '1'), second(log, '2'), third(log, '3');
    for (Listener* listener : {&first, &second, &third})
        deck.AddNotify(listener);  // room for two
    deck.SetPitch(0.05);
    deck.SetEq(LdBValue(0), LdBValue(0), LdBValue(0));
    EXPECT_EQ(log, "pp12");
    const int end = deck.OpenSource()->GetEndSample();
    EXPECT_NEAR(end, kFrames * 10, 10);
    EXPECT_NEAR(deck.GetRestartPosition(), end / 2, 1);
    EXPECT_NEAR(deck.GetCueMark(), end / 4, 1);
    EXPECT_NEAR(deck.GetLoopLength(), 10000, 10);
}

TEST_F(DJDeckChain, LoopAtTrackEndPlaysTheLastFrames)
{
    deck.SetLoopFrames(kFrames, 500);
    deck.SetRestartPosition(kFrames - 500);
    LSoundSource chain = deck.OpenSource();
    Render(chain, 750);
    EXPECT_EQ(chain->GetPositionSample(), kFrames - 250) << "the loop went back to the last 500 frames";
    Render(chain, 10000);
    EXPECT_GE(chain->GetPositionSample(), kFrames - 500);
    EXPECT_EQ(chain->GetEndSample(), kFrames) << "a looping deck never ends by itself";

    // Through the console's limiter, a loop within its read-ahead of the end plays on: no run
    // of silent frames where the limiter's blocks pass the track's end.
    deck.SetLoopFrames(kFrames - 1000, 1000);
    deck.SetRestartPosition(kFrames - 1000);
    LSoundSource chainToLimit = deck.OpenSource();
    const std::vector<int> limited = Render(LSPPeakLimit(kPeakLimit).OpenSource(chainToLimit), 10000);
    int run = 0, longestRun = 0;
    for (size_t i = 0; i < limited.size(); i += 2) {
        run = limited[i] == 0 && limited[i + 1] == 0 ? run + 1 : 0;
        longestRun = std::max(longestRun, run);
    }
    EXPECT_LT(longestRun, 2);

    // Marks at the far end of the int range are held, not wrapped: a loop longer than the
    // track is the whole track, and a start past the end comes round to frame 0.
    deck.SetLoopFrames(INT_MAX - 10, INT_MAX);
    deck.SetRestartPosition(INT_MAX);
    chain = deck.OpenSource();
    EXPECT_EQ(Render(chain, 3000), Render(Equalised(LWaveFile::OpenSource(path.c_str()), 0, 0, 0), 3000));
    EXPECT_EQ(chain->GetPositionSample(), 3000);
}
