// The upload front end, the same on every platform: the server text parsed, the file's bytes
// prepared and every failure classified here; the platform's part is the session itself
// (FtpTransfer.h).

#include <algorithm>
#include <chrono>
#include <optional>

#include "config/CodePage.h"
#include "config/Fingerprint.h"
#include "config/FtpTransfer.h"
#include "config/Strings.h"
#include "config/Upload.h"

namespace tesselex {
namespace {

// Connect and reply waits of two minutes, as the uploads always had.
constexpr std::chrono::milliseconds kWait{120'000};

struct ProtocolName {
    UploadProtocol Protocol;
    const char16_t* Name;
    unsigned Port;
};
constexpr ProtocolName kProtocols[] = {
    {UploadProtocol::Ftp, u"ftp", 21},
    {UploadProtocol::Ftps, u"ftps", 21},
    {UploadProtocol::FtpsImplicit, u"ftps-implicit", 990},
    {UploadProtocol::Sftp, u"sftp", 22},
};

Fault UploadFailure(UploadFault fault, FaultKind kind, std::u16string words) {
    return Fault{kind, std::move(words), static_cast<int>(fault)};
}

// "host", "host:port", "[v6]:port" or a bare IPv6 address, optionally after a scheme.
std::optional<FtpServerAddress> SplitServer(std::u16string_view server, unsigned defaultPort) {
    std::u16string text = Trim(server);
    for (const char16_t* scheme : {u"ftp://", u"ftps://", u"sftp://"}) {
        if (StartsWithNoCase(text, scheme)) {
            text.erase(0, std::u16string_view(scheme).size());
            break;
        }
    }
    while (!text.empty() && text.back() == u'/') {
        text.pop_back();
    }
    FtpServerAddress out{{}, defaultPort};
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

Outcome<TransferSettings> SettingsOf(const UploadTarget& target) {
    const std::optional<FtpServerAddress> address =
        SplitServer(target.Server, DefaultPort(target.Protocol));
    if (!address) {
        return UploadFailure(UploadFault::NoConnection, FaultKind::NoConnection, u"no server");
    }
    return TransferSettings{target.Protocol,
                            *address,
                            target.User,
                            target.Password,
                            Trim(target.Trusted),
                            target.CaFile,
                            std::min<std::chrono::milliseconds>(kWait, target.Limit),
                            target.Limit};
}

// The bytes to send: a text upload sends each line end as one CR LF, whatever the file has.
Outcome<std::string> UploadBytes(const std::filesystem::path& local, bool ascii) {
    const Outcome<std::u16string> text = FileContents(local);
    if (!text) {
        return UploadFailure(UploadFault::LocalFile, FaultKind::Refused,
                             u"local file cannot be read: " + text.Reason());
    }
    return TextToAnsi(ascii ? NormaliseLineEnds(text.Value()) : text.Value());
}

// A platform call that throws (no memory, a name the platform cannot convert) fails like one
// that reports, in the exception's words.
template <typename Call>
auto Guarded(Call&& call) -> decltype(call()) {
    try {
        return call();
    } catch (const std::exception& failure) {
        TransferSignal signal;
        signal.Words = AnsiToText(failure.what());
        return TransferFaultOf(signal);
    }
}

}  // namespace

Fault TransferFaultOf(const TransferSignal& signal) {
    using Trust = TransferSignal::Trust;
    std::u16string words = signal.Words;
    if (signal.ServerReply >= 400) {
        const std::u16string code = FromAscii(std::to_string(signal.ServerReply));
        if (words.find(code) == std::u16string::npos) {
            words += u" (" + code + u")";
        }
    }
    // Trust comes first: a refused server key also ends the connection.
    UploadFault fault = UploadFault::NoConnection;
    if (signal.TrustProblem == Trust::UnknownKey) {
        fault = UploadFault::UnknownHostKey;
    } else if (signal.TrustProblem == Trust::ChangedKey) {
        fault = UploadFault::ChangedHostKey;
    } else if (signal.TrustProblem == Trust::Untrusted) {
        fault = UploadFault::UntrustedCertificate;
    } else if (signal.LocalFile) {
        fault = UploadFault::LocalFile;
    } else if (signal.Unsupported) {
        fault = UploadFault::NotSupported;
    } else if (signal.TimedOut) {
        fault = UploadFault::TimedOut;
    } else if (signal.ServerReply == 421) {
        // "Service not available" (too many users, shutting down): it passes; the outbox retries.
        fault = UploadFault::NoConnection;
    } else if (signal.DiskFull || signal.ServerReply == 452 || signal.ServerReply == 552) {
        fault = UploadFault::ServerFull;
    } else if (signal.LoginDeclined || signal.ServerReply == 530) {
        fault = UploadFault::LoginRefused;
    } else if (signal.Declined || signal.ServerReply >= 400) {
        fault = UploadFault::PathRefused;
    }
    FaultKind kind = FaultKind::Refused;
    if (fault == UploadFault::NoConnection) {
        kind = FaultKind::NoConnection;
    } else if (fault == UploadFault::TimedOut) {
        kind = FaultKind::TimedOut;
    } else if (fault == UploadFault::ServerFull) {
        kind = FaultKind::NoSpace;
    }
    return UploadFailure(fault, kind, std::move(words));
}

Outcome<UploadProtocol> ParseUploadProtocol(std::u16string_view name) {
    const std::u16string text = Trim(name);
    if (text.empty()) {
        return UploadProtocol::Ftp;
    }
    for (const ProtocolName& p : kProtocols) {
        if (EqualsNoCase(text, p.Name)) {
            return p.Protocol;
        }
    }
    return Fault{FaultKind::BadData, u"unknown protocol \"" + text + u"\"", 0};
}

std::u16string UploadProtocolName(UploadProtocol protocol) {
    for (const ProtocolName& p : kProtocols) {
        if (p.Protocol == protocol) {
            return p.Name;
        }
    }
    return u"ftp";
}

unsigned DefaultPort(UploadProtocol protocol) {
    for (const ProtocolName& p : kProtocols) {
        if (p.Protocol == protocol) {
            return p.Port;
        }
    }
    return 21;
}

namespace {

// The name of a server's entry in the trust store; empty for a server text that names none.
std::u16string TrustName(UploadProtocol protocol, std::u16string_view server) {
    const std::optional<FtpServerAddress> address = SplitServer(server, DefaultPort(protocol));
    if (!address) {
        return {};
    }
    return UploadProtocolName(protocol) + u"://" + ToLower(address->Host) + u":" +
           FromAscii(std::to_string(address->Port));
}

}  // namespace

std::u16string TrustedFingerprint(std::u16string_view store, UploadProtocol protocol,
                                  std::u16string_view server) {
    return StoredFingerprint(store, TrustName(protocol, server));
}

std::u16string WithTrustedFingerprint(std::u16string_view store, UploadProtocol protocol,
                                      std::u16string_view server,
                                      std::u16string_view fingerprint) {
    return WithStoredFingerprint(store, TrustName(protocol, server), fingerprint);
}

UploadFault UploadFaultOf(const Fault& fault) {
    if (fault.Code >= static_cast<int>(UploadFault::NoConnection) &&
        fault.Code <= static_cast<int>(UploadFault::LocalFile)) {
        return static_cast<UploadFault>(fault.Code);
    }
    return fault.Kind == FaultKind::TimedOut ? UploadFault::TimedOut : UploadFault::NoConnection;
}

bool RetryCanCure(UploadFault fault) {
    switch (fault) {
    case UploadFault::NoConnection:
    case UploadFault::TimedOut:
    case UploadFault::ServerFull:
        return true;
    case UploadFault::LoginRefused:
    case UploadFault::PathRefused:
    case UploadFault::UnknownHostKey:
    case UploadFault::ChangedHostKey:
    case UploadFault::UntrustedCertificate:
    case UploadFault::NotSupported:
    case UploadFault::LocalFile:
        return false;
    }
    return false;
}

UploadConnection::UploadConnection(std::unique_ptr<FtpTransfer> transfer)
    : transfer_(std::move(transfer)) {}
UploadConnection::UploadConnection(UploadConnection&&) noexcept = default;
UploadConnection& UploadConnection::operator=(UploadConnection&&) noexcept = default;
UploadConnection::~UploadConnection() = default;

Outcome<UploadConnection> UploadConnection::Open(const UploadTarget& target) {
    const Outcome<TransferSettings> settings = SettingsOf(target);
    if (!settings) {
        return settings.Failure();
    }
    auto transfer = std::make_unique<FtpTransfer>();
    const Done connected = Guarded([&] { return transfer->Connect(settings.Value()); });
    if (!connected) {
        return connected.Failure();
    }
    return UploadConnection(std::move(transfer));
}

Done UploadConnection::Put(std::u16string_view remote, const std::filesystem::path& local,
                           bool ascii) {
    if (!transfer_) {
        return UploadFailure(UploadFault::NoConnection, FaultKind::NoConnection, u"not connected");
    }
    if (remote.empty()) {
        return UploadFailure(UploadFault::PathRefused, FaultKind::Refused, u"no remote name");
    }
    const Outcome<std::string> bytes = UploadBytes(local, ascii);
    if (!bytes) {
        return bytes.Failure();
    }
    return Guarded([&] { return transfer_->Send(remote, bytes.Value(), ascii); });
}

Outcome<std::vector<std::u16string>> UploadConnection::List(std::u16string_view folder) {
    if (!transfer_) {
        return UploadFailure(UploadFault::NoConnection, FaultKind::NoConnection, u"not connected");
    }
    return Guarded([&] { return transfer_->List(folder); });
}

Outcome<ServerCheck> CheckServer(const UploadTarget& target, std::u16string_view folder) {
    const Outcome<TransferSettings> settings = SettingsOf(target);
    if (!settings) {
        return settings.Failure();
    }
    ServerCheck check;
    check.Protocol = target.Protocol;
    if (target.Protocol != UploadProtocol::Ftp) {
        FtpTransfer look;
        const Outcome<ServerIdentity> identity =
            Guarded([&] { return look.Identify(settings.Value()); });
        if (!identity) {
            return identity.Failure();
        }
        check.Fingerprint = identity.Value().Fingerprint;
        check.Certificate = identity.Value().Certificate;
    }
    // Plain FTP has nothing to verify; SSH is trusted only by its stored key; TLS by the pin, or
    // else the trust store or CA file, which only the log-in itself can consult.
    const std::u16string trusted = Trim(target.Trusted);
    if (target.Protocol == UploadProtocol::Ftp) {
        check.Trusted = true;
    } else if (!trusted.empty()) {
        check.Trusted = trusted == check.Fingerprint;
    } else {
        check.Trusted = target.Protocol != UploadProtocol::Sftp;
    }
    if (!check.Trusted) {
        check.Listing = TransferFaultOf(TransferSignal{
            .TrustProblem = target.Protocol != UploadProtocol::Sftp
                                ? TransferSignal::Trust::Untrusted
                            : trusted.empty() ? TransferSignal::Trust::UnknownKey
                                              : TransferSignal::Trust::ChangedKey,
            .Words =
                u"not logged in: the server's fingerprint " + check.Fingerprint +
                (trusted.empty() ? u" is not trusted yet" : u" is not the trusted " + trusted)});
        return check;
    }
    Outcome<UploadConnection> connection = UploadConnection::Open(target);
    if (!connection) {
        // The trust store or CA file had the last word.
        if (UploadFaultOf(connection.Failure()) == UploadFault::UntrustedCertificate) {
            check.Trusted = false;
        }
        check.Listing = connection.Failure();
        return check;
    }
    check.Listing = connection.Value().List(folder);
    return check;
}

}  // namespace tesselex
