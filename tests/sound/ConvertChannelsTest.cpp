#include "sound/LSRCConvChannels.h"
#include "sound/LSRCConvertRate.h"
#include "sound/LSinkConvertChannels.h"
#include "sound/LSinkConvertRate.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

namespace {

// Keeps everything written to it, and where it was sought.
class MemorySink : public LSoundSinkBase {
public:
    MemorySink(int rateHz, unsigned char channelCount) : LSoundSinkBase(rateHz, channelCount) {}
    void Write(int const* buffer, int frames) override
    {
        written.insert(written.end(), buffer, buffer + static_cast<size_t>(frames) * channels);
        writes.push_back(frames);
        position += frames;
    }
    void Seek(int sample) override
    {
        seeks.push_back(sample);
        position = sample;
    }
    std::vector<int> written;
    std::vector<int> writes;
    std::vector<int> seeks;
};

MemorySink* Out(const LSoundSink& sink)
{
    return static_cast<MemorySink*>(sink.Get());
}

}  // namespace

TEST(ConvertChannelsSource, MapsChannelsByTheirRulesOverReadsLongerThanTheWorkBuffer)
{
    std::vector<int> data = MakeNoise(2, 20000, 0x7fff0);
    std::copy_n(std::begin({kPeakLimit, 0, -kPeakLimit, -1}), 4, data.begin());
    LSoundSource stereo(new MemorySource(44100, 2, data));
    LSoundSource mono = LSPConvChannels(1).OpenSource(stereo);
    const std::vector<int> out = ReadAll(mono, 20000);
    // Full left with silent right is half scale; the shift rounds down.
    EXPECT_EQ(out[0], kPeakLimit / 2);
    for (size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(out[i], (data[2 * i] + data[2 * i + 1]) >> 1) << i;

    LSoundSource single(new MemorySource(22050, 1, {5, -6}));
    LSoundSource doubled = LSPConvChannels(2).OpenSource(single);
    EXPECT_EQ(doubled->GetRate(), 22050);
    EXPECT_EQ(ReadAll(doubled, 3), (std::vector<int>{5, 5, -6, -6, 0, 0}));

    LSoundSource three(new MemorySource(44100, 3, {1, 2, 3, 4, 5, 6}));
    LSoundSource five = LSPConvChannels(5).OpenSource(three);
    EXPECT_EQ(ReadAll(five, 2), (std::vector<int>{1, 2, 3, 1, 2, 4, 5, 6, 4, 5}));
    LSoundSource twoOfThree = LSPConvChannels(2).OpenSource(three);
    three->Seek(0);
    EXPECT_EQ(ReadAll(twoOfThree, 2), (std::vector<int>{1, 2, 4, 5}));

    EXPECT_EQ(LSPConvChannels(2).OpenSource(stereo).Get(), stereo.Get());
    EXPECT_EQ(LSPConvChannels(0).OpenSource(stereo).Get(), stereo.Get());
    LSoundSource broken = MakeErrorSource(kErrMissing, 44100, 2);
    EXPECT_EQ(LSPConvChannels(1).OpenSource(broken).Get(), broken.Get());
}

TEST(ConvertRateSink, OddSizedWritesMatchOneLargeWrite)
{
    const std::vector<int> input = MakeNoise(2, 30000, 0x7fff0);
    for (auto [from, to] : {std::pair{44100, 48000}, std::pair{48000, 44100}, std::pair{44100, 11025}}) {
        LSoundSink whole(new MemorySink(to, 2)), pieces(new MemorySink(to, 2));
        {
            LSoundSink a = LSinkConvertRate(from).OpenSink(whole, false);
            LSoundSink b = LSinkConvertRate(from).OpenSink(pieces, false);
            a->Write(input.data(), 30000);  // more than one block at once
            for (int at = 0, n = 1; at < 30000; at += n, n = (n * 3 + 5) % 4001)
                b->Write(input.data() + 2 * at, std::min(n, 30000 - at));
            EXPECT_EQ(a->GetPosition(), 30000);
            EXPECT_EQ(b->GetPosition(), 30000);
        }  // closing flushes the tail
        EXPECT_EQ(Out(whole)->written, Out(pieces)->written) << from << "->" << to;
        EXPECT_LE(*std::max_element(Out(whole)->writes.begin(), Out(whole)->writes.end()), 8192);
        const int expected = int(int64_t(30000) * to / from);
        EXPECT_NEAR(int(Out(whole)->written.size() / 2), expected, 2) << from << "->" << to;
    }
}

TEST(ConvertRateSink, SineKeepsItsLevelAndCentre)
{
    const std::vector<int> sine = MakeSine(22050, 1, 1000, 0x40000, 22050);
    LSoundSink dest(new MemorySink(44100, 1));
    LSinkConvertRate(22050).OpenSink(dest, false)->Write(sine.data(), 22050);
    const std::vector<int>& out = Out(dest)->written;
    ASSERT_GE(out.size(), 44100u);
    // Even output frames fall on input frames: filter centred, no delay.
    for (int i = 2000; i < 4000; i += 2)
        ASSERT_NEAR(out[size_t(i)], sine[size_t(i / 2)], 0x40000 * 0.01) << i;
}

TEST(ConvertRateSink, PositionSeekAndSameRate)
{
    LSoundSink dest(new MemorySink(48000, 2));
    EXPECT_EQ(LSinkConvertRate(48000).OpenSink(dest, false).Get(), dest.Get());

    dest->Seek(96000);  // two seconds in
    LSoundSink sink = LSinkConvertRate(44100).OpenSink(dest, false);
    EXPECT_EQ(sink->GetPosition(), 88200);

    const std::vector<int> block(2 * 1000, 1600);
    sink->Write(block.data(), 1000);
    const size_t before = Out(dest)->written.size();
    sink->Seek(44100);
    EXPECT_GT(Out(dest)->written.size(), before) << "the tail is flushed before moving";
    EXPECT_EQ(Out(dest)->seeks.back(), 48000);
    EXPECT_EQ(sink->GetPosition(), 44100);
}

TEST(ConvertChannelsSink, PairsAndTheirRules)
{
    LSoundSink mono(new MemorySink(44100, 1)), stereo(new MemorySink(44100, 2)), stereo2(new MemorySink(44100, 2));
    LSoundSink fromStereo = LSinkConvertChannels::OpenSink(mono, 2);
    LSoundSink fromMono = LSinkConvertChannels::OpenSink(stereo, 1);
    LSoundSink fromFour = LSinkConvertChannels::OpenSink(stereo2, 4);
    const int twoFrames[] = {kPeakLimit, 0, 3, -4};
    fromStereo->Write(twoFrames, 2);
    fromMono->Write(twoFrames, 2);
    fromFour->Write(twoFrames, 1);
    EXPECT_EQ(Out(mono)->written, (std::vector<int>{kPeakLimit / 2, -1}));
    EXPECT_EQ(Out(stereo)->written, (std::vector<int>{kPeakLimit, kPeakLimit, 0, 0}));
    EXPECT_EQ(Out(stereo2)->written, (std::vector<int>{kPeakLimit, 0}));
    EXPECT_EQ(fromStereo->GetPosition(), 2);
    fromStereo->Seek(10);
    EXPECT_EQ(fromStereo->GetPosition(), 10);

    EXPECT_EQ(LSinkConvertChannels::OpenSink(mono, 1).Get(), mono.Get());
    EXPECT_EQ(LSinkConvertChannels::OpenSink(stereo, 3)->GetError() & kSinkErrorFlag, kSinkErrorFlag);
    LSinkConvertRateChannels(44100, 3, stereo);
    EXPECT_EQ(stereo->GetError() & kSinkErrorFlag, kSinkErrorFlag);
}

TEST(ConvertChannels, RateAndChannelsTogetherForSourcesAndSinks)
{
    LSoundSource narrow(new MemorySource(22050, 1, std::vector<int>(2205, 1600)));
    LSPConvertSourceRateChannels(44100, 2, narrow);
    EXPECT_EQ(narrow->GetRate(), 44100);
    const std::vector<int> out = ReadAll(narrow, 1000);
    EXPECT_EQ(out[1000], out[1001]);
    EXPECT_NEAR(out[1000], 1600, 16);  // a row's DC gain is within 1% of unity

    LSoundSink dest(new MemorySink(48000, 1)), sink = dest;  // dest is read after the close
    LSinkConvertRateChannels(44100, 2, sink);
    sink->Write(std::vector<int>(2 * 4410, 3200).data(), 4410);
    sink.Close();
    EXPECT_NEAR(int(Out(dest)->written.size()), 4800, 2);
    EXPECT_NEAR(Out(dest)->written[2000], 3200, 32);
}
