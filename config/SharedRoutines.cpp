// The small shared routines: URL encoding, whole files, temporary files and the login name.
// The HTTP fetch, the FTP upload, the INI read and the date patterns have files of their own.

#include "config/SharedRoutines.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

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

std::u16string GetLoginName() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_name != nullptr && *found->pw_name != '\0') {
        return Utf8ToText(found->pw_name);
    }
    if (const char* name = getlogin(); name != nullptr && *name != '\0') {
        return Utf8ToText(name);
    }
    if (const char* name = std::getenv("USER"); name != nullptr) {
        return Trim(Utf8ToText(name));
    }
    return {};
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

std::filesystem::path TempFileName(std::u16string_view prefix) {
    std::error_code ec;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(ec);
    if (ec) {
        return {};
    }
    // The prefix names a file, never a folder.
    std::u16string name(prefix);
    for (char16_t& ch : name) {
        if (ch == u'/' || ch == u'\\' || ch == 0) {
            ch = u'_';
        }
    }
    std::string pattern = (folder / TextToPath(name)).string() + "XXXXXX";
    const int fd = mkstemp(pattern.data());
    if (fd < 0) {
        return {};
    }
    close(fd);
    return std::filesystem::path(pattern);
}

}  // namespace tesselex
