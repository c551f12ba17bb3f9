#include "config/CodePage.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tesselex {
namespace {

std::string AllBytes() {
    std::string bytes;
    for (int b = 0; b < 256; ++b) {
        bytes += static_cast<char>(b);
    }
    return bytes;
}

TEST(CodePage, EveryByteSurvivesTheRoundTrip) {
    const std::string bytes = AllBytes();
    const std::u16string text = AnsiToText(bytes);
    ASSERT_EQ(text.size(), 256u);
    EXPECT_EQ(TextToAnsi(text), bytes);
    // Lossless means no two bytes share a character.
    EXPECT_EQ(std::set<char16_t>(text.begin(), text.end()).size(), 256u);
    for (int b = 0; b < 256; ++b) {
        const auto byte = static_cast<unsigned char>(b);
        EXPECT_EQ(CharToAnsi(AnsiToChar(byte)), byte) << b;
        EXPECT_TRUE(IsAnsiChar(AnsiToChar(byte))) << b;
    }
}

TEST(CodePage, UndefinedBytesStandForThemselves) {
    for (const int value : {0x81, 0x8D, 0x8F, 0x90, 0x9D}) {
        const auto byte = static_cast<unsigned char>(value);
        EXPECT_EQ(AnsiToChar(byte), static_cast<char16_t>(byte));
        EXPECT_EQ(CharToAnsi(static_cast<char16_t>(byte)), byte);
    }
}

TEST(CodePage, HighHalfFollowsWindows1252) {
    EXPECT_EQ(AnsiToChar(0x80), u'\u20AC');
    EXPECT_EQ(AnsiToChar(0x8A), u'\u0160');
    EXPECT_EQ(AnsiToChar(0x96), u'\u2013');
    EXPECT_EQ(AnsiToChar(0x9F), u'\u0178');
    EXPECT_EQ(AnsiToChar(0xE5), u'å');
    EXPECT_EQ(AnsiToText("\xC4mnesord"), u"Ämnesord");
    EXPECT_EQ(TextToAnsi(u"Lösenord"), "L\xF6senord");
}

TEST(CodePage, CharactersOutsideBecomeQuestionMarks) {
    // U+0080 and U+009F are C1 controls whose bytes the code page gives to € and Ÿ.
    for (const char16_t ch : {u'\u0080', u'\u009F', u'\u0100', u'\u4E2D', u'\uFFFD', u'\xD800'}) {
        EXPECT_EQ(CharToAnsi(ch), '?') << static_cast<int>(ch);
        EXPECT_FALSE(IsAnsiChar(ch)) << static_cast<int>(ch);
    }
    EXPECT_TRUE(IsAnsiChar(u'?'));
    EXPECT_EQ(TextToAnsi(u"a\u4E2Db\u20ACc"),
              "a?b\x80"
              "c");
}

TEST(CodePage, AlphaNumericTakesLettersOfTheCodePage) {
    for (const char16_t ch : std::u16string(u"09AZaz") + u"ŠšŒœŽžŸƒªµºÀÖØöøÿåäöÅÄÖéÉß") {
        EXPECT_TRUE(IsAnsiAlphaNumeric(ch)) << static_cast<int>(ch);
        EXPECT_TRUE(IsAnsiAlphaNumeric(CharToAnsi(ch))) << static_cast<int>(ch);
    }
    for (const char16_t ch : std::u16string(u" -_.,/%+=@[`{~\t") + u"×÷€§°«»¿¡‰–—™\u0081\u00A0") {
        EXPECT_FALSE(IsAnsiAlphaNumeric(ch)) << static_cast<int>(ch);
    }
    // Outside the code page a character is judged as its substitute "?".
    EXPECT_FALSE(IsAnsiAlphaNumeric(u'\u4E2D'));
    EXPECT_FALSE(IsAnsiAlphaNumeric(u'\u0100'));
    EXPECT_FALSE(IsAnsiAlphaNumeric(static_cast<unsigned char>(0)));
}

}  // namespace
}  // namespace tesselex
