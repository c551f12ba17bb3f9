#include "app/engine/Logger.h"

#include <gtest/gtest.h>

#include <vector>

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
    std::string Read(const std::filesystem::path& file) {
        return std::filesystem::exists(file) ? test::ReadBytes(file) : std::string();
    }

    test::TempDir dir_;
    DateTime at_{2024, 5, 7, 9, 3, 4};
    Logger log_{dir_.Path(), [this] { return at_; }};
    std::vector<StatusLine> lines_;
};

TEST_F(LoggerTest, StatusLinesAreNumberedWithTheTime) {
    log_.ShowStatus(u"Post #1 sparad till x.", false);
    log_.ShowStatus(u"Kunde inte ansluta med FTP till h", true);
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[0].Line, u"001. \t09:03:04\tPost #1 sparad till x.");
    EXPECT_FALSE(lines_[0].IsError);
    EXPECT_EQ(lines_[1].Number, 2);
    EXPECT_EQ(lines_[1].Message, u"Kunde inte ansluta med FTP till h");
    EXPECT_TRUE(lines_[1].IsError);
}

TEST_F(LoggerTest, TheCounterGrowsPastThreeDigits) {
    for (int i = 0; i < 1000; ++i) {
        log_.ShowStatus(u"x", false);
    }
    EXPECT_EQ(lines_[998].Line.substr(0, 5), u"999. ");
    EXPECT_EQ(lines_[999].Line.substr(0, 6), u"1000. ");
}

TEST_F(LoggerTest, ErrorsGoToTheErrorLogWhenErrorLoggingIsOn) {
    log_.SetLogErrors(true);
    std::u16string message = u"Kunde inte ansluta med FTP till h";
    log_.WriteLog(message, true);
    EXPECT_EQ(message, u"TESSELEX 2024-05-07 09:03:04: Kunde inte ansluta med FTP till h");
    EXPECT_EQ(Read(dir_ / "Logs" / "Error240507.TXT"),
              "TESSELEX 2024-05-07 09:03:04: Kunde inte ansluta med FTP till h\r\n");
    EXPECT_EQ(Read(dir_ / "Logs" / "Log240507.TXT"), "");
    // Without export logging an ordinary line is not written anywhere.
    std::u16string ordinary = u"Post #1 sparad";
    log_.WriteLog(ordinary, false);
    EXPECT_EQ(Read(dir_ / "Logs" / "Log240507.TXT"), "");
}

TEST_F(LoggerTest, WithOnlyExportLoggingErrorsLandInTheExportLog) {
    log_.SetLogAll(true);
    log_.Report(u"Kunde inte skicka MARC-post 5 till h", true);
    log_.Report(u"Post #5 sparad till ö.mrc.", false);
    EXPECT_EQ(Read(dir_ / "Logs" / "Error240507.TXT"), "");
    // Lines are Windows-1252 and CR LF ended, appended in order.
    EXPECT_EQ(Read(dir_ / "Logs" / "Log240507.TXT"),
              "TESSELEX 2024-05-07 09:03:04: Kunde inte skicka MARC-post 5 till h\r\n"
              "TESSELEX 2024-05-07 09:03:04: Post #5 sparad till \xF6.mrc.\r\n");
}

TEST_F(LoggerTest, NothingIsWrittenWithBothSwitchesOffAndWriteFailuresAreSwallowed) {
    log_.Report(u"x", true);
    EXPECT_TRUE(std::filesystem::is_empty(log_.LogFolder()));
    std::filesystem::remove(log_.LogFolder());
    log_.SetLogErrors(true);
    std::u16string message = u"y";
    EXPECT_NO_THROW(log_.WriteLog(message, true));
    EXPECT_FALSE(std::filesystem::exists(log_.LogFolder()));
}

TEST_F(LoggerTest, DailyFileNamesFollowTheDate) {
    at_ = {2025, 12, 31, 23, 59, 59};
    EXPECT_EQ(log_.ExportLogPath(at_).filename(), "Log251231.TXT");
    EXPECT_EQ(log_.ErrorLogPath(at_).filename(), "Error251231.TXT");
}

}  // namespace
}  // namespace tesselex
