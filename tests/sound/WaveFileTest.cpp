#include "sound/LWaveFile.h"
#include "sound/WaveBytes.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<int> ReadFrames(LSoundSource& source, int frames)
{
    std::vector<int> values(static_cast<size_t>(frames) * source->GetChannels(), 0x5a5a5a5a);
    source->Read(values.data(), frames);
    return values;
}

LSoundSource OpenBytes(const TempFolder& folder, const std::string& bytes)
{
    const std::string path = folder / "in.wav";
    WriteWholeFile(path, bytes);
    return LWaveFile::OpenSource(path.c_str());
}

std::vector<int> Ramp(int count, int step)
{
    std::vector<int> values(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        values[static_cast<size_t>(i)] = (i * step) % 65536 - 32768;
    return values;
}

std::vector<int> Shifted(std::vector<int> values, int shift)
{
    for (int& v : values)
        v *= 1 << shift;
    return values;
}

}  // namespace

TEST(WaveReader, PlainFileReadsEveryFrameThenSilence)
{
    TempFolder folder;
    const std::vector<int> values = Ramp(200, 331);
    WaveSpec spec;
    spec.data = Pcm16(values);
    LSoundSource source = OpenBytes(folder, MakeWave(spec));
    ASSERT_EQ(source->GetError(), kErrNone);
    EXPECT_EQ(source->GetRate(), 44100);
    EXPECT_EQ(source->GetChannels(), 2);
    EXPECT_EQ(source->GetPeak(), kPeakLimit);
    EXPECT_EQ(source->GetEndSample(), 100);
    EXPECT_FALSE(source->IsStreaming());

    std::vector<int> got = ReadFrames(source, 130);
    std::vector<int> expected = Shifted(values, 4);
    expected.resize(260, 0);  // past the end the block is zero
    EXPECT_EQ(got, expected);
    EXPECT_EQ(source->GetPositionSample(), 130);
}

TEST(WaveReader, ToleratesOddChunksExtraFormatBytesAndOuterChunks)
{
    TempFolder folder;
    WaveSpec spec;
    spec.channels = 1;
    spec.data = Pcm16(std::vector<int>{1, -2, 3});
    spec.beforeRiff = Chunk("JUNK", std::string(7, 'j'));      // odd, padded outer chunk
    spec.beforeFormat = Chunk("bext", std::string(3, 'b'));
    spec.beforeData = Chunk("LIST", std::string(5, 'l'));      // the pad byte must be skipped
    spec.formatExtra = Le16(0);                                // 18-byte format chunk
    LSoundSource source = OpenBytes(folder, MakeWave(spec));
    ASSERT_EQ(source->GetError(), kErrNone);
    EXPECT_EQ(ReadFrames(source, 3), (std::vector<int>{16, -32, 48}));

    // An outer chunk claiming under 5 bytes cannot be skipped.
    spec.beforeRiff = "JUNK" + Le32(3);
    EXPECT_EQ(OpenBytes(folder, MakeWave(spec))->GetError(), kErrBadFormat);
}

