#include "app/engine/Delivery.h"

#include <gtest/gtest.h>

#include <vector>

#include "config/CodePage.h"
#include "config/Utf.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

class DeliveryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        log_.SetStatusSink([this](const StatusLine& line) { lines_.push_back(line); });
        std::filesystem::create_directories(log_.LogFolder());
    }
    std::u16string Destination(const std::string& name) const { return PathToText(dir_ / name); }

    test::TempDir dir_;
    DateTime at_{2024, 5, 7, 14, 5, 9};
    Logger log_{dir_.Path(), [this] { return at_; }};
    Delivery delivery_{log_, [this] { return at_; }, [] { return std::u16string(u"anna"); }};
    std::vector<StatusLine> lines_;
};

TEST_F(DeliveryTest, DestinationPatternsExpandDateAndUser) {
    EXPECT_EQ(ExpandFileName(u"C:\\Ut\\&USER&_%YYMMDD%.mrc", at_, u"anna"),
              u"C:\\Ut\\anna_240507.mrc");
    EXPECT_EQ(ExpandFileName(u"|%MMDDHHMMSS%.mrc", at_, u"x"), u"|0507140509.mrc");
}

TEST_F(DeliveryTest, RemoteNameJoinsTheDirectoryWithOneSlash) {
    FtpSettings ftp;
    ftp.Filename = u"x.mrc";
    EXPECT_EQ(RemoteName(ftp, at_, u"anna"), u"x.mrc");
    ftp.Directory = u"/in";
    EXPECT_EQ(RemoteName(ftp, at_, u"anna"), u"/in/x.mrc");
    ftp.Directory = u"/in/";
    EXPECT_EQ(RemoteName(ftp, at_, u"anna"), u"/in/x.mrc");
    ftp.Filename = u"&USER&%YYYY%.mrc";
    EXPECT_EQ(RemoteName(ftp, at_, u"anna"), u"/in/anna2024.mrc");
}

TEST_F(DeliveryTest, WithoutClearTwoExportsFollowEachOtherUnchanged) {
    // Every byte value survives: the records are written exactly as the server sent them.
    std::string first;
    for (int b = 0; b < 256; ++b) {
        first.push_back(static_cast<char>(b));
    }
    ASSERT_TRUE(
        delivery_.SaveExport(AnsiToText(first), Destination("&USER&_%YYMMDD%.mrc"), false, u"1"));
    ASSERT_TRUE(delivery_.SaveExport(u"second", Destination("&USER&_%YYMMDD%.mrc"), false, u"2"));
    EXPECT_EQ(test::ReadBytes(dir_ / "anna_240507.mrc"), first + "second");
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[1].Message, u"Post #2 sparad till " + Destination("anna_240507.mrc") + u".");
    EXPECT_FALSE(lines_[1].IsError);
}

TEST_F(DeliveryTest, WithClearEachExportReplacesTheLastAndIsLogged) {
    log_.SetLogAll(true);
    ASSERT_TRUE(delivery_.SaveExport(u"one", Destination("out.mrc"), true, u"1"));
    ASSERT_TRUE(delivery_.SaveExport(u"two", Destination("out.mrc"), true, u"2"));
    EXPECT_EQ(test::ReadBytes(dir_ / "out.mrc"), "two");
    const std::string log = test::ReadBytes(log_.ExportLogPath(at_));
    EXPECT_NE(log.find(": Post #2 sparad till " + (dir_ / "out.mrc").string() + ".\r\n"),
              std::string::npos);
}

TEST_F(DeliveryTest, AnUnwritableDestinationFailsSilently) {
    log_.SetLogAll(true);
    log_.SetLogErrors(true);
    EXPECT_FALSE(delivery_.SaveExport(u"rec", Destination("no/such/folder/out.mrc"), false, u"1"));
    EXPECT_FALSE(delivery_.SaveExport(u"rec", u"", false, u"1"));
    EXPECT_TRUE(lines_.empty());
    EXPECT_TRUE(std::filesystem::is_empty(log_.LogFolder()));
}

class DeliveryFtpTest : public DeliveryTest {
  protected:
    test::LoopbackFtpServer ftp_;
};

TEST_F(DeliveryFtpTest, UploadsTheDestinationUnderTheRemoteName) {
    ASSERT_TRUE(delivery_.SaveExport(u"records\x1D", Destination("out.mrc"), true, u"42"));
    std::filesystem::create_directory(ftp_.Root() / "in");
    FtpSettings ftp{ftp_.ServerText(), ftp_.UserText(), ftp_.PasswordText(), u"in/",
                    u"&USER&-%HHMMSS%.mrc"};
    delivery_.SendExport(Destination("out.mrc"), ftp, u"42");
    EXPECT_EQ(test::ReadBytes(ftp_.Root() / "in" / "anna-140509.mrc"), "records\x1D");
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[1].Message, u"Skickat post #42 till " + ftp_.ServerText());
    EXPECT_FALSE(lines_[1].IsError);
}

TEST_F(DeliveryFtpTest, TheUploadSendsTheFileJustSavedEvenWhenTheClockMovesOn) {
    ASSERT_TRUE(delivery_.SaveExport(u"rec", Destination("out_%HHMMSS%.mrc"), true, u"7"));
    at_.Second = 10;
    FtpSettings ftp{ftp_.ServerText(), ftp_.UserText(), ftp_.PasswordText(), u"", u"up.mrc"};
    delivery_.SendExport(Destination("out_%HHMMSS%.mrc"), ftp, u"7");
    EXPECT_EQ(test::ReadBytes(ftp_.Root() / "up.mrc"), "rec");
}

TEST_F(DeliveryFtpTest, AFailedUploadNamesTheBibId) {
    ASSERT_TRUE(delivery_.SaveExport(u"rec", Destination("out.mrc"), false, u"42"));
    FtpSettings ftp{ftp_.ServerText(), ftp_.UserText(), ftp_.PasswordText(), u"/missing/dir",
                    u"x.mrc"};
    delivery_.SendExport(Destination("out.mrc"), ftp, u"42");
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[1].Message, u"Kunde inte skicka MARC-post 42 till " + ftp_.ServerText());
    EXPECT_TRUE(lines_[1].IsError);
}

}  // namespace
}  // namespace tesselex
