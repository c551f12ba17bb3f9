#pragma once
// Trusting the export server over HTTPS: the name its pin is stored under in the program's store
// of trusted servers (config/Upload.h's text, entries "PROTOCOL://HOST:PORT FINGERPRINT" joined
// by "; ", kept in the setting FTPTrust beside the upload servers' entries), and the check
// "tesselex-cli server test" makes. The fetch itself takes the pin as a ServerTrust
// (SharedRoutines.h).

#include <chrono>
#include <string>
#include <string_view>

#include "config/Outcome.h"
#include "config/SharedRoutines.h"

namespace tesselex {

// "https://host:port" of an https address (the host in small letters, port 443 unless it names
// one), the name of its entry in the store; empty for an address that is not https.
std::u16string HttpsServerName(std::u16string_view address);
// The fingerprint pinned for the https server of the address, or an empty text.
std::u16string PinnedFingerprint(std::u16string_view store, std::u16string_view address);
// The store with the server's entry replaced by (or added as) this fingerprint; the store
// unchanged for an address that is not https.
std::u16string WithPinnedFingerprint(std::u16string_view store, std::u16string_view address,
                                     std::u16string_view fingerprint);

// What "server test" found out about an https server.
struct HttpsCheck {
    std::u16string Server;       // "https://host:port"
    std::u16string Fingerprint;  // "sha256//<base64>" of the public key: what is pinned
    std::u16string Certificate;  // the certificate's SHA-256, hexadecimal pairs joined by ":"
    bool Trusted = false;        // a fetch with the trust given would be answered
    std::u16string Reason;       // why it is not trusted
};
// Reads the server's certificate, then fetches the address as the trust says to learn whether
// the server is trusted. A server that cannot be reached, a fetch that fails for another reason
// than the certificate, or an address that is not https (BadData) is the fault.
[[nodiscard]] Outcome<HttpsCheck> CheckHttpsServer(std::u16string_view address,
                                                   const ServerTrust& trust,
                                                   std::chrono::seconds limit = kTransferLimit);

}  // namespace tesselex
