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

// Text as the bytes the network functions take: the code page, as addresses, names and
// passwords always went out; characters it cannot hold become "?".
std::string ToNetworkBytes(std::u16string_view text);

}  // namespace tesselex::detail
