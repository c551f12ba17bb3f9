// tesselex-cli's export commands as a user runs them: a separate process with its own program
// folder (TESSELEX_HOME) and settings location (XDG_CONFIG_HOME).

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/app/engine/EngineFixture.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::CliResult;
using test::ReadBytes;
using test::WriteBytes;

// The fixture's environment (TESSELEX_HOME, XDG_CONFIG_HOME) is what the program inherits.
class EngineCommandTest : public test::EngineFixture {
  protected:
    void SetUp() override {
#ifdef _WIN32
        GTEST_SKIP() << test::kNoShell;
#endif
        EngineFixture::SetUp();
        Run("settings set Destination '" + destination_.string() + "'");
    }

    CliResult Shell(const std::string& script) const {
        return test::RunCliScript(script);
    }
    CliResult Run(const std::string& args) const {
        return Shell("\"$CLI\" " + args + " 2>>'" + (dir_ / "stderr.txt").string() + "'");
    }

    std::string sampleWorkfile_ = (test::SourceDir() / "data" / "sample-workfile.mrc").string();
};

TEST_F(EngineCommandTest, SettingsAreSetAndReadWithoutRegardToCase) {
    EXPECT_EQ(Run("settings set holdtype after").Status, 0);
    EXPECT_EQ(Run("settings get HOLDTYPE").Out, "after\n");
    const CliResult list = Run("settings list");
    EXPECT_EQ(list.Status, 0);
    EXPECT_NE(("\n" + list.Out).find("\nDestination=" + destination_.string() + "\n"),
              std::string::npos);
    EXPECT_NE(list.Out.find("\nFTPPassword=\n"), std::string::npos) << "no password: nothing";
    EXPECT_EQ(Run("settings set FTPPassword hemligt").Status, 0);
    const std::string masked = Run("settings list").Out;
    EXPECT_NE(masked.find("\nFTPPassword=********\n"), std::string::npos);
    EXPECT_EQ(masked.find("hemligt"), std::string::npos);
    const CliResult hidden = Run("settings get ftppassword");
    EXPECT_EQ(hidden.Status, 2);
    EXPECT_EQ(hidden.Out, "");
    EXPECT_EQ(Run("settings get ftppassword --show-secret").Out, "hemligt\n");
    // In the sandbox's settings location, never anywhere else, and its owner's only.
    const auto file = dir_ / "config" / "TESSELEX" / "TESSELEX.conf";
    EXPECT_EQ(std::filesystem::status(file).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(Run("settings set NoSuchKey 1").Status, 2);

    // A file-size limit of 1 KiB (ulimit counts 512-byte blocks here) cuts the write short.
    const std::string before = ReadBytes(file);
    const CliResult full = Shell("trap '' XFSZ; ulimit -f 2; \"$CLI\" settings set Libraries " +
                                 std::string(3000, 'x') + " 2>&1");
    EXPECT_EQ(full.Status, 1);
    EXPECT_EQ(full.Out, "tesselex-cli: the settings file " + file.string() +
                            " could not be written; it keeps its previous settings\n");
    EXPECT_EQ(ReadBytes(file), before);

    EXPECT_EQ(Run("settings frobnicate").Status, 2);

    // The request a fetch would send, and nothing else: no record is asked for.
    const CliResult request = Run("request 4711");
    EXPECT_EQ(request.Status, 0);
    EXPECT_EQ(request.Out, server_.Address("/export?f003=TESSEL&bibid=4711&auth=interleaved&"
                                           "holdings=after&charset=iso-8859-1") +
                               "\n");
    EXPECT_EQ(server_.Requests(), std::vector<std::string>{"/config"});
}

// The machine's policy: shown and locked in the settings, its server address asked for the
// request table instead of export.url's (which is left as it is), a bad value reported at
// start-up with the user's own setting in force.
TEST_F(EngineCommandTest, PolicyLocksSettingsAndNamesTheServer) {
    WriteBytes(home_ / "export.url", "[InternetShortcut]\r\nURL=http://127.0.0.1:9/config\r\n");
    WriteBytes(dir_ / "policy.conf", "ServerAddress=" + server_.Address("/config") +
                                         "\nHoldtype=none\nFTPServer=ftp.example:99999\n");
    EXPECT_EQ(Run("settings set FTPServer mine.example").Status, 0);
    const CliResult list = Run("settings list");
    EXPECT_NE(list.Out.find("\nHoldtype=none (policy)\n"), std::string::npos) << list.Out;
    EXPECT_NE(list.Out.find("\nFTPServer=mine.example\n"), std::string::npos) << list.Out;
    EXPECT_TRUE(
        list.Out.ends_with("\nServerAddress=" + server_.Address("/config") + " (policy)\n"));
    const CliResult set = Shell("\"$CLI\" settings set holdtype after 2>&1");
    EXPECT_EQ(set.Status, 1);
    EXPECT_EQ(set.Out,
              "tesselex-cli: holdtype is set by the administrator for every user of "
              "this machine (" +
                  (dir_ / "policy.conf").string() + ") and cannot be changed here\n");
    EXPECT_EQ(Run("request 4711").Out,
              server_.Address("/export?f003=TESSEL&bibid=4711&auth=interleaved&holdings=none&"
                              "charset=iso-8859-1") +
                  "\n");
    const CliResult watch = Run("watch --once");
    EXPECT_EQ(watch.Status, 1) << "an error line was shown";
    EXPECT_NE(watch.Out.find(
                  "\tAdministrat\xC3\xB6rens inst\xC3\xA4llning FTPServer = \"ftp.example:99999\" "
                  "anv\xC3\xA4nds inte: "),
              std::string::npos)
        << watch.Out;
    EXPECT_EQ(ReadBytes(home_ / "export.url"),
              "[InternetShortcut]\r\nURL=http://127.0.0.1:9/config\r\n");
}

TEST_F(EngineCommandTest, WatchOnceRunsTheWholeCycleAndFetchRepeatsTheLastBibId) {
    EXPECT_EQ(Run("fetch").Status, 1) << "no bib id yet: Ingen aktiv post!";
    EXPECT_EQ(Run("fetch 1 2").Status, 2);
    WriteBytes(workfile_, ReadBytes(sampleWorkfile_));
    const CliResult result = Run("watch --once");
    EXPECT_EQ(result.Status, 0);
    EXPECT_FALSE(std::filesystem::exists(workfile_));
    EXPECT_EQ(ReadBytes(destination_), SampleReply());
    EXPECT_TRUE(
        result.Out.ends_with("\tPost #12515882 sparad till " + destination_.string() + ".\n"));
    EXPECT_EQ(Run("fetch").Status, 0);
    EXPECT_EQ(ReadBytes(destination_), SampleReply() + SampleReply());

    // A failed export fails both commands and leaves the file as it was.
    server_.SetReply(bibId_, "<html>Internal error</html>", 500);
    EXPECT_EQ(Run("fetch " + bibId_).Status, 1);
    WriteBytes(workfile_, ReadBytes(sampleWorkfile_));
    EXPECT_EQ(Run("watch --once").Status, 1);
    EXPECT_EQ(ReadBytes(destination_), SampleReply() + SampleReply());

    // Saved twice, it waits once: listed, tried again by hand, then delivered or given up.
    const CliResult waiting = Run("outbox");
    EXPECT_EQ(waiting.Status, 0);
    EXPECT_TRUE(waiting.Out.starts_with(bibId_ + "	")) << waiting.Out;
    EXPECT_NE(waiting.Out.find("	1 tries	next "), std::string::npos) << waiting.Out;
    EXPECT_EQ(std::count(waiting.Out.begin(), waiting.Out.end(), '\n'), 1);
    EXPECT_EQ(Run("outbox retry").Status, 1);
    EXPECT_EQ(Run("outbox drop 999").Status, 2);
    server_.SetReply(bibId_, SampleReply());
    EXPECT_EQ(Run("outbox retry").Status, 0);
    EXPECT_EQ(ReadBytes(destination_), SampleReply() + SampleReply() + SampleReply());
    server_.SetReply(bibId_, "", 503);
    EXPECT_EQ(Run("fetch").Status, 1);
    EXPECT_NE(Run("outbox").Out, "");
    EXPECT_EQ(Run("outbox drop " + bibId_).Status, 0);
    EXPECT_EQ(Run("outbox").Out, "");
}

TEST_F(EngineCommandTest, AWatchLockThatCannotBeMadeIsAnErrorLineAndTheWorkfileIsStillExported) {
    // The runtime folder lies below a regular file: no lock file can be made there, not even by
    // root.
    const std::string file = (dir_ / "not-a-folder").string();
    WriteBytes(file, "");
    WriteBytes(workfile_, ReadBytes(sampleWorkfile_));
    const CliResult result =
        Shell("XDG_RUNTIME_DIR='" + file + "/run' \"$CLI\" watch --once 2>/dev/null");
    EXPECT_EQ(result.Status, 1) << "an error line was shown";
    EXPECT_NE(result.Out.find("\tL\xC3\xA5set f\xC3\xB6r arbetsfilen " + workfile_.string() +
                              " kunde inte skapas: Not a directory. Arbetsfilen bevakas"),
              std::string::npos)
        << result.Out;
    EXPECT_EQ(ReadBytes(destination_), SampleReply());
}

TEST_F(EngineCommandTest, WatchKeepsPollingUntilSigtermEndsItAfterTheDelivery) {
    // The workfile appears while the program runs; SIGTERM follows as soon as it is taken.
    const std::string wf = "'" + workfile_.string() + "'";
    const CliResult result =
        Shell("\"$CLI\" watch >/dev/null 2>&1 & pid=$!; cp '" + sampleWorkfile_ + "' " + wf +
              ".part && mv " + wf + ".part " + wf + "; for i in $(seq 600); do [ -e " + wf +
              " ] || break; sleep 0.1; done; kill -TERM $pid; wait $pid; "
              "echo \"exit $?\"");
    EXPECT_EQ(result.Out, "exit 0\n");
    EXPECT_EQ(ReadBytes(destination_), SampleReply());
}

}  // namespace
}  // namespace tesselex
