// FTP connect, upload and close of the shared routines, the same on every platform: the server
// text parsed, the file's bytes prepared and every failure classified here; the platform's part
// is the session itself (FtpTransfer.h). The log-in made by FtpConnect stays open in the handle
// and FtpSend reuses it.

#include <algorithm>
#include <chrono>

#include "config/CodePage.h"
#include "config/FtpTransfer.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

// Connect and reply waits of two minutes, as the uploads always had.
constexpr std::chrono::milliseconds kWait{120'000};

// "host", "host:port", "[v6]:port" or a bare IPv6 address, optionally after "ftp://".
std::optional<FtpServerAddress> SplitServer(std::u16string_view server) {
    std::u16string text = Trim(server);
    if (StartsWithNoCase(text, u"ftp://")) {
        text.erase(0, 6);
    }
    while (!text.empty() && text.back() == u'/') {
        text.pop_back();
    }
    FtpServerAddress out;
    std::u16string port;
    if (!text.empty() && text.front() == u'[') {
        const std::size_t close = text.find(u']');
        if (close == std::u16string::npos) {
            return std::nullopt;
        }
        out.Host = text.substr(1, close - 1);
        if (close + 1 < text.size()) {
            if (text[close + 1] != u':') {
                return std::nullopt;
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
                return std::nullopt;
            }
            value = value * 10 + static_cast<unsigned>(ch - u'0');
        }
        if (value == 0 || value > 65535) {
            return std::nullopt;
        }
        out.Port = value;
    }
    if (out.Host.empty()) {
        return std::nullopt;
    }
    return out;
}

// The bytes to send: a text upload sends each line end as one CR LF, whatever the file has.
Outcome<std::string> UploadBytes(const std::filesystem::path& local, bool ascii) {
    const Outcome<std::u16string> text = FileContents(local);
    if (!text) {
        // The upload cannot be made as asked; another try will not make it.
        return Fault{FaultKind::Refused, u"local file cannot be read: " + text.Reason()};
    }
    return TextToAnsi(ascii ? NormaliseLineEnds(text.Value()) : text.Value());
}

// Only the server's no is a refusal; a session dropped or closed before the reply is no
// connection. The reply code is named when the words do not name it already.
Fault FaultOf(const FtpTransferFailure& failure) {
    FaultKind kind = FaultKind::NoConnection;
    if (failure.TimedOut) {
        kind = FaultKind::TimedOut;
    } else if (failure.Declined || failure.ServerReply >= 400) {
        kind = FaultKind::Refused;
    }
    std::u16string words = failure.Words;
    if (failure.ServerReply >= 400) {
        const std::u16string code = FromAscii(std::to_string(failure.ServerReply));
        if (words.find(code) == std::u16string::npos) {
            words += u" (" + code + u")";
        }
    }
    return Fault{kind, std::move(words), failure.ServerReply};
}

// The described routines answer a null handle or false; the words go to a caller who asks.
void Explain(FtpError* error, const Fault* fault) {
    if (error == nullptr) {
        return;
    }
    if (fault == nullptr) {
        *error = FtpError{};
        return;
    }
    const NetFailure failure = fault->Kind == FaultKind::TimedOut  ? NetFailure::TimedOut
                               : fault->Kind == FaultKind::Refused ? NetFailure::Refused
                                                                   : NetFailure::NoConnection;
    *error = FtpError{failure, fault->Reason};
}

// A platform call that throws (no memory, a name the platform cannot convert) fails like one
// that reports, in the exception's words.
template <typename Call>
std::optional<FtpTransferFailure> Guarded(Call&& call) {
    try {
        return call();
    } catch (const std::exception& failure) {
        return FtpTransferFailure{false, false, 0, AnsiToText(failure.what())};
    }
}

}  // namespace

class FtpConnection {
  public:
    FtpTransfer Transfer;
};

Outcome<FtpHandle> FtpOpen(std::u16string_view server, std::u16string_view user,
                           std::u16string_view password, std::chrono::seconds limit) {
    const std::optional<FtpServerAddress> address = SplitServer(server);
    if (!address) {
        return Fault{FaultKind::NoConnection, u"no server"};
    }
    auto connection = std::make_shared<FtpConnection>();
    const auto wait = std::min<std::chrono::milliseconds>(kWait, limit);
    if (const auto failure = Guarded(
            [&] { return connection->Transfer.Connect(*address, user, password, wait, limit); })) {
        return FaultOf(*failure);
    }
    return FtpHandle(std::move(connection));
}

Done FtpPut(const FtpHandle& handle, std::u16string_view remote,
            const std::filesystem::path& local, bool ascii) {
    if (!handle) {
        return Fault{FaultKind::NoConnection, u"not connected"};
    }
    if (remote.empty()) {
        return Fault{FaultKind::Refused, u"no remote name"};
    }
    const Outcome<std::string> bytes = UploadBytes(local, ascii);
    if (!bytes) {
        return bytes.Failure();
    }
    if (const auto failure =
            Guarded([&] { return handle->Transfer.Send(remote, bytes.Value(), ascii); })) {
        return FaultOf(*failure);
    }
    return {};
}

FtpHandle FtpConnect(std::u16string_view server, std::u16string_view user,
                     std::u16string_view password, FtpError* error, std::chrono::seconds limit) {
    Outcome<FtpHandle> connection = FtpOpen(server, user, password, limit);
    Explain(error, connection ? nullptr : &connection.Failure());
    return connection ? std::move(connection).Value() : nullptr;
}

bool FtpSend(const FtpHandle& handle, std::u16string_view remote,
             const std::filesystem::path& local, bool ascii, FtpError* error) {
    const Done sent = FtpPut(handle, remote, local, ascii);
    Explain(error, sent ? nullptr : &sent.Failure());
    return sent.Ok();
}

void FtpClose(FtpHandle& handle) {
    handle.reset();
}

}  // namespace tesselex
