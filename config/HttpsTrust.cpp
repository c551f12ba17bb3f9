// The export server's pin in the store of trusted servers, and "server test" (HttpsTrust.h).

#include "config/HttpsTrust.h"

#include <optional>
#include <vector>

#include "config/Fingerprint.h"
#include "config/Strings.h"
#include "config/UrlRequest.h"

namespace tesselex {
namespace {

// The port's number as digits without leading zeros; nothing for a text that is not a port.
std::optional<std::u16string> PortNumber(std::u16string_view text) {
    unsigned number = 0;
    for (const char16_t ch : text) {
        if (ch < u'0' || ch > u'9' || (number = number * 10 + (ch - u'0')) > 65535) {
            return std::nullopt;
        }
    }
    if (text.empty() || number == 0) {
        return std::nullopt;
    }
    return FromAscii(std::to_string(number));
}

}  // namespace

std::u16string HttpsServerName(std::u16string_view address) {
    constexpr std::u16string_view kScheme = u"https://";
    const std::u16string text = Trim(address);
    if (!StartsWithNoCase(text, kScheme)) {
        return {};
    }
    std::u16string rest = text.substr(kScheme.size());
    rest = rest.substr(0, rest.find_first_of(u"/?#"));
    if (const std::size_t at = rest.rfind(u'@'); at != std::u16string::npos) {
        rest = rest.substr(at + 1);  // a user and password are no part of the server's name
    }
    std::u16string host = rest;
    std::u16string port = u"443";
    const std::size_t bracket = rest.find(u']');
    const std::size_t colon = rest.rfind(u':');
    if (rest.starts_with(u'[')) {
        if (bracket == std::u16string::npos ||
            (bracket + 1 < rest.size() && rest[bracket + 1] != u':')) {
            return {};
        }
        host = rest.substr(0, bracket + 1);
        if (bracket + 1 < rest.size()) {
            port = rest.substr(bracket + 2);
        }
    } else if (colon != std::u16string::npos) {
        host = rest.substr(0, colon);
        port = rest.substr(colon + 1);
    }
    const std::optional<std::u16string> number = PortNumber(port);
    if (host.empty() || !number) {
        return {};
    }
    return u"https://" + ToLower(host) + u":" + *number;
}

std::u16string PinnedFingerprint(std::u16string_view store, std::u16string_view address) {
    return StoredFingerprint(store, HttpsServerName(address));
}

std::u16string WithPinnedFingerprint(std::u16string_view store, std::u16string_view address,
                                     std::u16string_view fingerprint) {
    return WithStoredFingerprint(store, HttpsServerName(address), fingerprint);
}

Outcome<HttpsCheck> CheckHttpsServer(std::u16string_view address, const ServerTrust& trust,
                                     std::chrono::seconds limit) {
    HttpsCheck check;
    check.Server = HttpsServerName(address);
    if (check.Server.empty()) {
        return Fault{FaultKind::BadData, u"not an https address: " + std::u16string(address), 0};
    }
    const Outcome<std::string> der = ReadServerCertificate(address, limit);
    if (!der) {
        return der.Failure();
    }
    const std::optional<CertificateFingerprints> prints = FingerprintsOfDer(der.Value());
    if (!prints) {
        return Fault{FaultKind::BadData, u"the server's certificate cannot be read", 0};
    }
    check.Fingerprint = FromAscii(prints->Pin);
    check.Certificate = FromAscii(prints->Certificate);
    // Whether a fetch would be answered: the one place that knows what the trust store, the CA
    // file and the pin say. Any reply counts, an error page too.
    const Outcome<HttpReply> reply = FetchReply(address, trust, limit);
    if (!reply && reply.Failure().Code == kUntrustedServer) {
        check.Reason = reply.Reason();
    } else if (!reply) {
        return reply.Failure();
    } else {
        check.Trusted = true;
    }
    return check;
}

}  // namespace tesselex
