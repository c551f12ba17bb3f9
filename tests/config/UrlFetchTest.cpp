// The HTTP fetch routines and the configuration text's load of an address, against a real
// server on 127.0.0.1.

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <string>

#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/Error.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "tests/support/FreePort.h"
#include "tests/support/LoopbackHttpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::LoopbackHttpServer;
using test::ReadBytes;
using test::TempDir;

std::string PatternBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        // Every byte value appears in each run of 256, in changing company.
        bytes[i] = static_cast<char>(i < 256 ? i : random() & 0xFF);
    }
    return bytes;
}

std::u16string ClosedAddress() {
    return FromAscii("http://127.0.0.1:" + std::to_string(test::UnusedLoopbackPort()) + "/x");
}

class UrlFetch : public ::testing::Test {
  protected:
    LoopbackHttpServer server_;
};

TEST_F(UrlFetch, ReplyOfExactlyOneChunk) {
    const std::string body = PatternBytes(8192, 1);
    server_.Get("/chunk", {200, body, "application/octet-stream"});
    EXPECT_EQ(TextToAnsi(FetchUrl(server_.UrlText("/chunk"))), body);

    UrlHandle handle = OpenUrl(server_.UrlText("/chunk"));
    ASSERT_TRUE(handle);
    std::u16string chunk;
    std::string joined;
    int chunks = 0;
    while (ReadChunk(handle, chunk)) {
        EXPECT_LE(chunk.size(), 8192u);
        EXPECT_FALSE(chunk.empty());
        joined += TextToAnsi(chunk);
        ++chunks;
    }
    EXPECT_EQ(joined, body);
    EXPECT_GE(chunks, 1);
    EXPECT_FALSE(handle);
    EXPECT_TRUE(chunk.empty());
    EXPECT_FALSE(ReadChunk(handle, chunk));
}

TEST_F(UrlFetch, LargeBinaryReplyArrivesByteForByteInChunks) {
    const std::string body = PatternBytes(3 * 1024 * 1024 + 17, 2);
    server_.Get("/big", {200, body, "application/octet-stream"});
    const std::u16string reply = FetchUrl(server_.UrlText("/big"));
    ASSERT_EQ(reply.size(), body.size());
    EXPECT_TRUE(TextToAnsi(reply) == body);

    UrlHandle handle = OpenUrl(server_.UrlText("/big"));
    ASSERT_TRUE(handle);
    std::u16string chunk;
    std::size_t total = 0;
    std::size_t chunks = 0;
    while (ReadChunk(handle, chunk)) {
        ASSERT_LE(chunk.size(), 8192u);
        ASSERT_TRUE(TextToAnsi(chunk) == body.substr(total, chunk.size()));
        total += chunk.size();
        ++chunks;
    }
    EXPECT_EQ(total, body.size());
    EXPECT_GE(chunks, body.size() / 8192);
}

TEST_F(UrlFetch, ErrorStatusStillGivesTheBody) {
    server_.Get("/gone", {404, "<html><body>Not here</body></html>", "text/html"});
    server_.Get("/fail", {500, "record 12 missing", "text/plain"});
    EXPECT_EQ(FetchUrl(server_.UrlText("/gone")), u"<html><body>Not here</body></html>");
    EXPECT_EQ(FetchUrl(server_.UrlText("/fail")), u"record 12 missing");
    EXPECT_EQ(FetchUrl(server_.UrlText("/unregistered")), u"");
}

TEST_F(UrlFetch, RedirectsAreFollowed) {
    server_.Get("/old", {302, "moved", "text/plain", {{"Location", "/new"}}});
    server_.Get("/new", {200, "here"});
    EXPECT_EQ(FetchUrl(server_.UrlText("/old")), u"here");
    EXPECT_EQ(server_.RequestCount(), 2u);
}

TEST_F(UrlFetch, RequestIsUncachedAndNamesItsAgent) {
    server_.Get("/q", [](const LoopbackHttpServer::Request& request) {
        return LoopbackHttpServer::Reply{200, request.Query("bib") + "|" + request.Query("sigel")};
    });
    const std::u16string address =
        server_.UrlText("/q?bib=123&sigel=") + UrlEncode(u"Å B") + u"&x=%2D";
    EXPECT_EQ(FetchUrl(address), u"123|\xC5 B");
    const auto requests = server_.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].Method, "GET");
    EXPECT_EQ(requests[0].Header("User-Agent"), "LGGW");
    EXPECT_EQ(requests[0].Header("cache-control"), "no-cache");
    EXPECT_EQ(requests[0].Header("Pragma"), "no-cache");
    EXPECT_EQ(requests[0].Path, "/q");
    EXPECT_EQ(requests[0].Query("x"), "-");
}

TEST_F(UrlFetch, FailuresGiveNothing) {
    const std::u16string closed = ClosedAddress();
    EXPECT_FALSE(OpenUrl(closed));
    EXPECT_EQ(FetchUrl(closed), u"");
    EXPECT_FALSE(OpenUrl(u""));
    EXPECT_EQ(FetchUrl(u"not an address at all"), u"");
    EXPECT_EQ(FetchUrl(u"file:///etc/hostname"), u"");
    UrlHandle none;
    std::u16string chunk = u"stale";
    EXPECT_FALSE(ReadChunk(none, chunk));
    EXPECT_TRUE(chunk.empty());

    // A stopped server refuses like a closed port.
    server_.Get("/ok", {200, "fine"});
    const std::u16string address = server_.UrlText("/ok");
    EXPECT_EQ(FetchUrl(address), u"fine");
    server_.Stop();
    EXPECT_EQ(FetchUrl(address), u"");
}

