// The small shared routines: URL encoding, whole files and the empty-on-failure forms of the
// file routines. The login name and temporary files have one file per platform
// (SharedRoutinesPosix.cpp, SharedRoutinesWin.cpp).
// The HTTP fetch, the FTP upload, the INI read and the date patterns have files of their own.

#include "config/SharedRoutines.h"

#include <cerrno>
#include <cstdio>
#include <utility>

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

namespace {

std::FILE* OpenFile(const std::filesystem::path& path, bool write) {
#ifdef _WIN32
    return _wfopen(path.c_str(), write ? L"wb" : L"rb");
#else
    return std::fopen(path.c_str(), write ? "wb" : "rb");
#endif
}

std::error_code LastError() {
    // A call that failed without saying why still fails.
    return std::error_code(errno != 0 ? errno : EIO, std::generic_category());
}

}  // namespace

Fault FileFault(const std::filesystem::path& path, std::error_code error) {
    const bool noSpace = error == std::errc::no_space_on_device
#ifdef EDQUOT
                         || error == std::error_code(EDQUOT, std::generic_category())
#endif
        ;
    return Fault{noSpace ? FaultKind::NoSpace : FaultKind::FileSystem,
                 PathToText(path) + u": " + AnsiToText(error.message()), error.value()};
}

Outcome<std::u16string> FileContents(const std::filesystem::path& path) {
    std::error_code ec;
    // Never a folder or a device, whose reading may not end.
    const std::filesystem::file_status status = std::filesystem::status(path, ec);
    if (!std::filesystem::is_regular_file(status)) {
        return FileFault(path, ec ? ec
                                  : std::make_error_code(std::filesystem::is_directory(status)
                                                             ? std::errc::is_a_directory
                                                             : std::errc::invalid_argument));
    }
    errno = 0;
    std::FILE* in = OpenFile(path, false);
    if (in == nullptr) {
        return FileFault(path, LastError());
    }
    std::string bytes;
    char buffer[65536];
    for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, in)) > 0;) {
        bytes.append(buffer, got);
    }
    const bool failed = std::ferror(in) != 0;
    const std::error_code error = LastError();
    std::fclose(in);
    if (failed) {
        return FileFault(path, error);
    }
    return AnsiToText(bytes);
}

Done WriteFileContents(const std::filesystem::path& path, std::u16string_view text) {
    const std::string bytes = TextToAnsi(text);
    errno = 0;
    std::FILE* out = OpenFile(path, true);
    if (out == nullptr) {
        return FileFault(path, LastError());
    }
    const bool written =
        std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size() && std::fflush(out) == 0;
    std::error_code error = written ? std::error_code() : LastError();
    if (std::fclose(out) != 0 && written) {
        error = LastError();  // the last bytes reach the disk only at the close
    }
    if (error) {
        return FileFault(path, error);
    }
    return {};
}

std::u16string ReadWholeFile(const std::filesystem::path& path) {
    Outcome<std::u16string> contents = FileContents(path);
    return contents ? std::move(contents).Value() : std::u16string();
}

std::u16string ReadIniValue(const std::filesystem::path& file, std::u16string_view section,
                            std::u16string_view key) {
    Outcome<std::u16string> value = IniValue(file, section, key);
    return value ? std::move(value).Value() : std::u16string();
}

}  // namespace tesselex
