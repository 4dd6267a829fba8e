#include "ui/LPaintSurface.h"

#include "ui/PaintCanvas.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using PS = LPaintSurface;

const char* const kEllipsis = "\xE2\x80\xA6";
const char* const kReplacement = "\xEF\xBF\xBD";
const char* const kSentence = "The quick brown fox jumps over the lazy dog, again and again";

// The box around every pixel that is not the canvas's black.
QRect InkBounds(const QImage& image)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != kCanvasBlack)
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

float Measure(const PaintData& data, const std::string& text)
{
    float width = 0, height = 0;
    PS::_MeasureText(data, text.c_str(), 0, &width, &height);
    return width;
}

TEST(PaintTextTest, WordWrappedLinesFitAndKeepEveryWord)
{
    PaintCanvas canvas(8, 8);
    for (const float width : {40.0f, 80.0f, 150.0f, 1000.0f}) {
        SCOPED_TRACE(width);
        const auto lines = PS::_LayoutText(canvas.data, kSentence, width, LWrapping::kWord);
        std::string joined;
        for (const auto& line : lines) {
            EXPECT_LE(line.width, width) << line.text;
            EXPECT_NEAR(line.width, Measure(canvas.data, line.text), 0.01) << line.text;
            joined += (joined.empty() ? "" : " ") + line.text;
        }
        EXPECT_EQ(joined, kSentence);
        EXPECT_EQ(lines.size() > 1, Measure(canvas.data, kSentence) > width);
        float measuredWidth = 0, measuredHeight = 0;
        PS::_MeasureText(canvas.data, kSentence, width, &measuredWidth, &measuredHeight);
        EXPECT_LE(measuredWidth, width);
        EXPECT_FLOAT_EQ(measuredHeight, PS::_TextLineHeight(canvas.data) * lines.size());
    }
}

TEST(PaintTextTest, AWordWiderThanTheLineIsBrokenAnywhere)
{
    PaintCanvas canvas(8, 8);
    const std::string word = "Supercalifragilisticexpialidocious";
    const auto lines = PS::_LayoutText(canvas.data, word.c_str(), 50, LWrapping::kWord);
    ASSERT_GT(lines.size(), 2u);
    std::string joined;
    for (const auto& line : lines) {
        EXPECT_LE(line.width, 50) << line.text;
        joined += line.text;
    }
    EXPECT_EQ(joined, word);
}

TEST(PaintTextTest, EllipsisOnlyWhenTheTextIsWider)
{
    PaintCanvas canvas(8, 8);
    const float full = Measure(canvas.data, kSentence);
    for (const LWrapping wrapping : {LWrapping::kEllipsis, LWrapping::kEllipsisEnd}) {
        for (const float width : {full + 10, full, full - 1, full / 2, 20.0f}) {
            SCOPED_TRACE(width);
            const auto lines = PS::_LayoutText(canvas.data, kSentence, width, wrapping);
            ASSERT_EQ(lines.size(), 1u);
            EXPECT_LE(lines[0].width, width);
            if (width >= full) {
                EXPECT_EQ(lines[0].text, kSentence);
            } else {
                EXPECT_TRUE(EndsWith(lines[0].text, kEllipsis)) << lines[0].text;
                const std::string kept = lines[0].text.substr(0, lines[0].text.size() - 3);
                EXPECT_EQ(std::string(kSentence).compare(0, kept.size(), kept), 0) << kept;
            }
        }
    }
    // Width 0 is unbounded: nothing is cut.
    EXPECT_EQ(PS::_LayoutText(canvas.data, kSentence, 0, LWrapping::kEllipsis)[0].text, kSentence);
}

