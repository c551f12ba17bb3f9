// The fixed conversions: UTF-8 both ways, Latin-1, the code page, VRLIN, the Swedish letters,
// and the folding underneath them.

#include <gtest/gtest.h>

#include "charset/CharacterClass.h"
#include "charset/Fold.h"
#include "charset/VrlinTable.h"
#include "config/CodePage.h"

namespace tesselex {
namespace {

// The 8-bit string of some bytes.
std::u16string Bytes(std::string_view bytes) {
    return AnsiToText(bytes);
}

// An unpaired surrogate, which a string literal cannot hold.
std::u16string Lone(char16_t unit) {
    return std::u16string(1, unit);
}

class ConversionTest : public ::testing::Test {
  protected:
    CharacterClass cc_;
};

TEST(FoldTest, ComposeDecomposeAndLigatures) {
    EXPECT_EQ(FoldString(u"e\u0301A\u030A", kFoldCompose), u"\u00E9\u00C5");
    EXPECT_EQ(FoldString(u"\u00E9\u1E69", kFoldDecompose), u"e\u0301s\u0323\u0307");
    EXPECT_EQ(FoldString(u"\u00C6\u00E6\u0152\u0153\u0132\u0133", kFoldExpandLigatures),
              u"AEaeOEoeIJij");
    EXPECT_EQ(FoldString(u"\uFB00\uFB01\uFB02\uFB03\uFB04\uFB05\uFB06", kFoldExpandLigatures),
              u"fffiflffifflstst");
    EXPECT_EQ(FoldString(u"\u01C6\u01F2\u01FC", kFoldExpandLigatures), u"d\u017EDzAE\u0301");
    // Folding leaves everything else alone, unpaired surrogates included.
    EXPECT_EQ(FoldString(u"x\u00DF" + Lone(0xD800) + u"y", kFoldExpandLigatures),
              u"x\u00DF" + Lone(0xD800) + u"y");
    EXPECT_EQ(FoldString(u"x" + Lone(0xD800) + u"y", kFoldCompose), u"x" + Lone(0xD800) + u"y");
    EXPECT_EQ(FoldString(u"", kFoldCompose), u"");
}

TEST_F(ConversionTest, Utf8StringComposeToLatin1) {
    std::u16string text = u"e\u0301";
    EXPECT_EQ(cc_.UTF8String(text, 0), Bytes("\xC3\xA9"));
    EXPECT_EQ(text, u"\u00E9");
    text = u"\u0100";
    EXPECT_EQ(cc_.UTF8String(text, 0), Bytes("A\xCC\x84"));
    EXPECT_EQ(text, u"A\u0304");
    text = u"\u9000";
    EXPECT_EQ(cc_.UTF8String(text, 0), u"?");
    // Controls below 28 are replaced; the record delimiters pass.
    text = u"a\u0001\u001D\u001E\u001F\U0001F600";
    EXPECT_EQ(cc_.UTF8String(text, 0), u"a?\u001D\u001E\u001F??");
}

TEST_F(ConversionTest, Utf8StringComposeDecomposeAndNone) {
    std::u16string text = u"\u00E9";
    EXPECT_EQ(cc_.UTF8String(text, 2), Bytes("e\xCC\x81"));
    EXPECT_EQ(text, u"e\u0301");
    EXPECT_EQ(cc_.UTF8String(text, 1), Bytes("\xC3\xA9"));
    EXPECT_EQ(text, u"\u00E9");
    text = u"e\u0301";
    EXPECT_EQ(cc_.UTF8String(text, 7), Bytes("e\xCC\x81"));
    EXPECT_EQ(text, u"e\u0301");
    // The text is handed over zero-terminated.
    text = std::u16string(u"ab\0cd", 5);
    EXPECT_EQ(cc_.UTF8String(text, 3), u"ab");
    text.clear();
    EXPECT_EQ(cc_.UTF8String(text, 1), u"");
}

TEST_F(ConversionTest, Utf8BothWaysForEveryRangeOfCodePoints) {
    const std::u16string samples[] = {u"plain ASCII", u"\u00C5\u00E4\u00F6\u00FF",
                                      u"\u0141\u20AC\u4E2D\uFFFD", u"\U0001F600\U00010348"};
    for (std::u16string text : samples) {
        const std::u16string original = text;
        const std::u16string utf8 = cc_.UTF8String(text, 99);
        EXPECT_EQ(cc_.UCS2String(utf8), original);
    }
    std::u16string text = u"\u20AC\U0001F600";
    EXPECT_EQ(cc_.UTF8String(text, 99), Bytes("\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_EQ(cc_.UCS2String(u"\u00C3\u00A9"), u"\u00E9");
    // A lone surrogate cannot be encoded; it becomes the replacement character.
    text = u"a" + Lone(0xDC00);
    EXPECT_EQ(cc_.UTF8String(text, 99), Bytes("a\xEF\xBF\xBD"));
}

TEST_F(ConversionTest, Ucs2StringReplacesMalformedInput) {
    EXPECT_EQ(cc_.UCS2String(u""), u"");
    EXPECT_EQ(cc_.UCS2String(Bytes("a\xC3")), u"a\uFFFD");
    EXPECT_EQ(cc_.UCS2String(Bytes("\xFF"
                                   "b")),
              u"\uFFFDb");
    EXPECT_EQ(cc_.UCS2String(Bytes("\xE2\x82"
                                   "c")),
              u"\uFFFDc");
    EXPECT_EQ(cc_.UCS2String(Bytes("\xED\xA0\x80")), u"\uFFFD");
    EXPECT_EQ(cc_.UCS2String(Bytes("\xC0\xAF")).find(u'/'), std::u16string::npos);
    // Every byte value survives the trip through the 8-bit string.
    std::string all;
    for (int b = 0x80; b < 0x100; ++b) {
        all += "\xC2\x80";
        all[all.size() - 2] = static_cast<char>(0xC0 | (b >> 6));
        all[all.size() - 1] = static_cast<char>(0x80 | (b & 0x3F));
    }
    const std::u16string decoded = cc_.UCS2String(Bytes(all));
    ASSERT_EQ(decoded.size(), 0x80u);
    EXPECT_EQ(decoded.front(), u'\u0080');
    EXPECT_EQ(decoded.back(), u'\u00FF');
}

TEST_F(ConversionTest, NarrowStringKeepsLatin1AndReducesTheRest) {
    EXPECT_EQ(cc_.NarrowString(u""), u"");
    EXPECT_EQ(cc_.NarrowString(u"e\u0301 \u00FF"), u"\u00E9 \u00FF");
    EXPECT_EQ(cc_.NarrowString(u"\u0152uvre \u0133 \u01C6"), u"OEuvre ij d");
    EXPECT_EQ(cc_.NarrowString(u"\u0151\u0101\u1E69"), u"oas");
    // Dashes, C1 controls, symbols and letters without a decomposition are dropped.
    EXPECT_EQ(cc_.NarrowString(u"a\u2013b\u0081\u20AC\u0141c"), u"abc");
    // Code units from 0x8000 read as negative numbers and pass.
    EXPECT_EQ(cc_.NarrowString(u"\uFFFD\U0001F600\uFB01"), u"\uFFFD\U0001F600\uFB01");
}

TEST_F(ConversionTest, RplcWritesSwedishLettersAsMarkAndLetter) {
    std::u16string text = u"\u00C5sa";
    EXPECT_EQ(cc_.rplc(text), u"\u00EAAsa");
    EXPECT_EQ(text, u"\u00EAAsa");
    text = u"\u00C5\u00C4\u00D6\u00E5\u00E4\u00F6\u00E9";
    EXPECT_EQ(cc_.rplc(text), u"\u00EAA\u00E8A\u00E8O\u00EAa\u00E8a\u00E8o\u00E9");
}

TEST_F(ConversionTest, CleanStringNarrowsToTheCodePage) {
    EXPECT_EQ(cc_.CleanString(u"\u0141\u00F3d\u017A \u0151 \u0101"), u"L\u00F3dz o a");
    EXPECT_EQ(cc_.CleanString(u"e\u0301 q\u0301 \u20AC\u0160\u0152\u017E\u2122"),
              u"\u00E9 q \u20AC\u0160\u0152\u017E\u2122");
    EXPECT_EQ(cc_.CleanString(u"\u4E2D\U0001F600|\u2010"), u"??|?");
    EXPECT_EQ(cc_.CleanString(u"\uFB01 \u0133"), u"fi ij");
    EXPECT_EQ(cc_.CleanString(u"\u4E2D\u0416x", u"\u0416", u"_"), u"_\u0416x");
    EXPECT_EQ(cc_.CleanString(u"\u4E2Dx", {}, u""), u"x");
    EXPECT_EQ(cc_.CleanString(u"\u00E5\u00FF\u00B5\u00DF\u0142\uFB01\u0436", u"\u0436", u"?", true),
              u"\u00C5\u0178\u00B5\u00DFLFI\u0436");
}

TEST_F(ConversionTest, CleanStringLeavesEightBitStringsAlone) {
    std::string all;
    for (int b = 1; b < 0x100; ++b) {
        all += static_cast<char>(b);
    }
    const std::u16string eightBit = Bytes(all);
    EXPECT_EQ(cc_.CleanString(eightBit), eightBit);
    // No NUL ever comes out of text without one.
    const std::u16string cleaned = cc_.CleanString(u"\u4E2D\U0001F600\u0301" + Lone(0xD800));
    EXPECT_EQ(cleaned.find(u'\0'), std::u16string::npos);
    EXPECT_EQ(cleaned, u"???");
}

TEST_F(ConversionTest, VrlinStringWritesCodesAndMarksInFront) {
    const auto code = [](unsigned char byte) { return std::u16string(1, AnsiToChar(byte)); };
    EXPECT_EQ(cc_.VRLINString(u"Kalle Anka, 1+1=2. Vem?"), u"Kalle Anka, 1+1=2. Vem?");
    EXPECT_EQ(cc_.VRLINString(u"\u00C5\u00E4\u0141\u00D8\u00E6"),
              code(131) + code(135) + code(161) + code(162) + code(181));
    EXPECT_EQ(cc_.VRLINString(u"\u00E9"), code(226) + u"e");
    EXPECT_EQ(cc_.VRLINString(u"e\u0301"), code(226) + u"e");
    EXPECT_EQ(cc_.VRLINString(u"q\u0301x"), code(226) + u"qx");
    EXPECT_EQ(cc_.VRLINString(u"\u1E69"), code(242) + code(231) + u"s");
    EXPECT_EQ(cc_.VRLINString(u"\u01FF"), code(226) + code(178));
    EXPECT_EQ(cc_.VRLINString(u"\u0301a"), code(226) + u"a");
    EXPECT_EQ(cc_.VRLINString(u"\u20AC\u4E2D\U0001F600\u2074\u2082"),
              u"???" + code(196) + code(210));
}

TEST(VrlinTableTest, FilledAsDefined) {
    const VrlinTable& table = TheVrlinTable();
    EXPECT_EQ(table[789], 0x100 | 248);
    EXPECT_EQ(table[43], 203);
    EXPECT_EQ(table[63], 224);
    EXPECT_EQ(table[8467], 160);
    EXPECT_EQ(table[65059], 0x100 | 251);
    EXPECT_EQ(table[u'A'], 0);
    int filled = 0;
    for (std::uint16_t slot : table) {
        EXPECT_NE(slot & 0xFF, 237);
        filled += slot != 0 ? 1 : 0;
    }
    EXPECT_EQ(filled, 6 + 32 + 10 + 15 + 26);
}

}  // namespace
}  // namespace tesselex
