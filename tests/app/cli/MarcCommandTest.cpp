// tesselex-cli marc dump|convert|check, run as the built program on a real sample file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "config/CodePage.h"
#include "tests/support/IsoRecord.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"
#include "tests/support/export/ExportSandbox.h"

namespace {

using ::testing::HasSubstr;

using tesselex::test::CliResult;
using tesselex::test::Occurrences;
using tesselex::test::ReadBytes;
using tesselex::test::TempDir;
using tesselex::test::WriteBytes;

const std::string Sample = TESSELEX_CLI_DATA "/pymarc_test.dat";

class MarcCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
#ifdef _WIN32
        GTEST_SKIP() << tesselex::test::kNoShell;
#endif
    }
    // Runs tesselex-cli with the arguments (already quoted where needed) and an optional
    // standard input file; its standard error is Err().
    CliResult Cli(const std::string& args, const std::string& input = "/dev/null") {
        return tesselex::test::RunCliScript("\"$CLI\" " + args + " <'" + input + "' 2>'" +
                                            Path("err") + "'");
    }
    std::string Err() const {
        return ReadBytes(dir / "err");
    }
    std::string Path(const char* name) {
        return (dir / name).string();
    }

    TempDir dir;
};

// A record of 1,600 fields 500, more than a record indexes.
std::string ManyFields() {
    using tesselex::test::SF;
    return tesselex::TextToAnsi(
        tesselex::test::Iso(std::vector<std::pair<std::u16string, std::u16string>>(
            1600, {u"500", u"  " + SF + u"ax"})));
}

TEST_F(MarcCommandTest, DumpWritesLeaderAndOneLinePerFieldOrTheDisplay) {
    CliResult run = Cli("marc dump '" + Sample + "'");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(run.Out.rfind("LDR 00755cam  22002414a 4500\n001 fol05731351 \n", 0), 0u);
    EXPECT_THAT(run.Out, HasSubstr("\n008 000107s2000    nyua          001 0 eng  \n"));
    EXPECT_THAT(run.Out, HasSubstr("\n100 1  $aMartinsson, Tobias,$d1976-\n"));
    EXPECT_THAT(run.Out, HasSubstr("\n650  0 $aPerl (Computer program language)\n"));
    EXPECT_EQ(Occurrences(run.Out, "\n\nLDR "), 9u) << "ten records, separated by blank lines";

    const std::string config = TESSELEX_DISPLAY_DATA "/Display.cfg";
    run = Cli("marc dump '" + Sample + "' --display '" + config + "'");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_THAT(run.Out, HasSubstr("Titel\tActivePerl with ASP and ADO / Tobias Martinsson.\n"));
    EXPECT_EQ(Occurrences(run.Out, "\nTitel\t"), 10u)
        << "every record of the sample has a title row";
    run = Cli("marc dump '" + Sample + "' --display '" + config + "' --html");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(run.Out.rfind("<TABLE Border=0 cellpadding=2>", 0), 0u);
    EXPECT_THAT(run.Out, HasSubstr("<a href=\"search?author=Martinsson%2C+Tobias%2C\">"));
}

TEST_F(MarcCommandTest, ConvertRoundTripsAndReadsStandardStreams) {
    CliResult run = Cli("marc convert '" + Sample + "' '" + Path("copy.mrc") + "'");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(Err(),
              "tesselex-cli marc convert: 10 records read, 10 written, 0 dropped, 0 with "
              "refused fields\n");
    const std::string copy = ReadBytes(Path("copy.mrc"));
    EXPECT_EQ(Cli("marc check '" + Path("copy.mrc") + "'").Out, "10 good, 0 bad\n");
    // Export writes what the model holds: converting the copy again changes nothing.
    run = Cli("marc convert - -", Path("copy.mrc"));
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(run.Out, copy);

    // UTF-8 out: leader position 10 says so, and every record still passes the check.
    run = Cli("marc convert '" + Sample + "' '" + Path("utf8.mrc") +
              "' --encoding 3 --normalization 1");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(ReadBytes(Path("utf8.mrc"))[9], 'a');
    EXPECT_EQ(Cli("marc check '" + Path("utf8.mrc") + "'").Status, 0);

    // A piece too short for a leader (a line end after the last record) is dropped.
    WriteBytes(Path("trailing.mrc"), ReadBytes(Sample) + "\r\n");
    run = Cli("marc convert '" + Path("trailing.mrc") + "' -");
    EXPECT_THAT(Err(), HasSubstr("11 records read, 10 written, 1 dropped"));
}

