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

std::vector<std::u16string> SplitRecords(std::u16string_view reply) {
    std::vector<std::u16string> records;
    std::size_t start = 0;
    while (start < reply.size()) {
        std::size_t end = reply.find(RecordTerminator, start);
        if (end == std::u16string_view::npos) {
            end = reply.size();
        }
        if (end > start) {
            std::u16string record(reply.substr(start, end - start));
            record.push_back(RecordTerminator);
            records.push_back(std::move(record));
        }
        start = end + 1;
    }
    return records;
}

bool IsWellFormed(std::u16string_view record) {
    return Val(record.substr(0, 5)) == static_cast<double>(record.size());
}

std::u16string ExportEngine::BuildRequest() const {
    return tesselex::BuildRequest(form_, *urlConfig_);
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
    try {
        Record().SourceIsUTF8 = false;
        Record().Import(contents);
    } catch (const std::exception&) {
    }
    try {
        form_.txtBibId.Text = Record().MarcFields()->Field(4)->Value();
        if (Val(form_.txtBibId.Text) > 0) {
            ExportRecord();
            form_.Command1.Enabled = true;
        }
    } catch (const std::exception&) {
    }
    form_.Timer1.Enabled = true;
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
    // The bib id and the busy timer show while the server is asked.
    PublishFormChanges();
    try {
        Store(SettingKey::LastBibId, form_.txtBibId.Text);
        const FetchResult reply = FetchRecords(BuildRequest());
        if (!reply.Ok() && reply.Failure != NetFailure::HttpStatus) {
            ReportFailedFetch(reply);
            return;
        }

        std::vector<std::u16string> kept;
        std::u16string exportText;
        for (std::u16string& record : SplitRecords(reply.Body)) {
            if (IsWellFormed(record)) {
                exportText += record;
                kept.push_back(std::move(record));
            } else {
                std::u16string message = BadRecordMessage();
                log_.WriteLog(message, true);
            }
        }
        if (exportText.empty()) {
            // An error page went through the record check above (its own log line stays); a
            // reply with pieces but no usable record is one more error for the bib id.
            ReportFailedFetch(reply);
            return;
        }
        if (SaveExport(exportText) && !ftp_.Server.empty()) {
            SendExport();
        }
        RefreshDisplay(kept);
    } catch (const std::exception&) {
        // An export that fails half way ends quietly; the bib id stays for a manual retry.
    }
}

// Where the old program took a failed fetch as nothing to deliver (docs/behaviour.md).
void ExportEngine::ReportFailedFetch(const FetchResult& reply) {
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
}

bool ExportEngine::SaveExport(std::u16string_view records) {
    return delivery_.SaveExport(records, form_.TxtDest.Text, clear_, form_.txtBibId.Text);
}

void ExportEngine::SendExport() {
    delivery_.SendExport(form_.TxtDest.Text, ftp_, form_.txtBibId.Text);
}

void ExportEngine::RefreshDisplay(const std::vector<std::u16string>& records) {
    displayRows_.clear();
    displayedRecords_ = records;
    MarcObject& record = Record();
    for (const std::u16string& text : records) {
        record.SourceIsUTF8 = form_.cmbChars.ListIndex >= 1;
        record.Import(text);
        for (const auto& field : *record.MarcFields()) {
            displayRows_.push_back({FormatNumber(field->TagNumber(), 3), field->Indicator(1),
                                    field->Indicator(2), field->DisplayValue()});
        }
    }
}

}  // namespace tesselex
