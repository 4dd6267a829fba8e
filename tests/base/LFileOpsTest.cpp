#include "base/LFile.h"
#include "base/LLockFile.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

template <typename Iterator>
std::vector<std::string> Names(const std::string& folder, const char* pattern = "*")
{
    Iterator it(folder.c_str(), pattern);
    std::vector<std::string> names;
    while (it.Next())
        names.emplace_back(it.GetName());
    EXPECT_FALSE(it.Next());  // stays at the end
    std::sort(names.begin(), names.end());
    return names;
}

using Strings = std::vector<std::string>;

}  // namespace

TEST(LFileFolderIterator, MatchesPatternIgnoringCaseAndSkipsHiddenEntries)
{
    TempFolder folder;
    for (const char* name : {"a.wav", "B.WAV", "c.mp3", ".hidden.wav"})
        WriteWholeFile(folder / name, "x");
    fs::create_directory(folder / "sub.wav");

    EXPECT_EQ(Names<LFile::FolderIterator>(folder.Path(), "*.wav"), (Strings{"B.WAV", "a.wav", "sub.wav"}));
    EXPECT_EQ(Names<LFile::FolderIterator>(folder.Path()), (Strings{"B.WAV", "a.wav", "c.mp3", "sub.wav"}));
    EXPECT_EQ(Names<LFile::FolderIteratorAllFiles>(folder.Path(), "*.none"),
              (Strings{".hidden.wav", "B.WAV", "a.wav", "c.mp3", "sub.wav"}));
    EXPECT_EQ(Names<LFile::FolderIterator>(folder / "missing"), Strings{});

    LFile::FolderIterator it(folder.Path().c_str(), "c.*");
    ASSERT_TRUE(it.Next());
    char path[LFile::kPathBytes];
    it.GetPath(path);
    EXPECT_EQ(std::string(path), folder / "c.mp3");
}

TEST(LFileTree, CreateCopyAndDeleteATreeOrAFile)
{
    TempFolder folder;
    std::string deep = folder / "a/b\\c/d";  // "\\" is part of a name on disk
    ASSERT_TRUE(LFile::CreateFolderTree(deep.c_str()));
    EXPECT_TRUE(fs::is_directory(folder / "a/b\\c/d"));
    EXPECT_TRUE(LFile::CreateFolderTree(deep.c_str()));  // existing levels are fine
    WriteWholeFile(folder / "a/top.txt", "top");
    WriteWholeFile(folder / "a/.dot", "dot");
    WriteWholeFile(folder / "a/b\\c/d/deep.txt", "deep");

    // A folder is copied whole.
    ASSERT_TRUE(LFile::CopyFile((folder / "a").c_str(), (folder / "copy").c_str()));
    EXPECT_EQ(ReadWholeFile(folder / "copy/b\\c/d/deep.txt"), "deep");
    EXPECT_EQ(ReadWholeFile(folder / "copy/.dot"), "dot");

    // Only the plain, visible files of a folder.
    ASSERT_TRUE(LFile::CopyFolderFiles((folder / "a").c_str(), (folder / "flat/new").c_str()));
    EXPECT_EQ(Names<LFile::FolderIteratorAllFiles>(folder / "flat/new"), Strings{"top.txt"});

    // A link to a folder outside is removed, not followed.
    WriteWholeFile(folder / "keep.txt", "keep");
    fs::create_directory_symlink(folder.Path(), folder / "copy/link");
    fs::create_directory_symlink(folder / "copy", folder / "toplink");
    ASSERT_TRUE(LFile::DeleteFolderTree((folder / "toplink").c_str()));
    EXPECT_TRUE(fs::exists(folder / "copy/.dot"));
    ASSERT_TRUE(LFile::DeleteFolderTree((folder / "copy").c_str()));
    EXPECT_FALSE(fs::exists(folder / "copy"));
    EXPECT_EQ(ReadWholeFile(folder / "keep.txt"), "keep");
    EXPECT_FALSE(LFile::DeleteFolderTree((folder / "copy").c_str()));

    // A plain file where a level should be.
    EXPECT_FALSE(LFile::CreateFolderTree((folder / "keep.txt/x").c_str()));

    // Plain files are copied whole, or the target is left alone.
    std::string data(3 * 8192 + 17, 'q');  // blocks plus a part block
    WriteWholeFile(folder / "in.wav", data);
    ASSERT_TRUE(LFile::CopyFile((folder / "in.wav").c_str(), (folder / "out.wav").c_str()));
    EXPECT_EQ(ReadWholeFile(folder / "out.wav"), data);

    WriteWholeFile(folder / "old.wav", "earlier");
    EXPECT_FALSE(LFile::CopyFile((folder / "missing.wav").c_str(), (folder / "old.wav").c_str()));
    EXPECT_EQ(ReadWholeFile(folder / "old.wav"), "earlier");
    EXPECT_EQ(Names<LFile::FolderIterator>(folder.Path(), "*.wav"), (Strings{"in.wav", "old.wav", "out.wav"}));
    EXPECT_FALSE(LFile::CopyFile((folder / "in.wav").c_str(), (folder / "no/folder/x.wav").c_str()));
}

