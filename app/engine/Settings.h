#pragma once
// The program's per-user settings: application "TESSELEX", group "Settings", every value a
// text, a missing key reads as "". Keys are matched without regard to case on every platform,
// so "libraries" and "Libraries" are one setting: a write goes to the key as it is already
// stored, whatever case the caller used. A setting the administrator's policy sets
// (app/engine/Policy.h) reads as the policy's value and is locked.

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/engine/Policy.h"
#include "app/engine/SettingKeys.h"
#include "config/Outcome.h"

class QSettings;

namespace tesselex {

class Settings {
  public:
    // The user's own settings store (the registry key NativeSettingsKey names on Windows, a
    // file under XDG_CONFIG_HOME elsewhere) under the machine's policy.
    Settings();
    // A settings file of its own, for tests and for trying things out; a policy only when given.
    explicit Settings(const std::filesystem::path& iniFile, Policy policy = {});
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    std::u16string Setting(std::u16string_view key) const;
    std::u16string Setting(SettingKey key) const;
    bool IsYes(SettingKey key) const { return Setting(key) == SettingYes; }
    // Set by the administrator: the user cannot change it.
    bool IsLocked(SettingKey key) const { return policy_.Locks(key); }
    const Policy& MachinePolicy() const { return policy_; }

    // Stores and writes the settings at once; the fault when they could not be written: the
    // settings file is replaced whole only once the new one is complete, so it keeps its old
    // content. A locked setting is not written: the administrator's value stands, and the user's
    // own value is kept for when the policy goes (nothing failed).
    [[nodiscard]] Done StoreSetting(std::u16string_view key, std::u16string_view value);
    [[nodiscard]] Done StoreSetting(SettingKey key, std::u16string_view value);
    // Where the settings are written.
    std::u16string FileName() const;

    // Every stored key with its user's own value, in the store's order.
    std::vector<std::pair<std::u16string, std::u16string>> StoredSettings() const;

  private:
    std::unique_ptr<QSettings> store_;
    std::filesystem::path file_;  // empty when the store is not a file (the registry)
    Policy policy_;
};

// Where an application's per-user settings live in the platform's own store. On Windows that
// is the registry key the old program's runtime wrote its settings under, so an upgrading
// cataloguer keeps every setting: HKEY_CURRENT_USER\Software\VB and VBA Program
// Settings\<application>, with one subkey per section ("Settings", "Preferences"). Elsewhere
// it is "": QSettings's own per-user file for that application.
std::u16string NativeSettingsKey(std::u16string_view application, bool windows);

// The cataloguing client's own per-user value naming its holdings workfile (read only);
// `fallback` when it is not set.
std::u16string VoyagerHoldWorkFile(std::u16string_view fallback);

}  // namespace tesselex