TEST(PaintTextTest, NewlinesBreakLinesInEveryMode)
{
    PaintCanvas canvas(8, 8);
    for (const LWrapping wrapping : {LWrapping::kNone, LWrapping::kWord, LWrapping::kEllipsis}) {
        const auto lines = PS::_LayoutText(canvas.data, "a\nbb\r\n\nccc", 500, wrapping);
        ASSERT_EQ(lines.size(), 4u);
        EXPECT_EQ(lines[0].text, "a");
        EXPECT_EQ(lines[1].text, "bb");
        EXPECT_EQ(lines[2].text, "");
        EXPECT_EQ(lines[3].text, "ccc");
    }
    float width = 0, height = 0;
    PS::_MeasureText(canvas.data, "a\nbb", 0, &width, &height);
    EXPECT_FLOAT_EQ(height, 2 * PS::_TextLineHeight(canvas.data));
    EXPECT_FLOAT_EQ(width, Measure(canvas.data, "bb"));
}

TEST(PaintTextTest, EmptyAndNullTextDrawAndMeasureNothing)
{
    for (const char* text : {static_cast<const char*>(nullptr), ""}) {
        PaintCanvas canvas(40, 20);
        canvas.data.fillTextBackground = true;
        canvas.data.textBackground = LGuiColorRef::FromRGB(255, 0, 0);
        PS::DrawText(canvas.data, text, 0, 0, 40, 20);
        EXPECT_TRUE(InkBounds(canvas.Image()).isNull());
        float width = 5, height = 5;
        PS::_MeasureText(canvas.data, text, 100, &width, &height);
        EXPECT_EQ(width, 0);
        EXPECT_EQ(height, 0);
        EXPECT_TRUE(PS::_LayoutText(canvas.data, text, 100, LWrapping::kWord).empty());
    }
}

TEST(PaintTextTest, InvalidUtf8DrawsReplacementMarks)
{
    PaintCanvas canvas(60, 20);
    const char* broken = "\xff\xfe" "ab\xc3";
    const auto lines = PS::_LayoutText(canvas.data, broken, 0, LWrapping::kNone);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text.find(kReplacement), 0u) << lines[0].text;
    EXPECT_NE(lines[0].text.find("ab"), std::string::npos);
    PS::DrawText(canvas.data, broken, 0, 0, 60, 20);
    EXPECT_FALSE(InkBounds(canvas.Image()).isNull());
}

// Alignment places the ink: left at the box's start, right at its end, centre in between.
TEST(PaintTextTest, AlignmentPlacesTheText)
{
    struct Case {
        LHAlignment h;
        LVAlignment v;
    };
    const float boxX = 10, boxY = 5, boxWidth = 100, boxHeight = 40;
    for (const Case c : {Case{LHAlignment::kLeft, LVAlignment::kTop}, Case{LHAlignment::kCentre, LVAlignment::kCentre},
                         Case{LHAlignment::kRight, LVAlignment::kTop}}) {
        PaintCanvas canvas(120, 50);
        PS::DrawText(canvas.data, "Level", boxX, boxY, boxWidth, boxHeight, c.h, c.v);
        const QRect ink = InkBounds(canvas.Image());
        ASSERT_FALSE(ink.isNull());
        const float textWidth = Measure(canvas.data, "Level");
        EXPECT_GE(ink.left(), boxX);
        EXPECT_LE(ink.right(), boxX + boxWidth - 1);
        const float expectedLeft = c.h == LHAlignment::kLeft     ? boxX
                                   : c.h == LHAlignment::kRight ? boxX + boxWidth - textWidth
                                                                : boxX + (boxWidth - textWidth) / 2;
        EXPECT_NEAR(ink.left(), expectedLeft, 3);
        if (c.v == LVAlignment::kCentre)
            EXPECT_NEAR(ink.center().y(), boxY + boxHeight / 2, 3);
        else
            EXPECT_LT(ink.top(), boxY + 6);
    }
}

