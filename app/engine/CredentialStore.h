#pragma once
// The system's credential store, where the FTP password is kept instead of the settings: the
// Credential Manager on Windows (one generic credential per name, CredentialStoreWin.cpp), the
// Secret Service (GNOME Keyring, KWallet and the like) through QtKeychain elsewhere
// (CredentialStorePosix.cpp). A secret is read, written and removed by its name; every failure
// is a Fault with the store's own words. Tests give a store of their own (in memory, failing).

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "config/Outcome.h"

namespace tesselex {

class CredentialStore {
  public:
    virtual ~CredentialStore() = default;

    // The secret kept under the name; nothing when the store holds none under it.
    [[nodiscard]] virtual Outcome<std::optional<std::u16string>> Read(std::u16string_view name) = 0;
    // Keeps the secret under the name, in place of one kept there before.
    [[nodiscard]] virtual Done Write(std::u16string_view name, std::u16string_view secret) = 0;
    // Removes what is kept under the name; a name that holds nothing is no failure.
    [[nodiscard]] virtual Done Remove(std::u16string_view name) = 0;
};

// How long one request to the Secret Service may take before the store counts as not
// answering: a D-Bus that hangs never hangs the program. Long enough for a cataloguer to
// answer the desktop's "unlock the keyring" prompt.
inline constexpr std::chrono::milliseconds kCredentialStoreLimit = std::chrono::seconds(20);

// The platform's store. On Windows the calls answer at once and `limit` is not used.
std::shared_ptr<CredentialStore> SystemCredentialStore(
    std::chrono::milliseconds limit = kCredentialStoreLimit);

// A store that answers every call with this fault: a settings file opened on its own (tests,
// tools) has none unless one is given.
std::shared_ptr<CredentialStore> NoCredentialStore(Fault why);

}  // namespace tesselex
