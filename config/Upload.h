#pragma once
// The one upload front end: plain FTP, FTP over TLS (explicit or implicit) and SFTP, each log-in
// kept open for several uploads, every failure answered as a Fault whose Code says which of the
// upload faults it was (UploadFaultOf). Servers are verified: TLS against the system's trust
// store, a CA file or a pinned public key; SSH against the host key fingerprint the caller
// stored, and never against an OpenSSH known_hosts file.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/Outcome.h"
#include "config/SharedRoutines.h"

namespace tesselex {

enum class UploadProtocol {
    Ftp,           // plain FTP, port 21: the password crosses the network readably
    Ftps,          // explicit TLS: AUTH TLS on the control connection, protected data
    FtpsImplicit,  // TLS from the first byte, port 990
    Sftp,          // SSH, port 22
};

// "ftp", "ftps", "ftps-implicit" or "sftp" in any letter case, blanks around allowed; an empty
// text is plain FTP. Anything else is BadData.
[[nodiscard]] Outcome<UploadProtocol> ParseUploadProtocol(std::u16string_view name);
std::u16string UploadProtocolName(UploadProtocol protocol);
unsigned DefaultPort(UploadProtocol protocol);

// What an upload fault was, in Fault::Code of every fault the upload routines answer. The
// Fault's Kind stays the general one (Refused, NoConnection, TimedOut, NoSpace).
enum class UploadFault {
    NoConnection = 1,      // refused, unknown host, broken off, TLS handshake failed
    TimedOut,              // connect, stall or the overall limit
    LoginRefused,          // the server did not accept the user and password
    PathRefused,           // no permission, missing folder, bad name
    ServerFull,            // the server's disk or quota is full
    UnknownHostKey,        // SSH: no fingerprint is stored for the server
    ChangedHostKey,        // SSH: the server's key is not the one stored
    UntrustedCertificate,  // TLS: not verified by the trust store, the CA file or the pin
    NotSupported,          // the protocol is not available here, or the server does not offer it
    LocalFile,             // the file to upload cannot be read
};
UploadFault UploadFaultOf(const Fault& fault);
// Whether trying the same upload later may succeed without anyone changing anything.
bool RetryCanCure(UploadFault fault);

struct UploadTarget {
    UploadProtocol Protocol = UploadProtocol::Ftp;
    std::u16string Server;  // host or host:port (also "[v6]:port"), optionally after a scheme
    std::u16string User;
    std::u16string Password;
    // The trusted fingerprint: TLS "sha256//<base64>" of the public key (pinned, so a
    // self-signed certificate passes), SSH "SHA256:<base64>" of the host key. Empty: TLS goes by
    // the trust store, SSH trusts nothing.
    std::u16string Trusted;
    // TLS: verify against the certificates of this file instead of the system's trust store.
    std::filesystem::path CaFile;
    std::chrono::seconds Limit = kTransferLimit;  // of each upload as a whole
};

// The program's own store of trusted servers, kept as one text: entries "PROTOCOL://HOST:PORT
// FINGERPRINT" joined by "; ". The fingerprint stored for the protocol and server (the port
// filled in by default), or an empty text.
std::u16string TrustedFingerprint(std::u16string_view store, UploadProtocol protocol,
                                  std::u16string_view server);
// The store with the server's entry replaced by (or added as) this fingerprint.
std::u16string WithTrustedFingerprint(std::u16string_view store, UploadProtocol protocol,
                                      std::u16string_view server,
                                      std::u16string_view fingerprint);

class FtpTransfer;

// A logged-in connection. Moves only; the destructor closes it.
class UploadConnection {
  public:
    [[nodiscard]] static Outcome<UploadConnection> Open(const UploadTarget& target);
    UploadConnection(UploadConnection&&) noexcept;
    UploadConnection& operator=(UploadConnection&&) noexcept;
    ~UploadConnection();

    // Uploads the local file under the remote name (relative to the log-in folder, or absolute
    // with a leading "/"), binary unless ascii (then each line end goes as CR LF). No folder is
    // made on the way.
    [[nodiscard]] Done Put(std::u16string_view remote, const std::filesystem::path& local,
                           bool ascii);
    // The names in a folder (relative as the remote names; empty: the log-in folder).
    [[nodiscard]] Outcome<std::vector<std::u16string>> List(std::u16string_view folder);

  private:
    explicit UploadConnection(std::unique_ptr<FtpTransfer> transfer);
    std::unique_ptr<FtpTransfer> transfer_;
};

// What "test connection" found out about a server.
struct ServerCheck {
    UploadProtocol Protocol = UploadProtocol::Ftp;
    std::u16string Fingerprint;  // what Trusted takes to trust the server; empty for plain FTP
    std::u16string Certificate;  // TLS: the certificate's SHA-256 (hexadecimal), for reading
    bool Trusted = false;        // plain FTP: true, nothing to verify
    // Made only when the server is trusted: the log-in and then the folder's names.
    Outcome<std::vector<std::u16string>> Listing =
        Fault{FaultKind::Refused, u"not logged in: the server is not trusted",
              static_cast<int>(UploadFault::UntrustedCertificate)};
};
// Connects, reads the server's certificate or host key without logging in, and logs in and lists
// the folder only when the server is trusted as the target says. A server that cannot be reached
// or shows no identity is the fault.
[[nodiscard]] Outcome<ServerCheck> CheckServer(const UploadTarget& target,
                                               std::u16string_view folder);

}  // namespace tesselex
