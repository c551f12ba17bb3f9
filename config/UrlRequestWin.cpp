// One HTTP request through the Windows Internet functions (UrlRequest.h), which follow the
// system's proxy settings and certificate store. A chunk is handed out as soon as any bytes of
// it have arrived. An https server is verified by the system; a pinned key or a CA file is
// checked here against the certificate the system hands over (crypt32).

#include <windows.h>
// after windows.h, which it needs
#include <wincrypt.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

#include "config/CodePage.h"
#include "config/Fingerprint.h"
#include "config/Strings.h"
#include "config/UrlRequest.h"
#include "config/Utf.h"
#include "config/WinInetHandle.h"

namespace tesselex {
namespace {

// A dead server must not hang the program: a connect limit, a stall limit, and an overall limit
// (kTransferLimit) so a server dripping a byte now and then cannot hold a fetch for ever.
constexpr DWORD kConnectMilliseconds = 30'000;
constexpr DWORD kStallMilliseconds = 60'000;

DWORD Milliseconds(std::chrono::seconds limit) {
    return static_cast<DWORD>(std::chrono::milliseconds(limit).count());
}

bool CertificateError(DWORD error) {
    switch (error) {
        case ERROR_INTERNET_INVALID_CA:
        case ERROR_INTERNET_SEC_CERT_CN_INVALID:
        case ERROR_INTERNET_SEC_CERT_DATE_INVALID:
        case ERROR_INTERNET_SEC_CERT_ERRORS:
        case ERROR_INTERNET_SEC_INVALID_CERT:
        case ERROR_INTERNET_SEC_CERT_REVOKED:
        case ERROR_INTERNET_SEC_CERT_NO_REV:
        case ERROR_INTERNET_SEC_CERT_REV_FAILED:
            return true;
        default:
            return false;
    }
}

// The errors a pin answers for: the pinned key is trusted whoever signed the certificate and
// whatever names and dates it holds, as libcurl's pin does.
constexpr DWORD kPinnedIgnores = SECURITY_FLAG_IGNORE_UNKNOWN_CA |
                                 SECURITY_FLAG_IGNORE_CERT_CN_INVALID |
                                 SECURITY_FLAG_IGNORE_CERT_DATE_INVALID |
                                 SECURITY_FLAG_IGNORE_WRONG_USAGE | SECURITY_FLAG_IGNORE_REVOCATION;

struct ChainFree {
    void operator()(PCCERT_CHAIN_CONTEXT chain) const noexcept { CertFreeCertificateChain(chain); }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainFree>;
struct StoreClose {
    void operator()(HCERTSTORE store) const noexcept { CertCloseStore(store, 0); }
};
using Store = std::unique_ptr<void, StoreClose>;

// The server's certificate chain as the system saw it on the request; null when it hands none
// over (Wine does only once a request has been sent).
Chain ServerChain(HINTERNET request) {
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    DWORD size = sizeof chain;
    if (!InternetQueryOptionW(request, INTERNET_OPTION_SERVER_CERT_CHAIN_CONTEXT, &chain, &size)) {
        return nullptr;
    }
    return Chain(chain);
}

// Whether the certificate (DER) holds the pinned public key.
bool HoldsPinnedKey(const std::string& der, const std::u16string& pinned) {
    const std::optional<CertificateFingerprints> prints = FingerprintsOfDer(der);
    return prints && FromAscii(prints->Pin) == pinned;
}

PCCERT_CONTEXT Leaf(const Chain& chain) {
    if (!chain || chain->cChain == 0 || chain->rgpChain[0]->cElement == 0) {
        return nullptr;
    }
    return chain->rgpChain[0]->rgpElement[0]->pCertContext;
}

std::string DerOf(PCCERT_CONTEXT certificate) {
    return certificate == nullptr
               ? std::string()
               : std::string(reinterpret_cast<const char*>(certificate->pbCertEncoded),
                             certificate->cbCertEncoded);
}

// The certificates of a PEM file in a store of their own; null when the file holds none.
Store CertificatesOf(const std::filesystem::path& file) {
    const Outcome<std::u16string> text = FileContents(file);
    if (!text) {
        return nullptr;
    }
    const std::string pem = TextToAnsi(text.Value());
    Store store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    constexpr std::string_view kBegin = "-----BEGIN CERTIFICATE-----";
    constexpr std::string_view kEnd = "-----END CERTIFICATE-----";
    bool any = false;
    for (std::size_t at = pem.find(kBegin); store && at != std::string::npos;
         at = pem.find(kBegin, at + 1)) {
        const std::size_t end = pem.find(kEnd, at);
        if (end == std::string::npos) {
            break;
        }
        const std::optional<std::string> der =
            FromBase64(std::string_view(pem).substr(at + kBegin.size(), end - at - kBegin.size()));
        if (der && CertAddEncodedCertificateToStore(
                       store.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der->data()),
                       static_cast<DWORD>(der->size()), CERT_STORE_ADD_ALWAYS, nullptr)) {
            any = true;
        }
    }
    return any ? std::move(store) : nullptr;
}

// Whether the certificate chains up to one of the CA file's certificates with valid signatures
// and dates. The system checked the name already (only an unknown authority is let through).
bool VerifiedByFile(PCCERT_CONTEXT leaf, const std::filesystem::path& file) {
    const Store authorities = CertificatesOf(file);
    if (!authorities || leaf == nullptr) {
        return false;
    }
    CERT_CHAIN_PARA para{};
    para.cbSize = sizeof para;
    PCCERT_CHAIN_CONTEXT built = nullptr;
    if (!CertGetCertificateChain(nullptr, leaf, nullptr, authorities.get(), &para, 0, nullptr,
                                 &built)) {
        return false;
    }
    const Chain chain(built);
    const CERT_SIMPLE_CHAIN* simple = chain->cChain > 0 ? chain->rgpChain[0] : nullptr;
    if (simple == nullptr || simple->cElement == 0) {
        return false;
    }
    const PCCERT_CONTEXT root = simple->rgpElement[simple->cElement - 1]->pCertContext;
    PCCERT_CONTEXT found = CertFindCertificateInStore(authorities.get(), X509_ASN_ENCODING, 0,
                                                      CERT_FIND_EXISTING, root, nullptr);
    if (found == nullptr) {
        return false;
    }
    CertFreeCertificateContext(found);
    // The file's authority is trusted here though the system does not know it; revocation
    // cannot be asked of a private authority.
    constexpr DWORD kExpected = CERT_TRUST_IS_UNTRUSTED_ROOT |
                                CERT_TRUST_REVOCATION_STATUS_UNKNOWN |
                                CERT_TRUST_IS_OFFLINE_REVOCATION;
    return (chain->TrustStatus.dwErrorStatus & ~kExpected) == 0;
}

}  // namespace

namespace {

// Always the server's current reply, never one kept by a cache on the way.
constexpr wchar_t kHeaders[] = L"Cache-Control: no-cache\r\nPragma: no-cache\r\n";
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                         INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_UI |
                         INTERNET_FLAG_NO_COOKIES;

// A request of the address on a session of its own, opened and not yet sent.
struct Opened {
    detail::InternetHandle session;
    detail::InternetHandle connection;
    detail::InternetHandle request;
};

// Opens the request; the Internet functions' error code, or 0.
DWORD OpenRequest(const std::u16string& url, const wchar_t* verb, DWORD waitMs, Opened& out) {
    out.session = detail::NewInternetSession(std::min(kConnectMilliseconds, waitMs), waitMs);
    if (!out.session) {
        return GetLastError();
    }
    URL_COMPONENTSW parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = 1;
    parts.dwUserNameLength = parts.dwPasswordLength = 1;
    if (!InternetCrackUrlW(detail::Wide(url), 0, 0, &parts)) {
        return GetLastError();
    }
    const auto piece = [](const wchar_t* text, DWORD length) {
        return text == nullptr ? std::wstring() : std::wstring(text, length);
    };
    const std::wstring host = piece(parts.lpszHostName, parts.dwHostNameLength);
    const std::wstring user = piece(parts.lpszUserName, parts.dwUserNameLength);
    const std::wstring password = piece(parts.lpszPassword, parts.dwPasswordLength);
    std::wstring path = piece(parts.lpszUrlPath, parts.dwUrlPathLength) +
                        piece(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    if (path.empty()) {
        path = L"/";
    }
    out.connection.reset(InternetConnectW(
        out.session.get(), host.c_str(), parts.nPort, user.empty() ? nullptr : user.c_str(),
        password.empty() ? nullptr : password.c_str(), INTERNET_SERVICE_HTTP, 0, 0));
    if (!out.connection) {
        return GetLastError();
    }
    const DWORD flags =
        kFlags | (parts.nScheme == INTERNET_SCHEME_HTTPS ? INTERNET_FLAG_SECURE : 0);
    out.request.reset(HttpOpenRequestW(out.connection.get(), verb, path.c_str(), nullptr, nullptr,
                                       nullptr, flags, 0));
    return out.request ? 0 : GetLastError();
}

bool SendRequest(HINTERNET request) {
    return HttpSendRequestW(request, kHeaders, static_cast<DWORD>(-1), nullptr, 0);
}

bool IgnoreCertificateErrors(HINTERNET request, DWORD ignore) {
    DWORD flags = 0;
    DWORD size = sizeof flags;
    InternetQueryOptionW(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, &size);
    flags |= ignore;
    return InternetSetOptionW(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, sizeof flags);
}

}  // namespace

struct UrlRequest::Transfer {
    Opened open;
    std::chrono::steady_clock::time_point deadline;
    DWORD error = 0;
    int status = 0;
    bool untrusted = false;
    std::u16string why;  // the refusal's own words, where the system has none
    std::string seen;    // the server's certificate (DER), once the system handed it over

