#include "app/engine/ExportEngine.h"

#include "app/engine/EngineMessages.h"
#include "app/engine/RequestBuilder.h"
#include "app/engine/Settings.h"
#include "config/CfgClass.h"
#include "config/HttpsTrust.h"
#include "config/Platform.h"
#include "config/SharedRoutines.h"
#include "marc/MarcObject.h"

namespace tesselex {
namespace {

std::filesystem::path FolderOf(const EngineSeams& seams) {
    return seams.ProgramFolder.empty() ? tesselex::ProgramFolder() : seams.ProgramFolder;
}

Clock ClockOf(const EngineSeams& seams) {
    return seams.Now ? seams.Now : Clock(LocalNow);
}

Exporter::LoginName LoginOf(const EngineSeams& seams) {
    return seams.LoginName ? seams.LoginName : Exporter::LoginName(GetLoginName);
}

}  // namespace

ExportEngine::ExportEngine(Settings& settings, EngineSeams seams)
    : settings_(settings),
      seams_(std::move(seams)),
      programFolder_(FolderOf(seams_)),
      log_(programFolder_, ClockOf(seams_)),
      exporter_([this](std::u16string_view address) { return FetchRecords(address); },
                ClockOf(seams_), LoginOf(seams_)),
      mainConfig_(std::make_unique<CfgClass>(Messages())),
      requestTable_(
          programFolder_, [this](std::u16string_view address) { return FetchText(address); },
          Messages(), [now = ClockOf(seams_)] { return SecondsOf(now()); }),
      watcher_([now = ClockOf(seams_)] { return SecondsOf(now()); }, seams_.RemoveFile),
      outbox_(std::make_unique<OutboxRunner>(
          Outbox(programFolder_ / "Outbox"), programFolder_ / "Outbox.lock",
          [now = ClockOf(seams_)] { return SecondsOf(now()); })) {}

ExportEngine::~ExportEngine() = default;

MarcObject& ExportEngine::Record() {
    if (!record_) {
        record_ = std::make_unique<MarcObject>();
        record_->SetMessageSink(Messages());
        if (!seams_.DisplayConfig.empty()) {
            record_->OPACConfigFile(seams_.DisplayConfig);
        }
    }
    return *record_;
}

Outcome<std::u16string> ExportEngine::FetchText(std::u16string_view address) const {
    const Outcome<HttpReply> reply = FetchRecords(address);
    if (!reply) {
        return reply.Failure();
    }
    // The request table and the notice: only a usable reply counts.
    if (const Done usable = reply.Value().Usable(); !usable) {
        return usable.Failure();
    }
    return reply.Value().Body;
}

Outcome<HttpReply> ExportEngine::FetchRecords(std::u16string_view address) const {
    if (seams_.Fetch) {
        return HttpReply{200, seams_.Fetch(address)};
    }
    // An https export server is trusted by the trust store, or by the key pinned for it among
    // the trusted servers (tesselex-cli server test --trust).
    const std::u16string trusted = settings_.Setting(SettingKey::FTPTrust);
    return FetchReply(address, ServerTrust{PinnedFingerprint(trusted, address), {}});
}

void ExportEngine::Store(SettingKey key, std::u16string_view value) {
    Store(SettingName(key), value);
}

void ExportEngine::Store(std::u16string_view key, std::u16string_view value) {
    if (!settings_.StoreSetting(key, value)) {
        ReportSettingsNotSaved();
    }
}

void ExportEngine::ReportSettingsNotSaved() {
    log_.ShowStatus(SettingsNotSavedMessage(settings_.FileName()), true);
}

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

void ExportEngine::NotifyState() {
    if (listener_.WaitingChanged && waitingSent_ != outbox_->Entries()) {
        waitingSent_ = outbox_->Entries();
        listener_.WaitingChanged(*waitingSent_);
    }
    state_.Logging = {log_.LogAll(), log_.LogErrors()};
    if (sent_ == state_) {
        return;
    }
    sent_ = state_;
    if (listener_.StateChanged) {
        listener_.StateChanged(state_);
    }
}

bool ExportEngine::AskYesNo(const std::u16string& question) const {
    return !seams_.Ask.AskYesNo || seams_.Ask.AskYesNo(question);
}

void ExportEngine::Message(const std::u16string& title, const std::u16string& text) const {
    if (seams_.Ask.Message) {
        seams_.Ask.Message(title, text);
    }
}

MessageSink ExportEngine::Messages() {
    return
        [this](const std::u16string& title, const std::u16string& text) { Message(title, text); };
}

std::u16string ExportEngine::RequestFor(std::u16string_view bibId) const {
    return BuildRequest(state_.Options, bibId, requestTable_.Table());
}

}  // namespace tesselex
