// Collection rules: the leader, Add's placement and flags, the main-entry tag, lookups by tag
// and occurrence, removal, sorting and the index limit.
#include "marc/MarcObjectFields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FieldTestText.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

using test::Text;

const std::u16string Leader = u"00000nam  2200000 a 4500";

class MarcObjectFieldsTest : public ::testing::Test {
  protected:
    // The tags in order, as "000 100 245".
    std::u16string Tags() const {
        std::u16string out;
        for (const auto& field : fields) {
            out += (out.empty() ? u"" : u" ") + field->Tag();
        }
        return out;
    }
    std::u16string A(int tag, int occ = 1) const {
        return fields.Field(tag, occ)->Subfields()->Field(u'a')->Value();
    }
    MarcObjectFields fields;
};

TEST_F(MarcObjectFieldsTest, LeaderIsAlwaysAtPositionOne) {
    const auto leader = fields.Field(0, 1);
    EXPECT_EQ(leader->Tag() + leader->Value(), u"000" + std::u16string(24, u' '));
    EXPECT_EQ(leader->FixedLength(), 24);
    EXPECT_EQ(fields.Add(0, u"", u"", std::u16string(23, u'x')), leader);
    EXPECT_EQ(leader->Value(), std::u16string(24, u' '));
    fields.Add(0, u"", u"", Leader);
    EXPECT_EQ(fields.FieldByNum(1)->Value(), Leader);
    EXPECT_EQ(fields.Count() + fields.TagOcc(0), 1);
    fields.Add(100, u"1", u"0", u"\\aName");
    fields.Clear();
    EXPECT_EQ(fields.Count(), 1);
    EXPECT_EQ(fields.Field(0)->Value(), std::u16string(24, u' '));
    EXPECT_EQ(fields.TagOcc(100) + fields.MainEntryTag(), 0);
}

TEST_F(MarcObjectFieldsTest, MainEntryTagFollowsTheRules) {
    const std::vector<std::pair<std::vector<int>, int>> cases = {{{245}, 245},
                                                                 {{245, 100}, 100},
                                                                 {{100, 245, 223}, 100},
                                                                 {{100, 110}, 110},
                                                                 {{223, 245}, 223}};
    for (const auto& [tags, expected] : cases) {
        MarcObjectFields record;
        for (const int tag : tags) {
            record.Add(tag, u"", u"", u"\\ax");
        }
        EXPECT_EQ(record.MainEntryTag(), expected) << tags.size() << " tags, first " << tags[0];
    }
}

TEST_F(MarcObjectFieldsTest, AddBuildsAndPlacesTheField) {
    const auto title = fields.Add(245, u"1", u"_", u"\\aTitle :\\bsub");
    EXPECT_EQ(title->Tag() + title->Indicator(1) + title->Indicator(2), u"2451 ");
    EXPECT_EQ(title->Value(), Text(u"$aTitle :$bsub"));
    const auto fixed = fields.Add(8, u"", u"", u"850101s1985", true);
    EXPECT_EQ(fixed->Tag(), u"008");
    EXPECT_EQ(fixed->FixedLength(), 11);
    EXPECT_EQ(fields.Add(7, u"", u"", u"", true), nullptr);
    EXPECT_EQ(fields.Add(1000, u"", u"", u"\\ax"), nullptr);
    // Sorted: before the first greater tag, after equal ones.
    fields.Add(651, u"", u"", u"\\aPlace");
    fields.Add(650, u"", u"", u"\\aFirst", false, true);
    const auto second = fields.Add(650, u"", u"", u"\\aSecond", false, true);
    fields.Add(100, u"", u"", u"\\aAuthor", false, true);
    EXPECT_EQ(Tags(), u"000 100 245 008 650 650 651");
    EXPECT_EQ(fields.Field(650, 2), second);
}

