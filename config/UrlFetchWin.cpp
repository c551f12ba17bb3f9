// The HTTP fetch of the shared routines through the Windows Internet functions, which follow
// the system's proxy settings and certificate store. A chunk is handed out as soon as any
// bytes of it have arrived.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>

#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/WinInetHandle.h"

namespace tesselex {
namespace {

constexpr DWORD kChunkBytes = 8192;
// A dead server must not hang the program: a connect limit, a stall limit, and an overall limit
// (kTransferLimit) so a server dripping a byte now and then cannot hold a fetch for ever.
constexpr DWORD kConnectMilliseconds = 30'000;
constexpr DWORD kStallMilliseconds = 60'000;

DWORD Milliseconds(std::chrono::seconds limit) {
    return static_cast<DWORD>(std::chrono::milliseconds(limit).count());
}

// The system's words for an Internet function's error code.
std::u16string ErrorWords(DWORD code) {
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM |
            FORMAT_MESSAGE_IGNORE_INSERTS,
        GetModuleHandleW(L"wininet.dll"), code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::u16string words;
    if (length > 0 && text != nullptr) {
        words.assign(reinterpret_cast<const char16_t*>(text), length);
        LocalFree(text);
    }
    words = Trim(words);
    const std::u16string number = FromAscii(std::to_string(code));
    return words.empty() ? u"error " + number : words + u" (" + number + u")";
}

}  // namespace

class UrlRequest {
  public:
    bool Start(std::u16string_view address, std::chrono::seconds limit);
    // The next bytes of the reply, as soon as any arrive; empty at its end or on failure
    // (Failed() tells which).
    std::string Read();
    bool Failed() const { return error_ != 0; }
    DWORD Error() const { return error_; }
    int Status() const { return status_; }

  private:
    detail::InternetHandle session_;
    detail::InternetHandle request_;
    std::chrono::steady_clock::time_point deadline_;
    DWORD error_ = 0;
    int status_ = 0;
};

bool UrlRequest::Start(std::u16string_view address, std::chrono::seconds limit) {
    deadline_ = std::chrono::steady_clock::now() + limit;
    const std::u16string url = Trim(address);
    // Only http and https are fetched (a redirect elsewhere is not followed either).
    if (!StartsWithNoCase(url, u"http://") && !StartsWithNoCase(url, u"https://")) {
        error_ = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        return false;
    }
    const DWORD wait = std::min(kStallMilliseconds, Milliseconds(limit));
    session_ = detail::NewInternetSession(std::min(kConnectMilliseconds, wait), wait);
    if (!session_) {
        error_ = GetLastError();
        return false;
    }
    // Always the server's current reply, never one kept by a cache on the way.
    static constexpr wchar_t kHeaders[] = L"Cache-Control: no-cache\r\nPragma: no-cache\r\n";
    constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                             INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_UI |
                             INTERNET_FLAG_NO_COOKIES;
    request_.reset(InternetOpenUrlW(session_.get(), detail::Wide(url), kHeaders,
                                    static_cast<DWORD>(-1), kFlags, 0));
    if (!request_) {
        error_ = GetLastError();
        return false;
    }
    DWORD status = 0;
    DWORD size = sizeof status;
    if (HttpQueryInfoW(request_.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status,
                       &size, nullptr)) {
        status_ = static_cast<int>(status);
    }
    // A redirect still standing is one to an address that is not fetched (file:, ftp:).
    if (status_ >= 300 && status_ < 400) {
        error_ = ERROR_INTERNET_UNRECOGNIZED_SCHEME;
        return false;
    }
    return true;
}

std::string UrlRequest::Read() {
    if (Failed() || !request_) {
        return {};
    }
    if (std::chrono::steady_clock::now() >= deadline_) {
        error_ = ERROR_INTERNET_TIMEOUT;
        return {};
    }
    // Asking what has arrived first hands out a dripping reply byte by byte instead of waiting
    // for a full buffer, so the overall limit is checked between the bytes.
    DWORD available = 0;
    if (!InternetQueryDataAvailable(request_.get(), &available, 0, 0)) {
        error_ = GetLastError();
        return {};
    }
    if (available == 0) {
        return {};
    }
    std::string bytes(std::min(available, kChunkBytes), '\0');
    DWORD read = 0;
    if (!InternetReadFile(request_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read)) {
        error_ = GetLastError();
        read = 0;
    }
    bytes.resize(read);
    return bytes;
}

UrlHandle OpenUrl(std::u16string_view address) {
    try {
        auto request = std::make_shared<UrlRequest>();
        return request->Start(address, kTransferLimit) ? request : nullptr;
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
        const std::string bytes = handle->Read();
        if (!bytes.empty()) {
            chunk = AnsiToText(bytes);
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
        auto request = std::make_shared<UrlRequest>();
        const bool opened = request->Start(address, limit);
        UrlHandle handle = opened ? request : nullptr;
        std::u16string chunk;
        while (ReadChunk(handle, chunk)) {
            result.Body += chunk;
        }
        result.HttpStatus = request->Status();
        if (address.empty()) {
            result.Failure = NetFailure::NoConnection;
            result.Reason = u"no address";
        } else if (request->Failed()) {
            result.Failure = request->Error() == ERROR_INTERNET_TIMEOUT ? NetFailure::TimedOut
                                                                        : NetFailure::NoConnection;
            result.Reason = ErrorWords(request->Error());
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
