#include "app/LAudioTagData.h"

#include "app/AppTestFiles.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

namespace {

using Tags = std::map<std::string, std::string>;

Tags TagsOf(const LAudioTagData& data)
{
    Tags out;
    for (const LHashNode& node : data)
        out[node.GetKey()] = node.GetData();
    return out;
}

Tags ReadBytes(const char* extension, const Bytes& bytes, int kind = LAudioTagData::kReadAll)
{
    LAudioTagData data;
    data.SetPictureFolder("");
    data.ReadTagsFromBytes(extension, bytes.data(), bytes.size(), kind);
    return TagsOf(data);
}

// An ID3v1 tag: fields padded with zeros; track 0 keeps the v1.0 comment.
Bytes ID3v1(const std::string& title, const std::string& artist, int track, int genre)
{
    Bytes out;
    Append(out, "TAG");
    for (const Bytes& field : {TextBytes(title, 30), TextBytes(artist, 30), TextBytes("Album1", 30),
                               TextBytes("1999", 4), TextBytes("note", 28)})
        out.insert(out.end(), field.begin(), field.end());
    out.push_back(0);
    out.push_back(static_cast<uint8_t>(track));
    out.push_back(static_cast<uint8_t>(genre));
    return out;
}

Bytes Frame(int version, const std::string& id, const Bytes& data)
{
    Bytes out;
    Append(out, id);
    const uint32_t size = static_cast<uint32_t>(data.size());
    if (version == 2) {
        for (int shift : {16, 8, 0})
            out.push_back(static_cast<uint8_t>(size >> shift));
    } else {
        if (version == 4)
            for (int shift : {21, 14, 7, 0})
                out.push_back(static_cast<uint8_t>((size >> shift) & 0x7f));
        else
            AppendBE32(out, size);
        out.push_back(0);
        out.push_back(0);
    }
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

Bytes TextFrame(int version, const std::string& id, const std::string& text, uint8_t encoding = 0)
{
    Bytes data{encoding};
    Append(data, text);
    return Frame(version, id, data);
}

Bytes ID3v2(int version, const std::vector<Bytes>& frames, size_t padding = 0, uint8_t flags = 0)
{
    Bytes body;
    for (const Bytes& f : frames)
        body.insert(body.end(), f.begin(), f.end());
    body.resize(body.size() + padding, 0);
    Bytes out;
    Append(out, "ID3");
    out.push_back(static_cast<uint8_t>(version));
    out.push_back(0);
    out.push_back(flags);
    const uint32_t size = static_cast<uint32_t>(body.size());
    for (int shift : {21, 14, 7, 0})
        out.push_back(static_cast<uint8_t>((size >> shift) & 0x7f));
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

Bytes Concat(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

TEST(LAudioTagDataTest, ID3v2WinsAndID3v1FillsGaps)
{
    const Bytes file = Concat({ID3v2(3, {TextFrame(3, "TIT2", "Two Title")}), Bytes(500, 0x55), ID3v1("One Title", "One Artist", 7, 17)});
    const Tags tags = ReadBytes(".mp3", file);
    EXPECT_EQ(tags.at("TITLE"), "Two Title");
    EXPECT_EQ(tags.at("ARTIST"), "One Artist");
    EXPECT_EQ(tags.at("ALBUM"), "Album1");
    EXPECT_EQ(tags.at("YEAR"), "1999");
    EXPECT_EQ(tags.at("TRACKNUMBER"), "7");
    EXPECT_EQ(tags.at("GENRE"), "Rock");
    EXPECT_EQ(tags.at("COMMENT"), "note");
}

TEST(LAudioTagDataTest, ID3v1Fields)
{
    struct Case {
        std::string title;
        int track, genre;
        const char* wantTitle;
        const char* wantGenre;
        bool hasTrack;
    } cases[] = {
        {std::string(30, ' '), 0, 0, "", "Blues", false},
        {"  Padded \xe9 ", 3, 147, "Padded \xc3\xa9", "Synthpop", true},
        {"X", 0, 148, "X", "", false},
        {"X", 0, 255, "X", "", false},
    };
    for (const Case& c : cases) {
        const Tags tags = ReadBytes(".mp3", ID3v1(c.title, "A", c.track, c.genre));
        EXPECT_EQ(tags.at("TITLE"), c.wantTitle);
        EXPECT_EQ(tags.at("GENRE"), c.wantGenre);
        EXPECT_EQ(tags.count("TRACKNUMBER"), c.hasTrack ? 1u : 0u);
    }
}

TEST(LAudioTagDataTest, ID3v2FramesAcrossVersions)
{
    Bytes utf16LE{1, 0xff, 0xfe, 'H', 0, 'i', 0, 0, 0};
    Bytes utf16BE{1, 0xfe, 0xff, 0, 'Y', 0, 'o', 0, 0};
    Bytes noMark{1, 'N', 0, 'o', 0};  // machine order: little-endian here
    Bytes plainBE{2, 0, 'B', 0, 'E'};
    Bytes comm{0, 'e', 'n', 'g'};
    Append(comm, std::string("iTunNORM") + '\0' + "skip me");
    Bytes comm2{0, 'e', 'n', 'g', 0};
    Append(comm2, "kept");
    Bytes popm;
    Append(popm, std::string("a@b") + '\0');
    popm.push_back(196);
    Bytes pcnt;
    AppendBE32(pcnt, 1234);
    Bytes wxxx{0, 'd', 0};
    Append(wxxx, "http://x");
    const Bytes v3 = ID3v2(3, {Frame(3, "TPE1", utf16LE), Frame(3, "TALB", utf16BE), Frame(3, "TCOM", noMark),
                               Frame(3, "TENC", plainBE), Frame(3, "COMM", comm), Frame(3, "COMM", comm2),
                               Frame(3, "POPM", popm), Frame(3, "PCNT", pcnt), Frame(3, "WXXX", wxxx),
                               TextFrame(3, "TCON", "(17)"), TextFrame(3, "TXXX", "ignored"),
                               TextFrame(3, "TBPM", "128", 3), TextFrame(3, "TZZZ", "own key")},
                           64);
    const Tags tags = ReadBytes(".mp3", v3);
    const Tags expected = {{"ARTIST", "Hi"}, {"ALBUM", "Yo"}, {"COMPOSER", "No"}, {"ENCODEDBY", "BE"},
                           {"COMMENT", "kept"}, {"RATING", "196"}, {"PLAYCOUNT", "1234"}, {"URL", "http://x"},
                           {"GENRE", "Rock"}, {"BPM", "128"}, {"TZZZ", "own key"}};
    EXPECT_EQ(tags, expected);

    const Tags v2 = ReadBytes(".mp3", ID3v2(2, {TextFrame(2, "TT2", "Old"), TextFrame(2, "TCO", "(200)")}));
    EXPECT_EQ(v2, (Tags{{"TITLE", "Old"}, {"GENRE", "(200)"}}));
    // Version 4 sizes are 7-bit groups: a frame of 200 bytes reads whole.
    const std::string longTitle(199, 't');
    const Tags v4 = ReadBytes(".mp3", ID3v2(4, {TextFrame(4, "TIT2", longTitle), TextFrame(4, "TPE1", "After")}));
    EXPECT_EQ(v4, (Tags{{"TITLE", longTitle}, {"ARTIST", "After"}}));
}

TEST(LAudioTagDataTest, ID3v2EndsAtBadFrames)
{
    Bytes hugeSize;
    Append(hugeSize, "TPE1");
    AppendBE32(hugeSize, 0xffffffffu);
    hugeSize.insert(hugeSize.end(), {0, 0, 0, 'x'});
    Bytes unsynchsafe = ID3v2(3, {TextFrame(3, "TIT2", "T")});
    unsynchsafe[9] |= 0x80;
    const Bytes whole = ID3v2(3, {TextFrame(3, "TIT2", "Tit")});
    struct Case {
        const char* what;
        Bytes file;
        Tags expected;
    } cases[] = {
        {"lower-case id", ID3v2(3, {TextFrame(3, "TIT2", "T"), TextFrame(3, "Tpe1", "no"), TextFrame(3, "TALB", "no")}), {{"TITLE", "T"}}},
        {"size 4 GB", ID3v2(3, {TextFrame(3, "TIT2", "T"), hugeSize, TextFrame(3, "TALB", "no")}), {{"TITLE", "T"}}},
        {"size 0", ID3v2(3, {Frame(3, "TIT2", {}), TextFrame(3, "TALB", "A")}), {{"ALBUM", "A"}}},
        {"tag past the end", Bytes(whole.begin(), whole.end() - 2), {}},
        {"synchsafe violation", unsynchsafe, {}},
        {"version 5", ID3v2(5, {TextFrame(3, "TIT2", "T")}), {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ReadBytes(".mp3", c.file), c.expected) << c.what;
}

TEST(LAudioTagDataTest, ID3v2UnsynchronisationAndExtendedHeader)
{
    // Unsynchronised: every 0xFF of the tag is followed by a 0 that the reader drops.
    Bytes frame = TextFrame(3, "TIT2", "a\xff" "b");
    Bytes unsync;
    for (uint8_t b : frame) {
        unsync.push_back(b);
        if (b == 0xff)
            unsync.push_back(0);
    }
    // Frame sizes count the bytes before unsynchronisation, the tag's size those stored.
    const Bytes stored = ID3v2(3, {unsync}, 0, 0x80);
    EXPECT_EQ(ReadBytes(".mp3", stored).at("TITLE"), "a\xc3\xbf" "b");

    Bytes extended;
    AppendBE32(extended, 6);
    extended.resize(10, 0);
    const Tags tags = ReadBytes(".mp3", ID3v2(3, {extended, TextFrame(3, "TIT2", "Ext")}, 0, 0x40));
    EXPECT_EQ(tags.at("TITLE"), "Ext");
}

TEST(LAudioTagDataTest, PictureGoesToAFile)
{
    TempFolder folder;
    Bytes apic{0};
    Append(apic, std::string("image/png") + '\0');
    apic.push_back(3);
    Append(apic, std::string("cover") + '\0' + "PNGDATA");
    const Bytes tag = ID3v2(3, {Frame(3, "APIC", apic)});
    LAudioTagData data;
    data.SetPictureFolder(folder.Path().c_str());
    ASSERT_TRUE(data.ReadTagsFromBytes(".mp3", tag.data(), tag.size(), 3));
    const std::string image = data.GetParm("IMAGE", "");
    EXPECT_EQ(image, folder / "vantreltempartwork.png");
    EXPECT_EQ(ReadText(image), "PNGDATA");
}

Bytes InfoList(std::initializer_list<std::pair<const char*, const char*>> items)
{
    Bytes data;
    Append(data, "INFO");
    for (const auto& [id, text] : items) {
        const Bytes c = Chunk(id, TextBytes(text));
        data.insert(data.end(), c.begin(), c.end());
    }
    return Chunk("LIST", data);
}

TEST(LAudioTagDataTest, WaveListInfoBextAndCart)
{
    Bytes bext(602, 0);
    std::memcpy(bext.data(), "Desc", 4);
    std::memcpy(bext.data() + 256, "Orig", 4);
    std::memcpy(bext.data() + 320, "2020-01-02", 10);
    bext[338] = 0x10;
    bext[346] = 0x02;
    bext[348] = 7;
    Append(bext, "A=PCM");
    Bytes cart(2048, 0);
    std::memcpy(cart.data(), "0101", 4);
    std::memcpy(cart.data() + 4, "Cart Title", 10);
    std::memcpy(cart.data() + 68, "Cart Artist", 11);
    cart[680] = 0xfe;  // level reference, then eight timers of usage and value
    cart[681] = 0xff;
    cart[682] = 0xff;
    cart[683] = 0xff;
    std::memcpy(cart.data() + 684, "MRK ", 4);
    cart[688] = 5;
    Append(cart, "tag text");
    const Bytes file = WaveFile(10, {Chunk("bext", bext), Chunk("cart", cart),
                                     InfoList({{"INAM", " Info Title "}, {"IART", "Info Artist"}, {"IXYZ", "other"}})});
    const Tags all = ReadBytes(".wav", file);
    EXPECT_EQ(all.at("TITLE"), "Info Title");  // LIST INFO wins
    EXPECT_EQ(all.at("ARTIST"), "Info Artist");
    EXPECT_EQ(all.at("COMMENT"), "Desc");
    EXPECT_EQ(all.at("ORIGINATOR"), "Orig");
    EXPECT_EQ(all.at("DATE"), "2020-01-02");
    EXPECT_EQ(all.at("TIMEREFLOW"), "16");
    EXPECT_EQ(all.at("BWFVERSION"), "2");
    EXPECT_EQ(all.at("UMID").substr(0, 6), "7,0,0,");
    EXPECT_EQ(all.at("CODINGHISTORY"), "A=PCM");
    EXPECT_EQ(all.at("CARTVERSION"), "0101");
    EXPECT_EQ(all.at("POSTTIMER1USAGE"), "MRK");
    EXPECT_EQ(all.at("POSTTIMER1VALUE"), "5");
    EXPECT_EQ(all.at("LEVELREFERENCE"), "-2");
    EXPECT_EQ(all.at("TAGTEXT"), "tag text");
    EXPECT_EQ(all.count("IXYZ"), 0u);

    EXPECT_EQ(ReadBytes(".wav", file, LAudioTagData::kReadCart).at("TITLE"), "Cart Title");
    EXPECT_EQ(ReadBytes(".wav", file, LAudioTagData::kReadBext).count("TITLE"), 0u);

    Bytes disp{1, 0, 0, 0};
    Append(disp, "Shown");
    EXPECT_EQ(ReadBytes(".wav", WaveFile(4, {Chunk("DISP", disp)}), 0).at("TITLE"), "Shown");
}

TEST(LAudioTagDataTest, DamagedWaveChunksEndTheRead)
{
    Bytes file = WaveFile(4, {InfoList({{"INAM", "T"}})});
    Bytes cut(file.begin(), file.end() - 3);
    EXPECT_EQ(ReadBytes(".wav", cut).count("TITLE"), 0u);
    Bytes huge = WaveFile(4, {InfoList({{"INAM", "T"}})});
    huge[huge.size() - 14 + 4 - 8] = 0xff;  // the LIST size
    EXPECT_NO_FATAL_FAILURE(ReadBytes(".wav", huge));
    EXPECT_TRUE(ReadBytes(".wav", Bytes(7, 'R')).empty());
}

bool Have(const char* program)
{
    return std::system((std::string("command -v ") + program + " >/dev/null 2>&1").c_str()) == 0;
}

TEST(LAudioTagDataTest, FlacAndOggShowContainerTags)
{
    if (!Have("flac") || !Have("oggenc"))
        GTEST_SKIP() << "flac and oggenc are needed (scripts/deps test)";
    TempFolder folder;
    const std::string wave = folder / "in.wav";
    WriteFile(wave, WaveFile(4410));
    const std::string flac = folder / "a.flac", ogg = folder / "b.ogg";
    ASSERT_EQ(std::system(("flac -s -f -T TITLE='Flac Title' -T ARTIST='Flac Artist' -o '" + flac + "' '" + wave + "'").c_str()), 0);
    ASSERT_EQ(std::system(("oggenc -Q -t 'Ogg Title' -a 'Ogg Artist' -o '" + ogg + "' '" + wave + "'").c_str()), 0);
    for (const auto& [path, title, artist] : {std::tuple{flac, "Flac Title", "Flac Artist"}, std::tuple{ogg, "Ogg Title", "Ogg Artist"}}) {
        LAudioTagData data;
        EXPECT_TRUE(data.ReadTags(path.c_str(), LAudioTagData::kReadAll)) << path;
        EXPECT_STREQ(data.GetParm("TITLE", ""), title);
        EXPECT_STREQ(data.GetParm("ARTIST", ""), artist);
    }
}

bool HaveAacEncoder()
{
    return std::system("ffmpeg -hide_banner -loglevel error -encoders 2>/dev/null | grep -q ' aac '") == 0;
}

// MP4 atoms as FFmpeg names them, from an M4A made here; the track's own artist wins over the
// album artist, which only fills the gap when the track has none.
TEST(LAudioTagDataTest, M4aShowsItsAtoms)
{
    if (!Have("ffmpeg") || !HaveAacEncoder())
        GTEST_SKIP() << "ffmpeg with an AAC encoder is needed (scripts/deps test)";
    TempFolder folder;
    const std::string wave = folder / "in.wav";
    WriteFile(wave, WaveFile(4410));
    const std::string tagged = folder / "a.m4a", albumArtistOnly = folder / "b.M4A";
    auto make = [&](const std::string& out, const std::string& metadata) {
        const std::string command = "ffmpeg -hide_banner -loglevel error -y -i '" + wave + "' -c:a aac " + metadata +
                                    " '" + out + "' </dev/null";
        return std::system(command.c_str());
    };
    ASSERT_EQ(make(tagged, "-metadata 'title=T\xc3\xadtulo M4A' -metadata 'artist=M4A Artist' -metadata "
                           "'album_artist=Various' -metadata 'album=M4A Album' -metadata 'genre=Deep House' "
                           "-metadata date=2021 -metadata track=3/12"),
              0);
    ASSERT_EQ(make(albumArtistOnly, "-metadata 'title=Only' -metadata 'album_artist=The Album Artist'"), 0);

    const struct {
        std::string path;
        std::vector<std::pair<const char*, const char*>> want;
    } cases[] = {
        {tagged,
         {{"TITLE", "T\xc3\xadtulo M4A"}, {"ARTIST", "M4A Artist"}, {"ALBUM", "M4A Album"}, {"GENRE", "Deep House"},
          {"YEAR", "2021"}, {"TRACKNUMBER", "3/12"}}},
        {albumArtistOnly, {{"TITLE", "Only"}, {"ARTIST", "The Album Artist"}, {"ALBUM", ""}}},
    };
    for (const auto& c : cases) {
        LAudioTagData data;
        EXPECT_TRUE(data.ReadTags(c.path.c_str(), LAudioTagData::kReadAll)) << c.path;
        for (const auto& [key, value] : c.want)
            EXPECT_STREQ(data.GetParm(key, ""), value) << c.path << " " << key;
    }
}

TEST(LAudioTagDataTest, SetTagRules)
{
    LAudioTagData data;
    data.SetTag("K", "  v  ", false);
    data.SetTag("K", "w", false);
    EXPECT_STREQ(data.GetParm("K", ""), "v");
    data.SetTag("K", "w", true);
    EXPECT_STREQ(data.GetParm("K", ""), "w");
    data.SetTag("L", (std::string(258, 'a') + "\xc3\xa9").c_str(), true);
    EXPECT_EQ(strlen(data.GetParm("L", "")), 258u);
    EXPECT_FALSE(data.ReadTags("/no/such/file.mp3", 3));
    EXPECT_FALSE(data.ReadTags("/etc/hostname", 3));
}

}  // namespace
