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
#include "marc/RecordReader.h"

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

ExportReport ExportEngine::RunExport(const ExportJob& job, const Waited* waited) {
    ExportReport report;
    report.BibId = job.BibId;
    state_.BibId = job.BibId;
    state_.CanExport = !job.BibId.empty();
    state_.Busy = true;
    // The bib id and the busy state show while the server is asked.
    NotifyState();
    try {
        FetchAndDeliver(report, job, waited);
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
                                   const Waited* waited) {
    Store(SettingKey::LastBibId, job.BibId);
    report.Request = BuildRequest(job.Options, job.BibId, *urlConfig_);
    const Outcome<HttpReply> reply = FetchRecords(report.Request);
    if (!reply) {
        report.Failures.push_back(ReportFailedFetch(reply.Failure(), job.BibId));
        return;
    }
    // An error page goes through the record check too: its own log line stays.
    const std::optional<Fault> problem = reply.Value().Problem();
    std::vector<std::u16string> kept;
    std::u16string exportText;
    for (ReplyRecord& record : SplitReply(reply.Value().Body)) {
        if (record.WellFormed) {
            exportText += record.Bytes;
            kept.push_back(std::move(record.Bytes));
        } else {
            std::u16string message = BadRecordMessage();
            log_.WriteLog(message, true);
            report.Failures.push_back(Fault{FaultKind::BadData, BadRecordMessage(), 0});
        }
    }
    if (exportText.empty()) {
        // An error page, or a reply with pieces but no usable record, is one more error for the
        // bib id; records that came with an error status are delivered as they always were.
        report.Failures.push_back(ReportFailedFetch(
            problem.value_or(Fault{FaultKind::BadData, u"no well-formed record", 0}), job.BibId));
        return;
    }
    const std::u16string& destination = job.Options.Destination;
    // An FTP server set now means one export per upload, whatever the option was at the save.
    const bool clear = job.Options.OneAtATime || !ftp_.Server.empty();
    Outcome<std::u16string> saved =
        delivery_.SaveExport(exportText, destination, clear, report.BibId,
                             waited != nullptr ? waited->Journal : SaveJournal{});
    if (saved) {
        report.SavedTo = std::move(saved).Value();
        if (!ftp_.Server.empty()) {
            if (waited != nullptr) {
                // Not noted, a failed upload is retried with a new fetch instead.
                (void)waited->Saved();
            }
            report.Upload = delivery_.SendExport(destination, ftp_, report.BibId);
        }
    } else {
        report.Failures.push_back(saved.Failure());
    }
    Display(std::move(kept), job.Options.Charset, report);
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
