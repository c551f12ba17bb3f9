// The INI read of the shared routines where the platform has no profile functions; it follows
// what those functions do on Windows (IniFileWin.cpp):
// - the file is Windows-1252 text; lines end at LF, CR LF or CR;
// - "[name]" starts a section (blanks and tabs around the name ignored); a line "key=value"
//   gives a key, both sides with blanks and tabs removed, and a value in matching single or
//   double quotes loses them;
// - section and key names compare case-insensitively and the first match in the file wins;
// - a value is at most 254 characters, the room the old 255-character buffer left;
// - a missing file, section or key reads as the one-character default "§", and a result of
//   one character or less is no value: both give an empty text;
// - a file that is there but cannot be read (a folder of that name, no permission) is a fault.

#include <cerrno>
#include <string>

#include "config/CodePage.h"
#include "config/Platform.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

constexpr std::size_t kMaxValue = 254;

std::u16string_view TrimBlanksAndTabs(std::u16string_view text) {
    const auto blank = [](char16_t ch) { return ch == u' ' || ch == u'\t'; };
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::u16string ProfileValue(std::u16string_view text, std::u16string_view section,
                            std::u16string_view key) {
    const std::u16string_view wantedSection = TrimBlanksAndTabs(section);
    const std::u16string_view wantedKey = TrimBlanksAndTabs(key);
    bool inSection = false;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find_first_of(u"\r\n", start);
        if (end == std::u16string_view::npos) {
            end = text.size();
        }
        const std::u16string_view line = TrimBlanksAndTabs(text.substr(start, end - start));
        start =
            end + ((end + 1 < text.size() && text[end] == u'\r' && text[end + 1] == u'\n') ? 2 : 1);
        if (!line.empty() && line.front() == u'[') {
            const std::size_t close = line.find(u']');
            inSection = close != std::u16string_view::npos &&
                        EqualsNoCase(TrimBlanksAndTabs(line.substr(1, close - 1)), wantedSection);
            continue;
        }
        const std::size_t equals = line.find(u'=');
        if (!inSection || equals == std::u16string_view::npos ||
            !EqualsNoCase(TrimBlanksAndTabs(line.substr(0, equals)), wantedKey)) {
            continue;
        }
        std::u16string_view value = TrimBlanksAndTabs(line.substr(equals + 1));
        if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') &&
            value.back() == value.front()) {
            value = value.substr(1, value.size() - 2);
        }
        return std::u16string(value.substr(0, kMaxValue));
    }
    return u"\u00A7";
}

}  // namespace

Outcome<std::u16string> IniValue(const std::filesystem::path& file, std::u16string_view section,
                                 std::u16string_view key) {
    const std::u16string name = PathToText(file);
    const bool bare = name.find_first_of(u"/\\") == std::u16string::npos;
    const Outcome<std::u16string> text = FileContents(bare ? WindowsFolder() / file : file);
    if (!text && text.Failure().Code != ENOENT) {
        return text.Failure();
    }
    // A missing file reads as the missing key does.
    const std::u16string value = text ? ProfileValue(text.Value(), section, key) : u"\u00A7";
    return value.size() > 1 ? value : std::u16string();
}

}  // namespace tesselex