// Fields the record refuses are reported on stderr and counted, never lost without a word.
TEST_F(MarcCommandTest, RecordsWithRefusedFieldsAreReported) {
    const std::string first = ReadBytes(Sample).substr(0, 755);
    const std::string many = ManyFields();
    WriteBytes(Path("many.mrc"), first + many);
    CliResult run = Cli("marc convert '" + Path("many.mrc") + "' '" + Path("out.mrc") + "'");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(Err(),
              "tesselex-cli marc convert: record 2 at byte 755: 100 field(s) refused "
              "(over 1500 fields, over 128 subfields, or a subfield code outside the "
              "code page)\n"
              "tesselex-cli marc convert: 2 records read, 2 written, 0 dropped, 1 with "
              "refused fields\n");
    // Past the index limit the fields are still written.
    EXPECT_TRUE(ReadBytes(Path("out.mrc")).ends_with(many));

    run = Cli("marc dump '" + Path("many.mrc") + "'");
    ASSERT_EQ(run.Status, 0) << Err();
    EXPECT_EQ(Occurrences(run.Out, "\n500    $ax\n"), 1600u);
    EXPECT_THAT(Err(), HasSubstr("dump: record 2 at byte 755: 100 field(s) refused"));
    EXPECT_THAT(Err(), HasSubstr("dump: 2 records, 1 with refused fields\n"));
}

TEST_F(MarcCommandTest, CheckReportsBadRecordsWithPositionAndFirstBytes) {
    // A good file's "N good, 0 bad" and status 0: the converted copies above.
    std::string broken = ReadBytes(Sample);
    broken[4] = '4';  // first record states 00754 instead of 00755
    WriteBytes(Path("broken.mrc"), broken + "junk");
    const CliResult run = Cli("marc check '" + Path("broken.mrc") + "'");
    EXPECT_EQ(run.Status, 1);
    EXPECT_EQ(run.Out,
              "bad record 1 at byte 0, length 755: 00754cam  22002414a 4500\n"
              "bad record 11 at byte " +
                  std::to_string(broken.size()) + ", length 4: junk\n9 good, 2 bad\n");
}

TEST_F(MarcCommandTest, ErrorsGiveOneLineAndStatus2) {
    const std::pair<std::string, std::string> cases[] = {
        {"marc dump '" + Path("missing.mrc") + "'", "no such file"},
        {"marc dump '" + dir.Path().string() + "'", "it is a folder"},
        {"marc dump '" + Sample + "' --bogus", "unknown option '--bogus'"},
        {"marc convert '" + Sample + "'", "convert needs IN and OUT"},
        {"marc convert '" + Sample + "' - --encoding x", "--encoding needs a whole number"},
        {"marc check", "needs exactly one FILE"},
        {"marc check '" + Sample + "' --utf8-source", "unknown option"},
        {"marc dump '" + Sample + "' --charmap nowhere.map",
         "character map 'nowhere.map' not found"},
        {"marc dump '" + Sample + "' --html", "--html needs --display"},
        {"marc convert '" + Sample + "' '" + Path("no/such/dir/out.mrc") + "'", "cannot write"},
        {"marc frobnicate", "unknown marc tool"},
        {"marc", "marc needs dump, convert or check"},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(args);
        const CliResult run = Cli(args);
        EXPECT_EQ(run.Status, 2);
        EXPECT_THAT(Err(), HasSubstr(message));
        EXPECT_EQ(Occurrences(Err(), "\n"), 1u) << Err();
    }
    const CliResult help = Cli("marc --help");
    EXPECT_EQ(help.Status, 0);
    for (const char* text : {"marc dump FILE", "marc convert IN OUT", "marc check FILE"}) {
        EXPECT_THAT(help.Out, HasSubstr(text));
    }
}

}  // namespace
