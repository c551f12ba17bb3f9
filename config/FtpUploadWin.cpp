// FTP connect, upload and close of the shared routines through the Windows Internet functions:
// passive mode, the log-in kept open in the handle for the uploads.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>

#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/WinInetHandle.h"

namespace tesselex {
namespace {

// Connect and reply waits of two minutes, as the uploads always had.
constexpr long long kTimeoutMilliseconds = 120'000;
constexpr std::size_t kBlockBytes = 65536;

struct HostAndPort {
    std::u16string Host;
    INTERNET_PORT Port = INTERNET_DEFAULT_FTP_PORT;
};

// "host", "host:port", "[v6]:port" or a bare IPv6 address, optionally after "ftp://".
bool SplitServer(std::u16string_view server, HostAndPort& out) {
    std::u16string text = Trim(server);
    if (StartsWithNoCase(text, u"ftp://")) {
        text.erase(0, 6);
    }
    while (!text.empty() && text.back() == u'/') {
        text.pop_back();
    }
    std::u16string port;
    if (!text.empty() && text.front() == u'[') {
        const std::size_t close = text.find(u']');
        if (close == std::u16string::npos) {
            return false;
        }
        out.Host = text.substr(1, close - 1);
        if (close + 1 < text.size()) {
            if (text[close + 1] != u':') {
                return false;
            }
            port = text.substr(close + 2);
        }
    } else if (std::count(text.begin(), text.end(), u':') == 1) {
        const std::size_t colon = text.find(u':');
        out.Host = text.substr(0, colon);
        port = text.substr(colon + 1);
    } else {
        out.Host = text;
    }
    if (!port.empty()) {
        unsigned value = 0;
        for (const char16_t ch : port) {
            if (ch < u'0' || ch > u'9' || value > 65535) {
                return false;
            }
            value = value * 10 + (ch - u'0');
        }
        if (value == 0 || value > 65535) {
            return false;
        }
        out.Port = static_cast<INTERNET_PORT>(value);
    }
    return !out.Host.empty();
}

// The bytes to send: a text upload sends each line end as one CR LF, whatever the file has.
bool UploadBytes(const std::filesystem::path& local, bool ascii, std::string& bytes) {
    std::ifstream in(local, std::ios::binary);
    if (!in) {
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad()) {
        return false;
    }
    if (ascii) {
        bytes = TextToAnsi(NormaliseLineEnds(AnsiToText(bytes)));
    }
    return true;
}

}  // namespace

class FtpConnection {
  public:
    detail::InternetHandle Session;
    detail::InternetHandle Connection;
    std::chrono::seconds Limit{kTransferLimit};
};

namespace {

// The kind and words of a failed call: the server's own reply when it declined, the system's
// words for the error otherwise. Only a reply declines; a session dropped or a connection closed
// before the reply (Wine reports that as a transfer in progress) is no connection.
void Explain(FtpError* error, DWORD code) {
    if (error == nullptr) {
        return;
    }
    if (code == ERROR_INTERNET_EXTENDED_ERROR || code == ERROR_INTERNET_LOGIN_FAILURE) {
        error->Failure = NetFailure::Refused;
    } else if (code == ERROR_INTERNET_TIMEOUT) {
        error->Failure = NetFailure::TimedOut;
    } else {
        error->Failure = NetFailure::NoConnection;
    }
    std::u16string words;
    DWORD serverCode = 0;
    DWORD length = 0;
    InternetGetLastResponseInfoW(&serverCode, nullptr, &length);
    if (length > 0) {
        std::wstring reply(length + 1, L'\0');
        if (InternetGetLastResponseInfoW(&serverCode, reply.data(), &length)) {
            reply.resize(length);
            words = Trim(std::u16string(reply.begin(), reply.end()));
        }
    }
    if (words.empty()) {
        words = detail::InternetErrorWords(code);
    }
    error->Reason = words;
}

void Explain(FtpError* error, NetFailure failure, std::u16string reason) {
    if (error != nullptr) {
        *error = FtpError{failure, std::move(reason)};
    }
}

}  // namespace

FtpHandle FtpConnect(std::u16string_view server, std::u16string_view user,
                     std::u16string_view password, FtpError* error, std::chrono::seconds limit) {
    Explain(error, NetFailure::None, {});
    try {
        HostAndPort address;
        if (!SplitServer(server, address)) {
            Explain(error, NetFailure::NoConnection, u"no server");
            return nullptr;
        }
        auto connection = std::make_shared<FtpConnection>();
        connection->Limit = limit;
        const auto wait = static_cast<DWORD>(
            std::min<long long>(kTimeoutMilliseconds, std::chrono::milliseconds(limit).count()));
        connection->Session = detail::NewInternetSession(wait, wait);
        if (!connection->Session) {
            Explain(error, GetLastError());
            return nullptr;
        }
        const std::u16string userText(user);
        const std::u16string passwordText(password);
        connection->Connection.reset(
            InternetConnectW(connection->Session.get(), detail::Wide(address.Host), address.Port,
                             detail::Wide(userText), detail::Wide(passwordText),
                             INTERNET_SERVICE_FTP, INTERNET_FLAG_PASSIVE, 0));
        if (!connection->Connection) {
            Explain(error, GetLastError());
            return nullptr;
        }
        return connection;
    } catch (const std::exception& failure) {
        Explain(error, NetFailure::NoConnection, AnsiToText(failure.what()));
        return nullptr;
    }
}

bool FtpSend(const FtpHandle& handle, std::u16string_view remote,
             const std::filesystem::path& local, bool ascii, FtpError* error) {
    Explain(error, NetFailure::None, {});
    if (!handle || !handle->Connection) {
        Explain(error, NetFailure::NoConnection, u"not connected");
        return false;
    }
    if (remote.empty()) {
        Explain(error, NetFailure::Refused, u"no remote name");
        return false;
    }
    try {
        const auto deadline = std::chrono::steady_clock::now() + handle->Limit;
        std::error_code ec;
        std::string bytes;
        if (!std::filesystem::is_regular_file(local, ec) || !UploadBytes(local, ascii, bytes)) {
            Explain(error, NetFailure::Refused, u"local file cannot be read: " + local.u16string());
            return false;
        }
        const std::u16string name(remote);
        // The bytes are prepared here already, so the transfer type only tells the server.
        detail::InternetHandle file(FtpOpenFileW(
            handle->Connection.get(), detail::Wide(name), GENERIC_WRITE,
            (ascii ? FTP_TRANSFER_TYPE_ASCII : FTP_TRANSFER_TYPE_BINARY) | INTERNET_FLAG_RELOAD,
            0));
        if (!file) {
            Explain(error, GetLastError());
            return false;
        }
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            if (std::chrono::steady_clock::now() >= deadline) {
                Explain(error, NetFailure::TimedOut, u"the upload took too long");
                return false;
            }
            const auto block = static_cast<DWORD>(std::min(kBlockBytes, bytes.size() - sent));
            DWORD written = 0;
            if (!InternetWriteFile(file.get(), bytes.data() + sent, block, &written) ||
                written == 0) {
                Explain(error, GetLastError());
                return false;
            }
            sent += written;
        }
        // Closing ends the transfer; the server's answer to it tells whether the file arrived.
        if (InternetCloseHandle(file.release()) == FALSE) {
            Explain(error, GetLastError());
            return false;
        }
        return true;
    } catch (const std::exception& failure) {
        Explain(error, NetFailure::NoConnection, AnsiToText(failure.what()));
        return false;
    }
}

void FtpClose(FtpHandle& handle) {
    handle.reset();
}

}  // namespace tesselex