    // Sends the request, verifying the server as the trust says; false when it is not answered.
    bool Send(const ServerTrust& trust);
    // Whether the certificate of the answered request is the pinned key, or chains up to the CA
    // file; without either the system's verdict stands.
    bool Accepted(const ServerTrust& trust);
    void Refuse(DWORD code, std::u16string words) {
        untrusted = true;
        error = code;
        why = std::move(words);
    }
};

bool UrlRequest::Transfer::Accepted(const ServerTrust& trust) {
    const std::u16string pinned = Trim(trust.Pinned);
    if (pinned.empty() && trust.CaFile.empty()) {
        return true;
    }
    const Chain chain = ServerChain(open.request.get());
    seen = DerOf(Leaf(chain));
    if (seen.empty()) {
        Refuse(ERROR_INTERNET_INVALID_CA, u"the system did not hand over the server's certificate");
        return false;
    }
    if (!pinned.empty()) {
        if (!HoldsPinnedKey(seen, pinned)) {
            Refuse(ERROR_INTERNET_INVALID_CA, u"the server's key is not the pinned one");
            return false;
        }
        return true;
    }
    if (!VerifiedByFile(Leaf(chain), trust.CaFile)) {
        Refuse(ERROR_INTERNET_INVALID_CA,
               u"the certificate is not signed by one of " + PathToText(trust.CaFile));
        return false;
    }
    return true;
}

bool UrlRequest::Transfer::Send(const ServerTrust& trust) {
    HINTERNET request = open.request.get();
    const bool own = !Trim(trust.Pinned).empty() || !trust.CaFile.empty();
    if (SendRequest(request)) {
        // The system remembers errors a request let through for its server (Wine does, for the
        // rest of the process): a request that makes no exception of its own must not ride on
        // one. Else verified by the system; a pin or a CA file must still vouch for it.
        DWORD flags = 0;
        DWORD size = sizeof flags;
        if (!own && InternetQueryOptionW(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, &size) &&
            (flags & kPinnedIgnores) != 0) {
            seen = DerOf(Leaf(ServerChain(request)));
            Refuse(ERROR_INTERNET_INVALID_CA,
                   u"the system let the certificate through unverified, on an exception made "
                   u"earlier for this server");
            return false;
        }
        return Accepted(trust);
    }
    error = GetLastError();
    if (!CertificateError(error)) {
        return false;
    }
    untrusted = true;
    // Some systems hand the refused certificate over at once: then nothing is sent to a server
    // that does not show the pinned key. Under Wine it comes only with an answered request.
    seen = DerOf(Leaf(ServerChain(request)));
    const bool pinned = !Trim(trust.Pinned).empty();
    if (!own) {
        return false;
    }
    if (pinned && !seen.empty() && !HoldsPinnedKey(seen, Trim(trust.Pinned))) {
        Refuse(error, u"the server's key is not the pinned one");
        return false;
    }
    // A pin answers for whoever signed the certificate and for its names and dates; a CA file
    // only for the unknown authority, whose revocation the system cannot ask. The reply is read
    // only once the certificate of this very connection has passed.
    constexpr DWORD kFileIgnores =
        SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_REVOCATION;
    if (!IgnoreCertificateErrors(request, pinned ? kPinnedIgnores : kFileIgnores) ||
        !SendRequest(request)) {
        error = GetLastError();
        untrusted = CertificateError(error);
        return false;
    }
    untrusted = false;
    error = 0;
    return Accepted(trust);
}

UrlRequest::UrlRequest() : transfer_(std::make_unique<Transfer>()) {}

UrlRequest::~UrlRequest() = default;

bool UrlRequest::Failed() const {
    return transfer_->error != 0;
}

bool UrlRequest::TimedOut() const {
    return transfer_->error == ERROR_INTERNET_TIMEOUT;
}

int UrlRequest::Status() const {
    return transfer_->status;
}

std::u16string UrlRequest::Reason() const {
    return transfer_->why.empty() ? detail::InternetErrorWords(transfer_->error) : transfer_->why;
}

bool UrlRequest::Untrusted() const {
    return transfer_->untrusted;
}

std::string UrlRequest::ServerCertificate() {
    return transfer_->seen;
}

bool UrlRequest::Start(std::u16string_view address, std::chrono::seconds limit,
                       const ServerTrust& trust) {
    Transfer& t = *transfer_;
    t.deadline = std::chrono::steady_clock::now() + limit;
    const std::u16string url = Trim(address);
    // Only http and https are fetched (a redirect elsewhere is not followed either).
    if (!StartsWithNoCase(url, u"http://") && !StartsWithNoCase(url, u"https://")) {
        t.error = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        return false;
    }
    const DWORD wait = std::min(kStallMilliseconds, Milliseconds(limit));
    if ((t.error = OpenRequest(url, L"GET", wait, t.open)) != 0 || !t.Send(trust)) {
        return false;
    }
    DWORD status = 0;
    DWORD size = sizeof status;
    if (HttpQueryInfoW(t.open.request.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER,
                       &status, &size, nullptr)) {
        t.status = static_cast<int>(status);
    }
    // A redirect still standing is one to an address that is not fetched (file:, ftp:).
    if (t.status >= 300 && t.status < 400) {
        t.error = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        return false;
    }
    return true;
}

Outcome<std::string> ReadServerCertificate(std::u16string_view address,
                                           std::chrono::seconds limit) {
    const std::u16string url = Trim(address);
    if (!StartsWithNoCase(url, u"https://")) {
        return Fault{FaultKind::BadData, u"not an https address: " + url, 0};
    }
    // The system hands the certificate over only once a request has been answered: a HEAD
    // request, whatever the certificate, and nothing read of the reply.
    Opened open;
    DWORD error =
        OpenRequest(url, L"HEAD", std::min(kStallMilliseconds, Milliseconds(limit)), open);
    if (error == 0 && (!IgnoreCertificateErrors(open.request.get(), kPinnedIgnores) ||
                       !SendRequest(open.request.get()))) {
        error = GetLastError();
    }
    std::string der = error == 0 ? DerOf(Leaf(ServerChain(open.request.get()))) : std::string();
    if (!der.empty()) {
        return der;
    }
    return Fault{
        error == ERROR_INTERNET_TIMEOUT ? FaultKind::TimedOut : FaultKind::NoConnection,
        error == 0 ? u"the server showed no certificate" : detail::InternetErrorWords(error), 0};
}

std::string UrlRequest::Read() {
    Transfer& t = *transfer_;
    if (Failed() || !t.open.request) {
        return {};
    }
    if (std::chrono::steady_clock::now() >= t.deadline) {
        t.error = ERROR_INTERNET_TIMEOUT;
        return {};
    }
    // Asking what has arrived first hands out a dripping reply byte by byte instead of waiting
    // for a full buffer, so the overall limit is checked between the bytes.
    DWORD available = 0;
    if (!InternetQueryDataAvailable(t.open.request.get(), &available, 0, 0)) {
        t.error = GetLastError();
        return {};
    }
    if (available == 0) {
        return {};
    }
    std::string bytes(std::min<DWORD>(available, static_cast<DWORD>(kChunkBytes)), '\0');
    DWORD read = 0;
    if (!InternetReadFile(t.open.request.get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                          &read)) {
        t.error = GetLastError();
        read = 0;
    }
    bytes.resize(read);
    return bytes;
}

}  // namespace tesselex
