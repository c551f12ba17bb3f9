// The record object: leader access, character map, ISO 2709 import and export.
#include "marc/MarcObject.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "IsoBuilder.h"
#include "config/Strings.h"
#include "marc/MarcObjectFields.h"
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
    MarcObject record;
};

// --- Leader ------------------------------------------------------------------------------

TEST_F(MarcObjectTest, NewRecordHasTheDefaultLeaderAndTypedPositions) {
    EXPECT_EQ(record.Leader(), u"00000naa  2200000 u 45  ");
    EXPECT_EQ(record.RecordType(), u"a");
    EXPECT_EQ(record.BibLevel(), u"a");
    EXPECT_EQ(record.CharacterSet(), u" ");
    EXPECT_EQ(record.GetLeaderValue(13, 5), u"00000");
    EXPECT_EQ(record.FieldCount(), 1);
}

TEST_F(MarcObjectTest, LeaderOfTheWrongLengthIsIgnored) {
    record.SetLeader(u"01234cam  2200301 a 450");
    EXPECT_EQ(record.Leader(), MarcObject::DefaultLeader);
    record.SetLeader(u"01234cam  2200301 a 45000");
    EXPECT_EQ(record.Leader(), MarcObject::DefaultLeader);
    record.SetLeader(u"01234cam  2200301 a 4500");
    EXPECT_EQ(record.Leader(), u"01234cam  2200301 a 4500");
}

TEST_F(MarcObjectTest, TypedSettersWriteOneCharacterAndIgnoreEmptyValues) {
    record.SetRecordType(u"");
    EXPECT_EQ(record.Leader(), MarcObject::DefaultLeader);
    record.SetRecordType(u"cm");
    record.SetBibLevel(u"s");
    record.SetCharacterSet(u"a");
    EXPECT_EQ(record.Leader(), u"00000ncs a2200000 u 45  ");
    EXPECT_EQ(record.RecordType(), u"c");
    EXPECT_EQ(record.BibLevel(), u"s");
    EXPECT_EQ(record.CharacterSet(), u"a");
}

TEST_F(MarcObjectTest, LeaderValueAccessIsOneBasedAndStaysInsideTheLeader) {
    record.SetLeaderValue(18, u"4");
    EXPECT_EQ(record.GetLeaderValue(18, 1), u"4");
    EXPECT_EQ(record.GetLeaderValue(1, 5), u"00000");
    record.SetLeaderValue(23, u"xyz");  // would run past position 24
    EXPECT_EQ(record.Leader(), u"00000naa  22000004u 45  ");
    EXPECT_EQ(record.GetLeaderValue(20, 10), u"");
}

// --- Export ------------------------------------------------------------------------------

TEST_F(MarcObjectTest, NewRecordExportsAsLeaderAndTwoTerminators) {
    EXPECT_EQ(record.Export(2, 0), u"00026naa  2200025 u 45  " + FT + RT);
}

TEST_F(MarcObjectTest, ExportWritesDirectoryLengthsAndOffsetsOfTheFields) {
    record.MarcFields()->Add(1, u"", u"", u"ocm123", false, false);
    record.MarcFields()->Add(245, u"1", u"0", SF + u"aTitle", false, false);
    const std::u16string out = record.Export(2, 0);
    const std::u16string expected =
        u"00067naa  2200049 u 45  "
        u"001000700000"
        u"245001000007" +
        FT + u"ocm123" + FT + u"10" + SF + u"aTitle" + FT + RT;
    EXPECT_EQ(out, expected);
    EXPECT_EQ(record.Leader(), MarcObject::DefaultLeader) << "export must not change the record";
}

TEST_F(MarcObjectTest, ExportSetsCharacterCodingOnlyForEncodingsZeroAndThree) {
    record.SetCharacterSet(u"z");
    EXPECT_EQ(record.Export(3, 1).substr(9, 1), u"a");
    EXPECT_EQ(record.Export(0, 0).substr(9, 1), u" ");
    for (int encoding : {1, 2, 4, 5, 9}) {
        EXPECT_EQ(record.Export(encoding, 0).substr(9, 1), u"z") << "encoding " << encoding;
    }
    EXPECT_EQ(record.CharacterSet(), u"z");
}

