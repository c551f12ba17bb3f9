// One HTTP request through the Windows Internet functions (UrlRequest.h), which follow the
// system's proxy settings and certificate store. A chunk is handed out as soon as any bytes of
// it have arrived.

#include <algorithm>
#include <chrono>
#include <string>

#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/UrlRequest.h"
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

}  // namespace

struct UrlRequest::Transfer {
    detail::InternetHandle session;
    detail::InternetHandle request;
    std::chrono::steady_clock::time_point deadline;
    DWORD error = 0;
    int status = 0;
};

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
    return detail::InternetErrorWords(transfer_->error);
}

bool UrlRequest::Start(std::u16string_view address, std::chrono::seconds limit) {
    Transfer& t = *transfer_;
    t.deadline = std::chrono::steady_clock::now() + limit;
    const std::u16string url = Trim(address);
    // Only http and https are fetched (a redirect elsewhere is not followed either).
    if (!StartsWithNoCase(url, u"http://") && !StartsWithNoCase(url, u"https://")) {
        t.error = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        return false;
    }
    const DWORD wait = std::min(kStallMilliseconds, Milliseconds(limit));
    t.session = detail::NewInternetSession(std::min(kConnectMilliseconds, wait), wait);
    if (!t.session) {
        t.error = GetLastError();
        return false;
    }
    // Always the server's current reply, never one kept by a cache on the way.
    static constexpr wchar_t kHeaders[] = L"Cache-Control: no-cache\r\nPragma: no-cache\r\n";
    constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                             INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_UI |
                             INTERNET_FLAG_NO_COOKIES;
    t.request.reset(InternetOpenUrlW(t.session.get(), detail::Wide(url), kHeaders,
                                     static_cast<DWORD>(-1), kFlags, 0));
    if (!t.request) {
        t.error = GetLastError();
        return false;
    }
    DWORD status = 0;
    DWORD size = sizeof status;
    if (HttpQueryInfoW(t.request.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status,
                       &size, nullptr)) {
        t.status = static_cast<int>(status);
    }
    // A redirect still standing is one to an address that is not fetched (file:, ftp:).
    if (t.status >= 300 && t.status < 400) {
        t.error = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        return false;
    }
    return true;
}

std::string UrlRequest::Read() {
    Transfer& t = *transfer_;
    if (Failed() || !t.request) {
        return {};
    }
    if (std::chrono::steady_clock::now() >= t.deadline) {
        t.error = ERROR_INTERNET_TIMEOUT;
        return {};
    }
    // Asking what has arrived first hands out a dripping reply byte by byte instead of waiting
    // for a full buffer, so the overall limit is checked between the bytes.
    DWORD available = 0;
    if (!InternetQueryDataAvailable(t.request.get(), &available, 0, 0)) {
        t.error = GetLastError();
        return {};
    }
    if (available == 0) {
        return {};
    }
    std::string bytes(std::min<DWORD>(available, static_cast<DWORD>(kChunkBytes)), '\0');
    DWORD read = 0;
    if (!InternetReadFile(t.request.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read)) {
        t.error = GetLastError();
        read = 0;
    }
    bytes.resize(read);
    return bytes;
}

}  // namespace tesselex
