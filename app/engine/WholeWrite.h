#pragma once
// Writes that either complete or leave the file as it was, for the export files and the logs.
// Each answers the system's reason for a failure, or "" when the bytes are all written.

#include <filesystem>
#include <string>

namespace tesselex {

// Appends the bytes; a write that fails is cut back to the old length (a new file is removed).
std::string AppendToFile(const std::filesystem::path& file, const std::string& bytes);
// Writes the bytes beside the file and renames them over it once complete.
std::string ReplaceFile(const std::filesystem::path& file, const std::string& bytes);

}  // namespace tesselex
