// Index rules of the subfield collection: parsing, occurrence chains, detached lookups, limits,
// and the reordering members.
#include "marc/MarcObjectSubfields.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "config/Error.h"

namespace tesselex {
namespace {

constexpr char16_t kDelim = 31;

std::u16string Text(std::u16string_view pieces) {
    std::u16string text(pieces);
    for (char16_t& ch : text) {
        if (ch == u'$') {
            ch = kDelim;
        }
    }
    return text;
}

// The codes and values in order, as "a=x b=y".
std::u16string Listing(const MarcObjectSubfields& subs) {
    std::u16string out;
    for (const auto& sub : subs) {
        if (!out.empty()) {
            out += u' ';
        }
        out += sub->Fieldname;
        out += u'=';
        out += sub->Value();
    }
    return out;
}

void ExpectSubscriptError(const std::function<void()>& action) {
    try {
        action();
        ADD_FAILURE() << "no error raised";
    } catch (const Error& e) {
        EXPECT_EQ(e.Number(), ErrorNumber::SubscriptOutOfRange);
    }
}

class MarcObjectSubfieldsTest : public ::testing::Test {
  protected:
    MarcObjectSubfields subs;
};

TEST_F(MarcObjectSubfieldsTest, ParseSplitsAtDelimitersAndTrims) {
    subs.Parse(u"no delimiter");
    EXPECT_EQ(subs.Count(), 0);
    subs.Parse(Text(u"$aTitle $bx"));
    EXPECT_EQ(Listing(subs), u"a=Title b=x");
    subs.Parse(Text(u"ignored$a one $a two$"));  // leading text and a final lone delimiter
    EXPECT_EQ(Listing(subs), u"a=one a=two");
    subs.Parse(Text(u"$a$b"));
    EXPECT_EQ(Listing(subs), u"a= b=");
}

TEST_F(MarcObjectSubfieldsTest, OccurrenceChainsFollowTheOrder) {
    subs.Parse(Text(u"$aone$btwo$athree$afour"));
    EXPECT_EQ(subs.SubfieldOcc(u'a'), 3);
    EXPECT_EQ(subs.Field(u'a', 3)->Value(), u"four");
    subs.Add(u'a', u"zero", 1);
    EXPECT_EQ(subs.Field(u'a', 1)->Value(), u"zero");
    EXPECT_EQ(subs.Field(u'a', 4)->Value(), u"four");
    subs.Delete(u'a', 2);
    EXPECT_EQ(Listing(subs), u"a=zero b=two a=three a=four");
    subs.Add(u'a', u"five");
    EXPECT_EQ(subs.Field(u'a', 4)->Value(), u"five");
    EXPECT_EQ(subs.FieldByNum(5)->Value(), u"five");
    ExpectSubscriptError([&] { subs.FieldByNum(6); });
}

TEST_F(MarcObjectSubfieldsTest, LookupsShareStoredOrGiveDetached) {
    subs.Parse(Text(u"$aone$btwo"));
    subs.Field(u'b')->SetValue(u"changed");
    EXPECT_EQ(subs.FieldByNum(2)->Value(), u"changed");

    auto missing = subs.Field(u'b', 2);
    missing->SetValue(u"lost");
    auto absent = subs.Field(u'z');
    absent->SetValue(u"lost");
    EXPECT_EQ(Listing(subs), u"a=one b=changed");
    EXPECT_EQ(subs.SubfieldOcc(u'z'), 0);
}

TEST_F(MarcObjectSubfieldsTest, LimitsRaiseSubscriptOutOfRange) {
    std::u16string text;
    for (int i = 0; i < MarcObjectSubfields::MaxIndexed; ++i) {
        text += Text(u"$ax");
    }
    subs.Parse(text);
    EXPECT_EQ(subs.SubfieldOcc(u'a'), 128);
    ExpectSubscriptError([&] { subs.Add(u'b', u"one too many"); });
    EXPECT_EQ(subs.Count(), 129);  // placed, then the index refused it
    ExpectSubscriptError([&] { subs.Parse(text + Text(u"$by")); });

    MarcObjectSubfields wide;
    ExpectSubscriptError([&] { wide.Field(u'\u0100'); });
    ExpectSubscriptError([&] { wide.SubfieldOcc(u'\u0100'); });
    ExpectSubscriptError([&] { wide.Add(u'\u0100', u"x"); });
    // Codes up to 255 are ordinary, the placeholder codes included.
    MarcObjectSubfields high;
    high.Add(u'§', u"p");
    high.Add(u'½', u"h");
    high.Add(u'\u00FF', u"y");
    EXPECT_EQ(high.Field(u'½')->Value(), u"h");
    EXPECT_EQ(high.SubfieldOcc(u'\u00FF'), 1);
}

TEST_F(MarcObjectSubfieldsTest, DeleteAllRemovesEveryOccurrenceOnly) {
    subs.Parse(Text(u"$aone$btwo$athree$cfour"));
    subs.DeleteAll(u'z');
    EXPECT_EQ(subs.Count(), 4);
    subs.DeleteAll(u'a');
    EXPECT_EQ(Listing(subs), u"b=two c=four");
    EXPECT_EQ(subs.SubfieldOcc(u'a'), 0);
    EXPECT_EQ(subs.Field(u'c')->Value(), u"four");
    subs.Clear();
    EXPECT_EQ(subs.Count(), 0);
    EXPECT_EQ(subs.SubfieldOcc(u'b'), 0);
}

TEST_F(MarcObjectSubfieldsTest, AddPlacesByOrderPositionAndFlag) {
    subs.Parse(Text(u"$aTitle$cby me$9local"));
    auto added = subs.Add(u'b', u"subtitle", 0, false, u"abc");
    EXPECT_EQ(Listing(subs), u"a=Title b=subtitle c=by me 9=local");
    EXPECT_EQ(subs.Field(u'b').get(), added.get());
    // A code missing from the order falls back to the position.
    subs.Add(u'6', u"880-01", 1, false, u"abc");
    EXPECT_EQ(subs.FieldByNum(1)->Fieldname, u'6');
    // The flag keeps an identical subfield from being added twice.
    auto again = subs.Add(u'b', u" subtitle ", 0, true);
    EXPECT_EQ(again.get(), added.get());
    EXPECT_EQ(subs.SubfieldOcc(u'b'), 1);
    subs.Add(u'b', u"other", 0, true);
    EXPECT_EQ(subs.SubfieldOcc(u'b'), 2);
}

TEST_F(MarcObjectSubfieldsTest, SortAndReOrder) {
    subs.Parse(Text(u"$6link$cthird$afirst1$bsecond$afirst2$9local"));
    MarcObjectSubfields copy;
    copy.Parse(Text(u"$6link$cthird$afirst1$bsecond$afirst2$9local"));

    subs.Sort(u"abc");
    EXPECT_EQ(Listing(subs), u"a=first1 a=first2 b=second c=third 6=link 9=local");
    EXPECT_EQ(subs.Field(u'a', 2)->Value(), u"first2");

    copy.ReOrder(u"abc");
    EXPECT_EQ(Listing(copy), u"6=link a=first1 a=first2 b=second c=third 9=local");
    EXPECT_EQ(copy.Field(u'c')->Value(), u"third");

    copy.Sort();
    EXPECT_EQ(Listing(copy), u"6=link 9=local a=first1 a=first2 b=second c=third");
}

TEST_F(MarcObjectSubfieldsTest, NeighboursByPositionAndCode) {
    subs.Parse(Text(u"$aone$btwo$athree"));
    EXPECT_EQ(subs.NextSubfield(1)->Value(), u"two");
    EXPECT_EQ(subs.PreviousSubfield(3)->Value(), u"two");
    EXPECT_EQ(subs.NextSubfield(u'b')->Value(), u"three");
    EXPECT_EQ(subs.PreviousSubfield(u'a', 2)->Value(), u"two");
    EXPECT_EQ(subs.PreviousSubfield(1)->Fieldname, 0);
    EXPECT_EQ(subs.NextSubfield(3)->Fieldname, 0);
    EXPECT_EQ(subs.NextSubfield(u'z')->Fieldname, 0);
}

}  // namespace
}  // namespace tesselex