TEST_F(UrlFetch, EmptyReplyOpensButReadsNothing) {
    server_.Get("/empty", {200, ""});
    UrlHandle handle = OpenUrl(server_.UrlText("/empty"));
    ASSERT_TRUE(handle);
    std::u16string chunk;
    EXPECT_FALSE(ReadChunk(handle, chunk));
    EXPECT_FALSE(handle);
    EXPECT_EQ(FetchUrl(server_.UrlText("/empty")), u"");
}

// ---- FetchToTempFile and loading an address ----

// Temporary files go to a folder of the test's own, so leftovers can be counted.
class FetchToFile : public UrlFetch {
  protected:
    void SetUp() override {
        if (const char* old = std::getenv("TMPDIR")) {
            oldTmp_ = old;
        }
        setenv("TMPDIR", tmp_.Path().c_str(), 1);
    }
    void TearDown() override {
        if (oldTmp_) {
            setenv("TMPDIR", oldTmp_->c_str(), 1);
        } else {
            unsetenv("TMPDIR");
        }
    }
    std::size_t FilesLeft() const {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator(tmp_.Path())) {
            ++count;
        }
        return count;
    }
    TempDir tmp_;
    std::optional<std::string> oldTmp_;
};

TEST_F(FetchToFile, LineEndsBecomeCrLf) {
    server_.Get("/lf", {200, "a=1\nb=2\n"});
    server_.Get("/cr", {200, "a=1\rb=2"});
    server_.Get("/mixed", {200, "a=1\r\nb=2\nc\r"});
    server_.Get("/bytes", {200, std::string("x\x81\x9D\xFF\x00y", 6)});

    const auto lf = FetchToTempFile(server_.UrlText("/lf"));
    ASSERT_FALSE(lf.empty());
    EXPECT_EQ(lf.parent_path(), tmp_.Path());
    EXPECT_EQ(lf.filename().string().rfind("XX", 0), 0u);
    EXPECT_EQ(ReadBytes(lf), "a=1\r\nb=2\r\n");
    EXPECT_EQ(ReadBytes(FetchToTempFile(server_.UrlText("/cr"))), "a=1\r\nb=2");
    EXPECT_EQ(ReadBytes(FetchToTempFile(server_.UrlText("/mixed"))), "a=1\r\nb=2\nc\r");
    EXPECT_EQ(ReadBytes(FetchToTempFile(server_.UrlText("/bytes"))),
              std::string("x\x81\x9D\xFF\x00y", 6));
}

TEST_F(FetchToFile, ErrorPagesAndEmptyRepliesGiveNoFile) {
    server_.Get("/upper", {200, "<HTML><BODY>Server error</BODY></HTML>", "text/html"});
    server_.Get("/mixed", {404, "x=1\r\n<Html>", "text/html"});
    server_.Get("/empty", {200, ""});
    EXPECT_TRUE(FetchToTempFile(server_.UrlText("/upper")).empty());
    EXPECT_TRUE(FetchToTempFile(server_.UrlText("/mixed")).empty());
    EXPECT_TRUE(FetchToTempFile(server_.UrlText("/empty")).empty());
    EXPECT_TRUE(FetchToTempFile(ClosedAddress()).empty());
    EXPECT_EQ(FilesLeft(), 0u);
}

TEST_F(FetchToFile, ConfigurationLoadsFromAnAddressAndLeavesNoFile) {
    server_.Get("/request.cfg", {200,
                                 "Sigler=ABC\n[Server]\nbaseURL=http://x/export?\n"
                                 "[\xC4mnesord]\n650=\xE5\n"});
    CfgClass cfg;
    cfg.Load(server_.UrlText("/request.cfg"));
    EXPECT_EQ(cfg.Itemcount(), 3);
    EXPECT_EQ(cfg.Item(u"Sigler")->Value, u"ABC");
    EXPECT_EQ(cfg.Item(u"server\\BASEURL")->Value, u"http://x/export?");
    EXPECT_EQ(cfg.Item(u"ÄMNESORD\\650")->Value, u"å");
    EXPECT_EQ(FilesLeft(), 0u);

    // Upper-case scheme, and a second load that raises, still clean up after themselves.
    CfgClass again;
    again.Load(u"HTTP://127.0.0.1:" + FromAscii(std::to_string(server_.Port())) + u"/request.cfg");
    EXPECT_EQ(again.Itemcount(), 3);
    EXPECT_THROW(again.Load(server_.UrlText("/request.cfg")), Error);
    EXPECT_EQ(FilesLeft(), 0u);
}

TEST_F(FetchToFile, ConfigurationFromAFailedAddressIsEmpty) {
    server_.Get("/error", {500, "<html>Internal error</html>", "text/html"});
    CfgClass cfg;
    cfg.Load(server_.UrlText("/error"));
    cfg.Load(ClosedAddress());
    EXPECT_EQ(cfg.Itemcount(), 0);
    EXPECT_EQ(cfg.SectionCount(), 0);
    EXPECT_EQ(FilesLeft(), 0u);
}

}  // namespace
}  // namespace tesselex
