// Loading character maps and converting with them.

#include "charset/CharacterClass.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "charset/PageOutput.h"
#include "config/Error.h"
#include "config/Utf.h"
#include "tests/support/LoopbackHttpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

std::u16string Mapped(const CharacterClass& map, std::u16string text) {
    map.Map(text);
    return text;
}

class MapFixture : public ::testing::Test {
  protected:
    CharacterClass Loaded(std::u16string_view text) {
        CharacterClass map;
        map.LoadFromString(text, false);
        return map;
    }
};

TEST_F(MapFixture, MarkMovesBehindItsBaseLetter) {
    CharacterClass map = Loaded(u"E1=&H0300 /D\r\n61=&H0061");
    EXPECT_EQ(Mapped(map, u"\u00E1ab"), u"a\u0300b");
    // A mark before the last character of the text is dropped; so is a final mark.
    EXPECT_EQ(Mapped(map, u"\u00E1a"), u"a");
    EXPECT_EQ(Mapped(map, u"xy\u00E1"), u"xy");
    // A base letter without an entry goes out alone and the mark is lost.
    EXPECT_EQ(Mapped(map, u"\u00E1bc"), u"bc");
}

TEST_F(MapFixture, StackedMarksFollowTheMapRules) {
    CharacterClass map = Loaded(u"E1=&H0300 /D\r\nE2=&H0301 /D\r\n63=&H0063");
    // The first mark takes the second as its "base": both come out in front of the letter.
    EXPECT_EQ(Mapped(map, u"\u00E2\u00E1cd"), u"\u0300\u0301cd");
}

TEST_F(MapFixture, ReversedDiacriticsPutMarksInFront) {
    CharacterClass map = Loaded(u"$REVERSEDIACRITICS\r\n&H0300=E1/D\r\n&H00C6=A5");
    EXPECT_TRUE(map.ReverseDiacritics());
    EXPECT_EQ(Mapped(map, u"a\u0300"), u"\u00E1a");
    EXPECT_EQ(Mapped(map, u"xa\u0300"), u"x\u00E1a");
    EXPECT_EQ(Mapped(map, u"\u0300b"), u"\u00E1b");
    // Only marks are carried over: any other match maps to nothing.
    EXPECT_EQ(Mapped(map, u"\u00C6b"), u"b");
}

TEST_F(MapFixture, ReverseMappingSwapsTheSides) {
    CharacterClass map = Loaded(u"$reversemapping\r\n41=&H00C5\r\n42=&H0042");
    EXPECT_EQ(Mapped(map, u"\u00C5B"), u"AB");
    ASSERT_EQ(map.Entries().size(), 3u);
    EXPECT_EQ(map.Entries()[1].From, u"\u00C5");
    EXPECT_EQ(map.Entries()[1].To, u"A");
}

TEST_F(MapFixture, LongestMatchAndRepeatedUnmatchedSpan) {
    CharacterClass both = Loaded(u"&H41=&H31\r\n&H41&H42=&H32");
    EXPECT_EQ(Mapped(both, u"ABC"), u"2C");
    EXPECT_EQ(Mapped(both, u"AC"), u"1C");

    CharacterClass onlyLong = Loaded(u"&H41&H42=&H32");
    EXPECT_EQ(onlyLong.MaxKeyLength(), 2);
    EXPECT_EQ(Mapped(onlyLong, u"AC"), u"ACC");
    EXPECT_EQ(Mapped(onlyLong, u"xABAB"), u"x22");
}

TEST_F(MapFixture, DuplicatesKeepTheFirstAndChainsShareBytes) {
    CharacterClass map = Loaded(u"41=31\r\n41=32\r\n&H0141=&H004C\r\n&H0100=&H0041");
    EXPECT_EQ(Mapped(map, u"A"), u"1");
    // Ł and Ā are outside the code page: both sit on the chain of "?" and still match exactly.
    EXPECT_EQ(map.FirstCharIndex('?'), 3);
    EXPECT_EQ(map.Entries()[3].NextIndex, 4);
    EXPECT_EQ(Mapped(map, u"\u0141\u0100?"), u"LA?");
}

TEST_F(MapFixture, EmptyMapCopiesText) {
    CharacterClass never;
    EXPECT_FALSE(never.CharacterCount().has_value());
    EXPECT_EQ(Mapped(never, u"abc"), u"abc");
    CharacterClass empty = Loaded(u"");
    EXPECT_EQ(empty.CharacterCount(), 1);
    EXPECT_EQ(Mapped(empty, u"\u00E1bc"), u"\u00E1bc");
}

TEST_F(MapFixture, CountsAndSimpleLists) {
    EXPECT_EQ(Loaded(u"41=42").CharacterCount(), 2);
    EXPECT_EQ(Loaded(u"# only a comment\r\n41=42\r\n$X\r\n43").CharacterCount(), 2);

    CharacterClass simple;
    simple.LoadFromString(u"# comment\r\n41=42", true);
    EXPECT_EQ(simple.CharacterCount(), 2);
    EXPECT_TRUE(simple.Entries()[0].From.empty());
    std::u16string text = u"AA";
    simple.SimpleMap(text);
    EXPECT_EQ(text, u"BB");

    // Slot numbers follow the lines, directives not counted; each replacement sees the last.
    simple.LoadFromString(u"41=42\r\n$REVERSEMAPPING\r\n\r\n43=41\r\n44=45 /D", true);
    EXPECT_EQ(simple.CharacterCount(), 4);
    EXPECT_EQ(simple.Entries()[2].From, u"A");
    text = u"ABCD";
    simple.SimpleMap(text);
    EXPECT_EQ(text, u"BBCD");
}

