#pragma once
// Private to the shared routines: one logged-in FTP session of the platform (libcurl in
// FtpTransferCurl.cpp, the Windows Internet functions in FtpTransferWin.cpp). The routines built
// on it (FtpUpload.cpp) are the same everywhere, so every platform classifies each failure the
// same way: the transfer only says what happened, in its own words.

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tesselex {

struct FtpServerAddress {
    std::u16string Host;  // a name, an IPv4 address or a bare IPv6 address
    unsigned Port = 21;
};

// What a failed platform call saw.
struct FtpTransferFailure {
    bool TimedOut = false;
    bool Declined = false;  // the server answered no (log-in, permission, missing folder)
    int ServerReply = 0;    // the server's last reply code, 0 when there was none
    std::u16string Words;   // the server's reply or the platform's words
};

class FtpTransfer {
  public:
    FtpTransfer();
    ~FtpTransfer();
    FtpTransfer(const FtpTransfer&) = delete;
    FtpTransfer& operator=(const FtpTransfer&) = delete;

    // Connects and logs in (passive mode); each wait for the server lasts at most `wait`, and
    // each later upload as a whole at most `limit`.
    std::optional<FtpTransferFailure> Connect(const FtpServerAddress& address,
                                              std::u16string_view user,
                                              std::u16string_view password,
                                              std::chrono::milliseconds wait,
                                              std::chrono::seconds limit);
    // Stores the bytes under the remote name (a path on the server, used exactly as given).
    // Text bytes come with CR LF line ends and are announced as a text transfer.
    std::optional<FtpTransferFailure> Send(std::u16string_view remote, const std::string& bytes,
                                           bool text);

  private:
    struct Session;
    std::unique_ptr<Session> session_;
};

}  // namespace tesselex
