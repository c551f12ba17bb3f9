// The record object: leader access, character map, ISO 2709 import and export.
#include "marc/MarcObject.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "config/Strings.h"
#include "marc/MarcObjectFields.h"
#include "tests/support/IsoRecord.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::FT;
using test::Iso;
using test::RT;
using test::SF;

const std::u16string Title = u"10" + SF + u"aA title /" + SF + u"cby someone.";

class MarcObjectTest : public ::testing::Test {
  protected:
    std::shared_ptr<MarcObjectField> F(int tag, int occ = 1) {
        return record.MarcFields()->Field(tag, occ);
    }
    std::u16string Sub(int tag, char16_t code, int occ = 1) {
        return F(tag, occ)->Subfields()->Field(code)->Value();
    }
    void Add(int tag, std::u16string_view ind, std::u16string_view value, bool fixed = false) {
        record.MarcFields()->Add(tag, ind.substr(0, 1), ind.substr(ind.empty() ? 0 : 1), value,
                                 fixed, false);
    }
    MarcObject record;
};

TEST_F(MarcObjectTest, LeaderDefaultLengthRuleAndTypedPositions) {
    EXPECT_EQ(record.Leader(), u"00000naa  2200000 u 45  ");
    EXPECT_EQ(record.RecordType() + record.BibLevel() + record.CharacterSet(), u"aa ");
    record.SetLeader(u"01234cam  2200301 a 450");
    record.SetLeader(u"01234cam  2200301 a 45000");
    record.SetRecordType(u"");
    EXPECT_EQ(record.Leader(), MarcObject::DefaultLeader);
    record.SetRecordType(u"cm");  // only the first character is written
    record.SetBibLevel(u"s");
    record.SetCharacterSet(u"a");
    record.SetLeaderValue(18, u"4");
    EXPECT_EQ(record.Leader(), u"00000ncs a22000004u 45  ");
    EXPECT_EQ(record.RecordType() + record.BibLevel() + record.CharacterSet(), u"csa");
    EXPECT_EQ(record.GetLeaderValue(13, 6), u"000004");
    EXPECT_EQ(record.GetLeaderValue(20, 10), u"");
    record.SetLeader(u"01234cam  2200301 a 4500");
    EXPECT_EQ(record.Leader(), u"01234cam  2200301 a 4500");
}

TEST_F(MarcObjectTest, ExportWritesLeaderDirectoryDataAndCodingScheme) {
    EXPECT_EQ(record.Export(2, 0), u"00026naa  2200025 u 45  " + FT + RT);
    Add(1, u"", u"ocm123");
    Add(245, u"10", SF + u"aTitle");
    Add(500, u"  ", u"    ");  // a data field of blanks is left out
    EXPECT_EQ(record.Export(2, 0), u"00067naa  2200049 u 45  001000700000245001000007" + FT +
                                       u"ocm123" + FT + u"10" + SF + u"aTitle" + FT + RT);
    EXPECT_EQ(record.Leader(), MarcObject::DefaultLeader) << "export must not change the record";
    Add(8, u"", std::u16string(40, u' '), true);  // a control field of blanks is not
    EXPECT_EQ(record.Export(2, 0).substr(48, 13), u"008004100017" + FT);
    record.SetCharacterSet(u"z");
    EXPECT_EQ(record.Export(3, 1)[9], u'a');
    EXPECT_EQ(record.Export(0, 0)[9], u' ');
    for (int encoding : {1, 2, 4, 5, 9}) {
        EXPECT_EQ(record.Export(encoding, 0)[9], u'z') << "encoding " << encoding;
    }
}

TEST_F(MarcObjectTest, LengthsThatOutgrowTheirWidthKeepAllDigits) {
    // 2 indicators + delimiter, code and 9,998 letters + terminator = 10,003 characters.
    Add(500, u"  ", SF + u"a" + std::u16string(9998, u'x'));
    std::u16string out = record.Export(2, 0);
    EXPECT_EQ(out.substr(24, 13), u"5001000300000");
    EXPECT_EQ(out.substr(0, 5) + out.substr(12, 5), u"1004200038");
    // A record past 99,999 characters: six digits of record length, base address behind them.
    Add(520, u"  ", SF + u"a" + std::u16string(95000, u'y'));
    out = record.Export(2, 0);
    EXPECT_EQ(out.substr(0, 6), FormatNumber(static_cast<long long>(out.size()) - 1, 6));
    EXPECT_EQ(out.substr(13, 5), u"00051");
}

TEST_F(MarcObjectTest, ImportReadsLeaderControlAndDataFieldsAndReplacesTheRecord) {
    Add(500, u"  ", SF + u"aold");
    const std::u16string iso = Iso({{u"001", u"ocm42"},
                                    {u"008", u"000107s2000    nyu"},
                                    {u"245", Title},
                                    {u"650", u" 0" + SF + u"aPerl."}});
    record.Import(iso);
    EXPECT_EQ(record.Leader(), iso.substr(0, 24));
    EXPECT_EQ(record.FieldCount(), 5);
    EXPECT_EQ(F(8)->FixedLength(), 18);
    EXPECT_EQ(F(245)->Indicator(1) + F(245)->Indicator(2) + F(650)->Indicator(1), u"10 ");
    EXPECT_EQ(Sub(245, u'c'), u"by someone.");
    EXPECT_EQ(record.Export(2, 0), iso) << "a well-formed record round-trips";
}

