// Index rules of the subfield collection: parsing, occurrence chains, detached lookups, limits,
// and the reordering members.
#include "marc/MarcObjectSubfields.h"

#include <gtest/gtest.h>

#include <string>

#include "FieldTestText.h"

namespace tesselex {
namespace {

using test::Listing;
using test::Text;

class MarcObjectSubfieldsTest : public ::testing::Test {
  protected:
    MarcObjectSubfields subs;
};

TEST_F(MarcObjectSubfieldsTest, ParseSplitsAtDelimitersAndTrims) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"no delimiter", u""},
        {u"$aTitle $bx", u"a=Title b=x"},
        {u"ignored$a one $a two$", u"a=one a=two"},  // leading text, a final lone delimiter
        {u"$a$b", u"a= b="},
    };
    for (const auto& [text, listing] : cases) {
        subs.Parse(Text(text));
        EXPECT_EQ(Listing(subs), listing);
    }
}

TEST_F(MarcObjectSubfieldsTest, OccurrenceChainsDeletionsAndDetachedLookups) {
    subs.Parse(Text(u"$aone$btwo$athree$afour"));
    EXPECT_EQ(subs.SubfieldOcc(u'a'), 3);
    EXPECT_EQ(subs.Field(u'a', 3)->Value(), u"four");
    subs.Add(u'a', u"zero", 1);
    EXPECT_EQ(subs.Field(u'a', 4)->Value(), u"four");
    subs.Delete(u'a', 2);
    EXPECT_EQ(Listing(subs), u"a=zero b=two a=three a=four");
    subs.Add(u'a', u"five");
    EXPECT_EQ(subs.Field(u'a', 4)->Value(), u"five");
    EXPECT_SUBSCRIPT_ERROR(subs.FieldByNum(6));

    subs.Field(u'b')->SetValue(u"changed");
    subs.Field(u'b', 2)->SetValue(u"lost");
    subs.Field(u'z')->SetValue(u"lost");
    EXPECT_EQ(Listing(subs), u"a=zero b=changed a=three a=four a=five");
    EXPECT_EQ(subs.SubfieldOcc(u'z'), 0);

    // DeleteAll removes every occurrence of its code only, and the index follows.
    subs.DeleteAll(u'z');
    subs.DeleteAll(u'a');
    EXPECT_EQ(Listing(subs), u"b=changed");
    EXPECT_EQ(subs.FieldByNum(1), subs.Field(u'b'));
}

TEST_F(MarcObjectSubfieldsTest, LimitsRaiseSubscriptOutOfRange) {
    std::u16string text;
    for (int i = 0; i < MarcObjectSubfields::MaxIndexed; ++i) {
        text += Text(u"$ax");
    }
    subs.Parse(text);
    EXPECT_EQ(subs.SubfieldOcc(u'a'), 128);
    EXPECT_SUBSCRIPT_ERROR(subs.Add(u'b', u"one too many"));
    EXPECT_EQ(subs.Count(), 129);  // placed, then the index refused it
    EXPECT_SUBSCRIPT_ERROR(subs.Parse(text + Text(u"$by")));

    MarcObjectSubfields wide;
    EXPECT_SUBSCRIPT_ERROR(wide.Field(u'\u0100'));
    EXPECT_SUBSCRIPT_ERROR(wide.Add(u'\u0100', u"x"));
    // Codes up to 255 are ordinary, the placeholder codes included.
    wide.Parse(Text(u"$\u00A7p$\u00BDh$\u00FFy"));
    EXPECT_EQ(wide.Field(u'\u00BD')->Value(), u"h");
    EXPECT_EQ(wide.SubfieldOcc(u'\u00FF'), 1);
}

TEST_F(MarcObjectSubfieldsTest, AddPlacesByOrderPositionAndFlag) {
    subs.Parse(Text(u"$aTitle$cby me$9local"));
    auto added = subs.Add(u'b', u"subtitle", 0, false, u"abc");
    EXPECT_EQ(Listing(subs), u"a=Title b=subtitle c=by me 9=local");
    EXPECT_EQ(subs.Field(u'b'), added);
    subs.Add(u'6', u"880-01", 1, false, u"abc");  // not in the order: the position counts
    EXPECT_EQ(subs.FieldByNum(1)->Fieldname, u'6');
    EXPECT_EQ(subs.Add(u'b', u" subtitle ", 0, true), added);
    subs.Add(u'b', u"other", 0, true);
    EXPECT_EQ(subs.SubfieldOcc(u'b'), 2);
}

TEST_F(MarcObjectSubfieldsTest, SortReOrderAndNeighbours) {
    const std::u16string text = Text(u"$6link$cthird$afirst1$bsecond$afirst2$9local");
    subs.Parse(text);
    subs.Sort(u"abc");
    EXPECT_EQ(Listing(subs), u"a=first1 a=first2 b=second c=third 6=link 9=local");
    EXPECT_EQ(subs.Field(u'a', 2)->Value(), u"first2");
    subs.Parse(text);
    subs.ReOrder(u"abc");
    EXPECT_EQ(Listing(subs), u"6=link a=first1 a=first2 b=second c=third 9=local");
    EXPECT_EQ(subs.Field(u'c')->Value(), u"third");
    subs.Sort();
    EXPECT_EQ(Listing(subs), u"6=link 9=local a=first1 a=first2 b=second c=third");

    subs.Parse(Text(u"$aone$btwo$athree"));
    EXPECT_EQ(subs.NextSubfield(1)->Value() + subs.PreviousSubfield(3)->Value(), u"twotwo");
    EXPECT_EQ(subs.NextSubfield(u'b')->Value(), u"three");
    EXPECT_EQ(subs.PreviousSubfield(u'a', 2)->Value(), u"two");
    EXPECT_EQ(subs.PreviousSubfield(1)->Fieldname, 0);
    EXPECT_EQ(subs.NextSubfield(3)->Fieldname, 0);
    EXPECT_EQ(subs.NextSubfield(u'z')->Fieldname, 0);
}

}  // namespace
}  // namespace tesselex
