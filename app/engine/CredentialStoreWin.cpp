// The Credential Manager: one generic credential per name (its target name, e.g.
// "TESSELEX:ftp://anna@ftp.example.org", as "Windows Credentials" > "Generic Credentials"
// lists it), the secret its UTF-16 blob, kept on this machine only (a roaming profile does
// not carry it to another desktop). The calls answer at once; no time limit is needed.

#include <windows.h>
// After windows.h, whose types it uses.
#include <wincred.h>

#include <string>
#include <system_error>

#include "app/engine/CredentialStore.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// A failed call in the system's own words. A session without a credential store (a service
// account without a loaded profile) answers ERROR_NO_SUCH_LOGON_SESSION: no store to speak to.
Fault CredentialFault(DWORD error) {
    const bool denied = error == ERROR_ACCESS_DENIED;
    return Fault{denied ? FaultKind::Refused : FaultKind::NoConnection,
                 Utf8ToText(std::system_category().message(static_cast<int>(error))),
                 static_cast<int>(error)};
}

const wchar_t* Wide(const std::u16string& text) {
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

class CredentialManager final : public CredentialStore {
  public:
    Outcome<std::optional<std::u16string>> Read(std::u16string_view name) override {
        const std::u16string target(name);
        PCREDENTIALW credential = nullptr;
        if (!CredReadW(Wide(target), CRED_TYPE_GENERIC, 0, &credential)) {
            const DWORD error = GetLastError();
            if (error == ERROR_NOT_FOUND) {
                return std::optional<std::u16string>();
            }
            return CredentialFault(error);
        }
        std::u16string secret(credential->CredentialBlobSize / sizeof(char16_t), u'\0');
        if (!secret.empty()) {
            CopyMemory(secret.data(), credential->CredentialBlob, secret.size() * sizeof(char16_t));
        }
        CredFree(credential);
        return std::optional<std::u16string>(std::move(secret));
    }

    Done Write(std::u16string_view name, std::u16string_view secret) override {
        std::u16string target(name);
        std::u16string blob(secret);
        CREDENTIALW credential{};
        credential.Type = CRED_TYPE_GENERIC;
        credential.TargetName = const_cast<wchar_t*>(Wide(target));
        credential.CredentialBlobSize = static_cast<DWORD>(blob.size() * sizeof(char16_t));
        credential.CredentialBlob = reinterpret_cast<LPBYTE>(blob.data());
        credential.Persist = CRED_PERSIST_LOCAL_MACHINE;
        if (!CredWriteW(&credential, 0)) {
            return CredentialFault(GetLastError());
        }
        return {};
    }

    Done Remove(std::u16string_view name) override {
        const std::u16string target(name);
        if (!CredDeleteW(Wide(target), CRED_TYPE_GENERIC, 0)) {
            const DWORD error = GetLastError();
            if (error != ERROR_NOT_FOUND) {
                return CredentialFault(error);
            }
        }
        return {};
    }
};

}  // namespace

std::shared_ptr<CredentialStore> SystemCredentialStore(std::chrono::milliseconds) {
    return std::make_shared<CredentialManager>();
}

}  // namespace tesselex
