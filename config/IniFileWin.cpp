// The INI read of the shared routines through the platform's profile functions, as the old
// program read cat.ini: a bare file name is looked up in the Windows folder by the function
// itself, and the rules of IniFilePosix.cpp (the 254-character room, the "§" default, a value
// of one character or less being no value) hold here as they come from this call.

#include <windows.h>

#include <string>

#include "config/EmptyOnFailure.h"
#include "config/SharedRoutines.h"

namespace tesselex {

std::u16string ReadIniValue(const std::filesystem::path& file, std::u16string_view section,
                            std::u16string_view key) {
    return EmptyOnFailure([&] {
        const std::wstring wideSection(section.begin(), section.end());
        const std::wstring wideKey(key.begin(), key.end());
        wchar_t buffer[255] = {};
        const DWORD length = GetPrivateProfileStringW(
            wideSection.c_str(), wideKey.c_str(), L"\u00A7", buffer, 255, file.wstring().c_str());
        if (length <= 1) {
            return std::u16string();
        }
        return std::u16string(reinterpret_cast<const char16_t*>(buffer), length);
    });
}

}  // namespace tesselex
