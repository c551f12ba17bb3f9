// The upload front end against real servers on 127.0.0.1: plain FTP, explicit and implicit FTP
// over TLS and SFTP, each run through the same uploads and failures; then how each kind of
// server is trusted or refused. The same on Linux and, through the same libcurl code, on
// Windows under Wine, save for what Wine's Schannel cannot do (UnderWine).

#ifdef _WIN32
#include <windows.h>
#endif

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "config/Fingerprint.h"
#include "config/Strings.h"
#include "config/Upload.h"
#include "config/Utf.h"
#include "tests/support/FreePort.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;
using test::WriteBytes;

// Wine's Schannel accepts any certificate unless a CA file is given, and never resumes a TLS
// session; Windows's own does both.
bool UnderWine() {
#ifdef _WIN32
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}

bool Tls(UploadProtocol protocol) {
    return protocol == UploadProtocol::Ftps || protocol == UploadProtocol::FtpsImplicit;
}

// Wine's Schannel does not report the close_notify alert that ends a download over TLS, so
// libcurl takes every FTPS listing there for a connection cut short (Windows's own reports it).
bool TlsListingFails(UploadProtocol protocol) {
    return UnderWine() && Tls(protocol);
}
constexpr char kTlsListingUnderWine[] =
    "under Wine, Schannel does not report the TLS close_notify that ends a download, so an "
    "FTPS listing fails there; the listing is checked on Linux, the rest of the test ran";

const test::TestCertificates& Certificates() {
    return test::TestCertificates::Shared();
}

// A TLS server's user, trusting its CA file. The server goes by the name its certificate carries:
// Schannel verifies a name against the certificate's DNS names only, not against an address.
UploadTarget TlsTarget(const test::LoopbackFtpServer& server) {
    UploadTarget target = server.Target();
    target.Server = u"localhost:" + FromAscii(std::to_string(server.Port()));
    target.CaFile = Certificates().Authority();
    return target;
}

// A TLS server shows the signed certificate unless another is given.
std::unique_ptr<test::LoopbackFtpServer> StartServer(UploadProtocol protocol,
                                                     std::vector<std::string> options = {},
                                                     std::filesystem::path certificate = {}) {
    if (Tls(protocol) && certificate.empty()) {
        certificate = Certificates().Signed();
    }
    return std::make_unique<test::LoopbackFtpServer>("tester", "secret", protocol, certificate,
                                                     std::move(options));
}

template <typename T>
UploadFault FaultOf(const Outcome<T>& outcome) {
    return outcome ? UploadFault{} : UploadFaultOf(outcome.Failure());
}

// The folder lists `expected`; the test is skipped where the protocol cannot list
// (TlsListingFails), so call this last.
void ExpectListing(UploadConnection& connection, UploadProtocol protocol,
                   std::u16string_view folder, const std::vector<std::u16string>& expected) {
    if (TlsListingFails(protocol)) {
        GTEST_SKIP() << kTlsListingUnderWine;
    }
    const auto listing = connection.List(folder);
    ASSERT_TRUE(listing) << TextToUtf8(listing.Reason());
    EXPECT_EQ(listing.Value(), expected);
}

class Upload : public ::testing::TestWithParam<UploadProtocol> {
  protected:
    void SetUp() override {
        server_ = StartServer(GetParam());
        WriteBytes(local_ / "x.mrc", "data");
    }
    // The server's user, trusting the server: its CA file, or its host key.
    UploadTarget Target(std::u16string user = u"tester") const {
        UploadTarget target = Tls(GetParam()) ? TlsTarget(*server_) : server_->Target();
        target.User = std::move(user);
        if (GetParam() == UploadProtocol::Sftp) {
            target.Trusted = FromAscii(server_->HostKey());
        }
        return target;
    }
    UploadConnection Connect(const UploadTarget& target) const {
        Outcome<UploadConnection> connection = UploadConnection::Open(target);
        if (!connection) {
            throw std::runtime_error(TextToUtf8(connection.Reason()));
        }
        return std::move(connection).Value();
    }
    std::string Stored(const std::filesystem::path& name) const {
        return ReadBytes(server_->Root() / name);
    }
    std::unique_ptr<test::LoopbackFtpServer> server_;
    test::TempDir local_;
};

