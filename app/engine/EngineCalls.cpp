// The front end's calls in the export's own terms, and the notifications that follow them.

#include <utility>

#include "app/engine/ExportEngine.h"
#include "app/engine/RequestBuilder.h"
#include "config/MessageSink.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

template <typename T>
const T* As(const OptionValue& value) {
    return std::get_if<T>(&value);
}

}  // namespace

void ExportEngine::SetListener(EngineListener listener) {
    listener_ = std::move(listener);
    // A status line never speaks of a state the front end has not been told.
    log_.SetStatusSink([this](const StatusLine& line) {
        NotifyState();
        if (listener_.Status) {
            listener_.Status(line);
        }
    });
}

EngineState ExportEngine::StateNow() const {
    EngineState state;
    state.Options = OptionsOf(form_);
    state.Logging = {log_.LogAll(), log_.LogErrors()};
    state.BibId = form_.txtBibId.Text;
    state.Workfile = form_.TxtFile.Text;
    state.CanExport = form_.Command1.Enabled;
    state.Busy = busy_ || !form_.Timer1.Enabled;
    return state;
}

const EngineState& ExportEngine::State() const {
    current_ = StateNow();
    return current_;
}

void ExportEngine::NotifyState() {
    EngineState state = StateNow();
    if (sent_ == state) {
        return;
    }
    sent_ = std::move(state);
    if (listener_.StateChanged) {
        listener_.StateChanged(*sent_);
    }
}

bool ExportEngine::AskYesNo(const std::u16string& question) const {
    if (seams_.Ask.AskYesNo) {
        return seams_.Ask.AskYesNo(question);
    }
    return !seams_.AskYesNo || seams_.AskYesNo(question);
}

void ExportEngine::Message(const std::u16string& title, const std::u16string& text) const {
    if (seams_.Ask.Message) {
        seams_.Ask.Message(title, text);
    } else {
        ShowMessage(title, text);
    }
}

MessageSink ExportEngine::Messages() {
    return
        [this](const std::u16string& title, const std::u16string& text) { Message(title, text); };
}

void ExportEngine::Start() {
    LoadConfig();
    NotifyState();
}

void ExportEngine::Poll() {
    if (busy_ || !form_.Timer1.Enabled) {
        return;
    }
    Timer1_Timer();
    NotifyState();
}

ExportReport ExportEngine::Export(std::u16string_view bibId) {
    SetBibId(bibId);
    if (Val(form_.txtBibId.Text) <= 0) {
        log_.ShowStatus(u"Ingen aktiv post!", true);
        ExportReport report;
        report.BibId = form_.txtBibId.Text;
        report.Failures.push_back(Fault{FaultKind::BadData, u"Ingen aktiv post!", 0});
        return report;
    }
    return RunExport();
}

void ExportEngine::SetBibId(std::u16string_view bibId) {
    form_.txtBibId.Text = std::u16string(bibId);
    txtBibId_Change();
    NotifyState();
}

void ExportEngine::SetOption(Option option, const OptionValue& value) {
    const auto choose = [&](ComboBox& box, int index, void (ExportEngine::*changed)()) {
        box.ListIndex = index;
        (this->*changed)();
    };
    const auto check = [&](CheckBox& box, void (ExportEngine::*changed)()) {
        if (const bool* on = As<bool>(value)) {
            box.Value = *on ? 1 : 0;
            (this->*changed)();
        }
    };
    const auto text = [&](TextBox& box, void (ExportEngine::*changed)()) {
        if (const std::u16string* t = As<std::u16string>(value)) {
            box.Text = *t;
            (this->*changed)();
        }
    };
    switch (option) {
        case Option::Code003:
            if (const Code003* code = As<Code003>(value)) {
                choose(form_.cmb003, static_cast<int>(*code), &ExportEngine::cmb003_Click);
            }
            break;
        case Option::Authorities:
            if (const Placement* placement = As<Placement>(value)) {
                choose(form_.cmbAuth, static_cast<int>(*placement), &ExportEngine::cmbAuth_Click);
            }
            break;
        case Option::Holdings:
            if (const Placement* placement = As<Placement>(value)) {
                choose(form_.cmbHold, static_cast<int>(*placement), &ExportEngine::cmbHold_Click);
            }
            break;
        case Option::Characters:
            if (const Characters* chars = As<Characters>(value)) {
                choose(form_.cmbChars, static_cast<int>(*chars), &ExportEngine::cmbChars_Click);
            }
            break;
        case Option::Change035:
            check(form_.Chk035, &ExportEngine::Chk035_Click);
            break;
        case Option::IsbnNoHyphens:
            check(form_.ChkISBN, &ExportEngine::ChkISBN_Click);
            break;
        case Option::Subjects:
            if (const std::u16string* subjects = As<std::u16string>(value)) {
                SubjectsChosen(*subjects);
            }
            break;
        case Option::Libraries:
            text(form_.TxtSigler, &ExportEngine::TxtSigler_Change);
            break;
        case Option::Destination:
            text(form_.TxtDest, &ExportEngine::TxtDest_Change);
            break;
        case Option::OneAtATime:
            // Locked while an FTP server is set.
            if (form_.ChkClear.Enabled) {
                check(form_.ChkClear, &ExportEngine::ChkClear_Click);
            }
            break;
    }
    NotifyState();
}

void ExportEngine::SetFtp(const FtpSettings& ftp) {
    FtpSettingsChosen(ftp);
    NotifyState();
}

void ExportEngine::SetServerAddress(std::u16string_view address) {
    ServerAddressChosen(address);
    NotifyState();
}

void ExportEngine::SetLogging(LogChoice choice) {
    if (choice.Exports != log_.LogAll()) {
        ArkivLoggaAllt_Click();
    }
    if (choice.Errors != log_.LogErrors()) {
        ArkivLoggaFel_Click();
    }
    NotifyState();
}

void ExportEngine::SaveOldSettings() {
    SaveConfig();
    NotifyState();
}

std::u16string ExportEngine::RequestFor(std::u16string_view bibId) const {
    return tesselex::BuildRequest(OptionsOf(form_), bibId, *urlConfig_);
}

}  // namespace tesselex
