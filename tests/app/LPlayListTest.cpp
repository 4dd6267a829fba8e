#include "app/LPlayList.h"

#include "app/AppTestFiles.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace {

std::vector<std::string> Paths(const LPlayList& list)
{
    std::vector<std::string> out;
    for (const auto& item : list.GetItems())
        out.push_back(item->GetPath());
    return out;
}

std::vector<int> Indexes(const LPlayList& list)
{
    std::vector<int> out;
    for (const auto& item : list.GetItems())
        out.push_back(item->GetIndex());
    return out;
}

LPlayList& Fill(LPlayList& list, std::initializer_list<const char*> paths)
{
    for (const char* path : paths)
        list.AddSingleTrack(path);
    return list;
}

TEST(LPlayListTest, XmlWrittenAndReadBackIsByteIdentical)
{
    TempFolder folder;
    LPlayList list;
    LPlayItem item("/music/a & b.wav");
    item.Parms().SetString("title", "Say \"hi\"");
    item.Parms().SetString("cuemarkpos", "0");
    list.AddItem(item);
    list.AddSingleTrack("/music/c.wav");
    const std::string first = folder / "one.xml", second = folder / "two.xml";
    ASSERT_GT(list.SaveToXml(first.c_str()), 0);
    EXPECT_EQ(ReadText(first), "<playlist>\n\n\t<playitem>\n\t\t<path>/music/a &amp; b.wav</path>\n"
                               "\t\t<cuemarkpos>0</cuemarkpos>\n\t\t<title>Say &quot;hi&quot;</title>\n"
                               "\t</playitem>\n\n\t<playitem>\n\t\t<path>/music/c.wav</path>\n\t</playitem>\n\n"
                               "</playlist>\n");
    LPlayList back;
    back.LoadXml(first.c_str());
    ASSERT_EQ(back.Count(), 2u);
    EXPECT_STREQ(back.GetItem(0)->Parms().GetParm("title", ""), "Say \"hi\"");
    ASSERT_GT(back.SaveToXml(second.c_str()), 0);
    EXPECT_EQ(ReadText(second), ReadText(first));
}

TEST(LPlayListTest, EscapingDropsAngleBracketsAndCutsAt259)
{
    struct Case {
        std::string in, out;
    } cases[] = {
        {"a<b>c", "abc"},
        {"x\r\ny", "x<br>y"},
        {"x\n\ny", "x<p>y"},
        {"x\r\n\r\ny", "x<p>y"},
        {"x\ry", "x<br>y"},
        {std::string(300, 'a'), std::string(259, 'a')},
        // An entity that does not fit whole is left out rather than cut.
        {std::string(257, 'a') + "&", std::string(257, 'a')},
        // So is a UTF-8 sequence.
        {std::string(258, 'a') + "\xc3\xa9", std::string(258, 'a')},
        // A broken sequence is copied byte by byte and hides no markup.
        {"\xf4h><x", "\xf4hx"},
    };
    for (const Case& c : cases) {
        std::string out;
        LHTMLEncodeToWriter(out, c.in.c_str());
        EXPECT_EQ(out, c.out) << c.in.substr(0, 20);
        EXPECT_LE(out.size(), 259u);
    }
}

TEST(LPlayListTest, SaveChoosesTheWriterByExtensionInAnyCase)
{
    TempFolder folder;
    LPlayList list;
    Fill(list, {(folder / "track.wav").c_str()});
    const std::string upper = folder / "A.M3U";
    EXPECT_GT(list.Save(upper.c_str(), false), 0);
    EXPECT_EQ(ReadText(upper), "track.wav\n");  // the bare name of a track beside the list
    EXPECT_GT(list.Save((folder / "b.Pls").c_str(), false), 0);
    EXPECT_EQ(ReadText(folder / "b.Pls"), "[playlist]\nFile1=track.wav\nNumberOfEntries=1\n\nVersion=2");
    EXPECT_EQ(list.Save((folder / "c.txt").c_str(), false), 0);
    EXPECT_FALSE(LFile::Exists((folder / "c.txt").c_str()));
    EXPECT_LT(list.Save((folder / "missing/d.m3u").c_str(), false), 0);
}

