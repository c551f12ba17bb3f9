#pragma once
// Settings an administrator sets once for every user of a machine: each value overrides the
// user's own setting of that name and locks it, and the export server's address (ServerAddress)
// stands in for the one export.url names. A value the program cannot use (an address that does
// not parse, a port out of range, a choice the setting does not have) is not applied: it is
// reported, and the user's own setting stays in force.
//
// Where it is kept: on Windows the values of HKEY_LOCAL_MACHINE\Software\Policies\TESSELEX;
// elsewhere the file /etc/xdg/TESSELEX/policy.conf (the file TESSELEX_POLICY_FILE names, when
// set), lines of Name=Value, "#" or ";" starting a comment line, section lines ignored.

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/engine/SettingKeys.h"

namespace tesselex {

class Policy {
  public:
    using Values = std::vector<std::pair<std::u16string, std::u16string>>;

    // No policy: nothing overridden.
    Policy() = default;
    // The values as read from `source` (named in the reports), checked.
    Policy(const Values& values, std::u16string source);

    // The machine's policy, read from where the platform keeps it.
    static Policy Machine();
    // A policy file; a missing one is no policy, an unreadable one is reported.
    static Policy FromFile(const std::filesystem::path& file);
#ifdef _WIN32
    // The values of a registry key ("HKEY_LOCAL_MACHINE\\...").
    static Policy FromRegistry(std::u16string_view key);
#endif

    // The administrator's value of the setting; nullptr when it is the user's to set.
    const std::u16string* Value(SettingKey key) const;
    bool Locks(SettingKey key) const {
        return Value(key) != nullptr;
    }
    // The export server's address (the request table's), when the administrator sets it.
    const std::optional<std::u16string>& ServerAddress() const {
        return serverAddress_;
    }
    // Where the values were read from.
    const std::u16string& Source() const {
        return source_;
    }
    // One status line per value that was not applied.
    const std::vector<std::u16string>& Problems() const {
        return problems_;
    }

  private:
    std::array<std::optional<std::u16string>, SettingKeyCount> values_;
    std::optional<std::u16string> serverAddress_;
    std::u16string source_;
    std::vector<std::u16string> problems_;
};

// The policy value that names the export server's address.
inline constexpr std::u16string_view PolicyServerAddress = u"ServerAddress";

}  // namespace tesselex
