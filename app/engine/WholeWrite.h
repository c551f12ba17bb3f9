#pragma once
// Writes that either complete or leave the file as it was, for the export files and the logs.
// A failure carries the system's reason and error number.

#include <filesystem>
#include <string>

#include "config/Outcome.h"

namespace tesselex {

// The system's own words for an error number, always in English (the C locale's texts): they
// read the same in every log that support is sent, and they are plain ASCII, which the 8-bit
// logs and status lines take unchanged.
std::string SystemReason(int error);

// Appends the bytes; a write that fails is cut back to the old length (a new file is removed).
[[nodiscard]] Done AppendToFile(const std::filesystem::path& file, const std::string& bytes);
// Writes the bytes beside the file and renames them over it once complete. With a backup path,
// the old file becomes the backup (an older backup is removed) just before that rename; when
// it cannot, the file is left as it was.
[[nodiscard]] Done ReplaceFile(const std::filesystem::path& file, const std::string& bytes,
                               const std::filesystem::path& backup = {});

}  // namespace tesselex