TEST_F(MarcObjectTest, ExportLeavesOutDataFieldsOfBlanksButKeepsBlankControlFields) {
    record.MarcFields()->Add(500, u" ", u" ", u"    ", false, false);
    record.MarcFields()->Add(8, u"", u"", std::u16string(40, u' '), true, false);
    const std::u16string out = record.Export(2, 0);
    EXPECT_EQ(out.find(u"500"), std::u16string::npos);
    EXPECT_EQ(out.substr(24, 12), u"008004100000");
    EXPECT_EQ(out.size(), 24u + 12u + 1u + 41u + 1u);
}

TEST_F(MarcObjectTest, ExportUtf8CountsBytesInTheDirectory) {
    record.MarcFields()->Add(245, u"0", u"0", SF + u"a\u00E9t\u00E9", false, false);
    const std::u16string out = record.Export(3, 1);
    // "00" + delimiter + "a" + two 2-byte letters and a "t" + terminator = 10 bytes
    EXPECT_EQ(out.substr(24, 12), u"245001000000");
    EXPECT_NE(out.find(u"\u00C3\u00A9t\u00C3\u00A9"), std::u16string::npos);
}

TEST_F(MarcObjectTest, LengthsThatOutgrowTheirWidthKeepAllDigits) {
    // 2 indicators + delimiter, code and 9,998 letters + terminator = 10,003 characters.
    record.MarcFields()->Add(500, u" ", u" ", SF + u"a" + std::u16string(9998, u'x'), false, false);
    std::u16string out = record.Export(2, 0);
    EXPECT_EQ(out.substr(24, 13), u"5001000300000");
    EXPECT_EQ(out.substr(0, 5), u"10042");
    EXPECT_EQ(out.substr(12, 5), u"00038");

    // A record past 99,999 characters: six digits of record length, base address behind them.
    record.MarcFields()->Add(520, u" ", u" ", SF + u"a" + std::u16string(95000, u'y'), false,
                             false);
    out = record.Export(2, 0);
    const std::u16string total = FormatNumber(static_cast<long long>(out.size()) - 1, 5);
    EXPECT_EQ(total.size(), 6u);
    EXPECT_EQ(out.substr(0, 6), total);
    EXPECT_EQ(out.substr(13, 5), u"00051");
}

// --- Import ------------------------------------------------------------------------------

TEST_F(MarcObjectTest, ImportReadsLeaderControlAndDataFields) {
    const std::u16string iso = Iso({{u"001", u"ocm42"},
                                    {u"008", u"000107s2000    nyu"},
                                    {u"245", Title},
                                    {u"650", u" 0" + SF + u"aPerl."}});
    record.Import(iso);
    EXPECT_EQ(record.Leader(), iso.substr(0, 24));
    EXPECT_EQ(record.FieldCount(), 5);
    EXPECT_EQ(F(1)->Value(), u"ocm42");
    EXPECT_EQ(F(8)->FixedLength(), 18);
    EXPECT_EQ(F(245)->Indicator(1), u"1");
    EXPECT_EQ(F(245)->Indicator(2), u"0");
    EXPECT_EQ(F(245)->Subfields()->Field(u'c')->Value(), u"by someone.");
    EXPECT_EQ(F(650)->Indicator(1), u" ");
    EXPECT_EQ(record.Export(2, 0), iso) << "a well-formed record round-trips";
}

TEST_F(MarcObjectTest, ImportReplacesEverythingThatWasThere) {
    record.MarcFields()->Add(500, u" ", u" ", SF + u"aold", false, false);
    record.Import(Iso({{u"245", Title}}));
    EXPECT_FALSE(record.MarcFields()->TagExists(500));
    EXPECT_EQ(record.FieldCount(), 2);
}

TEST_F(MarcObjectTest, Tags006To008AreAlwaysFixedOtherTagsAreDecidedByContent) {
    record.Import(Iso({{u"007", u"cr"},
                       {u"009", u"plain"},
                       {u"009", u"  " + SF + u"asub"},
                       {u"005", u"  " + SF + u"aq"}}));
    EXPECT_EQ(F(7)->FixedLength(), 2) << "even a 2-character 007 is kept";
    EXPECT_EQ(F(9, 1)->Value(), u"plain");
    EXPECT_EQ(F(9, 2)->Subfields()->Count(), 1);
    EXPECT_EQ(F(5)->Subfields()->Count(), 1);

    // Only tags up to 8 are written as bare values: 009 gets its indicators in front.
    const std::u16string out = record.Export(2, 0);
    EXPECT_NE(out.find(FT + u"  plain" + FT), std::u16string::npos);
}

TEST_F(MarcObjectTest, EntriesOfTwoCharactersOrFewerAreDropped) {
    record.Import(Iso({{u"001", u"ab"}, {u"500", u" " + SF}, {u"020", u""}, {u"245", Title}}));
    EXPECT_EQ(record.FieldCount(), 2);
    EXPECT_TRUE(record.MarcFields()->TagExists(245));
}

