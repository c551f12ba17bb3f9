// The upload session through libcurl on every platform: plain FTP, FTP over TLS and SFTP. The
// log-in made by Connect stays open in the easy handle and every Send reuses it. TLS is
// OpenSSL's on Linux and Windows's own Schannel on Windows (scripts/curl-windows).

#ifdef _WIN32
#define SECURITY_WIN32
#include <windows.h>  // before the security headers, which need it

#include <schannel.h>
#include <security.h>
#include <wincrypt.h>
#endif

#include <algorithm>
#include <cstring>

#include "config/CodePage.h"
#include "config/CurlSession.h"
#include "config/Fingerprint.h"
#include "config/FtpTransfer.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

using Trust = TransferSignal::Trust;

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

size_t KeepBytes(char* buffer, size_t size, size_t count, void* data) {
    static_cast<std::string*>(data)->append(buffer, size * count);
    return size * count;
}

// The remote name as an address path, every piece escaped. The name is stored under exactly
// the text given: a leading "/" stays absolute, and no folder is created on the way. An SFTP
// path is absolute on the server, so a relative name is made relative to the log-in folder.
std::string RemotePath(CURL* easy, std::u16string_view remote, bool sftp) {
    const std::string bytes = detail::ToNetworkBytes(remote);
    std::string path = sftp && !bytes.starts_with('/') ? "~/" : "";
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
            path += (end == 0 && !sftp) ? "%2F" : "/";
        }
        start = end + 1;
    }
    return path;
}

// A key that matches no certificate: a connection pinned to it stops right after the handshake,
// before any user name or password is sent, with the certificate read.
constexpr char kNoPin[] = "sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=";

// What the host-key check of the last SSH connection saw.
struct HostKeyCheck {
    std::string Trusted;  // the stored fingerprint, empty when none is
    std::string Seen;
    Trust Verdict = Trust::Fine;
};

// SSH: the server's key is compared with the stored fingerprint before any log-in.
int CheckHostKey(void* data, int /*type*/, const char* key, size_t length) {
    auto* check = static_cast<HostKeyCheck*>(data);
    check->Seen = SshHostKeyFingerprint(std::string_view(key, length));
    if (check->Trusted.empty()) {
        check->Verdict = Trust::UnknownKey;
    } else if (check->Trusted != check->Seen) {
        check->Verdict = Trust::ChangedKey;
    }
    return check->Verdict == Trust::Fine ? CURLKHMATCH_OK : CURLKHMATCH_MISMATCH;
}

#ifdef _WIN32
// Schannel runs libcurl's pin check before it collects the certificate information, so the pin
// that matches nothing (kNoPin) leaves CURLINFO_CERTINFO empty there. The certificate is read
// from Schannel's own security context instead (CURLINFO_TLS_SSL_PTR) while libcurl reports the
// handshake's steps and the pin's failure: the connection is still open then, and nothing has
// been sent but the handshake.
int ReadSchannelCertificate(CURL* easy, curl_infotype type, char* /*text*/, size_t /*size*/,
                            void* data) {
    auto* der = static_cast<std::string*>(data);
    if (type != CURLINFO_TEXT || !der->empty()) {
        return 0;
    }
    curl_tlssessioninfo* tls = nullptr;
    if (curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &tls) != CURLE_OK || tls == nullptr ||
        tls->backend != CURLSSLBACKEND_SCHANNEL || tls->internals == nullptr) {
        return 0;
    }
    PCCERT_CONTEXT certificate = nullptr;
    if (QueryContextAttributesW(static_cast<CtxtHandle*>(tls->internals),
                                SECPKG_ATTR_REMOTE_CERT_CONTEXT, &certificate) == SEC_E_OK &&
        certificate != nullptr) {
        der->assign(reinterpret_cast<const char*>(certificate->pbCertEncoded),
                    certificate->cbCertEncoded);
        CertFreeCertificateContext(certificate);
    }
    return 0;
}
#endif

}  // namespace

