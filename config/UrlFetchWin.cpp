// The HTTP fetch of the shared routines through the Windows Internet functions, which follow
// the system's proxy settings and certificate store. A chunk is handed out as soon as
// InternetReadFile gives it.

#include <fstream>

#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/WinInetHandle.h"

namespace tesselex {
namespace {

constexpr DWORD kChunkBytes = 8192;
// A dead server must not hang the program; a slow but living one may take as long as it needs.
constexpr DWORD kConnectMilliseconds = 30'000;
constexpr DWORD kStallMilliseconds = 60'000;

}  // namespace

class UrlRequest {
  public:
    bool Start(std::u16string_view address);
    // The next bytes of the reply; empty at its end or on failure (Failed() tells which).
    std::string Read();
    bool Failed() const { return failed_; }

  private:
    detail::InternetHandle session_;
    detail::InternetHandle request_;
    bool failed_ = false;
};

bool UrlRequest::Start(std::u16string_view address) {
    const std::u16string url = Trim(address);
    if (!StartsWithNoCase(url, u"http://") && !StartsWithNoCase(url, u"https://")) {
        return false;
    }
    session_ = detail::NewInternetSession(kConnectMilliseconds, kStallMilliseconds);
    if (!session_) {
        return false;
    }
    // Always the server's current reply, never one kept by a cache on the way.
    static constexpr wchar_t kHeaders[] = L"Cache-Control: no-cache\r\nPragma: no-cache\r\n";
    constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                             INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_UI |
                             INTERNET_FLAG_NO_COOKIES;
    request_.reset(InternetOpenUrlW(session_.get(), detail::Wide(url), kHeaders,
                                    static_cast<DWORD>(-1), kFlags, 0));
    return static_cast<bool>(request_);
}

std::string UrlRequest::Read() {
    std::string bytes(kChunkBytes, '\0');
    DWORD read = 0;
    if (!InternetReadFile(request_.get(), bytes.data(), kChunkBytes, &read)) {
        failed_ = true;
        read = 0;
    }
    bytes.resize(read);
    return bytes;
}

UrlHandle OpenUrl(std::u16string_view address) {
    try {
        auto request = std::make_shared<UrlRequest>();
        return request->Start(address) ? request : nullptr;
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