TEST_P(Upload, EveryUploadOnOneConnectionArrivesWhole) {
    // Large enough that a cut-short upload on a reused TLS connection shows.
    std::string big;
    for (int b = 0; b < 300'000; ++b) {
        big += static_cast<char>((b * 7 + b / 256) & 0xff);
    }
    WriteBytes(local_ / "big.mrc", big);
    // The server text may carry a scheme, blanks and a trailing "/".
    UploadTarget target = Target();
    target.Server =
        GetParam() == UploadProtocol::FtpsImplicit
            ? u"ftps://" + target.Server
            : u"  " + UploadProtocolName(GetParam()).substr(0, 4) + u"://" + target.Server + u"/ ";
    UploadConnection connection = Connect(target);
    for (const char* name : {"1.mrc", "2.mrc", "3.mrc"}) {
        EXPECT_TRUE(connection.Put(FromAscii(name), local_ / "big.mrc", false));
        EXPECT_TRUE(Stored(name) == big) << name << ": " << Stored(name).size() << " bytes";
    }
    // A later upload replaces the file.
    EXPECT_TRUE(connection.Put(u"1.mrc", local_ / "x.mrc", false));
    EXPECT_EQ(Stored("1.mrc"), "data");
    // A text upload sends each line end as one CR LF, which an FTP server stores as LF; SFTP
    // has no text transfers.
    WriteBytes(local_ / "text.txt", "first line\r\nsecond line\nlast\r\n");
    EXPECT_TRUE(connection.Put(u"text.txt", local_ / "text.txt", true));
    EXPECT_EQ(Stored("text.txt"), GetParam() == UploadProtocol::Sftp
                                      ? "first line\r\nsecond line\r\nlast\r\n"
                                      : "first line\nsecond line\nlast\n");
    ExpectListing(connection, GetParam(), u"", {u"1.mrc", u"2.mrc", u"3.mrc", u"text.txt"});
}

TEST_P(Upload, RemoteNamesAreStoredAsGivenAndFoldersNotMade) {
    std::filesystem::create_directory(server_->Root() / "in");
    WriteBytes(local_ / "empty.mrc", "");
    UploadConnection connection = Connect(Target());
    for (const char16_t* remote :
         {u"exp260303.mrc", u"in/with space #1.mrc", u"/in/absolute.mrc"}) {
        EXPECT_TRUE(connection.Put(remote, local_ / "x.mrc", false)) << TextToUtf8(remote);
    }
    EXPECT_EQ(Stored("exp260303.mrc"), "data");
    EXPECT_EQ(Stored("in/with space #1.mrc"), "data");
    EXPECT_EQ(Stored("in/absolute.mrc"), "data");
    EXPECT_EQ(FaultOf(connection.Put(u"missing/x.mrc", local_ / "x.mrc", false)),
              UploadFault::PathRefused);
    EXPECT_FALSE(std::filesystem::exists(server_->Root() / "missing"));
    // The connection survives a refusal; an empty file is a valid upload.
    EXPECT_TRUE(connection.Put(u"empty.mrc", local_ / "empty.mrc", false));
    EXPECT_EQ(Stored("empty.mrc"), "");
    ExpectListing(connection, GetParam(), u"in", {u"absolute.mrc", u"with space #1.mrc"});
}

