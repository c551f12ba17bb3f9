#pragma once
// Delivery of one export: the server's bytes appended unchanged to the destination file and,
// when an FTP server is set, that file uploaded. Outcomes are reported through the logger.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/engine/Logger.h"
#include "app/engine/Outbox.h"
#include "config/Outcome.h"
#include "config/Upload.h"

namespace tesselex {

class Settings;

struct FtpSettings {
    std::u16string Server;
    std::u16string User;
    std::u16string Password;
    std::u16string Directory;  // trimmed when read from the settings
    std::u16string Filename;   // pattern, as the destination
    std::u16string Protocol{};  // ftp (also when empty), ftps, ftps-implicit or sftp
    std::u16string Trust{};     // the trusted servers' fingerprints (config/Upload.h)
    // Why the password could not be read from the credential store (FtpPassword.h); Password
    // is then empty, and nothing is uploaded without one.
    std::optional<Fault> PasswordFault{};
};

// The FTP settings as stored, the password from where it is kept (FtpPassword.h).
FtpSettings ReadFtpSettings(const Settings& settings);
// Where and how the settings upload, the fingerprint trusted for the server included; an
// unknown protocol is BadData, a password that could not be read its fault.
[[nodiscard]] Outcome<UploadTarget> UploadTargetOf(const FtpSettings& ftp);

// The date patterns of a file-name pattern expanded at the given time, then every "&USER&"
// replaced by the login name.
std::u16string ExpandFileName(std::u16string_view pattern, const DateTime& at,
                              std::u16string_view login);
// The remote path: the expanded file name, inside the directory when one is set.
std::u16string RemoteName(const FtpSettings& ftp, const DateTime& at, std::u16string_view login);

// What an export waiting in the outbox adds to its save.
struct SaveJournal {
    // Told the append about to be made, before its first byte is written; a fault stops the save.
    std::function<Done(const PendingAppend&)> Appending;
    // Follows the destination's name in the saved line of a late delivery.
    std::u16string Late;
};

class Delivery {
  public:
    using LoginName = std::function<std::u16string()>;
    // Reads the FTP password again for an upload whose settings could not give it.
    using PasswordReader = std::function<Outcome<std::u16string>()>;
    Delivery(Logger& log, Clock clock, LoginName loginName, PasswordReader password = {});

    // Appends the records (an 8-bit string, written byte for byte) to the expanded destination,
    // emptying it first when `clear` is set, and flushes it to the disk; answers the path
    // written. Every outcome is reported; an empty destination is a fault with nothing reported.
    [[nodiscard]] Outcome<std::u16string> SaveExport(std::u16string_view records,
                                                     std::u16string_view destination, bool clear,
                                                     std::u16string_view bibId,
                                                     const SaveJournal& journal = {});
    // Uploads the file the last SaveExport wrote (else the expanded destination) under the
    // remote name; failures are reported as errors, with the transfer's reason. Reusing the saved
    // path keeps a date pattern that ticks over between saving and sending from naming a file that
    // was never written.
    [[nodiscard]] Done SendExport(std::u16string_view destination, const FtpSettings& ftp,
                                  std::u16string_view bibId);
    // Uploads the given file under the remote name, reported as SendExport reports.
    [[nodiscard]] Done SendFile(std::u16string_view local, const FtpSettings& ftp,
                                std::u16string_view bibId);

  private:
    Logger& log_;
    Clock clock_;
    LoginName loginName_;
    PasswordReader password_;
    std::u16string lastSaved_;
};

}  // namespace tesselex
