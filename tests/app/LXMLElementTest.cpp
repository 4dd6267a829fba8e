#include "app/LXMLElement.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Parsed {
    LXMLDocument document;
    std::string error;
};

// Parses text; the document is heap-held because it cannot be moved.
std::unique_ptr<Parsed> _Parse(const std::string& text)
{
    auto parsed = std::make_unique<Parsed>();
    parsed->document.Parse(text.c_str(), &parsed->error);
    return parsed;
}

// The text of the first top-level element called `name`.
std::string _Data(const Parsed& parsed, const char* name)
{
    return parsed.document.GetElement(name)->GetElementData();
}

std::string _Save(const LXMLElement& element, int depth = 0)
{
    std::string out;
    element.SaveToBuffer(out, depth);
    return out;
}

}  // namespace

TEST(XMLEntities, NamedAndNumericEntitiesGiveBytesAndMalformedOnesTheirMessage)
{
    auto p = _Parse("<a>&#65;&#x41;&#X4a;&#321;&amp;&lt;&gt;&quot;&apos;</a>");
    EXPECT_EQ(_Data(*p, "a"), "AAJA&<>\"'");
    EXPECT_EQ(p->error, "");
    // Entities are resolved inside attribute values too, also inside quotes.
    p = _Parse("<a v=\"&lt;&#x2F;&gt;\"/>");
    EXPECT_STREQ(p->document.GetElement("a")->Attributes().GetParm("v", nullptr), "</>");

    p = _Parse("<a>x & y</a>");
    EXPECT_EQ(p->error, "Ln 1, Col 8: Strings starting with an ampersand (&) must end with a semicolon (;). Either replace the '&' with '&amp;' or add a ';' at the end of the control string.");
    EXPECT_EQ(_Data(*p, "a"), "x y");
    p = _Parse("<a>&nbsp;</a>");
    EXPECT_EQ(p->error, "Ln 1, Col 10: Invalid escaped ampersand character. Make sure you use &amp; in place of any & characters!");
    EXPECT_EQ(_Data(*p, "a"), "&");
    // 23 characters of name are read; the 24th is refused.
    EXPECT_EQ(_Parse("<a>&" + std::string(23, 'q') + ";</a>")->error.find("Invalid"), 14u);
    EXPECT_NE(_Parse("<a>&" + std::string(24, 'q') + ";</a>")->error.find("semicolon"), std::string::npos);
}

