#pragma once
// Where the FTP password is kept, and the one way it is read and written (docs/behaviour.md).
//
// It lives in the system's credential store (Settings::Credentials) under a name of its
// protocol, user and server, "TESSELEX:ftp://anna@ftp.example.org", which the setting
// FTPPasswordStore records. The settings hold the password themselves (FTPPassword: the 0600
// file, the registry on Windows) only where no store answered. A password the settings hold is
// the one in force: it was written there last, or it was there before the store was used. It is
// moved into the store at the next start, and leaves the settings only once the store has given
// it back. Each step leaves a password that reads as the one in force, so a store or a program
// that fails half way loses nothing, and the next start tries again.

#include <optional>
#include <string>
#include <string_view>

#include "config/Outcome.h"

namespace tesselex {

class Settings;

enum class PasswordPlace {
    Nowhere,          // no password is set
    SettingsFile,     // FTPPassword holds it
    CredentialStore,  // the credential store, under the name FTPPasswordStore holds
};

// Where the password is kept, as the settings say (the store is not asked).
PasswordPlace WhereFtpPasswordIs(const Settings& settings);

// The name the store keeps the password under for the protocol, user and server in force.
std::u16string CredentialName(const Settings& settings);

// The password in force: the settings' own, else the store's; "" when none is set. A store that
// does not answer, or holds nothing under the recorded name, is the fault.
[[nodiscard]] Outcome<std::u16string> ReadFtpPassword(const Settings& settings);

// Where StoreFtpPassword put the password.
struct PasswordKept {
    PasswordPlace Place = PasswordPlace::Nowhere;
    // Why the store was not used, when the password went to the settings instead; elsewhere,
    // why an older copy could not be removed from the store.
    std::optional<Fault> StoreFault;
};

// Keeps the password: in the store under CredentialName, read back, then recorded in the
// settings and removed from them; in the settings when the store fails. An empty password is
// removed from both. The fault is the settings' write failing (FileSystem).
[[nodiscard]] Outcome<PasswordKept> StoreFtpPassword(Settings& settings,
                                                     std::u16string_view password);

// Start-up: a password the settings hold goes into the store (StoreFtpPassword). Nothing is
// written when they hold none.
[[nodiscard]] Outcome<PasswordKept> MoveFtpPasswordToStore(Settings& settings);

}  // namespace tesselex
