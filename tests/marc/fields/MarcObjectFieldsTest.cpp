// Collection rules: the leader, Add's placement and flags, the main-entry tag, lookups by tag
// and occurrence, removal, sorting and the index limit.
#include "marc/MarcObjectFields.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "config/Error.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

constexpr char16_t kDelim = 31;

// The tags in order, as "000 100 245".
std::u16string Tags(const MarcObjectFields& fields) {
    std::u16string out;
    for (const auto& field : fields) {
        out += out.empty() ? u"" : u" ";
        out += field->Tag();
    }
    return out;
}

void ExpectError(ErrorNumber number, const std::function<void()>& action) {
    try {
        action();
        ADD_FAILURE() << "no error raised";
    } catch (const Error& e) {
        EXPECT_EQ(e.Number(), number);
    }
}

class MarcObjectFieldsTest : public ::testing::Test {
  protected:
    MarcObjectFields fields;
};

TEST_F(MarcObjectFieldsTest, LeaderIsAlwaysAtPositionOne) {
    EXPECT_EQ(fields.Count(), 1);
    const auto leader = fields.Field(0, 1);
    EXPECT_EQ(leader->Value(), std::u16string(24, u' '));
    EXPECT_EQ(leader->Tag(), u"000");
    EXPECT_EQ(leader->FixedLength(), 24);
    EXPECT_EQ(fields.Add(0, u"", u"", std::u16string(23, u'x')).get(), leader.get());
    EXPECT_EQ(leader->Value(), std::u16string(24, u' '));
    fields.Add(0, u"", u"", u"00000nam  2200000 a 4500");
    EXPECT_EQ(fields.FieldByNum(1)->Value(), u"00000nam  2200000 a 4500");
    EXPECT_EQ(fields.Count(), 1);
    EXPECT_EQ(fields.TagOcc(0), 0);

    fields.Add(245, u"1", u"0", u"\\aTitle");
    fields.Clear();
    EXPECT_EQ(fields.Count(), 1);
    EXPECT_EQ(fields.Field(0)->Value(), std::u16string(24, u' '));
    EXPECT_FALSE(fields.TagExists(245));
    EXPECT_EQ(fields.MainEntryTag(), 0);
}

TEST_F(MarcObjectFieldsTest, MainEntryTagFollowsTheRules) {
    fields.Add(245, u"", u"", u"\\aTitle");
    EXPECT_EQ(fields.MainEntryTag(), 245);
    fields.Add(100, u"", u"", u"\\aAuthor");
    EXPECT_EQ(fields.MainEntryTag(), 100);
    fields.Add(245, u"", u"", u"\\aTitle");
    fields.Add(223, u"", u"", u"\\aOther");
    EXPECT_EQ(fields.MainEntryTag(), 100);
    fields.Add(110, u"", u"", u"\\aBody");
    EXPECT_EQ(fields.MainEntryTag(), 110);

    MarcObjectFields uniform;
    uniform.Add(223, u"", u"", u"\\aUniform");
    uniform.Add(245, u"", u"", u"\\aTitle");
    EXPECT_EQ(uniform.MainEntryTag(), 223);
}

TEST_F(MarcObjectFieldsTest, AddBuildsTheField) {
    const auto title = fields.Add(245, u"1", u"_", u"\\aTitle :\\bsub");
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->Tag(), u"245");
    EXPECT_EQ(title->Indicator(1), u"1");
    EXPECT_EQ(title->Indicator(2), u" ");
    EXPECT_EQ(title->Subfields()->Field(u'b')->Value(), u"sub");
    EXPECT_EQ(title->Value(), std::u16string(u"\x1F"
                                             u"aTitle :\x1F"
                                             u"bsub"));

    const auto fixed = fields.Add(8, u"", u"", u"850101s1985", true);
    EXPECT_EQ(fixed->FixedLength(), 11);
    EXPECT_EQ(fixed->Tag(), u"008");
    EXPECT_EQ(fields.Add(7, u"", u"", u"", true), nullptr);
    EXPECT_EQ(fields.Add(1000, u"", u"", u"\\ax"), nullptr);
    EXPECT_EQ(fields.Count(), 3);
}

