#include "ToolRun.h"

#include "../app/AppTestFiles.h"
#include "app/DJLibrary.h"
#include "base/LFile.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

// orvane-tool started with its stderr on a pseudo-terminal, so that it draws its progress line
// as it does for a user, and its stdout in a file.
struct TerminalRun {
    pid_t pid = -1;
    int terminal = -1;  // our side: the tool's stderr as it writes it

    TerminalRun(const std::vector<std::string>& arguments, const std::string& outPath)
    {
        terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
            return;
        const std::string side = ptsname(terminal);
        std::vector<std::string> words{ORVANE_TOOL_PATH};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        pid = fork();
        if (pid == 0) {
            const int err = open(side.c_str(), O_RDWR | O_NOCTTY);
            const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (err < 0 || out < 0 || dup2(err, 2) < 0 || dup2(out, 1) < 0)
                _exit(127);
            execv(argv[0], argv.data());
            _exit(127);
        }
    }
    ~TerminalRun()
    {
        if (terminal >= 0)
            close(terminal);
    }

    // Reads what the tool draws until `done` says so (true) or the tool has closed the terminal.
    template <class Done>
    bool ReadUntil(std::string& seen, Done done)
    {
        char buffer[4096];
        for (;;) {
            const ssize_t got = read(terminal, buffer, sizeof buffer);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return false;  // EIO: every copy of the tool's side is closed
            seen.append(buffer, static_cast<size_t>(got));
            if (done(seen))
                return true;
        }
    }

    // The exit code, or -1 when the tool did not exit by itself.
    int Wait()
    {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

// The highest percentage the progress line has shown, or -1.
int HighestPercent(const std::string& drawn)
{
    static const std::regex kPercent(R"(\] +([0-9]+)%)");
    int highest = -1;
    for (auto it = std::sregex_iterator(drawn.begin(), drawn.end(), kPercent); it != std::sregex_iterator(); ++it)
        highest = std::max(highest, std::stoi((*it)[1].str()));
    return highest;
}

std::vector<std::string> FolderNames(const std::string& folder)
{
    std::vector<std::string> names;
    if (DIR* dir = opendir(folder.c_str())) {
        while (const dirent* entry = readdir(dir))
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..")
                names.push_back(entry->d_name);
        closedir(dir);
    }
    return names;
}

}  // namespace

TEST(LibraryCommand, AddListExportAndTags)
{
    TestHome home;
    LFile::CreateFolderTree((home / "music/sub").c_str());
    WriteFile(home / "music/a.wav", WaveFile(44100));
    WriteFile(home / "music/sub/.b.wav", WaveFile(44100));
    Bytes info;
    Append(info, "INFO");
    for (const Bytes& c : {Chunk("INAM", TextBytes("Named")), Chunk("IART", TextBytes("Someone"))})
        info.insert(info.end(), c.begin(), c.end());
    WriteFile(home / "tagged.wav", WaveFile(88200, {Chunk("LIST", info)}));

    ToolRun add = RunTool(home, "library add " + home / "music" + " " + home / "tagged.wav");
    EXPECT_EQ(add.exitCode, 0) << add.err;
    EXPECT_EQ(add.out, "added 2 tracks to " + home / ".local/share/Orvane/library.xml\n");

    ToolRun list = RunTool(home, "library list");
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.out, "a\tUnknown\tUnknown\t0:00:01.0\t-\t" + home / "music/a.wav\n" +
                            "Named\tSomeone\tUnknown\t0:00:02.0\t-\t" + home / "tagged.wav\n");

    ToolRun again = RunTool(home, "library add " + home / "tagged.wav" + " " + home / "absent.wav");
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_NE(again.err.find("A file with name tagged.wav already exists"), std::string::npos);
    EXPECT_NE(again.err.find("absent.wav"), std::string::npos);

    EXPECT_EQ(RunTool(home, "library export " + home / "out.M3U").exitCode, 0);
    EXPECT_EQ(ReadText(home / "out.M3U"), "music/a.wav\ntagged.wav\n");
    EXPECT_EQ(RunTool(home, "library export " + home / "out.txt").exitCode, 2);
    EXPECT_EQ(RunTool(home, "library export " + home / "no/such/folder/x.xml").exitCode, 1);
    EXPECT_EQ(RunTool(home, "library").exitCode, 2);

