// tesselex-cli's export commands as a user runs them: a separate process with its own program
// folder (TESSELEX_HOME) and settings location (XDG_CONFIG_HOME).

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "app/engine/FileLock.h"
#include "app/engine/Outbox.h"
#include "app/engine/WatchLock.h"
#include "config/Utf.h"
#include "tests/app/engine/EngineFixture.h"
#include "tests/support/FreePort.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/LoopbackHttpsServer.h"
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

TEST_F(EngineCommandTest, LockFilesADeadProgramLeftNeverKeepAWatcherOut) {
    // Empty (killed between making the file and writing its number), torn, or not a number.
    for (const std::string contents : {"", "12", "TESSELEX 4711\n"}) {
        WriteBytes(WatchLock::LockPath(workfile_), contents);
        WriteBytes(home_ / "Outbox.lock", contents);
        WriteBytes(workfile_, ReadBytes(sampleWorkfile_));
        EXPECT_EQ(Run("watch --once").Status, 0) << contents;
        EXPECT_FALSE(std::filesystem::exists(workfile_)) << contents;
    }
    EXPECT_EQ(ReadBytes(destination_), SampleReply() + SampleReply() + SampleReply());
}

TEST_F(EngineCommandTest, FetchBesideAWatcherHandsItsExportOverAndCutsNothingBack) {
    // The running watcher holds the outbox and is half way through the append of another export.
    std::optional<Outcome<FileLock>> watcher(FileLock::TryTake(home_ / "Outbox.lock"));
    ASSERT_TRUE(watcher->Ok());
    const std::string old = SampleReply();
    const std::string adding = test::BuildRecord({{"001", "777"}});
    WriteBytes(destination_, old + adding.substr(0, 10));
    OutboxEntry appending;
    appending.BibId = u"777";
    appending.SavedAt = now_;
    appending.Append = PendingAppend{destination_, old.size(), adding.size(), ContentHash(adding)};
    ASSERT_TRUE(Outbox(home_ / "Outbox").Put(appending).Ok());

    const CliResult fetched = Run("fetch " + bibId_);
    EXPECT_EQ(fetched.Status, 0);
    EXPECT_NE(fetched.Out.find("Post #" + bibId_ +
                               " l\xC3\xA4mnades till det TESSELEX-program som redan skickar "
                               "v\xC3\xA4ntande exporter (process " +
                               std::to_string(ProcessNumber()) + ")."),
              std::string::npos)
        << fetched.Out;
    EXPECT_EQ(ReadBytes(destination_), old + adding.substr(0, 10)) << "the append is left alone";
    EXPECT_EQ(server_.Requests(), std::vector<std::string>{"/config"}) << "no record was asked for";
    EXPECT_EQ(Run("outbox retry").Status, 1) << "retrying is the holder's";

    // The watcher completes its append and ends; the next program delivers what was handed over.
    WriteBytes(destination_, old + adding);
    watcher.reset();
    EXPECT_EQ(Run("outbox retry").Status, 0);
    EXPECT_EQ(ReadBytes(destination_), old + adding + SampleReply());
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

TEST_F(EngineCommandTest, FtpTestTrustsAServerOnlyWhenAskedAndTheExportIsUploadedToIt) {
    const test::LoopbackFtpServer sftp("tester", "secret", UploadProtocol::Sftp);
    for (const std::string& setting :
         {"FTPServer " + sftp.Address(), std::string("FTPProtocol sftp"),
          std::string("FTPUser tester"), std::string("FTPPassword secret"),
          std::string("FTPFilename export.mrc")}) {
        ASSERT_EQ(Run("settings set " + setting).Status, 0);
    }
    const std::string seen = "fingerprint: " + sftp.HostKey() + "\n";
    const CliResult unknown = Run("ftp test");
    EXPECT_EQ(unknown.Status, 1);
    EXPECT_EQ(unknown.Out, "protocol: sftp\nserver: " + sftp.Address() + "\n" + seen +
                               "trusted: no\n");
    EXPECT_EQ(Run("settings get FTPTrust").Out, "\n") << "nothing trusted without --trust";
    // An export waits while the key is unknown: its status line names the key.
    const CliResult waiting = Run("fetch " + bibId_);
    EXPECT_EQ(waiting.Status, 1);
    EXPECT_NE(waiting.Out.find(sftp.HostKey() + " is not trusted yet"), std::string::npos)
        << waiting.Out;
    EXPECT_FALSE(std::filesystem::exists(sftp.Root() / "export.mrc"));

    const CliResult trusted = Run("ftp test --trust");
    EXPECT_EQ(trusted.Status, 0);
    EXPECT_EQ(trusted.Out, "protocol: sftp\nserver: " + sftp.Address() + "\n" + seen +
                               "trusted: no\nstored as trusted: " + sftp.HostKey() + "\n" +
                               seen + "trusted: yes\nlogged in; the upload folder holds 0 names\n");
    EXPECT_EQ(Run("settings get FTPTrust").Out,
              "sftp://127.0.0.1:" + std::to_string(sftp.Port()) + " " + sftp.HostKey() + "\n");
    const CliResult sent = Run("outbox retry");
    EXPECT_EQ(sent.Status, 0) << sent.Out;
    EXPECT_EQ(ReadBytes(sftp.Root() / "export.mrc"), ReadBytes(destination_));

    // Plain FTP with a password says so once at start-up.
    Run("settings set FTPProtocol ftp");
    Run("settings set FTPServer 127.0.0.1:" + std::to_string(test::UnusedLoopbackPort()));
    const CliResult plain = Run("fetch " + bibId_);
    EXPECT_NE(plain.Out.find("Lösenordet skickas okrypterat till 127.0.0.1:"), std::string::npos)
        << plain.Out;
    EXPECT_EQ(Run("settings set FTPProtocol scp").Status, 0);
    EXPECT_EQ(Run("ftp test").Status, 2) << "an unknown protocol is a usage error";
}

TEST_F(EngineCommandTest, ServerTestPinsAnHttpsExportServerWhoseExportsWaitUntilThen) {
    std::optional<test::LoopbackHttpsServer> https;
    try {
        https.emplace();
    } catch (const std::exception& error) {
        GTEST_SKIP() << error.what();
    }
    // The self-signed server is the export server; its replies are no request table, so the
    // local one (naming it too) is used.
    const std::string base = TextToUtf8(https->SelfSignedUrl(""));
    const std::string pin = https->SelfSignedPin();
    WriteBytes(home_ / "export.url", "[InternetShortcut]\r\nURL=" + base + "/config\r\n");
    std::string table = ReadBytes(test::SourceDir() / "data" / "ConfigURL.TXT");
    table.replace(table.find("http://127.0.0.1:8080"), 21, base);
    WriteBytes(home_ / "ConfigURL.TXT", table);
    const CliResult waiting = Run("fetch " + bibId_);
    EXPECT_EQ(waiting.Status, 1);
    EXPECT_NE(waiting.Out.find("Post #" + bibId_ + " kunde inte hämtas: exportservern är inte "
                               "betrodd: the certificate of " + base + " is not trusted"),
              std::string::npos)
        << waiting.Out;
    EXPECT_NE(waiting.Out.find("the server's key is " + pin), std::string::npos) << waiting.Out;

    const std::string seen = "server: " + base + "/config\nfingerprint: " + pin + "\n";
    const CliResult unknown = Run("server test");
    EXPECT_EQ(unknown.Status, 1);
    EXPECT_TRUE(unknown.Out.starts_with(seen)) << unknown.Out;
    EXPECT_TRUE(unknown.Out.ends_with("trusted: no\n")) << unknown.Out;
    EXPECT_EQ(Run("settings get FTPTrust").Out, "\n") << "nothing trusted without --trust";
    const CliResult trusted = Run("server test --trust");
    EXPECT_EQ(trusted.Status, 0) << trusted.Out;
    EXPECT_NE(trusted.Out.find("trusted: no\nstored as trusted: " + pin + "\n"),
              std::string::npos) << trusted.Out;
    EXPECT_TRUE(trusted.Out.ends_with("trusted: yes\n")) << trusted.Out;
    EXPECT_EQ(Run("settings get FTPTrust").Out, base + " " + pin + "\n");
    // Now the fetch is answered: the server's reply is no record, but it came.
    const CliResult answered = Run("outbox retry");
    EXPECT_NE(answered.Out.find("svaret innehöll ingen korrekt post"), std::string::npos)
        << answered.Out;
    EXPECT_EQ(answered.Out.find("inte betrodd"), std::string::npos) << answered.Out;
    EXPECT_EQ(Run("server test http://127.0.0.1/").Status, 2) << "only https is verified";
}

// The checks of a server say why they could not check, with the usage's or the failure's exit
// status; the FTP check needs a server, a protocol it knows and a server that answers.
TEST_F(EngineCommandTest, ServerChecksSayWhyTheyCannotCheck) {
    const std::string closed = "127.0.0.1:" + std::to_string(test::UnusedLoopbackPort());
    const struct {
        std::string Setting;  // set before the command ("" for none)
        std::string Command;
        int Status;
        std::string Said;  // in what the command wrote to stderr
    } cases[] = {
        {"", "ftp", 2, "usage: ftp test [--trust]"},
        {"", "ftp test --always", 2, "usage: ftp test [--trust]"},
        {"", "ftp test", 1, "no FTP server is set"},
        {"FTPServer " + closed, "ftp test", 1, "tesselex-cli: "},
        {"FTPProtocol gopher", "ftp test", 2, "FTPProtocol: "},
        {"", "server", 2, "usage: server test [--trust] [ADDRESS]"},
        {"", "server test --trust --trust", 2, "usage: server test"},
        {"", "server test http://" + closed + "/config", 2, "not an https address"},
        {"", "server test https://" + closed + "/config", 1, "tesselex-cli: "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Command);
        if (!c.Setting.empty()) {
            ASSERT_EQ(Run("settings set " + c.Setting).Status, 0);
        }
        std::filesystem::remove(dir_ / "stderr.txt");
        EXPECT_EQ(Run(c.Command).Status, c.Status);
        EXPECT_NE(ReadBytes(dir_ / "stderr.txt").find(c.Said), std::string::npos);
    }
}

}  // namespace
}  // namespace tesselex