TEST(LLockFile, LockIsHeldAgainstAnotherProcessAndReleasedWithItsFile)
{
    TempFolder folder;
    std::string target = folder / "Temp1.wav";
    LLockFile lock;
    ASSERT_TRUE(lock.Lock(target.c_str()));
    EXPECT_EQ(std::string(lock.GetLockPath()), folder / "Temp1.lck");
    EXPECT_TRUE(fs::exists(folder / "Temp1.lck"));

    auto tryLock = [&target] {
        LLockFile other;
        return other.Lock(target.c_str()) ? 0 : 1;
    };
    EXPECT_EXIT(_exit(tryLock()), testing::ExitedWithCode(1), "");

    // Locking another path with the same object releases the first one.
    ASSERT_TRUE(lock.Lock((folder / "Temp2.wav").c_str()));
    EXPECT_FALSE(fs::exists(folder / "Temp1.lck"));
    EXPECT_EXIT(_exit(tryLock()), testing::ExitedWithCode(0), "");

    lock.Unlock();
    EXPECT_FALSE(fs::exists(folder / "Temp2.lck"));
    EXPECT_FALSE(lock.IsLocked());
    EXPECT_FALSE(lock.Lock((folder / "missing/x.wav").c_str()));
}

namespace {

// A path of exactly `length` characters below `folder`: the folder, "/", then 'p's.
std::string PathOfLength(const TempFolder& folder, size_t length)
{
    return folder / std::string(length - folder.Path().size() - 1, 'p');
}

}  // namespace

// A path longer than a path buffer would be cut to the name of another file; no operation may
// act on it. Here the tree's cut name is a sibling that must survive every try.
TEST(LFileCutPaths, NoOperationActsOnTheFileOfACutName)
{
    TempFolder folder;
    const std::string parent = PathOfLength(folder, 240);
    const std::string tree = parent + "/" + std::string(40, 'l');  // 281 characters
    const std::string cutName = tree.substr(0, LFile::kMaxPathChars);
    fs::create_directories(tree);
    WriteWholeFile(tree + "/inside", "inside");
    WriteWholeFile(cutName, "survivor");
    WriteWholeFile(folder / "source", "source");

    EXPECT_FALSE(LFile::DeleteFolderTree(tree.c_str()));
    EXPECT_FALSE(LFile::CopyFile((folder / "source").c_str(), tree.c_str()));
    EXPECT_FALSE(LFile::CopyFile(tree.c_str(), (folder / "copy").c_str()));
    EXPECT_FALSE(LFile::CreateFolderTree((tree + "/x").c_str()));
    EXPECT_FALSE(LFile::SetFolderSecurityAllAccess(tree.c_str()));
    EXPECT_FALSE(LFile::CopyFolderFiles(tree.c_str(), (folder / "flat").c_str()));
    LLockFile lock;
    EXPECT_FALSE(lock.Lock((tree + ".wav").c_str()));
    LFile::FolderIterator entries(tree.c_str());
    EXPECT_FALSE(entries.Next());

    EXPECT_EQ(ReadWholeFile(cutName), "survivor");
    EXPECT_EQ(ReadWholeFile(tree + "/inside"), "inside");
    EXPECT_FALSE(fs::exists(folder / "copy"));
    EXPECT_EQ(Names<LFile::FolderIteratorAllFiles>(parent).size(), 2u) << "no lock or part file";
}

// A 258-character folder's entries cannot be named within 259 characters; once their cut path
// was the folder itself and the delete recursed until the stack ran out. A tree deeper than a
// path can name ends the same way: what cannot be named stays, and the answer is false.
TEST(LFileCutPaths, LongAndDeepTreesAreNotRecursedForever)
{
    TempFolder folder;
    const std::string full = PathOfLength(folder, 258);
    fs::create_directories(full + "/sub");
    WriteWholeFile(full + "/x", "x");
    EXPECT_FALSE(LFile::DeleteFolderTree(full.c_str()));
    EXPECT_EQ(ReadWholeFile(full + "/x"), "x");

    std::string deep = folder / "d";
    for (int level = 0; level < 200; ++level)
        deep += "/d";
    fs::create_directories(deep);
    EXPECT_FALSE(LFile::DeleteFolderTree((folder / "d").c_str()));
    EXPECT_TRUE(fs::is_directory(deep));

    // The part that fits is deleted: a tree just within the limit goes whole.
    std::string shallow = folder / "s";
    while (shallow.size() + 2 <= LFile::kMaxPathChars)
        shallow += "/s";
    fs::create_directories(shallow);
    EXPECT_TRUE(LFile::DeleteFolderTree((folder / "s").c_str()));
    EXPECT_FALSE(fs::exists(folder / "s"));
}

// Names with separators of another system, quotes, spaces and line ends are names like others.
TEST(LFileCutPaths, OddNamesStayInsideTheirFolder)
{
    TempFolder folder;
    fs::create_directories(folder / "tree");
    const std::string odd[] = {"\\sibling", "two words", "quote\"d", "line\nend", "-rf"};
    for (const std::string& name : odd)
        WriteWholeFile(folder / "tree/" + name, name);
    WriteWholeFile(folder / "tree\\sibling", "outside");  // what a "\\" join would name

    ASSERT_TRUE(LFile::CopyFolderFiles((folder / "tree").c_str(), (folder / "flat").c_str()));
    for (const std::string& name : odd)
        EXPECT_EQ(ReadWholeFile(folder / "flat/" + name), name);
    ASSERT_TRUE(LFile::CopyFile((folder / "tree").c_str(), (folder / "-copy").c_str()));
    EXPECT_EQ(ReadWholeFile(folder / "-copy/line\nend"), "line\nend");
    ASSERT_TRUE(LFile::DeleteFolderTree((folder / "tree").c_str()));
    EXPECT_EQ(ReadWholeFile(folder / "tree\\sibling"), "outside");
}
