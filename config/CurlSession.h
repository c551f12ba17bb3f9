#pragma once
// Private to the shared routines: the one-time libcurl set-up and an owning easy handle.

#include <curl/curl.h>

#include <memory>
#include <string>
#include <string_view>

namespace tesselex::detail {

struct CurlEasyDeleter {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
using CurlEasy = std::unique_ptr<CURL, CurlEasyDeleter>;

// A new easy handle with the settings every transfer shares, or null when libcurl cannot be
// set up.
CurlEasy NewCurlEasy();

// How the handle trusts a TLS server: by its pinned public key alone ("sha256//…"), whoever
// signed its certificate and whatever names it holds; else by the CA file when one is given;
// else by the system's trust store. libcurl keeps the pointers: the strings must outlive the
// transfer.
void TrustTlsServer(CURL* easy, const std::string& pinned, const std::string& caFile);

// Text as the bytes the network functions take: the code page, as addresses, names and
// passwords always went out; characters it cannot hold become "?".
std::string ToNetworkBytes(std::u16string_view text);

}  // namespace tesselex::detail
