#include "sound/LWaveFile.h"
#include "sound/WaveBytes.h"
#include "MemorySource.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <climits>
#include <sys/stat.h>
#include <unistd.h>
#include <sstream>

#include <string>
#include <tuple>
#include <vector>

namespace {

LSoundSource OpenBytes(const TempFolder& folder, const std::string& bytes)
{
    const std::string path = folder / "in.wav";
    WriteWholeFile(path, bytes);
    return LWaveFile::OpenSource(path.c_str());
}

}  // namespace

TEST(WaveReader, ReadsEveryFrameSilenceOutsideAndSeeksBeforeTheStart)
{
    TempFolder folder;
    std::vector<int> values(200), expected(200);
    for (int i = 0; i < 200; ++i)
        expected[size_t(i)] = 16 * (values[size_t(i)] = (i * 331) % 65536 - 32768);
    WaveSpec wave;
    wave.data = Pcm16(values);
    LSoundSource source = OpenBytes(folder, MakeWave(wave));
    ASSERT_EQ(source->GetError(), kErrNone);
    EXPECT_EQ(source->GetPeak(), kPeakLimit);
    EXPECT_EQ(source->GetEndSample(), 100);
    expected.resize(260, 0);  // past the end the block is zero
    EXPECT_EQ(ReadAll(source, 130), expected);
    EXPECT_EQ(source->GetPositionSample(), 130);

    source->Seek(-2);
    EXPECT_EQ(ReadAll(source, 4), (std::vector<int>{0, 0, 0, 0, expected[0], expected[1],
                                                       expected[2], expected[3]}));
    EXPECT_EQ(source->GetPositionSample(), 2);
    source->Seek(-5);
    EXPECT_EQ(ReadAll(source, 3), std::vector<int>(6, 0));
    EXPECT_EQ(source->GetPositionSample(), -2);
}

TEST(WaveReader, ToleratesOddChunksExtraFormatBytesAndOuterChunks)
{
    TempFolder folder;
    WaveSpec wave;
    wave.channels = 1;
    wave.data = Pcm16(std::vector<int>{1, -2, 3});
    wave.beforeRiff = Chunk("JUNK", std::string(7, 'j'));      // odd, padded outer chunk
    wave.beforeFormat = Chunk("bext", std::string(3, 'b'));
    wave.beforeData = Chunk("LIST", std::string(5, 'l'));      // the pad byte must be skipped
    wave.formatExtra = Le16(0);                                // 18-byte format chunk
    LSoundSource source = OpenBytes(folder, MakeWave(wave));
    ASSERT_EQ(source->GetError(), kErrNone);
    EXPECT_EQ(ReadAll(source, 3), (std::vector<int>{16, -32, 48}));

    // An outer chunk claiming under 5 bytes cannot be skipped.
    wave.beforeRiff = "JUNK" + Le32(3);
    EXPECT_EQ(OpenBytes(folder, MakeWave(wave))->GetError(), kErrBadFormat);
}

