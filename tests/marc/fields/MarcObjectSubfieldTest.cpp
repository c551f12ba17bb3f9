// Text rules of one subfield.
#include "marc/MarcObjectSubfield.h"

#include <gtest/gtest.h>

#include "config/Error.h"

namespace tesselex {
namespace {

MarcObjectSubfield Sub(std::u16string_view value) {
    return MarcObjectSubfield(u'a', value);
}

TEST(MarcObjectSubfieldText, ValueTrimsBlanksAndShowsCharacter20AsBackslash) {
    MarcObjectSubfield sub = Sub(u"  Title :  ");
    EXPECT_EQ(sub.Value(), u"Title :");
    sub.SetValue(u"C:\u0014dir");
    EXPECT_EQ(sub.Value(), u"C:\\dir");
    EXPECT_EQ(sub.LeftString(3), u"C:\x14");
    sub.SetValue(u"a\\b");  // setting does not convert back
    EXPECT_EQ(sub.StoredValue(), u"a\\b");
}

TEST(MarcObjectSubfieldText, AppendAndInsertBeforeHonourIfNotExists) {
    MarcObjectSubfield sub = Sub(u"Title.");
    sub.Append(u".", true);
    sub.Append(u"", true);
    EXPECT_EQ(sub.Value(), u"Title.");
    sub.Append(u".", false);
    sub.Append(u" end ", true);  // blanks are kept
    EXPECT_EQ(sub.StoredValue(), u"Title.. end ");

    MarcObjectSubfield pre = Sub(u"[Title]");
    pre.InsertBefore(u"[", true);
    pre.InsertBefore(u"", true);
    EXPECT_EQ(pre.Value(), u"[Title]");
    pre.InsertBefore(u"(", true);
    pre.InsertBefore(u"(", false);
    EXPECT_EQ(pre.Value(), u"(([Title]");
}

TEST(MarcObjectSubfieldText, SearchesMapsAndParts) {
    const MarcObjectSubfield sub = Sub(u"Stockholm : Norstedt");
    EXPECT_EQ(sub.Substring(u"NORSTEDT"), 13);
    EXPECT_EQ(sub.Substring(u"Uppsala"), 0);
    EXPECT_EQ(sub.Substring(std::vector<std::u16string>{u"uppsala", u"norstedt", u"stock"}), 2);
    EXPECT_EQ(sub.Substring(std::vector<std::u16string>{u"uppsala"}), std::nullopt);
    EXPECT_EQ(Sub(u"").Substring(u""), 0);

    const MarcObjectSubfield aa = Sub(u"Aa!");
    EXPECT_EQ(aa.MapCodes(u"a=b;*=x", u";"), u"bbx");
    EXPECT_EQ(aa.MapCodes(u"a=bc", u";"), u"Aa!");
    EXPECT_EQ(aa.MapCodes(u"A=y;a=z", u";"), u"yy!") << "the first entry for a source wins";
    EXPECT_EQ(aa.MapCodes(u"a=;!;!!=q", u";"), u"Aa!");
    EXPECT_EQ(aa.StoredValue(), u"Aa!");

    const MarcObjectSubfield gatsby = Sub(u"The@ Great Gatsby xy");  // 20 characters
    EXPECT_EQ(gatsby.FilingValue(u'@', 5), u" Great Gatsby xy");
    EXPECT_EQ(gatsby.FilingValue(u'@', 1), u"Great Gatsby xy");
    EXPECT_EQ(gatsby.FilingValue(u'#', 30), u"The@ Great Gatsby xy");
    EXPECT_THROW(gatsby.FilingValue(-1, 0), Error);

    const MarcObjectSubfield abc = Sub(u"abcdef");
    EXPECT_EQ(abc.LeftString(2) + abc.RightString(2), u"abef");
    EXPECT_EQ(abc.LeftString(99) + abc.RightString(99), u"abcdefabcdef");
    EXPECT_EQ(abc.LeftString(-1) + abc.RightString(-1), u"");

    // LastInStr tells which of two texts starts last.
    const MarcObjectSubfield dashes = Sub(u"a-b.c-d");
    EXPECT_EQ(dashes.LastInStr(u"-", u"."), 1);
    EXPECT_EQ(dashes.LastInStr(u".", u"-"), 2);
    EXPECT_EQ(dashes.LastInStr(u"-", u"-"), 0);
    EXPECT_EQ(dashes.LastInStr(u"x", u"y"), 0);
    EXPECT_EQ(dashes.LastInStr(u"D", u"a"), 2);  // case-sensitive: "D" does not occur
}

}  // namespace
}  // namespace tesselex
