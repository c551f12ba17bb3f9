#pragma once
// The engine's own status and log texts, in one place: what a cataloguer reads when a workfile,
// a lock or the outbox needs their attention.

#include <filesystem>
#include <string>
#include <string_view>

#include "config/Outcome.h"

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
std::u16string NoRequestTableMessage(std::u16string_view address);
// The request table came after all, from the server at that address.
std::u16string RequestTableFetchedMessage(std::u16string_view address);
// The request table came from the table kept from the server's last answer.
std::u16string KeptRequestTableMessage(const std::filesystem::path& kept);

}  // namespace tesselex
