#include "ToolRun.h"

#include "../app/AppTestFiles.h"
#include "base/LFile.h"

#include <gtest/gtest.h>

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