TEST_P(Upload, FailuresSayWhatKindTheyAre) {
    std::filesystem::create_directory(server_->Root() / "in");
    UploadConnection writer = Connect(Target());
    UploadConnection reader = Connect(Target(u"reader"));
    struct Case {
        const char* What;
        UploadConnection* Connection;
        std::u16string Remote;
        std::filesystem::path Local;
        UploadFault Fault;
        FaultKind Kind;
    };
    const Case uploads[] = {
        {"no write permission", &reader, u"in/x.mrc", local_ / "x.mrc", UploadFault::PathRefused,
         FaultKind::Refused},
        {"missing folder", &writer, u"missing/x.mrc", local_ / "x.mrc", UploadFault::PathRefused,
         FaultKind::Refused},
        {"no remote name", &writer, u"", local_ / "x.mrc", UploadFault::PathRefused,
         FaultKind::Refused},
        {"no local file", &writer, u"y.mrc", local_ / "absent.mrc", UploadFault::LocalFile,
         FaultKind::Refused},
        {"a local folder", &writer, u"y.mrc", local_.Path(), UploadFault::LocalFile,
         FaultKind::Refused},
        {"disk full", &writer, u"full.mrc", local_ / "x.mrc", UploadFault::ServerFull,
         FaultKind::NoSpace},
        {"closed during upload", &writer, u"cut.mrc", local_ / "x.mrc", UploadFault::NoConnection,
         FaultKind::NoConnection},
    };
    for (const Case& c : uploads) {
        SCOPED_TRACE(c.What);
        const Done sent = c.Connection->Put(c.Remote, c.Local, false);
        ASSERT_FALSE(sent);
        EXPECT_EQ(UploadFaultOf(sent.Failure()), c.Fault) << TextToUtf8(sent.Reason());
        EXPECT_EQ(sent.Kind(), c.Kind);
        EXPECT_FALSE(sent.Reason().empty());
        EXPECT_FALSE(std::filesystem::exists(server_->Root() / "in/x.mrc"));
        EXPECT_FALSE(std::filesystem::exists(server_->Root() / "y.mrc"));
        EXPECT_FALSE(std::filesystem::exists(server_->Root() / "full.mrc"));
        EXPECT_EQ(ReadBytes(local_ / "x.mrc"), "data");
    }

    UploadTarget wrongPassword = Target();
    wrongPassword.Password = u"wrong";
    UploadTarget nobody = Target(u"nobody");
    UploadTarget closed = Target();
    closed.Server = FromAscii("127.0.0.1:" + std::to_string(test::UnusedLoopbackPort()));
    UploadTarget noServer = Target();
    noServer.Server = u"";
    const std::pair<UploadTarget, UploadFault> logIns[] = {
        {wrongPassword, UploadFault::LoginRefused},
        {nobody, UploadFault::LoginRefused},
        {closed, UploadFault::NoConnection},
        {noServer, UploadFault::NoConnection},
    };
    for (const auto& [target, fault] : logIns) {
        EXPECT_EQ(FaultOf(UploadConnection::Open(target)), fault) << TextToUtf8(target.User);
    }

    // A connection whose server went away fails its upload instead of hanging.
    UploadConnection left = Connect(Target());
    server_->Stop();
    EXPECT_EQ(FaultOf(left.Put(u"x.mrc", local_ / "x.mrc", false)), UploadFault::NoConnection);
    EXPECT_EQ(FaultOf(UploadConnection::Open(Target())), UploadFault::NoConnection);
}

INSTANTIATE_TEST_SUITE_P(Protocols, Upload, ::testing::ValuesIn(test::kUploadProtocols),
                         [](const auto& param) { return test::ProtocolTestName(param.param); });

