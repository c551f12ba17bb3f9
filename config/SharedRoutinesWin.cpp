// The login name and new temporary files through the Windows functions.

#include <windows.h>

#include <string>
#include <system_error>

#include "config/SharedRoutines.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::error_code SystemError(DWORD error) {
    return std::error_code(static_cast<int>(error), std::system_category());
}

}  // namespace

std::u16string GetLoginName() {
    wchar_t buffer[257] = {};  // UNLEN + 1
    DWORD size = 257;
    if (!GetUserNameW(buffer, &size) || size <= 1) {
        return {};
    }
    return std::u16string(reinterpret_cast<const char16_t*>(buffer), size - 1);
}

Outcome<std::filesystem::path> NewTempFile(std::u16string_view prefix) {
    wchar_t folder[MAX_PATH + 1] = {};
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH) {
        return FileFault(u"temporary folder", SystemError(length == 0 ? GetLastError()
                                                                     : ERROR_FILENAME_EXCED_RANGE));
    }
    // GetTempFileNameW keeps only three letters of a prefix; the whole prefix is wanted here,
    // so the unique part is tried by hand, the file created only when new.
    std::u16string name(prefix);
    for (char16_t& ch : name) {
        if (ch == u'/' || ch == u'\\' || ch == 0) {
            ch = u'_';
        }
    }
    const std::filesystem::path base = std::filesystem::path(std::wstring(folder, length));
    DWORD seed = GetTickCount() ^ (GetCurrentProcessId() << 16);
    for (int attempt = 0; attempt < 1000; ++attempt) {
        seed = seed * 1103515245u + 12345u;
        wchar_t unique[16] = {};
        wsprintfW(unique, L"%06X", static_cast<unsigned>((seed >> 8) & 0xFFFFFF));
        const std::filesystem::path candidate = base / (TextToPath(name).wstring() + unique);
        const HANDLE file = CreateFileW(candidate.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) {
            CloseHandle(file);
            return candidate;
        }
        if (const DWORD error = GetLastError(); error != ERROR_FILE_EXISTS) {
            return FileFault(candidate, SystemError(error));
        }
    }
    return FileFault(base, SystemError(ERROR_FILE_EXISTS));
}

}  // namespace tesselex
