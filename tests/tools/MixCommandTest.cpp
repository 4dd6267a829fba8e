// mix stopped from outside: Ctrl-C and SIGTERM leave OUT as it was and no temporary; a run
// killed outright leaves its temporaries, which the next write of OUT removes.
#include "ToolRun.h"

#include "analysis/ClickTrain.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <string>
#include <vector>

extern char** environ;

namespace {

constexpr int kFailAfterMs = 120 * 1000;  // a mix that never gets going fails the test, not hangs it
constexpr off_t kRunningBytes = 256 * 1024;  // a temporary this big: the console is playing

std::set<std::string> Entries(const std::string& folder)
{
    std::set<std::string> names;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* e = readdir(dir))
            if (std::string(e->d_name) != "." && std::string(e->d_name) != "..")
                names.insert(e->d_name);
        closedir(dir);
    }
    return names;
}

bool IsTemporaryOf(const std::string& name, const std::string& target)
{
    const std::string stem = "." + target + ".";
    return name.compare(0, stem.size(), stem) == 0 && name.size() > 4 && name.substr(name.size() - 4) == ".tmp";
}

// The mix as a child of this process, so that signals reach it as a terminal's would.
pid_t StartMix(const TempFolder& folder, const std::vector<std::string>& arguments)
{
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, (folder / "stdout.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&files, 2, (folder / "stderr.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> all{ORVANE_TOOL_PATH, "mix"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& a : all)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &files, nullptr, argv.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&files);
    return pid;
}

// Waits on the folder's changes until a temporary of `target` has grown past kRunningBytes.
bool WaitUntilMixing(const TempFolder& folder, const std::string& target)
{
    const int watch = inotify_init1(IN_CLOEXEC);
    if (watch < 0 || inotify_add_watch(watch, folder.Path().c_str(), IN_MODIFY | IN_CREATE) < 0)
        return false;
    bool mixing = false;
    pollfd changed{watch, POLLIN, 0};
    while (!mixing && poll(&changed, 1, kFailAfterMs) == 1) {
        char events[8192];
        if (read(watch, events, sizeof events) <= 0)
            break;
        for (const std::string& name : Entries(folder.Path())) {
            struct stat info;
            mixing = mixing || (IsTemporaryOf(name, target) && stat((folder / name).c_str(), &info) == 0 &&
                                info.st_size > kRunningBytes);
        }
    }
    close(watch);
    return mixing;
}

// How the child ended: its exit code, or minus the signal that ended it (a mix that handled
// the signal exits with a code of its own).
int WaitForEnd(pid_t pid)
{
    int status = 0;
    if (waitpid(pid, &status, 0) != pid)
        return INT_MIN;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

pid_t DeadProcess()
{
    const pid_t pid = fork();
    if (pid == 0)
        _exit(0);
    waitpid(pid, nullptr, 0);
    return pid;
}

class MixSignal : public testing::Test {
protected:
    void SetUp() override
    {
        // Long enough that the mix is still playing when the signal comes.
        ASSERT_TRUE(WriteStereoWave(a, MakeClickTrain({.bpm = 125, .seconds = 60})));
        ASSERT_TRUE(WriteStereoWave(b, MakeClickTrain({.bpm = 128, .seconds = 60})));
        WriteWholeFile(out, "the mix of yesterday, not to be lost");
        WriteWholeFile(folder / "stdout.txt", "");
        WriteWholeFile(folder / "stderr.txt", "");
    }
    std::vector<std::string> Arguments() const { return {a, b, "-o", out, "--fade", "4"}; }

    TempFolder folder;
    const std::string a = folder / "a.wav", b = folder / "b.wav", out = folder / "out.wav";
};

TEST_F(MixSignal, CtrlCAndTermStopTheMixAndLeaveTheFormerFileAlone)
{
    const struct {
        int signal;
        int exitCode;
    } cases[] = {{SIGINT, 130}, {SIGTERM, 143}};
    for (const auto& c : cases) {
        SCOPED_TRACE(strsignal(c.signal));
        // What a killed run left: it goes with this write of the same file.
        const std::string stale = "." + std::string("out.wav.") + std::to_string(DeadProcess()) + "-0.tmp";
        WriteWholeFile(folder / stale, "half a recording");
        const std::set<std::string> before = Entries(folder.Path());

        const pid_t mix = StartMix(folder, Arguments());
        ASSERT_GT(mix, 0);
        const bool mixing = WaitUntilMixing(folder, "out.wav");
        kill(mix, c.signal);
        EXPECT_TRUE(mixing) << ReadWholeFile(folder / "stderr.txt");
        EXPECT_EQ(WaitForEnd(mix), c.exitCode) << ReadWholeFile(folder / "stderr.txt");

        EXPECT_NE(ReadWholeFile(folder / "stderr.txt").find("interrupted"), std::string::npos);
        EXPECT_EQ(ReadWholeFile(out), "the mix of yesterday, not to be lost");
        std::set<std::string> expected = before;
        expected.erase(stale);
        EXPECT_EQ(Entries(folder.Path()), expected);
    }
}

TEST_F(MixSignal, AKilledRunsTemporariesGoWithTheNextWrite)
{
    const pid_t mix = StartMix(folder, Arguments());
    ASSERT_GT(mix, 0);
    const bool mixing = WaitUntilMixing(folder, "out.wav");
    kill(mix, SIGKILL);
    ASSERT_TRUE(mixing);
    ASSERT_EQ(WaitForEnd(mix), -SIGKILL);
    int left = 0;
    for (const std::string& name : Entries(folder.Path()))
        left += IsTemporaryOf(name, "out.wav");
    EXPECT_EQ(left, 2);  // the recording and the capture device's file
    EXPECT_EQ(ReadWholeFile(out), "the mix of yesterday, not to be lost");

    const ToolRun next = RunTool(folder, "mix " + a + " " + b + " -o " + out + " --length 1");
    ASSERT_EQ(next.exitCode, 0) << next.err;
    EXPECT_EQ(ReadWave(out).size(), size_t(44100 * 2));
    for (const std::string& name : Entries(folder.Path()))
        EXPECT_FALSE(IsTemporaryOf(name, "out.wav")) << name;
}

}  // namespace
