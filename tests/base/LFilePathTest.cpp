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

std::string NewExtension(const std::string& path, const char* extension)
{
    char buffer[LFile::kPathBytes];
    strcpy(buffer, path.c_str());
    LFile::_ApplyNewFileExtension(buffer, extension);
    return buffer;
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
    EXPECT_EQ(Join("/a", "song.mp3", ".wav"), "/a/song.mp3.wav");

    char path[LFile::kPathBytes] = "/music";  // may write over its folder
    LFile::_MakeFilePath(path, path, "set");
    LFile::_MakeFilePath(path, path, "track", ".mp3");
    EXPECT_STREQ(path, "/music/set/track.mp3");
}

TEST(LFilePath, PartsOfAPathSplitAtEitherSeparator)
{
    struct Case {
        PathFunction function;
        const char* path;
        const char* part;
    };
    const Case cases[] = {
        {LFile::_GetFolderFromPath, "/a/b/c.mp3", "/a/b"},
        {LFile::_GetFolderFromPath, "/a", "/"},
        {LFile::_GetFolderFromPath, "a", ""},
        {LFile::_GetFolderFromPath, "a\\b", "a"},
        {LFile::_GetFolderFromPath, "/a/", "/a"},
        {LFile::_GetFileFromPath, "/a/b/c.mp3", "c.mp3"},
        {LFile::_GetFileFromPath, "x\\c.mp3", "c.mp3"},
        {LFile::_GetFileFromPath, "/a/", ""},
        {LFile::_GetFileNameFromPath, "a.b.c", "a.b"},  // only the last extension goes
        {LFile::_GetFileNameFromPath, "/music/.hidden", ".hidden"},
        {LFile::_GetFileNameFromPath, "/x.y/track", "track"},
        {LFile::_GetFileNameFromPath, "/x/song.", "song"},
        {LFile::_GetFileExtensionFromPath, "a.b.c", ".c"},
        {LFile::_GetFileExtensionFromPath, "/a.b/c", ""},  // only behind the last separator
        {LFile::_GetFileExtensionFromPath, "a.b\\c", ""},
        {LFile::_GetFileExtensionFromPath, ".mp3", ""},
        {LFile::_GetFileExtensionFromPath, "song.", "."},
        {LFile::EscapeFilePath, "/m/My \"Best\" $HOME `x` a\\b.mp3",
         "/m/My \\\"Best\\\" \\$HOME \\`x\\` a\\\\b.mp3"},
        {LFile::PreprocessName, "AC/DC: Live\\Set\t1", "AC_DC_ Live_Set_1"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Apply(c.function, c.path), c.part) << c.path;

    EXPECT_EQ(NewExtension("/var/tmp/Temp1.wav", ".lck"), "/var/tmp/Temp1.lck");
    EXPECT_EQ(NewExtension("/a.b/noext", ".wav"), "/a.b/noext.wav");
    EXPECT_EQ(NewExtension("a.tar.gz", ""), "a.tar");
}

TEST(LFilePath, LongPathsAreCutAt259WithoutOverflow)
{
    const std::string longFolder(400, 'f');
    const std::string longFile(300, 'n');

    // The folder counts for 258 characters at most; the separator still fits, the file is cut.
    EXPECT_EQ(Join(longFolder, "x"), std::string(258, 'f') + "/");
    EXPECT_EQ(Join("/a", longFile).size(), 259u);
    EXPECT_EQ(Join(longFolder, longFile, ".wav").size(), 259u);

    EXPECT_EQ(Apply(LFile::_GetFileFromPath, "/" + longFile), std::string(259, 'n'));
    EXPECT_EQ(Apply(LFile::_GetFolderFromPath, longFolder + "/x"), std::string(259, 'f'));
    EXPECT_EQ(Apply(LFile::_GetFileNameFromPath, longFile + ".mp3"), std::string(259, 'n'));
    EXPECT_EQ(Apply(LFile::_GetFileExtensionFromPath, "a." + longFile).size(), 259u);
    EXPECT_EQ(Apply(LFile::PreprocessName, longFile).size(), 259u);

    // Escapes are never split: 259 characters would end in a lone backslash here.
    EXPECT_EQ(Apply(LFile::EscapeFilePath, std::string(258, 'a') + "\"b"), std::string(258, 'a'));
    EXPECT_EQ(Apply(LFile::EscapeFilePath, std::string(300, '$')).size(), 258u);
    EXPECT_EQ(NewExtension(std::string(255, 'p') + ".mp3", ".longer"), std::string(255, 'p') + ".lon");
}