TEST(WaveReader, PicksTheSampleFormatFromTagAndBits)
{
    TempFolder folder;
    WaveSpec spec;
    spec.channels = 1;
    spec.bits = 8;
    spec.data = std::string{char(128), char(0), char(255), char(0)};
    LSoundSource u8 = OpenBytes(folder, MakeWave(spec));
    EXPECT_EQ(u8->GetEndSample(), 4);
    EXPECT_EQ(ReadFrames(u8, 3), (std::vector<int>{0, -0x80000, 0x7f000}));

    spec.bits = 24;
    spec.data = std::string{0, 0, char(0x80), char(0xff), char(0xff), char(0x7f)};
    LSoundSource s24 = OpenBytes(folder, MakeWave(spec));
    EXPECT_EQ(ReadFrames(s24, 2), (std::vector<int>{-0x80000, 0x7ffff}));

    // Extensible PCM counts as plain PCM.
    spec.tag = kWaveTagExtensible;
    spec.formatExtra = Le16(22) + Le16(24) + Le32(4) +
                       std::string("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16);
    LSoundSource extensible = OpenBytes(folder, MakeWave(spec));
    ASSERT_EQ(extensible->GetError(), kErrNone);
    EXPECT_EQ(ReadFrames(extensible, 2), (std::vector<int>{-0x80000, 0x7ffff}));
    spec.formatExtra[8] = 3;  // the float sub-format is not taken
    EXPECT_EQ(OpenBytes(folder, MakeWave(spec))->GetError(), kErrCodec);

    spec.tag = kWaveTagFloat;
    spec.bits = 32;
    spec.formatExtra.clear();
    spec.data = std::string("\x00\x00\x80\x3f", 4);
    LSoundSource floats = OpenBytes(folder, MakeWave(spec));
    EXPECT_EQ(floats->GetPeak(), kPeakFloatFile);
    EXPECT_EQ(ReadFrames(floats, 1), (std::vector<int>{0x80000}));

    spec.tag = kWaveTagPCM;
    spec.data = std::string("\xff\xff\xff\x7f", 4);
    LSoundSource s32 = OpenBytes(folder, MakeWave(spec));
    EXPECT_EQ(s32->GetPeak(), kPeakLimit);
    EXPECT_EQ(ReadFrames(s32, 1), (std::vector<int>{0x80000}));
}

TEST(WaveReader, ErrorStates)
{
    TempFolder folder;
    EXPECT_EQ(LWaveFile::OpenSource((folder / "absent.wav").c_str())->GetError(), kErrMissing);
    EXPECT_EQ(LWaveFile::OpenSource(folder.Path().c_str())->GetError(), kErrMissing);

    WaveSpec good;
    good.data = Pcm16(std::vector<int>{1, 2});
    const std::string bytes = MakeWave(good);
    EXPECT_EQ(OpenBytes(folder, "")->GetError(), kErrBadFormat);
    EXPECT_EQ(OpenBytes(folder, "ID3 not a wave file at all")->GetError(), kErrBadFormat);
    EXPECT_EQ(OpenBytes(folder, bytes.substr(0, 30))->GetError(), kErrBadFormat);   // inside fmt
    EXPECT_EQ(OpenBytes(folder, bytes.substr(0, 40))->GetError(), kErrBadFormat);   // no data chunk

    const auto withFormat = [&](auto change) {
        WaveSpec spec = good;
        change(spec);
        return OpenBytes(folder, MakeWave(spec))->GetError();
    };
    EXPECT_EQ(withFormat([](WaveSpec& s) { s.channels = 0; }), kErrBadFormat);
    EXPECT_EQ(withFormat([](WaveSpec& s) { s.channels = 256; }), kErrBadFormat);
    EXPECT_EQ(withFormat([](WaveSpec& s) { s.rate = 196001; }), kErrBadFormat);
    EXPECT_EQ(withFormat([](WaveSpec& s) { s.rate = 196000; }), kErrNone);
    EXPECT_EQ(withFormat([](WaveSpec& s) { s.tag = kWaveTagFloat; }), kErrBadFormat);
    EXPECT_EQ(withFormat([](WaveSpec& s) { s.formatExtra = std::string(8180, 'x'); }), kErrBadFormat);
    for (uint16_t refused : {6, 7, 34})
        EXPECT_EQ(withFormat([&](WaveSpec& s) { s.tag = refused; }), kErrRefusedCodec) << refused;
    for (uint16_t unhandled : {2, 17, 49, 85, 0x1234})
        EXPECT_EQ(withFormat([&](WaveSpec& s) { s.tag = unhandled; }), kErrCodec) << unhandled;

    // A 15-byte format chunk is too short to hold the format.
    std::string shortFormat = bytes;
    shortFormat[16] = 15;
    EXPECT_EQ(OpenBytes(folder, shortFormat)->GetError(), kErrBadFormat);
}

TEST(WaveReader, NegativeSeekGivesSilenceThenTheFirstFrame)
{
    TempFolder folder;
    WaveSpec spec;
    spec.data = Pcm16(std::vector<int>{1, 2, 3, 4, 5, 6});
    LSoundSource source = OpenBytes(folder, MakeWave(spec));
    source->Seek(-2);
    EXPECT_EQ(ReadFrames(source, 4), Shifted({0, 0, 0, 0, 1, 2, 3, 4}, 4));
    EXPECT_EQ(source->GetPositionSample(), 2);
    source->Seek(-5);
    EXPECT_EQ(ReadFrames(source, 3), std::vector<int>(6, 0));
    EXPECT_EQ(source->GetPositionSample(), -2);
    source->Seek(50);
    EXPECT_EQ(ReadFrames(source, 2), std::vector<int>(4, 0));
    EXPECT_EQ(source->GetPositionSample(), 52);
}

TEST(WaveFormatBlock, LoadAndCodecNames)
{
    TempFolder folder;
    const std::string path = folder / "in.wav";
    WaveSpec spec;
    spec.tag = kWaveTagMP3;
    spec.formatExtra = Le16(12) + std::string(12, '\0');
    WriteWholeFile(path, MakeWave(spec));
    std::unique_ptr<WAVEFORMATEX> format;
    ASSERT_TRUE(LWaveFormatEx::_Load(path.c_str(), format));
    EXPECT_EQ(format->wFormatTag, kWaveTagMP3);
    EXPECT_EQ(format->cbSize, 12);
    char name[260];
    LGetWaveFileCodecName(name, path.c_str());
    EXPECT_STREQ(name, "MPEG-1 Layer 3 (MP3)");

    spec.tag = kWaveTagPCM;
    spec.formatExtra = std::string(1, '\x07');  // 17 bytes: the extra size reads 0
    WriteWholeFile(path, MakeWave(spec));
    ASSERT_TRUE(LWaveFormatEx::_Load(path.c_str(), format));
    EXPECT_EQ(format->cbSize, 0);
    LGetWaveFileCodecName(name, path.c_str());
    EXPECT_STREQ(name, "Microsoft PCM Format");

    for (uint16_t tag : {0x0000, 0x1235}) {
        spec.tag = tag;
        WriteWholeFile(path, MakeWave(spec));
        LGetWaveFileCodecName(name, path.c_str());
        EXPECT_STREQ(name, "Microsoft Unknown Wave Format") << tag;
    }
    spec.tag = 0xffff;
    WriteWholeFile(path, MakeWave(spec));
    LGetWaveFileCodecName(name, path.c_str());
    EXPECT_STREQ(name, "In Development / Unregistered");
    spec.channels = 0;
    WriteWholeFile(path, MakeWave(spec));
    LGetWaveFileCodecName(name, path.c_str());
    EXPECT_STREQ(name, "Microsoft Unknown Wave Format");
    EXPECT_FALSE(LWaveFormatEx::_Load((folder / "absent").c_str(), format));

    ASSERT_EQ(uNumWaveCodecs, 248u);
    for (unsigned i = 1; i < uNumWaveCodecs; ++i)
        EXPECT_LT(WaveCodecs[i - 1].tag, WaveCodecs[i].tag) << i;
}

TEST(WaveReader, DeletingSourceRemovesItsFileWhenTheLastHandleGoes)
{
    TempFolder folder;
    const std::string path = folder / "temp.wav";
    WaveSpec spec;
    spec.data = Pcm16(std::vector<int>{7, 8});
    WriteWholeFile(path, MakeWave(spec));
    struct stat info;
    {
        LSoundSource source = LWaveFile::OpenSourceDeletingFileWhenClosed(path.c_str());
        LSoundSource copy = source;
        source.Close();
        EXPECT_EQ(stat(path.c_str(), &info), 0);
        EXPECT_EQ(copy->GetEndSample(), 1);
        EXPECT_EQ(ReadFrames(copy, 1), (std::vector<int>{112, 128}));
    }
    EXPECT_NE(stat(path.c_str(), &info), 0);

    WriteWholeFile(path, "garbage");
    LSoundSource broken = LWaveFile::OpenSourceDeletingFileWhenClosed(path.c_str());
    EXPECT_EQ(broken->GetError(), kErrBadFormat);
    broken.Close();
    EXPECT_NE(stat(path.c_str(), &info), 0);
}