struct FtpTransfer::Session {
    detail::CurlEasy Easy;
    UploadProtocol Protocol = UploadProtocol::Ftp;
    std::string Base;  // "ftp://host:port/"
    std::string User;
    std::string Password;
    std::string Trusted;
    std::string CaFile;
    char ErrorText[CURL_ERROR_SIZE] = {};
    HostKeyCheck HostKey;
    std::string Certificate;  // DER, when read from the TLS library's own context

    bool Tls() const {
        return Protocol == UploadProtocol::Ftps || Protocol == UploadProtocol::FtpsImplicit;
    }

    Fault Failure(CURLcode code) {
        long reply = 0;
        curl_easy_getinfo(Easy.get(), CURLINFO_RESPONSE_CODE, &reply);
        TransferSignal signal;
        signal.TimedOut = code == CURLE_OPERATION_TIMEDOUT;
        signal.LoginDeclined = code == CURLE_LOGIN_DENIED;
        signal.Declined = code == CURLE_REMOTE_ACCESS_DENIED || code == CURLE_UPLOAD_FAILED ||
                          code == CURLE_REMOTE_FILE_NOT_FOUND || code == CURLE_QUOTE_ERROR;
        signal.DiskFull = code == CURLE_REMOTE_DISK_FULL;
        signal.Unsupported = code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_USE_SSL_FAILED;
        if (Protocol == UploadProtocol::Sftp) {
            signal.TrustProblem = HostKey.Verdict;
        } else if (code == CURLE_PEER_FAILED_VERIFICATION ||
                   code == CURLE_SSL_PINNEDPUBKEYNOTMATCH || code == CURLE_SSL_CACERT_BADFILE) {
            signal.TrustProblem = Trust::Untrusted;
        }
        // An SSH reply is a status, not an FTP code.
        signal.ServerReply = Protocol == UploadProtocol::Sftp ? 0 : static_cast<int>(reply);
        signal.Words = AnsiToText(ErrorText[0] != '\0' ? std::string(ErrorText)
                                                       : std::string(curl_easy_strerror(code)));
        if (HostKey.Verdict != Trust::Fine) {
            signal.Words = FromAscii(
                HostKey.Verdict == Trust::UnknownKey
                    ? "the server's host key " + HostKey.Seen + " is not trusted yet"
                    : "the server's host key " + HostKey.Seen + " is not the trusted " + Trusted);
        }
        return TransferFaultOf(signal);
    }

    Done Perform() {
        ErrorText[0] = '\0';
        HostKey.Verdict = Trust::Fine;
        const CURLcode code = curl_easy_perform(Easy.get());
        return code == CURLE_OK ? Done() : Failure(code);
    }
};

FtpTransfer::FtpTransfer() = default;
FtpTransfer::~FtpTransfer() = default;

