// One HTTP request through libcurl (UrlRequest.h). Transfers run on libcurl's multi interface
// so a chunk is handed out as soon as it arrives, without holding the whole reply first.

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "config/CodePage.h"
#include "config/CurlSession.h"
#include "config/Fingerprint.h"
#include "config/Strings.h"
#include "config/UrlRequest.h"

namespace tesselex {
namespace {

// A dead server must not hang the program: a connect limit, a stall limit, and an overall limit
// (kTransferLimit) so a server dripping a byte now and then cannot hold a fetch for ever.
constexpr long kConnectTimeoutSeconds = 30;
constexpr long kStallSeconds = 60;
constexpr int kPollMilliseconds = 1000;

std::string NoProxyList() {
    // Local addresses never go through a proxy, as the system's own proxy settings arrange.
    std::string list = "localhost,127.0.0.1,::1";
    for (const char* name : {"no_proxy", "NO_PROXY"}) {
        if (const char* value = std::getenv(name); value != nullptr && *value != '\0') {
            list += ',';
            list += value;
            break;
        }
    }
    return list;
}

size_t CollectBody(char* data, size_t size, size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

// A key that matches no certificate: a connection pinned to it stops right after the handshake,
// before anything is sent, with the certificate read (as the uploads' Identify does).
constexpr char kNoPin[] = "sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=";

bool CertificateRefused(CURLcode code) {
    return code == CURLE_PEER_FAILED_VERIFICATION || code == CURLE_SSL_PINNEDPUBKEYNOTMATCH ||
           code == CURLE_SSL_CACERT_BADFILE;
}

// The server's certificate (DER) from the handle's certificate information, or empty.
std::string CertificateOf(CURL* easy) {
    curl_certinfo* chain = nullptr;
    curl_easy_getinfo(easy, CURLINFO_CERTINFO, &chain);
    if (chain == nullptr || chain->num_of_certs <= 0) {
        return {};
    }
    constexpr std::string_view kBegin = "-----BEGIN CERTIFICATE-----";
    constexpr std::string_view kEnd = "-----END CERTIFICATE-----";
    for (curl_slist* item = chain->certinfo[0]; item != nullptr; item = item->next) {
        const std::string_view line(item->data);
        const std::size_t begin = line.find(kBegin);
        const std::size_t end = line.find(kEnd);
        if (line.starts_with("Cert:") && begin != std::string_view::npos &&
            end != std::string_view::npos && end > begin) {
            const auto der =
                FromBase64(line.substr(begin + kBegin.size(), end - begin - kBegin.size()));
            return der.value_or(std::string());
        }
    }
    return {};
}

// The settings every connection to the export server shares: where it may go and how long it
// may take.
void CommonOptions(CURL* easy, const std::string& noProxy, std::chrono::seconds limit,
                   char* errorText) {
    curl_easy_setopt(easy, CURLOPT_NOPROXY, noProxy.c_str());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, kStallSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::chrono::milliseconds(limit).count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText);
}

// Connects to the https server of the address and reads its certificate in the handshake; the
// pin that matches nothing ends the connection before a byte of a request is sent.
Outcome<std::string> PeekCertificate(const std::string& url, std::chrono::seconds limit) {
    detail::CurlEasy easy = detail::NewCurlEasy();
    if (!easy) {
        return Fault{FaultKind::NoConnection, u"libcurl cannot be set up", 0};
    }
    char errorText[CURL_ERROR_SIZE] = {};
    const std::string noProxy = NoProxyList();
    CURL* e = easy.get();
    curl_easy_setopt(e, CURLOPT_URL, url.c_str());
    curl_easy_setopt(e, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(e, CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(e, CURLOPT_CERTINFO, 1L);
    curl_easy_setopt(e, CURLOPT_PINNEDPUBLICKEY, kNoPin);
    curl_easy_setopt(e, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(e, CURLOPT_SSL_VERIFYHOST, 0L);
    CommonOptions(e, noProxy, limit, errorText);
    const CURLcode code = curl_easy_perform(e);
    std::string der = CertificateOf(e);
    if (!der.empty()) {
        return der;
    }
    const std::u16string words =
        AnsiToText(errorText[0] != '\0' ? std::string(errorText) : curl_easy_strerror(code));
    return Fault{code == CURLE_OPERATION_TIMEDOUT ? FaultKind::TimedOut : FaultKind::NoConnection,
                 code == CURLE_OK ? u"the server showed no certificate" : words, 0};
}

}  // namespace

struct UrlRequest::Transfer {
    Transfer() = default;
    ~Transfer() {
        if (multi != nullptr) {
            if (easy) {
                curl_multi_remove_handle(multi, easy.get());
            }
            curl_multi_cleanup(multi);
        }
        curl_slist_free_all(headers);
    }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    // Runs the transfer until at least one unread byte is held or it has ended.
    void FillBuffer() {
        while (!done && consumed >= buffer.size()) {
            Pump();
        }
    }
    void Pump();

    detail::CurlEasy easy;
    CURLM* multi = nullptr;
    curl_slist* headers = nullptr;
    std::string url;
    std::string noProxy;
    std::string pinned;
    std::string caFile;
    std::string buffer;
    std::size_t consumed = 0;
    bool done = false;
    CURLcode result = CURLE_OK;
    char errorText[CURL_ERROR_SIZE] = {};
};

void UrlRequest::Transfer::Pump() {
    int running = 0;
    if (curl_multi_perform(multi, &running) != CURLM_OK) {
        done = true;
        result = CURLE_FAILED_INIT;
        return;
    }
    if (running == 0) {
        int left = 0;
        done = true;
        while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
            if (message->msg == CURLMSG_DONE) {
                result = message->data.result;
            }
        }
        return;
    }
    curl_multi_poll(multi, nullptr, 0, kPollMilliseconds, nullptr);
}

UrlRequest::UrlRequest() : transfer_(std::make_unique<Transfer>()) {}

UrlRequest::~UrlRequest() = default;

bool UrlRequest::Start(std::u16string_view address, std::chrono::seconds limit,
                       const ServerTrust& trust) {
    Transfer& t = *transfer_;
    t.easy = detail::NewCurlEasy();
    t.multi = curl_multi_init();
    if (!t.easy || t.multi == nullptr || address.empty()) {
        return false;
    }
    CURL* easy = t.easy.get();
    t.url = detail::ToNetworkBytes(address);
    t.noProxy = NoProxyList();
    // Always the server's current reply, never one kept by a cache on the way.
    t.headers = curl_slist_append(t.headers, "Cache-Control: no-cache");
    t.headers = curl_slist_append(t.headers, "Pragma: no-cache");
    curl_easy_setopt(easy, CURLOPT_URL, t.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "LGGW");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, t.headers);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 10L);
    CommonOptions(easy, t.noProxy, limit, t.errorText);
    // An https server is verified by libcurl's CA bundle (the system's trust store) for the name
    // in the address, by the CA file instead, or by its pinned key alone: a pin is the stronger
    // check (only the holder of that one key passes), and it is what a server with its own
    // certificate authority or a self-signed certificate is trusted by, so no store is asked
    // then, as the uploads do. The certificate is kept to name the key of a refused one.
    curl_easy_setopt(easy, CURLOPT_CERTINFO, 1L);
    t.pinned = TextToAnsi(Trim(trust.Pinned));
    t.caFile = trust.CaFile.string();
    detail::TrustTlsServer(easy, t.pinned, t.caFile);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, CollectBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &t.buffer);
    if (curl_multi_add_handle(t.multi, easy) != CURLM_OK) {
        return false;
    }
    t.FillBuffer();
    // An open request is one the server answered; a refused or failed one is no handle.
    return !Failed() || t.consumed < t.buffer.size();
}

