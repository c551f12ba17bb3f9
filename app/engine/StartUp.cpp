// Start-up: the request table from the export server (or the local fallback), the one-time
// copy of an old Config.TXT into the settings, the watched workfile, and the settings read into
// the engine's state.

#include <exception>
#include <system_error>

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "app/engine/SettingsMigration.h"
#include "app/engine/WholeWrite.h"
#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// Shown beside the one-at-a-time option while an FTP server is set.
constexpr std::u16string_view OneAtATimeLockedText =
    u"Denna inställning kan endast göras om FTP inte används. Vid vidarebefordran med FTP "
    u"skickas alltid en post i taget.";

bool Exists(const std::filesystem::path& path) {
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

std::u16string RenameMessage(const std::filesystem::path& config,
                             const std::filesystem::path& old) {
    const std::u16string configText = PathToText(config);
    const std::u16string oldText = PathToText(old);
    return u"TESSELEX  använder inte längre filen " + configText +
           u". Första gången programmet kör kommer inställningarna i denna fil i tillämpliga "
           u"delar att kopieras och sedan döps filen om till " +
           oldText +
           u". Om denna fil redan finns kommer config.txt inte att döpas om och inställningarna "
           u"kopieras varje gång TESSEL EX startar.\r\n\r\nTa i så fall manuellt bort såväl " +
           configText + u" som " + oldText + u" från datorn efter att du kört TESSEL EX en gång. ";
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
        log_.ShowStatus(u"Fel vid start: " + Utf8ToText(e.what()), true);
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
        log_.ShowStatus(u"Loggmappen " + PathToText(log_.LogFolder()) + u" kunde inte skapas: " +
                            AnsiToText(SystemReason(ec.value())) + u".",
                        true);
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
    serverNotice_ = shortcutAddress_.empty() ? std::u16string() : Fetch(shortcutAddress_);

    mainConfig_ = std::make_unique<CfgClass>(Messages());
    urlConfig_ = std::make_unique<CfgClass>(Messages());
    // The request table is the same address's reply; the notice fetched a moment ago is it.
    urlConfig_->LoadFromString(serverNotice_);
    if (urlConfig_->Item(u"baseURL")->Value.empty()) {
        urlConfig_ = std::make_unique<CfgClass>(Messages());
        urlConfig_->Load(PathToText(ProgramFile(u"ConfigURL.TXT")));
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
        Message(u"Fel vid namnändring", RenameMessage(config, old));
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
        Message(u"TESSEL Export",
                u"Du måste ange ett filnamn i Voyager "
                u"Cataloging->Options->Preferences->Files/Folders->Workfiles Hldg");
    }
}

void ExportEngine::ReadSettings() {
    ExportOptions& options = state_.Options;
    options.Destination = settings_.Setting(SettingKey::Destination);
    options.Libraries = settings_.Setting(SettingKey::Libraries);
    options.Subjects = settings_.Setting(SettingKey::Subjects);
    ftp_.Server = settings_.Setting(SettingKey::FTPServer);
    ftp_.User = settings_.Setting(SettingKey::FTPUser);
    ftp_.Password = settings_.Setting(SettingKey::FTPPassword);
    ftp_.Directory = Trim(settings_.Setting(SettingKey::FTPDirectory));
    ftp_.Filename = settings_.Setting(SettingKey::FTPFilename);
    log_.SetLogAll(settings_.IsYes(SettingKey::Logging));
    log_.SetLogErrors(settings_.IsYes(SettingKey::LogErrors));

    UpdateOneAtATime(settings_.IsYes(SettingKey::Clear));
    options.IsbnNoHyphens = settings_.IsYes(SettingKey::ISBNDehyphenate);
    options.Change035 = settings_.IsYes(SettingKey::Change035);

    options.Charset = static_cast<Characters>(GetSelection(
        u"CHARSET",
        settings_.Setting(SettingKey::Charset) + u"/" + settings_.Setting(SettingKey::Compose)));
    options.Holdings =
        static_cast<Placement>(GetSelection(u"HOLDTYPE", settings_.Setting(SettingKey::Holdtype)));
    options.Authorities =
        static_cast<Placement>(GetSelection(u"AUTHTYPE", settings_.Setting(SettingKey::Authtype)));

    const std::u16string string003 = settings_.Setting(SettingKey::String003);
    if (!string003.empty()) {
        options.Code = string003 == Code003Texts[0] ? Code003::SeTesl : Code003::Tessel;
    } else {
        options.Code = Code003::Tessel;
        Store(SettingKey::String003, Code003Texts[static_cast<std::size_t>(options.Code)]);
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
        options.OneAtATimeLocked ? std::u16string(OneAtATimeLockedText) : std::u16string();
}

}  // namespace tesselex