Done FtpTransfer::Connect(const TransferSettings& settings) {
    session_ = std::make_unique<Session>();
    session_->Easy = detail::NewCurlEasy();
    if (!session_->Easy) {
        return TransferFaultOf(TransferSignal{.Words = u"no transfer could be made"});
    }
    Session& s = *session_;
    CURL* easy = s.Easy.get();
    s.Protocol = settings.Protocol;
    const char* scheme = settings.Protocol == UploadProtocol::Sftp           ? "sftp"
                         : settings.Protocol == UploadProtocol::FtpsImplicit ? "ftps"
                                                                             : "ftp";
    const bool v6 = settings.Address.Host.find(u':') != std::u16string::npos;
    s.Base = std::string(scheme) + "://" + (v6 ? "[" : "") +
             detail::ToNetworkBytes(settings.Address.Host) + (v6 ? "]" : "") + ":" +
             std::to_string(settings.Address.Port) + "/";
    s.User = detail::ToNetworkBytes(settings.User);
    s.Password = detail::ToNetworkBytes(settings.Password);
    s.Trusted = detail::ToNetworkBytes(settings.Trusted);
    s.CaFile = settings.CaFile.string();
    s.HostKey.Trusted = s.Trusted;
    const long waitSeconds = std::max(1L, static_cast<long>(settings.Wait.count() / 1000));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, scheme);
    curl_easy_setopt(easy, CURLOPT_USERNAME, s.User.c_str());
    curl_easy_setopt(easy, CURLOPT_PASSWORD, s.Password.c_str());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, waitSeconds);
    curl_easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, waitSeconds);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, waitSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::chrono::milliseconds(settings.Limit).count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, s.ErrorText);
    if (settings.Protocol == UploadProtocol::Sftp) {
        // Only the password: no key of the user's own is offered, no known_hosts file read.
        curl_easy_setopt(easy, CURLOPT_SSH_AUTH_TYPES,
                         static_cast<long>(CURLSSH_AUTH_PASSWORD | CURLSSH_AUTH_KEYBOARD));
        curl_easy_setopt(easy, CURLOPT_SSH_HOSTKEYFUNCTION, CheckHostKey);
        curl_easy_setopt(easy, CURLOPT_SSH_HOSTKEYDATA, static_cast<void*>(&s.HostKey));
    } else {
        curl_easy_setopt(easy, CURLOPT_FTPPORT, nullptr);  // passive
        curl_easy_setopt(easy, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
    }
    if (s.Tls()) {
        if (settings.Protocol == UploadProtocol::Ftps) {
            curl_easy_setopt(easy, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
        }
        // TLS 1.3 on a reused FTPS connection can cut later uploads short while reporting
        // success, so FTPS stays on TLS 1.2.
        // CURL_SSLVERSION_MAX_TLSv1_2 spelt out: the macro's enum arithmetic trips the warnings.
        const long versions = long{CURL_SSLVERSION_TLSv1_2} | (long{CURL_SSLVERSION_TLSv1_2} << 16);
        curl_easy_setopt(easy, CURLOPT_SSLVERSION, versions);
        // The certificate is kept for the fingerprint "test connection" shows.
        curl_easy_setopt(easy, CURLOPT_CERTINFO, 1L);
#ifdef _WIN32
        curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, ReadSchannelCertificate);
        curl_easy_setopt(easy, CURLOPT_DEBUGDATA, static_cast<void*>(&s.Certificate));
        curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
        // Schannel checks revocation: a certificate known to be revoked is refused, but one
        // whose authority publishes no revocation list, or whose list cannot be reached, is
        // not (a library's own CA rarely publishes one).
        curl_easy_setopt(easy, CURLOPT_SSL_OPTIONS,
                         static_cast<long>(CURLSSLOPT_REVOKE_BEST_EFFORT));
#endif
        detail::TrustTlsServer(easy, s.Trusted, s.CaFile);
    }
    // Log in and stop: the connection stays open in the handle for the uploads.
    const std::string start = s.Base + (settings.Protocol == UploadProtocol::Sftp ? "~/" : "");
    curl_easy_setopt(easy, CURLOPT_URL, start.c_str());
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    return s.Perform();
}