TEST_F(MarcObjectTest, FieldKindIsDecidedByTagAndContent) {
    record.Import(Iso({{u"007", u"cr"},
                       {u"009", u"plain"},
                       {u"009", u"  " + SF + u"asub"},
                       {u"005", u"  " + SF + u"aq\u0013bold delimiter"},
                       {u"001", u"ab"},
                       {u"500", u" " + SF},
                       {u"020", u""}}));
    EXPECT_EQ(F(7)->FixedLength(), 2) << "even a 2-character 007 is kept";
    EXPECT_EQ(F(9, 1)->Value(), u"plain");
    EXPECT_EQ(F(9, 2)->Subfields()->Count(), 1);
    EXPECT_EQ(Sub(5, u'b'), u"old delimiter") << "character 19 is read as the delimiter";
    EXPECT_EQ(record.FieldCount(), 5) << "entries of 2 characters or fewer are dropped";
    // Only tags up to 8 are written as bare values: 009 gets its indicators in front.
    EXPECT_NE(record.Export(2, 0).find(FT + u"  plain" + FT), std::u16string::npos);
}

// Found by fuzzing the round trip: a control field whose text holds a delimiter (here in its
// second indicator) is read as a data field, written back bare without its indicators, and a
// value left with 2 characters is then dropped by the next import. The round trip is not
// stable there by rule.
TEST_F(MarcObjectTest, ControlFieldReadWithADelimiterIsWrittenBareAndThenDropped) {
    record.Import(Iso({{u"003", u" " + SF + u"a2"}, {u"245", Title}}));
    EXPECT_EQ(F(3)->Indicator(2) + F(3)->Value(), SF + u"a2");
    const std::u16string bare = Iso({{u"003", u"a2"}, {u"245", Title}});
    EXPECT_EQ(record.Export(2, 0), bare);
    record.Import(bare);
    EXPECT_EQ(record.Export(2, 0), Iso({{u"245", Title}}));
}

TEST_F(MarcObjectTest, BackslashIsHeldAsCharacter20AndRestoredOnExport) {
    const std::u16string iso =
        Iso({{u"245", u"\\\\" + SF + u"\\2011035923" + SF + u"aC:\\Temp\\x"}});
    record.Import(iso);
    EXPECT_EQ(F(245)->Indicator(1), u"\x14") << "as indicator and code too";
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->StoredValue(), u"C:\x14Temp\x14x");
    EXPECT_EQ(record.Export(2, 0), iso);
}

TEST_F(MarcObjectTest, Utf8SourceDecodesDataFieldsOnly) {
    // "é" as the two UTF-8 bytes C3 A9, one 8-bit character each.
    const std::u16string iso =
        Iso({{u"001", u"id\u00C3\u00A9"}, {u"245", u"00" + SF + u"a\u00C3\u00A9t\u00C3\u00A9"}});
    record.Import(iso);
    EXPECT_EQ(Sub(245, u'a'), u"\u00C3\u00A9t\u00C3\u00A9");
    record.SourceIsUTF8 = true;
    record.Import(iso);
    EXPECT_EQ(Sub(245, u'a'), u"\u00E9t\u00E9");
    EXPECT_EQ(F(1)->Value(), u"id\u00C3\u00A9") << "control fields are not decoded";
    const std::u16string out = record.Export(3, 1);
    EXPECT_EQ(out.substr(out.find(FT + u"00")), FT + iso.substr(iso.find(u"00" + SF)));
    EXPECT_EQ(out.substr(36, 7), u"2450010") << "the directory counts the UTF-8 bytes";
}

// A field the collection cannot hold does not stop the import, and it is counted, so that
// nobody loses data without a word.
TEST_F(MarcObjectTest, RefusedFieldsAreCountedNotFatal) {
    // After UTF-8 decoding the subfield code is the euro sign, outside the codes a field
    // indexes: that field is not kept.
    record.SourceIsUTF8 = true;
    EXPECT_NO_THROW(record.Import(Iso({{u"100", u"1 " + SF + u"\u00E2\u201A\u00ACx"},
                                       {u"245", Title},
                                       {u"500", u"  " + SF + u"aN"}})));
    EXPECT_EQ(record.RefusedFields(), 1);
    EXPECT_FALSE(record.MarcFields()->TagExists(100));
    EXPECT_TRUE(record.MarcFields()->TagExists(500));

    // 1,600 fields: the 100 past the index limit are refused by the index, yet still written.
    std::vector<std::pair<std::u16string, std::u16string>> many(1600, {u"500", u"  " + SF + u"ax"});
    many.back().first = u"590";
    const std::u16string iso = Iso(many);
    record.SourceIsUTF8 = false;
    record.Import(iso);
    EXPECT_EQ(record.RefusedFields(), 100);
    EXPECT_EQ(record.MarcFields()->TagOcc(500), 1500);
    EXPECT_FALSE(record.MarcFields()->TagExists(590));
    EXPECT_EQ(record.Export(2, 0), iso);

    record.Import(Iso({{u"245", Title}}));
    EXPECT_EQ(record.RefusedFields(), 0) << "counted per import";
}

