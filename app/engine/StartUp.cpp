// Start-up: the request table from the export server (or the local fallback), the one-time
// copy of an old Config.TXT into the settings, the watched workfile, and the settings read into
// the engine's state.

#include <exception>
#include <system_error>

#include "app/engine/DurableFile.h"
#include "app/engine/EngineMessages.h"
#include "app/engine/OptionStore.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "app/engine/SettingsMigration.h"
#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

bool Exists(const std::filesystem::path& path) {
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

}  // namespace

std::filesystem::path ExportEngine::ProgramFile(std::u16string_view name) const {
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(programFolder_, ec)) {
        if (EqualsNoCase(entry.path().filename().u16string(), name)) {
            return entry.path();
        }
    }
    return programFolder_ / TextToPath(name);
}

void ExportEngine::RunStep(void (ExportEngine::*step)()) {
    try {
        (this->*step)();
    } catch (const std::exception& e) {
        log_.ShowStatus(StartFailedMessage(Utf8ToText(e.what())), true);
    }
}

void ExportEngine::Start() {
    LoadConfig();
    NotifyState();
}

void ExportEngine::LoadConfig() {
    RunStep(&ExportEngine::FetchRequestTable);
    RunStep(&ExportEngine::MigrateOldSettings);
    RunStep(&ExportEngine::FindWorkfile);
    RunStep(&ExportEngine::ReadSettings);
    std::error_code ec;
    std::filesystem::create_directories(log_.LogFolder(), ec);
    if (ec) {
        // Every log line after this would fail; said once, here, with the system's reason.
        log_.ShowStatus(LogFolderNotMadeMessage(log_.LogFolder(), SystemFault(ec.value())), true);
    }
    // Once the log switches are read and the log folder is made; the user's own settings apply.
    for (const std::u16string& problem : settings_.MachinePolicy().Problems()) {
        log_.ShowStatus(problem, true);
    }
}

void ExportEngine::FetchRequestTable() {
    CfgClass shortcut(Messages());
    shortcut.Load(PathToText(ProgramFile(u"export.url")));
    shortcutAddress_ = shortcut.Item(u"InternetShortcut\\URL")->Value;
    // The administrator's server address stands in for the user's; export.url stays as it is.
    if (const auto& address = settings_.MachinePolicy().ServerAddress()) {
        shortcutAddress_ = *address;
    }
    mainConfig_ = std::make_unique<CfgClass>(Messages());
    tableFailures_ = 0;
    tableNextTry_ = 0;
    const Done fetched = LoadRequestTable();
    if (!HaveRequestTable() && !shortcutAddress_.empty()) {
        log_.Report(NoRequestTableMessage(shortcutAddress_, fetched), true);
        tableFailures_ = 1;
        tableNextTry_ = SecondsOf(seams_.Now ? seams_.Now() : LocalNow()) + RetryDelaySeconds(1);
    }
}

Done ExportEngine::LoadRequestTable() {
    // No notice, and no table from the server, when it cannot be asked: the table comes from
    // the kept copy or ConfigURL.TXT below.
    const Outcome<std::u16string> notice = FetchText(shortcutAddress_);
    serverNotice_ = notice ? notice.Value() : std::u16string();
    const Done fetched = notice ? Done{} : Done{notice.Failure()};
    urlConfig_ = std::make_unique<CfgClass>(Messages());
    // The request table is the same address's reply; the notice fetched a moment ago is it.
    urlConfig_->LoadFromString(serverNotice_);
    const std::filesystem::path kept = programFolder_ / "ConfigURL.last";
    if (HaveRequestTable()) {
        // Kept for a start while the server is away; a failed write only loses that.
        (void)ReplaceFile(kept, TextToAnsi(serverNotice_));
        return fetched;
    }
    std::error_code ec;
    if (!shortcutAddress_.empty() && std::filesystem::is_regular_file(kept, ec)) {
        urlConfig_ = std::make_unique<CfgClass>(Messages());
        urlConfig_->Load(PathToText(kept));
        if (HaveRequestTable()) {
            log_.ShowStatus(KeptRequestTableMessage(kept), false);
            return fetched;
        }
    }
    urlConfig_ = std::make_unique<CfgClass>(Messages());
    urlConfig_->Load(PathToText(ProgramFile(u"ConfigURL.TXT")));
    return fetched;
}

