// The login name and new temporary files through POSIX.

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {

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

Outcome<std::filesystem::path> NewTempFile(std::u16string_view prefix) {
    std::error_code ec;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(ec);
    if (ec) {
        return FileFault(u"temporary folder", ec);
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
        return FileFault(pattern, std::error_code(errno, std::generic_category()));
    }
    close(fd);
    return std::filesystem::path(pattern);
}

}  // namespace tesselex
