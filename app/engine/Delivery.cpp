#include "app/engine/Delivery.h"

#include "app/engine/DurableFile.h"
#include "app/engine/EngineMessages.h"
#include "app/engine/FtpPassword.h"
#include "app/engine/Settings.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Upload.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// Tells the journal the append about to be made, so a crash part way can be repaired.
Done Noted(const SaveJournal& journal, const std::filesystem::path& file, const std::string& bytes,
           bool clear) {
    if (!journal.Appending) {
        return {};
    }
    std::error_code ec;
    const std::uintmax_t length = clear ? 0 : std::filesystem::file_size(file, ec);
    return journal.Appending(
        PendingAppend{file, ec ? 0 : length, bytes.size(), ContentHash(bytes), clear});
}

}  // namespace

std::u16string ExpandFileName(std::u16string_view pattern, const DateTime& at,
                              std::u16string_view login) {
    return ReplaceAll(ExpandDatePatterns(pattern, at), u"&USER&", login);
}

std::u16string RemoteName(const FtpSettings& ftp, const DateTime& at, std::u16string_view login) {
    std::u16string remote = ExpandFileName(ftp.Filename, at, login);
    if (!ftp.Directory.empty()) {
        remote = ftp.Directory + (ftp.Directory.back() == u'/' ? u"" : u"/") + remote;
    }
    return remote;
}

FtpSettings ReadFtpSettings(const Settings& settings) {
    FtpSettings ftp;
    ftp.Server = settings.Setting(SettingKey::FTPServer);
    ftp.User = settings.Setting(SettingKey::FTPUser);
    if (const Outcome<std::u16string> password = ReadFtpPassword(settings); password) {
        ftp.Password = password.Value();
    } else {
        ftp.PasswordFault = password.Failure();
    }
    ftp.Directory = Trim(settings.Setting(SettingKey::FTPDirectory));
    ftp.Filename = settings.Setting(SettingKey::FTPFilename);
    ftp.Protocol = settings.Setting(SettingKey::FTPProtocol);
    ftp.Trust = settings.Setting(SettingKey::FTPTrust);
    return ftp;
}

Outcome<UploadTarget> UploadTargetOf(const FtpSettings& ftp) {
    const Outcome<UploadProtocol> protocol = ParseUploadProtocol(ftp.Protocol);
    if (!protocol) {
        return protocol.Failure();
    }
    if (ftp.PasswordFault && ftp.Password.empty()) {
        return *ftp.PasswordFault;
    }
    UploadTarget target;
    target.Protocol = protocol.Value();
    target.Server = ftp.Server;
    target.User = ftp.User;
    target.Password = ftp.Password;
    target.Trusted = TrustedFingerprint(ftp.Trust, target.Protocol, ftp.Server);
    return target;
}

Delivery::Delivery(Logger& log, Clock clock, LoginName loginName, PasswordReader password)
    : log_(log),
      clock_(std::move(clock)),
      loginName_(std::move(loginName)),
      password_(std::move(password)) {}

Outcome<std::u16string> Delivery::SaveExport(std::u16string_view records,
                                             std::u16string_view destination, bool clear,
                                             std::u16string_view bibId, const SaveJournal& journal) {
    lastSaved_.clear();
    const std::u16string path = ExpandFileName(destination, clock_(), loginName_());
    if (path.empty()) {
        return Fault{FaultKind::FileSystem, u"no destination file is set", 0};
    }
    const std::filesystem::path file = TextToPath(path);
    const std::string bytes = TextToAnsi(records);
    Done written = Noted(journal, file, bytes, clear);
    if (written) {
        // An outbox entry leaves once its records are on the disk, not in a cache.
        written = clear ? ReplaceFile(file, bytes) : AppendDurably(file, bytes);
    }
    if (!written) {
        // The old program failed here without a word (docs/behaviour.md).
        log_.Report(NotSavedMessage(bibId, path, written.Failure()), true);
        return written.Failure();
    }
    lastSaved_ = path;
    log_.Report(SavedMessage(bibId, path, journal.Late), false);
    return path;
}

Done Delivery::SendExport(std::u16string_view destination, const FtpSettings& ftp,
                          std::u16string_view bibId) {
    return SendFile(lastSaved_.empty() ? ExpandFileName(destination, clock_(), loginName_())
                                       : lastSaved_,
                    ftp, bibId);
}

Done Delivery::SendFile(std::u16string_view local, const FtpSettings& ftp,
                        std::u16string_view bibId) {
    const std::u16string remote = RemoteName(ftp, clock_(), loginName_());
    FtpSettings sending = ftp;
    if (sending.PasswordFault && sending.Password.empty() && password_) {
        // A store that did not answer before (a keyring still locked at start-up) is asked again.
        if (const Outcome<std::u16string> password = password_(); password) {
            sending.Password = password.Value();
            sending.PasswordFault.reset();
        } else {
            sending.PasswordFault = password.Failure();
        }
    }
    const Outcome<UploadTarget> target = UploadTargetOf(sending);
    Outcome<UploadConnection> connection =
        target ? UploadConnection::Open(target.Value()) : target.Failure();
    if (!connection) {
        log_.Report(FtpNotConnectedMessage(ftp.Server, connection.Failure()), true);
        return connection.Failure();
    }
    const Done sent = connection.Value().Put(remote, TextToPath(local), false);
    if (!sent) {
        log_.Report(FtpNotSentMessage(bibId, ftp.Server, sent.Failure()), true);
        return sent.Failure();
    }
    log_.Report(SentMessage(bibId, ftp.Server), false);
    return {};
}

}  // namespace tesselex
