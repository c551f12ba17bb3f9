// The map text format, one rule at a time.

#include "charset/MapLine.h"

#include <gtest/gtest.h>

namespace tesselex {
namespace {

TEST(MapLineTest, DirectivesAreTrimmedAndUpperCased) {
    MapLine line = ParseMapLine(u"  $ reverseDiacritics  ");
    EXPECT_EQ(line.kind, MapLine::Kind::Directive);
    EXPECT_EQ(line.directive, u"REVERSEDIACRITICS");
}

TEST(MapLineTest, CommentsAndLinesWithoutEquals) {
    MapLine comment = ParseMapLine(u"# 41=42");
    EXPECT_EQ(comment.kind, MapLine::Kind::NoEntry);
    EXPECT_EQ(comment.comment, u"41=42");
    EXPECT_EQ(ParseMapLine(u"4142").kind, MapLine::Kind::NoEntry);
    EXPECT_EQ(ParseMapLine(u"").kind, MapLine::Kind::NoEntry);

    MapLine entry = ParseMapLine(u"A5=&H00C6 #  AE ligature # second ");
    EXPECT_EQ(entry.kind, MapLine::Kind::Entry);
    EXPECT_EQ(entry.left, u"\u00A5");
    EXPECT_EQ(entry.right, u"\u00C6");
    EXPECT_EQ(entry.comment, u"AE ligature # second");
}

TEST(MapLineTest, DiacriticFlagCutsTheLineAndKeepsBlanksOnTheRight) {
    MapLine mark = ParseMapLine(u"E1=&H0300 /d # grave");
    EXPECT_TRUE(mark.isDiacritic);
    EXPECT_EQ(mark.left, u"\u00E1");
    EXPECT_EQ(mark.right, u"\u0300");
    // In byte-pair form the blank before /D is a pair of its own and reads as code 0.
    MapLine pairs = ParseMapLine(u"&H0300=E1 /D");
    EXPECT_EQ(pairs.right, std::u16string(u"\u00E1\0", 2));
    EXPECT_FALSE(ParseMapLine(u"41=42").isDiacritic);
}

TEST(MapLineTest, CodePointFormTokensAndLiteralPrefix) {
    MapLine line = ParseMapLine(u"&H41 = &H42");
    EXPECT_EQ(line.left, u"A");
    EXPECT_EQ(line.right, u" B");
    EXPECT_EQ(DecodeMapPart(u"&H0041 &H0301"), u"A\u0301");
    EXPECT_EQ(DecodeMapPart(u"0x41 0X301"), u"A\u0301");
    EXPECT_EQ(DecodeMapPart(u"x&H41"), u"xA");
    // Reading stops at the first character that is no hex digit; the rest of the token goes.
    EXPECT_EQ(DecodeMapPart(u"&H41zz"), u"A");
    EXPECT_EQ(DecodeMapPart(u"&H"), std::u16string(1, u'\0'));
    EXPECT_EQ(DecodeMapPart(u"&HFFFF"), u"\uFFFF");
}

TEST(MapLineTest, BytePairFormGoesThroughTheCodePage) {
    EXPECT_EQ(DecodeMapPart(u"E1"), u"\u00E1");
    EXPECT_EQ(DecodeMapPart(u"C3A9"), u"\u00C3\u00A9");
    EXPECT_EQ(DecodeMapPart(u"80"), u"\u20AC");
    EXPECT_EQ(DecodeMapPart(u"9D"), u"\u009D");
    EXPECT_EQ(DecodeMapPart(u"E 1"), u"\u000E\u0001");
    EXPECT_EQ(DecodeMapPart(u"414"), u"A\u0004");
    EXPECT_EQ(DecodeMapPart(u"ZZ"), std::u16string(1, u'\0'));
    EXPECT_EQ(DecodeMapPart(u""), u"");
    EXPECT_EQ(ParseMapLine(u"41 =42").left, std::u16string(u"A\0", 2));
}

}  // namespace
}  // namespace tesselex
