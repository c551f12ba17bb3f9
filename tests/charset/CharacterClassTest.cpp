// Loading character maps and converting with them.

#include "charset/CharacterClass.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "charset/PageOutput.h"
#include "config/Utf.h"
#include "tests/support/LoopbackHttpServer.h"
#include "tests/support/RaisedError.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using namespace std::string_literals;

std::u16string Mapped(const CharacterClass& map, std::u16string text, bool simple = false) {
    simple ? map.SimpleMap(text) : map.Map(text);
    return text;
}

CharacterClass Loaded(std::u16string_view text, bool simple = false) {
    CharacterClass map;
    map.LoadFromString(text, simple);
    return map;
}

TEST(MapTest, ConvertsByTheMapRules) {
    const std::u16string marks = u"E1=&H0300 /D\r\nE2=&H0301 /D\r\n61=&H0061\r\n63=&H0063";
    const std::u16string reversed = u"$REVERSEDIACRITICS\r\n&H0300=E1/D\r\n&H00C6=A5";
    const struct {
        std::u16string map;
        std::u16string text;
        std::u16string mapped;
    } cases[] = {
        // The first of two marks takes the second as its "base"; a base letter without an entry
        // goes out alone and the mark is lost.
        {marks, u"\u00E1ab \u00E1bc \u00E2\u00E1cd", u"a\u0300b bc \u0300\u0301cd"},
        // A mark before the last character is dropped and the letter mapped alone; so is a
        // final mark.
        {marks, u"\u00E1a", u"a"},
        {marks, u"xy\u00E1", u"xy"},
        // Marks go in front; any other match of such a map maps to nothing.
        {reversed, u"\u0300b xa\u0300 \u00C6b", u"\u00E1b x\u00E1a b"},
        {u"$reversemapping\r\n41=&H00C5\r\n42=&H0042", u"\u00C5B", u"AB"},
        // The longest key wins; a chain without a match writes the whole span, and its tail
        // again.
        {u"&H41=&H31\r\n&H41&H42=&H32", u"ABCAC", u"2C1C"},
        {u"&H41&H42=&H32", u"xABACAB", u"x2ACC2"},
        // Duplicates keep the first; characters outside the code page share the chain of "?"
        // and still match exactly.
        {u"41=31\r\n41=32\r\n&H0141=&H004C\r\n&H0100=&H0041", u"A\u0141\u0100?", u"1LA?"},
        // A lone line feed does not end a line.
        {u"41=42\n43=44\r\n45=46", u"ACE", u"B\0\u0003DCF"s},
        {u"", u"\u00E1bc", u"\u00E1bc"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(TextToUtf8(c.map) + " on " + TextToUtf8(c.text));
        EXPECT_EQ(Mapped(Loaded(c.map), c.text), c.mapped);
    }
}

TEST(MapTest, KeepsTheMapState) {
    EXPECT_TRUE(Loaded(u"$ReverseDiacritics").ReverseDiacritics());
    const CharacterClass shared = Loaded(u"&H0141=&H004C\r\n41=31\r\n&H0100=&H0041");
    EXPECT_EQ(shared.FirstCharIndex('?'), 1);
    EXPECT_EQ(shared.Entries()[1].NextIndex, 3);
    EXPECT_EQ(shared.FirstCharIndex('A'), 2);

    CharacterClass never;
    EXPECT_FALSE(never.CharacterCount().has_value());
    EXPECT_EQ(Mapped(never, u"abc"), u"abc");
    EXPECT_EQ(Loaded(u"").CharacterCount(), 1);
    EXPECT_EQ(Loaded(u"# only a comment\r\n41=42\r\n$X\r\n43").CharacterCount(), 2);
    // Keys are held up to 255 characters.
    EXPECT_EQ(Loaded(std::u16string(255 * 2, u'4') + u"=42").MaxKeyLength(), 255);
    EXPECT_EQ(test::Raised([] { Loaded(std::u16string(256 * 2, u'4') + u"=42"); }),
              ErrorNumber::Overflow);
}

TEST(MapTest, SimpleListsUseLineNumbersAsSlots) {
    CharacterClass simple = Loaded(u"# comment\r\n41=42", true);
    EXPECT_EQ(simple.CharacterCount(), 2);
    EXPECT_TRUE(simple.Entries()[0].From.empty());
    EXPECT_EQ(Mapped(simple, u"AA", true), u"BB");

    // Directives do not count as lines; each replacement sees the result of the last; marks
    // are skipped.
    simple = Loaded(u"41=42\r\n$REVERSEMAPPING\r\n\r\n43=41\r\n44=45 /D", true);
    EXPECT_EQ(simple.CharacterCount(), 4);
    EXPECT_EQ(simple.Entries()[2].From, u"A");
    EXPECT_EQ(Mapped(simple, u"ABCD", true), u"BBCD");
}

TEST(MapLoadTest, LoadsFilesAndAddresses) {
    test::TempDir dir;
    test::WriteBytes(dir / "map.txt", "# test\r\nE1=&H0300 /D\r\n61=&H0061\r62=&H0062\r\n");
    test::WriteBytes(dir / "empty.txt", "");
    CharacterClass map;
    map.Load(PathToText(dir / "map.txt"));
    EXPECT_EQ(map.CharacterCount(), 4);  // a lone CR ends a line in a file
    EXPECT_EQ(Mapped(map, u"\u00E1ab"), u"a\u0300b");
    for (const char* missing : {"missing.txt", "empty.txt"}) {
        map.Load(PathToText(dir / missing));
        EXPECT_EQ(map.CharacterCount(), 1) << missing;
    }

    test::LoopbackHttpServer server;
    server.Get("/maps/latin.txt", {200, "41=&H00C5\r\n42=&H00C4\r\n", "text/plain"});
    map.Load(server.UrlText("/maps/latin.txt"));
    EXPECT_EQ(map.CharacterCount(), 3);
    EXPECT_EQ(Mapped(map, u"AB"), u"\u00C5\u00C4");
    EXPECT_EQ(server.RequestCount(), 1u);
    map.Load(server.UrlText("/maps/missing.txt"));
    EXPECT_EQ(map.CharacterCount(), 1);
}

// Records every call as one line of text, with the font in use and the page.
class RecordingPage : public PageOutput {
  public:
    void SetFont(std::u16string_view fontName, double size) override {
        font_ = TextToUtf8(fontName);
        EXPECT_EQ(size, 12);
    }
    std::int32_t TextHeight(std::u16string_view text) override {
        calls.push_back("height " + font_ + " " + TextToUtf8(text));
        return 240;
    }
    void PrintText(std::int32_t x, std::int32_t y, std::u16string_view text) override {
        if (jammed) {
            throw std::runtime_error("printer jammed");
        }
        calls.push_back(std::to_string(page_) + " " + font_ + " " + std::to_string(x) + "," +
                        std::to_string(y) + " " + TextToUtf8(text));
    }
    void NewPage() override { ++page_; }
    void EndDoc() override { calls.push_back("end"); }

    std::vector<std::string> calls;
    bool jammed = false;

  private:
    std::string font_;
    int page_ = 1;
};

TEST(PrintCharacterMapTest, LaysOutColumnsAndPages) {
    std::u16string text;
    for (int i = 0; i < 60; ++i) {
        text += u"41=42 # letter\r\n";
    }
    RecordingPage page;
    Loaded(text).PrintCharacterMap(page, u"From", u"To", u"Note");
    // The line height, slot 0 (empty) and 1, the last line of page 1, the first of page 2.
    ASSERT_EQ(page.calls.size(), 1 + 61 * 3 + 1u);
    EXPECT_EQ(std::vector<std::string>(page.calls.begin(), page.calls.begin() + 7),
              (std::vector<std::string>{"height From W", "1 From 0,240 ", "1 To 1000,240 ",
                                        "1 Note 2000,240   =", "1 From 0,480 A", "1 To 1000,480 B",
                                        "1 Note 2000,480 letter  A=B"}));
    EXPECT_EQ(page.calls[1 + 50 * 3], "1 From 0,12240 A");
    EXPECT_EQ(page.calls[1 + 51 * 3], "2 From 0,240 A");
    EXPECT_EQ(page.calls.back(), "end");

    RecordingPage jammed;
    jammed.jammed = true;
    EXPECT_NO_THROW(Loaded(u"41=42").PrintCharacterMap(jammed, u"A", u"B", u"C"));
    EXPECT_EQ(jammed.calls, (std::vector<std::string>{"height A W", "end"}));
}

}  // namespace
}  // namespace tesselex
