#pragma once
// The one registry of the per-user setting keys: every key the program reads or writes, with
// what it means. Code names a setting through SettingKey, never through a loose string.

#include <array>
#include <optional>
#include <string_view>

namespace tesselex {

enum class SettingKey {
    Destination,
    Libraries,
    Subjects,
    Clear,
    ISBNDehyphenate,
    Change035,
    Charset,
    Compose,
    Holdtype,
    Authtype,
    String003,
    FTPServer,
    FTPProtocol,
    FTPUser,
    FTPPassword,
    FTPPasswordStore,
    FTPDirectory,
    FTPFilename,
    FTPTrust,
    Logging,
    LogErrors,
    LastBibId,
};

struct SettingKeyInfo {
    SettingKey Key;
    std::u16string_view Name;
    std::string_view Meaning;
};

inline constexpr std::size_t SettingKeyCount = 22;

// Every key, in the order the settings list shows them.
const std::array<SettingKeyInfo, SettingKeyCount>& SettingKeys();
std::u16string_view SettingName(SettingKey key);
// The registry entry whose name equals the text without regard to case.
std::optional<SettingKey> FindSettingKey(std::u16string_view name);

// Booleans are kept as these two texts.
inline constexpr std::u16string_view SettingYes = u"Yes";
inline constexpr std::u16string_view SettingNo = u"No";

}  // namespace tesselex
