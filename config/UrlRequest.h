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

#include "config/Outcome.h"
#include "config/SharedRoutines.h"

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
    // An https server is verified as the trust says (SharedRoutines.h); no reply is read from
    // one that is not trusted.
    bool Start(std::u16string_view address, std::chrono::seconds limit,
               const ServerTrust& trust = {});
    // The next bytes of the reply as soon as any have arrived; empty at its end or on failure.
    std::string Read();
    bool Failed() const;
    bool TimedOut() const;
    // The HTTP status of the reply, 0 before one came.
    int Status() const;
    // Why the request failed, in the platform's (English) words.
    std::u16string Reason() const;
    // Whether it failed on the server's certificate: not verified, or not the pinned key.
    bool Untrusted() const;
    // The certificate (DER) the server showed, as far as it can be had without sending anything
    // more: libcurl reads it again in a handshake of its own; the Windows Internet functions
    // hand it over after a refused handshake only on some systems (not under Wine). Empty when
    // not seen.
    std::string ServerCertificate();

  private:
    struct Transfer;
    std::unique_ptr<Transfer> transfer_;
};

// The certificate (DER) the https server of the address shows, whoever signed it. libcurl reads
// it in the TLS handshake and sends nothing; the Windows Internet functions hand it over only
// once a request has gone, so there one HEAD request of the address is sent. No server, or an
// address that is not https (BadData), is the fault.
[[nodiscard]] Outcome<std::string> ReadServerCertificate(std::u16string_view address,
                                                         std::chrono::seconds limit);

}  // namespace tesselex