TEST_F(MarcObjectTest, BackslashIsHeldAsCharacter20AndRestoredOnExport) {
    const std::u16string iso = Iso({{u"245", u"00" + SF + u"aC:\\Temp\\x"}});
    record.Import(iso);
    const auto subfield = F(245)->Subfields()->Field(u'a');
    EXPECT_EQ(subfield->StoredValue(), u"C:\x14Temp\x14x");
    EXPECT_EQ(subfield->Value(), u"C:\\Temp\\x");
    EXPECT_EQ(record.Export(2, 0), iso);
}

TEST_F(MarcObjectTest, BackslashAsIndicatorOrSubfieldCodeComesBackToo) {
    const std::u16string iso = Iso({{u"020", u"\\\\" + SF + u"\\2011035923" + SF + u"aX"}});
    record.Import(iso);
    EXPECT_EQ(F(20)->Indicator(1), u"\x14");
    EXPECT_EQ(record.Export(2, 0), iso);
}

TEST_F(MarcObjectTest, Character19IsReadAsSubfieldDelimiter) {
    record.Import(Iso({{u"245", u"00" + SF +
                                    u"aOne\x13"
                                    u"bTwo"}}));
    EXPECT_EQ(F(245)->Subfields()->Count(), 2);
    EXPECT_EQ(F(245)->Subfields()->Field(u'b')->Value(), u"Two");
}

TEST_F(MarcObjectTest, Utf8SourceDecodesDataFieldsOnly) {
    // "é" as the two UTF-8 bytes C3 A9, one 8-bit character each.
    const std::u16string iso =
        Iso({{u"001", u"id1"}, {u"245", u"00" + SF + u"a\u00C3\u00A9t\u00C3\u00A9"}});
    record.Import(iso);
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->Value(), u"\u00C3\u00A9t\u00C3\u00A9");
    record.SourceIsUTF8 = true;
    record.Import(iso);
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->Value(), u"\u00E9t\u00E9");
    record.Import(Iso({{u"001", u"id\u00C3\u00A9"}}));
    EXPECT_EQ(F(1)->Value(), u"id\u00C3\u00A9") << "control fields are not decoded";
    record.Import(iso);
    EXPECT_EQ(record.Export(3, 1).substr(24), iso.substr(24)) << "UTF-8 out again";
}

TEST_F(MarcObjectTest, FieldTheCollectionCannotHoldDoesNotStopTheImport) {
    // After UTF-8 decoding the subfield code is the euro sign, outside the codes a field
    // indexes.
    record.SourceIsUTF8 = true;
    const std::u16string euro = u"\u00E2\u0082\u00AC";
    EXPECT_NO_THROW(record.Import(
        Iso({{u"100", u"1 " + SF + euro + u"x"}, {u"245", Title}, {u"500", u"  " + SF + u"aN"}})));
    EXPECT_TRUE(record.MarcFields()->TagExists(245));
    EXPECT_TRUE(record.MarcFields()->TagExists(500));
}

// --- Locating the parts of malformed records --------------------------------------------

TEST_F(MarcObjectTest, ZeroOrNonNumericBaseAddressEndsTheDirectoryAtTheFirstTerminator) {
    for (const std::u16string base : {u"00000", u"abcde"}) {
        std::u16string iso = Iso({{u"001", u"ocm1"}, {u"245", Title}});
        iso.replace(12, 5, base);
        record.Import(iso);
        EXPECT_EQ(record.FieldCount(), 3) << "base " << std::string(base.begin(), base.end());
        EXPECT_EQ(F(1)->Value(), u"ocm1");
        EXPECT_EQ(F(245)->Indicator(1), u"1");
    }
}

TEST_F(MarcObjectTest, BaseAddressBeyondTheRecordFallsBackForTheDataOnly) {
    std::u16string iso = Iso({{u"001", u"ocm1"}, {u"245", Title}});
    iso.replace(12, 5, u"99999");
    record.Import(iso);
    // The directory now runs to the end of the record; its real entries come first and still
    // find their data after the first terminator.
    EXPECT_EQ(F(1)->Value(), u"ocm1");
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->Value(), u"A title /");
}