std::string UrlRequest::Read() {
    Transfer& t = *transfer_;
    if (t.multi == nullptr) {
        return {};
    }
    t.FillBuffer();
    const std::size_t count = std::min(kChunkBytes, t.buffer.size() - t.consumed);
    std::string bytes = t.buffer.substr(t.consumed, count);
    t.consumed += count;
    if (t.consumed == t.buffer.size()) {
        t.buffer.clear();
        t.consumed = 0;
    }
    return bytes;
}

bool UrlRequest::Failed() const {
    return transfer_->done && transfer_->result != CURLE_OK;
}

bool UrlRequest::TimedOut() const {
    return transfer_->result == CURLE_OPERATION_TIMEDOUT;
}

int UrlRequest::Status() const {
    long status = 0;
    if (transfer_->easy) {
        curl_easy_getinfo(transfer_->easy.get(), CURLINFO_RESPONSE_CODE, &status);
    }
    return static_cast<int>(status);
}

bool UrlRequest::Untrusted() const {
    return transfer_->done && CertificateRefused(transfer_->result);
}

std::string UrlRequest::ServerCertificate() {
    Transfer& t = *transfer_;
    if (!t.easy) {
        return {};
    }
    // A verifying handshake that failed kept nothing: the certificate is read again.
    std::string der = CertificateOf(t.easy.get());
    if (der.empty()) {
        Outcome<std::string> peeked = PeekCertificate(t.url, std::chrono::seconds(kStallSeconds));
        der = peeked ? std::move(peeked).Value() : std::string();
    }
    return der;
}

Outcome<std::string> ReadServerCertificate(std::u16string_view address,
                                           std::chrono::seconds limit) {
    if (!StartsWithNoCase(Trim(address), u"https://")) {
        return Fault{FaultKind::BadData, u"not an https address: " + std::u16string(address), 0};
    }
    return PeekCertificate(detail::ToNetworkBytes(Trim(address)), limit);
}

std::u16string UrlRequest::Reason() const {
    const Transfer& t = *transfer_;
    return AnsiToText(t.errorText[0] != '\0' ? std::string(t.errorText)
                                             : std::string(curl_easy_strerror(t.result)));
}

}  // namespace tesselex