TEST(PaintTextTest, LinesStartingBelowTheBoxAreNotDrawn)
{
    struct Case {
        int boxLines;  // 0: no height given
        int drawnLines;
    };
    for (const Case c : {Case{1, 1}, Case{2, 2}, Case{0, 3}}) {
        PaintCanvas canvas(40, 60);
        const float step = PS::_TextLineHeight(canvas.data);
        PS::DrawText(canvas.data, "H\nH\nH", 0, 0, 40, c.boxLines * step);
        const QRect ink = InkBounds(canvas.Image());
        EXPECT_LT(ink.bottom(), c.drawnLines * step) << c.boxLines;
        EXPECT_GE(ink.bottom(), (c.drawnLines - 1) * step) << c.boxLines;
    }
}

TEST(PaintTextTest, BackgroundFillsTheBoxFirst)
{
    PaintCanvas canvas(60, 30);
    canvas.data.fillTextBackground = true;
    canvas.data.textBackground = LGuiColorRef::FromRGB(0, 0, 200);
    PS::DrawText(canvas.data, "x", 2, 3, 30, 16);
    EXPECT_EQ(canvas.Pixel(2, 3), qRgb(0, 0, 200));
    EXPECT_EQ(canvas.Pixel(31, 18), qRgb(0, 0, 200));
    EXPECT_FALSE(canvas.IsSet(32, 18));
    EXPECT_FALSE(canvas.IsSet(31, 19));
    EXPECT_FALSE(canvas.IsSet(1, 3));
}

// Random bytes (UTF-8 or not, with newlines) at random
// boxes, in every mode: drawn and measured without a fault, every wrapped line fitting unless
// it is a single character.
TEST(PaintTextTest, RandomBytesAtRandomBoxes)
{
    std::mt19937 random(16);
    // Bytes that make only characters DejaVu Sans has (cut sequences become replacement marks):
    // a search for a fallback font shows fontconfig's own leaks to LeakSanitizer.
    const char pool[] = "ab \n\xc3\xa9\xffW.-";
    for (int round = 0; round < 300; ++round) {
        std::string text;
        const int length = int(random() % 120);
        for (int i = 0; i < length; ++i)
            text += pool[random() % (sizeof pool - 1)];
        const float width = float(int(random() % 200) - 20), height = float(int(random() % 60) - 10);
        const auto wrapping = static_cast<LWrapping>(random() % 4);
        PaintCanvas canvas(120, 40);
        PS::DrawText(canvas.data, text.c_str(), float(int(random() % 100) - 30), float(int(random() % 40) - 10),
                     width, height, static_cast<LHAlignment>(random() % 3), static_cast<LVAlignment>(random() % 2),
                     wrapping);
        for (const auto& line : PS::_LayoutText(canvas.data, text.c_str(), width, wrapping)) {
            if (width > 0 && wrapping != LWrapping::kNone && QString::fromStdString(line.text).size() > 2) {
                EXPECT_LE(line.width, width) << round << " " << line.text;
            }
        }
    }
}

// A megabyte of text is drawn clipped: only what can show is laid out, so the call returns
// promptly under the sanitizers too.
TEST(PaintTextTest, HugeTextIsDrawnClipped)
{
    const std::string words = [] {
        std::string text;
        while (text.size() < (1u << 20))
            text += "word ";
        return text;
    }();
    const std::string lines = std::string(1u << 20, '\n') + "end";
    const std::string unbroken(1u << 20, 'W');
    for (const std::string* text : {&words, &lines, &unbroken}) {
        for (const LWrapping wrapping : {LWrapping::kNone, LWrapping::kWord, LWrapping::kEllipsis}) {
            PaintCanvas canvas(900, 80);
            PS::DrawText(canvas.data, text->c_str(), 0, 0, 900, 80, LHAlignment::kLeft, LVAlignment::kTop, wrapping);
            if (text != &lines) {
                EXPECT_FALSE(InkBounds(canvas.Image()).isNull());
            }
        }
    }
    PaintCanvas canvas(8, 8);
    float width = 0, height = 0;
    PS::_MeasureText(canvas.data, lines.c_str(), 0, &width, &height);
    EXPECT_FLOAT_EQ(height, PS::_TextLineHeight(canvas.data) * ((1u << 20) + 1));
}

}  // namespace