bool ExportEngine::HaveRequestTable() const {
    return !urlConfig_->Item(u"baseURL")->Value.empty();
}

void ExportEngine::EnsureRequestTable() {
    if (HaveRequestTable() || shortcutAddress_.empty()) {
        return;
    }
    const long long now = SecondsOf(seams_.Now ? seams_.Now() : LocalNow());
    if (now < tableNextTry_ && tableNextTry_ - now <= RetryDelaySeconds(1000)) {
        return;
    }
    // Its failures were said once at start-up; each refetch repeating them would fill the list.
    (void)LoadRequestTable();
    if (HaveRequestTable()) {
        tableFailures_ = 0;
        tableNextTry_ = 0;
        log_.Report(RequestTableFetchedMessage(shortcutAddress_), false);
        return;
    }
    ++tableFailures_;
    tableNextTry_ = now + RetryDelaySeconds(tableFailures_);
}

void ExportEngine::MigrateOldSettings() {
    const std::filesystem::path config = ProgramFile(u"Config.TXT");
    if (!Exists(config)) {
        return;
    }
    mainConfig_->Load(PathToText(config));
    if (!CopySettings(settings_, *mainConfig_)) {
        // Left in place, the file is copied again at the next start instead of being lost.
        ReportSettingsNotSaved();
        return;
    }
    const std::filesystem::path old = ProgramFile(u"config_old.txt");
    // Decided before the rename: where names ignore case, the renamed file is `old` itself.
    const bool oldExists = Exists(old);
    std::error_code ec;
    if (!oldExists) {
        std::filesystem::rename(config, programFolder_ / "config_old.TXT", ec);
    }
    if (oldExists || ec) {
        Message(RenameFailedTitle(), RenameFailedMessage(config, old));
    }
}

void ExportEngine::FindWorkfile() {
    std::u16string workfile = mainConfig_->Item(u"VoyagerFil")->Value;
    const std::u16string fromIni = ReadIniValue("cat.ini", u"Preferences", u"HoldWorkFile");
    if (!fromIni.empty()) {
        workfile = fromIni;
    }
    workfile =
        seams_.VoyagerWorkFile ? seams_.VoyagerWorkFile(workfile) : VoyagerHoldWorkFile(workfile);
    state_.Workfile = workfile;
    if (workfile.empty()) {
        Message(u"TESSEL Export", NoWorkfileMessage());
    }
}

void ExportEngine::ReadSettings() {
    state_.Options = ReadOptions(settings_);
    ftp_ = ReadFtpSettings(settings_);
    const Outcome<UploadProtocol> protocol = ParseUploadProtocol(ftp_.Protocol);
    if (!ftp_.Server.empty() && !ftp_.Password.empty() && protocol &&
        protocol.Value() == UploadProtocol::Ftp) {
        // Said once at each start, not at each upload.
        log_.ShowStatus(PlainPasswordMessage(ftp_.Server), false);
    }
    log_.SetLogAll(settings_.IsYes(SettingKey::Logging));
    log_.SetLogErrors(settings_.IsYes(SettingKey::LogErrors));
    UpdateOneAtATime(state_.Options.OneAtATime);
    if (settings_.Setting(SettingKey::String003).empty()) {
        // The default is written at the first start, as the old program did.
        Store(SettingKey::String003, Code003Texts[static_cast<std::size_t>(state_.Options.Code)]);
    }
    state_.BibId = settings_.Setting(SettingKey::LastBibId);
    state_.CanExport = !state_.BibId.empty();
}

// With FTP each upload carries exactly the records of one export, so the destination is
// emptied before every export and the option is locked.
void ExportEngine::UpdateOneAtATime(bool stored) {
    ExportOptions& options = state_.Options;
    options.OneAtATimeLocked = !ftp_.Server.empty();
    options.OneAtATime = options.OneAtATimeLocked || stored;
    options.LockedReason =
        options.OneAtATimeLocked ? OneAtATimeLockedMessage() : std::u16string();
}

}  // namespace tesselex
