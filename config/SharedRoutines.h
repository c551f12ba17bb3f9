#pragma once
// The shared file and network routines. They keep no state of their own: each call opens and
// closes what it uses, except an FTP connection, which the caller closes. None of them raises
// on a network or file failure: they answer with an empty text, a null handle or false, and
// the caller decides what to report.
//
// 8-bit strings (replies, whole files) hold one character per byte, decoded through the code
// page (config/CodePage.h), so they can be turned back into the same bytes.

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace tesselex {

// A local date and time, as the date patterns and the logs use it.
struct DateTime {
    int Year = 0;
    int Month = 0;  // 1-12
    int Day = 0;    // 1-31
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
};
DateTime LocalNow();

// Letters and digits of the code page are copied, a blank becomes "+", every other byte "%"
// and its hexadecimal value in capitals without a leading zero (0x0A gives "%A").
std::u16string UrlEncode(std::u16string_view text);

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
// Fetches the address; a non-empty reply that is not an error page (contains "<html>" in any
// letter case) is written, its line ends made CR LF, to a new temporary file whose path is
// returned. Otherwise an empty path.
std::filesystem::path FetchToTempFile(std::u16string_view address);

// Replaces every %pattern% (both signs included) by the local date and time in that pattern:
// MM month, DD day, HH hour, MM after an hour minutes, SS seconds, YY or YYYY year.
// "|%MMDDHHMMSS%.mrc" at 14:05:09 on 3 March gives "|0303140509.mrc". A lone "%" without a
// partner stays in the text as it is and the expansion ends there.
std::u16string ExpandDatePatterns(std::u16string_view text);
std::u16string ExpandDatePatterns(std::u16string_view text, const DateTime& at);

// The platform's user name.
std::u16string GetLoginName();

// The file's bytes as an 8-bit string; empty when the file does not exist or cannot be read.
std::u16string ReadWholeFile(const std::filesystem::path& path);

// A new, unique, empty file in the system temporary folder whose name begins with the prefix;
// an empty path when none could be made.
std::filesystem::path TempFileName(std::u16string_view prefix);

// The value of key in [section] of an INI file, read with the system's INI rules. A file named
// without a folder is looked up in WindowsFolder() (config/Platform.h). A missing file, section
// or key, or a value of one character or less, gives an empty text.
std::u16string ReadIniValue(const std::filesystem::path& file, std::u16string_view section,
                            std::u16string_view key);

// An FTP connection, logged in; a null handle is the failure value ("0").
class FtpConnection;
using FtpHandle = std::shared_ptr<FtpConnection>;

// Connects and logs in, passive mode, connect and receive timeouts of 120 s. The server text is
// a host name or address, optionally followed by ":port" (default 21).
FtpHandle FtpConnect(std::u16string_view server, std::u16string_view user,
                     std::u16string_view password);
// Uploads the local file under the remote name (a path on the server), binary unless ascii.
bool FtpSend(const FtpHandle& handle, std::u16string_view remote,
             const std::filesystem::path& local, bool ascii);
// Closes the connection (a null handle is ignored) and sets the handle to null.
void FtpClose(FtpHandle& handle);

}  // namespace tesselex
