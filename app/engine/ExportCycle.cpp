// The fetch-and-deliver sequence of one export, polled or manual, and its report.

#include <exception>

#include "app/engine/ExportEngine.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"
#include "marc/RecordReader.h"

namespace tesselex {

std::u16string BadRecordMessage() {
    // The counter the text names is never assigned, so it always reads 0 (kept on purpose,
    // docs/behaviour.md).
    return u"Post 0 (eller relaterad bestånds- eller auktoritetspost) kunde inte hämtas eller "
           u"hade felaktigt format.";
}

ExportReport ExportEngine::Export(std::u16string_view bibId) {
    SetBibId(bibId);
    if (Val(state_.BibId) <= 0) {
        log_.ShowStatus(u"Ingen aktiv post!", true);
        ExportReport report;
        report.BibId = state_.BibId;
        report.Failures.push_back(Fault{FaultKind::BadData, u"Ingen aktiv post!", 0});
        return report;
    }
    return ExportNow(state_.BibId);
}

ExportReport ExportEngine::RunExport(const Waited* waited) {
    ExportReport report;
    report.BibId = state_.BibId;
    state_.Busy = true;
    // The bib id and the busy state show while the server is asked.
    NotifyState();
    try {
        FetchAndDeliver(report, waited);
    } catch (const std::exception& e) {
        // The bib id stays for a manual retry.
        const std::u16string reason = Utf8ToText(e.what());
        log_.Report(u"Post #" + report.BibId + u" kunde inte exporteras: " + reason + u".", true);
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

void ExportEngine::FetchAndDeliver(ExportReport& report, const Waited* waited) {
    Store(SettingKey::LastBibId, report.BibId);
    report.Request = waited != nullptr ? waited->Request : RequestFor(report.BibId);
    const FetchResult reply = FetchRecords(report.Request);
    if (!reply.Ok() && reply.Failure != NetFailure::HttpStatus) {
        report.Failures.push_back(ReportFailedFetch(reply, report.BibId));
        return;
    }
    std::vector<std::u16string> kept;
    std::u16string exportText;
    for (ReplyRecord& record : SplitReply(reply.Body)) {
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
        // An error page went through the record check above (its own log line stays); a reply
        // with pieces but no usable record is one more error for the bib id.
        report.Failures.push_back(ReportFailedFetch(reply, report.BibId));
        return;
    }
    const std::u16string& destination = state_.Options.Destination;
    Outcome<std::u16string> saved =
        delivery_.SaveExport(exportText, destination, state_.Options.OneAtATime, report.BibId,
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
    Display(std::move(kept), report);
}

// Where the old program took a failed fetch as nothing to deliver (docs/behaviour.md).
Fault ExportEngine::ReportFailedFetch(const FetchResult& reply, std::u16string_view bibId) {
    std::u16string cause;
    switch (reply.Failure) {
        case NetFailure::TimedOut:
            cause = u"exportservern svarade inte i tid";
            break;
        case NetFailure::HttpStatus:
            cause = u"exportservern svarade med HTTP-status " +
                    FromAscii(std::to_string(reply.HttpStatus));
            break;
        case NetFailure::EmptyReply:
            cause = u"exportservern gav ett tomt svar";
            break;
        case NetFailure::None:
            cause = u"svaret innehöll ingen korrekt post";
            break;
        default:
            cause = u"ingen kontakt med exportservern";
            break;
    }
    log_.Report(u"Post #" + std::u16string(bibId) + u" kunde inte hämtas: " + cause + u".", true);
    switch (reply.Failure) {
        case NetFailure::TimedOut:
            return Fault{FaultKind::TimedOut, reply.Reason, 0};
        case NetFailure::HttpStatus:
            return Fault{FaultKind::HttpStatus, reply.Reason, reply.HttpStatus};
        case NetFailure::EmptyReply:
            return Fault{FaultKind::EmptyReply, reply.Reason, 0};
        case NetFailure::None:
            return Fault{FaultKind::BadData, cause, 0};
        default:
            return Fault{FaultKind::NoConnection, reply.Reason, 0};
    }
}

void ExportEngine::Display(std::vector<std::u16string> records, ExportReport& report) {
    MarcObject& record = Record();
    // Read as the server wrote them: UTF-8 for the UTF-8 character choices.
    record.SourceIsUTF8 = state_.Options.Charset != Characters::Latin1;
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
