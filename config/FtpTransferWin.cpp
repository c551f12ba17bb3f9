// The upload session through the Windows Internet functions: plain FTP in passive mode, the
// log-in kept open in the connection handle for the uploads. They have no FTP over TLS and no
// SFTP, so this build answers those protocols as not supported.

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
Fault Failure(DWORD code) {
    TransferSignal signal;
    signal.TimedOut = code == ERROR_INTERNET_TIMEOUT;
    signal.LoginDeclined = code == ERROR_INTERNET_LOGIN_FAILURE;
    signal.Declined = code == ERROR_INTERNET_EXTENDED_ERROR;
    DWORD serverCode = 0;
    DWORD length = 0;
    InternetGetLastResponseInfoW(&serverCode, nullptr, &length);
    if (length > 0) {
        std::wstring reply(length + 1, L'\0');
        if (InternetGetLastResponseInfoW(&serverCode, reply.data(), &length)) {
            reply.resize(length);
            signal.Words = Trim(std::u16string(reply.begin(), reply.end()));
            // The reply's own code, when it begins with one, tells a full disk from a refusal.
            const std::u16string& words = signal.Words;
            if (words.size() >= 3 && std::all_of(words.begin(), words.begin() + 3, [](char16_t c) {
                    return c >= u'0' && c <= u'9';
                })) {
                signal.ServerReply = (words[0] - u'0') * 100 + (words[1] - u'0') * 10 +
                                     (words[2] - u'0');
            }
        }
    }
    if (signal.Words.empty()) {
        signal.Words = detail::InternetErrorWords(code);
    }
    return TransferFaultOf(signal);
}

Fault NotSupported() {
    TransferSignal signal;
    signal.Unsupported = true;
    signal.Words = u"this build uploads by plain FTP only";
    return TransferFaultOf(signal);
}

}  // namespace

struct FtpTransfer::Session {
    detail::InternetHandle Internet;
    detail::InternetHandle Connection;
    std::chrono::seconds Limit{0};
};

FtpTransfer::FtpTransfer() = default;
FtpTransfer::~FtpTransfer() = default;

Done FtpTransfer::Connect(const TransferSettings& settings) {
    if (settings.Protocol != UploadProtocol::Ftp) {
        return NotSupported();
    }
    session_ = std::make_unique<Session>();
    session_->Limit = settings.Limit;
    const auto waitMs = static_cast<DWORD>(settings.Wait.count());
    session_->Internet = detail::NewInternetSession(waitMs, waitMs);
    if (!session_->Internet) {
        return Failure(GetLastError());
    }
    session_->Connection.reset(InternetConnectW(
        session_->Internet.get(), detail::Wide(settings.Address.Host),
        static_cast<INTERNET_PORT>(settings.Address.Port), detail::Wide(settings.User),
        detail::Wide(settings.Password), INTERNET_SERVICE_FTP, INTERNET_FLAG_PASSIVE, 0));
    if (!session_->Connection) {
        return Failure(GetLastError());
    }
    return {};
}

Outcome<ServerIdentity> FtpTransfer::Identify(const TransferSettings& /*settings*/) {
    return NotSupported();
}

Done FtpTransfer::Send(std::u16string_view remote, const std::string& bytes, bool text) {
    if (!session_ || !session_->Connection) {
        return TransferFaultOf(TransferSignal{.Words = u"not connected"});
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
            return TransferFaultOf(
                TransferSignal{.TimedOut = true, .Words = u"the upload took too long"});
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
    return {};
}

Outcome<std::vector<std::u16string>> FtpTransfer::List(std::u16string_view folder) {
    if (!session_ || !session_->Connection) {
        return TransferFaultOf(TransferSignal{.Words = u"not connected"});
    }
    std::u16string pattern(folder);
    if (!pattern.empty() && pattern.back() != u'/') {
        pattern += u'/';
    }
    pattern += u"*";
    WIN32_FIND_DATAW found{};
    detail::InternetHandle search(FtpFindFirstFileW(session_->Connection.get(),
                                                    detail::Wide(pattern), &found,
                                                    INTERNET_FLAG_RELOAD, 0));
    std::vector<std::u16string> names;
    if (!search) {
        const DWORD code = GetLastError();
        if (code == ERROR_NO_MORE_FILES) {
            return names;
        }
        return Failure(code);
    }
    do {
        const std::u16string name(reinterpret_cast<const char16_t*>(found.cFileName));
        if (name != u"." && name != u"..") {
            names.push_back(name);
        }
    } while (InternetFindNextFileW(search.get(), &found));
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace tesselex