TEST(XMLStartTag, QuotesHoldTerminatorsAndDeclarationsAreElements)
{
    auto p = _Parse("<a b=\"x>y\" c='q\"r' d=plain e/>");
    const LXMLElement* a = p->document.GetElement("a");
    ASSERT_NE(a, nullptr);
    for (auto [key, value] : {std::pair{"b", "x>y"}, {"c", "q\"r"}, {"d", "plain"}, {"e", ""}})
        EXPECT_STREQ(a->Attributes().GetParm(key, nullptr), value) << key;
    EXPECT_TRUE(a->GetChildren().empty());

    p = _Parse("<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<root/>");
    const LXMLElement* declaration = p->document.GetElement("?xml");
    ASSERT_NE(declaration, nullptr);
    EXPECT_EQ(declaration->Attributes().Count(), 2u);
    EXPECT_TRUE(declaration->GetChildren().empty());
    EXPECT_NE(p->document.GetElement("root"), nullptr);  // not swallowed by the declaration
    EXPECT_EQ(_Save(*declaration), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");

    // Long names and values are cut at 259 characters, both sides alike, so the end tag matches.
    const std::string name(300, 'n'), value(300, 'v');
    p = _Parse("<" + name + " k=\"" + value + "\">t</" + name + ">");
    ASSERT_EQ(p->document.GetChildren().size(), 1u);
    const LXMLElement& element = *p->document.GetChildren()[0];
    EXPECT_EQ(std::string(element.GetName()), name.substr(0, 259));
    EXPECT_EQ(std::string(element.Attributes().GetParm("k", "")), value.substr(0, 259));
    EXPECT_EQ(p->error, "");
}

TEST(XMLContent, TextCdataCommentsAndEmptyForms)
{
    auto p = _Parse("<a> x </a><b>\n\t\t\r\n</b><c>one<d></d>two</c>");
    EXPECT_EQ(_Data(*p, "a"), " x ");  // spaces stay, indentation goes
    EXPECT_TRUE(p->document.GetElement("b")->GetChildren().empty());
    // Text before and after a child becomes two text nodes around it; <d></d> saves as <d/>.
    EXPECT_EQ(_Save(*p->document.GetElement("c"), -1), "<c>one<d/>two</c>\n");

    p = _Parse("<a><![CDATA[a<b&amp;]]></a><b><![CDATA[x]]y]]></b><c>x<!-- <d> --->y</c>");
    EXPECT_EQ(_Data(*p, "a"), "a<b&amp;");
    EXPECT_EQ(_Data(*p, "b"), "x]]y");
    EXPECT_EQ(p->document.GetElement("c")->GetChildren().size(), 1u);
    EXPECT_EQ(_Data(*p, "c"), "xy");
    EXPECT_EQ(p->error, "");
    // Written text is escaped, so "]]>" read back outside CDATA stays as it was.
    EXPECT_EQ(_Data(*_Parse("<a>]]&gt;--&gt;</a>"), "a"), "]]>-->");
}

TEST(XMLErrors, EachMalformedShapeGivesItsMessageAtItsLine)
{
    const std::pair<const char*, const char*> cases[] = {
        {"<a><b>t</c><d/></a>", "Ln 1, Col 12: Element <b> should be terminated with </b>, was with c. Check you have terminated your element properly."},
        {"</x >\n<y/>", "Ln 1, Col 5: Misplaced </x> which does not match a <x>."},
        {"<a><b>", "Ln 1, Col 7: (EOF) Element <b> should be terminated with </b>. Check you have terminated your element properly."},
        {"<a b=\"1\"", "Ln 1, Col 9: Tag <a> does not have a closing '>'"},
        {"<a>1 < 2</a>", "Ln 1, Col 8: Misplaced < without name. Use &lt; instead of < if appropriate."},
        {"text only", ""},
    };
    for (const auto& [text, message] : cases)
        EXPECT_EQ(_Parse(text)->error, message) << text;

    // A mismatched end tag still closes its element.
    auto mismatched = _Parse(cases[0].first);
    const LXMLElement* a = mismatched->document.GetElement("a");
    ASSERT_NE(a, nullptr);
    EXPECT_STREQ(a->GetElement("b")->GetElementData(), "t");
    EXPECT_NE(a->GetElement("d"), nullptr);  // a sibling of b, not its child

    // Each line end form counts one line.
    auto p = _Parse("a\r\nb\n\rc\rd\ne<>");
    EXPECT_EQ(p->error, "Ln 5, Col 4: Misplaced < without name. Use &lt; instead of < if appropriate.");
    // A line end pair reads as one newline; the document keeps its top-level text whole.
    EXPECT_STREQ(p->document.GetElementData(), "a\nb\nc\nd\ne");

    LXMLLoader loader("\r\n\n\r\rx\n\n");
    std::string read;
    for (int c = loader.ReadChar(); c != 0; c = loader.ReadChar())
        read += static_cast<char>(c);
    EXPECT_EQ(read, "\n\n\nx\n\n");
    EXPECT_EQ(loader.ReadChar(), 0);  // the end stays the end
    EXPECT_EQ(loader.GetLine(), 6);
    EXPECT_EQ(loader.GetColumn(), 1);
}

TEST(XMLWriter, LibraryShapedFileReadsAndWritesBackByteForByte)
{
    const std::string file =
        "<?xml version=\"1.0\"?>\n"
        "<library version=\"2\">\n"
        "\t<playlist name=\"A &amp; B\">\n"
        "\t\t<playitem>\n"
        "\t\t\t<path>/music/Caf\xc3\xa9 &lt;live&gt;.mp3</path>\n"
        "\t\t\t<TITLE>Say &quot;hi&quot;</TITLE>\n"
        "\t\t\t<BPM>128.00</BPM>\n"
        "\t\t\t<beat offset=\"1024\" period=\"20671\"/>\n"
        "\t\t</playitem>\n"
        "\t\t<playitem>\n"
        "\t\t\t<path>/music/two lines\n"
        "here.wav</path>\n"
        "\t\t</playitem>\n"
        "\t</playlist>\n"
        "\t<empty/>\n"
        "</library>\n";
    auto p = _Parse(file);
    EXPECT_EQ(p->error, "");
    EXPECT_EQ(_Save(p->document), file);
}

TEST(XMLTree, DeepNestingNeitherOverflowsNorLoses)
{
    constexpr int kDepth = 100000;  // far beyond what recursion on an 8 MB stack survives
    std::string text;
    for (int i = 0; i < kDepth; ++i)
        text += "<d>";
    auto p = _Parse(text);
    EXPECT_NE(p->error.find("(EOF) Element <d>"), std::string::npos);
    int depth = 0;
    for (const LXMLElement* e = &p->document; !e->GetChildren().empty(); e = e->GetChildren()[0].get())
        ++depth;
    EXPECT_EQ(depth, kDepth);
    std::string out;
    EXPECT_EQ(p->document.SaveToBuffer(out, -1), kDepth);
    EXPECT_EQ(out.size(), 8u * kDepth - 4u);  // "<d>" and "</d>\n" each, "<d/>" inmost
}

