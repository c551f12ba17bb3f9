#include "app/engine/Logger.h"

#include <gtest/gtest.h>

#include <vector>

#include "config/Utf.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

class LoggerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(log_.LogFolder());
        log_.SetStatusSink([this](const StatusLine& line) { lines_.push_back(line); });
    }
    std::string Read(const char* name) const {
        const auto file = dir_ / "Logs" / name;
        return std::filesystem::exists(file) ? test::ReadBytes(file) : std::string();
    }

    test::TempDir dir_;
    DateTime at_{2025, 12, 31, 9, 3, 4};
    Logger log_{dir_.Path(), [this] { return at_; }};
    std::vector<StatusLine> lines_;
};

TEST_F(LoggerTest, StatusLinesAreNumberedPastThreeDigitsWithTheTime) {
    log_.ShowStatus(u"Post #1 sparad till x.", false);
    log_.ShowStatus(u"Kunde inte ansluta med FTP till h", true);
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(FormatStatusLine(lines_[0]), u"001. \t09:03:04\tPost #1 sparad till x.");
    EXPECT_FALSE(lines_[0].IsError());
    EXPECT_EQ(lines_[1].Text, u"Kunde inte ansluta med FTP till h");
    EXPECT_TRUE(lines_[1].IsError());
    while (lines_.size() < 1000) {
        log_.ShowStatus(u"x", false);
    }
    EXPECT_TRUE(FormatStatusLine(lines_[998]).starts_with(u"999. "));
    EXPECT_TRUE(FormatStatusLine(lines_[999]).starts_with(u"1000. "));
}

TEST_F(LoggerTest, EachLineGoesToTheLogItsSwitchesChoose) {
    const std::string error = "TESSELEX 2025-12-31 09:03:04: fel \xF6\r\n";  // Windows-1252
    const std::string ordinary = "TESSELEX 2025-12-31 09:03:04: sparad\r\n";
    const struct {
        bool LogAll;
        bool LogErrors;
        std::string ExportLog;
        std::string ErrorLog;
    } cases[] = {
        {false, false, "", ""},
        {false, true, "", error},
        {true, false, error + ordinary, ""},
        {true, true, ordinary, error},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "all " << c.LogAll << ", errors " << c.LogErrors);
        std::filesystem::remove_all(log_.LogFolder());
        std::filesystem::create_directories(log_.LogFolder());
        log_.SetLogAll(c.LogAll);
        log_.SetLogErrors(c.LogErrors);
        log_.Report(u"fel ö", true);
        std::u16string message = u"sparad";
        log_.WriteLog(message, false);
        EXPECT_EQ(message, u"TESSELEX 2025-12-31 09:03:04: sparad");
        EXPECT_EQ(Read("Log251231.TXT"), c.ExportLog);
        EXPECT_EQ(Read("Error251231.TXT"), c.ErrorLog);
    }
}

TEST_F(LoggerTest, AFailingLogWriteIsShownOnceUntilAWriteSucceedsAgain) {
    log_.SetLogErrors(true);
    for (const bool folderThere : {false, false, true, false}) {
        std::filesystem::remove_all(log_.LogFolder());
        if (folderThere) {
            std::filesystem::create_directories(log_.LogFolder());
        }
        log_.Report(u"fel", true);
    }
    const std::u16string failed = u"Loggfilen " + PathToText(log_.ErrorLogPath(at_)) +
                                  u" kunde inte skrivas: No such file or directory.";
    ASSERT_EQ(lines_.size(), 6U);
    EXPECT_EQ(lines_[1].Text + lines_[5].Text, failed + failed);
    EXPECT_TRUE(lines_[5].IsError());
}

}  // namespace
}  // namespace tesselex
