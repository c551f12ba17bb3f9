// The executable's folder from /proc, the installed-layout rule, and no Windows folder.

#include <cstdlib>
#include <system_error>

#include "config/InstalledLayout.h"
#include "config/Platform.h"
#include "config/PlatformFolders.h"

namespace tesselex {
namespace {

std::filesystem::path Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::filesystem::path() : std::filesystem::path(value);
}

}  // namespace

std::filesystem::path detail::ExecutableProgramFolder() {
    std::error_code ec;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) {
        return std::filesystem::current_path(ec);
    }
    return ChooseProgramFolder(exe.parent_path(), InstalledProgramsFolder(), Environment);
}

std::filesystem::path WindowsFolder() {
    return ProgramFolder();
}

}  // namespace tesselex
