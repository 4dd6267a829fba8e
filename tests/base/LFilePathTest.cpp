#include "base/LFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using PathFunction = void (*)(char*, const char*);

// Runs a one-input helper into a buffer with a guard area behind the 260 bytes, so a write past
// the end is seen even where the sanitizer would not see it.
std::string Apply(PathFunction function, const std::string& path)
{
    char buffer[LFile::kPathBytes + 16];
    memset(buffer, 'G', sizeof buffer);
    function(buffer, path.c_str());
    for (size_t i = LFile::kPathBytes; i < sizeof buffer; ++i)
        EXPECT_EQ(buffer[i], 'G') << "written past the path buffer";
    return buffer;
}

std::string Join(const std::string& folder, const std::string& file, const char* extension = nullptr)
{
    char dest[LFile::kPathBytes];
    if (extension)
        LFile::_MakeFilePath(dest, folder.c_str(), file.c_str(), extension);
    else
        LFile::_MakeFilePath(dest, folder.c_str(), file.c_str());
    return dest;
}

}  // namespace

TEST(LFilePath, MakeFilePathAddsOneSeparatorOnlyWhereNeitherSideHasOne)
{
    EXPECT_EQ(Join("/a", "b"), "/a/b");
    EXPECT_EQ(Join("/a/", "b"), "/a/b");
    EXPECT_EQ(Join("/a", "/b"), "/a/b");
    EXPECT_EQ(Join("/a/", "/b"), "/a//b");  // both kept, as given
    EXPECT_EQ(Join("C:\\x\\", "b"), "C:\\x\\b");
    EXPECT_EQ(Join("", "b"), "b");
    EXPECT_EQ(Join("/a", "b", ".wav"), "/a/b.wav");
    EXPECT_EQ(Join("/a", "song.mp3", ".wav"), "/a/song.mp3.wav");
}

TEST(LFilePath, MakeFilePathMayWriteOverItsFolder)
{
    char path[LFile::kPathBytes] = "/music";
    LFile::_MakeFilePath(path, path, "set");
    LFile::_MakeFilePath(path, path, "track", ".mp3");
    EXPECT_STREQ(path, "/music/set/track.mp3");
}

TEST(LFilePath, FolderAndFileParts)
{
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, "/a/b/c.mp3"), "/a/b");
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, "/a"), "/");
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, "a"), "");
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, "a\\b"), "a");
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, "/a/"), "/a");

    EXPECT_EQ(Apply(LFile::_GetFileFromPath, "/a/b/c.mp3"), "c.mp3");
    EXPECT_EQ(Apply(LFile::_GetFileFromPath, "x\\c.mp3"), "c.mp3");
    EXPECT_EQ(Apply(LFile::_GetFileFromPath, "/a/"), "");
}

TEST(LFilePath, FileNameDropsOnlyTheLastExtension)
{
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, "a.b.c"), "a.b");
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, ".hidden"), ".hidden");
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, "/music/.hidden"), ".hidden");
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, "/x.y/track"), "track");
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, "/x/song."), "song");
}

TEST(LFilePath, ExtensionOnlyBehindTheLastSeparator)
{
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "/a/b.mp3"), ".mp3");
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "a.b.c"), ".c");
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "/a.b/c"), "");
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "a.b\\c"), "");
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, ".mp3"), "");
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "song."), ".");
}

TEST(LFilePath, ApplyNewFileExtensionReplacesOrAppends)
{
    char path[LFile::kPathBytes] = "/var/tmp/Temp1.wav";
    LFile::_ApplyNewFileExtension(path, ".lck");
    EXPECT_STREQ(path, "/var/tmp/Temp1.lck");
    strcpy(path, "/a.b/noext");
    LFile::_ApplyNewFileExtension(path, ".wav");
    EXPECT_STREQ(path, "/a.b/noext.wav");
    strcpy(path, "a.tar.gz");
    LFile::_ApplyNewFileExtension(path, "");
    EXPECT_STREQ(path, "a.tar");
}

TEST(LFilePath, EscapeAndPreprocess)
{
    EXPECT_EQ(Apply(LFile::EscapeFilePath, "/m/My \"Best\" $HOME `x` a\\b.mp3"),
              "/m/My \\\"Best\\\" \\$HOME \\`x\\` a\\\\b.mp3");
    EXPECT_EQ(Apply(LFile::PreprocessName, "AC/DC: Live\\Set\t1"), "AC_DC_ Live_Set_1");
    EXPECT_EQ(Apply(LFile::PreprocessName, "plain name.mp3"), "plain name.mp3");
}

TEST(LFilePath, LongPathsAreCutAt259WithoutOverflow)
{
    const std::string longFolder(400, 'f');
    const std::string longFile(300, 'n');

    // The folder counts for 258 characters at most; the separator still fits, the file is cut.
    std::string joined = Join(longFolder, "x");
    EXPECT_EQ(joined.size(), 259u);
    EXPECT_EQ(joined.substr(0, 259), std::string(258, 'f') + "/");
    EXPECT_EQ(Join("/a", longFile).size(), 259u);
    EXPECT_EQ(Join(longFolder, longFile, ".wav").size(), 259u);

    EXPECT_EQ(Apply(LFile::_GetFileFromPath, "/" + longFile), std::string(259, 'n'));
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, longFolder + "/x"), std::string(259, 'f'));
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, longFile + ".mp3"), std::string(259, 'n'));
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "a." + longFile).size(), 259u);
    EXPECT_EQ(Apply(LFile::PreprocessName, longFile).size(), 259u);

    // Escapes are never split: 259 characters would end in a lone backslash here.
    std::string escaped = Apply(LFile::EscapeFilePath, std::string(258, 'a') + "\"b");
    EXPECT_EQ(escaped, std::string(258, 'a'));
    escaped = Apply(LFile::EscapeFilePath, std::string(300, '$'));
    EXPECT_EQ(escaped.size(), 258u);

    char path[LFile::kPathBytes];
    strcpy(path, (std::string(255, 'p') + ".mp3").c_str());
    LFile::_ApplyNewFileExtension(path, ".longer");
    EXPECT_EQ(std::string(path), std::string(255, 'p') + ".lon");
}