TEST(LPlayListTest, ExtendedListsCarryTitleAndSeconds)
{
    TempFolder folder;
    const std::string track = folder / "Song.wav";
    WriteFile(track, WaveFile(44100 * 2 + 30000));
    LPlayList list;
    Fill(list, {track.c_str()});
    ASSERT_GT(list.SaveToM3u((folder / "x.m3u").c_str(), true), 0);
    EXPECT_EQ(ReadText(folder / "x.m3u"), "#EXTM3U\n#EXTINF:3,Song\nSong.wav\n");
    ASSERT_GT(list.SaveToPls((folder / "x.pls").c_str(), true), 0);
    EXPECT_EQ(ReadText(folder / "x.pls"),
              "[playlist]\nFile1=Song.wav\nTitle1=Song\nLength1=3\nNumberOfEntries=1\n\nVersion=2");
}

TEST(LPlayListTest, M3uAndPlsReading)
{
    TempFolder folder;
    struct Case {
        const char* name;
        const char* text;
        std::vector<std::string> paths;  // relative ones lie in the folder
    } cases[] = {
        {"a.m3u", "#EXTM3U\r\n#EXTINF:3,x\r\n  one.mp3  \r\n\r\n/abs/two.mp3\rC:\\three.mp3\n", {"@one.mp3", "/abs/two.mp3", "C:\\three.mp3"}},
        {"b.pls", "[playlist]\n  File1=a.mp3  \nTitle1=x\nfile2=/b.mp3\nNumberOfEntries=2\n", {"@a.mp3", "/b.mp3"}},
        {"c.M3U", "one.mp3\n", {}},  // the reader itself wants the lower-case extension
        {"d.pls", "File1=\n", {}},
    };
    for (const Case& c : cases) {
        const std::string path = folder / c.name;
        WriteText(path, c.text);
        LPlayList list;
        if (std::strstr(c.name, ".pls"))
            list.LoadPls(path.c_str());
        else
            list.LoadM3u(path.c_str());
        std::vector<std::string> expected;
        for (const std::string& p : c.paths)
            expected.push_back(p[0] == '@' ? folder / p.substr(1) : p);
        EXPECT_EQ(Paths(list), expected) << c.name;
    }
    LPlayList any;
    any.Load((folder / "c.M3U").c_str());  // Load goes by the extension in any case
    EXPECT_EQ(Paths(any), std::vector<std::string>{folder / "one.mp3"});
}

TEST(LPlayListTest, RemoveAndMoveKeepIndexOrder)
{
    LPlayList list;
    Fill(list, {"a", "b", "c", "d"});
    list.RemoveSingleItem(99);
    EXPECT_EQ(Indexes(list), (std::vector<int>{0, 1, 2, 3}));
    list.GetItem(2)->SetIndex(7);
    list.RemoveSingleItem(42);  // unknown: nothing goes, but all are numbered again
    EXPECT_EQ(Indexes(list), (std::vector<int>{0, 1, 2, 3}));
    list.RemoveSingleItem(1);
    EXPECT_EQ(Paths(list), (std::vector<std::string>{"a", "c", "d"}));
    EXPECT_EQ(Indexes(list), (std::vector<int>{0, 1, 2}));

    LPlayList moving;
    Fill(moving, {"a", "b", "c", "d"});
    moving.MoveSingleItem(3, 1);
    EXPECT_EQ(Paths(moving), (std::vector<std::string>{"a", "d", "b", "c"}));
    moving.MoveSingleItem(0, 2);
    EXPECT_EQ(Paths(moving), (std::vector<std::string>{"d", "b", "a", "c"}));
    EXPECT_EQ(Indexes(moving), (std::vector<int>{0, 1, 2, 3}));

    LPlayList same;
    Fill(same, {"x", "a", "b", "x"});
    same.MoveSingleItem(0, 2);  // the second "x" is told apart by path and keeps its index
    EXPECT_EQ(Paths(same), (std::vector<std::string>{"a", "b", "x", "x"}));
    EXPECT_EQ(Indexes(same), (std::vector<int>{0, 1, 2, 3}));
    same.MoveSingleItem(2, 3);  // two items of one path: nothing happens
    EXPECT_EQ(Indexes(same), (std::vector<int>{0, 1, 2, 3}));
}

