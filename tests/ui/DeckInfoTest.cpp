// The deck information strip: which requests it makes (counted on the queue and in paints),
// the area SetDeckTime repaints, the BPM and its blinking stand-in while beats are unknown.
#include "FaderTestSupport.h"

#include "engine/DJDeck.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "ui/DJDeckInfo.h"
#include "ui/DJFaderMessages.h"
#include "ui/DJTheme.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

using namespace fadertest;

namespace {

constexpr int kInfoId = 223;
constexpr int kWidth = 400;   // pixels
constexpr int kHeight = 40;   // pixels
constexpr int kRate = 44100;  // Hz
constexpr int kMenuMessage = static_cast<int>(DJFaderMessage::kContextMenu);

QRgb Rgb(LGuiColorRef colour)
{
    return qRgb(colour.Red8(), colour.Green8(), colour.Blue8());
}

// Records what each paint was asked to cover and the elapsed text it drew.
class RecordingInfo : public DJDeckInfo {
public:
    void Paint(PaintData& data) override
    {
        areas.push_back(QRect(int(data.x), int(data.y), int(data.width), int(data.height)));
        paintedElapsed.push_back(GetElapsed());
        DJDeckInfo::Paint(data);
    }
    std::vector<QRect> areas;
    std::vector<std::string> paintedElapsed;
};

// One second of silence, long enough for the deck to open.
std::string WriteSilence(const TempFolder& folder)
{
    const std::string path = folder / "silence.wav";
    std::vector<int> frames(static_cast<size_t>(kRate) * 2, 0);
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    sink->Write(frames.data(), kRate);
    return path;
}

class DeckInfoTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureApplication();
        window.CreateTopLevel("info", kWidth + 20, kHeight + 20);
        window.AddPaintControl(kInfoId, 6, 6, kWidth, kHeight, {});
        info.Init(&window, kInfoId);
        window.Show();
        ASSERT_TRUE(QtTestWaitFor([&] { return !info.areas.empty(); }));
        ASSERT_TRUE(QtTestWaitFor([&] { return PendingRepaints() == 0; }));
        info.areas.clear();
        info.paintedElapsed.clear();
    }

    TempFolder folder;
    RecordingWindow window;
    RecordingInfo info;
};

}  // namespace

// A new elapsed text repaints the time area only; the same text in any case asks for nothing
// and keeps the old remaining time.
TEST_F(DeckInfoTest, SameElapsedIgnoringCaseAsksForNothing)
{
    info.SetDeckTime("+ 0:01:02.3 a", "- 0:02:00.0");
    EXPECT_LE(PendingRepaints(), 1u);
    ASSERT_TRUE(QtTestWaitFor([&] { return !info.areas.empty(); }));
    const QRect timeArea(kWidth - DJDeckInfo::kTimeAreaRightOffset, 0, DJDeckInfo::kTimeAreaWidth,
                         kHeight);
    ASSERT_EQ(info.areas.size(), 1u);
    EXPECT_EQ(info.areas.front(), timeArea);
    ASSERT_TRUE(QtTestWaitFor([&] { return PendingRepaints() == 0; }));

    const struct {
        const char* elapsed;
        bool repaints;
    } cases[] = {{"+ 0:01:02.3 A", false}, {"+ 0:01:02.3 a", false}, {"+ 0:01:02.4 a", true},
                 {"", true}, {"", false}, {nullptr, false}};
    // After each call a one-pixel sentinel repaint at the left: the paint that follows covers
    // the sentinel alone unless the call asked for the time area as well.
    const QRect sentinel(0, 0, 1, 1);
    for (const auto& c : cases) {
        const std::string label = c.elapsed ? c.elapsed : "null";
        const std::string before = info.GetRemaining();
        info.areas.clear();
        info.SetDeckTime(c.elapsed, "- changed");
        info.Update(sentinel.x(), sentinel.y(), sentinel.width(), sentinel.height());
        ASSERT_TRUE(QtTestWaitFor([&] { return !info.areas.empty(); })) << label;
        ASSERT_TRUE(QtTestWaitFor([&] { return PendingRepaints() == 0; })) << label;
        const QRect painted = std::accumulate(info.areas.begin(), info.areas.end(), QRect(),
                                              [](QRect a, QRect b) { return a.united(b); });
        EXPECT_EQ(painted, c.repaints ? sentinel.united(timeArea) : sentinel) << label;
        EXPECT_EQ(info.GetRemaining(), c.repaints ? std::string("- changed") : before) << label;
    }
}

// Time notifications faster than the screen: a burst merges into one request, and the paint
// that follows shows the last time, never a stale one.
TEST_F(DeckInfoTest, BurstOfTimesMergesAndPaintsTheLast)
{
    char text[32];
    for (int ms = 0; ms < 1000; ++ms) {
        std::snprintf(text, sizeof text, "+ 0:00:%02d.%d", ms / 100, ms % 10);
        info.SetDeckTime(text, "- 0:00:00.0");
    }
    EXPECT_LE(PendingRepaints(), 1u);
    ASSERT_TRUE(QtTestWaitFor([&] { return !info.paintedElapsed.empty(); }));
    ASSERT_TRUE(QtTestWaitFor([&] { return PendingRepaints() == 0; }));
    EXPECT_EQ(info.paintedElapsed.size(), 1u);
    EXPECT_EQ(info.paintedElapsed.back(), text);
    for (const QRect& area : info.areas) {
        EXPECT_GE(area.x(), kWidth - DJDeckInfo::kTimeAreaRightOffset);
    }
}