TEST(WaveReader, PicksTheSampleFormatFromTagAndBits)
{
    TempFolder folder;
    // Extensible PCM counts as plain PCM.
    const std::string extensible = Le16(22) + Le16(24) + Le32(4) +
                                   std::string("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16);
    // Tag, bits, format bytes beyond the standard ones, one mono sample, its value, the peak.
    const std::tuple<uint16_t, uint16_t, std::string, std::string, int, int> cases[] = {
        {kWaveTagPCM, 8, "", "\x80", 0, kPeakLimit},
        {kWaveTagPCM, 8, "", std::string(1, '\0'), -0x80000, kPeakLimit},
        {kWaveTagPCM, 24, "", std::string("\0\0\x80", 3), -0x80000, kPeakLimit},
        {kWaveTagPCM, 24, "", "\xff\xff\x7f", 0x7ffff, kPeakLimit},
        {kWaveTagExtensible, 24, extensible, "\xff\xff\x7f", 0x7ffff, kPeakLimit},
        {kWaveTagFloat, 32, "", std::string("\0\0\x80\x3f", 4), 0x80000, kPeakFloatFile},
        {kWaveTagPCM, 32, "", "\xff\xff\xff\x7f", 0x80000, kPeakLimit}};
    WaveSpec wave;
    wave.channels = 1;
    for (const auto& [tag, bits, extra, bytes, value, peak] : cases) {
        std::tie(wave.tag, wave.bits, wave.formatExtra, wave.data) = std::tuple(tag, bits, extra, bytes + bytes);
        LSoundSource source = OpenBytes(folder, MakeWave(wave));
        EXPECT_EQ(source->GetEndSample(), 2) << bits;
        EXPECT_EQ(source->GetPeak(), peak) << bits;
        EXPECT_EQ(ReadAll(source, 1), std::vector<int>{value}) << tag << " " << bits;
    }
    std::tie(wave.tag, wave.bits, wave.formatExtra) = std::tuple(kWaveTagExtensible, 24, extensible);
    wave.formatExtra[8] = 3;  // the float sub-format is not taken
    EXPECT_EQ(OpenBytes(folder, MakeWave(wave))->GetError(), kErrCodec);
}

TEST(WaveReader, ErrorStates)
{
    TempFolder folder;
    EXPECT_EQ(LWaveFile::OpenSource((folder / "absent.wav").c_str())->GetError(), kErrMissing);
    // Only regular files are opened: a pipe would block and an endless device never end.
    ASSERT_EQ(mkfifo((folder / "pipe.wav").c_str(), 0600), 0);
    for (const std::string& notAFile : {folder.Path(), folder / "pipe.wav", std::string("/dev/urandom")})
        EXPECT_EQ(LWaveFile::OpenSource(notAFile.c_str())->GetError(), kErrMissing) << notAFile;

    WaveSpec good;
    good.data = Pcm16(std::vector<int>{1, 2});
    std::string bytes = MakeWave(good);
    for (const std::string& bad : {std::string(), std::string("ID3 not a wave file at all"),
                                   bytes.substr(0, 30) /* inside fmt */, bytes.substr(0, 40) /* no data */})
        EXPECT_EQ(OpenBytes(folder, bad)->GetError(), kErrBadFormat) << bad.size();
    bytes[16] = 15;  // a 15-byte format chunk is too short to hold the format
    EXPECT_EQ(OpenBytes(folder, bytes)->GetError(), kErrBadFormat);

    // Tag, channels, rate, format bytes beyond the standard ones, and the error they give.
    const std::tuple<uint16_t, uint16_t, uint32_t, size_t, int> formats[] = {
        {1, 0, 44100, 0, kErrBadFormat}, {1, 2, 196001, 0, kErrBadFormat}, {1, 2, 196000, 0, kErrNone},
        {kWaveTagFloat, 2, 44100, 0, kErrBadFormat}, {1, 2, 44100, 8180, kErrBadFormat},
        {6, 2, 44100, 0, kErrRefusedCodec}, {7, 2, 44100, 0, kErrRefusedCodec}, {34, 2, 44100, 0, kErrRefusedCodec},
        {2, 2, 44100, 0, kErrCodec}, {85, 2, 44100, 0, kErrCodec}, {0x1234, 2, 44100, 0, kErrCodec}};
    for (const auto& [tag, channels, rate, extra, error] : formats) {
        std::tie(good.tag, good.channels, good.rate, good.formatExtra) = std::tuple(tag, channels, rate, std::string(extra, 'x'));
        EXPECT_EQ(OpenBytes(folder, MakeWave(good))->GetError(), error) << tag << " " << channels << " " << rate;
    }
}

TEST(WaveFormatBlock, LoadAndCodecNames)
{
    TempFolder folder;
    const std::string path = folder / "in.wav";
    std::unique_ptr<WAVEFORMATEX> format;
    // Writes a file with this format and answers its codec name.
    auto nameOf = [&](uint16_t tag, std::string extra, uint16_t channels = 2) {
        WaveSpec wave;
        wave.tag = tag;
        wave.channels = channels;
        wave.formatExtra = std::move(extra);
        WriteWholeFile(path, MakeWave(wave));
        char name[260];
        LGetWaveFileCodecName(name, path.c_str());
        return std::string(name);
    };
    EXPECT_EQ(nameOf(kWaveTagMP3, Le16(12) + std::string(12, '\0')), "MPEG-1 Layer 3 (MP3)");
    ASSERT_TRUE(LWaveFormatEx::_Load(path.c_str(), format));
    EXPECT_EQ(format->wFormatTag, kWaveTagMP3);
    EXPECT_EQ(format->cbSize, 12);
    EXPECT_EQ(nameOf(0x1235, ""), "Microsoft Unknown Wave Format");
    EXPECT_EQ(nameOf(0xffff, ""), "In Development / Unregistered");
    EXPECT_EQ(nameOf(0xffff, "", 0), "Microsoft Unknown Wave Format");  // unreadable format
    for (unsigned i = 1; i < uNumWaveCodecs; ++i)  // looked up by binary search
        EXPECT_LT(WaveCodecs[i - 1].tag, WaveCodecs[i].tag) << i;
}

TEST(WaveReader, DeletingSourceRemovesItsFileWhenTheLastHandleGoes)
{
    TempFolder folder;
    const std::string path = folder / "temp.wav";
    WaveSpec wave;
    wave.data = Pcm16(std::vector<int>{7, 8});
    WriteWholeFile(path, MakeWave(wave));
    {
        LSoundSource source = LWaveFile::OpenSourceDeletingFileWhenClosed(path.c_str());
        LSoundSource copy = source;
        source.Close();
        EXPECT_TRUE(std::filesystem::exists(path));
        EXPECT_EQ(ReadAll(copy, 1), (std::vector<int>{112, 128}));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    WriteWholeFile(path, "garbage");
    EXPECT_EQ(LWaveFile::OpenSourceDeletingFileWhenClosed(path.c_str())->GetError(), kErrBadFormat);
    EXPECT_FALSE(std::filesystem::exists(path));
}

// Truncated and bit-flipped files (tests/data/wave, made by its script): each opens in the
// error state the reading rules give, or as a stream of what the file truly holds.
TEST(WaveReader, DamagedFilesGiveTheirErrorStateOrWhatTheyHold)
{
    const std::string folder = std::string(ORVANE_TEST_DATA) + "/wave/";
    std::istringstream expected(ReadWholeFile(folder + "expected.txt"));
    int files = 0;
    for (std::string line; std::getline(expected, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string name;
        int error = 0, channels = 0, rate = 0, frames = 0;
        ASSERT_TRUE(fields >> name >> error >> channels >> rate >> frames) << line;
        ++files;
        LSoundSource source = LWaveFile::OpenSource((folder + name).c_str());
        ASSERT_EQ(source->GetError(), error) << name;
        const int end = source->GetEndSample();
        if (error != kErrNone) {
            EXPECT_EQ(end, 0) << name;
            continue;
        }
        EXPECT_EQ(source->GetChannels(), channels) << name;
        EXPECT_EQ(source->GetRate(), rate) << name;
        EXPECT_EQ(end, frames) << name;
        const std::vector<int> values = ReadAll(source, end + 3);
        for (int c = 0; c < channels * 3; ++c)
            EXPECT_EQ(values[values.size() - 1 - size_t(c)], 0) << name << ": silence past the end";
    }
    EXPECT_GT(files, 200);
}

// The data size field against the file: the length never passes what is there, is never
// negative, and stays a frame count for files of more than 2^31 frames.
TEST(WaveReader, LengthIsWhatTheFileHoldsAndAlwaysAFrameCount)
{
    TempFolder folder;
    WaveSpec wave;
    wave.channels = 1;
    wave.bits = 8;
    wave.data = std::string(100, '\x90');
    std::string bytes = MakeWave(wave);
    constexpr size_t kDataSizeAt = 40;
    // Data size field and the frames it gives for this 100-byte file: sizes beyond 2^31
    // overflowed an int; above 0xffffff00 the length is unknown and follows the file.
    const std::pair<uint32_t, int> sizes[] = {{60, 60}, {100, 100}, {101, 100}, {0x80000000u, 100},
                                              {0xffffff00u, 100}, {0xffffff01u, 100}};
    for (auto [size, frames] : sizes) {
        bytes.replace(kDataSizeAt, 4, Le32(size));
        LSoundSource source = OpenBytes(folder, bytes);
        ASSERT_EQ(source->GetError(), kErrNone) << size;
        EXPECT_EQ(source->GetEndSample(), frames) << size;
        EXPECT_EQ(ReadAll(source, frames + 1).back(), 0) << size;
    }

    // 3 GiB of 8-bit mono, sparse: more frames than an int counts.
    const std::string path = folder / "huge.wav";
    bytes.replace(kDataSizeAt, 4, Le32(0xc0000000u));
    WriteWholeFile(path, bytes.substr(0, kDataSizeAt + 4));
    ASSERT_EQ(truncate(path.c_str(), off_t(kDataSizeAt + 4) + 0xc0000000LL), 0);
    LSoundSource huge = LWaveFile::OpenSource(path.c_str());
    ASSERT_EQ(huge->GetEndSample(), INT_MAX);
    huge->Seek(INT_MAX - 2);
    EXPECT_EQ(ReadAll(huge, 4), (std::vector<int>{-0x80000, -0x80000, 0, 0}));
    EXPECT_EQ(huge->GetPositionSample(), INT_MAX) << "the position saturates";
}