Outcome<ServerIdentity> FtpTransfer::Identify(const TransferSettings& settings) {
    TransferSettings look = settings;
    look.Trusted.clear();
    look.User = u"";
    look.Password = u"";
    const Done connected = [&] {
        // The pin that matches nothing, or the host key refused: nothing is sent past them.
        if (settings.Protocol == UploadProtocol::Sftp) {
            return Connect(look);
        }
        look.Trusted = FromAscii(kNoPin);
        return Connect(look);
    }();
    if (!session_ || !session_->Easy) {
        return connected ? TransferFaultOf(TransferSignal{.Words = u"no transfer"})
                         : connected.Failure();
    }
    if (settings.Protocol == UploadProtocol::Sftp) {
        if (session_->HostKey.Seen.empty()) {
            return connected ? TransferFaultOf(TransferSignal{.Words = u"no host key seen"})
                             : connected.Failure();
        }
        return ServerIdentity{FromAscii(session_->HostKey.Seen), {}};
    }
    curl_certinfo* chain = nullptr;
    curl_easy_getinfo(session_->Easy.get(), CURLINFO_CERTINFO, &chain);
    if (chain != nullptr && chain->num_of_certs > 0) {
        for (curl_slist* item = chain->certinfo[0]; item != nullptr; item = item->next) {
            const std::string_view line(item->data);
            if (line.starts_with("Cert:")) {
                if (const auto prints = FingerprintsOfPem(line)) {
                    return ServerIdentity{FromAscii(prints->Pin), FromAscii(prints->Certificate)};
                }
            }
        }
    }
    if (const auto prints = FingerprintsOfDer(session_->Certificate)) {
        return ServerIdentity{FromAscii(prints->Pin), FromAscii(prints->Certificate)};
    }
    return connected ? TransferFaultOf(TransferSignal{.Words = u"the server showed no certificate"})
                     : connected.Failure();
}

Done FtpTransfer::Send(std::u16string_view remote, const std::string& bytes, bool text) {
    if (!session_ || !session_->Easy) {
        return TransferFaultOf(TransferSignal{.Words = u"not connected"});
    }
    Session& s = *session_;
    const bool sftp = s.Protocol == UploadProtocol::Sftp;
    // libcurl sends every LF of an FTP text upload as CR LF, so the CR LF prepared for the server
    // would go out as CR CR LF: it is handed over as LF. SFTP has no text transfers: every line
    // end is made CR LF here.
    const bool convert = text && !sftp;
    std::string lines;
    if (text) {
        const std::u16string lf = ReplaceAll(AnsiToText(bytes), u"\r\n", u"\n");
        lines = TextToAnsi(sftp ? ReplaceAll(lf, u"\n", u"\r\n") : lf);
    }
    Source source{text ? &lines : &bytes, 0};
    CURL* easy = s.Easy.get();
    const std::string url = s.Base + RemotePath(easy, remote, sftp);
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOBODY, 0L);
    curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(easy, CURLOPT_TRANSFERTEXT, convert ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, ReadBytes);
    curl_easy_setopt(easy, CURLOPT_READDATA, static_cast<void*>(&source));
    curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE,
                     convert ? curl_off_t{-1} : static_cast<curl_off_t>(source.Bytes->size()));
    const Done sent = s.Perform();
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, nullptr);
    curl_easy_setopt(easy, CURLOPT_READDATA, nullptr);
    curl_easy_setopt(easy, CURLOPT_UPLOAD, 0L);
    curl_easy_setopt(easy, CURLOPT_TRANSFERTEXT, 0L);
    return sent;
}

Outcome<std::vector<std::u16string>> FtpTransfer::List(std::u16string_view folder) {
    if (!session_ || !session_->Easy) {
        return TransferFaultOf(TransferSignal{.Words = u"not connected"});
    }
    Session& s = *session_;
    CURL* easy = s.Easy.get();
    const bool sftp = s.Protocol == UploadProtocol::Sftp;
    std::string path = folder.empty() ? (sftp ? "~" : "") : RemotePath(easy, folder, sftp);
    if (!path.empty() && !path.ends_with('/')) {
        path += '/';
    }
    const std::string url = s.Base + path;
    std::string names;
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOBODY, 0L);
    curl_easy_setopt(easy, CURLOPT_DIRLISTONLY, 1L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, KeepBytes);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, static_cast<void*>(&names));
    const Done listed = s.Perform();
    curl_easy_setopt(easy, CURLOPT_DIRLISTONLY, 0L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, nullptr);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, nullptr);
    if (!listed) {
        return listed.Failure();
    }
    std::vector<std::u16string> out;
    for (std::u16string& name : Split(ReplaceAll(AnsiToText(names), u"\r", u""), u"\n")) {
        if (!name.empty() && name != u"." && name != u"..") {
            out.push_back(std::move(name));
        }
    }
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace tesselex
