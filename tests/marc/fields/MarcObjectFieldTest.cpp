// Field rules: tag, fixed length, text form and subfields, indicators, queries and the
// open members (ISBD, SelectFieldsFrom, CharInSubfields).
#include "marc/MarcObjectField.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FieldTestText.h"

namespace tesselex {
namespace {

using test::Listing;
using test::Text;

MarcObjectField WithValue(std::u16string_view value, int fixedLength = 0) {
    MarcObjectField field;
    field.SetFixedLength(fixedLength);
    field.SetValue(value);
    return field;
}

TEST(MarcObjectFieldRules, TagFormattingAndTheZeroRule) {
    MarcObjectField field;
    EXPECT_EQ(field.Tag(), u"");
    field.SetTag(8);
    field.SetTag(0);
    EXPECT_EQ(field.Tag(), u"008");
    field.SetTag(u"245abc");
    field.SetTag(u"title");  // reads as 0: ignored
    EXPECT_EQ(field.Tag(), u"245");
    EXPECT_EQ(field.TagNumber(), 245);
    field.SetFixedLength(24);
    field.SetTag(0);
    EXPECT_EQ(field.Tag(), u"000");
}

TEST(MarcObjectFieldRules, FixedLengthPadsCutsAndBoundsPositions) {
    MarcObjectField field;
    field.SetFixedLength(4.6);
    EXPECT_EQ(field.FixedLength(), 5);
    field.SetValue(u"ABCDEFG");
    EXPECT_EQ(field.Value(), u"ABCDE");
    field.SetValue(u"AB");
    EXPECT_EQ(field.Value(), u"AB   ");
    field.SetValue(Text(u"$ax"));  // no subfields for a fixed field
    EXPECT_EQ(field.Subfields()->Count(), 0);
    EXPECT_THROW(field.SetFixedLength(1e12), Error);

    field.SetValue(u"abcde");
    field.SetFieldValue(4, u"XYZ");  // would end past the field: nothing
    EXPECT_EQ(field.Value(), u"abcde");
    field.SetFieldValue(4, u"XY");
    EXPECT_EQ(field.GetFieldValue(2, 4), u"bcXY");
    EXPECT_EQ(field.GetFieldValue(4, 3), std::nullopt);
    EXPECT_THROW(field.GetFieldValue(-1, 1), Error);

    MarcObjectField open = WithValue(u"abcde");  // not fixed: positions do nothing
    open.SetFieldValue(1, u"X");
    EXPECT_EQ(open.Value(), u"abcde");
    EXPECT_EQ(open.GetFieldValue(1, 1), std::nullopt);
}

TEST(MarcObjectFieldRules, ValueRebuildsFromSubfieldsAndShowsBackslashes) {
    MarcObjectField field = WithValue(Text(u"$aX$b$cY"));
    EXPECT_EQ(field.Value(), Text(u"$aX$cY"));
    field.Subfields()->Field(u'c')->SetValue(u"Z");
    field.Subfields()->Add(u'd', u"W");
    EXPECT_EQ(field.Value(), Text(u"$aX$cZ$dW"));
    field.SetSubfieldCharacter4Display(135);
    field.SetSubfieldCharacter4Display(-1);
    EXPECT_EQ(field.DisplayValue(), u"\u0087aX\u0087cZ\u0087dW");

    MarcObjectField path = WithValue(Text(u"$aC:^dir"));
    EXPECT_EQ(path.Value(), Text(u"$aC:\\dir"));
    EXPECT_EQ(path.Subfields()->Field(u'a')->StoredValue(), Text(u"C:^dir"));
    MarcObjectField control = WithValue(Text(u"a^b"));  // no subfields: the contents as they are
    EXPECT_EQ(control.Value(), u"a\\b");
    EXPECT_EQ(control.Substring(Text(u"^")), 2);
}

// A text's subfields may be made when first needed; the results must be those of making them
// at once, whatever the text looks like.
TEST(MarcObjectFieldRules, DeferredParseMatchesImmediateParse) {
    for (const char16_t* raw :
         {u"$aTitle$bsub", u"lead$aTitle", u"$a Title $b x ", u"$aTitle $bx", u"$aTitle$", u"$a$bx",
          u"$aC:^x$by", u"$$x$a$", u"no delimiter", u"", u"$", u"$a   ", u"$aone$aone$bthree"}) {
        const std::u16string text = Text(raw);
        SCOPED_TRACE(std::string(text.begin(), text.end()));
        MarcObjectField deferred;
        MarcObjectField immediate;
        immediate.Subfields();
        deferred.SetValue(text);
        immediate.SetValue(text);
        EXPECT_EQ(deferred.Value(), immediate.Value());
        EXPECT_EQ(deferred.Substring(u"Title"), immediate.Substring(u"Title"));
        EXPECT_EQ(deferred.LeftString(u"lead"), immediate.LeftString(u"lead"));
        EXPECT_EQ(Listing(*deferred.Subfields()), Listing(*immediate.Subfields()));
    }
}

TEST(MarcObjectFieldRules, SubfieldLimitsRaiseWhenTheTextIsSet) {
    std::u16string text;
    for (int i = 0; i < 129; ++i) {
        text += Text(u"$ax");
    }
    MarcObjectField field;
    EXPECT_SUBSCRIPT_ERROR(field.SetValue(text));
    field.SetValue(text.substr(3));
    EXPECT_EQ(field.Subfields()->Count(), 128);
    EXPECT_SUBSCRIPT_ERROR(field.SetValue(Text(u"$\u0100x")));
}

TEST(MarcObjectFieldRules, IndicatorsAreNormalised) {
    MarcObjectField field;
    EXPECT_EQ(field.Indicator(1), u" ");
    field.SetIndicator(0, u"1x");
    field.SetIndicator(3, u"4");
    EXPECT_EQ(field.Indicator(1) + field.Indicator(2), u"14");
    field.SetIndicator(2, u"_");
    field.SetIndicator(1, u"");
    EXPECT_EQ(field.Indicator(1) + field.Indicator(2), u"  ");
    field.SetIndicator(1, u"7");
    field.SetFixedLength(3);
    EXPECT_EQ(field.Indicator(1), u"");
    field.SetFixedLength(0);
    EXPECT_EQ(field.Indicator(1), u"7");
}

TEST(MarcObjectFieldRules, SubfieldQueriesAndRemoval) {
    MarcObjectField field = WithValue(Text(u"$aone$atwo$bthree"));
    EXPECT_TRUE(field.SubfieldExists(u"A", 2));
    EXPECT_FALSE(field.SubfieldExists(u"a", 3));
    EXPECT_FALSE(field.SubfieldExists(u""));
    std::u16string found = u"unchanged";
    EXPECT_TRUE(field.SubfieldsExist(u"xy", found));
    EXPECT_EQ(found, u"unchanged");
    EXPECT_TRUE(field.SubfieldsExist(u"xba", found));
    EXPECT_EQ(found, u"b");
    EXPECT_FALSE(field.SubfieldsExist(u"", found));
    EXPECT_EQ(field.GetFieldContents(), u"one two three");
    field.Clear();
    EXPECT_EQ(field.Subfields()->Count(), 0);
    EXPECT_EQ(field.Value(), u"");

    field.SetValue(Text(u"$a91-7-Aa$bx-y"));
    field.RemoveChars(u"-a");
    EXPECT_EQ(field.Value(), Text(u"$917$bxy"));
    EXPECT_EQ(field.Subfields()->Field(u'b')->Value(), u"xy");
}

TEST(MarcObjectFieldRules, SubstringAndLeftStringUseStoredContents) {
    MarcObjectField field = WithValue(Text(u"$aStockholm$bNorstedt"));
    EXPECT_EQ(field.Substring(u"NORSTEDT"), 14);
    EXPECT_EQ(field.Substring(std::vector<std::u16string>{u"lund", u"norstedt"}), 14);
    EXPECT_EQ(field.Substring(std::vector<std::u16string>{u"lund"}), std::nullopt);
    EXPECT_TRUE(field.LeftString(Text(u"$AsTOCK")));
    // A change through a subfield reaches the contents only when Value is read.
    field.Subfields()->Field(u'a')->SetValue(u"Lund");
    EXPECT_TRUE(field.LeftString(Text(u"$aStock")));
    field.Value();
    EXPECT_TRUE(field.LeftString(Text(u"$aLund")));
}

TEST(MarcObjectFieldRules, IsbdSelectionAndCharacterSearch) {
    MarcObjectField field = WithValue(Text(u"$aThe title.$bsubtitle$cby A.$6880-01"));
    EXPECT_EQ(field.ISBD(u"b= : |c= / "), u"The title. : subtitle / by A. 880-01");
    EXPECT_EQ(field.ISBD(u"a=|b=. |c= / ", u"|", true), u"The title. subtitle / by A.");
    EXPECT_EQ(field.ISBD(u"a=;b= : ;c= / ", u";", true), u"The title. : subtitle / by A.");

    EXPECT_EQ(field.SelectFieldsFrom(u"ca"), u"The title. by A.");
    EXPECT_EQ(field.SelectFieldsFrom(u"@6"), u"The title. subtitle by A.");
    EXPECT_EQ(field.SelectFieldsFrom(u"@"), u"The title. subtitle by A. 880-01");
    EXPECT_EQ(field.SelectFieldsFrom(u"x"), u"");

    EXPECT_TRUE(field.CharInSubfields(u"c=."));
    EXPECT_FALSE(field.CharInSubfields(u"b=.|a=/"));
    EXPECT_TRUE(field.CharInSubfields(u"b=.|*=-"));
    EXPECT_TRUE(field.CharInSubfields(u"-"));
    EXPECT_FALSE(field.CharInSubfields(u"ab=-"));
}

}  // namespace
}  // namespace tesselex
