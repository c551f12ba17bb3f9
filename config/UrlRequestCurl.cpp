// One HTTP request through libcurl (UrlRequest.h). Transfers run on libcurl's multi interface
// so a chunk is handed out as soon as it arrives, without holding the whole reply first.

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "config/CodePage.h"
#include "config/CurlSession.h"
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

bool UrlRequest::Start(std::u16string_view address, std::chrono::seconds limit) {
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
    curl_easy_setopt(easy, CURLOPT_NOPROXY, t.noProxy.c_str());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, kStallSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::chrono::milliseconds(limit).count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, t.errorText);
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

std::u16string UrlRequest::Reason() const {
    const Transfer& t = *transfer_;
    return AnsiToText(t.errorText[0] != '\0' ? std::string(t.errorText)
                                             : std::string(curl_easy_strerror(t.result)));
}

}  // namespace tesselex
