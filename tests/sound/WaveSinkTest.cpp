#include "sound/LWaveFile.h"
#include "sound/WaveBytes.h"
#include "MemorySource.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/stat.h>

namespace {

// What a stereo sink leaves behind: an 18-byte PCM format chunk, then the data.
std::string SinkFile(std::string data, uint32_t rate = 44100, uint16_t bits = 16)
{
    WaveSpec wave;
    std::tie(wave.rate, wave.bits, wave.formatExtra, wave.data) = std::tuple(rate, bits, Le16(0), std::move(data));
    return MakeWave(wave);
}

// Values as a file of `bits` keeps them: the graph's 20 bits rounded to that depth.
std::vector<int> AsStored(std::vector<int> values, int bits)
{
    const int dropped = std::max(0, 20 - bits);
    for (int& v : values)
        v = dropped ? ((v + (1 << (dropped - 1))) >> dropped) << dropped : v;
    return values;
}

// Seeks to many positions and reads with many block sizes: each read must equal the same
// frames cut from one continuous read, zeros outside the stream.
void ExpectSeekEqualsStream(LSoundSource& source)
{
    const int end = source->GetEndSample();
    const int channels = source->GetChannels();
    const int margin = 40000;
    source->Seek(-margin);
    const std::vector<int> whole = ReadAll(source, end + 2 * margin);
    ASSERT_EQ(std::vector<int>(whole.begin(), whole.begin() + margin * channels), std::vector<int>(margin * channels, 0));

    std::mt19937 random(11);
    for (int size : {1, 7, 1000, 8191, 8193, 32768}) {
        for (int trial = 0; trial < 4; ++trial) {
            const int at = trial == 0 ? 0 : std::uniform_int_distribution<int>(-size - 5, end + 5)(random);
            source->Seek(at);
            const std::vector<int> block = ReadInPieces(source, size);  // reads in a row continue seamlessly
            ASSERT_EQ(source->GetPositionSample(), at + size);
            ASSERT_TRUE(std::equal(block.begin(), block.end(), whole.begin() + (at + margin) * channels))
                << "seek " << at << " block " << size;
        }
    }
}

}  // namespace

TEST(WaveSink, HeaderHoldsPlaceholdersWhileWritingAndTheTruthAfterClose)
{
    TempFolder folder;
    const std::string path = folder / "out.wav";
    const std::vector<int> values{0x7fff0, -0x80000, 16, -16, 8, 0};
    {
        const mode_t umaskBefore = umask(0);  // the program runs so; the file stays the user's
        LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), 48000, 2, 16, 0);
        umask(umaskBefore);
        ASSERT_EQ(sink->GetError() & 1, 0);
        struct stat info;
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0644u);
        sink->Write(values.data(), 3);
        EXPECT_EQ(sink->GetPosition(), 3);
        const std::string open = ReadWholeFile(path);
        ASSERT_EQ(open.size(), 46u + 12u);
        EXPECT_EQ(open.substr(4, 4), Le32(0xffffffff));
        EXPECT_EQ(open.substr(42, 4), Le32(0xffffffd9));
    }
    EXPECT_EQ(ReadWholeFile(path), SinkFile(Pcm16(std::vector<int>{0x7fff, -0x8000, 1, -1, 1, 0}), 48000));
}

