// tesselex-cli's export commands as a user runs them: a separate process with its own program
// folder (TESSELEX_HOME) and settings location (XDG_CONFIG_HOME).

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include "app/sampleserver/SampleExportServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

extern char** environ;

namespace tesselex {
namespace {

using test::ReadBytes;
using test::WriteBytes;

struct CliResult {
    int Status = -1;
    std::string Out;
};

class EngineCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(home_);
        server_.Start();
        WriteBytes(home_ / "export.url",
                   "[InternetShortcut]\r\nURL=" + server_.Address("/config") + "\r\n");
        WriteBytes(home_ / "cat.ini",
                   "[Preferences]\r\nHoldWorkFile=" + workfile_.string() + "\r\n");
    }

    std::string Environment() const {
        return "TESSELEX_HOME='" + home_.string() + "' XDG_CONFIG_HOME='" +
               (dir_ / "config").string() + "' ";
    }

    CliResult Run(const std::string& args) const {
        const std::string command = Environment() + "'" + TESSELEX_CLI_PATH + "' " + args + " 2>'" +
                                    (dir_ / "stderr.txt").string() + "'";
        CliResult result;
        FILE* pipe = popen(command.c_str(), "r");
        if (pipe == nullptr) {
            return result;
        }
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
            result.Out.append(buffer, n);
        }
        const int status = pclose(pipe);
        result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

    test::TempDir dir_;
    std::filesystem::path home_ = dir_ / "home";
    std::filesystem::path workfile_ = dir_ / "hold.wrk";
    std::filesystem::path destination_ = dir_ / "out.mrc";
    SampleExportServer server_{test::SourceDir() / "data"};
};

TEST_F(EngineCommandTest, SettingsAreSetAndReadWithoutRegardToCase) {
    EXPECT_EQ(Run("settings set destination '" + destination_.string() + "'").Status, 0);
    EXPECT_EQ(Run("settings get DESTINATION").Out, destination_.string() + "\n");
    const CliResult list = Run("settings list");
    EXPECT_EQ(list.Status, 0);
    EXPECT_NE(("\n" + list.Out).find("\nDestination=" + destination_.string() + "\n"),
              std::string::npos);
    EXPECT_EQ(Run("settings set NoSuchKey 1").Status, 2);
    EXPECT_EQ(Run("settings frobnicate").Status, 2);
    // The settings went to the temporary location, never anywhere else.
    EXPECT_TRUE(std::filesystem::exists(dir_ / "config" / "TESSELEX" / "TESSELEX.conf"));
}

TEST_F(EngineCommandTest, RequestPrintsOnlyTheAddress) {
    Run("settings set Holdtype after");
    const CliResult result = Run("request 4711");
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Out, server_.Address("/export?f003=TESSEL&bibid=4711&auth=interleaved&"
                                          "holdings=after&charset=iso-8859-1") +
                              "\n");
    EXPECT_TRUE(server_.Requests().size() == 1U) << "only the start-up's request table";
}

TEST_F(EngineCommandTest, WatchOnceRunsTheWholeCycle) {
    Run("settings set Destination '" + destination_.string() + "'");
    WriteBytes(workfile_, ReadBytes(test::SourceDir() / "data" / "sample-workfile.mrc"));
    const CliResult result = Run("watch --once");
    EXPECT_EQ(result.Status, 0);
    EXPECT_FALSE(std::filesystem::exists(workfile_));
    EXPECT_EQ(ReadBytes(destination_), server_.ExportReply("12515882", "interleaved"));
    EXPECT_NE(result.Out.find("001. \t"), std::string::npos);
    EXPECT_NE(result.Out.find("\tPost #12515882 sparad till " + destination_.string() + ".\n"),
              std::string::npos);
    EXPECT_EQ(Run("settings get LastBibId").Out, "12515882\n");
}

TEST_F(EngineCommandTest, FetchUsesTheLastBibIdAndReportsErrors) {
    Run("settings set Destination '" + destination_.string() + "'");
    EXPECT_EQ(Run("fetch").Status, 1) << "no bib id yet: Ingen aktiv post!";
    Run("settings set LastBibId 12515882");
    const CliResult fetched = Run("fetch");
    EXPECT_EQ(fetched.Status, 0);
    EXPECT_EQ(ReadBytes(destination_), server_.ExportReply("12515882", "interleaved"));
    EXPECT_EQ(Run("fetch 1 2").Status, 2);
}

TEST_F(EngineCommandTest, WatchKeepsPollingUntilSigtermEndsIt) {
    Run("settings set Destination '" + destination_.string() + "'");
    const std::string home = "TESSELEX_HOME=" + home_.string();
    const std::string config = "XDG_CONFIG_HOME=" + (dir_ / "config").string();
    std::vector<char*> env;
    for (char** e = environ; *e != nullptr; ++e) {
        const std::string_view entry(*e);
        if (!entry.starts_with("TESSELEX_HOME=") && !entry.starts_with("XDG_CONFIG_HOME=")) {
            env.push_back(*e);
        }
    }
    env.push_back(const_cast<char*>(home.c_str()));
    env.push_back(const_cast<char*>(config.c_str()));
    env.push_back(nullptr);
    char watch[] = "watch";
    char cli[] = TESSELEX_CLI_PATH;
    char* argv[] = {cli, watch, nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, (dir_ / "out.txt").c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, cli, &actions, nullptr, argv, env.data()), 0);
    posix_spawn_file_actions_destroy(&actions);

    // A workfile dropped while it runs is picked up by a later poll.
    WriteBytes(workfile_, ReadBytes(test::SourceDir() / "data" / "sample-workfile.mrc"));
    for (int i = 0; i < 600 && std::filesystem::exists(workfile_); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    for (int i = 0; i < 600 && ReadBytes(dir_ / "out.txt").find("sparad") == std::string::npos;
         ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    kill(pid, SIGTERM);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(ReadBytes(destination_), server_.ExportReply("12515882", "interleaved"));
}

}  // namespace
}  // namespace tesselex
