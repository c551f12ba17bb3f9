#include "app/engine/Delivery.h"

#include <gtest/gtest.h>

#include <vector>

#include "config/CodePage.h"
#include "config/Utf.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

class DeliveryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        log_.SetStatusSink([this](const StatusLine& line) { lines_.push_back(line); });
        log_.SetLogAll(true);
        log_.SetLogErrors(true);
        std::filesystem::create_directories(log_.LogFolder());
    }
    std::u16string Destination(const std::string& name) const { return PathToText(dir_ / name); }

    test::TempDir dir_;
    DateTime at_{2024, 5, 7, 14, 5, 9};
    Logger log_{dir_.Path(), [this] { return at_; }};
    Delivery delivery_{log_, [this] { return at_; }, [] { return std::u16string(u"anna"); }};
    std::vector<StatusLine> lines_;
};

// Dates and user in a local name: the saves below; the upload's "in/": DeliveryFtpTest.
TEST_F(DeliveryTest, FileNamesExpandDatesAndUserAndJoinTheDirectoryWithOneSlash) {
    const struct {
        std::u16string Directory;
        std::u16string Filename;
        std::u16string Remote;
    } cases[] = {
        {u"", u"x.mrc", u"x.mrc"},
        {u"/in", u"x.mrc", u"/in/x.mrc"},
        {u"/in", u"&USER&|%MMDDHHMMSS%.mrc", u"/in/anna|0507140509.mrc"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RemoteName({u"h", u"u", u"p", c.Directory, c.Filename}, at_, u"anna"), c.Remote);
    }
}

TEST_F(DeliveryTest, WithoutClearExportsFollowEachOtherUnchangedAndWithClearTheLastReplaces) {
    // Every byte value survives: the records are written exactly as the server sent them.
    std::string first;
    for (int b = 0; b < 256; ++b) {
        first.push_back(static_cast<char>(b));
    }
    const std::u16string pattern = Destination("&USER&_%YYMMDD%.mrc");
    ASSERT_TRUE(delivery_.SaveExport(AnsiToText(first), pattern, false, u"1").Ok());
    ASSERT_TRUE(delivery_.SaveExport(u"second", pattern, false, u"2").Ok());
    EXPECT_EQ(test::ReadBytes(dir_ / "anna_240507.mrc"), first + "second");
    const auto third = delivery_.SaveExport(u"third", pattern, true, u"3");
    ASSERT_TRUE(third.Ok());
    EXPECT_EQ(third.Value(), Destination("anna_240507.mrc"));
    EXPECT_EQ(test::ReadBytes(dir_ / "anna_240507.mrc"), "third");

    ASSERT_EQ(lines_.size(), 3U);
    const std::u16string saved = u"Post #3 sparad till " + Destination("anna_240507.mrc") + u".";
    EXPECT_EQ(lines_[2].Text, saved);
    EXPECT_FALSE(lines_[2].IsError());
    const std::string log = test::ReadBytes(log_.ExportLogPath(at_));
    EXPECT_TRUE(log.ends_with(": " + TextToAnsi(saved) + "\r\n"));
}

TEST_F(DeliveryTest, AFailedSaveSaysWhyAndLeavesTheFileAsItWas) {
    if (!test::kFileSizeLimitMissing.empty()) {
        GTEST_SKIP() << test::kFileSizeLimitMissing;
    }
    EXPECT_FALSE(
        delivery_.SaveExport(u"rec", Destination("no/such/folder/out.mrc"), false, u"1").Ok());
    const auto failed =
        delivery_.SaveExport(u"rec", Destination("no/such/folder/out.mrc"), true, u"1");
    ASSERT_FALSE(failed.Ok());
    EXPECT_EQ(failed.Kind(), FaultKind::FileSystem);
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[1].Text, u"Post #1 kunde inte sparas till " +
                                     Destination("no/such/folder/out.mrc") +
                                     u": No such file or directory.");
    EXPECT_TRUE(lines_[1].IsError());

    // A file-size limit of 1 KiB (disk full, quota) cuts each write short, in a child process.
    // The error log is near the limit too: its line is dropped whole, never torn.
    const std::filesystem::path file = dir_ / "full.mrc";
    test::WriteBytes(file, std::string(1000, 'a'));
    const std::string log = test::ReadBytes(log_.ErrorLogPath(at_)) + std::string(900, 'l');
    test::WriteBytes(log_.ErrorLogPath(at_), log);
    for (const bool clear : {false, true}) {
        SCOPED_TRACE(clear);
        EXPECT_TRUE(test::RunWithFileSizeLimit(1024, [&] {
            lines_.clear();
            const auto saved =
                delivery_.SaveExport(std::u16string(2000, u'b'), PathToText(file), clear, u"7");
            // The dropped log line is told too.
            return !saved.Ok() && lines_.size() == 2 && lines_[0].IsError() &&
                   lines_[0].Text.find(u"File too large") != std::u16string::npos &&
                   lines_[1].Text.starts_with(u"Loggfilen ");
        })) << "the save failed and said why";
        EXPECT_EQ(test::ReadBytes(file), std::string(1000, 'a'));
        EXPECT_EQ(test::ReadBytes(log_.ErrorLogPath(at_)), log);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.Path()), {}), 2)
            << "nothing left beside it";
    }
}

class DeliveryFtpTest : public DeliveryTest {
  protected:
    FtpSettings Ftp(std::u16string directory, std::u16string filename) const {
        return {ftp_.ServerText(), ftp_.UserText(), ftp_.PasswordText(), std::move(directory),
                std::move(filename)};
    }
    test::LoopbackFtpServer ftp_;
};

TEST_F(DeliveryFtpTest, UploadsTheFileJustSavedUnderTheRemoteNameAndReportsFailures) {
    std::filesystem::create_directory(ftp_.Root() / "in");
    ASSERT_TRUE(
        delivery_.SaveExport(u"records\x1D", Destination("out_%HHMMSS%.mrc"), true, u"42").Ok());
    // The clock moves on before the upload: the file sent is still the one written.
    at_.Second = 10;
    EXPECT_TRUE(
        delivery_.SendExport(Destination("out_%HHMMSS%.mrc"), Ftp(u"in/", u"&USER&.mrc"), u"42")
            .Ok());
    EXPECT_EQ(test::ReadBytes(ftp_.Root() / "in" / "anna.mrc"), "records\x1D");

    EXPECT_FALSE(
        delivery_.SendExport(Destination("out_%HHMMSS%.mrc"), Ftp(u"/missing/dir", u"x.mrc"), u"42")
            .Ok());
    ASSERT_EQ(lines_.size(), 3U);
    EXPECT_EQ(lines_[1].Text, u"Skickat post #42 till " + ftp_.ServerText());
    EXPECT_FALSE(lines_[1].IsError());
    // The described text, then the transfer's reason with the server's reply code.
    const std::u16string prefix = u"Kunde inte skicka MARC-post 42 till " + ftp_.ServerText() + u": ";
    const std::u16string& failed = lines_[2].Text;
    EXPECT_TRUE(failed.starts_with(prefix) && failed.size() > prefix.size() + 1)
        << TextToUtf8(failed);
    EXPECT_TRUE(failed.ends_with(u"550.")) << TextToUtf8(failed);
    EXPECT_TRUE(lines_[2].IsError());
    EXPECT_NE(test::ReadBytes(log_.ErrorLogPath(at_)).find(": Kunde inte skicka MARC-post 42"),
              std::string::npos);
}

}  // namespace
}  // namespace tesselex