TEST_F(MarcObjectFieldsTest, LookupsShareStoredFieldsOrGiveDetachedOnes) {
    fields.Add(650, u"", u"0", u"\\aOne");
    fields.Add(650, u"", u"0", u"\\aTwo");
    fields.Field(u"650", 2)->SetValue(
        u"\x1F"
        u"aChanged");
    EXPECT_EQ(fields.Field(650, 2)->Subfields()->Field(u'a')->Value(), u"Changed");
    EXPECT_EQ(fields.Field(u"0650").get(), fields.Field(650).get());

    const auto third = fields.Field(650, 3);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(third->Tag(), u"");
    third->SetValue(
        u"\x1F"
        u"aLost");
    EXPECT_EQ(fields.TagOcc(650), 2);
    EXPECT_EQ(fields.Count(), 3);
    EXPECT_EQ(fields.Field(100)->Value(), u"");
    EXPECT_EQ(fields.Field(-1)->Tag(), u"");
    EXPECT_EQ(fields.Field(1000)->Tag(), u"");

    EXPECT_TRUE(fields.TagExists(u"650", 2));
    EXPECT_FALSE(fields.TagExists(650, 3));
    EXPECT_TRUE(fields.TagExists(std::vector<int>{100, 650}));
    EXPECT_FALSE(fields.TagExists(std::vector<int>{100, 245}));
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.TagOcc(1000); });
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.FieldByNum(4); });
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.FieldByNum(0); });
}

// Lookups in any order agree with a plain scan of the fields, also after changes of order.
TEST_F(MarcObjectFieldsTest, OccurrenceLookupsMatchAScan) {
    const auto check = [this] {
        for (int tag : {500, 700, 650}) {
            std::vector<MarcObjectField*> scan;
            for (const auto& f : fields) {
                if (f->TagNumber() == tag) {
                    scan.push_back(f.get());
                }
            }
            ASSERT_EQ(fields.TagOcc(tag), static_cast<int>(scan.size()));
            for (int occ : {11, 3, 1, 12, 9, 2, 10, 13, 4, 14}) {
                MarcObjectField* expected = occ <= static_cast<int>(scan.size())
                                                ? scan[static_cast<std::size_t>(occ - 1)]
                                                : nullptr;
                const auto found = fields.Field(tag, occ);
                if (expected != nullptr) {
                    EXPECT_EQ(found.get(), expected) << tag << "/" << occ;
                } else {
                    EXPECT_EQ(found->Tag(), u"") << tag << "/" << occ;
                }
            }
        }
    };
    for (int i = 0; i < 12; ++i) {
        fields.Add(650, u"", u"", u"\\a" + FormatNumber(i, 1));
        fields.Add(i % 2 == 0 ? 700 : 500, u"", u"", u"\\ax");
    }
    check();
    fields.Add(650, u"", u"", u"\\alast");  // appended behind deep occurrences already looked up
    check();
    fields.Add(500, u"", u"", u"\\afirst", false, true);
    fields.Delete(650, 2);
    check();
    fields.Sort();
    check();
}

TEST_F(MarcObjectFieldsTest, SortedAddGoesAfterEqualTags) {
    fields.Add(650, u"", u"", u"\\aFirst");
    fields.Add(651, u"", u"", u"\\aPlace");
    fields.Add(100, u"", u"", u"\\aAuthor", false, true);
    const auto second = fields.Add(650, u"", u"", u"\\aSecond", false, true);
    EXPECT_EQ(Tags(fields), u"000 100 650 650 651");
    EXPECT_EQ(fields.Field(650, 2).get(), second.get());
    EXPECT_EQ(fields.Field(651)->Subfields()->Field(u'a')->Value(), u"Place");
}

TEST_F(MarcObjectFieldsTest, DuplicateComparesTrimmedTexts) {
    fields.Add(650, u"", u"0", u"\\aSubject");
    fields.Add(650, u"", u"7", u"\\aSubject ");
    fields.Add(650, u"", u"0", u"\\aOther");
    EXPECT_TRUE(fields.Duplicate(650, 2, false));
    EXPECT_FALSE(fields.Duplicate(650, 2, true));
    EXPECT_FALSE(fields.Duplicate(650, 3, false));
    EXPECT_FALSE(fields.Duplicate(651, 1, false));
    fields.Field(650, 1)->SetIndicator(2, u"7");
    EXPECT_TRUE(fields.Duplicate(u"650", 2, true));
}

