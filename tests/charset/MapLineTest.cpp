// The map text format, one rule at a time.

#include "charset/MapLine.h"

#include <gtest/gtest.h>

#include "config/Utf.h"

namespace tesselex {
namespace {

using namespace std::string_literals;

TEST(MapLineTest, SplitsDirectivesCommentsMarksAndSides) {
    const MapLine directive = ParseMapLine(u"  $ reverseDiacritics  ");
    EXPECT_EQ(directive.kind, MapLine::Kind::Directive);
    EXPECT_EQ(directive.directive, u"REVERSEDIACRITICS");

    const MapLine entry = ParseMapLine(u"A5=&H00C6 #  AE ligature # second ");
    EXPECT_EQ(entry.kind, MapLine::Kind::Entry);
    EXPECT_EQ(entry.left + u"|" + entry.right + u"|" + entry.comment,
              u"\u00A5|\u00C6|AE ligature # second");
    EXPECT_FALSE(entry.isDiacritic);
    const MapLine mark = ParseMapLine(u"E1=&H0300 /d # grave");
    EXPECT_TRUE(mark.isDiacritic);
    EXPECT_EQ(mark.left + u"|" + mark.right, u"\u00E1|\u0300");
    // Blanks around "=" and before /D stay: in byte-pair form a blank reads as code 0; in
    // code-point form a blank after the digits belongs to the token, one in front of the
    // first "&H" stays as a literal.
    EXPECT_EQ(ParseMapLine(u"&H0300=E1 /D").right, u"\u00E1\0"s);
    EXPECT_EQ(ParseMapLine(u"41 =42").left, u"A\0"s);
    const MapLine spaced = ParseMapLine(u"&H41 = &H42");
    EXPECT_EQ(spaced.left + u"|" + spaced.right, u"A| B");
}

TEST(MapLineTest, DecodesCodePointsAndBytePairs) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"&H0041 &H0301", u"A\u0301"},
        {u"0x41 0X301", u"A\u0301"},
        {u"x&H41", u"xA"},
        {u"&H4 1", u"A"},  // blanks among the digits are skipped
        // Reading stops at the first character that is no hex digit; the rest of the token goes.
        {u"&H41zz", u"A"},
        {u"&H", u"\0"s},
        {u"&HFFFF", u"\uFFFF"},
        // Byte pairs go through the code page; a pair reads as far as it is hexadecimal.
        {u"E1C3A9", u"\u00E1\u00C3\u00A9"},
        {u"809D", u"\u20AC\u009D"},
        {u"E 1", u"\u000E\u0001"},
        {u"414", u"A\u0004"},
        {u"ZZ", u"\0"s},
    };
    for (const auto& [part, decoded] : cases) {
        EXPECT_EQ(DecodeMapPart(part), decoded) << TextToUtf8(part);
    }
}

}  // namespace
}  // namespace tesselex
