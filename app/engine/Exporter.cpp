#include "app/engine/Exporter.h"

#include <system_error>

#include "app/engine/DurableFile.h"
#include "app/engine/Settings.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Upload.h"
#include "config/Utf.h"
#include "marc/RecordReader.h"

namespace tesselex {

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
    ftp.Password = settings.Setting(SettingKey::FTPPassword);
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
    UploadTarget target;
    target.Protocol = protocol.Value();
    target.Server = ftp.Server;
    target.User = ftp.User;
    target.Password = ftp.Password;
    target.Trusted = TrustedFingerprint(ftp.Trust, target.Protocol, ftp.Server);
    return target;
}

CheckedReply CheckReply(const HttpReply& reply) {
    CheckedReply checked;
    for (ReplyRecord& record : SplitReply(reply.Body)) {
        if (record.WellFormed) {
            checked.Kept.push_back(std::move(record.Bytes));
        } else {
            ++checked.Malformed;
        }
    }
    if (checked.Kept.empty()) {
        // An error page, or a reply with pieces but no usable record.
        const Done usable = reply.Usable();
        checked.Usable =
            usable ? Done{Fault{FaultKind::BadData, u"no well-formed record", 0}} : usable;
    }
    return checked;
}

Exporter::Exporter(RecordFetch fetch, Clock clock, LoginName loginName)
    : fetch_(std::move(fetch)), clock_(std::move(clock)), loginName_(std::move(loginName)) {}

Outcome<HttpReply> Exporter::Fetch(std::u16string_view request) const {
    return fetch_(request);
}

Outcome<PlannedSave> Exporter::PlanSave(const std::vector<std::u16string>& records,
                                        std::u16string_view destination, bool clear) const {
    PlannedSave plan;
    plan.Path = ExpandFileName(destination, clock_(), loginName_());
    if (plan.Path.empty()) {
        return Fault{FaultKind::FileSystem, u"no destination file is set", 0};
    }
    for (const std::u16string& record : records) {
        plan.Bytes += TextToAnsi(record);
    }
    const std::filesystem::path file = TextToPath(plan.Path);
    std::error_code ec;
    const std::uintmax_t length = clear ? 0 : std::filesystem::file_size(file, ec);
    plan.Append =
        PendingAppend{file, ec ? 0 : length, plan.Bytes.size(), ContentHash(plan.Bytes), clear};
    return plan;
}

Done Exporter::Save(const PlannedSave& plan) const {
    // An outbox entry leaves once its records are on the disk, not in a cache.
    return plan.Append.Replaces ? ReplaceFile(plan.Append.File, plan.Bytes)
                                : AppendDurably(plan.Append.File, plan.Bytes);
}

Outcome<UploadConnection> Exporter::Connect(const FtpSettings& ftp) const {
    const Outcome<UploadTarget> target = UploadTargetOf(ftp);
    return target ? UploadConnection::Open(target.Value()) : target.Failure();
}

Done Exporter::Put(UploadConnection& connection, std::u16string_view local,
                   const FtpSettings& ftp) const {
    return connection.Put(RemoteName(ftp, clock_(), loginName_()), TextToPath(local), false);
}

}  // namespace tesselex
