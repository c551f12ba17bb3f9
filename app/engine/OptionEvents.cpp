// The option controls' events: each stores its setting at once, so the next request and the
// next start-up see the choice.

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

#include <fstream>

namespace tesselex {
namespace {

std::u16string_view YesNo(int checkValue) {
    return checkValue == 1 ? SettingYes : SettingNo;
}

// Holdings and authority placement by list index.
const std::u16string_view* Placement(int index) {
    static constexpr std::u16string_view placements[] = {u"interleaved", u"after", u"none"};
    return (index >= 0 && index < 3) ? &placements[index] : nullptr;
}

}  // namespace

void ExportEngine::Chk035_Click() {
    settings_.StoreSetting(SettingKey::Change035, YesNo(form_.Chk035.Value));
}

void ExportEngine::ChkISBN_Click() {
    settings_.StoreSetting(SettingKey::ISBNDehyphenate, YesNo(form_.ChkISBN.Value));
}

void ExportEngine::ChkClear_Click() {
    settings_.StoreSetting(SettingKey::Clear, YesNo(form_.ChkClear.Value));
    clear_ = form_.ChkClear.Value == 1;
}

void ExportEngine::cmbHold_Click() {
    if (const auto* placement = Placement(form_.cmbHold.ListIndex)) {
        settings_.StoreSetting(SettingKey::Holdtype, *placement);
    }
}

void ExportEngine::cmbAuth_Click() {
    if (const auto* placement = Placement(form_.cmbAuth.ListIndex)) {
        settings_.StoreSetting(SettingKey::Authtype, *placement);
    }
}

void ExportEngine::cmbChars_Click() {
    // The decomposed choice is stored as "compose" like the one before it; only an old
    // settings file can bring "decompose" back.
    static constexpr std::u16string_view charsets[][2] = {{u"ISO-8859-1", u""},
                                                          {u"UTF-8", u"composelatin1"},
                                                          {u"UTF-8", u"compose"},
                                                          {u"UTF-8", u"compose"}};
    const int index = form_.cmbChars.ListIndex;
    if (index < 0 || index > 3) {
        return;
    }
    settings_.StoreSetting(SettingKey::Charset, charsets[index][0]);
    settings_.StoreSetting(SettingKey::Compose, charsets[index][1]);
}

void ExportEngine::cmb003_Click() {
    settings_.StoreSetting(SettingKey::String003, form_.cmb003.Text());
}

void ExportEngine::TxtDest_Change() {
    settings_.StoreSetting(SettingKey::Destination, form_.TxtDest.Text);
}

void ExportEngine::TxtSigler_Change() {
    settings_.StoreSetting(u"libraries", form_.TxtSigler.Text);
}

void ExportEngine::txtBibId_Change() {
    form_.Command1.Enabled = !form_.txtBibId.Text.empty();
}

void ExportEngine::SubjectsChosen(std::u16string_view text) {
    if (text.empty()) {
        return;
    }
    form_.TxtSubj.Text = std::u16string(text);
    settings_.StoreSetting(SettingKey::Subjects, text);
}

void ExportEngine::ArkivLoggaAllt_Click() {
    form_.ArkivLoggaAllt.Checked = !form_.ArkivLoggaAllt.Checked;
    log_.SetLogAll(form_.ArkivLoggaAllt.Checked);
    settings_.StoreSetting(SettingKey::Logging,
                           form_.ArkivLoggaAllt.Checked ? SettingYes : SettingNo);
}

void ExportEngine::ArkivLoggaFel_Click() {
    form_.ArkivLoggaFel.Checked = !form_.ArkivLoggaFel.Checked;
    log_.SetLogErrors(form_.ArkivLoggaFel.Checked);
    settings_.StoreSetting(SettingKey::LogErrors,
                           form_.ArkivLoggaFel.Checked ? SettingYes : SettingNo);
}

void ExportEngine::FtpSettingsChosen(const FtpSettings& ftp) {
    settings_.StoreSetting(SettingKey::FTPServer, ftp.Server);
    settings_.StoreSetting(SettingKey::FTPUser, ftp.User);
    settings_.StoreSetting(SettingKey::FTPPassword, ftp.Password);
    settings_.StoreSetting(SettingKey::FTPDirectory, ftp.Directory);
    settings_.StoreSetting(SettingKey::FTPFilename, ftp.Filename);
    ftp_ = ftp;
    ftp_.Directory = Trim(ftp.Directory);
    if (ftp_.Server.empty()) {
        clear_ = settings_.IsYes(SettingKey::Clear);
    }
    UpdateClearOption();
}

void ExportEngine::ServerAddressChosen(std::u16string_view address) {
    std::ofstream out(ProgramFile(u"export.url"), std::ios::binary | std::ios::trunc);
    out << TextToAnsi(u"[InternetShortcut]\r\nURL=" + std::u16string(address) + u"\r\n");
    out.close();
    LoadConfig();
}

}  // namespace tesselex
