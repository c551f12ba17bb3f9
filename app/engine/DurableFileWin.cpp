// Flushes through FlushFileBuffers. A folder's names need no flush of their own on Windows:
// NTFS journals them, and a folder cannot be opened for a flush as on POSIX systems.

#include <windows.h>

#include <system_error>

#include "app/engine/DurableFile.h"
#include "config/Utf.h"

namespace tesselex {

Fault WindowsFault(unsigned long error) {
    const bool noSpace = error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL;
    return Fault{noSpace ? FaultKind::NoSpace : FaultKind::FileSystem,
                 Utf8ToText(std::system_category().message(static_cast<int>(error))),
                 static_cast<int>(error)};
}

Done SyncFile(const std::filesystem::path& file) {
    HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return WindowsFault(GetLastError());
    }
    const bool flushed = FlushFileBuffers(handle) != 0;
    const DWORD error = GetLastError();
    CloseHandle(handle);
    if (!flushed) {
        return WindowsFault(error);
    }
    return {};
}

Done SyncFolder(const std::filesystem::path&) {
    return {};
}

}  // namespace tesselex
