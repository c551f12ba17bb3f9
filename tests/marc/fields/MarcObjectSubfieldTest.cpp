// Text rules of one subfield.
#include "marc/MarcObjectSubfield.h"

#include <gtest/gtest.h>

#include "config/Error.h"

namespace tesselex {
namespace {

MarcObjectSubfield Sub(std::u16string_view value) {
    return MarcObjectSubfield(u'a', value);
}

TEST(MarcObjectSubfieldText, SetValueTrimsBlanksOnly) {
    MarcObjectSubfield sub;
    sub.SetValue(u"  Title :  ");
    EXPECT_EQ(sub.Value(), u"Title :");
    sub.SetValue(u"   ");
    EXPECT_EQ(sub.Value(), u"");
    sub.SetValue(u"\tTab\t");
    EXPECT_EQ(sub.Value(), u"\tTab\t");
}

TEST(MarcObjectSubfieldText, Character20ReadsAsBackslashButStaysStored) {
    MarcObjectSubfield sub = Sub(u"C:");
    sub.Append(std::u16string(1, char16_t{20}) + u"dir");
    EXPECT_EQ(sub.Value(), u"C:\\dir");
    EXPECT_EQ(sub.LeftString(3), std::u16string(u"C:") + char16_t{20});
    // Setting does not convert back: a backslash stays a backslash.
    sub.SetValue(u"a\\b");
    EXPECT_EQ(sub.StoredValue(), u"a\\b");
}

TEST(MarcObjectSubfieldText, AppendAndInsertBeforeHonourIfNotExists) {
    MarcObjectSubfield sub = Sub(u"Title.");
    sub.Append(u".", true);
    sub.Append(u"", true);
    EXPECT_EQ(sub.Value(), u"Title.");
    sub.Append(u".", false);
    EXPECT_EQ(sub.Value(), u"Title..");
    sub.Append(u" end ", true);  // blanks are kept
    EXPECT_EQ(sub.StoredValue(), u"Title.. end ");

    MarcObjectSubfield pre = Sub(u"[Title]");
    pre.InsertBefore(u"[", true);
    pre.InsertBefore(u"", true);
    EXPECT_EQ(pre.Value(), u"[Title]");
    pre.InsertBefore(u"(", true);
    EXPECT_EQ(pre.Value(), u"([Title]");
    pre.InsertBefore(u"(", false);
    EXPECT_EQ(pre.Value(), u"(([Title]");
}

TEST(MarcObjectSubfieldText, SubstringGivesPositionOrOrdinal) {
    const MarcObjectSubfield sub = Sub(u"Stockholm : Norstedt");
    EXPECT_EQ(sub.Substring(u"NORSTEDT"), 13);
    EXPECT_EQ(sub.Substring(u"Uppsala"), 0);
    EXPECT_EQ(sub.Substring(std::vector<std::u16string>{u"uppsala", u"norstedt", u"stock"}), 2);
    EXPECT_EQ(sub.Substring(std::vector<std::u16string>{u"uppsala", u"lund"}), std::nullopt);
    EXPECT_EQ(Sub(u"").Substring(u""), 0);
}

TEST(MarcObjectSubfieldText, MapCodesMapsSingleCharactersOnly) {
    const MarcObjectSubfield sub = Sub(u"Aa!");
    EXPECT_EQ(sub.MapCodes(u"a=b;*=x", u";"), u"bbx");
    EXPECT_EQ(sub.MapCodes(u"a=bc", u";"), u"Aa!");
    // The first entry for a source wins, whatever its letter case.
    EXPECT_EQ(sub.MapCodes(u"A=y;a=z", u";"), u"yy!");
    // An empty replacement, an entry without "=" and a two-character source map nothing.
    EXPECT_EQ(sub.MapCodes(u"a=;!;!!=q", u";"), u"Aa!");
    EXPECT_EQ(sub.StoredValue(), u"Aa!");
}

TEST(MarcObjectSubfieldText, FilingValuePrefersPositionOverMarker) {
    const MarcObjectSubfield sub = Sub(u"The@ Great Gatsby xy");  // 20 characters
    EXPECT_EQ(sub.FilingValue(u'@', 5), u" Great Gatsby xy");
    EXPECT_EQ(sub.FilingValue(u'@', 0), u"Great Gatsby xy");
    EXPECT_EQ(sub.FilingValue(u'@', 1), u"Great Gatsby xy");
    EXPECT_EQ(sub.FilingValue(u'#', 30), u"The@ Great Gatsby xy");
    EXPECT_THROW(sub.FilingValue(-1, 0), Error);
}

TEST(MarcObjectSubfieldText, LeftAndRightStringClampLengths) {
    const MarcObjectSubfield sub = Sub(u"abcdef");
    EXPECT_EQ(sub.LeftString(2), u"ab");
    EXPECT_EQ(sub.RightString(2), u"ef");
    EXPECT_EQ(sub.LeftString(99), u"abcdef");
    EXPECT_EQ(sub.RightString(99), u"abcdef");
    EXPECT_EQ(sub.LeftString(-1), u"");
    EXPECT_EQ(sub.RightString(-1), u"");
}

TEST(MarcObjectSubfieldText, LastInStrComparesLastStarts) {
    const MarcObjectSubfield sub = Sub(u"a-b.c-d");
    EXPECT_EQ(sub.LastInStr(u"-", u"."), 1);
    EXPECT_EQ(sub.LastInStr(u".", u"-"), 2);
    EXPECT_EQ(sub.LastInStr(u"-", u"-"), 0);
    EXPECT_EQ(sub.LastInStr(u"x", u"y"), 0);
    EXPECT_EQ(sub.LastInStr(u"x", u"a"), 2);
    EXPECT_EQ(sub.LastInStr(u"D", u"a"), 2);  // case-sensitive: "D" does not occur
}

}  // namespace
}  // namespace tesselex