TEST(UploadTarget, ProtocolsNamesPortsAndTrustedServers) {
    using namespace std::chrono_literals;
    for (const auto& [name, protocol, port] :
         {std::tuple{u"", UploadProtocol::Ftp, 21u}, {u" FTP ", UploadProtocol::Ftp, 21u},
          {u"ftps", UploadProtocol::Ftps, 21u},
          {u"Ftps-Implicit", UploadProtocol::FtpsImplicit, 990u},
          {u"sftp", UploadProtocol::Sftp, 22u}}) {
        const auto parsed = ParseUploadProtocol(name);
        ASSERT_TRUE(parsed) << TextToUtf8(name);
        EXPECT_EQ(parsed.Value(), protocol);
        EXPECT_EQ(DefaultPort(protocol), port);
        EXPECT_EQ(ParseUploadProtocol(UploadProtocolName(protocol)).Value(), protocol);
    }
    EXPECT_EQ(ParseUploadProtocol(u"scp").Kind(), FaultKind::BadData);
    // Which faults a later try may cure.
    for (const auto& [fault, cured] :
         {std::pair{UploadFault::NoConnection, true}, {UploadFault::TimedOut, true},
          {UploadFault::ServerFull, true}, {UploadFault::LoginRefused, false},
          {UploadFault::PathRefused, false}, {UploadFault::UnknownHostKey, false},
          {UploadFault::ChangedHostKey, false}, {UploadFault::UntrustedCertificate, false},
          {UploadFault::NotSupported, false}, {UploadFault::LocalFile, false}}) {
        EXPECT_EQ(RetryCanCure(fault), cured) << static_cast<int>(fault);
    }
    // The trust store: one entry per protocol and server, the default port filled in.
    std::u16string store = WithTrustedFingerprint(u"", UploadProtocol::Sftp, u"Host", u"SHA256:a");
    store = WithTrustedFingerprint(store, UploadProtocol::Ftps, u"host:21", u"sha256//b=");
    store = WithTrustedFingerprint(store, UploadProtocol::Sftp, u"sftp://host:22", u"SHA256:c");
    EXPECT_EQ(store, u"ftps://host:21 sha256//b=; sftp://host:22 SHA256:c");
    EXPECT_EQ(TrustedFingerprint(store, UploadProtocol::Sftp, u"HOST"), u"SHA256:c");
    EXPECT_EQ(TrustedFingerprint(store, UploadProtocol::Ftps, u"host"), u"sha256//b=");
    EXPECT_EQ(TrustedFingerprint(store, UploadProtocol::FtpsImplicit, u"host"), u"");
    EXPECT_EQ(TrustedFingerprint(store, UploadProtocol::Sftp, u"host:2222"), u"");

    // A server that accepts the connection but never says a word: the overall limit ends it.
    const test::SilentLoopbackPort silent;
    UploadTarget target;
    target.Server = FromAscii("127.0.0.1:" + std::to_string(silent.Port()));
    target.Limit = 1s;
    for (const UploadProtocol protocol : {UploadProtocol::Ftp, UploadProtocol::FtpsImplicit}) {
        target.Protocol = protocol;
        EXPECT_EQ(FaultOf(UploadConnection::Open(target)), UploadFault::TimedOut);
    }
}

