// FTP connect, upload and close of the shared routines. The connection is libcurl's: the log-in
// made by FtpConnect stays open in the handle and FtpSend reuses it.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "config/CodePage.h"
#include "config/CurlSession.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// Connect and reply waits of two minutes, as the uploads always had.
constexpr long kTimeoutSeconds = 120;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

// A text upload handed to libcurl from memory.
struct TextSource {
    std::string bytes;
    std::size_t sent = 0;
};

size_t ReadText(char* buffer, size_t size, size_t count, void* data) {
    auto* source = static_cast<TextSource*>(data);
    const std::size_t length = std::min(size * count, source->bytes.size() - source->sent);
    std::memcpy(buffer, source->bytes.data() + source->sent, length);
    source->sent += length;
    return length;
}

// "host", "host:port", "[v6]:port" or a bare IPv6 address, optionally after "ftp://", as the
// authority part of an address.
std::string Authority(std::u16string_view server) {
    std::u16string text = Trim(server);
    if (StartsWithNoCase(text, u"ftp://")) {
        text.erase(0, 6);
    }
    while (!text.empty() && text.back() == u'/') {
        text.pop_back();
    }
    const auto colons = std::count(text.begin(), text.end(), u':');
    if (colons > 1 && text.front() != u'[') {
        text = u"[" + text + u"]";
    }
    return detail::ToNetworkBytes(text);
}

// The remote name as an address path, every piece escaped. The name is stored under exactly
// the text given: a leading "/" stays absolute, and no folder is created on the way.
std::string RemotePath(CURL* easy, std::u16string_view remote) {
    const std::string bytes = detail::ToNetworkBytes(remote);
    std::string path;
    std::size_t start = 0;
    while (start <= bytes.size()) {
        std::size_t end = bytes.find('/', start);
        if (end == std::string::npos) {
            end = bytes.size();
        }
        const std::string piece = bytes.substr(start, end - start);
        char* escaped = curl_easy_escape(easy, piece.c_str(), static_cast<int>(piece.size()));
        if (escaped == nullptr) {
            return {};
        }
        path += escaped;
        curl_free(escaped);
        if (end < bytes.size()) {
            path += (end == 0) ? "%2F" : "/";
        }
        start = end + 1;
    }
    return path;
}

}  // namespace

class FtpConnection {
  public:
    detail::CurlEasy Easy;
    std::string Base;  // "ftp://host:port/"
    std::string User;
    std::string Password;
};

FtpHandle FtpConnect(std::u16string_view server, std::u16string_view user,
                     std::u16string_view password) {
    try {
        auto connection = std::make_shared<FtpConnection>();
        connection->Easy = detail::NewCurlEasy();
        const std::string authority = Authority(server);
        if (!connection->Easy || authority.empty()) {
            return nullptr;
        }
        CURL* easy = connection->Easy.get();
        connection->Base = "ftp://" + authority + "/";
        connection->User = detail::ToNetworkBytes(user);
        connection->Password = detail::ToNetworkBytes(password);
        curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "ftp");
        curl_easy_setopt(easy, CURLOPT_USERNAME, connection->User.c_str());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, connection->Password.c_str());
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kTimeoutSeconds);
        curl_easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, kTimeoutSeconds);
        curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, kTimeoutSeconds);
        curl_easy_setopt(easy, CURLOPT_FTPPORT, nullptr);  // passive
        curl_easy_setopt(easy, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
        // Log in and stop: the connection stays open in the handle for the uploads.
        curl_easy_setopt(easy, CURLOPT_URL, connection->Base.c_str());
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        if (curl_easy_perform(easy) != CURLE_OK) {
            return nullptr;
        }
        return connection;
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool FtpSend(const FtpHandle& handle, std::u16string_view remote,
             const std::filesystem::path& local, bool ascii) {
    if (!handle || !handle->Easy || remote.empty()) {
        return false;
    }
    try {
        std::error_code ec;
        if (!std::filesystem::is_regular_file(local, ec)) {
            return false;
        }
        const auto size = std::filesystem::file_size(local, ec);
        if (ec) {
            return false;
        }
        std::unique_ptr<std::FILE, FileCloser> file(std::fopen(local.c_str(), "rb"));
        if (!file) {
            return false;
        }
        // libcurl sends every LF of a text upload as CR LF, so the file's own CR LF would go out
        // as CR CR LF: it is handed over as LF instead.
        TextSource text;
        if (ascii) {
            text.bytes = TextToAnsi(ReplaceAll(ReadWholeFile(local), u"\r\n", u"\n"));
        }
        CURL* easy = handle->Easy.get();
        const std::string url = handle->Base + RemotePath(easy, remote);
        curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
        curl_easy_setopt(easy, CURLOPT_NOBODY, 0L);
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(easy, CURLOPT_TRANSFERTEXT, ascii ? 1L : 0L);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, ascii ? ReadText : nullptr);
        curl_easy_setopt(easy, CURLOPT_READDATA, ascii ? static_cast<void*>(&text) : file.get());
        curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE,
                         ascii ? curl_off_t{-1} : static_cast<curl_off_t>(size));
        const CURLcode result = curl_easy_perform(easy);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, nullptr);
        curl_easy_setopt(easy, CURLOPT_READDATA, nullptr);
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 0L);
        return result == CURLE_OK;
    } catch (const std::exception&) {
        return false;
    }
}

void FtpClose(FtpHandle& handle) {
    handle.reset();
}

}  // namespace tesselex
