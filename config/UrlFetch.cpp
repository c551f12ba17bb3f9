// The HTTP fetch of the shared routines: a request read chunk by chunk, the whole reply, and
// the reply saved to a temporary file. Transfers run on libcurl's multi interface so a chunk
// is handed out as soon as it arrives, without holding the whole reply first.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>

#include "config/CodePage.h"
#include "config/CurlSession.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

constexpr std::size_t kChunkBytes = 8192;
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

class UrlRequest {
  public:
    UrlRequest() = default;
    ~UrlRequest() {
        if (multi_ != nullptr) {
            if (easy_) {
                curl_multi_remove_handle(multi_, easy_.get());
            }
            curl_multi_cleanup(multi_);
        }
        curl_slist_free_all(headers_);
    }
    UrlRequest(const UrlRequest&) = delete;
    UrlRequest& operator=(const UrlRequest&) = delete;

    bool Start(std::u16string_view address, std::chrono::seconds limit);
    // Runs the transfer until at least one unread byte is held or it has ended.
    void FillBuffer();
    // Up to `limit` unread bytes, removed from the buffer.
    std::string Take(std::size_t limit);
    bool HasData() const { return consumed_ < buffer_.size(); }
    bool Failed() const { return done_ && result_ != CURLE_OK; }
    CURLcode Result() const { return result_; }
    long Status() const {
        long status = 0;
        if (!easy_) {
            return 0;
        }
        curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }
    std::string ErrorText() const {
        return errorText_[0] != '\0' ? std::string(errorText_) : curl_easy_strerror(result_);
    }

  private:
    void Pump();

    detail::CurlEasy easy_;
    CURLM* multi_ = nullptr;
    curl_slist* headers_ = nullptr;
    std::string url_;
    std::string noProxy_;
    std::string buffer_;
    std::size_t consumed_ = 0;
    bool done_ = false;
    CURLcode result_ = CURLE_OK;
    char errorText_[CURL_ERROR_SIZE] = {};
};

bool UrlRequest::Start(std::u16string_view address, std::chrono::seconds limit) {
    easy_ = detail::NewCurlEasy();
    multi_ = curl_multi_init();
    if (!easy_ || multi_ == nullptr || address.empty()) {
        return false;
    }
    CURL* easy = easy_.get();
    url_ = detail::ToNetworkBytes(address);
    noProxy_ = NoProxyList();
    // Always the server's current reply, never one kept by a cache on the way.
    headers_ = curl_slist_append(headers_, "Cache-Control: no-cache");
    headers_ = curl_slist_append(headers_, "Pragma: no-cache");
    curl_easy_setopt(easy, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "LGGW");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 10L);
    curl_easy_setopt(easy, CURLOPT_NOPROXY, noProxy_.c_str());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, kStallSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::chrono::milliseconds(limit).count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, CollectBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &buffer_);
    if (curl_multi_add_handle(multi_, easy) != CURLM_OK) {
        return false;
    }
    FillBuffer();
    // An open request is one the server answered; a refused or failed one is no handle.
    return !Failed() || HasData();
}

void UrlRequest::Pump() {
    int running = 0;
    if (curl_multi_perform(multi_, &running) != CURLM_OK) {
        done_ = true;
        result_ = CURLE_FAILED_INIT;
        return;
    }
    if (running == 0) {
        int left = 0;
        done_ = true;
        while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
            if (message->msg == CURLMSG_DONE) {
                result_ = message->data.result;
            }
        }
        return;
    }
    curl_multi_poll(multi_, nullptr, 0, kPollMilliseconds, nullptr);
}

void UrlRequest::FillBuffer() {
    while (!done_ && !HasData()) {
        Pump();
    }
}

std::string UrlRequest::Take(std::size_t limit) {
    const std::size_t count = std::min(limit, buffer_.size() - consumed_);
    std::string bytes = buffer_.substr(consumed_, count);
    consumed_ += count;
    if (consumed_ == buffer_.size()) {
        buffer_.clear();
        consumed_ = 0;
    }
    return bytes;
}

namespace {

// The request, whether or not it could be opened; null only when libcurl cannot be set up.
std::shared_ptr<UrlRequest> StartRequest(std::u16string_view address, std::chrono::seconds limit,
                                         bool& opened) {
    auto request = std::make_shared<UrlRequest>();
    opened = request->Start(address, limit);
    return request;
}

}  // namespace

UrlHandle OpenUrl(std::u16string_view address) {
    try {
        bool opened = false;
        auto request = StartRequest(address, kTransferLimit, opened);
        return opened ? request : nullptr;
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool ReadChunk(UrlHandle& handle, std::u16string& chunk) {
    chunk.clear();
    if (!handle) {
        return false;
    }
    try {
        handle->FillBuffer();
        if (handle->HasData()) {
            chunk = AnsiToText(handle->Take(kChunkBytes));
            return true;
        }
    } catch (const std::exception&) {
        chunk.clear();
    }
    handle.reset();
    return false;
}

std::u16string FetchUrl(std::u16string_view address) {
    UrlHandle handle = OpenUrl(address);
    if (!handle) {
        return {};
    }
    // ReadChunk drops its handle at the end; this one tells afterwards how the transfer ended.
    const UrlHandle request = handle;
    std::u16string reply;
    std::u16string chunk;
    while (ReadChunk(handle, chunk)) {
        reply += chunk;
    }
    if (request->Failed()) {
        return {};
    }
    return reply;
}

FetchResult FetchUrlResult(std::u16string_view address, std::chrono::seconds limit) {
    FetchResult result;
    try {
        bool opened = false;
        UrlHandle handle = StartRequest(address, limit, opened);
        const UrlHandle request = handle;
        std::u16string chunk;
        while (opened && ReadChunk(handle, chunk)) {
            result.Body += chunk;
        }
        result.HttpStatus = static_cast<int>(request->Status());
        if (address.empty()) {
            result.Failure = NetFailure::NoConnection;
            result.Reason = u"no address";
        } else if (request->Failed() || !opened) {
            const CURLcode code = request->Result();
            result.Failure =
                code == CURLE_OPERATION_TIMEDOUT ? NetFailure::TimedOut : NetFailure::NoConnection;
            result.Reason = AnsiToText(request->ErrorText());
            result.Body.clear();
        } else if (result.HttpStatus >= 400) {
            result.Failure = NetFailure::HttpStatus;
            result.Reason = u"HTTP " + FromAscii(std::to_string(result.HttpStatus));
        } else if (result.Body.empty()) {
            result.Failure = NetFailure::EmptyReply;
            result.Reason = u"empty reply";
        }
    } catch (const std::exception& error) {
        result = FetchResult{};
        result.Failure = NetFailure::NoConnection;
        result.Reason = AnsiToText(error.what());
    }
    return result;
}

std::filesystem::path FetchToTempFile(std::u16string_view address) {
    const std::u16string reply = FetchUrl(address);
    if (reply.empty() || FindNoCase(reply, u"<html>") != std::u16string::npos) {
        return {};
    }
    std::filesystem::path path = TempFileName(u"XX");
    if (path.empty()) {
        return {};
    }
    const std::string bytes = TextToAnsi(NormaliseLineEnds(reply));
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        std::error_code ec;
        std::filesystem::remove(path, ec);
        return {};
    }
    return path;
}

}  // namespace tesselex
