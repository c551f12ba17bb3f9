#pragma once
// The one way the program writes files it must not lose or leave torn: the settings' companions,
// Config.TXT, export.url, the outbox, the destination and the logs. A write either completes or
// leaves the file as it was, and what must survive a crash or a power cut is flushed to the disk
// before the step that depends on it. Every failure is one Fault, classified in one place.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "config/Outcome.h"

namespace tesselex {

// The system's own words for an error number, always in English (the C locale's texts): they
// read the same in every log that support is sent, and they are plain ASCII, which the 8-bit
// logs and status lines take unchanged.
std::string SystemReason(int error);
// A failed file operation as a fault: NoSpace for a full disk or an exhausted quota (room may
// come back), FileSystem for anything else; the system's words as the reason.
Fault SystemFault(int error);

#ifdef _WIN32
// The same for a Windows error code (GetLastError), in the system's own words.
Fault WindowsFault(unsigned long error);
#endif

// Flushes the file's bytes to the disk.
[[nodiscard]] Done SyncFile(const std::filesystem::path& file);
// Flushes the folder's entries to the disk, so a rename or a removal in it stays done.
[[nodiscard]] Done SyncFolder(const std::filesystem::path& folder);

// Appends the bytes; a write that fails is cut back to the old length (a new file is removed).
// Not flushed: for the logs, which may lose their last line in a power cut.
[[nodiscard]] Done AppendToFile(const std::filesystem::path& file, std::string_view bytes);
// AppendToFile, then flushed: the bytes are on the disk when it answers.
[[nodiscard]] Done AppendDurably(const std::filesystem::path& file, std::string_view bytes);
// Writes the bytes beside the file, flushes them, renames them over the file and flushes the
// folder: after a crash the file is either the old one or the new one, whole. With a backup path,
// the old file becomes the backup (an older backup is removed) just before that rename; when it
// cannot, the file is left as it was.
[[nodiscard]] Done ReplaceFile(const std::filesystem::path& file, std::string_view bytes,
                               const std::filesystem::path& backup = {});
// Cuts the file back to `length` bytes and flushes it.
[[nodiscard]] Done TruncateDurably(const std::filesystem::path& file, std::uintmax_t length);

}  // namespace tesselex
