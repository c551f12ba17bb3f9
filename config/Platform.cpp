#include "config/Platform.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "config/InstalledLayout.h"

namespace tesselex {

namespace {

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

std::filesystem::path ProgramFolder() {
    if (const char* home = std::getenv("TESSELEX_HOME"); home != nullptr && *home != '\0') {
        return std::filesystem::path(home);
    }
    std::error_code ec;
#ifdef _WIN32
    // The Windows build asks the module name; not needed on the hosts built here.
    const auto exe = std::filesystem::current_path(ec);
    return exe;
#else
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) {
        return std::filesystem::current_path(ec);
    }
    return ChooseProgramFolder(exe.parent_path(), InstalledProgramsFolder(), Environment);
#endif
}

std::filesystem::path WindowsFolder() {
#ifdef _WIN32
    if (const char* windir = std::getenv("WINDIR"); windir != nullptr && *windir != '\0') {
        return std::filesystem::path(windir);
    }
#endif
    return ProgramFolder();
}

std::filesystem::path ResolveInProgramFolder(const std::filesystem::path& name) {
    const std::string text = name.string();
    if (text.find('/') == std::string::npos && text.find('\\') == std::string::npos) {
        return FindReadOnlyFile(name, ProgramFolder(), InstalledDataFolder());
    }
    return name;
}

}  // namespace tesselex
