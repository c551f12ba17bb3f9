// tesselex-cli server test [--trust] [ADDRESS]: the export server's certificate, as ftp test
// shows the upload server's: its fingerprint and whether a fetch would trust it. --trust pins the
// key seen (stored among the trusted servers of FTPTrust, as "https://HOST:PORT sha256//...").
// The address is the one in force (the administrator's ServerAddress, else export.url's).

#include <iostream>

#include "app/cli/Commands.h"
#include "app/engine/Settings.h"
#include "config/CfgClass.h"
#include "config/HttpsTrust.h"
#include "config/Platform.h"
#include "config/Utf.h"

namespace tesselex::cli {
namespace {

int Usage() {
    std::cerr << "tesselex-cli: usage: server test [--trust] [ADDRESS]\n";
    return 2;
}

std::u16string AddressInForce(const Settings& settings) {
    if (const auto& address = settings.MachinePolicy().ServerAddress()) {
        return *address;
    }
    CfgClass shortcut;
    shortcut.Load(PathToText(ProgramFolder() / "export.url"));
    return shortcut.Item(u"InternetShortcut\\URL")->Value;
}

// Prints what the check found; false when the server cannot be checked.
bool Check(const std::u16string& address, const std::u16string& trust, HttpsCheck& found) {
    const Outcome<HttpsCheck> check =
        CheckHttpsServer(address, ServerTrust{PinnedFingerprint(trust, address), {}});
    if (!check) {
        std::cerr << "tesselex-cli: " << TextToUtf8(check.Reason()) << '\n';
        return false;
    }
    found = check.Value();
    std::cout << "fingerprint: " << TextToUtf8(found.Fingerprint) << '\n'
              << "certificate SHA256: " << TextToUtf8(found.Certificate) << '\n'
              << "trusted: " << (found.Trusted ? "yes" : "no") << '\n';
    if (!found.Trusted) {
        std::cerr << "tesselex-cli: " << TextToUtf8(found.Reason) << '\n';
    }
    return true;
}

}  // namespace

int RunServerCommand(const std::vector<std::string>& args) {
    if (args.empty() || args[0] != "test" || args.size() > 3) {
        return Usage();
    }
    bool trust = false;
    std::u16string address;
    for (std::size_t i = 1; i < args.size(); ++i) {
        if (args[i] == "--trust" && !trust) {
            trust = true;
        } else if (address.empty() && !args[i].starts_with("-")) {
            address = Utf8ToText(args[i]);
        } else {
            return Usage();
        }
    }
    Settings settings;
    if (address.empty()) {
        address = AddressInForce(settings);
    }
    std::cout << "server: " << TextToUtf8(address) << '\n';
    if (HttpsServerName(address).empty()) {
        std::cerr << "tesselex-cli: not an https address; only an https server is verified\n";
        return 2;
    }
    const std::u16string store = settings.Setting(SettingKey::FTPTrust);
    HttpsCheck check;
    if (!Check(address, store, check)) {
        return 1;
    }
    if (!trust || check.Trusted) {
        return check.Trusted ? 0 : 1;
    }
    if (const std::u16string stored = PinnedFingerprint(store, address); !stored.empty()) {
        // Never replaced unnoticed: a changed key may be someone else's server.
        std::cout << "replacing the trusted fingerprint " << TextToUtf8(stored) << '\n';
    }
    if (settings.IsLocked(SettingKey::FTPTrust)) {
        std::cerr << "tesselex-cli: FTPTrust is set by the administrator for every user of this "
                     "machine; nothing was trusted\n";
        return 1;
    }
    if (!settings.StoreSetting(SettingKey::FTPTrust,
                               WithPinnedFingerprint(store, address, check.Fingerprint))) {
        std::cerr << "tesselex-cli: the settings file " << TextToUtf8(settings.FileName())
                  << " could not be written; nothing was trusted\n";
        return 1;
    }
    std::cout << "stored as trusted: " << TextToUtf8(check.Fingerprint) << '\n';
    return Check(address, settings.Setting(SettingKey::FTPTrust), check) && check.Trusted ? 0 : 1;
}

}  // namespace tesselex::cli
