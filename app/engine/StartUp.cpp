// Start-up: the request table from the export server (or the local fallback), the one-time
// copy of an old Config.TXT into the settings, the watched workfile, and the settings read into
// the engine's state.

#include <exception>
#include <system_error>

#include "app/engine/DurableFile.h"
#include "app/engine/EngineMessages.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/OptionStore.h"
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
    return FileInFolder(programFolder_, name);
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
    std::u16string address = shortcut.Item(u"InternetShortcut\\URL")->Value;
    // The administrator's server address stands in for the user's; export.url stays as it is.
    if (const auto& policy = settings_.MachinePolicy().ServerAddress()) {
        address = *policy;
    }
    mainConfig_ = std::make_unique<CfgClass>(Messages());
    const RequestTable::Loaded loaded = requestTable_.Load(address);
    if (loaded.From == RequestTable::Source::Kept) {
        log_.ShowStatus(KeptRequestTableMessage(programFolder_ / "ConfigURL.last"), false);
    } else if (!requestTable_.Known() && !address.empty()) {
        log_.Report(NoRequestTableMessage(address, loaded.Fetched), true);
    }
}

void ExportEngine::EnsureRequestTable() {
    if (requestTable_.Refetch()) {
        log_.Report(RequestTableFetchedMessage(requestTable_.Address()), false);
    }
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
    options.LockedReason = options.OneAtATimeLocked ? OneAtATimeLockedMessage() : std::u16string();
}

}  // namespace tesselex
