// The FTP session through the Windows Internet functions: passive mode, the log-in kept open in
// the connection handle for the uploads.

#include <algorithm>

#include "config/FtpTransfer.h"
#include "config/Strings.h"
#include "config/WinInetHandle.h"

namespace tesselex {
namespace {

constexpr std::size_t kBlockBytes = 65536;

// The server's own reply when there is one, the system's words for the error otherwise. Only a
// reply declines; a session dropped or a connection closed before the reply (Wine reports that
// as a transfer in progress) is no connection.
FtpTransferFailure Failure(DWORD code) {
    FtpTransferFailure failure;
    failure.TimedOut = code == ERROR_INTERNET_TIMEOUT;
    failure.Declined = code == ERROR_INTERNET_EXTENDED_ERROR || code == ERROR_INTERNET_LOGIN_FAILURE;
    DWORD serverCode = 0;
    DWORD length = 0;
    InternetGetLastResponseInfoW(&serverCode, nullptr, &length);
    if (length > 0) {
        std::wstring reply(length + 1, L'\0');
        if (InternetGetLastResponseInfoW(&serverCode, reply.data(), &length)) {
            reply.resize(length);
            failure.Words = Trim(std::u16string(reply.begin(), reply.end()));
        }
    }
    if (failure.Words.empty()) {
        failure.Words = detail::InternetErrorWords(code);
    }
    return failure;
}

}  // namespace

struct FtpTransfer::Session {
    detail::InternetHandle Internet;
    detail::InternetHandle Connection;
    std::chrono::seconds Limit{0};
};

FtpTransfer::FtpTransfer() = default;
FtpTransfer::~FtpTransfer() = default;

std::optional<FtpTransferFailure> FtpTransfer::Connect(const FtpServerAddress& address,
                                                       std::u16string_view user,
                                                       std::u16string_view password,
                                                       std::chrono::milliseconds wait,
                                                       std::chrono::seconds limit) {
    session_ = std::make_unique<Session>();
    session_->Limit = limit;
    const auto waitMs = static_cast<DWORD>(wait.count());
    session_->Internet = detail::NewInternetSession(waitMs, waitMs);
    if (!session_->Internet) {
        return Failure(GetLastError());
    }
    const std::u16string userText(user);
    const std::u16string passwordText(password);
    session_->Connection.reset(InternetConnectW(
        session_->Internet.get(), detail::Wide(address.Host),
        static_cast<INTERNET_PORT>(address.Port), detail::Wide(userText),
        detail::Wide(passwordText), INTERNET_SERVICE_FTP, INTERNET_FLAG_PASSIVE, 0));
    if (!session_->Connection) {
        return Failure(GetLastError());
    }
    return std::nullopt;
}

std::optional<FtpTransferFailure> FtpTransfer::Send(std::u16string_view remote,
                                                    const std::string& bytes, bool text) {
    if (!session_ || !session_->Connection) {
        return FtpTransferFailure{false, false, 0, u"not connected"};
    }
    const auto deadline = std::chrono::steady_clock::now() + session_->Limit;
    const std::u16string name(remote);
    // The bytes are prepared already, so the transfer type only tells the server.
    detail::InternetHandle file(FtpOpenFileW(
        session_->Connection.get(), detail::Wide(name), GENERIC_WRITE,
        (text ? FTP_TRANSFER_TYPE_ASCII : FTP_TRANSFER_TYPE_BINARY) | INTERNET_FLAG_RELOAD, 0));
    if (!file) {
        return Failure(GetLastError());
    }
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return FtpTransferFailure{true, false, 0, u"the upload took too long"};
        }
        const auto block = static_cast<DWORD>(std::min(kBlockBytes, bytes.size() - sent));
        DWORD written = 0;
        if (!InternetWriteFile(file.get(), bytes.data() + sent, block, &written) || written == 0) {
            return Failure(GetLastError());
        }
        sent += written;
    }
    // Closing ends the transfer; the server's answer to it tells whether the file arrived.
    if (InternetCloseHandle(file.release()) == FALSE) {
        return Failure(GetLastError());
    }
    return std::nullopt;
}

}  // namespace tesselex
