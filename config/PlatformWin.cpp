// The executable's folder from GetModuleFileNameW and the Windows folder from
// GetWindowsDirectoryW. An installed program keeps its files beside the executable, as the old
// program did.

#include <windows.h>

#include <string>
#include <system_error>

#include "config/Platform.h"
#include "config/PlatformFolders.h"

namespace tesselex {

std::filesystem::path detail::ExecutableProgramFolder() {
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

std::filesystem::path WindowsFolder() {
    wchar_t buffer[MAX_PATH + 1] = {};
    const UINT length = GetWindowsDirectoryW(buffer, MAX_PATH + 1);
    if (length == 0 || length > MAX_PATH) {
        return ProgramFolder();
    }
    return std::filesystem::path(std::wstring(buffer, length));
}

}  // namespace tesselex