TEST_F(MarcObjectTest, WrongNonZeroBaseAddressStillDefinesTheDirectory) {
    // Base address 37 is inside the record but one entry short: the directory holds one entry,
    // and the data starts at 37, inside the second directory entry.
    std::u16string iso = Iso({{u"001", u"ocm1"}, {u"245", Title}});
    iso.replace(12, 5, u"00037");
    record.Import(iso);
    EXPECT_EQ(record.FieldCount(), 2);
    EXPECT_TRUE(record.MarcFields()->TagExists(1));
    // Its text is the first piece of the data read from position 38: the rest of the
    // directory up to the directory terminator.
    EXPECT_EQ(F(1)->Value(), iso.substr(37, iso.find(FT) - 37));
    EXPECT_EQ(F(1)->Value().substr(0, 2), u"45");
}

TEST_F(MarcObjectTest, DirectoryLongerThanTheDataRepeatsTheLastText) {
    std::u16string iso = Iso({{u"001", u"ocm1"}, {u"245", Title}});
    // One more directory entry than there are fields.
    iso.insert(48, u"500001000040");
    iso.replace(12, 5, u"00061");
    record.Import(iso);
    ASSERT_TRUE(record.MarcFields()->TagExists(500));
    EXPECT_EQ(F(500)->Value(), F(245)->Value());
    EXPECT_EQ(F(500)->Indicator(1), u"1");
}

TEST_F(MarcObjectTest, ShortOrUnterminatedRecordsGiveNoFields) {
    record.Import(u"00020nam  22");
    EXPECT_EQ(record.FieldCount(), 1);
    EXPECT_EQ(Trim(record.Leader()), u"");

    record.Import(u"00050nam  2200037 a 4500001000500000ocm1");
    EXPECT_EQ(record.FieldCount(), 1);
    EXPECT_EQ(record.Leader(), u"00050nam  2200037 a 4500");

    record.Import(u"");
    EXPECT_EQ(record.FieldCount(), 1);
}

TEST_F(MarcObjectTest, TagsWithLettersReadAsTheirLeadingNumber) {
    const std::u16string iso =
        Iso({{u"1AB", u"1 " + SF + u"aName"}, {u"ABC", u"  " + SF + u"ax"}, {u"245", Title}});
    record.Import(iso);
    EXPECT_TRUE(record.MarcFields()->TagExists(1));
    EXPECT_EQ(F(1)->Subfields()->Field(u'a')->Value(), u"Name");
    EXPECT_TRUE(record.MarcFields()->TagExists(245));
    // "ABC" reads as tag 0, and a text that is not a whole leader does not replace the leader.
    EXPECT_EQ(record.FieldCount(), 3);
    EXPECT_EQ(record.Leader(), iso.substr(0, 24));
}

TEST_F(MarcObjectTest, RecordTerminatorInsideAFieldStaysInItsText) {
    record.Import(Iso({{u"500", u"  " + SF + u"aa" + RT + u"b"}, {u"245", Title}}));
    EXPECT_EQ(F(500)->Subfields()->Field(u'a')->Value(), u"a" + RT + u"b");
    EXPECT_EQ(F(245)->Indicator(1), u"1");
}

// --- Character map -----------------------------------------------------------------------

TEST_F(MarcObjectTest, CharacterMapIsAppliedOnImportAndDroppedByANewValue) {
    test::TempDir dir;
    test::WriteBytes(dir / "swap.map", "41=42 # A becomes B\r\n");
    const std::u16string iso = Iso({{u"245", u"00" + SF + u"aAbc"}});

    const std::u16string path = FromAscii((dir / "swap.map").string());
    record.SetCharacterMap(path);
    EXPECT_EQ(record.CharacterMap(), path);
    record.Import(iso);
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->Value(), u"Bbc");

    // An empty value drops the map; the name given last stays.
    record.SetCharacterMap(u"");
    EXPECT_EQ(record.CharacterMap(), path);
    record.Import(iso);
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->Value(), u"Abc");
}

TEST_F(MarcObjectTest, CharacterMapWithoutAPathComesFromTheProgramFolder) {
    test::TempDir dir;
    test::WriteBytes(dir / "home.map", "62=79\r\n");
    ASSERT_EQ(setenv("TESSELEX_HOME", dir.Path().c_str(), 1), 0);
    record.SetCharacterMap(u"home.map");
    unsetenv("TESSELEX_HOME");
    record.Import(Iso({{u"245", u"00" + SF + u"aabc"}}));
    EXPECT_EQ(F(245)->Subfields()->Field(u'a')->Value(), u"ayc");
    EXPECT_EQ(record.CharacterMap(), u"home.map");
}

}  // namespace
}  // namespace tesselex
