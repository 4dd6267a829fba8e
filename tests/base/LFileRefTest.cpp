#include "base/LFile.h"
#include "base/LFileRef.h"
#include "base/LReadFileBuffered.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <vector>

namespace {

// The lines ReadLine finds in `text`, read into a buffer of `size` bytes.
std::vector<std::string> LinesOf(const std::string& text, unsigned long size = 260)
{
    TempFolder folder;
    WriteWholeFile(folder / "text", text);
    LReadFileRef file((folder / "text").c_str());
    std::vector<std::string> lines;
    std::vector<char> line(size);
    while (file.ReadLine(line.data(), size))
        lines.emplace_back(line.data());
    return lines;
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(LReadFileRef, ReadLineTakesEachLineEndPairAsOneAndCutsLongLines)
{
    for (const char* text : {"a\r\n\r\nb", "a\n\r\n\rb", "a\n\nb\n", "a\r\rb\r", "a\r\n\nb"})
        EXPECT_EQ(LinesOf(text), (Lines{"a", "", "b"})) << text;
    EXPECT_EQ(LinesOf("\n"), (Lines{""}));
    EXPECT_EQ(LinesOf(""), (Lines{}));
    // The rest of a cut line is the next line; one that just fits keeps its own line end.
    EXPECT_EQ(LinesOf("abcdefg\nh", 4), (Lines{"abc", "def", "g", "h"}));
    EXPECT_EQ(LinesOf("abc\r\nd", 4), (Lines{"abc", "d"}));
    EXPECT_EQ(LinesOf(std::string(300, 'x') + "\ny"),
              (Lines{std::string(259, 'x'), std::string(41, 'x'), "y"}));
}

TEST(LWriteFileRef, WritesTextRepairsUtf8AndFailsQuietly)
{
    TempFolder folder;
    std::string path = folder / "out.m3u";
    {
        LWriteFileRef file;
        ASSERT_TRUE(file.Create(path.c_str()));
        EXPECT_TRUE(file.WriteString("plain\n"));
        // "é" in UTF-8 stays; a lone ISO 8859-1 "é" (0xe9) and a surrogate are re-encoded.
        EXPECT_TRUE(file.WriteStringUTF8("Caf\xc3\xa9 Caf\xe9 \xed\xa0\x80 \xf0\x9f\x8e\xb5\n"));
    }
    EXPECT_EQ(ReadWholeFile(path),
              "plain\nCaf\xc3\xa9 Caf\xc3\xa9 \xc3\xad\xc2\xa0\xc2\x80 \xf0\x9f\x8e\xb5\n");

    LWriteFileRef file;  // 5,000 bytes that double grow two times over the write chunk
    ASSERT_TRUE(file.Create(path.c_str()) && file.WriteStringUTF8(std::string(5000, '\xe9').c_str()));
    file.Close();
    EXPECT_EQ(ReadWholeFile(path).size(), 10000u);

    // Missing files and folders fail quietly.
    LReadFileRef missing((folder / "none").c_str());
    char line[8];
    EXPECT_FALSE(missing.IsOpen() || missing.Read(line, 1) || missing.ReadLine(line, sizeof line));
    EXPECT_FALSE(file.Create((folder / "no/such/folder").c_str()) || file.WriteString("x"));
    LReadFileBuffered buffered((folder / "none").c_str());
    EXPECT_FALSE(buffered.Read(line, 1) || buffered.Seek64(0));
}

// Random reads and seeks against the bytes of the file itself.
TEST(LReadFileBuffered, ReadsAndSeeksAgreeWithTheFile)
{
    TempFolder folder;
    std::string data(300000, 0);
    std::mt19937 random(7);
    for (char& c : data)
        c = static_cast<char>(random());
    WriteWholeFile(folder / "data", data);

    LReadFileBuffered file((folder / "data").c_str());
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.GetFileSizeBytes64(), 300000);
    int64_t position = 0;
    std::vector<char> got(200000);
    for (int step = 0; step < 400; ++step) {
        const unsigned kind = random() % 4;
        const int64_t offset = static_cast<int64_t>(random() % 140000) - 70000;
        if (kind == 0) {
            position = static_cast<int64_t>(random() % (data.size() + 10));
            ASSERT_TRUE(file.Seek64(position));
        } else if (kind == 1 && position + offset >= 0) {
            ASSERT_TRUE(file.SeekOffset64(offset));
            position += offset;
        } else if (kind > 1) {
            // Mostly small reads, sometimes one larger than the buffer.
            const size_t want = random() % 8 == 0 ? 70000 + random() % 130000 : random() % 300;
            const size_t at = std::min(static_cast<size_t>(position), data.size());
            const size_t expected = std::min(want, data.size() - at);
            ASSERT_EQ(file.Read(got.data(), want), expected);
            ASSERT_EQ(std::string(got.data(), expected), data.substr(at, expected));
            position += static_cast<int64_t>(expected);
        }
        ASSERT_EQ(file.Tell64(), position);
    }
    EXPECT_FALSE(file.Seek64(-1));
}

TEST(LSharedReadFile, WriterLockIsSeenAndWaitedForBriefly)
{
    TempFolder folder;
    std::string path = folder / "settings.xml";
    WriteWholeFile(path, "<a/>");
    EXPECT_FALSE(LFile::TestFileShareWriteBlocked(path.c_str()));
    EXPECT_FALSE(LFile::TestFileShareWriteBlocked((folder / "missing").c_str()));
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_FALSE(LFile::TestFileShareWriteBlocked((folder / "fifo").c_str()));  // returns at once

    LWriteFileRef writer;
    ASSERT_TRUE(writer.OpenExisting(path.c_str()));
    ASSERT_TRUE(writer.Lock(LOCK_EX, 0));
    EXPECT_TRUE(LFile::TestFileShareWriteBlocked(path.c_str()));
    // The reader gives up waiting and reads anyway rather than failing.
    LSharedReadFile reader;
    EXPECT_TRUE(reader.Open(path.c_str(), 20));
    char text[5] = {};
    EXPECT_EQ(reader.Read(text, 4), 4u);
    EXPECT_STREQ(text, "<a/>");
    writer.Close();
    EXPECT_FALSE(LFile::TestFileShareWriteBlocked(path.c_str()));

    // A held shared lock keeps a writer out.
    ASSERT_TRUE(reader.Open(path.c_str()));
    ASSERT_TRUE(writer.OpenExisting(path.c_str()));
    EXPECT_FALSE(writer.Lock(LOCK_EX, 0));
}