TEST(Fingerprint, Sha256OfKnownTexts) {
    // FIPS 180-2's examples, the second one filling two blocks.
    const auto hex = [](std::string_view text) {
        std::string out;
        for (const std::uint8_t b : Sha256(text)) {
            out += "0123456789abcdef"[b >> 4];
            out += "0123456789abcdef"[b & 15];
        }
        return out;
    };
    EXPECT_EQ(hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(FromBase64(Base64("any carnal pleas")), "any carnal pleas");
    EXPECT_EQ(Base64("ab", false), "YWI");
    EXPECT_FALSE(FromBase64("YW*"));
    EXPECT_FALSE(FingerprintsOfPem("-----BEGIN CERTIFICATE-----\nMIIB\n-----END CERTIFICATE-----"));
    EXPECT_FALSE(FingerprintsOfDer(""));
}

// How each kind of server is trusted: TLS by the trust store, a CA file or a pin, SSH only by
// the host key stored for it. One server after another, each with the trust given: the
// connection is made or refused as the case says, and "test connection" shows the key the
// server's own tools compute and logs in only when the server is trusted.
TEST(Trust, TlsServersAreVerifiedByTheirCaFileOrPinned) {
    const auto& certificates = Certificates();
    const auto self = StartServer(UploadProtocol::Ftps, {}, certificates.SelfSigned());
    const std::string selfPin = certificates.Pin(certificates.SelfSigned());
    const auto signedServer = StartServer(UploadProtocol::FtpsImplicit);
    const std::string signedPin = certificates.Pin(certificates.Signed());
    test::TempDir local;
    WriteBytes(local / "x.mrc", "data");
    const struct Case {
        const char* What;
        const test::LoopbackFtpServer* Server;
        std::string Pin;
        std::filesystem::path CaFile;
        UploadFault Fault;  // none: the upload succeeds
    } cases[] = {
        {"self-signed, pinned", self.get(), selfPin, {}, UploadFault{}},
        {"self-signed, another pin", self.get(), signedPin, {}, UploadFault::UntrustedCertificate},
        {"self-signed, another CA", self.get(), "", certificates.Authority(),
         UploadFault::UntrustedCertificate},
        {"signed, CA file", signedServer.get(), "", certificates.Authority(), UploadFault{}},
        {"signed, pinned", signedServer.get(), signedPin, {}, UploadFault{}},
        // Known to no trust store: Wine's Schannel accepts any certificate then.
        {"self-signed, not trusted", self.get(), "", {}, UploadFault::UntrustedCertificate},
        {"signed, not trusted", signedServer.get(), "", {}, UploadFault::UntrustedCertificate},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.What);
        if (UnderWine() && c.Pin.empty() && c.CaFile.empty()) {
            continue;
        }
        UploadTarget target = TlsTarget(*c.Server);
        target.Trusted = FromAscii(c.Pin);
        target.CaFile = c.CaFile;
        Outcome<UploadConnection> connection = UploadConnection::Open(target);
        ASSERT_EQ(FaultOf(connection), c.Fault)
            << TextToUtf8(connection ? u"" : connection.Reason());
        if (connection) {
            EXPECT_TRUE(connection.Value().Put(u"x.mrc", local / "x.mrc", false));
            EXPECT_EQ(ReadBytes(c.Server->Root() / "x.mrc"), "data");
            std::filesystem::remove(c.Server->Root() / "x.mrc");
        }
        const Outcome<ServerCheck> check = CheckServer(target, u"");
        ASSERT_TRUE(check) << TextToUtf8(check.Reason());
        EXPECT_EQ(TextToUtf8(check.Value().Fingerprint),
                  c.Server == self.get() ? selfPin : signedPin);
        EXPECT_EQ(check.Value().Certificate.size(), 95u);  // 32 pairs and 31 colons
        EXPECT_EQ(check.Value().Trusted, c.Fault == UploadFault{});
        if (c.Fault != UploadFault{} || !TlsListingFails(UploadProtocol::Ftps)) {
            EXPECT_EQ(FaultOf(check.Value().Listing), c.Fault);
        }
    }
    if (UnderWine()) {
        GTEST_SKIP() << "under Wine, Schannel accepts any certificate when neither a CA file nor "
                        "a pin is given, and cannot list over TLS: those cases are checked on "
                        "Linux, the CA files and pins ran under Wine too";
    }
}

