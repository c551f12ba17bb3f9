#pragma once
// What must survive a crash or a power cut is on the disk before the step that depends on it:
// these flush a file's bytes, or a folder's names (a rename, a new or removed file), to the disk.

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "config/Outcome.h"

namespace tesselex {

// A failed file operation as a fault: the system's (English) reason, NoSpace for a full disk or
// an exhausted quota (room may come back), FileSystem for anything else.
Fault SystemFault(int error);

// Flushes the file's bytes to the disk.
[[nodiscard]] Done SyncFile(const std::filesystem::path& file);
// Flushes the folder's entries to the disk, so a rename or a removal in it stays done.
[[nodiscard]] Done SyncFolder(const std::filesystem::path& folder);
// Writes the bytes beside the file, flushes them, renames them over the file and flushes the
// folder: after a crash the file is either the old one or the new one, whole.
[[nodiscard]] Done WriteFileDurably(const std::filesystem::path& file, std::string_view bytes);
// Cuts the file back to `length` bytes and flushes it.
[[nodiscard]] Done TruncateDurably(const std::filesystem::path& file, std::uintmax_t length);

}  // namespace tesselex
