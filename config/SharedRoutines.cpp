// The small shared routines: URL encoding and whole files. The login name and temporary files
// have one file per platform (SharedRoutinesPosix.cpp, SharedRoutinesWin.cpp).
// The HTTP fetch, the FTP upload, the INI read and the date patterns have files of their own.

#include "config/SharedRoutines.h"

#include <fstream>
#include <iterator>

#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {

std::u16string UrlEncode(std::u16string_view text) {
    static constexpr char16_t kHex[] = u"0123456789ABCDEF";
    std::u16string encoded;
    encoded.reserve(text.size());
    for (const char16_t ch : text) {
        const unsigned char byte = CharToAnsi(ch);
        if (IsAnsiAlphaNumeric(byte)) {
            encoded += AnsiToChar(byte);
        } else if (byte == ' ') {
            encoded += u'+';
        } else {
            // No leading zero: byte 0x0A is "%A". Servers of the catalogue read it that way.
            encoded += u'%';
            if (byte >= 16) {
                encoded += kHex[byte >> 4];
            }
            encoded += kHex[byte & 15];
        }
    }
    return encoded;
}

std::u16string ReadWholeFile(const std::filesystem::path& path) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
        return {};
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return {};
    }
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        return {};
    }
    return AnsiToText(bytes);
}

}  // namespace tesselex
