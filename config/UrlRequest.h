#pragma once
// Private to the shared routines: one HTTP or HTTPS request whose reply is read as it arrives.
// This is the platform's part of the fetch (libcurl in UrlRequestCurl.cpp, the Windows Internet
// functions in UrlRequestWin.cpp); the routines built on it are the same everywhere
// (UrlFetch.cpp), so every platform gives the same results on every failure.

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tesselex {

class UrlRequest {
  public:
    // The most bytes one Read hands out.
    static constexpr std::size_t kChunkBytes = 8192;

    UrlRequest();
    ~UrlRequest();
    UrlRequest(const UrlRequest&) = delete;
    UrlRequest& operator=(const UrlRequest&) = delete;

    // Sends the request, which may take no longer than `limit` as a whole (besides the connect
    // and stall limits); false when no reply could be opened. Only http and https are fetched,
    // and a redirect to another scheme is not followed. No cache answers in the server's place.
    bool Start(std::u16string_view address, std::chrono::seconds limit);
    // The next bytes of the reply as soon as any have arrived; empty at its end or on failure.
    std::string Read();
    bool Failed() const;
    bool TimedOut() const;
    // The HTTP status of the reply, 0 before one came.
    int Status() const;
    // Why the request failed, in the platform's (English) words.
    std::u16string Reason() const;

  private:
    struct Transfer;
    std::unique_ptr<Transfer> transfer_;
};

}  // namespace tesselex
