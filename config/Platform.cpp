#include "config/Platform.h"

#include <cstdlib>
#include <string>

#include "config/InstalledLayout.h"
#include "config/PlatformFolders.h"

namespace tesselex {

std::filesystem::path ProgramFolder() {
    if (const char* home = std::getenv("TESSELEX_HOME"); home != nullptr && *home != '\0') {
        return std::filesystem::path(home);
    }
    return detail::ExecutableProgramFolder();
}

std::filesystem::path ResolveInProgramFolder(const std::filesystem::path& name) {
    const std::string text = name.string();
    if (text.find('/') == std::string::npos && text.find('\\') == std::string::npos) {
        return FindReadOnlyFile(name, ProgramFolder(), InstalledDataFolder());
    }
    return name;
}

}  // namespace tesselex
