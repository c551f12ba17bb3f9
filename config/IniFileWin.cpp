// The INI read of the shared routines through the platform's profile functions, as the old
// program read cat.ini: a bare file name is looked up in the Windows folder by the function
// itself, and the rules of IniFilePosix.cpp (the 254-character room, the "§" default, a value
// of one character or less being no value) hold here as they come from this call. The function
// answers the default for a file it cannot open too; only its error tells such a file apart
// from a missing one.

#include <windows.h>

#include <string>
#include <system_error>

#include "config/SharedRoutines.h"

namespace tesselex {

Outcome<std::u16string> IniValue(const std::filesystem::path& file, std::u16string_view section,
                                 std::u16string_view key) {
    const std::wstring wideSection(section.begin(), section.end());
    const std::wstring wideKey(key.begin(), key.end());
    wchar_t buffer[255] = {};
    SetLastError(ERROR_SUCCESS);
    const DWORD length = GetPrivateProfileStringW(wideSection.c_str(), wideKey.c_str(), L"\u00A7",
                                                  buffer, 255, file.wstring().c_str());
    if (const DWORD error = GetLastError();
        error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION) {
        return FileFault(file, std::error_code(static_cast<int>(error), std::system_category()));
    }
    if (length <= 1) {
        return std::u16string();
    }
    return std::u16string(reinterpret_cast<const char16_t*>(buffer), length);
}

}  // namespace tesselex
