// tesselex-cli ftp test [--trust]: the upload settings in force tried without uploading: the
// protocol, the server's certificate or host-key fingerprint and whether it is trusted, the
// log-in and the upload folder's names. --trust stores the fingerprint seen first.

#include <iostream>

#include "app/cli/Commands.h"
#include "app/engine/Exporter.h"
#include "app/engine/Settings.h"
#include "config/Upload.h"
#include "config/Utf.h"

namespace tesselex::cli {
namespace {

int Usage() {
    std::cerr << "tesselex-cli: usage: ftp test [--trust]\n";
    return 2;
}

void PrintCheck(const ServerCheck& check) {
    if (!check.Fingerprint.empty()) {
        std::cout << "fingerprint: " << TextToUtf8(check.Fingerprint) << '\n';
    }
    if (!check.Certificate.empty()) {
        std::cout << "certificate SHA256: " << TextToUtf8(check.Certificate) << '\n';
    }
    std::cout << "trusted: " << (check.Trusted ? "yes" : "no") << '\n';
}

}  // namespace

int RunFtpCommand(const std::vector<std::string>& args) {
    const bool trust = args.size() == 2 && args[1] == "--trust";
    if (args.empty() || args[0] != "test" || (args.size() == 2 && !trust) || args.size() > 2) {
        return Usage();
    }
    Settings settings;
    const FtpSettings ftp = ReadFtpSettings(settings);
    if (ftp.Server.empty()) {
        std::cerr << "tesselex-cli: no FTP server is set (settings set FTPServer HOST)\n";
        return 1;
    }
    Outcome<UploadTarget> target = UploadTargetOf(ftp);
    if (!target) {
        std::cerr << "tesselex-cli: FTPProtocol: " << TextToUtf8(target.Reason()) << '\n';
        return 2;
    }
    std::cout << "protocol: " << TextToUtf8(UploadProtocolName(target.Value().Protocol)) << '\n'
              << "server: " << TextToUtf8(ftp.Server) << '\n';
    Outcome<ServerCheck> check = CheckServer(target.Value(), ftp.Directory);
    if (!check) {
        std::cerr << "tesselex-cli: " << TextToUtf8(check.Reason()) << '\n';
        return 1;
    }
    PrintCheck(check.Value());
    if (trust && !check.Value().Trusted && !check.Value().Fingerprint.empty()) {
        const std::u16string stored =
            TrustedFingerprint(ftp.Trust, target.Value().Protocol, ftp.Server);
        if (!stored.empty()) {
            // Never replaced unnoticed: a changed key may be someone else's server.
            std::cout << "replacing the trusted fingerprint " << TextToUtf8(stored) << '\n';
        }
        const std::u16string store =
            WithTrustedFingerprint(ftp.Trust, target.Value().Protocol, ftp.Server,
                                   check.Value().Fingerprint);
        if (!settings.StoreSetting(SettingKey::FTPTrust, store)) {
            std::cerr << "tesselex-cli: the settings file " << TextToUtf8(settings.FileName())
                      << " could not be written; nothing was trusted\n";
            return 1;
        }
        std::cout << "stored as trusted: " << TextToUtf8(check.Value().Fingerprint) << '\n';
        target.Value().Trusted = check.Value().Fingerprint;
        check = CheckServer(target.Value(), ftp.Directory);
        if (!check) {
            std::cerr << "tesselex-cli: " << TextToUtf8(check.Reason()) << '\n';
            return 1;
        }
        PrintCheck(check.Value());
    }
    const auto& listing = check.Value().Listing;
    if (!listing) {
        std::cerr << "tesselex-cli: " << TextToUtf8(listing.Reason()) << '\n';
        return 1;
    }
    std::cout << "logged in; the upload folder holds " << listing.Value().size() << " names\n";
    for (const std::u16string& name : listing.Value()) {
        std::cout << "  " << TextToUtf8(name) << '\n';
    }
    return 0;
}

}  // namespace tesselex::cli
