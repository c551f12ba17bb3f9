#include "config/CodePage.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tesselex {
namespace {

TEST(CodePage, EveryByteSurvivesTheRoundTrip) {
    std::string bytes;
    for (int b = 0; b < 256; ++b) {
        bytes += static_cast<char>(b);
    }
    const std::u16string text = AnsiToText(bytes);
    EXPECT_EQ(TextToAnsi(text), bytes);
    // Lossless means no two bytes share a character.
    EXPECT_EQ(std::set<char16_t>(text.begin(), text.end()).size(), 256u);
    for (const char16_t ch : text) {
        EXPECT_TRUE(IsAnsiChar(ch)) << static_cast<int>(ch);
    }
    // The bytes Windows-1252 leaves undefined stand for themselves.
    for (const int byte : {0x81, 0x8D, 0x8F, 0x90, 0x9D}) {
        EXPECT_EQ(text[static_cast<std::size_t>(byte)], static_cast<char16_t>(byte));
    }
}

TEST(CodePage, HighHalfFollowsWindows1252) {
    EXPECT_EQ(AnsiToText("\x80\x8A\x96\x9F\xE5"), u"\u20AC\u0160\u2013\u0178å");
    EXPECT_EQ(TextToAnsi(u"Lösenord"), "L\xF6senord");
    // U+0080 and U+009F are C1 controls whose bytes the code page gives to € and Ÿ.
    for (const char16_t ch : {u'\u0080', u'\u009F', u'\u0100', u'\u4E2D', u'\uFFFD', u'\xD800'}) {
        EXPECT_EQ(CharToAnsi(ch), '?') << static_cast<int>(ch);
        EXPECT_FALSE(IsAnsiChar(ch)) << static_cast<int>(ch);
    }
    EXPECT_TRUE(IsAnsiChar(u'?'));
}

TEST(CodePage, AlphaNumericTakesLettersOfTheCodePage) {
    for (const char16_t ch : std::u16string(u"09AZaz") + u"ŠšŒœŽžŸƒªµºÀÖØöøÿåäöÅÄÖéÉß") {
        EXPECT_TRUE(IsAnsiAlphaNumeric(ch)) << static_cast<int>(ch);
        EXPECT_TRUE(IsAnsiAlphaNumeric(CharToAnsi(ch))) << static_cast<int>(ch);
    }
    // Outside the code page a character is judged as its substitute "?".
    for (const char16_t ch :
         std::u16string(u" -_.,/%+=@[`{~\t") + u"×÷€§°«»¿¡‰–—™\u0081\u00A0\u4E2D\u0100") {
        EXPECT_FALSE(IsAnsiAlphaNumeric(ch)) << static_cast<int>(ch);
    }
    EXPECT_FALSE(IsAnsiAlphaNumeric(static_cast<unsigned char>(0)));
}

}  // namespace
}  // namespace tesselex
