#pragma once
// A real upload server on 127.0.0.1 for tests, run by the system Python (TESSELEX_PYTHON) on a
// port chosen by the system, with one user whose home is a fresh temporary folder: FTP, explicit
// or implicit FTP over TLS (pyftpdlib, the script LoopbackFtpServer.py, with the certificate and
// key of a PEM file) or SFTP (paramiko, LoopbackSftpServer.py, with a host key of its own made at
// start, HostKey()). The constructor returns once the server accepts connections; the
// destructor ends the process and removes the folder. Connect with Target(); what the server
// stored lies under Root().
// The user may read, write, create folders, rename and delete under the root. A second user,
// "reader" with the same password, may only read. An upload whose name begins with "cut" has its
// connection closed by the server, one whose name begins with "full" finds the server's disk
// full. Options: "require-session-reuse" (FTPS) refuses every data connection that does not
// resume the control connection's TLS session; "tls-1.3-only" (FTPS) speaks no older TLS than
// 1.3; "rsa" or "ed25519" (SFTP) gives the server a host key of that kind alone instead of
// ECDSA ("ecdsa", the default). A failed login is answered at once (the usual anti-guessing
// delay is off) so failure tests stay quick. The server also ends with the test process; on Linux
// already when the thread that started it ends, so start it from the test's own thread (a fixture
// member or a local), not from a short-lived helper thread. On Windows the Linux Python is started
// through Wine, so there the server runs under Wine only.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "config/Upload.h"
#include "tests/support/LoopbackScript.h"
#include "tests/support/TempDir.h"

namespace tesselex::test {

// Every upload protocol, for the tests run once per protocol.
inline constexpr UploadProtocol kUploadProtocols[] = {
    UploadProtocol::Ftp, UploadProtocol::Ftps, UploadProtocol::FtpsImplicit, UploadProtocol::Sftp};
// The protocol's name as a test's name may carry it ("ftpsimplicit").
std::string ProtocolTestName(UploadProtocol protocol);

class LoopbackFtpServer {
  public:
    // Throws std::runtime_error when the server cannot be started (no Python, no pyftpdlib, no
    // Wine).
    explicit LoopbackFtpServer(std::string user = "tester", std::string password = "secret",
                               UploadProtocol protocol = UploadProtocol::Ftp,
                               const std::filesystem::path& certificate = {},
                               std::vector<std::string> options = {});
    ~LoopbackFtpServer();
    LoopbackFtpServer(const LoopbackFtpServer&) = delete;
    LoopbackFtpServer& operator=(const LoopbackFtpServer&) = delete;

    int Port() const { return port_; }
    // "127.0.0.1:<port>", the server text FtpConnect takes.
    std::string Address() const;
    std::u16string ServerText() const;
    std::u16string UserText() const;
    std::u16string PasswordText() const;
    // The upload target of the user, with the server's protocol and nothing trusted.
    UploadTarget Target() const;
    // SFTP: the host key's fingerprint ("SHA256:..."), as the server itself computed it.
    const std::string& HostKey() const { return hostKey_; }
    // The user's home folder on the server, a temporary folder of this machine.
    const std::filesystem::path& Root() const { return root_.Path(); }

    // Ends the server now (the destructor does it too): its connections are closed when this
    // returns, and new ones refused.
    void Stop();

  private:
    // Takes the port (and the host key) from the server's first line of output; a server that
    // gave none is stopped, and the start fails.
    void TakePort(const std::string& firstLine);
    // The script and the arguments after the user's root folder.
    std::string Script() const;
    std::vector<std::string> Options() const;

    std::string user_;
    std::string password_;
    UploadProtocol protocol_;
    std::string certificate_;
    std::vector<std::string> options_;
    std::string hostKey_;
    TempDir root_;
    std::unique_ptr<LoopbackScript> script_;  // the running server
    int port_ = 0;
};

}  // namespace tesselex::test