TEST(WaveSink, EveryDepthRoundTripsThroughTheReader)
{
    TempFolder folder;
    // Within what 8 bits hold after rounding: nothing clips on the way out.
    const std::vector<int> values = MakeNoise(2, 5000, 0x7f7ff);
    for (unsigned short bits : {8, 16, 24, 32}) {
        const std::string path = folder / (std::to_string(bits) + "bits.wav");
        LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, bits, 0)->Write(values.data(), 5000);
        EXPECT_EQ(int(std::filesystem::file_size(path)), 46 + 5000 * 2 * bits / 8);
        LSoundSource source = LWaveFile::OpenSource(path.c_str());
        ASSERT_EQ(source->GetError(), kErrNone);
        EXPECT_EQ(ReadAll(source, 5000), AsStored(values, bits)) << bits;
        ExpectSeekEqualsStream(source);
    }

    // The float sink labels its data as 32-bit PCM, so it reads back as integers.
    LWaveFileFormat floatFormat;
    floatFormat.wFormatTag = kWaveTagFloat;
    floatFormat.nChannels = 2;
    floatFormat.nSamplesPerSec = 44100;
    floatFormat.wBitsPerSample = 32;
    const std::string floatPath = folder / "float.wav";
    LWaveFile::OpenSink(floatPath.c_str(), floatFormat)->Write(values.data(), 5000);
    const std::string bytes = ReadWholeFile(floatPath);
    EXPECT_EQ(bytes.substr(0, 46), SinkFile(std::string(40000, 0), 44100, 32).substr(0, 46));
    float first;
    std::memcpy(&first, bytes.data() + 46, 4);
    EXPECT_EQ(first, static_cast<float>(values[0]) / 524288.0f);

    floatFormat.wFormatTag = kWaveTagGSM;
    EXPECT_EQ(LWaveFile::OpenSink((folder / "gsm.wav").c_str(), floatFormat)->GetError() & 1, 1);
    EXPECT_EQ(LWaveFile::OpenSinkPCM((folder / "no/such/folder.wav").c_str(), 44100, 2, 16, 0)->GetError() & 1, 1);
}

TEST(WaveSink, SeekBackwardTruncatesForwardDoesNothingAndAStartFrameContinuesAFile)
{
    TempFolder folder;
    const std::string path = folder / "rec.wav";
    const std::vector<int> values = MakeNoise(2, 1000, 0x7fff0, 5);
    auto pcmOf = [&values](int from, int to) {
        std::vector<int> kept = AsStored(std::vector<int>(values.begin() + 2 * from, values.begin() + 2 * to), 16);
        for (int& v : kept)
            v >>= 4;
        return Pcm16(kept);
    };
    // A sink's position and the file's length agree: a backward seek truncates.
    const auto expectAt = [&path](LSoundSink& sink, int frame) {
        EXPECT_EQ(sink->GetPosition(), frame);
        EXPECT_EQ(int(std::filesystem::file_size(path)), 46 + 4 * frame);
    };
    {
        LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, 16, 0);
        sink->Write(values.data(), 1000);
        sink->Seek(1500);
        expectAt(sink, 1000);
        sink->Seek(600);
        expectAt(sink, 600);
        sink->Write(values.data(), 100);  // the rewound recording continues at frame 600
        sink->Seek(-5);
        expectAt(sink, 0);
        sink->Write(values.data() + 200, 150);
    }
    EXPECT_EQ(ReadWholeFile(path), SinkFile(pcmOf(100, 250)));
    {
        LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, 16, 100);
        expectAt(sink, 100);
        sink->Write(values.data(), 10);
    }
    EXPECT_EQ(ReadWholeFile(path), SinkFile(pcmOf(100, 200) + pcmOf(0, 10)));
    // A start beyond the file's end continues at its end.
    EXPECT_EQ(LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, 16, 5000)->GetPosition(), 110);
}

TEST(WaveSink, ReaderPlaysAFileWhileAWriterGrowsIt)
{
    TempFolder folder;
    const std::string path = folder / "growing.wav";
    const int totalFrames = 200000;
    const std::vector<int> values = MakeNoise(2, totalFrames, 0x7fff0, 21);
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, 16, 0);
    LSoundSource source = LWaveFile::OpenSource(path.c_str());
    ASSERT_EQ(source->GetError(), kErrNone);
    EXPECT_EQ(source->GetEndSample(), 0);
    std::thread writer([&] {
        for (int done = 0; done < totalFrames; done += 1000) {
            sink->Write(values.data() + 2 * done, 1000);
            std::this_thread::yield();
        }
        sink.Close();  // the true header goes in
    });
    std::vector<int> played, block(2 * 4096);
    bool sawStreaming = false;
    for (int end; (end = source->GetEndSample()) > source->GetPositionSample() || source->IsStreaming();) {
        const int frames = std::min(4096, end - source->GetPositionSample());
        if (frames <= 0) {  // caught up with the writer
            sawStreaming = true;
            source->WaitForStreamingData(1);
            continue;
        }
        source->Read(block.data(), frames);
        played.insert(played.end(), block.begin(), block.begin() + 2 * frames);
    }
    writer.join();
    EXPECT_TRUE(sawStreaming);
    EXPECT_EQ(source->GetEndSample(), totalFrames);
    EXPECT_EQ(played, AsStored(values, 16));
}
