#pragma once
// The work of one export as steps that each answer a value: the reply fetched, its records
// checked, the save planned and made, the file uploaded. It writes no status line and no text for
// people: the engine alone says what an outcome means to the cataloguer. Each step's value is
// the next one's input, so the file uploaded is the file saved even when a date pattern in its
// name ticks over in between.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/engine/Logger.h"
#include "app/engine/Outbox.h"
#include "config/Outcome.h"
#include "config/SharedRoutines.h"
#include "config/Upload.h"

namespace tesselex {

class Settings;

struct FtpSettings {
    std::u16string Server;
    std::u16string User;
    std::u16string Password;
    std::u16string Directory;   // trimmed when read from the settings
    std::u16string Filename;    // pattern, as the destination
    std::u16string Protocol{};  // ftp (also when empty), ftps, ftps-implicit or sftp
    std::u16string Trust{};     // the trusted servers' fingerprints (config/Upload.h)
};

// The FTP settings as stored.
FtpSettings ReadFtpSettings(const Settings& settings);
// Where and how the settings upload, the fingerprint trusted for the server included; an
// unknown protocol is BadData.
[[nodiscard]] Outcome<UploadTarget> UploadTargetOf(const FtpSettings& ftp);

// The date patterns of a file-name pattern expanded at the given time, then every "&USER&"
// replaced by the login name.
std::u16string ExpandFileName(std::u16string_view pattern, const DateTime& at,
                              std::u16string_view login);
// The remote path: the expanded file name, inside the directory when one is set.
std::u16string RemoteName(const FtpSettings& ftp, const DateTime& at, std::u16string_view login);

// A reply split into its records and checked.
struct CheckedReply {
    std::vector<std::u16string> Kept;  // the well-formed records, in reply order
    std::size_t Malformed = 0;         // pieces that are not well-formed records
    // Fails when nothing can be delivered: with the reply's own problem (an error status, no
    // body), else BadData. Records that came with an error status are delivered.
    Done Usable;
};
CheckedReply CheckReply(const HttpReply& reply);

// A save made ready: the outbox notes the append before its first byte is written.
struct PlannedSave {
    std::u16string Path;  // the expanded destination
    std::string Bytes;    // the records, byte for byte
    PendingAppend Append;
};

class Exporter {
  public:
    using RecordFetch = std::function<Outcome<HttpReply>(std::u16string_view address)>;
    using LoginName = std::function<std::u16string()>;
    Exporter(RecordFetch fetch, Clock clock, LoginName loginName);

    // No reply at all is the fault; an error status is a reply (CheckReply judges it).
    [[nodiscard]] Outcome<HttpReply> Fetch(std::u16string_view request) const;
    // The records appended to the expanded destination, or replacing its contents when `clear`
    // is set. No destination set is a FileSystem fault.
    [[nodiscard]] Outcome<PlannedSave> PlanSave(const std::vector<std::u16string>& records,
                                                std::u16string_view destination, bool clear) const;
    // Writes the plan and flushes it to the disk; a failure leaves the file as it was.
    [[nodiscard]] Done Save(const PlannedSave& plan) const;
    // Logs in to the settings' server.
    [[nodiscard]] Outcome<UploadConnection> Connect(const FtpSettings& ftp) const;
    // Uploads the local file under the remote name the settings give now.
    [[nodiscard]] Done Put(UploadConnection& connection, std::u16string_view local,
                           const FtpSettings& ftp) const;

  private:
    RecordFetch fetch_;
    Clock clock_;
    LoginName loginName_;
};

}  // namespace tesselex
