#include "config/CurlSession.h"

#include "config/CodePage.h"

namespace tesselex::detail {
namespace {

bool CurlReady() {
    // Set up once for the whole program and never torn down: handles may live in statics.
    static const bool ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return ready;
}

}  // namespace

CurlEasy NewCurlEasy() {
    if (!CurlReady()) {
        return nullptr;
    }
    CurlEasy easy(curl_easy_init());
    if (easy) {
        // No signals: a name-lookup timeout must not interrupt the caller's thread.
        curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    }
    return easy;
}

void TrustTlsServer(CURL* easy, const std::string& pinned, const std::string& caFile) {
    if (!pinned.empty()) {
        curl_easy_setopt(easy, CURLOPT_PINNEDPUBLICKEY, pinned.c_str());
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    } else if (!caFile.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, caFile.c_str());
    }
}

std::string ToNetworkBytes(std::u16string_view text) {
    return TextToAnsi(text);
}

}  // namespace tesselex::detail
