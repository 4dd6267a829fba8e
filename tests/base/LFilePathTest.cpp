#include "base/LFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using PathFunction = bool (*)(char*, const char*);

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

// Whoever acts on a path must know when it was cut, since a cut path names another file.
TEST(LFilePath, EveryCutIsReportedAndEveryWholeResultIsNot)
{
    const std::string fits259(259, 'a');
    const std::string over(260, 'a');
    struct Case {
        const char* what;
        PathFunction function;
        std::string input;
        bool fits;
    };
    const Case cases[] = {
        {"file whole", LFile::_GetFileFromPath, "/x/" + fits259, true},
        {"file cut", LFile::_GetFileFromPath, "/x/" + over, false},
        {"folder whole", LFile::_GetFolderFromPath, fits259 + "/x", true},
        {"folder cut", LFile::_GetFolderFromPath, over + "/x", false},
        {"name cut", LFile::_GetFileNameFromPath, over + ".mp3", false},
        {"extension cut", LFile::_GetFileExtensionFromPath, "a." + over, false},
        {"preprocess whole", LFile::PreprocessName, fits259, true},
        {"preprocess cut", LFile::PreprocessName, over, false},
        {"escape whole", LFile::EscapeFilePath, std::string(257, 'a') + "$", true},
        {"escape cut", LFile::EscapeFilePath, std::string(258, 'a') + "$", false},
    };
    for (const Case& c : cases) {
        char buffer[LFile::kPathBytes];
        EXPECT_EQ(c.function(buffer, c.input.c_str()), c.fits) << c.what;
    }

    char dest[LFile::kPathBytes];
    struct Join {
        std::string folder, file;
        const char* extension;
        bool fits;
    };
    const Join joins[] = {
        {std::string(258, 'f'), "", "", true},             // the folder's own limit
        {std::string(259, 'f'), "", "", false},            // a folder is used for 258 at most
        {std::string(200, 'f'), std::string(58, 'n'), "", true},  // 200 + "/" + 58 = 259
        {std::string(200, 'f'), std::string(59, 'n'), "", false},
        {std::string(200, 'f'), std::string(54, 'n'), ".wave", false},
        {"", fits259, "", true},
    };
    for (const Join& j : joins)
        EXPECT_EQ(LFile::_MakeFilePath(dest, j.folder.c_str(), j.file.c_str(), j.extension), j.fits)
            << j.folder.size() << "+" << j.file.size();
    EXPECT_TRUE(LFile::_FitsPath(fits259.c_str()));
    EXPECT_FALSE(LFile::_FitsPath(over.c_str()));

    char path[LFile::kPathBytes];
    strcpy(path, std::string(255, 'p').c_str());
    EXPECT_TRUE(LFile::_ApplyNewFileExtension(path, ".mp3"));
    EXPECT_FALSE(LFile::_ApplyNewFileExtension(path, ".longer"));
}

// An entry read from disk is joined by "/" only: a name that begins with "\\" stays in its folder.
TEST(LFilePath, EntryPathsJoinWithASlashOnly)
{
    char dest[LFile::kPathBytes];
    EXPECT_TRUE(LFile::_MakeEntryPath(dest, "/a", "\\b"));
    EXPECT_STREQ(dest, "/a/\\b");
    EXPECT_TRUE(LFile::_MakeEntryPath(dest, "/", "b"));
    EXPECT_STREQ(dest, "/b");
    EXPECT_FALSE(LFile::_MakeEntryPath(dest, std::string(258, 'f').c_str(), "b"));
}