TEST_F(MarcObjectFieldsTest, DeleteAndDeleteAll) {
    for (const char16_t* tag : {u"100", u"650", u"700", u"650", u"650"}) {
        fields.Add(tag, u"", u"", u"\\ax");
    }
    const auto held = fields.Field(650, 2);
    fields.Delete(650, 2);
    EXPECT_EQ(Tags(fields), u"000 100 650 700 650");
    EXPECT_NE(fields.Field(650, 2).get(), held.get());
    fields.Delete(650, 9);
    fields.Delete(0, 1);
    EXPECT_EQ(fields.Count(), 5);
    fields.DeleteAll(650);
    EXPECT_EQ(Tags(fields), u"000 100 700");
    EXPECT_EQ(fields.Field(700)->Tag(), u"700");
    fields.DeleteAll(245);
    EXPECT_EQ(fields.Count(), 3);
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.Delete(1000, 1); });
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.DeleteAll(-1); });
}

TEST_F(MarcObjectFieldsTest, SortOrdersByTagKeepingLeaderAndFixedLength) {
    fields.Add(0, u"", u"", u"00000nam  2200000 a 4500");
    fields.Add(650, u"", u"0", u"\\aFirst");
    fields.Add(8, u"", u"", u"850101", true);
    fields.Add(245, u"1", u"0", u"\\aTitle");
    fields.Add(650, u"", u"0", u"\\aSecond");
    fields.Add(1, u"", u"", u"12345");
    const auto held = fields.Field(245);
    fields.Sort();
    EXPECT_EQ(Tags(fields), u"000 001 008 245 650 650");
    EXPECT_EQ(fields.Field(0)->Value(), u"00000nam  2200000 a 4500");
    EXPECT_EQ(fields.Field(8)->FixedLength(), 6);
    EXPECT_EQ(fields.Field(650, 2)->Subfields()->Field(u'a')->Value(), u"Second");
    EXPECT_EQ(fields.Field(245)->Indicator(1), u"1");
    held->SetValue(
        u"\x1F"
        u"aDetached");
    EXPECT_EQ(fields.Field(245)->Subfields()->Field(u'a')->Value(), u"Title");
}

TEST_F(MarcObjectFieldsTest, ChangedTagIsIndexedOnTheNextChange) {
    fields.Add(650, u"", u"", u"\\aSubject");
    const auto field = fields.Field(650);
    field->SetTag(651);
    EXPECT_EQ(fields.Field(650).get(), field.get());  // the index is as it was
    fields.Add(700, u"", u"", u"\\aName");
    EXPECT_EQ(fields.TagOcc(650), 0);
    EXPECT_EQ(fields.Field(651).get(), field.get());
}

TEST_F(MarcObjectFieldsTest, IndexHoldsAtMost1500Fields) {
    for (int i = 0; i < MarcObjectFields::MaxIndexed; ++i) {
        fields.Add(500 + i % 2, u"", u"", u"\\ax");
    }
    EXPECT_EQ(fields.TagOcc(500) + fields.TagOcc(501), 1500);
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.Add(600, u"", u"", u"\\ax"); });
    EXPECT_EQ(fields.Count(), 1502);
    EXPECT_EQ(fields.TagOcc(600), 0);
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.Add(601, u"", u"", u"\\ax"); });
    // Each removal re-indexes: still one field too many, then within the limit again.
    ExpectError(ErrorNumber::SubscriptOutOfRange, [&] { fields.Delete(501, 1); });
    EXPECT_EQ(fields.TagOcc(600), 1);
    EXPECT_EQ(fields.TagOcc(601), 0);
    fields.Delete(501, 1);
    EXPECT_EQ(fields.TagOcc(601), 1);
    EXPECT_EQ(fields.Count(), 1501);
}

}  // namespace
}  // namespace tesselex
