// The system's words for the Internet functions' error codes (WinInetHandle.h).

#include <string>

#include "config/Strings.h"
#include "config/WinInetHandle.h"

namespace tesselex::detail {

std::u16string InternetErrorWords(DWORD code) {
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM |
            FORMAT_MESSAGE_IGNORE_INSERTS,
        GetModuleHandleW(L"wininet.dll"), code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::u16string words;
    if (length > 0 && text != nullptr) {
        words.assign(reinterpret_cast<const char16_t*>(text), length);
        LocalFree(text);
    }
    words = Trim(words);
    const std::u16string number = FromAscii(std::to_string(code));
    return words.empty() ? u"error " + number : words + u" (" + number + u")";
}

}  // namespace tesselex::detail