// Many FTPS servers (vsftpd's require_ssl_reuse, FileZilla Server) take a data connection only
// when it resumes the control connection's TLS session.
TEST(Trust, TlsServersThatRequireSessionReuseTakeTheUploads) {
    if (UnderWine()) {
        GTEST_SKIP() << "Wine's Schannel never resumes a TLS session, so such a server refuses "
                        "every data connection under Wine (tested on Linux)";
    }
    const auto server = StartServer(UploadProtocol::Ftps, {"require-session-reuse"});
    test::TempDir local;
    std::string bytes(100'000, 'x');
    WriteBytes(local / "x.mrc", bytes);
    Outcome<UploadConnection> connection = UploadConnection::Open(TlsTarget(*server));
    ASSERT_TRUE(connection) << TextToUtf8(connection.Reason());
    for (const char* name : {"1.mrc", "2.mrc"}) {
        const Done sent = connection.Value().Put(FromAscii(name), local / "x.mrc", false);
        ASSERT_TRUE(sent) << TextToUtf8(sent.Reason());
        EXPECT_TRUE(ReadBytes(server->Root() / name) == bytes) << name;
    }
    ExpectListing(connection.Value(), UploadProtocol::Ftps, u"", {u"1.mrc", u"2.mrc"});
}

// FTP over TLS is held to TLS 1.2 (TLS 1.3 on a reused connection cut later uploads short): a
// server that speaks only TLS 1.3 is not reached.
TEST(Trust, FtpsIsHeldToTls12) {
    for (const UploadProtocol protocol : {UploadProtocol::Ftps, UploadProtocol::FtpsImplicit}) {
        const auto server = StartServer(protocol, {"tls-1.3-only"});
        const Outcome<UploadConnection> connection = UploadConnection::Open(TlsTarget(*server));
        EXPECT_EQ(FaultOf(connection), UploadFault::NoConnection)
            << TextToUtf8(connection ? u"connected" : connection.Reason());
    }
}

// Whatever kind of host key the server offers (ECDSA, or RSA or ed25519 alone). From Windows,
// whose libssh2 on mbedTLS has no ed25519 (docs/behaviour.md), a server offering only an ed25519
// key is not reached: the key exchange fails before any key is seen.
TEST(Trust, SshHostKeysMustBeTheStoredOnes) {
    const auto other = StartServer(UploadProtocol::Sftp);  // another key on another port
    test::TempDir local;
    WriteBytes(local / "x.mrc", "data");
    for (const std::string kind : {"ecdsa", "rsa", "ed25519"}) {
        SCOPED_TRACE(kind);
        const auto server = StartServer(UploadProtocol::Sftp, {kind});
        ASSERT_TRUE(server->HostKey().starts_with("SHA256:"));
        ASSERT_NE(server->HostKey(), other->HostKey());
        UploadTarget target = server->Target();
        target.Trusted = FromAscii(server->HostKey());
#ifdef _WIN32
        if (kind == "ed25519") {
            EXPECT_EQ(FaultOf(UploadConnection::Open(target)), UploadFault::NoConnection);
            continue;
        }
#endif
        const std::pair<std::string, UploadFault> cases[] = {
            {server->HostKey(), UploadFault{}},
            {"", UploadFault::UnknownHostKey},
            {other->HostKey(), UploadFault::ChangedHostKey},
        };
        for (const auto& [trusted, fault] : cases) {
            SCOPED_TRACE(trusted);
            target.Trusted = FromAscii(trusted);
            Outcome<UploadConnection> connection = UploadConnection::Open(target);
            ASSERT_EQ(FaultOf(connection), fault);
            if (!connection) {
                // The status line names the key the server showed.
                EXPECT_NE(TextToUtf8(connection.Reason()).find(server->HostKey()),
                          std::string::npos)
                    << TextToUtf8(connection.Reason());
            } else {
                EXPECT_TRUE(connection.Value().Put(u"x.mrc", local / "x.mrc", false));
            }
            const Outcome<ServerCheck> check = CheckServer(target, u"");
            ASSERT_TRUE(check) << TextToUtf8(check.Reason());
            EXPECT_EQ(TextToUtf8(check.Value().Fingerprint), server->HostKey());
            EXPECT_EQ(check.Value().Trusted, fault == UploadFault{});
            ASSERT_EQ(FaultOf(check.Value().Listing), fault);
            if (check.Value().Listing) {
                EXPECT_EQ(check.Value().Listing.Value(), std::vector<std::u16string>{u"x.mrc"});
            }
        }
        EXPECT_EQ(ReadBytes(server->Root() / "x.mrc"), "data");
    }
}

}  // namespace
}  // namespace tesselex