TEST(LPlayListTest, SortIsStableAcrossRunsAndSaysWhetherAnythingMoved)
{
    LPlayList empty, one;
    EXPECT_FALSE(empty.Sort());
    Fill(one, {"a"});
    one.GetItem(0)->SetIndex(5);
    EXPECT_FALSE(one.Sort());

    for (int count : {4, 50, 51, 137, 1000}) {
        LPlayList list;
        for (int i = 0; i < count; ++i)
            list.AddSingleTrack(std::to_string(i).c_str());
        EXPECT_FALSE(list.Sort()) << count;
        // Keys in reverse order with ties of three: equal keys keep their order of arrival.
        for (int i = 0; i < count; ++i)
            list.GetItem(static_cast<size_t>(i))->SetIndex((count - 1 - i) / 3);
        EXPECT_TRUE(list.Sort()) << count;
        for (int i = 1; i < count; ++i) {
            const LPlayItem& a = *list.GetItem(static_cast<size_t>(i - 1));
            const LPlayItem& b = *list.GetItem(static_cast<size_t>(i));
            ASSERT_LE(a.GetIndex(), b.GetIndex()) << count;
            if (a.GetIndex() == b.GetIndex()) {
                ASSERT_LT(std::stoi(a.GetPath()), std::stoi(b.GetPath())) << count;
            }
        }
    }
}

TEST(LPlayListTest, MakePathRelative)
{
    struct Case {
        const char* path;
        const char* list;
        const char* out;
    } cases[] = {
        {"/m/a/b.mp3", "/m/a/l.m3u", "b.mp3"},
        {"/m/a/sub/b.mp3", "/m/a/l.m3u", "sub/b.mp3"},
        {"/x/b.mp3", "/m/a/l.m3u", "/x/b.mp3"},
        {"/m/a", "/m/a/l.m3u", "/m/a"},
        {"/m/b.mp3", "l.m3u", "/m/b.mp3"},
        {"/data/m/a/b.mp3", "/m/a/l.m3u", "/data/m/a/b.mp3"},
        {"/m/ab/c.mp3", "/m/a/l.m3u", "/m/ab/c.mp3"},
        {"/b.mp3", "/l.m3u", "b.mp3"},
    };
    for (const Case& c : cases) {
        char out[LFile::kPathBytes];
        LPlayList::MakePathRelative(out, c.path, c.list);
        EXPECT_STREQ(out, c.out) << c.path;
    }
}

TEST(LPlayListTest, IsPlayListFileAndBrokenXml)
{
    for (const char* yes : {"a.m3u", "a.PLS", "/x/y.Xml"})
        EXPECT_TRUE(LPlayList::IsPlayListFile(yes)) << yes;
    for (const char* no : {"a.mp3", "m3u", "a.m3u8", ""})
        EXPECT_FALSE(LPlayList::IsPlayListFile(no)) << no;
    LPlayList list;
    EXPECT_FALSE(list.LoadXmlText("<playlist><playitem><path>/a</path></playitem><playitem><path>/b"));
    EXPECT_EQ(Paths(list), (std::vector<std::string>{"/a", "/b"}));
}

}  // namespace

