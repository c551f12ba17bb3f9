// The executable's folder from GetModuleFileNameW, the per-user setup's folders and the Windows
// folder from GetWindowsDirectoryW. A program run from where the setup installed it keeps its
// files in %LOCALAPPDATA%\TESSELEX (the setup's uninstaller then leaves them alone); run from
// anywhere else it keeps them beside the executable, as the old program did.

#include <windows.h>

#include <cstring>
#include <string>
#include <system_error>

#include "config/InstalledLayout.h"
#include "config/Platform.h"
#include "config/PlatformFolders.h"

namespace tesselex {
namespace {

std::filesystem::path ExecutableFolder() {
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) {
            std::error_code ec;
            return std::filesystem::current_path(ec);
        }
        if (length < buffer.size()) {
            buffer.resize(length);
            return std::filesystem::path(buffer).parent_path();
        }
        buffer.resize(buffer.size() * 2);  // truncated: a long path
    }
}

// The variable in its wide form: a profile folder's name is not limited to the ANSI code page.
std::filesystem::path Environment(const char* name) {
    const std::wstring wideName(name, name + std::strlen(name));  // the names are ASCII
    const DWORD size = GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
    if (size == 0) {
        return {};
    }
    std::wstring value(size, L'\0');
    const DWORD length = GetEnvironmentVariableW(wideName.c_str(), value.data(), size);
    value.resize(length < size ? length : 0);
    return std::filesystem::path(value);
}

}  // namespace

std::filesystem::path detail::ExecutableProgramFolder() {
    const std::filesystem::path exe = ExecutableFolder();
    std::filesystem::path folder = ChooseProgramFolder(exe, InstalledProgramsFolder(), Environment);
    if (folder == exe) {
        // The per-machine setup's folder under Program Files, which no user may write: there too
        // the program folder is the user's own, the same one a per-user copy uses, so that both
        // copies share one outbox and one set of logs.
        const std::filesystem::path machine = Environment("ProgramFiles");
        if (machine.is_absolute()) {
            folder = ChooseProgramFolder(exe, machine / "TESSELEX", Environment);
        }
    }
    return folder;
}

std::filesystem::path InstalledProgramsFolder() {
    const std::filesystem::path local = Environment("LOCALAPPDATA");
    // Without it no folder is the setup's, and every program keeps its files beside itself.
    return local.is_absolute() ? local / "Programs" / "TESSELEX" : std::filesystem::path();
}

std::filesystem::path InstalledDataFolder() {
    return ExecutableFolder();
}

std::filesystem::path WindowsFolder() {
    wchar_t buffer[MAX_PATH + 1] = {};
    const UINT length = GetWindowsDirectoryW(buffer, MAX_PATH + 1);
    if (length == 0 || length > MAX_PATH) {
        return ProgramFolder();
    }
    return std::filesystem::path(std::wstring(buffer, length));
}

}  // namespace tesselex
