#pragma once
// Fingerprints of the servers the uploads trust: a TLS certificate's and its public key's SHA-256
// and an SSH host key's SHA-256, in the forms servers' administrators and libcurl use. Computed
// here, not by a TLS library, so every platform's transfer gives the same text.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tesselex {

std::array<std::uint8_t, 32> Sha256(std::string_view bytes);
// Standard base64; without the "=" padding when `pad` is false (as OpenSSH prints fingerprints).
std::string Base64(std::string_view bytes, bool pad = true);
// The bytes of standard base64 text, line breaks and blanks skipped; nothing when it is not
// base64.
std::optional<std::string> FromBase64(std::string_view text);

// "SHA256:" and the unpadded base64 of the hash of the key blob, as `ssh-keygen -l` shows it.
std::string SshHostKeyFingerprint(std::string_view keyBlob);

struct CertificateFingerprints {
    std::string Pin;          // "sha256//" and the base64 hash of the public key (what is pinned)
    std::string Certificate;  // the certificate's SHA-256, hexadecimal pairs joined by ":"
};
// The fingerprints of the first certificate of a PEM text; nothing when it holds no certificate
// whose public key can be found.
std::optional<CertificateFingerprints> FingerprintsOfPem(std::string_view pem);
// The same of one certificate in DER, as the system's certificate functions hand it over.
std::optional<CertificateFingerprints> FingerprintsOfDer(std::string_view der);

// The program's store of trusted servers is one text of entries "NAME FINGERPRINT" joined by
// "; ", NAME being "SCHEME://HOST:PORT". The fingerprint stored under the name ("" for none, or
// for an empty name).
std::u16string StoredFingerprint(std::u16string_view store, std::u16string_view name);
// The store with the name's entry replaced by (or added as) the fingerprint; an empty name or
// fingerprint adds nothing.
std::u16string WithStoredFingerprint(std::u16string_view store, std::u16string_view name,
                                     std::u16string_view fingerprint);

}  // namespace tesselex
