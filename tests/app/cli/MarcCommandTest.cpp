// tesselex-cli marc dump|convert|check, run as the built program on a real sample file.
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace {

using tesselex::test::ReadBytes;
using tesselex::test::TempDir;
using tesselex::test::WriteBytes;

const std::string Sample = TESSELEX_CLI_DATA "/pymarc_test.dat";

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

class MarcCommandTest : public ::testing::Test {
  protected:
    // Runs tesselex-cli with the arguments (already quoted where needed) and an optional
    // standard input file.
    CliRun Cli(const std::string& args, const std::string& input = "/dev/null") {
        const std::string command = std::string("'") + TESSELEX_CLI + "' " + args + " <'" + input +
                                    "' >'" + (dir / "out").string() + "' 2>'" +
                                    (dir / "err").string() + "'";
        const int raw = std::system(command.c_str());
        CliRun run;
        run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        run.out = ReadBytes(dir / "out");
        run.err = ReadBytes(dir / "err");
        return run;
    }
    std::string Path(const char* name) { return (dir / name).string(); }

    TempDir dir;
};

int CountLines(const std::string& text) {
    int lines = 0;
    for (const char ch : text) {
        lines += ch == '\n' ? 1 : 0;
    }
    return lines;
}

TEST_F(MarcCommandTest, DumpWritesLeaderAndOneLinePerField) {
    const CliRun run = Cli("marc dump '" + Sample + "'");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("LDR 00755cam  22002414a 4500\n001 fol05731351 \n", 0), 0u);
    EXPECT_NE(run.out.find("\n008 000107s2000    nyua          001 0 eng  \n"), std::string::npos);
    EXPECT_NE(run.out.find("\n100 1  $aMartinsson, Tobias,$d1976-\n"), std::string::npos);
    EXPECT_NE(run.out.find("\n650  0 $aPerl (Computer program language)\n"), std::string::npos);
    // Ten records, separated by blank lines.
    std::size_t leaders = 0;
    for (std::size_t at = run.out.find("LDR "); at != std::string::npos;
         at = run.out.find("\n\nLDR ", at + 1)) {
        ++leaders;
    }
    EXPECT_EQ(leaders, 10u);
}

TEST_F(MarcCommandTest, DumpWithDisplayConfiguration) {
    const std::string config = TESSELEX_DISPLAY_DATA "/Display.cfg";
    CliRun run = Cli("marc dump '" + Sample + "' --display '" + config + "'");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("Titel\tActivePerl with ASP and ADO / Tobias Martinsson.\n"),
              std::string::npos)
        << run.out.substr(0, 400);
    std::size_t titles = 0;
    for (std::size_t at = run.out.find("\nTitel\t"); at != std::string::npos;
         at = run.out.find("\nTitel\t", at + 1)) {
        ++titles;
    }
    EXPECT_EQ(titles, 10u) << "every record of the sample has a title row";
    run = Cli("marc dump '" + Sample + "' --display '" + config + "' --html");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("<TABLE Border=0 cellpadding=2>", 0), 0u);
    EXPECT_NE(run.out.find("<a href=\"search?author=Martinsson%2C+Tobias%2C\">"),
              std::string::npos);
}

TEST_F(MarcCommandTest, ConvertRoundTripsAndReadsStandardStreams) {
    CliRun run = Cli("marc convert '" + Sample + "' '" + Path("copy.mrc") + "'");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "tesselex-cli marc convert: 10 records read, 10 written, 0 dropped\n");
    const std::string copy = ReadBytes(Path("copy.mrc"));
    EXPECT_EQ(Cli("marc check '" + Path("copy.mrc") + "'").out, "10 good, 0 bad\n");
    // Export writes what the model holds: converting the copy again changes nothing.
    run = Cli("marc convert - -", Path("copy.mrc"));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, copy);

    // UTF-8 out: leader position 10 says so, and every record still passes the check.
    run = Cli("marc convert '" + Sample + "' '" + Path("utf8.mrc") +
              "' --encoding 3 --normalization 1");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string utf8 = ReadBytes(Path("utf8.mrc"));
    EXPECT_EQ(utf8[9], 'a');
    EXPECT_EQ(Cli("marc check '" + Path("utf8.mrc") + "'").status, 0);
}

TEST_F(MarcCommandTest, ConvertDropsPiecesWithoutARecord) {
    WriteBytes(Path("trailing.mrc"), ReadBytes(Sample) + "\r\n");
    const CliRun run = Cli("marc convert '" + Path("trailing.mrc") + "' -");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "tesselex-cli marc convert: 11 records read, 10 written, 1 dropped\n");
}

TEST_F(MarcCommandTest, CheckReportsBadRecordsWithPositionAndFirstBytes) {
    CliRun run = Cli("marc check '" + Sample + "'");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "10 good, 0 bad\n");

    std::string broken = ReadBytes(Sample);
    broken[4] = '4';  // first record states 00754 instead of 00755
    WriteBytes(Path("broken.mrc"), broken + "junk");
    run = Cli("marc check '" + Path("broken.mrc") + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "bad record 1 at byte 0, length 755: 00754cam  22002414a 4500\n"
              "bad record 11 at byte " +
                  std::to_string(broken.size()) +
                  ", length 4: junk\n"
                  "9 good, 2 bad\n");
}

TEST_F(MarcCommandTest, ErrorsGiveOneLineAndStatus2) {
    struct Case {
        std::string args;
        std::string message;
    };
    const Case cases[] = {
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
    for (const Case& c : cases) {
        const CliRun run = Cli(c.args);
        EXPECT_EQ(run.status, 2) << c.args;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.args << ": " << run.err;
        EXPECT_EQ(CountLines(run.err), 1) << c.args << ": " << run.err;
    }
}

TEST_F(MarcCommandTest, HelpDescribesTheTools) {
    const CliRun run = Cli("marc --help");
    EXPECT_EQ(run.status, 0);
    for (const char* text :
         {"marc dump FILE", "marc convert IN OUT", "marc check FILE", "--encoding N"}) {
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
    }
}

}  // namespace
