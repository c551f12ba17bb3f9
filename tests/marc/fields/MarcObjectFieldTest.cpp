// Field rules: tag, fixed length, text form and subfields, indicators, queries and the
// open members (ISBD, SelectFieldsFrom, CharInSubfields).
#include "marc/MarcObjectField.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/Error.h"

namespace tesselex {
namespace {

constexpr char16_t kDelim = 31;
constexpr char16_t kBackslash20 = 20;

std::u16string Text(std::u16string_view pieces) {
    std::u16string text(pieces);
    for (char16_t& ch : text) {
        ch = ch == u'$' ? kDelim : ch == u'^' ? kBackslash20 : ch;
    }
    return text;
}

std::u16string Listing(MarcObjectField& field) {
    std::u16string out;
    for (const auto& sub : *field.Subfields()) {
        out += sub->Fieldname;
        out += u'=';
        out += sub->StoredValue();
        out += u';';
    }
    return out;
}

TEST(MarcObjectFieldRules, TagFormattingAndTheZeroRule) {
    MarcObjectField field;
    EXPECT_EQ(field.Tag(), u"");
    field.SetTag(8);
    EXPECT_EQ(field.Tag(), u"008");
    field.SetTag(0);
    EXPECT_EQ(field.Tag(), u"008");
    field.SetTag(u"245abc");
    EXPECT_EQ(field.Tag(), u"245");
    EXPECT_EQ(field.TagNumber(), 245);
    field.SetTag(u"title");  // reads as 0: ignored
    EXPECT_EQ(field.Tag(), u"245");

    MarcObjectField leader;
    leader.SetFixedLength(24);
    leader.SetTag(0);
    EXPECT_EQ(leader.Tag(), u"000");
}

TEST(MarcObjectFieldRules, FixedLengthPadsAndCuts) {
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
}

TEST(MarcObjectFieldRules, ValueRebuildsFromSubfieldsLeavingOutEmptyOnes) {
    MarcObjectField field;
    field.SetValue(Text(u"$aX$b$cY"));
    EXPECT_EQ(field.Value(), Text(u"$aX$cY"));
    field.Subfields()->Field(u'c')->SetValue(u"Z");
    field.Subfields()->Add(u'd', u"W");
    EXPECT_EQ(field.Value(), Text(u"$aX$cZ$dW"));
    field.SetSubfieldCharacter4Display(135);
    EXPECT_EQ(field.DisplayValue(), u"\u0087aX\u0087cZ\u0087dW");
    field.SetSubfieldCharacter4Display(-1);
    EXPECT_EQ(field.SubfieldCharacter4Display(), 135);
}

TEST(MarcObjectFieldRules, ValueShowsCharacter20AsBackslash) {
    MarcObjectField field;
    field.SetValue(Text(u"$aC:^dir"));
    EXPECT_EQ(field.Value(), Text(u"$aC:\\dir"));
    EXPECT_EQ(field.Subfields()->Field(u'a')->StoredValue(), Text(u"C:^dir"));

    MarcObjectField control;  // no subfields: the contents as they are
    control.SetValue(Text(u"a^b"));
    EXPECT_EQ(control.Value(), u"a\\b");
    EXPECT_EQ(control.Substring(Text(u"^")), 2);
}

// A text's subfields may be made when first needed; the results must be those of making them
// at once, whatever the text looks like.
TEST(MarcObjectFieldRules, DeferredParseMatchesImmediateParse) {
    const std::vector<std::u16string> texts = {
        Text(u"$aTitle$bsub"),
        Text(u"lead$aTitle"),
        Text(u"$a Title $b x "),
        Text(u"$aTitle$"),
        Text(u"$a$bx"),
        Text(u"$aC:^x$by"),
        Text(u"$$x$a$"),
        Text(u"no delimiter"),
        Text(u""),
        Text(u"$"),
        Text(u"$a   "),
        Text(u"$aone$aone$bthree"),
    };
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::u16string& text = texts[i];
        SCOPED_TRACE(i);
        MarcObjectField deferred;
        MarcObjectField immediate;
        immediate.Subfields();
        deferred.SetValue(text);
        immediate.SetValue(text);
        EXPECT_EQ(deferred.Value(), immediate.Value());
        EXPECT_EQ(deferred.Substring(u"Title"), immediate.Substring(u"Title"));
        EXPECT_EQ(deferred.LeftString(u"lead"), immediate.LeftString(u"lead"));
        EXPECT_EQ(Listing(deferred), Listing(immediate));
    }
}

TEST(MarcObjectFieldRules, SubfieldLimitsRaiseWhenTheTextIsSet) {
    std::u16string text;
    for (int i = 0; i < 129; ++i) {
        text += Text(u"$ax");
    }
    MarcObjectField field;
    EXPECT_THROW(field.SetValue(text), Error);
    EXPECT_NO_THROW(field.SetValue(text.substr(3)));
    EXPECT_EQ(field.Subfields()->Count(), 128);
    MarcObjectField wide;
    EXPECT_THROW(wide.SetValue(std::u16string(u"\x1F\u0100x")), Error);
}

TEST(MarcObjectFieldRules, IndicatorsAreNormalised) {
    MarcObjectField field;
    EXPECT_EQ(field.Indicator(1), u" ");
    field.SetIndicator(0, u"1x");
    EXPECT_EQ(field.Indicator(1), u"1");
    field.SetIndicator(3, u"4");
    EXPECT_EQ(field.Indicator(2), u"4");
    field.SetIndicator(2, u"_");
    EXPECT_EQ(field.Indicator(2), u" ");
    field.SetIndicator(1, u"");
    EXPECT_EQ(field.Indicator(1), u" ");
    field.SetIndicator(1, u"7");
    field.SetFixedLength(3);
    EXPECT_EQ(field.Indicator(1), u"");
    field.SetFixedLength(0);
    EXPECT_EQ(field.Indicator(1), u"7");  // the set applied to the fixed field too
}

TEST(MarcObjectFieldRules, SubfieldQueries) {
    MarcObjectField field;
    field.SetValue(Text(u"$aone$atwo$bthree"));
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
}

TEST(MarcObjectFieldRules, RemoveCharsAcrossSubfieldsIgnoringCase) {
    MarcObjectField field;
    field.SetValue(Text(u"$a91-7-Aa$bx-y"));
    field.RemoveChars(u"-a");
    EXPECT_EQ(field.Value(), Text(u"$917$bxy"));
    EXPECT_EQ(field.Subfields()->Field(u'b')->Value(), u"xy");
}

TEST(MarcObjectFieldRules, FixedPositionsAreBounded) {
    MarcObjectField field;
    field.SetFixedLength(5);
    field.SetValue(u"abcde");
    field.SetFieldValue(4, u"XYZ");
    EXPECT_EQ(field.Value(), u"abcde");
    field.SetFieldValue(4, u"XY");
    EXPECT_EQ(field.Value(), u"abcXY");
    EXPECT_EQ(field.GetFieldValue(2, 3), u"bcX");
    EXPECT_EQ(field.GetFieldValue(4, 3), std::nullopt);
    EXPECT_THROW(field.GetFieldValue(-1, 1), Error);

    MarcObjectField open;  // not fixed: positions do nothing
    open.SetValue(u"abcde");
    open.SetFieldValue(1, u"X");
    EXPECT_EQ(open.Value(), u"abcde");
    EXPECT_EQ(open.GetFieldValue(1, 1), std::nullopt);
}

TEST(MarcObjectFieldRules, SubstringAndLeftStringUseStoredContents) {
    MarcObjectField field;
    field.SetValue(Text(u"$aStockholm$bNorstedt"));
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
    MarcObjectField field;
    field.SetValue(Text(u"$aThe title.$bsubtitle$cby A.$6880-01"));
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
