#include "app/engine/Exporter.h"

#include <gtest/gtest.h>

#include <vector>

#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

class ExporterTest : public ::testing::Test {
  protected:
    std::u16string Destination(const std::string& name) const { return PathToText(dir_ / name); }
    // The plan and the save, as the engine makes them.
    Outcome<std::u16string> Save(std::u16string records, std::u16string_view destination,
                                 bool clear) const {
        const Outcome<PlannedSave> plan =
            exporter_.PlanSave({std::move(records)}, destination, clear);
        if (!plan) {
            return plan.Failure();
        }
        const Done saved = exporter_.Save(plan.Value());
        return saved ? Outcome<std::u16string>(plan.Value().Path) : saved.Failure();
    }

    test::TempDir dir_;
    DateTime at_{2024, 5, 7, 14, 5, 9};
    Exporter exporter_{[](std::u16string_view) { return Outcome<HttpReply>(HttpReply{}); },
                       [this] { return at_; }, [] { return std::u16string(u"anna"); }};
};

// Dates and user in a local name: the saves below; the upload's "in/": ExporterFtpTest.
TEST_F(ExporterTest, FileNamesExpandDatesAndUserAndJoinTheDirectoryWithOneSlash) {
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

TEST_F(ExporterTest, WithoutClearExportsFollowEachOtherUnchangedAndWithClearTheLastReplaces) {
    // Every byte value survives: the records are written exactly as the server sent them.
    std::string first;
    for (int b = 0; b < 256; ++b) {
        first.push_back(static_cast<char>(b));
    }
    const std::u16string pattern = Destination("&USER&_%YYMMDD%.mrc");
    ASSERT_TRUE(Save(AnsiToText(first), pattern, false).Ok());
    ASSERT_TRUE(Save(u"second", pattern, false).Ok());
    EXPECT_EQ(test::ReadBytes(dir_ / "anna_240507.mrc"), first + "second");
    const auto third = Save(u"third", pattern, true);
    ASSERT_TRUE(third.Ok());
    EXPECT_EQ(third.Value(), Destination("anna_240507.mrc"));
    EXPECT_EQ(test::ReadBytes(dir_ / "anna_240507.mrc"), "third");
    EXPECT_EQ(Save(u"x", u"", false).Kind(), FaultKind::FileSystem) << "no destination";
}

TEST_F(ExporterTest, AFailedSaveSaysWhyAndLeavesTheFileAsItWas) {
    if (!test::kFileSizeLimitMissing.empty()) {
        GTEST_SKIP() << test::kFileSizeLimitMissing;
    }
    for (const bool clear : {false, true}) {
        const auto failed = Save(u"rec", Destination("no/such/folder/out.mrc"), clear);
        ASSERT_FALSE(failed.Ok());
        EXPECT_EQ(failed.Kind(), FaultKind::FileSystem);
        EXPECT_EQ(failed.Reason(), u"No such file or directory");
    }

    // A file-size limit of 1 KiB (disk full, quota) cuts each write short, in a child process.
    const std::filesystem::path file = dir_ / "full.mrc";
    test::WriteBytes(file, std::string(1000, 'a'));
    for (const bool clear : {false, true}) {
        SCOPED_TRACE(clear);
        EXPECT_TRUE(test::RunWithFileSizeLimit(1024, [&] {
            const auto saved = Save(std::u16string(2000, u'b'), PathToText(file), clear);
            return !saved.Ok() && saved.Reason().find(u"File too large") != std::u16string::npos;
        })) << "the save failed and said why";
        EXPECT_EQ(test::ReadBytes(file), std::string(1000, 'a'));
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.Path()), {}), 1)
            << "nothing left beside it";
    }
}

// Each upload protocol, its server trusted by the fingerprint stored for it as the settings
// keep it: what the window, the CLI and the outbox all upload through.
class ExporterFtpTest : public ExporterTest, public ::testing::WithParamInterface<UploadProtocol> {
  protected:
    using Path = std::filesystem::path;
    ExporterFtpTest()
        : ftp_("tester", "secret", GetParam(), Tls() ? Certificates().Signed() : Path()),
          // A TLS server goes by the name its certificate carries.
          server_(Tls() ? u"localhost:" + FromAscii(std::to_string(ftp_.Port()))
                        : ftp_.ServerText()),
          trust_(WithTrustedFingerprint(
              u"", GetParam(), server_,
              FromAscii(Tls() ? Certificates().Pin(Certificates().Signed()) : ftp_.HostKey()))) {}

    static const test::TestCertificates& Certificates() { return test::TestCertificates::Shared(); }
    static bool Tls() {
        return GetParam() == UploadProtocol::Ftps || GetParam() == UploadProtocol::FtpsImplicit;
    }
    FtpSettings Ftp(std::u16string directory, std::u16string filename) const {
        return {server_,
                ftp_.UserText(),
                ftp_.PasswordText(),
                std::move(directory),
                std::move(filename),
                UploadProtocolName(GetParam()),
                trust_};
    }
    test::LoopbackFtpServer ftp_;
    std::u16string server_;
    std::u16string trust_;
};

TEST_P(ExporterFtpTest, UploadsTheFilesJustSavedByteForByteAndSaysWhyNot) {
    std::filesystem::create_directory(ftp_.Root() / "in");
    // Every byte value, and more than one buffer's worth, crosses unchanged; two uploads on one
    // connection, the second as whole as the first.
    std::string records;
    for (int i = 0; i < 300000; ++i) {
        records.push_back(static_cast<char>(i % 256));
    }
    const auto saved = Save(AnsiToText(records), Destination("out_%HHMMSS%.mrc"), true);
    ASSERT_TRUE(saved.Ok());
    // The clock moves on before the upload: the file sent is still the one written.
    at_.Second = 10;
    Outcome<UploadConnection> connection = exporter_.Connect(Ftp(u"in/", u"&USER&.mrc"));
    ASSERT_TRUE(connection.Ok()) << TextToUtf8(connection.Reason());
    for (const std::u16string name : {u"&USER&.mrc", u"again.mrc"}) {
        const Done put = exporter_.Put(connection.Value(), saved.Value(), Ftp(u"in/", name));
        EXPECT_TRUE(put.Ok()) << TextToUtf8(put.Reason());
    }
    EXPECT_EQ(test::ReadBytes(ftp_.Root() / "in" / "anna.mrc"), records);
    EXPECT_EQ(test::ReadBytes(ftp_.Root() / "in" / "again.mrc"), records);

    const Done failed = exporter_.Put(connection.Value(), saved.Value(), Ftp(u"/missing", u"x"));
    ASSERT_FALSE(failed.Ok());
    EXPECT_EQ(UploadFaultOf(failed.Failure()), UploadFault::PathRefused);
    if (GetParam() != UploadProtocol::Sftp) {
        EXPECT_TRUE(failed.Reason().ends_with(u"550")) << TextToUtf8(failed.Reason());
    }
}

INSTANTIATE_TEST_SUITE_P(Protocols, ExporterFtpTest, ::testing::ValuesIn(test::kUploadProtocols),
                         [](const auto& param) { return test::ProtocolTestName(param.param); });

}  // namespace
}  // namespace tesselex
