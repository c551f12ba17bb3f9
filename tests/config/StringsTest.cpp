#include "config/Strings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

#include "config/Utf.h"
#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

using Pieces = std::vector<std::u16string>;

TEST(Strings, SplitJoinTrimAndReplace) {
    EXPECT_EQ(Split(u"a,b,,c,", u","), (Pieces{u"a", u"b", u"", u"c", u""}));
    EXPECT_EQ(Split(u"a<>b", u"<>"), (Pieces{u"a", u"b"}));
    EXPECT_EQ(Split(u"a,b", u""), (Pieces{u"a,b"}));
    EXPECT_EQ(Split(u"", u","), Pieces{});
    EXPECT_EQ(Join(Split(u"x|y||z", u"|"), u"|"), u"x|y||z");
    EXPECT_EQ(Trim(u"  a b  "), u"a b");
    EXPECT_EQ(Trim(u"\t a \t"), u"\t a \t");  // blanks only
    EXPECT_EQ(TrimLeft(u"  x "), u"x ");
    EXPECT_EQ(TrimRight(u"  x "), u"  x");
    EXPECT_EQ(Trim(u"    "), u"");
    EXPECT_EQ(ReplaceAll(u"aaa", u"aa", u"b"), u"ba");
    EXPECT_EQ(ReplaceAll(u"abc", u"", u"x"), u"abc");
    EXPECT_EQ(FormatNumber(8, 3), u"008");
    EXPECT_EQ(FormatNumber(1000, 3), u"1000");
    EXPECT_EQ(FormatNumber(-5, 2), u"-05");
}

TEST(Strings, ValReadsTheLeadingNumberAndIsNumericTheWholeText) {
    const struct {
        const char16_t* text;
        double value;
    } cases[] = {{u"  12abc", 12.0}, {u"1 2 3", 123.0}, {u"-3.5e2x", -350.0}, {u"&H1F", 31.0},
                 {u"&O17", 15.0},    {u"abc", 0.0},     {u"", 0.0},           {u".5", 0.5}};
    for (const auto& c : cases) {
        EXPECT_EQ(Val(c.text), c.value) << TextToUtf8(c.text);
    }
    EXPECT_EQ(ValInteger(u"2.5"), 2);
    EXPECT_EQ(ValInteger(u"3.5"), 4);
    EXPECT_EQ(ValInteger(u"1e40"), std::numeric_limits<long long>::max());
    for (const char16_t* text : {u"0", u" 12 ", u"-1", u"0.0", u"1e3", u"+7", u"&HFF", u".5"}) {
        EXPECT_TRUE(IsNumeric(text)) << TextToUtf8(text);
    }
    for (const char16_t* text : {u"", u"  ", u"abc", u"12a", u"-", u"1e", u"1 2", u"."}) {
        EXPECT_FALSE(IsNumeric(text)) << TextToUtf8(text);
    }
}

TEST(Strings, CaseFoldingCoversNationalLetters) {
    EXPECT_EQ(ToUpper(u"ämnesord åäö é ß"), u"ÄMNESORD ÅÄÖ É ß");
    EXPECT_EQ(ToLower(u"ANVÄNDARE ÅÄÖ ŠŽŒŸ ×"), u"användare åäö šžœÿ ×");
    EXPECT_TRUE(EqualsNoCase(u"Lösenord", u"LÖSENORD"));
    EXPECT_FALSE(EqualsNoCase(u"Lösenord", u"LOSENORD"));
    EXPECT_TRUE(StartsWithNoCase(u"FTPX\\Host", u"ftp"));
    EXPECT_EQ(FindNoCase(u"<html><HTML>", u"<html>", 1), 6u);
    EXPECT_EQ(FindNoCase(u"abc", u"x"), std::u16string::npos);
}

// A destination or workfile named with national letters is the file the cataloguer named, on
// the disk and when its name is read back.
TEST(Strings, PathsKeepNationalLetters) {
    test::TempDir dir;
    const std::u16string name = u"Åsa ö € \u2713.mrc";
    std::ofstream(dir / TextToPath(name)) << "x";
    ASSERT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
    EXPECT_EQ(PathToText(std::filesystem::directory_iterator(dir.Path())->path().filename()), name);
    EXPECT_EQ(PathToText(TextToPath(u"C:/Åsa/export.mrc")), u"C:/Åsa/export.mrc");
}

}  // namespace
}  // namespace tesselex
