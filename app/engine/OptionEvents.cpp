// The option controls' events: each stores its setting at once, so the next request and the
// next start-up see the choice.

#include <utility>

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "app/engine/WholeWrite.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::u16string_view YesNo(int checkValue) {
    return checkValue == 1 ? SettingYes : SettingNo;
}

// Holdings and authority placement by list index.
const std::u16string_view* PlacementName(int index) {
    static constexpr std::u16string_view placements[] = {u"interleaved", u"after", u"none"};
    return (index >= 0 && index < 3) ? &placements[index] : nullptr;
}

}  // namespace

void ExportEngine::Chk035_Click() {
    Store(SettingKey::Change035, YesNo(form_.Chk035.Value));
}

void ExportEngine::ChkISBN_Click() {
    Store(SettingKey::ISBNDehyphenate, YesNo(form_.ChkISBN.Value));
}

void ExportEngine::ChkClear_Click() {
    Store(SettingKey::Clear, YesNo(form_.ChkClear.Value));
    clear_ = form_.ChkClear.Value == 1;
}

void ExportEngine::cmbHold_Click() {
    if (const auto* placement = PlacementName(form_.cmbHold.ListIndex)) {
        Store(SettingKey::Holdtype, *placement);
    }
}

void ExportEngine::cmbAuth_Click() {
    if (const auto* placement = PlacementName(form_.cmbAuth.ListIndex)) {
        Store(SettingKey::Authtype, *placement);
    }
}

void ExportEngine::cmbChars_Click() {
    // The decomposed choice is stored as "compose" like the one before it; only an old
    // settings file can bring "decompose" back (kept on purpose, docs/behaviour.md).
    static constexpr std::u16string_view charsets[][2] = {{u"ISO-8859-1", u""},
                                                          {u"UTF-8", u"composelatin1"},
                                                          {u"UTF-8", u"compose"},
                                                          {u"UTF-8", u"compose"}};
    const int index = form_.cmbChars.ListIndex;
    if (index < 0 || index > 3) {
        return;
    }
    Store(SettingKey::Charset, charsets[index][0]);
    Store(SettingKey::Compose, charsets[index][1]);
}

void ExportEngine::cmb003_Click() {
    Store(SettingKey::String003, form_.cmb003.Text());
}

void ExportEngine::TxtDest_Change() {
    Store(SettingKey::Destination, form_.TxtDest.Text);
}

void ExportEngine::TxtSigler_Change() {
    Store(u"libraries", form_.TxtSigler.Text);
}

void ExportEngine::txtBibId_Change() {
    form_.Command1.Enabled = !form_.txtBibId.Text.empty();
}

void ExportEngine::SubjectsChosen(std::u16string_view text) {
    if (text.empty()) {
        return;
    }
    form_.TxtSubj.Text = std::u16string(text);
    Store(SettingKey::Subjects, text);
}

void ExportEngine::ArkivLoggaAllt_Click() {
    form_.ArkivLoggaAllt.Checked = !form_.ArkivLoggaAllt.Checked;
    log_.SetLogAll(form_.ArkivLoggaAllt.Checked);
    Store(SettingKey::Logging, form_.ArkivLoggaAllt.Checked ? SettingYes : SettingNo);
}

void ExportEngine::ArkivLoggaFel_Click() {
    form_.ArkivLoggaFel.Checked = !form_.ArkivLoggaFel.Checked;
    log_.SetLogErrors(form_.ArkivLoggaFel.Checked);
    Store(SettingKey::LogErrors, form_.ArkivLoggaFel.Checked ? SettingYes : SettingNo);
}

void ExportEngine::FtpSettingsChosen(const FtpSettings& ftp) {
    // One failure, one status line.
    bool stored = true;
    for (const auto& [key, value] :
         {std::pair{SettingKey::FTPServer, &ftp.Server}, std::pair{SettingKey::FTPUser, &ftp.User},
          std::pair{SettingKey::FTPPassword, &ftp.Password},
          std::pair{SettingKey::FTPDirectory, &ftp.Directory},
          std::pair{SettingKey::FTPFilename, &ftp.Filename}}) {
        stored = settings_.StoreSetting(key, *value) && stored;
    }
    if (!stored) {
        ReportSettingsNotSaved();
    }
    ftp_ = ftp;
    ftp_.Directory = Trim(ftp.Directory);
    if (ftp_.Server.empty()) {
        clear_ = settings_.IsYes(SettingKey::Clear);
    }
    UpdateClearOption();
}

void ExportEngine::ServerAddressChosen(std::u16string_view address) {
    const std::filesystem::path file = ProgramFile(u"export.url");
    const Done written = ReplaceFile(
        file, TextToAnsi(u"[InternetShortcut]\r\nURL=" + std::u16string(address) + u"\r\n"));
    if (!written) {
        log_.ShowStatus(u"Serveradressen kunde inte sparas till " + PathToText(file) + u": " +
                            written.Reason() + u".",
                        true);
    }
    LoadConfig();
}

}  // namespace tesselex
