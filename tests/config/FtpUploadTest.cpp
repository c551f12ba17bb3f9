// FTP connect, upload and close against a real FTP server on 127.0.0.1.

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

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

TEST_F(FtpUpload, BinaryAndTextUploadsOnOneConnection) {
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
    // A text upload sends each line end as one CR LF, which this server stores as LF.
    WriteBytes(local_ / "text.txt", "first line\r\nsecond line\nlast\r\n");
    EXPECT_TRUE(FtpSend(handle, u"text.txt", local_ / "text.txt", true));
    EXPECT_EQ(Stored("text.txt"), "first line\nsecond line\nlast\n");
    FtpClose(handle);
    EXPECT_FALSE(handle);
    FtpClose(handle);
}

TEST_F(FtpUpload, RemoteNamesAreStoredAsGivenAndFoldersNotMade) {
    std::filesystem::create_directory(server_.Root() / "in");
    WriteBytes(local_ / "empty.mrc", "");
    FtpHandle handle = Connect(server_.ServerText());
    ASSERT_TRUE(handle);
    for (const char16_t* remote :
         {u"exp260303.mrc", u"in/with space #1.mrc", u"/in/absolute.mrc"}) {
        EXPECT_TRUE(FtpSend(handle, remote, local_ / "x.mrc", false)) << TextToUtf8(remote);
    }
    EXPECT_EQ(Stored("exp260303.mrc"), "data");
    EXPECT_EQ(Stored("in/with space #1.mrc"), "data");
    EXPECT_EQ(Stored("in/absolute.mrc"), "data");
    EXPECT_FALSE(FtpSend(handle, u"missing/x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(std::filesystem::exists(server_.Root() / "missing"));
    // The connection survives a refusal; an empty file is a valid upload.
    EXPECT_TRUE(FtpSend(handle, u"empty.mrc", local_ / "empty.mrc", false));
    EXPECT_EQ(Stored("empty.mrc"), "");
}

TEST_F(FtpUpload, FailuresSayWhy) {
    using namespace std::chrono_literals;
    std::filesystem::create_directory(server_.Root() / "in");
    FtpHandle writer = Connect(server_.ServerText());
    FtpHandle reader = FtpConnect(server_.ServerText(), u"reader", server_.PasswordText());
    ASSERT_TRUE(writer);
    ASSERT_TRUE(reader);
    const FtpHandle none;
    struct Case {
        const char* What;
        const FtpHandle* Handle;
        std::u16string Remote;
        std::filesystem::path Local;
        FaultKind Kind;
    };
    const Case uploads[] = {
        {"no write permission", &reader, u"in/x.mrc", local_ / "x.mrc", FaultKind::Refused},
        {"missing folder", &writer, u"missing/x.mrc", local_ / "x.mrc", FaultKind::Refused},
        {"no remote name", &writer, u"", local_ / "x.mrc", FaultKind::Refused},
        {"no local file", &writer, u"y.mrc", local_ / "absent.mrc", FaultKind::Refused},
        {"a local folder", &writer, u"y.mrc", local_.Path(), FaultKind::Refused},
        {"no connection", &none, u"y.mrc", local_ / "x.mrc", FaultKind::NoConnection},
        {"closed during upload", &writer, u"cut.mrc", local_ / "x.mrc", FaultKind::NoConnection},
    };
    for (const Case& c : uploads) {
        SCOPED_TRACE(c.What);
        const Done sent = FtpPut(*c.Handle, c.Remote, c.Local, false);
        ASSERT_FALSE(sent);
        EXPECT_EQ(sent.Kind(), c.Kind) << TextToUtf8(sent.Reason());
        EXPECT_FALSE(sent.Reason().empty());
        EXPECT_FALSE(std::filesystem::exists(server_.Root() / "in/x.mrc"));
        EXPECT_FALSE(std::filesystem::exists(server_.Root() / "y.mrc"));
        EXPECT_EQ(ReadBytes(local_ / "x.mrc"), "data");
    }

    // A server that accepts the connection but never says a word: the overall limit ends it.
    const test::SilentLoopbackPort silent;
    const std::u16string server = server_.ServerText();
    const std::pair<Outcome<FtpHandle>, FaultKind> logIns[] = {
        {FtpOpen(server, server_.UserText(), u"wrong"), FaultKind::Refused},
        {FtpOpen(server, u"nobody", server_.PasswordText()), FaultKind::Refused},
        {FtpOpen(server, u"", u""), FaultKind::Refused},
        {FtpOpen(FromAscii("127.0.0.1:" + std::to_string(test::UnusedLoopbackPort())), u"a", u"b"),
         FaultKind::NoConnection},
        {FtpOpen(u"", u"a", u"b"), FaultKind::NoConnection},
        {FtpOpen(FromAscii("127.0.0.1:" + std::to_string(silent.Port())), u"a", u"b", 1s),
         FaultKind::TimedOut},
    };
    for (const auto& [logIn, kind] : logIns) {
        EXPECT_EQ(logIn ? std::nullopt : std::optional(logIn.Kind()), kind);
    }

    // A connection whose server went away fails its upload instead of hanging.
    const FtpHandle left = Connect(server);
    ASSERT_TRUE(left);
    server_.Stop();
    EXPECT_FALSE(FtpSend(left, u"x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(Connect(server));
}

}  // namespace
}  // namespace tesselex