    ToolRun tags = RunTool(home, "tags " + home / "tagged.wav");
    EXPECT_EQ(tags.exitCode, 0);
    EXPECT_EQ(tags.out, "ARTIST: Someone\nTITLE: Named\n");
    EXPECT_EQ(RunTool(home, "tags " + home / "absent.mp3").exitCode, 1);
    EXPECT_EQ(RunTool(home, "tags").exitCode, 2);
}

TEST(LibraryCommand, ADamagedLibraryIsListedAndKeptAside)
{
    TestHome home;
    const std::string file = home / ".local/share/Orvane/library.xml";
    LFile::CreateFolderTree((home / ".local/share/Orvane").c_str());
    const std::string damaged = "<playlist>\n\t<playitem>\n\t\t<path>/x/keep.wav</path>\n\t\t<title>Keep</title>\n\t</playitem>\n\t<playi";
    WriteText(file, damaged);
    ToolRun list = RunTool(home, "library list");
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_EQ(list.out.substr(0, 5), "Keep\t");
    WriteFile(home / "new.wav", WaveFile(100));
    EXPECT_EQ(RunTool(home, "library add " + home / "new.wav").exitCode, 0);
    EXPECT_EQ(ReadText(file + ".bad"), damaged);
    EXPECT_NE(ReadText(file).find("/x/keep.wav"), std::string::npos);
}

// Ctrl-C in the middle of an add, as a user at a terminal gives it once the bar has moved: the
// tool stops with a failure code and the library holds, whole, what was added until then.
TEST(LibraryCommand, CtrlCDuringAnAddKeepsWhatWasAdded)
{
    constexpr int kFiles = 1500;
    TestHome home;
    LFile::CreateFolderTree((home / "music").c_str());
    const Bytes wave = WaveFile(100);
    for (int i = 0; i < kFiles; ++i)
        WriteFile(home / ("music/t" + std::to_string(i) + ".wav"), wave);

    TerminalRun run({"library", "add", home / "music"}, home / "stdout.txt");
    ASSERT_GE(run.pid, 0);
    std::string drawn;
    const bool moved = run.ReadUntil(drawn, [](const std::string& text) { return HighestPercent(text) >= 1; });
    const int percentAtSignal = HighestPercent(drawn);
    ASSERT_EQ(kill(run.pid, SIGINT), 0);
    run.ReadUntil(drawn, [](const std::string&) { return false; });
    const int exitCode = run.Wait();

    ASSERT_TRUE(moved) << "the tool ended before its bar moved:" << drawn;
    ASSERT_LT(percentAtSignal, 100) << "every file was added before the signal";
    EXPECT_EQ(exitCode, 1) << drawn;
    EXPECT_NE(drawn.find("stopped; the tracks added until then are kept"), std::string::npos) << drawn;

    const std::string folder = home / ".local/share/Orvane";
    DJLibrary library(nullptr);
    ASSERT_TRUE(library.LoadFrom(folder + "/library.xml"));
    EXPECT_FALSE(library.IsLoadedFileDamaged());
    const size_t count = library.GetList().Count();
    EXPECT_GE(count, std::max<size_t>(1, static_cast<size_t>(percentAtSignal * kFiles / 100) - 1));
    EXPECT_LT(count, static_cast<size_t>(kFiles));
    std::set<std::string> paths;
    for (const auto& item : library.GetList().GetItems()) {
        EXPECT_EQ(std::string(item->GetPath()).rfind(home / "music/t", 0), 0u) << item->GetPath();
        EXPECT_EQ(item->Parms().GetInt("samplerate", 0), 44100) << item->GetPath();
        paths.insert(item->GetPath());
    }
    EXPECT_EQ(paths.size(), count);
    EXPECT_EQ(ReadText(home / "stdout.txt"),
              "added " + std::to_string(count) + " tracks to " + folder + "/library.xml\n");
    EXPECT_EQ(FolderNames(folder), std::vector<std::string>{"library.xml"});  // no temporary beside it
}
