// The fetch-and-deliver sequence of one export, polled or manual, and its report.

#include <exception>

#include "app/engine/EngineMessages.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/RequestBuilder.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"

namespace tesselex {

ExportReport ExportEngine::Export(std::u16string_view bibId) {
    SetBibId(bibId);
    if (Val(state_.BibId) <= 0) {
        log_.ShowStatus(NoActiveRecordMessage(), true);
        ExportReport report;
        report.BibId = state_.BibId;
        report.Failures.push_back(Fault{FaultKind::BadData, NoActiveRecordMessage(), 0});
        return report;
    }
    return ExportNow(state_.BibId);
}

ExportReport ExportEngine::RunExport(const ExportJob& job, const FromOutbox* waiting) {
    ExportReport report;
    report.BibId = job.BibId;
    state_.BibId = job.BibId;
    state_.CanExport = !job.BibId.empty();
    state_.Busy = true;
    // The bib id and the busy state show while the server is asked.
    NotifyState();
    try {
        FetchAndDeliver(report, job, waiting);
    } catch (const std::exception& e) {
        // The bib id stays for a manual retry.
        const std::u16string reason = Utf8ToText(e.what());
        log_.Report(NotExportedMessage(report.BibId, reason), true);
        report.Failures.push_back(Fault{FaultKind::BadData, reason, 0});
    }
    if (report.Upload && !report.Upload->Ok()) {
        report.Failures.push_back(report.Upload->Failure());
    }
    state_.Busy = false;
    NotifyState();
    if (listener_.Exported) {
        listener_.Exported(report);
    }
    return report;
}

void ExportEngine::FetchAndDeliver(ExportReport& report, const ExportJob& job,
                                   const FromOutbox* waiting) {
    Store(SettingKey::LastBibId, job.BibId);
    report.Request = BuildRequest(job.Options, job.BibId, requestTable_.Table());
    const Outcome<HttpReply> reply = exporter_.Fetch(report.Request);
    if (!reply) {
        report.Failures.push_back(ReportFailedFetch(reply.Failure(), job.BibId));
        return;
    }
    CheckedReply checked = CheckReply(reply.Value());
    for (std::size_t bad = 0; bad < checked.Malformed; ++bad) {
        std::u16string message = BadRecordMessage();
        log_.WriteLog(message, true);
        report.Failures.push_back(Fault{FaultKind::BadData, BadRecordMessage(), 0});
    }
    if (!checked.Usable) {
        // An error page is one more error for the bib id: its record line above stays.
        report.Failures.push_back(ReportFailedFetch(checked.Usable.Failure(), job.BibId));
        return;
    }
    Outcome<std::u16string> saved = Save(checked.Kept, job, waiting);
    if (saved) {
        report.SavedTo = std::move(saved).Value();
        if (!ftp_.Server.empty()) {
            if (waiting != nullptr) {
                // Not noted, a failed upload is retried with a new fetch instead.
                (void)outbox_->NoteSaved(job.BibId);
            }
            report.Upload = Upload(*report.SavedTo, job.BibId);
        }
    } else {
        report.Failures.push_back(saved.Failure());
    }
    Display(std::move(checked.Kept), job.Options.Charset, report);
}

Outcome<std::u16string> ExportEngine::Save(const std::vector<std::u16string>& records,
                                           const ExportJob& job, const FromOutbox* waiting) {
    // An FTP server set now means one export per upload, whatever the option was at the save.
    const bool clear = job.Options.OneAtATime || !ftp_.Server.empty();
    const Outcome<PlannedSave> plan = exporter_.PlanSave(records, job.Options.Destination, clear);
    if (!plan) {
        return plan.Failure();  // no destination is set: the fault goes into the report
    }
    const std::u16string& path = plan.Value().Path;
    Done written =
        waiting != nullptr ? outbox_->NoteAppend(job.BibId, plan.Value().Append) : Done{};
    if (written) {
        written = exporter_.Save(plan.Value());
    }
    if (!written) {
        // The old program failed here without a word (docs/behaviour.md).
        log_.Report(NotSavedMessage(job.BibId, path, written.Failure()), true);
        return written.Failure();
    }
    log_.Report(SavedMessage(job.BibId, path, waiting != nullptr ? waiting->Late : u""), false);
    return path;
}

Done ExportEngine::Upload(std::u16string_view local, std::u16string_view bibId) {
    Outcome<UploadConnection> connection = exporter_.Connect(ftp_);
    if (!connection) {
        log_.Report(FtpNotConnectedMessage(ftp_.Server, connection.Failure()), true);
        return connection.Failure();
    }
    const Done sent = exporter_.Put(connection.Value(), local, ftp_);
    if (!sent) {
        log_.Report(FtpNotSentMessage(bibId, ftp_.Server, sent.Failure()), true);
        return sent.Failure();
    }
    log_.Report(SentMessage(bibId, ftp_.Server), false);
    return {};
}

// Where the old program took a failed fetch as nothing to deliver (docs/behaviour.md).
Fault ExportEngine::ReportFailedFetch(const Fault& fault, std::u16string_view bibId) {
    log_.Report(FetchFailedMessage(bibId, fault), true);
    return fault;
}

void ExportEngine::Display(std::vector<std::u16string> records, Characters charset,
                           ExportReport& report) {
    MarcObject& record = Record();
    // Read as the server wrote them: UTF-8 for the UTF-8 character choices.
    record.SourceIsUTF8 = charset != Characters::Latin1;
    for (std::u16string& text : records) {
        KeptRecord kept;
        record.Import(text);
        for (const auto& field : *record.MarcFields()) {
            kept.Rows.push_back({FormatNumber(field->TagNumber(), 3), field->Indicator(1),
                                 field->Indicator(2), field->DisplayValue()});
        }
        kept.Html = record.OPACDisplayHTML();
        kept.Bytes = std::move(text);
        report.Records.push_back(std::move(kept));
    }
}

}  // namespace tesselex
