#include "base/LSafeWrite.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<std::string> Entries(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

mode_t ModeOf(const std::string& path)
{
    struct stat st {};
    stat(path.c_str(), &st);
    return st.st_mode & 07777;
}

// The id of a process that has ended and been reaped.
pid_t GonePid()
{
    pid_t child = fork();
    if (child == 0)
        _exit(0);
    waitpid(child, nullptr, 0);
    return child;
}

// The process runs with umask 0; tests of modes do the same for their length.
class Umask0 {
public:
    Umask0() : _old(umask(0)) {}
    ~Umask0() { umask(_old); }

private:
    mode_t _old;
};

}  // namespace

TEST(LSafeWrite, ReplacesWholeOrLeavesTheTargetAsItWas)
{
    Umask0 umask0;
    TempFolder folder;
    const std::string target = folder / "library.xml";
    ASSERT_TRUE(LSafeWriteFile(target.c_str(), "first", 5));
    EXPECT_EQ(ReadWholeFile(target), "first");
    EXPECT_EQ(ModeOf(target), 0644u);

    {
        LSafeWrite out(target.c_str());
        ASSERT_TRUE(out.Begin());
        ASSERT_TRUE(out.Write("second", 6));
        EXPECT_EQ(ReadWholeFile(target), "first");  // untouched until Commit
        EXPECT_EQ(Entries(folder.Path()).size(), 2u);
    }  // not committed: the temporary goes, the target stays
    EXPECT_EQ(ReadWholeFile(target), "first");
    EXPECT_EQ(Entries(folder.Path()), std::vector<std::string>{"library.xml"});

    // A file the user made private stays private when it is replaced.
    chmod(target.c_str(), 0600);
    ASSERT_TRUE(LSafeWriteFile(target.c_str(), "third", 5, 0644));
    EXPECT_EQ(ModeOf(target), 0600u);

    // Failures: a folder at the target, a missing folder, no file name; nothing is left behind.
    fs::create_directory(folder / "folder.xml");
    EXPECT_FALSE(LSafeWriteFile((folder / "folder.xml").c_str(), "x", 1));
    EXPECT_FALSE(LSafeWriteFile((folder / "missing/x.xml").c_str(), "x", 1));
    EXPECT_FALSE(LSafeWriteFile((folder / "").c_str(), "x", 1));
    LSafeWrite unused((folder / "x.xml").c_str());
    EXPECT_FALSE(unused.Commit());  // Commit without Begin
    EXPECT_EQ(Entries(folder.Path()), (std::vector<std::string>{"folder.xml", "library.xml"}));
    EXPECT_EQ(ReadWholeFile(target), "third");
}

// The WAVE sink opens its own path: it writes into the temporary, and Commit publishes it with
// the helper's mode, whatever mode the writer asked for.
TEST(LSafeWrite, AWriterByPathFillsTheTemporary)
{
    Umask0 umask0;
    TempFolder folder;
    const std::string target = folder / "mix \"one\".wav";
    LSafeWrite out(target.c_str());
    ASSERT_TRUE(out.Begin());
    const std::string temporary = out.GetTemporaryPath();
    EXPECT_EQ(fs::path(temporary).parent_path(), fs::path(folder.Path()));
    int fd = open(temporary.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0666);
    ASSERT_GE(fd, 0);
    fchmod(fd, 0666);
    ASSERT_EQ(write(fd, "RIFF", 4), 4);
    close(fd);
    ASSERT_TRUE(out.Commit());
    EXPECT_EQ(ReadWholeFile(target), "RIFF");
    EXPECT_EQ(ModeOf(target), 0644u);
    EXPECT_FALSE(fs::exists(temporary));
    EXPECT_STREQ(out.GetTemporaryPath(), "");
}

// Temporaries of writers that are gone are removed by the next write of the same target; those
// of live writers, of other targets, and names that only look alike stay.
TEST(LSafeWrite, TheNextWriteRemovesTemporariesOfDeadWritersOnly)
{
    TempFolder folder;
    const std::string longName(250, 'n');  // too long for the usual temporary's name
    for (const std::string& name : {std::string("settings.xml"), longName}) {
        const std::string target = folder / name;
        LSafeWrite probe(target.c_str());
        ASSERT_TRUE(probe.Begin());
        const std::string own = fs::path(probe.GetTemporaryPath()).filename().string();
        const std::string stem = own.substr(0, own.rfind("." + std::to_string(getpid()) + "-") + 1);
        ASSERT_EQ(stem.front(), '.');
        probe.Abandon();

        const std::string dead = stem + std::to_string(GonePid()) + "-7.tmp";
        const std::string live = stem + "1-0.tmp";  // init never goes
        const std::string lookalike = stem + "12x-0.tmp";
        const std::string other = ".other.xml." + std::to_string(GonePid()) + "-0.tmp";
        for (const std::string& file : {dead, live, lookalike, other})
            WriteWholeFile(folder / file, "left");
        ASSERT_TRUE(LSafeWriteFile(target.c_str(), "new", 3)) << name;
        EXPECT_FALSE(fs::exists(folder / dead)) << name;
        for (const std::string& file : {live, lookalike, other})
            EXPECT_TRUE(fs::exists(folder / file)) << file;
        EXPECT_EQ(ReadWholeFile(target), "new");
        for (const std::string& file : {live, lookalike, other})
            fs::remove(folder / file);
    }
}

// A writer killed in the middle of its write leaves the old file whole and a temporary that
// the next writer removes.
TEST(LSafeWrite, AWriterKilledMidWriteLosesNothing)
{
    TempFolder folder;
    const std::string target = folder / "settings.xml";
    ASSERT_TRUE(LSafeWriteFile(target.c_str(), "old", 3));
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t writer = fork();
    if (writer == 0) {
        LSafeWrite out(target.c_str());
        bool begun = out.Begin() && out.Write("half", 4);
        char done = begun ? 1 : 0;
        if (write(ready[1], &done, 1) != 1)
            _exit(1);
        for (;;)
            pause();
    }
    close(ready[1]);
    char begun = 0;
    ASSERT_EQ(read(ready[0], &begun, 1), 1);
    close(ready[0]);
    ASSERT_EQ(begun, 1);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    EXPECT_EQ(ReadWholeFile(target), "old");
    EXPECT_EQ(Entries(folder.Path()).size(), 2u);

    ASSERT_TRUE(LSafeWriteFile(target.c_str(), "new", 3));
    EXPECT_EQ(ReadWholeFile(target), "new");
    EXPECT_EQ(Entries(folder.Path()), std::vector<std::string>{"settings.xml"});
}
