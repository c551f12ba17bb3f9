// The FTP session through libcurl: the log-in made by Connect stays open in the easy handle and
// every Send reuses it.

#include <algorithm>
#include <cstring>

#include "config/CodePage.h"
#include "config/CurlSession.h"
#include "config/FtpTransfer.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

// Bytes handed to libcurl from memory.
struct Source {
    const std::string* Bytes = nullptr;
    std::size_t Sent = 0;
};

size_t ReadBytes(char* buffer, size_t size, size_t count, void* data) {
    auto* source = static_cast<Source*>(data);
    const std::size_t length = std::min(size * count, source->Bytes->size() - source->Sent);
    std::memcpy(buffer, source->Bytes->data() + source->Sent, length);
    source->Sent += length;
    return length;
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

struct FtpTransfer::Session {
    detail::CurlEasy Easy;
    std::string Base;  // "ftp://host:port/"
    std::string User;
    std::string Password;
    char ErrorText[CURL_ERROR_SIZE] = {};

    FtpTransferFailure Failure(CURLcode code) {
        long reply = 0;
        curl_easy_getinfo(Easy.get(), CURLINFO_RESPONSE_CODE, &reply);
        FtpTransferFailure failure;
        failure.TimedOut = code == CURLE_OPERATION_TIMEDOUT;
        failure.Declined = code == CURLE_LOGIN_DENIED || code == CURLE_REMOTE_ACCESS_DENIED ||
                           code == CURLE_UPLOAD_FAILED || code == CURLE_REMOTE_FILE_NOT_FOUND;
        failure.ServerReply = static_cast<int>(reply);
        failure.Words = AnsiToText(ErrorText[0] != '\0' ? std::string(ErrorText)
                                                        : std::string(curl_easy_strerror(code)));
        return failure;
    }
};

FtpTransfer::FtpTransfer() = default;
FtpTransfer::~FtpTransfer() = default;

std::optional<FtpTransferFailure> FtpTransfer::Connect(const FtpServerAddress& address,
                                                       std::u16string_view user,
                                                       std::u16string_view password,
                                                       std::chrono::milliseconds wait,
                                                       std::chrono::seconds limit) {
    session_ = std::make_unique<Session>();
    session_->Easy = detail::NewCurlEasy();
    if (!session_->Easy) {
        return FtpTransferFailure{false, false, 0, u"no transfer could be made"};
    }
    CURL* easy = session_->Easy.get();
    const bool v6 = address.Host.find(u':') != std::u16string::npos;
    session_->Base = "ftp://" + std::string(v6 ? "[" : "") + detail::ToNetworkBytes(address.Host) +
                     (v6 ? "]" : "") + ":" + std::to_string(address.Port) + "/";
    session_->User = detail::ToNetworkBytes(user);
    session_->Password = detail::ToNetworkBytes(password);
    const long waitSeconds = std::max(1L, static_cast<long>(wait.count() / 1000));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "ftp");
    curl_easy_setopt(easy, CURLOPT_USERNAME, session_->User.c_str());
    curl_easy_setopt(easy, CURLOPT_PASSWORD, session_->Password.c_str());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, waitSeconds);
    curl_easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, waitSeconds);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, waitSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::chrono::milliseconds(limit).count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, session_->ErrorText);
    curl_easy_setopt(easy, CURLOPT_FTPPORT, nullptr);  // passive
    curl_easy_setopt(easy, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
    // Log in and stop: the connection stays open in the handle for the uploads.
    curl_easy_setopt(easy, CURLOPT_URL, session_->Base.c_str());
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    if (const CURLcode code = curl_easy_perform(easy); code != CURLE_OK) {
        return session_->Failure(code);
    }
    return std::nullopt;
}

std::optional<FtpTransferFailure> FtpTransfer::Send(std::u16string_view remote,
                                                    const std::string& bytes, bool text) {
    if (!session_ || !session_->Easy) {
        return FtpTransferFailure{false, false, 0, u"not connected"};
    }
    // libcurl sends every LF of a text upload as CR LF, so the CR LF prepared for the server
    // would go out as CR CR LF: it is handed over as LF.
    const std::string lines = text ? TextToAnsi(ReplaceAll(AnsiToText(bytes), u"\r\n", u"\n")) : "";
    Source source{text ? &lines : &bytes, 0};
    CURL* easy = session_->Easy.get();
    const std::string url = session_->Base + RemotePath(easy, remote);
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOBODY, 0L);
    curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(easy, CURLOPT_TRANSFERTEXT, text ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, ReadBytes);
    curl_easy_setopt(easy, CURLOPT_READDATA, static_cast<void*>(&source));
    curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE,
                     text ? curl_off_t{-1} : static_cast<curl_off_t>(bytes.size()));
    session_->ErrorText[0] = '\0';
    const CURLcode result = curl_easy_perform(easy);
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, nullptr);
    curl_easy_setopt(easy, CURLOPT_READDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_UPLOAD, 0L);
    if (result != CURLE_OK) {
        return session_->Failure(result);
    }
    return std::nullopt;
}

}  // namespace tesselex
