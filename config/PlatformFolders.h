#pragma once
// The per-platform halves of config/Platform.h: one implementation file per platform.

#include <filesystem>

namespace tesselex::detail {

// The program folder when TESSELEX_HOME does not name one: found from the executable's path.
std::filesystem::path ExecutableProgramFolder();

}  // namespace tesselex::detail
