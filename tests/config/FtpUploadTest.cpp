// FTP connect, upload and close against a real FTP server on 127.0.0.1.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "tests/support/FreePort.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;
using test::WriteBytes;

class FtpUpload : public ::testing::Test {
  protected:
    void SetUp() override { WriteBytes(local_ / "x.mrc", "data"); }
    FtpHandle Connect(std::u16string_view server) const {
        return FtpConnect(server, server_.UserText(), server_.PasswordText());
    }
    std::string Stored(const std::filesystem::path& name) const {
        return ReadBytes(server_.Root() / name);
    }
    test::LoopbackFtpServer server_;
    test::TempDir local_;
};

TEST_F(FtpUpload, BinaryUploadStoresTheSameBytesOnOneConnection) {
    std::string bytes;
    for (int b = 0; b < 2 * 256; ++b) {
        bytes += static_cast<char>(b);
    }
    bytes += "\r\n\n\r";
    WriteBytes(local_ / "records.mrc", bytes);
    // The server text may carry a scheme, blanks and a trailing "/".
    FtpHandle handle = Connect(u"  ftp://" + server_.ServerText() + u"/ ");
    ASSERT_TRUE(handle);
    EXPECT_TRUE(FtpSend(handle, u"records.mrc", local_ / "records.mrc", false));
    EXPECT_EQ(Stored("records.mrc"), bytes);
    // A second upload on the same connection replaces the file.
    EXPECT_TRUE(FtpSend(handle, u"records.mrc", local_ / "x.mrc", false));
    EXPECT_EQ(Stored("records.mrc"), "data");
    FtpClose(handle);
    EXPECT_FALSE(handle);
    FtpClose(handle);
}

TEST_F(FtpUpload, AsciiUploadStoresTheServersOwnLineEnds) {
    // Each line end goes out as one CR LF, which this server stores as LF.
    WriteBytes(local_ / "text.txt", "first line\r\nsecond line\nlast\r\n");
    FtpHandle handle = Connect(server_.ServerText());
    ASSERT_TRUE(handle);
    EXPECT_TRUE(FtpSend(handle, u"text.txt", local_ / "text.txt", true));
    EXPECT_EQ(Stored("text.txt"), "first line\nsecond line\nlast\n");
}

TEST_F(FtpUpload, RemoteNamesAreStoredAsGivenAndFoldersNotMade) {
    std::filesystem::create_directory(server_.Root() / "in");
    WriteBytes(local_ / "empty.mrc", "");
    FtpHandle handle = Connect(server_.ServerText());
    ASSERT_TRUE(handle);
    const std::u16string dated = ExpandDatePatterns(u"exp%YYMMDD%.mrc", DateTime{2026, 3, 3});
    for (const std::u16string& remote :
         {dated, std::u16string(u"in/with space #1.mrc"), std::u16string(u"/in/absolute.mrc")}) {
        EXPECT_TRUE(FtpSend(handle, remote, local_ / "x.mrc", false)) << TextToUtf8(remote);
    }
    EXPECT_EQ(Stored("exp260303.mrc"), "data");
    EXPECT_EQ(Stored("in/with space #1.mrc"), "data");
    EXPECT_EQ(Stored("in/absolute.mrc"), "data");

    EXPECT_FALSE(FtpSend(handle, u"missing/x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(std::filesystem::exists(server_.Root() / "missing"));
    EXPECT_FALSE(FtpSend(handle, u"y.mrc", local_ / "absent.mrc", false));
    EXPECT_FALSE(FtpSend(handle, u"y.mrc", local_.Path(), false));
    EXPECT_FALSE(FtpSend(handle, u"", local_ / "x.mrc", false));
    EXPECT_FALSE(FtpSend(nullptr, u"y.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(std::filesystem::exists(server_.Root() / "y.mrc"));
    // The connection survives the refusals; an empty file is a valid upload.
    EXPECT_TRUE(FtpSend(handle, u"empty.mrc", local_ / "empty.mrc", false));
    EXPECT_EQ(Stored("empty.mrc"), "");
}

TEST_F(FtpUpload, WrongLogInOrNoServerGivesNoHandle) {
    const std::u16string server = server_.ServerText();
    EXPECT_FALSE(FtpConnect(server, server_.UserText(), u"wrong"));
    EXPECT_FALSE(FtpConnect(server, u"nobody", server_.PasswordText()));
    EXPECT_FALSE(FtpConnect(server, u"", u""));
    EXPECT_FALSE(Connect(FromAscii("127.0.0.1:" + std::to_string(test::UnusedLoopbackPort()))));
    EXPECT_FALSE(Connect(u""));

    // A connection whose server went away fails its upload instead of hanging.
    FtpHandle handle = Connect(server);
    ASSERT_TRUE(handle);
    server_.Stop();
    EXPECT_FALSE(FtpSend(handle, u"x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(Connect(server));
}

TEST_F(FtpUpload, FailuresSayWhy) {
    using namespace std::chrono_literals;
    std::filesystem::create_directory(server_.Root() / "in");
    FtpHandle writer = Connect(server_.ServerText());
    FtpHandle reader = FtpConnect(server_.ServerText(), u"reader", server_.PasswordText());
    ASSERT_TRUE(writer);
    ASSERT_TRUE(reader);
    struct Case {
        const char* What;
        const FtpHandle* Handle;
        std::u16string Remote;
        FaultKind Kind;
    };
    const Case cases[] = {
        {"no write permission", &reader, u"in/x.mrc", FaultKind::Refused},
        {"missing folder", &writer, u"missing/x.mrc", FaultKind::Refused},
        {"closed during upload", &writer, u"cut.mrc", FaultKind::NoConnection},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.What);
        const Done sent = FtpPut(*c.Handle, c.Remote, local_ / "x.mrc", false);
        ASSERT_FALSE(sent);
        EXPECT_EQ(sent.Kind(), c.Kind) << TextToUtf8(sent.Reason());
        EXPECT_FALSE(sent.Reason().empty());
        EXPECT_FALSE(std::filesystem::exists(server_.Root() / "in/x.mrc"));
        EXPECT_EQ(ReadBytes(local_ / "x.mrc"), "data");
    }
    const Outcome<FtpHandle> refused = FtpOpen(server_.ServerText(), u"nobody", u"x");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.Kind(), FaultKind::Refused);

    // A server that accepts the connection but never says a word: the overall limit ends it.
    const test::SilentLoopbackPort silent;
    const std::u16string mute = FromAscii("127.0.0.1:" + std::to_string(silent.Port()));
    const Outcome<FtpHandle> silentServer = FtpOpen(mute, u"a", u"b", 1s);
    ASSERT_FALSE(silentServer);
    EXPECT_EQ(silentServer.Kind(), FaultKind::TimedOut);
}

}  // namespace
}  // namespace tesselex
