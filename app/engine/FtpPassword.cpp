#include "app/engine/FtpPassword.h"

#include "app/engine/CredentialStore.h"
#include "app/engine/Settings.h"
#include "config/Strings.h"
#include "config/Upload.h"

namespace tesselex {
namespace {

// The settings' own fault, with the file it was meant for.
Fault NotWritten(const Settings& settings, const Fault& why) {
    return Fault{
        FaultKind::FileSystem,
        u"the settings could not be written to " + settings.FileName() + u": " + why.Reason,
        why.Code};
}

// Writes the store's copy and reads it back: only a password the store gives back is kept there.
Done KeptInStore(CredentialStore& store, std::u16string_view name, std::u16string_view password) {
    if (Done written = store.Write(name, password); !written) {
        return written;
    }
    const Outcome<std::optional<std::u16string>> back = store.Read(name);
    if (!back) {
        return back.Failure();
    }
    if (back.Value() != password) {
        return Fault{FaultKind::BadData,
                     u"the credential store did not give back the password written as " +
                         std::u16string(name),
                     0};
    }
    return {};
}

}  // namespace

PasswordPlace WhereFtpPasswordIs(const Settings& settings) {
    if (!settings.Setting(SettingKey::FTPPassword).empty()) {
        return PasswordPlace::SettingsFile;
    }
    return settings.Setting(SettingKey::FTPPasswordStore).empty() ? PasswordPlace::Nowhere
                                                                  : PasswordPlace::CredentialStore;
}

std::u16string CredentialName(const Settings& settings) {
    const Outcome<UploadProtocol> protocol =
        ParseUploadProtocol(settings.Setting(SettingKey::FTPProtocol));
    std::u16string server = Trim(settings.Setting(SettingKey::FTPServer));
    if (const std::size_t scheme = server.find(u"://"); scheme != std::u16string::npos) {
        server.erase(0, scheme + 3);
    }
    const std::u16string user = Trim(settings.Setting(SettingKey::FTPUser));
    return u"TESSELEX:" + UploadProtocolName(protocol ? protocol.Value() : UploadProtocol::Ftp) +
           u"://" + (user.empty() ? u"" : user + u"@") + server;
}

Outcome<std::u16string> ReadFtpPassword(const Settings& settings) {
    if (std::u16string own = settings.Setting(SettingKey::FTPPassword); !own.empty()) {
        return own;
    }
    const std::u16string name = settings.Setting(SettingKey::FTPPasswordStore);
    if (name.empty()) {
        return std::u16string();
    }
    const Outcome<std::optional<std::u16string>> stored = settings.Credentials().Read(name);
    if (!stored) {
        Fault fault = stored.Failure();
        fault.Reason =
            u"the credential store did not give the FTP password (" + name + u"): " + fault.Reason;
        return fault;
    }
    if (!stored.Value()) {
        return Fault{
            FaultKind::BadData,
            u"the credential store holds no FTP password as " + name + u"; set the password again",
            0};
    }
    return *stored.Value();
}

Outcome<PasswordKept> StoreFtpPassword(Settings& settings, std::u16string_view password) {
    CredentialStore& store = settings.Credentials();
    const std::u16string recorded = settings.Setting(SettingKey::FTPPasswordStore);
    PasswordKept kept;
    if (password.empty()) {
        // The record goes first: a password the settings still hold stays the one in force.
        Done cleared = settings.RemoveSetting(SettingKey::FTPPasswordStore);
        if (cleared) {
            cleared = settings.RemoveSetting(SettingKey::FTPPassword);
        }
        if (!cleared) {
            return NotWritten(settings, cleared.Failure());
        }
        if (Done removed = recorded.empty() ? Done() : store.Remove(recorded); !removed) {
            kept.StoreFault = removed.Failure();
        }
        return kept;
    }
    const std::u16string name = CredentialName(settings);
    if (Done inStore = KeptInStore(store, name, password); !inStore) {
        // The settings keep it, as before. The record stays: the next start moves the password
        // into the store and removes the older copy it names.
        if (settings.Setting(SettingKey::FTPPassword) != password) {
            if (Done written = settings.StoreSetting(SettingKey::FTPPassword, password); !written) {
                return NotWritten(settings, written.Failure());
            }
        }
        return PasswordKept{PasswordPlace::SettingsFile, inStore.Failure()};
    }
    // Recorded before the settings' copy goes, which stays the one in force until then.
    Done moved = settings.StoreSetting(SettingKey::FTPPasswordStore, name);
    if (moved) {
        moved = settings.RemoveSetting(SettingKey::FTPPassword);
    }
    if (!moved) {
        return NotWritten(settings, moved.Failure());
    }
    kept.Place = PasswordPlace::CredentialStore;
    // The credential names ignore case on Windows: the same name differently written is the one
    // just written.
    if (!recorded.empty() && !EqualsNoCase(recorded, name)) {
        if (Done removed = store.Remove(recorded); !removed) {
            kept.StoreFault = removed.Failure();
        }
    }
    return kept;
}

Outcome<PasswordKept> MoveFtpPasswordToStore(Settings& settings) {
    const std::u16string own = settings.Setting(SettingKey::FTPPassword);
    if (own.empty()) {
        return PasswordKept{WhereFtpPasswordIs(settings), std::nullopt};
    }
    return StoreFtpPassword(settings, own);
}

}  // namespace tesselex
