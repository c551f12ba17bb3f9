// The poll of the holdings workfile and the fetch-and-deliver sequence of one export.

#include <chrono>
#include <exception>
#include <system_error>

#include "app/engine/ExportEngine.h"
#include "app/engine/RequestBuilder.h"
#include "app/engine/Settings.h"
#include "app/engine/WholeWrite.h"
#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"
#include "marc/RecordReader.h"

namespace tesselex {
namespace {

constexpr char16_t RecordTerminator = 0x1D;
// An incomplete workfile whose size has not changed for this long is taken as it is.
constexpr long long kSettleSeconds = 5;

// The cataloguing client may still be writing it: shorter than its stated length, or without
// the record terminator at the end (such a file waits; docs/behaviour.md).
bool IsIncomplete(std::u16string_view record) {
    return record.empty() || record.back() != RecordTerminator ||
           Val(record.substr(0, 5)) > static_cast<double>(record.size());
}

long long SecondsOf(const DateTime& at) {
    const std::chrono::sys_days day = std::chrono::year_month_day(
        std::chrono::year(at.Year), std::chrono::month(static_cast<unsigned>(at.Month)),
        std::chrono::day(static_cast<unsigned>(at.Day)));
    return static_cast<long long>(day.time_since_epoch().count()) * 86400 + at.Hour * 3600 +
           at.Minute * 60 + at.Second;
}

}  // namespace

std::u16string BadRecordMessage() {
    // The counter the text names is never assigned, so it always reads 0 (kept on purpose,
    // docs/behaviour.md).
    return u"Post 0 (eller relaterad bestånds- eller auktoritetspost) kunde inte hämtas eller "
           u"hade felaktigt format.";
}

std::u16string ExportEngine::BuildRequest() const {
    return tesselex::BuildRequest(OptionsOf(form_), form_.txtBibId.Text, *urlConfig_);
}

void ExportEngine::Timer1_Timer() {
    const std::filesystem::path workfile = TextToPath(form_.TxtFile.Text);
    std::error_code ec;
    if (form_.TxtFile.Text.empty() || !std::filesystem::is_regular_file(workfile, ec)) {
        return;
    }
    const std::u16string contents = ReadWholeFile(workfile);
    if (!WorkfileSettled(contents)) {
        return;  // left for the next polls
    }
    // A bad workfile is still removed; each step goes on whatever the one before did.
    if (RemoveWorkfile(workfile, contents)) {
        return;  // exported already (docs/behaviour.md)
    }
    form_.Timer1.Enabled = false;
    const Outcome<std::u16string> bibId = WorkfileBibId(contents);
    if (!bibId) {
        log_.Report(
            u"Arbetsfilen " + PathToText(workfile) + u" kunde inte läsas: " + bibId.Reason() + u".",
            true);
    } else {
        // A workfile without a usable link is removed without a word (docs/behaviour.md).
        form_.txtBibId.Text = bibId.Value();
        if (Val(form_.txtBibId.Text) > 0) {
            (void)RunExport();
            form_.Command1.Enabled = true;
        }
    }
    form_.Timer1.Enabled = true;
}

Outcome<std::u16string> ExportEngine::WorkfileBibId(std::u16string_view contents) {
    try {
        MarcObject& record = Record();
        record.SourceIsUTF8 = false;
        record.Import(contents);
        return record.MarcFields()->Field(4)->Value();
    } catch (const std::exception& e) {
        return Fault{FaultKind::BadData, Utf8ToText(e.what()), 0};
    }
}

bool ExportEngine::RemoveWorkfile(const std::filesystem::path& workfile,
                                  std::u16string_view contents) {
    std::error_code ec;
    if (seams_.RemoveFile) {
        seams_.RemoveFile(workfile, ec);
    } else {
        std::filesystem::remove(workfile, ec);
    }
    if (!ec) {
        undeletable_.reset();
        return false;
    }
    // Exported at every poll it would append and upload the same records once a second.
    std::error_code timeEc;
    const WorkfileIdentity identity{contents.size(),
                                    std::filesystem::last_write_time(workfile, timeEc),
                                    std::hash<std::u16string_view>{}(contents)};
    if (undeletable_ == identity) {
        return true;
    }
    undeletable_ = identity;
    log_.Report(u"Arbetsfilen " + PathToText(workfile) + u" kunde inte tas bort: " +
                    AnsiToText(SystemReason(ec.value())) +
                    u". Den exporteras inte igen förrän den ändras.",
                true);
    return false;
}

bool ExportEngine::WorkfileSettled(std::u16string_view contents) {
    if (!IsIncomplete(contents)) {
        unsettled_.reset();
        return true;
    }
    const long long now = SecondsOf(seams_.Now ? seams_.Now() : LocalNow());
    if (!unsettled_ || unsettled_->first != contents.size()) {
        unsettled_.emplace(contents.size(), now);
        return false;
    }
    if (now - unsettled_->second < kSettleSeconds) {
        return false;
    }
    unsettled_.reset();
    return true;
}

void ExportEngine::Command1_Click() {
    try {
        if (Val(form_.txtBibId.Text) <= 0) {
            log_.ShowStatus(u"Ingen aktiv post!", true);
            return;
        }
        ExportRecord();
    } catch (const std::exception& e) {
        log_.ShowStatus(Utf8ToText(e.what()), true);
    }
}

void ExportEngine::ExportRecord() {
    (void)RunExport();
}

ExportReport ExportEngine::RunExport() {
    ExportReport report;
    report.BibId = form_.txtBibId.Text;
    busy_ = true;
    // The bib id and the busy state show while the server is asked.
    PublishFormChanges();
    try {
        Store(SettingKey::LastBibId, form_.txtBibId.Text);
        report.Request = BuildRequest();
        const FetchResult reply = FetchRecords(report.Request);
        if (!reply.Ok() && reply.Failure != NetFailure::HttpStatus) {
            report.Failures.push_back(ReportFailedFetch(reply));
        } else {
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
                // An error page went through the record check above (its own log line stays);
                // a reply with pieces but no usable record is one more error for the bib id.
                report.Failures.push_back(ReportFailedFetch(reply));
            } else {
                Outcome<std::u16string> saved =
                    delivery_.SaveExport(exportText, form_.TxtDest.Text, clear_, report.BibId);
                if (saved) {
                    report.SavedTo = std::move(saved).Value();
                    if (!ftp_.Server.empty()) {
                        report.Upload =
                            delivery_.SendExport(form_.TxtDest.Text, ftp_, report.BibId);
                    }
                } else {
                    report.Failures.push_back(saved.Failure());
                }
                RefreshDisplay(std::move(kept), report);
            }
        }
    } catch (const std::exception& e) {
        // The bib id stays for a manual retry.
        const std::u16string reason = Utf8ToText(e.what());
        log_.Report(u"Post #" + report.BibId + u" kunde inte exporteras: " + reason + u".", true);
        report.Failures.push_back(Fault{FaultKind::BadData, reason, 0});
    }
    if (report.Upload && !report.Upload->Ok()) {
        report.Failures.push_back(report.Upload->Failure());
    }
    busy_ = false;
    NotifyState();
    if (listener_.Exported) {
        listener_.Exported(report);
    }
    return report;
}

// Where the old program took a failed fetch as nothing to deliver (docs/behaviour.md).
Fault ExportEngine::ReportFailedFetch(const FetchResult& reply) {
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
    log_.Report(u"Post #" + form_.txtBibId.Text + u" kunde inte hämtas: " + cause + u".", true);
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

void ExportEngine::RefreshDisplay(std::vector<std::u16string> records, ExportReport& report) {
    displayRows_.clear();
    MarcObject& record = Record();
    for (std::u16string& text : records) {
        KeptRecord kept;
        record.SourceIsUTF8 = form_.cmbChars.ListIndex >= 1;
        record.Import(text);
        for (const auto& field : *record.MarcFields()) {
            kept.Rows.push_back({FormatNumber(field->TagNumber(), 3), field->Indicator(1),
                                 field->Indicator(2), field->DisplayValue()});
        }
        kept.Html = record.OPACDisplayHTML();
        displayRows_.insert(displayRows_.end(), kept.Rows.begin(), kept.Rows.end());
        kept.Bytes = std::move(text);
        report.Records.push_back(std::move(kept));
    }
    displayedRecords_.clear();
    for (const KeptRecord& kept : report.Records) {
        displayedRecords_.push_back(kept.Bytes);
    }
}

}  // namespace tesselex
