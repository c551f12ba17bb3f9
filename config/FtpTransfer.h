#pragma once
// Private to the shared routines: one logged-in upload session (libcurl in FtpTransferCurl.cpp,
// on every platform). The transfer reports what it saw as a TransferSignal; TransferFaultOf
// (FtpUpload.cpp) turns it into the fault, so each failure is classified in one place.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/Outcome.h"
#include "config/Upload.h"

namespace tesselex {

struct FtpServerAddress {
    std::u16string Host;  // a name, an IPv4 address or a bare IPv6 address
    unsigned Port = 21;
};

// What a failed platform call saw.
struct TransferSignal {
    enum class Trust { Fine, UnknownKey, ChangedKey, Untrusted };
    bool TimedOut = false;
    bool LoginDeclined = false;  // the server did not accept the user and password
    bool Declined = false;       // the server answered no to a command (permission, folder)
    bool DiskFull = false;
    bool Unsupported = false;
    bool LocalFile = false;
    Trust TrustProblem = Trust::Fine;
    int ServerReply = 0;     // the server's last reply code, 0 when there was none
    std::u16string Words;    // the server's reply or the platform's words
};
Fault TransferFaultOf(const TransferSignal& signal);

struct TransferSettings {
    UploadProtocol Protocol = UploadProtocol::Ftp;
    FtpServerAddress Address;
    std::u16string User;
    std::u16string Password;
    std::u16string Trusted;
    std::filesystem::path CaFile;
    std::chrono::milliseconds Wait{0};  // of each wait for the server
    std::chrono::seconds Limit{0};      // of each upload as a whole
};

// The identity a server showed before any log-in.
struct ServerIdentity {
    std::u16string Fingerprint;
    std::u16string Certificate;
};

class FtpTransfer {
  public:
    FtpTransfer();
    ~FtpTransfer();
    FtpTransfer(const FtpTransfer&) = delete;
    FtpTransfer& operator=(const FtpTransfer&) = delete;

    // Connects, verifies the server and logs in (passive mode for FTP).
    [[nodiscard]] Done Connect(const TransferSettings& settings);
    // Connects only as far as the server's certificate or host key, sends no user or password,
    // and answers its fingerprint.
    [[nodiscard]] Outcome<ServerIdentity> Identify(const TransferSettings& settings);
    // Stores the bytes under the remote name (a path on the server, used exactly as given).
    // Text bytes come with CR LF line ends and are announced as a text transfer.
    [[nodiscard]] Done Send(std::u16string_view remote, const std::string& bytes, bool text);
    // The names in the folder ("" the log-in folder).
    [[nodiscard]] Outcome<std::vector<std::u16string>> List(std::u16string_view folder);

  private:
    struct Session;
    std::unique_ptr<Session> session_;
};

}  // namespace tesselex
