#include "config/Platform.h"

#include <cstdlib>
#include <system_error>

namespace tesselex {

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
    return exe.parent_path();
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
        return ProgramFolder() / name;
    }
    return name;
}

}  // namespace tesselex
