#include "config/Fingerprint.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "config/Strings.h"

namespace tesselex {
namespace {

constexpr std::uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t Rotate(std::uint32_t x, int n) {
    return (x >> n) | (x << (32 - n));
}

void Compress(std::uint32_t (&state)[8], const unsigned char* block) {
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i) {
        w[i] = static_cast<std::uint32_t>(block[4 * i]) << 24 |
               static_cast<std::uint32_t>(block[4 * i + 1]) << 16 |
               static_cast<std::uint32_t>(block[4 * i + 2]) << 8 | block[4 * i + 3];
    }
    for (int i = 16; i < 64; ++i) {
        const std::uint32_t s0 = Rotate(w[i - 15], 7) ^ Rotate(w[i - 15], 18) ^ (w[i - 15] >> 3);
        const std::uint32_t s1 = Rotate(w[i - 2], 17) ^ Rotate(w[i - 2], 19) ^ (w[i - 2] >> 10);
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    std::uint32_t v[8];
    for (int i = 0; i < 8; ++i) {
        v[i] = state[i];
    }
    for (int i = 0; i < 64; ++i) {
        const std::uint32_t s1 = Rotate(v[4], 6) ^ Rotate(v[4], 11) ^ Rotate(v[4], 25);
        const std::uint32_t choice = (v[4] & v[5]) ^ (~v[4] & v[6]);
        const std::uint32_t t1 = v[7] + s1 + choice + kRound[i] + w[i];
        const std::uint32_t s0 = Rotate(v[0], 2) ^ Rotate(v[0], 13) ^ Rotate(v[0], 22);
        const std::uint32_t majority = (v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]);
        for (int j = 7; j > 0; --j) {
            v[j] = v[j - 1];
        }
        v[4] += t1;
        v[0] = t1 + s0 + majority;
    }
    for (int i = 0; i < 8; ++i) {
        state[i] += v[i];
    }
}

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// One DER element: where its contents begin and how long they are.
struct Element {
    unsigned char Tag = 0;
    std::size_t Start = 0;   // of the whole element
    std::size_t Body = 0;    // of its contents
    std::size_t Length = 0;  // of its contents
    std::size_t End() const { return Body + Length; }
};

std::optional<Element> ReadElement(std::string_view der, std::size_t at) {
    if (at + 2 > der.size()) {
        return std::nullopt;
    }
    Element e{static_cast<unsigned char>(der[at]), at, at + 2, 0};
    const auto first = static_cast<unsigned char>(der[at + 1]);
    if (first < 0x80) {
        e.Length = first;
    } else {
        const std::size_t count = first & 0x7f;
        if (count == 0 || count > 4 || at + 2 + count > der.size()) {
            return std::nullopt;
        }
        for (std::size_t i = 0; i < count; ++i) {
            e.Length = e.Length << 8 | static_cast<unsigned char>(der[at + 2 + i]);
        }
        e.Body += count;
    }
    if (e.Body + e.Length > der.size()) {
        return std::nullopt;
    }
    return e;
}

// The subjectPublicKeyInfo element of a DER certificate: the seventh element of the signed part,
// the sixth when the version is left out.
std::optional<std::string_view> PublicKeyInfo(std::string_view der) {
    const auto certificate = ReadElement(der, 0);
    if (!certificate || certificate->Tag != 0x30) {
        return std::nullopt;
    }
    const auto signedPart = ReadElement(der, certificate->Body);
    if (!signedPart || signedPart->Tag != 0x30) {
        return std::nullopt;
    }
    std::size_t at = signedPart->Body;
    auto element = ReadElement(der, at);
    if (element && element->Tag == 0xa0) {
        at = element->End();
    }
    for (int skip = 0; skip < 5; ++skip) {  // serial, signature, issuer, validity, subject
        element = ReadElement(der, at);
        if (!element || element->End() > signedPart->End()) {
            return std::nullopt;
        }
        at = element->End();
    }
    element = ReadElement(der, at);
    if (!element || element->Tag != 0x30 || element->End() > signedPart->End()) {
        return std::nullopt;
    }
    return der.substr(element->Start, element->End() - element->Start);
}

std::string_view Bytes(const std::array<std::uint8_t, 32>& hash) {
    return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

}  // namespace

std::array<std::uint8_t, 32> Sha256(std::string_view bytes) {
    std::uint32_t state[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                              0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    const std::size_t rest = bytes.size() % 64;
    const std::size_t at = bytes.size() - rest;
    for (std::size_t block = 0; block < at; block += 64) {
        Compress(state, reinterpret_cast<const unsigned char*>(bytes.data() + block));
    }
    // The rest, a 1 bit, zeros and the length in bits fill one or two last blocks.
    unsigned char tail[128] = {};
    for (std::size_t i = 0; i < rest; ++i) {
        tail[i] = static_cast<unsigned char>(bytes[at + i]);
    }
    tail[rest] = 0x80;
    const std::size_t blocks = rest + 9 > 64 ? 2 : 1;
    const std::uint64_t bits = static_cast<std::uint64_t>(bytes.size()) * 8;
    for (std::size_t i = 0; i < 8; ++i) {
        tail[blocks * 64 - 1 - i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    for (std::size_t b = 0; b < blocks; ++b) {
        Compress(state, tail + 64 * b);
    }
    std::array<std::uint8_t, 32> hash{};
    for (std::size_t i = 0; i < 32; ++i) {
        hash[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    }
    return hash;
}

std::string Base64(std::string_view bytes, bool pad) {
    std::string out;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 | (i < n ? static_cast<unsigned char>(bytes[at + i]) : 0u);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            if (i <= n) {
                out += kAlphabet[(group >> (18 - 6 * i)) & 0x3f];
            } else if (pad) {
                out += '=';
            }
        }
    }
    return out;
}

std::optional<std::string> FromBase64(std::string_view text) {
    std::string out;
    std::uint32_t group = 0;
    int bits = 0;
    bool ended = false;
    for (const char ch : text) {
        if (ch == '\r' || ch == '\n' || ch == ' ' || ch == '\t') {
            continue;
        }
        if (ch == '=') {
            ended = true;
            continue;
        }
        const char* found = std::char_traits<char>::find(kAlphabet, 64, ch);
        if (found == nullptr || ended) {
            return std::nullopt;
        }
        group = group << 6 | static_cast<std::uint32_t>(found - kAlphabet);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out += static_cast<char>((group >> bits) & 0xff);
        }
    }
    return out;
}

std::string SshHostKeyFingerprint(std::string_view keyBlob) {
    return "SHA256:" + Base64(Bytes(Sha256(keyBlob)), false);
}

std::optional<CertificateFingerprints> FingerprintsOfPem(std::string_view pem) {
    constexpr std::string_view kBegin = "-----BEGIN CERTIFICATE-----";
    constexpr std::string_view kEnd = "-----END CERTIFICATE-----";
    const std::size_t begin = pem.find(kBegin);
    const std::size_t end = pem.find(kEnd, begin == std::string_view::npos ? 0 : begin);
    if (begin == std::string_view::npos || end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<std::string> der =
        FromBase64(pem.substr(begin + kBegin.size(), end - begin - kBegin.size()));
    return der ? FingerprintsOfDer(*der) : std::nullopt;
}

std::optional<CertificateFingerprints> FingerprintsOfDer(std::string_view der) {
    const std::optional<std::string_view> key = PublicKeyInfo(der);
    if (!key) {
        return std::nullopt;
    }
    CertificateFingerprints out{"sha256//" + Base64(Bytes(Sha256(*key))), {}};
    constexpr char kHex[] = "0123456789ABCDEF";
    for (const std::uint8_t byte : Sha256(der)) {
        if (!out.Certificate.empty()) {
            out.Certificate += ':';
        }
        out.Certificate += kHex[byte >> 4];
        out.Certificate += kHex[byte & 0xf];
    }
    return out;
}

std::u16string StoredFingerprint(std::u16string_view store, std::u16string_view name) {
    for (const std::u16string& entry : Split(store, u";")) {
        const std::u16string trimmed = Trim(entry);
        const std::size_t blank = trimmed.find(u' ');
        if (!name.empty() && blank != std::u16string::npos && trimmed.substr(0, blank) == name) {
            return Trim(trimmed.substr(blank + 1));
        }
    }
    return {};
}

std::u16string WithStoredFingerprint(std::u16string_view store, std::u16string_view name,
                                     std::u16string_view fingerprint) {
    const std::u16string prefix = std::u16string(name) + u" ";
    std::vector<std::u16string> kept;
    for (const std::u16string& entry : Split(store, u";")) {
        const std::u16string trimmed = Trim(entry);
        if (!trimmed.empty() && (name.empty() || !trimmed.starts_with(prefix))) {
            kept.push_back(trimmed);
        }
    }
    if (!name.empty() && !Trim(fingerprint).empty()) {
        kept.push_back(prefix + Trim(fingerprint));
    }
    return Join(kept, u"; ");
}

}  // namespace tesselex
