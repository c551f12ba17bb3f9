// FTP connect, upload and close against a real FTP server on 127.0.0.1.

#include <gtest/gtest.h>

#include <string>

#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "tests/support/FreePort.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::LoopbackFtpServer;
using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;

std::string AllBytesTwice() {
    std::string bytes;
    for (int round = 0; round < 2; ++round) {
        for (int b = 0; b < 256; ++b) {
            bytes += static_cast<char>(b);
        }
    }
    return bytes + "\r\n\n\r\x1D\x1E\x1F";
}

class FtpUpload : public ::testing::Test {
  protected:
    FtpHandle Connect() const {
        return FtpConnect(server_.ServerText(), server_.UserText(), server_.PasswordText());
    }
    LoopbackFtpServer server_;
    TempDir local_;
};

TEST_F(FtpUpload, BinaryUploadStoresTheSameBytes) {
    const std::string bytes = AllBytesTwice();
    WriteBytes(local_ / "records.mrc", bytes);
    FtpHandle handle = Connect();
    ASSERT_TRUE(handle);
    EXPECT_TRUE(FtpSend(handle, u"records.mrc", local_ / "records.mrc", false));
    EXPECT_EQ(ReadBytes(server_.Root() / "records.mrc"), bytes);

    // The same connection takes further uploads; a second upload replaces the file.
    WriteBytes(local_ / "next.mrc", "second");
    EXPECT_TRUE(FtpSend(handle, u"records.mrc", local_ / "next.mrc", false));
    EXPECT_EQ(ReadBytes(server_.Root() / "records.mrc"), "second");
    FtpClose(handle);
    EXPECT_FALSE(handle);
    FtpClose(handle);
}

TEST_F(FtpUpload, AsciiUploadKeepsTheLines) {
    WriteBytes(local_ / "text.txt", "first line\nsecond line\n");
    FtpHandle handle = Connect();
    ASSERT_TRUE(handle);
    EXPECT_TRUE(FtpSend(handle, u"text.txt", local_ / "text.txt", true));
    const std::u16string stored =
        ReplaceAll(FromAscii(ReadBytes(server_.Root() / "text.txt")), u"\r\n", u"\n");
    EXPECT_EQ(stored, u"first line\nsecond line\n");
}

TEST_F(FtpUpload, RemoteNamesAreStoredAsGiven) {
    std::filesystem::create_directory(server_.Root() / "in");
    WriteBytes(local_ / "x.mrc", "data");
    FtpHandle handle = Connect();
    ASSERT_TRUE(handle);
    const std::u16string dated = ExpandDatePatterns(u"exp%YYMMDD%.mrc", DateTime{2026, 3, 3});
    EXPECT_TRUE(FtpSend(handle, dated, local_ / "x.mrc", false));
    EXPECT_TRUE(FtpSend(handle, u"in/with space #1.mrc", local_ / "x.mrc", false));
    EXPECT_TRUE(FtpSend(handle, u"/in/absolute.mrc", local_ / "x.mrc", false));
    EXPECT_EQ(ReadBytes(server_.Root() / "exp260303.mrc"), "data");
    EXPECT_EQ(ReadBytes(server_.Root() / "in" / "with space #1.mrc"), "data");
    EXPECT_EQ(ReadBytes(server_.Root() / "in" / "absolute.mrc"), "data");
    // Missing folders are not made.
    EXPECT_FALSE(FtpSend(handle, u"missing/x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(std::filesystem::exists(server_.Root() / "missing"));
    // The connection survives a refused upload.
    EXPECT_TRUE(FtpSend(handle, u"after.mrc", local_ / "x.mrc", false));
    EXPECT_TRUE(std::filesystem::exists(server_.Root() / "after.mrc"));
}

TEST_F(FtpUpload, BadLocalFileOrHandleGivesFalse) {
    FtpHandle handle = Connect();
    ASSERT_TRUE(handle);
    EXPECT_FALSE(FtpSend(handle, u"x.mrc", local_ / "absent.mrc", false));
    EXPECT_FALSE(FtpSend(handle, u"x.mrc", local_.Path(), false));
    WriteBytes(local_ / "x.mrc", "data");
    EXPECT_FALSE(FtpSend(handle, u"", local_ / "x.mrc", false));
    EXPECT_FALSE(FtpSend(nullptr, u"x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(std::filesystem::exists(server_.Root() / "x.mrc"));
    // An empty file is a valid upload.
    WriteBytes(local_ / "empty.mrc", "");
    EXPECT_TRUE(FtpSend(handle, u"empty.mrc", local_ / "empty.mrc", false));
    EXPECT_EQ(ReadBytes(server_.Root() / "empty.mrc"), "");
}

TEST_F(FtpUpload, WrongLogInGivesNoHandle) {
    EXPECT_FALSE(FtpConnect(server_.ServerText(), server_.UserText(), u"wrong"));
    EXPECT_FALSE(FtpConnect(server_.ServerText(), u"nobody", server_.PasswordText()));
    EXPECT_FALSE(FtpConnect(server_.ServerText(), u"", u""));
    EXPECT_TRUE(Connect());
}

TEST_F(FtpUpload, UnreachableServerGivesNoHandle) {
    const std::u16string closed =
        FromAscii("127.0.0.1:" + std::to_string(test::UnusedLoopbackPort()));
    EXPECT_FALSE(FtpConnect(closed, server_.UserText(), server_.PasswordText()));
    EXPECT_FALSE(FtpConnect(u"", server_.UserText(), server_.PasswordText()));

    // A connection whose server went away fails its upload instead of hanging.
    FtpHandle handle = Connect();
    ASSERT_TRUE(handle);
    server_.Stop();
    WriteBytes(local_ / "x.mrc", "data");
    EXPECT_FALSE(FtpSend(handle, u"x.mrc", local_ / "x.mrc", false));
    EXPECT_FALSE(FtpConnect(server_.ServerText(), server_.UserText(), server_.PasswordText()));
}

TEST_F(FtpUpload, ServerTextMayCarrySchemeAndSpaces) {
    const std::u16string text = u"  ftp://" + server_.ServerText() + u"/ ";
    FtpHandle handle = FtpConnect(text, server_.UserText(), server_.PasswordText());
    ASSERT_TRUE(handle);
    WriteBytes(local_ / "x.mrc", "data");
    EXPECT_TRUE(FtpSend(handle, u"x.mrc", local_ / "x.mrc", false));
    EXPECT_EQ(ReadBytes(server_.Root() / "x.mrc"), "data");
}

}  // namespace
}  // namespace tesselex
