// The front end's changes: each option stores its setting at once, so the next request and the
// next start-up see the choice.

#include <utility>
#include <vector>

#include "app/engine/DurableFile.h"
#include "app/engine/EngineMessages.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/OptionStore.h"
#include "app/engine/Settings.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::u16string_view YesNo(bool on) {
    return on ? SettingYes : SettingNo;
}

}  // namespace

void ExportEngine::SetOption(Option option, const OptionValue& value) {
    const Outcome<std::vector<OptionSetting>> stored = OptionSettings(option, value);
    bool locked = option == Option::OneAtATime && state_.Options.OneAtATimeLocked;
    for (const SettingKey key : OptionKeys(option)) {
        // The administrator's value stands: the option shows it, whatever is chosen.
        locked = locked || settings_.IsLocked(key);
    }
    if (stored && !locked) {
        PutOption(state_.Options, option, value);
        for (const OptionSetting& setting : stored.Value()) {
            Store(setting.Key, setting.Text);
        }
    }
    NotifyState();
}

void ExportEngine::SetBibId(std::u16string_view bibId) {
    state_.BibId = std::u16string(bibId);
    state_.CanExport = !state_.BibId.empty();
    NotifyState();
}

void ExportEngine::SetLogging(LogChoice choice) {
    if (choice.Exports != log_.LogAll()) {
        log_.SetLogAll(choice.Exports);
        Store(SettingKey::Logging, YesNo(choice.Exports));
    }
    if (choice.Errors != log_.LogErrors()) {
        log_.SetLogErrors(choice.Errors);
        Store(SettingKey::LogErrors, YesNo(choice.Errors));
    }
    NotifyState();
}

void ExportEngine::SetFtp(const FtpSettings& ftp) {
    // One failure, one status line.
    bool stored = true;
    for (const auto& [key, value] :
         {std::pair{SettingKey::FTPServer, &ftp.Server}, std::pair{SettingKey::FTPUser, &ftp.User},
          std::pair{SettingKey::FTPPassword, &ftp.Password},
          std::pair{SettingKey::FTPDirectory, &ftp.Directory},
          std::pair{SettingKey::FTPFilename, &ftp.Filename},
          std::pair{SettingKey::FTPProtocol, &ftp.Protocol},
          std::pair{SettingKey::FTPTrust, &ftp.Trust}}) {
        stored = settings_.StoreSetting(key, *value).Ok() && stored;
    }
    if (!stored) {
        ReportSettingsNotSaved();
    }
    ftp_ = ftp;
    ftp_.Directory = Trim(ftp.Directory);
    UpdateOneAtATime(settings_.IsYes(SettingKey::Clear));
    NotifyState();
}

void ExportEngine::SetServerAddress(std::u16string_view address) {
    const std::filesystem::path file = ProgramFile(u"export.url");
    const Done written = ReplaceFile(
        file, TextToAnsi(u"[InternetShortcut]\r\nURL=" + std::u16string(address) + u"\r\n"));
    if (!written) {
        log_.ShowStatus(AddressNotSavedMessage(file, written.Failure()), true);
    }
    Start();
}

}  // namespace tesselex
