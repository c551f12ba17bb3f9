// The fixed conversions: UTF-8 both ways, Latin-1, the code page, VRLIN, the Swedish letters,
// and the folding underneath them.

#include <gtest/gtest.h>

#include "charset/CharacterClass.h"
#include "charset/Fold.h"
#include "charset/VrlinTable.h"
#include "config/CodePage.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

using namespace std::string_literals;

const std::u16string kLoneHigh(1, u'\xD800');

TEST(FoldTest, ExpandsLetterLigatures) {
    EXPECT_EQ(FoldString(u"\u00C6\u00E6\u0152\u0153\u0132\u0133\u01C6\u01F2\u01FC\u00DF"
                         u"\uFB00\uFB01\uFB02\uFB03\uFB04\uFB05\uFB06",
                         kFoldExpandLigatures),
              u"AEaeOEoeIJijd\u017EDzAE\u0301\u00DF"
              u"fffiflffifflstst");
}

class ConversionTest : public ::testing::Test {
  protected:
    CharacterClass cc_;
};

TEST_F(ConversionTest, Utf8StringNormalisesAndReplacesTheCallersText) {
    const struct {
        std::u16string text;
        std::int32_t normalization;
        std::string utf8;
        std::u16string after;
    } cases[] = {
        {u"e\u0301 \u0100", 0, "\303\251 A\314\204", u"\u00E9 A\u0304"},
        // Controls below 28 become "?", the record delimiters pass; 0x8000 up reads negative.
        {u"a\u0001\u001D\u001E\u001F\u9000\U0001F600", 0, "a?\035\036\037???",
         u"a?\035\036\037???"},
        {u"e\u0301", 1, "\303\251", u"\u00E9"},
        {u"\u00E9", 2, "e\314\201", u"e\u0301"},
        {u"e\u0301\u20AC\U0001F600", 7, "e\314\201\342\202\254\360\237\230\200",
         u"e\u0301\u20AC\U0001F600"},
        {kLoneHigh, 99, "\357\277\275", kLoneHigh},
        // The text is handed over zero-terminated.
        {u"ab\0cd"s, 3, "ab", u"ab\0cd"s},
        {u"", 1, "", u""},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.utf8);
        EXPECT_EQ(cc_.UTF8String(c.text, c.normalization), AnsiToText(c.utf8));
        EXPECT_EQ(c.text, c.after);
    }
}

TEST_F(ConversionTest, Ucs2StringDecodesAndReplacesMalformedInput) {
    std::u16string text = u"ASCII \u00C5\u00FF \u0141\u20AC\u4E2D\uFFFD \U0001F600\U00010348";
    EXPECT_EQ(cc_.UCS2String(cc_.UTF8String(text, 99)), text);
    EXPECT_EQ(cc_.UCS2String(u""), u"");
    EXPECT_EQ(cc_.UCS2String(AnsiToText("\303\251 a\303 \377b \342\202c \355\240\200 \300\257")),
              u"\u00E9 a\uFFFD \uFFFDb \uFFFDc \uFFFD \uFFFD\uFFFD");
}

TEST_F(ConversionTest, NarrowStringKeepsLatin1AndReducesTheRest) {
    EXPECT_EQ(cc_.NarrowString(u""), u"");
    EXPECT_EQ(cc_.NarrowString(u"e\u0301 \u00FF \u0152uvre \u0133 \u01C6 \u0151\u0101\u1E69"),
              u"\u00E9 \u00FF OEuvre ij d oas");
    // Dashes, C1 controls, symbols and letters without a decomposition are dropped.
    EXPECT_EQ(cc_.NarrowString(u"a\u2013b\u0081\u20AC\u0141c"), u"abc");
    // Code units from 0x8000 read as negative numbers and pass, but for the letter ligatures.
    EXPECT_EQ(cc_.NarrowString(u"\uFFFD\U0001F600\uFB13 \uFB01x\uFB00\uFB03\uFB06"),
              u"\uFFFD\U0001F600\uFB13 fixffffist");
}

TEST_F(ConversionTest, RplcWritesSwedishLettersAsMarkAndLetter) {
    std::u16string text = u"\u00C5sa \u00C4\u00D6\u00E5\u00E4\u00F6\u00E9";
    const std::u16string expected = u"\u00EAAsa \u00E8A\u00E8O\u00EAa\u00E8a\u00E8o\u00E9";
    EXPECT_EQ(cc_.rplc(text), expected);
    EXPECT_EQ(text, expected);
}

TEST_F(ConversionTest, CleanStringNarrowsToTheCodePage) {
    EXPECT_EQ(cc_.CleanString(u"\u0141\u00F3d\u017A \u0151\u0101 e\u0301 q\u0301 \uFB01\u0133"),
              u"L\u00F3dz oa \u00E9 q fiij");
    EXPECT_EQ(cc_.CleanString(u"\u20AC\u0160\u0152\u017E\u2122"),
              u"\u20AC\u0160\u0152\u017E\u2122");
    // Anything else becomes the replacement; no NUL comes out of text without one.
    EXPECT_EQ(cc_.CleanString(u"\u4E2D\U0001F600|\u2010\u0301" + kLoneHigh), u"??|??");
    EXPECT_EQ(cc_.CleanString(u"\u4E2D\u0416x", u"\u0416", u"_"), u"_\u0416x");
    EXPECT_EQ(cc_.CleanString(u"\u4E2Dx", {}, u""), u"x");
    EXPECT_EQ(cc_.CleanString(u"\u00E5\u00FF\u00B5\u00DF\u0142\uFB01\u0436", u"\u0436", u"?", true),
              u"\u00C5\u0178\u00B5\u00DFLFI\u0436");
    std::string all;
    for (int b = 1; b < 0x100; ++b) {
        all += static_cast<char>(b);
    }
    EXPECT_EQ(cc_.CleanString(AnsiToText(all)), AnsiToText(all));
}

TEST_F(ConversionTest, VrlinStringWritesCodesAndMarksInFront) {
    EXPECT_EQ(cc_.VRLINString(u"Kalle Anka, 1+1=2. Vem?"), u"Kalle Anka, 1+1=2. Vem?");
    // A leading mark has no letter and is written where it stands.
    EXPECT_EQ(
        cc_.VRLINString(u"\u0301a \u00C5\u00E4\u0141\u00D8\u00E6 \u00E9 q\u0301x \u1E69 \u01FF"),
        AnsiToText("\342a \203\207\241\242\265 \342e \342qx \362\347s \342\262"));
    EXPECT_EQ(cc_.VRLINString(u"\u20AC\u4E2D\U0001F600\u2074\u2082"), AnsiToText("???\304\322"));
}

TEST(VrlinTableTest, FilledAsDefined) {
    const VrlinTable& table = TheVrlinTable();
    EXPECT_EQ(table[789], 0x100 | 248);
    EXPECT_EQ(table[43], 203);
    EXPECT_EQ(table[63], 224);
    int filled = 0;
    for (std::uint16_t slot : table) {
        EXPECT_NE(slot & 0xFF, 237);
        filled += slot != 0 ? 1 : 0;
    }
    EXPECT_EQ(filled, 6 + 32 + 10 + 15 + 26);
}

}  // namespace
}  // namespace tesselex