// Throttled updates in a burst (a text change each): at most the immediate paint and the
// trailing one, and the trailing one shows the last state.
TEST_F(DeckInfoTest, ThrottledBurstPaintsAtMostTwiceEndingOnTheLastState)
{
    char text[32];
    for (int i = 0; i < 2000; ++i) {
        std::snprintf(text, sizeof text, "+ 0:00:00.%d-%d", i % 10, i);
        info.SetDeckTime(text, "- 0:00:00.0");
        info.ThrottledUpdate();
    }
    EXPECT_LE(PendingRepaints(), 1u);
    ASSERT_TRUE(QtTestWaitFor([&] {
        return !info.paintedElapsed.empty() && info.paintedElapsed.back() == text;
    }));
    EXPECT_LE(info.paintedElapsed.size(), 2u);
}

TEST_F(DeckInfoTest, ClearInfoAndClearDeckSetTheEmptyTexts)
{
    info.SetBpm(128.0);
    info.SetDeckInfo("Title", "Artist", "- 0:03:00.0");
    info.SetDeckTime("+ 0:00:10.0", "- 0:02:50.0");
    info.ClearDeck();
    EXPECT_EQ(info.GetTitle(), "");
    EXPECT_EQ(info.GetArtist(), "");
    EXPECT_EQ(info.GetElapsed(), DJDeckInfo::kEmptyElapsed);
    EXPECT_EQ(info.GetRemaining(), DJDeckInfo::kEmptyRemaining);
    EXPECT_EQ(info.GetBpmText(), DJDeckInfo::kEmptyBpm);
    EXPECT_EQ(info.GetBpm(), 0.0);
    EXPECT_FALSE(info.IsBlinking());
    // Texts longer than the limit are cut, not refused.
    const std::string huge(10000, 'x');
    info.SetDeckInfo(huge.c_str(), huge.c_str(), huge.c_str());
    EXPECT_EQ(info.GetTitle().size(), DJDeckInfo::kMaxTextChars);
    EXPECT_EQ(info.GetRemaining().size(), DJDeckInfo::kMaxTextChars);
    info.SetDeckInfo(nullptr, nullptr, nullptr);
    EXPECT_EQ(info.GetTitle(), "");
}

// With a beat length the BPM shows at once; without one the timer blinks the scanning box
// until the deck has beats; with no track the timer only repaints and stops.
TEST_F(DeckInfoTest, BpmOrBlinkUntilTheBeatsAreKnown)
{
    DJDeck deck;
    info.SetDeck(&deck);
    const std::string path = WriteSilence(folder);
    const struct {
        int beatLength;  // frames
        double bpm;
    } grids[] = {{kRate / 2, 120.0}, {kRate * 60 / 128, 128.0}, {kRate * 60 / 90, 90.0}};
    for (const auto& g : grids) {
        ASSERT_TRUE(deck.Load(path.c_str(), g.beatLength, 0));
        info.SetDeckInfo("t", "a", "- 0:00:01.0");
        EXPECT_NEAR(info.GetBpm(), g.bpm, 0.01) << g.beatLength;
        EXPECT_FALSE(info.IsTimerSet());
    }

    deck.ResetBeatFrequency();  // loaded, beats unknown
    info.SetDeckInfo("t", "a", "- 0:00:01.0");
    EXPECT_EQ(info.GetBpm(), 0.0);
    EXPECT_TRUE(info.IsTimerSet());
    ASSERT_TRUE(QtTestWaitFor([&] { return info.IsBlinking(); }));
    EXPECT_TRUE(info.IsTimerSet());
    const QImage lit = PaintToImage(info);
    EXPECT_EQ(lit.pixelColor(40, 25).rgb(), Rgb(DJThemeUser::GetTheme().scanningBox));
    ASSERT_TRUE(QtTestWaitFor([&] { return !info.IsBlinking(); }));
    const QImage dark = PaintToImage(info);
    EXPECT_EQ(dark.pixelColor(40, 25).rgb(), Rgb(DJThemeUser::GetTheme().waveBackground));

    ASSERT_TRUE(deck.Load(path.c_str(), kRate / 2, 0));
    ASSERT_TRUE(QtTestWaitFor([&] { return !info.IsTimerSet(); }));
    EXPECT_NEAR(info.GetBpm(), 120.0, 0.01);
    EXPECT_FALSE(info.IsBlinking());

    deck.Unload();
    info.SetDeck(nullptr);
    info.SetDeckInfo("", "", "");
    ASSERT_TRUE(QtTestWaitFor([&] { return !info.IsTimerSet(); }));
    EXPECT_FALSE(info.IsBlinking());
}

TEST_F(DeckInfoTest, RightButtonAsksForTheContextMenu)
{
    info.EvRButtonDown(3, 3);
    EXPECT_EQ(window.messages, (std::vector<Message>{{kMenuMessage, kInfoId, 0}}));
}