namespace {

std::string Dump(const LPlayList& list)
{
    std::string out;
    for (const auto& item : list.GetItems()) {
        out += std::string(item->GetPath()) + "|";
        for (const LHashNode& node : item->Parms())
            out += std::string(node.GetKey()) + "=" + node.GetData() + ";";
        out += "\n";
    }
    return out;
}

TEST(LPlayListTest, TheDirectReaderReadsAsTheTreeReader)
{
    const std::string head = "<playlist>\n\n\t<playitem>\n\t\t<path>/a</path>\n";
    const std::string tail = "\t</playitem>\n\n</playlist>\n";
    for (const std::string& fields : {std::string("\t\t<t>x &amp; &apos;y&quot; &lt;</t>\n"),
                                      std::string("\t\t<t> spaced </t>\n\t\t<t>again</t>\n\t\t<e></e>\n"),
                                      std::string("\t\t<t>a<br>b</t>\n"),
                                      std::string("\t\t<t>&#65;</t>\n"),
                                      std::string("\t\t<t>x</u>\n"),
                                      std::string("\t\t<path>/b</path>\n"),
                                      std::string("\r\n\t\t<t>x</t>\n")}) {
        const std::string text = head + fields + tail;
        LPlayList direct, tree;
        direct.LoadXmlText(text.c_str());
        tree.LoadXmlTree(text.c_str());
        EXPECT_EQ(Dump(direct), Dump(tree)) << fields;
    }
}

// The written form read piece by piece: any cut into pieces reads as the whole text does, and
// no prefix of a list (a file cut short) passes as a whole one.
TEST(LPlayListTest, TheDirectReaderTakesTextInAnyPieces)
{
    LPlayList list;
    for (int i = 0; i < 3; ++i) {
        LPlayItem item(("/m/" + std::to_string(i) + " &amp; \"x\".wav").c_str());
        item.Parms().SetString("title", std::string(i * 40 + 1, 't').c_str());
        item.Parms().SetString("bpm", "120.00");
        list.AddItem(item);
    }
    const std::string text = list.FormatXml();
    const std::string whole = Dump(list);
    for (size_t piece : {size_t{1}, size_t{2}, size_t{5}, size_t{13}, size_t{64}, text.size()}) {
        LPlayListWrittenXmlReader reader;
        for (size_t at = 0; at < text.size(); at += piece)
            ASSERT_TRUE(reader.Feed(text.data() + at, std::min(piece, text.size() - at))) << piece;
        LPlayList read;
        ASSERT_TRUE(reader.Finish(read)) << piece;
        EXPECT_EQ(Dump(read), whole) << piece;
    }
    for (size_t cut = 0; cut < text.size(); ++cut) {
        LPlayListWrittenXmlReader reader;
        LPlayList read;
        reader.Feed(text.data(), cut);
        EXPECT_FALSE(reader.Finish(read)) << cut;
        EXPECT_TRUE(read.IsEmpty()) << cut;
    }
}

// A file is read in pieces of 256 KB: what it gives must not depend on where a piece ends, on
// good files and on files the direct reader gives up on late.
TEST(LPlayListTest, ReadingAFileAgreesWithReadingItsText)
{
    TempFolder folder;
    LPlayList list;
    for (int i = 0; i < 3000; ++i) {
        LPlayItem item(("/music/artist " + std::to_string(i % 97) + "/track " + std::to_string(i) + ".mp3").c_str());
        item.Parms().SetString("title", ("Title " + std::to_string(i)).c_str());
        item.Parms().SetString("length", std::to_string(1000 + i).c_str());
        list.AddItem(item);
    }
    const std::string good = list.FormatXml();
    ASSERT_GT(good.size(), 300000u);  // more than one piece
    std::string lateBreak = good;
    lateBreak.insert(good.size() - 5000, "<unclosed>");
    std::string lateNul = good;
    lateNul[good.size() - 3000] = 0;
    for (const auto& [name, text] : {std::pair{"good", good}, {"late break", lateBreak}, {"late zero byte", lateNul},
                                     {"trailing text", good + "x"}, {"cut", good.substr(0, good.size() - 1)}}) {
        const std::string path = folder / "list.xml";
        WriteText(path, text);
        LPlayList fromFile, fromText;
        EXPECT_EQ(fromFile.LoadXmlFile(path.c_str()), fromText.LoadXmlText(text.c_str())) << name;
        EXPECT_EQ(Dump(fromFile), Dump(fromText)) << name;
        if (std::string(name) == "good") {
            EXPECT_EQ(Dump(fromFile), Dump(list));
        }
    }
    LPlayList none;
    EXPECT_FALSE(none.LoadXmlFile((folder / "absent.xml").c_str()));
}

}  // namespace
