#pragma once
// The settings file written whole: a write that fails (disk full, file-size limit) leaves the
// previous file exactly as it was.

#include <QString>
#include <QVariant>
#include <filesystem>
#include <utility>
#include <vector>

#include "config/Outcome.h"

namespace tesselex {

// Every key of the file ("Group/Key") with its value.
using SettingValues = std::vector<std::pair<QString, QVariant>>;

// Writes the values as the INI settings file, readable by its owner only. The file is replaced
// only once the new one is complete and reads back as the values; otherwise the fault, with the
// file unchanged. The file's folder must exist.
[[nodiscard]] Done WriteSettingsFile(const std::filesystem::path& file,
                                     const SettingValues& values);

}  // namespace tesselex