TEST_F(MarcObjectFieldsTest, LookupsShareStoredFieldsOrGiveDetachedOnesAndFollowTagChanges) {
    fields.Add(650, u"", u"0", u"\\aOne");
    fields.Add(650, u"", u"0", u"\\aTwo");
    fields.Field(u"650", 2)->SetValue(Text(u"$aChanged"));
    EXPECT_EQ(A(650, 2), u"Changed");
    EXPECT_EQ(fields.Field(u"0650"), fields.Field(650));
    fields.Field(650, 3)->SetValue(Text(u"$aLost"));
    EXPECT_EQ(fields.TagOcc(650), 2);
    for (const int missing : {100, -1, 1000}) {
        EXPECT_EQ(fields.Field(missing)->Tag(), u"") << missing;
    }
    EXPECT_TRUE(fields.TagExists(u"650", 2));
    EXPECT_FALSE(fields.TagExists(650, 3));
    EXPECT_TRUE(fields.TagExists(std::vector<int>{100, 650}));
    EXPECT_FALSE(fields.TagExists(std::vector<int>{100, 245}));
    EXPECT_SUBSCRIPT_ERROR(fields.TagOcc(1000));
    EXPECT_SUBSCRIPT_ERROR(fields.FieldByNum(4));
    EXPECT_SUBSCRIPT_ERROR(fields.FieldByNum(0));

    // A changed tag is indexed on the next change of the collection.
    const auto first = fields.Field(650);
    first->SetTag(651);
    EXPECT_EQ(fields.Field(650), first);
    fields.Add(700, u"", u"", u"\\aName");
    EXPECT_EQ(fields.TagOcc(650), 1);
    EXPECT_EQ(fields.Field(651), first);
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
                const auto found = fields.Field(tag, occ);
                if (occ <= static_cast<int>(scan.size())) {
                    EXPECT_EQ(found.get(), scan[static_cast<std::size_t>(occ - 1)])
                        << tag << "/" << occ;
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
    fields.Delete(650, 2);
    EXPECT_EQ(Tags(), u"000 100 650 700 650");
    fields.Delete(650, 9);
    fields.Delete(0, 1);
    fields.DeleteAll(650);
    fields.DeleteAll(245);
    EXPECT_EQ(Tags(), u"000 100 700");
    EXPECT_EQ(fields.Field(700)->Tag(), u"700");
    EXPECT_SUBSCRIPT_ERROR(fields.Delete(1000, 1));
    EXPECT_SUBSCRIPT_ERROR(fields.DeleteAll(-1));
}

TEST_F(MarcObjectFieldsTest, SortOrdersByTagKeepingLeaderAndFixedLength) {
    fields.Add(0, u"", u"", Leader);
    fields.Add(650, u"", u"0", u"\\aFirst");
    fields.Add(8, u"", u"", u"850101", true);
    fields.Add(245, u"1", u"0", u"\\aTitle");
    fields.Add(650, u"", u"0", u"\\aSecond");
    fields.Add(1, u"", u"", u"12345");
    const auto held = fields.Field(245);
    fields.Sort();
    EXPECT_EQ(Tags(), u"000 001 008 245 650 650");
    EXPECT_EQ(fields.Field(0)->Value(), Leader);
    EXPECT_EQ(fields.Field(8)->FixedLength(), 6);
    EXPECT_EQ(A(650, 2), u"Second");
    EXPECT_EQ(fields.Field(245)->Indicator(1), u"1");
    held->SetValue(Text(u"$aDetached"));
    EXPECT_EQ(A(245), u"Title");
}

TEST_F(MarcObjectFieldsTest, IndexHoldsAtMost1500Fields) {
    for (int i = 0; i < MarcObjectFields::MaxIndexed; ++i) {
        fields.Add(500 + i % 2, u"", u"", u"\\ax");
    }
    EXPECT_EQ(fields.TagOcc(500) + fields.TagOcc(501), 1500);
    EXPECT_SUBSCRIPT_ERROR(fields.Add(600, u"", u"", u"\\ax"));
    EXPECT_SUBSCRIPT_ERROR(fields.Add(601, u"", u"", u"\\ax"));
    EXPECT_EQ(fields.Count(), 1503);
    EXPECT_EQ(fields.TagOcc(600), 0);
    // Each removal re-indexes: still one field too many, then within the limit again.
    EXPECT_SUBSCRIPT_ERROR(fields.Delete(501, 1));
    EXPECT_EQ(fields.TagOcc(600) + fields.TagOcc(601), 1);
    fields.Delete(501, 1);
    EXPECT_EQ(fields.TagOcc(601), 1);
    EXPECT_EQ(fields.Count(), 1501);
}

}  // namespace
}  // namespace tesselex
