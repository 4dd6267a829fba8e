#include "files/LQTDecode.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>

namespace {

class MediaDecode : public testing::TestWithParam<MediaFixture> {
protected:
    static void SetUpTestSuite()
    {
        if (!HaveProgram("ffmpeg"))
            return;
        folder = std::make_unique<TempFolder>();
        for (int rate : {44100, 48000})
            ASSERT_TRUE(MakeSourceWave(*folder / ("source" + std::to_string(rate) + ".wav"), rate));
        for (const MediaFixture& f : MediaFixtures())
            ASSERT_TRUE(EncodeFixture(SourcePath(f), f, *folder / (std::string("track") + f.extension)));
    }
    static void TearDownTestSuite() { folder.reset(); }

    void SetUp() override
    {
        if (!folder)
            GTEST_SKIP() << "ffmpeg is not installed";
    }

    static std::string SourcePath(const MediaFixture& f) { return *folder / ("source" + std::to_string(f.rate) + ".wav"); }
    static std::string TrackPath(const MediaFixture& f) { return *folder / (std::string("track") + f.extension); }

    static std::unique_ptr<TempFolder> folder;
};
std::unique_ptr<TempFolder> MediaDecode::folder;

// The lag (in frames) at which `decoded` best matches `original`, over a stretch in the middle.
int BestLag(const std::vector<int>& original, const std::vector<int>& decoded, int channels)
{
    const int frames = int(std::min(original.size(), decoded.size()) / channels);
    const int from = frames / 3, length = 8192, reach = 3000;
    int best = 0;
    double bestScore = -1e300;
    for (int lag = -reach; lag <= reach; ++lag) {
        double score = 0;
        for (int i = from; i < from + length; ++i)
            score += double(original[size_t(i) * channels]) * decoded[size_t(i + lag) * channels];
        if (score > bestScore) {
            bestScore = score;
            best = lag;
        }
    }
    return best;
}

TEST_P(MediaDecode, OpensAtItsOwnRateWithTheLengthOfTheOriginal)
{
    const MediaFixture& f = GetParam();
    LSoundSource original = LWaveFile::OpenSource(SourcePath(f).c_str());
    LSoundSource source = LQTDecode::OpenSource(TrackPath(f).c_str());
    ASSERT_EQ(source->GetError(), kErrNone);
    EXPECT_EQ(source->GetRate(), f.rate);
    EXPECT_EQ(source->GetChannels(), 2);
    const int expected = original->GetEndSample();
    if (f.exactLength) {
        EXPECT_EQ(source->GetEndSample(), expected);
    } else {  // no stored length: the codec's whole frames, priming included
        EXPECT_NEAR(source->GetEndSample(), expected, 4096);
    }
    std::vector<int> want = ReadAll(original);
    std::vector<int> got = ReadAll(source);
    EXPECT_EQ(source->GetPositionSample(), source->GetEndSample());
    if (f.exactLength) {  // encoder delay removed: the decoded signal lines up with the original
        EXPECT_EQ(BestLag(want, got, 2), 0);
    }
    if (std::string(f.extension) == ".flac") {
        EXPECT_EQ(got, want);
    }
}

TEST_P(MediaDecode, SeekThenReadEqualsReadingFromTheStart)
{
    LSoundSource source = LQTDecode::OpenSource(TrackPath(GetParam()).c_str());
    ASSERT_EQ(source->GetError(), kErrNone);
    const std::vector<int> whole = ReadAll(source);
    const int end = source->GetEndSample();
    constexpr int kBlock = 3000;
    std::vector<int> block(kBlock * 2);
    // Forward, backward, near the start and near the end, in this order, on the same stream.
    for (int target : {end / 2, 1, 0, 1105, 4097, end - 1000, 20001, end / 3, 777, end - 1, end}) {
        source->Seek(target);
        ASSERT_EQ(source->GetPositionSample(), target);
        source->Read(block.data(), kBlock);
        const int real = std::min(kBlock, end - target);
        for (int i = 0; i < real * 2; ++i)
            ASSERT_EQ(block[i], whole[size_t(target) * 2 + i]) << "seek to " << target << " value " << i;
        for (int i = real * 2; i < kBlock * 2; ++i)
            ASSERT_EQ(block[i], 0) << "past the end after a seek to " << target;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, MediaDecode, testing::ValuesIn(MediaFixtures()),
                         [](const testing::TestParamInfo<MediaFixture>& info) {
                             return std::string(info.param.extension + 1);
                         });

TEST(MediaDecodeFailure, BadInputGivesItsErrorState)
{
    TempFolder folder;
    const std::string empty = folder / "empty.mp3", junk = folder / "junk.ogg";
    std::ofstream(empty).close();
    std::ofstream(junk) << std::string(5000, 'x');
    struct Case {
        std::string path;
        unsigned char error;
    } cases[] = {
        {folder / "missing.m4a", kErrMissing},
        {folder.Path(), kErrMissing},  // a folder
        {empty, kErrBadFormat},
        {junk, kErrBadFormat},
    };
    for (const Case& c : cases)
        EXPECT_EQ(LQTDecode::OpenSource(c.path.c_str())->GetError(), c.error) << c.path;
}

TEST(MediaDecodeFailure, ACancelledOpenEndsClosed)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    TempFolder folder;
    ASSERT_TRUE(MakeSourceWave(folder / "a.wav", 44100));
    std::atomic<bool> cancel{true};
    EXPECT_EQ(LQTDecode::OpenSource((folder / "a.wav").c_str(), &cancel)->GetError(), kErrClosed);
}

}  // namespace

namespace {

// A file shorter than one Ogg page ends inside its last block: its last packet's duration is
// negative, and the length must still be the original's.
TEST(MediaDecodeShort, FilesOfAFewBlocksKeepTheirLength)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    TempFolder folder;
    for (const MediaFixture& f : MediaFixtures()) {
        if (!f.exactLength)
            continue;
        const std::string wave = folder / ("short" + std::to_string(f.rate) + ".wav");
        const std::string track = folder / (std::string("short") + f.extension);
        ASSERT_TRUE(MakeSourceWave(wave, f.rate, 0.05));
        ASSERT_TRUE(EncodeFixture(wave, f, track));
        EXPECT_EQ(LQTDecode::OpenSource(track.c_str())->GetEndSample(), f.rate / 20) << f.extension;
    }
}

}  // namespace
