// FTP connect, upload and close of the shared routines. The connection is libcurl's: the log-in
// made by FtpConnect stays open in the handle and FtpSend reuses it.

#include <algorithm>
#include <chrono>
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
    char ErrorText[CURL_ERROR_SIZE] = {};
};

namespace {

// The kind and words of a failed transfer; the last server reply code says whether the server
// declined (4xx/5xx) rather than the connection failing.
void Explain(FtpError* error, FtpConnection& connection, CURLcode code) {
    if (error == nullptr) {
        return;
    }
    long reply = 0;
    curl_easy_getinfo(connection.Easy.get(), CURLINFO_RESPONSE_CODE, &reply);
    if (code == CURLE_OPERATION_TIMEDOUT) {
        error->Failure = NetFailure::TimedOut;
    } else if (code == CURLE_LOGIN_DENIED || code == CURLE_REMOTE_ACCESS_DENIED ||
               code == CURLE_UPLOAD_FAILED || code == CURLE_REMOTE_FILE_NOT_FOUND || reply >= 400) {
        error->Failure = NetFailure::Refused;
    } else {
        error->Failure = NetFailure::NoConnection;
    }
    std::string words = connection.ErrorText[0] != '\0' ? std::string(connection.ErrorText)
                                                        : std::string(curl_easy_strerror(code));
    if (reply >= 400 && words.find(std::to_string(reply)) == std::string::npos) {
        words += " (" + std::to_string(reply) + ")";
    }
    error->Reason = AnsiToText(words);
}

void Explain(FtpError* error, NetFailure failure, std::u16string reason) {
    if (error != nullptr) {
        *error = FtpError{failure, std::move(reason)};
    }
}

}  // namespace

FtpHandle FtpConnect(std::u16string_view server, std::u16string_view user,
                     std::u16string_view password, FtpError* error, std::chrono::seconds limit) {
    Explain(error, NetFailure::None, {});
    try {
        auto connection = std::make_shared<FtpConnection>();
        connection->Easy = detail::NewCurlEasy();
        const std::string authority = Authority(server);
        if (!connection->Easy || authority.empty()) {
            Explain(error, NetFailure::NoConnection, u"no server");
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
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                         static_cast<long>(std::chrono::milliseconds(limit).count()));
        curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, connection->ErrorText);
        curl_easy_setopt(easy, CURLOPT_FTPPORT, nullptr);  // passive
        curl_easy_setopt(easy, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
        // Log in and stop: the connection stays open in the handle for the uploads.
        curl_easy_setopt(easy, CURLOPT_URL, connection->Base.c_str());
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        if (const CURLcode code = curl_easy_perform(easy); code != CURLE_OK) {
            Explain(error, *connection, code);
            return nullptr;
        }
        return connection;
    } catch (const std::exception& failure) {
        Explain(error, NetFailure::NoConnection, AnsiToText(failure.what()));
        return nullptr;
    }
}

bool FtpSend(const FtpHandle& handle, std::u16string_view remote,
             const std::filesystem::path& local, bool ascii, FtpError* error) {
    Explain(error, NetFailure::None, {});
    if (!handle || !handle->Easy) {
        Explain(error, NetFailure::NoConnection, u"not connected");
        return false;
    }
    if (remote.empty()) {
        Explain(error, NetFailure::Refused, u"no remote name");
        return false;
    }
    try {
        std::error_code ec;
        const bool regular = std::filesystem::is_regular_file(local, ec);
        const auto size = regular ? std::filesystem::file_size(local, ec) : 0;
        std::unique_ptr<std::FILE, FileCloser> file(regular && !ec ? std::fopen(local.c_str(), "rb")
                                                                   : nullptr);
        if (!file) {
            Explain(error, NetFailure::Refused, u"local file cannot be read: " + local.u16string());
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
        handle->ErrorText[0] = '\0';
        const CURLcode result = curl_easy_perform(easy);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, nullptr);
        curl_easy_setopt(easy, CURLOPT_READDATA, nullptr);
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 0L);
        if (result != CURLE_OK) {
            Explain(error, *handle, result);
        }
        return result == CURLE_OK;
    } catch (const std::exception& failure) {
        Explain(error, NetFailure::NoConnection, AnsiToText(failure.what()));
        return false;
    }
}

void FtpClose(FtpHandle& handle) {
    handle.reset();
}

}  // namespace tesselex