TEST_F(MarcObjectTest, WrongBaseAddressesAndDirectories) {
    const std::u16string good = Iso({{u"001", u"ocm1"}, {u"245", Title}});
    // Zero or not a number: the directory ends at the first terminator. Beyond the record: the
    // directory runs to the end, but the data falls back to what follows the first terminator,
    // so the real entries still find their texts.
    for (const std::u16string base : {u"00000", u"abcde", u"99999"}) {
        std::u16string iso = good;
        record.Import(iso.replace(12, 5, base));
        EXPECT_EQ(F(1)->Value() + Sub(245, u'a'), u"ocm1A title /");
    }
    // Inside the record but one entry short: one entry, whose text is read from position 38,
    // inside the second directory entry, up to the directory terminator.
    std::u16string iso = good;
    record.Import(iso.replace(12, 5, u"00037"));
    EXPECT_EQ(record.FieldCount(), 2);
    EXPECT_EQ(F(1)->Value(), iso.substr(37, iso.find(FT) - 37));
    // More entries than the data has fields: the last text is repeated.
    iso = good;
    record.Import(iso.insert(48, u"500001000040").replace(12, 5, u"00061"));
    EXPECT_EQ(F(500)->Value(), F(245)->Value());
    EXPECT_EQ(F(500)->Indicator(1), u"1");
    // ...but only so far: a crafted directory of 5,000 entries behind one field of 10,000
    // characters cannot make the import hold 50 million characters (nor a million, which made
    // every export of such a record slow), and every entry it leaves out is counted.
    const std::u16string longText = u"10" + SF + u"a" + std::u16string(10000, u'x');
    std::u16string crafted = Iso({{u"245", longText}});
    std::u16string extra;
    for (int i = 0; i < 5000; ++i) {
        extra += u"500000100000";
    }
    crafted.insert(36, extra).replace(12, 5,
                                      FormatNumber(37 + static_cast<long long>(extra.size()), 5));
    record.Import(crafted);
    const int repeats = record.MarcFields()->TagOcc(500);
    EXPECT_GT(repeats, 0);
    EXPECT_LE(static_cast<std::size_t>(repeats) * longText.size(), crafted.size() + 99999);
    EXPECT_EQ(repeats + record.RefusedFields(), 5000);
}

TEST_F(MarcObjectTest, ShortUnterminatedOrOddRecords) {
    for (const std::u16string bad :
         {u"", u"00020nam  22", u"00050nam  2200037 a 4500001000500000ocm1"}) {
        record.Import(bad);
        EXPECT_EQ(record.FieldCount(), 1);
        EXPECT_EQ(record.Leader(), bad.size() >= 24 ? bad.substr(0, 24) : std::u16string(24, u' '));
    }
    // Tags with letters read as their leading number; "ABC" reads as 0, and a text that is not
    // a whole leader does not replace the leader.
    const std::u16string iso =
        Iso({{u"1AB", u"1 " + SF + u"aName"}, {u"ABC", u"  " + SF + u"ax"}, {u"245", Title}});
    record.Import(iso);
    EXPECT_EQ(Sub(1, u'a'), u"Name");
    EXPECT_EQ(record.FieldCount(), 3);
    EXPECT_EQ(record.Leader(), iso.substr(0, 24));
    // A record terminator inside a field stays in its text.
    record.Import(Iso({{u"500", u"  " + SF + u"aa" + RT + u"b"}, {u"245", Title}}));
    EXPECT_EQ(Sub(500, u'a'), u"a" + RT + u"b");
    EXPECT_EQ(F(245)->Indicator(1), u"1");
}

TEST_F(MarcObjectTest, CharacterMapIsAppliedOnImportAndDroppedByANewValue) {
    test::TempDir dir;
    test::WriteBytes(dir / "swap.map", "41=42 # A becomes B\r\n");
    const std::u16string iso = Iso({{u"245", u"00" + SF + u"aAbc"}});
    const std::u16string path = FromAscii((dir / "swap.map").string());
    record.SetCharacterMap(path);
    record.Import(iso);
    EXPECT_EQ(Sub(245, u'a'), u"Bbc");
    // An empty value drops the map; the name given last stays.
    record.SetCharacterMap(u"");
    EXPECT_EQ(record.CharacterMap(), path);
    record.Import(iso);
    EXPECT_EQ(Sub(245, u'a'), u"Abc");

    test::WriteBytes(dir / "home.map", "62=79\r\n");
    {
        const test::ScopedEnv home("TESSELEX_HOME", dir.Path().string());
        record.SetCharacterMap(u"home.map");  // no path: from the program folder
    }
    record.Import(iso);
    EXPECT_EQ(Sub(245, u'a'), u"Ayc");
    EXPECT_EQ(record.CharacterMap(), u"home.map");
}

}  // namespace
}  // namespace tesselex
