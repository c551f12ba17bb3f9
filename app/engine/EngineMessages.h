#pragma once
// The engine's own status and log texts, in one place: what a cataloguer reads when a workfile,
// a lock or the outbox needs their attention.

#include <filesystem>
#include <string>
#include <string_view>

#include "config/Outcome.h"
#include "config/SharedRoutines.h"

namespace tesselex {

// A workfile that could not be removed: exported once, not again until it changes.
std::u16string WorkfileNotRemovedMessage(const std::filesystem::path& workfile, const Fault& why);
// A workfile the record model cannot read at all.
std::u16string WorkfileUnreadableMessage(const std::filesystem::path& workfile, const Fault& why);
// A workfile someone else watches (status line; the CLI's refusal says it on stderr too).
std::u16string WatchedElsewhereMessage(const std::filesystem::path& workfile);
// The workfile's watcher ended: this program watches it from now on.
std::u16string WatchTakenOverMessage(const std::filesystem::path& workfile);
// A workfile whose lock cannot be made: watched anyway.
std::u16string LockNotMadeMessage(const std::filesystem::path& workfile, const Fault& fault);
// The outbox's lock cannot be made: this program sends the outbox unguarded.
std::u16string OutboxLockNotMadeMessage(const std::filesystem::path& lock, const Fault& fault);
// An export handed to the program that sends the outbox (process `holder`, 0 when unknown).
std::u16string HandedOverMessage(std::u16string_view bibId, long long holder);
// A fetch that brought nothing to deliver, with its cause in the cataloguer's words.
std::u16string FetchFailedMessage(std::u16string_view bibId, const Fault& fault);
// Retrying or removing a waiting export is for the program that sends the outbox.
std::u16string OutboxHeldMessage(long long holder);
// A waiting export that could not be removed.
std::u16string NotDroppedMessage(std::u16string_view bibId, const Fault& fault);
// The request table could not be fetched and none is kept: the exports wait for it.
std::u16string NoRequestTableMessage(std::u16string_view address, const Done& fetched);
// The request table came after all, from the server at that address.
std::u16string RequestTableFetchedMessage(std::u16string_view address);
// The request table came from the table kept from the server's last answer.
std::u16string KeptRequestTableMessage(const std::filesystem::path& kept);

// An export's delivery.
std::u16string SavedMessage(std::u16string_view bibId, std::u16string_view path,
                            std::u16string_view late);
std::u16string NotSavedMessage(std::u16string_view bibId, std::u16string_view path,
                               const Fault& fault);
std::u16string FtpNotConnectedMessage(std::u16string_view server, const Fault& fault);
std::u16string FtpNotSentMessage(std::u16string_view bibId, std::u16string_view server,
                                 const Fault& fault);
std::u16string SentMessage(std::u16string_view bibId, std::u16string_view server);
// " (försenad, sparad 10:42:05)", with the date when it was saved on another day than `now`.
std::u16string LateNote(const DateTime& savedAt, const DateTime& now);
// "Post 0 ..." as a bad record of a reply is logged: the record counter it names is never set.
std::u16string BadRecordMessage();
std::u16string NoActiveRecordMessage();
std::u16string NotExportedMessage(std::u16string_view bibId, std::u16string_view reason);
std::u16string WaitsForRetryMessage(std::u16string_view bibId);
std::u16string RetryAtMessage(const DateTime& at);

// The outbox.
std::u16string OutboxUnreadableMessage(const std::filesystem::path& outbox, const Fault& fault);
std::u16string NotQueuedMessage(std::u16string_view bibId, const std::filesystem::path& outbox,
                                const Fault& fault);

// Settings, start-up and the old settings file.
std::u16string SettingsNotSavedMessage(std::u16string_view file);
std::u16string AddressNotSavedMessage(const std::filesystem::path& file, const Fault& fault);
std::u16string SaveQuestion();
std::u16string ConfigNotSavedMessage(const std::filesystem::path& file, const Fault& fault);
std::u16string ConfigSavedMessage();
std::u16string StartFailedMessage(std::u16string_view reason);
std::u16string LogFolderNotMadeMessage(const std::filesystem::path& folder, const Fault& fault);
std::u16string RenameFailedTitle();
std::u16string RenameFailedMessage(const std::filesystem::path& config,
                                   const std::filesystem::path& old);
std::u16string NoWorkfileMessage();
// Plain FTP with a password: said once at each start.
std::u16string PlainPasswordMessage(std::u16string_view server);
// Shown beside the one-at-a-time option while an FTP server is set.
std::u16string OneAtATimeLockedMessage();

// What the administrator's policy holds that the program cannot use (each a status line at
// start-up); the *Text ones are the reasons inside PolicyNotUsedMessage.
std::u16string PolicyChoicesText(std::u16string_view choices);
std::u16string PolicyNoServerText();
std::u16string PolicyPersonalOnlyText();
std::u16string PolicyNotUsedMessage(std::u16string_view name, std::u16string_view value,
                                    std::u16string_view why);
std::u16string PolicyUnknownMessage(std::u16string_view name, std::u16string_view source);
std::u16string PolicyUnreadableMessage(std::u16string_view source);
std::u16string PolicyBadLineMessage(std::u16string_view line, std::u16string_view source);

}  // namespace tesselex
