#pragma once
// The shared file and network routines. They keep no state of their own: each call opens and
// closes what it uses (an upload connection, config/Upload.h, closes with its object). None of
// them raises on a network or file failure. Each answers an Outcome that says why it failed;
// the routines of the old program's shape (an empty text, a null handle or false on failure)
// are thin wrappers over them, for the callers that decide nothing from the reason.
//
// 8-bit strings (replies, whole files) hold one character per byte, decoded through the code
// page (config/CodePage.h), so they can be turned back into the same bytes.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <optional>
#include <string_view>
#include <system_error>

#include "config/Outcome.h"

namespace tesselex {

// A local date and time, as the date patterns and the logs use it.
struct DateTime {
    int Year = 0;
    int Month = 0;  // 1-12
    int Day = 0;    // 1-31
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
    bool operator==(const DateTime&) const = default;
};
DateTime LocalNow();

// Letters and digits of the code page are copied, a blank becomes "+", every other byte "%"
// and its hexadecimal value in capitals without a leading zero (0x0A gives "%A").
std::u16string UrlEncode(std::u16string_view text);

// No single fetch or FTP transfer takes longer than this, however slowly the server drips.
inline constexpr std::chrono::seconds kTransferLimit{120};

// A reply as it came: its status and its body, whatever the status.
struct HttpReply {
    int Status = 0;
    std::u16string Body;  // 8-bit string
    // Fails for a reply that brings nothing to use: a status of 400 or more (HttpStatus, with
    // the status as its code) or not one byte of body (EmptyReply).
    [[nodiscard]] Done Usable() const;
};

// How the certificate of an https server is verified. Left empty, by the system's trust store
// (libcurl's CA bundle on Linux, the system store through the Internet functions on Windows) for
// the name in the address.
struct ServerTrust {
    // "sha256//<base64>" of the server's public key, as config/Upload.h's TLS pin: a certificate
    // with this key is trusted whoever signed it and whatever names it holds (a self-signed one
    // too), and no other is, whatever signed it.
    std::u16string Pinned;
    // Without a pin: verify against the certificates of this PEM file instead of the trust store.
    std::filesystem::path CaFile;
};

// Fault::Code of a fetch that refused the server's certificate: not verified by the trust store
// or the CA file, or not the pinned key. Its Kind is NoConnection (nothing was asked of the
// server; the export waits as for no connection) and its reason names the server and the
// fingerprint it showed. The same number as UploadFault::UntrustedCertificate (config/Upload.h).
inline constexpr int kUntrustedServer = 8;

// The fetch, telling how it ended: no reply at all (no connection, an untrusted certificate, not
// an http(s) address, the time limit) is the fault; any reply is the value. It never runs longer
// than the limit. Without a ServerTrust an https server is verified by the trust store.
[[nodiscard]] Outcome<HttpReply> FetchReply(std::u16string_view address,
                                            std::chrono::seconds limit = kTransferLimit);
[[nodiscard]] Outcome<HttpReply> FetchReply(std::u16string_view address, const ServerTrust& trust,
                                            std::chrono::seconds limit = kTransferLimit);

// An open HTTP request; a null handle is the failure value ("0").
class UrlRequest;
using UrlHandle = std::shared_ptr<UrlRequest>;

// Opens the address (user agent "LGGW", never a cached reply). Null on failure.
UrlHandle OpenUrl(std::u16string_view address);
// The next chunk of at most 8192 bytes as an 8-bit string. Answers false and closes the handle
// (sets it to null) when the reply is exhausted or reading failed.
bool ReadChunk(UrlHandle& handle, std::u16string& chunk);
// The whole reply body as an 8-bit string, whatever the HTTP status; empty on any failure.
std::u16string FetchUrl(std::u16string_view address);
// Fetches the address into a new temporary file (prefix "XX"), its line ends made CR LF. A
// reply of no bytes or an error page, one that contains "<html>" in any letter case, is not
// saved: the reply's fault (HttpReply::Usable) or BadData is the fault. An error status
// with a body of data is saved, as it always was.
[[nodiscard]] Outcome<std::filesystem::path> FetchToTemp(std::u16string_view address);
// The text FetchToTemp would save, read back from that file and the file removed: what the
// configuration text and the character maps load from an address.
[[nodiscard]] Outcome<std::u16string> FetchedText(std::u16string_view address);

// Replaces every %pattern% (both signs included) by the local date and time in that pattern:
// MM month, DD day, HH hour, MM after an hour minutes, SS seconds, YY or YYYY year.
// "|%MMDDHHMMSS%.mrc" at 14:05:09 on 3 March gives "|0303140509.mrc". A lone "%" without a
// partner stays in the text as it is and the expansion ends there.
std::u16string ExpandDatePatterns(std::u16string_view text);
std::u16string ExpandDatePatterns(std::u16string_view text, const DateTime& at);

// The platform's user name.
std::u16string GetLoginName();

// A failed operation on the file as a fault: NoSpace for a full disk or an exhausted quota (room
// may come back), FileSystem for anything else; the path and the system's words as the reason,
// the error number as the code.
Fault FileFault(const std::filesystem::path& path, std::error_code error);

// The bytes of a regular file as an 8-bit string (a missing file, a folder or one that cannot be
// read is a FileSystem fault).
[[nodiscard]] Outcome<std::u16string> FileContents(const std::filesystem::path& path);
// Replaces the file's bytes by those of the 8-bit string.
[[nodiscard]] Done WriteFileContents(const std::filesystem::path& path, std::u16string_view text);
// FileContents, or an empty text on any failure.
std::u16string ReadWholeFile(const std::filesystem::path& path);

// A new, unique, empty file in the system temporary folder whose name begins with the prefix.
[[nodiscard]] Outcome<std::filesystem::path> NewTempFile(std::u16string_view prefix);

// The value of key in [section] of an INI file, read with the system's INI rules. A file named
// without a folder is looked up in WindowsFolder() (config/Platform.h). A missing file, section
// or key, or a value of one character or less, is no value: an empty text. A file that is there
// but cannot be read is a FileSystem fault.
[[nodiscard]] Outcome<std::u16string> IniValue(const std::filesystem::path& file,
                                               std::u16string_view section,
                                               std::u16string_view key);
// IniValue, or an empty text on any failure.
std::u16string ReadIniValue(const std::filesystem::path& file, std::u16string_view section,
                            std::u16string_view key);

// FTP and the other uploads: config/Upload.h.

}  // namespace tesselex