TEST_F(MapFixture, LoneLineFeedDoesNotEndALine) {
    CharacterClass map = Loaded(u"41=42\n43=44\r\n45=46");
    EXPECT_EQ(map.CharacterCount(), 3);
    EXPECT_EQ(map.Entries()[1].To, std::u16string(u"B\0\u0003D", 4));
    EXPECT_EQ(Mapped(map, u"CE"), u"CF");
}

TEST_F(MapFixture, OverlongKeyRaisesOverflow) {
    std::u16string line(256 * 2, u'4');
    line += u"=42";
    CharacterClass map;
    try {
        map.LoadFromString(line, false);
        FAIL() << "no error raised";
    } catch (const Error& e) {
        EXPECT_EQ(e.Number(), ErrorNumber::Overflow);
    }
    std::u16string longest(255 * 2, u'4');
    EXPECT_NO_THROW(map.LoadFromString(longest + u"=42", false));
    EXPECT_EQ(map.MaxKeyLength(), 255);
}

class MapFileTest : public ::testing::Test {
  protected:
    test::TempDir dir_;
};

TEST_F(MapFileTest, LoadsFileWithLineEndsAndMissingFiles) {
    const auto path = dir_ / "map.txt";
    test::WriteBytes(path, "# test\r\nE1=&H0300 /D\r\n61=&H0061\r62=&H0062\r\n");
    CharacterClass map;
    map.Load(PathToText(path));
    EXPECT_EQ(map.CharacterCount(), 4);
    EXPECT_EQ(Mapped(map, u"\u00E1ab"), u"a\u0300b");

    map.Load(PathToText(dir_ / "missing.txt"));
    EXPECT_EQ(map.CharacterCount(), 1);
    test::WriteBytes(dir_ / "empty.txt", "");
    map.Load(PathToText(dir_ / "empty.txt"));
    EXPECT_EQ(map.CharacterCount(), 1);
}

TEST_F(MapFileTest, LoadsFromAnAddressAndRemovesTheDownload) {
    test::LoopbackHttpServer server;
    server.Get("/maps/latin.txt", {200, "41=&H00C5\r\n42=&H00C4\r\n", "text/plain"});
    CharacterClass map;
    map.Load(server.UrlText("/maps/latin.txt"));
    EXPECT_EQ(map.CharacterCount(), 3);
    EXPECT_EQ(Mapped(map, u"AB"), u"\u00C5\u00C4");
    EXPECT_EQ(server.RequestCount(), 1u);

    map.Load(server.UrlText("/maps/missing.txt"));
    EXPECT_EQ(map.CharacterCount(), 1);
}

// Records every drawing call, with the font in use, for the layout checks.
class RecordingPage : public PageOutput {
  public:
    struct Text {
        std::u16string font;
        std::int32_t x;
        std::int32_t y;
        std::u16string text;
        int page;
    };
    void SetFont(std::u16string_view fontName, double size) override {
        font_ = fontName;
        sizes.push_back(size);
    }
    std::int32_t TextHeight(std::u16string_view text) override {
        heightFonts.push_back(font_ + u":" + std::u16string(text));
        return 240;
    }
    void PrintText(std::int32_t x, std::int32_t y, std::u16string_view text) override {
        if (failPrint) {
            throw std::runtime_error("printer jammed");
        }
        texts.push_back({font_, x, y, std::u16string(text), page_});
    }
    void NewPage() override { ++page_; }
    void EndDoc() override { ++ended; }

    std::vector<Text> texts;
    std::vector<double> sizes;
    std::vector<std::u16string> heightFonts;
    int ended = 0;
    bool failPrint = false;

  private:
    std::u16string font_;
    int page_ = 1;
};

TEST(PrintCharacterMapTest, LaysOutColumnsAndPages) {
    std::u16string text;
    for (int i = 0; i < 60; ++i) {
        text += u"41=42 # letter\r\n";
    }
    CharacterClass map;
    map.LoadFromString(text, false);
    RecordingPage page;
    map.PrintCharacterMap(page, u"FromFont", u"ToFont", u"CommentFont");

    ASSERT_EQ(page.heightFonts, std::vector<std::u16string>{u"FromFont:W"});
    ASSERT_EQ(page.texts.size(), 61u * 3);  // slot 0 is printed too, empty
    EXPECT_EQ(page.ended, 1);
    for (double size : page.sizes) {
        EXPECT_EQ(size, 12);
    }
    const auto& first = page.texts[3];  // slot 1, second line of page 1
    EXPECT_EQ(first.font, u"FromFont");
    EXPECT_EQ(first.x, 0);
    EXPECT_EQ(first.y, 2 * 240);
    EXPECT_EQ(first.text, u"A");
    EXPECT_EQ(page.texts[4].font, u"ToFont");
    EXPECT_EQ(page.texts[4].x, 1000);
    EXPECT_EQ(page.texts[4].text, u"B");
    EXPECT_EQ(page.texts[5].font, u"CommentFont");
    EXPECT_EQ(page.texts[5].x, 2000);
    EXPECT_EQ(page.texts[5].text, u"letter  A=B");

    const auto& last51 = page.texts[50 * 3];
    EXPECT_EQ(last51.page, 1);
    EXPECT_EQ(last51.y, 51 * 240);
    const auto& line52 = page.texts[51 * 3];
    EXPECT_EQ(line52.page, 2);
    EXPECT_EQ(line52.y, 240);
}

TEST(PrintCharacterMapTest, PrinterErrorsAreIgnored) {
    CharacterClass map;
    map.LoadFromString(u"41=42", false);
    RecordingPage page;
    page.failPrint = true;
    EXPECT_NO_THROW(map.PrintCharacterMap(page, u"A", u"B", u"C"));
    EXPECT_EQ(page.ended, 1);
    EXPECT_TRUE(page.texts.empty());
}

}  // namespace
}  // namespace tesselex
