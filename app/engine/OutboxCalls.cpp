// The engine's outbox: every export waits there from the moment it is taken until its records
// are on the disk in the destination (and uploaded), and is retried while the server is away.

#include "app/engine/ExportEngine.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// " (försenad, sparad 10:42:05)", with the date when it was saved on another day.
std::u16string LateNote(const DateTime& savedAt, const DateTime& now) {
    const bool today =
        savedAt.Year == now.Year && savedAt.Month == now.Month && savedAt.Day == now.Day;
    return u" (försenad, sparad " + (today ? FormatTime(savedAt) : FormatDateTime(savedAt)) + u")";
}

}  // namespace

void ExportEngine::ResumeOutbox() {
    if (resumed_) {
        return;
    }
    resumed_ = true;
    for (const Fault& problem : outbox_->Resume()) {
        log_.Report(u"Väntande exporter i " + PathToText(programFolder_ / "Outbox") +
                        u" kunde inte läsas: " + problem.Reason + u".",
                    true);
    }
}

std::optional<bool> ExportEngine::QueueExport(std::u16string_view bibId) {
    ResumeOutbox();
    const Outcome<bool> added =
        outbox_->Add(bibId, seams_.Now ? seams_.Now() : LocalNow(), RequestFor(bibId));
    if (!added) {
        log_.Report(u"Post #" + std::u16string(bibId) + u" kunde inte läggas bland väntande " +
                        u"exporter i " + PathToText(programFolder_ / "Outbox") + u": " +
                        added.Reason() + u".",
                    true);
        return std::nullopt;
    }
    NotifyState();
    return added.Value();
}

Attempt ExportEngine::Trying(ExportReport* report) {
    return [this, report](const OutboxEntry& entry, bool late, const AttemptHooks& hooks) {
        return TryWaiting(entry, late, hooks, report);
    };
}

AfterAttempt ExportEngine::Tried() {
    return [this](const OutboxEntry& entry, const Done& outcome) { AfterTry(entry, outcome); };
}

void ExportEngine::RunWaiting() {
    ResumeOutbox();
    outbox_->RunDue(Trying(nullptr), Tried());
}

ExportReport ExportEngine::ExportNow(const std::u16string& bibId) {
    if (!QueueExport(bibId)) {
        return RunExport();  // without the outbox, as before it
    }
    ExportReport report;
    const Done outcome = outbox_->RunNow(bibId, Trying(&report), Tried());
    if (!outcome && !Retryable(outcome.Failure())) {
        // The cataloguer saw it fail at once: a mistyped bib id does not wait for removal.
        (void)DropWaiting(bibId);
    }
    return report;
}

Done ExportEngine::TryWaiting(const OutboxEntry& entry, bool late, const AttemptHooks& hooks,
                              ExportReport* report) {
    state_.BibId = entry.BibId;
    state_.CanExport = true;
    if (entry.Saved) {
        // Saved by an earlier try: only the upload is still due, of the file then written.
        if (ftp_.Server.empty() || !entry.Append) {
            return {};
        }
        return delivery_.SendFile(PathToText(entry.Append->File), ftp_, entry.BibId);
    }
    if (Val(entry.BibId) <= 0) {
        log_.ShowStatus(u"Ingen aktiv post!", true);
        return Fault{FaultKind::BadData, u"Ingen aktiv post!", 0};
    }
    const DateTime now = seams_.Now ? seams_.Now() : LocalNow();
    const Waited waited{entry.Request,
                        SaveJournal{hooks.Appending, late ? LateNote(entry.SavedAt, now) : u""},
                        hooks.Saved};
    ExportReport done = RunExport(&waited);
    Done outcome;
    if (!done.Delivered()) {
        outcome = done.Failures.empty()
                      ? Fault{FaultKind::BadData, u"nothing was delivered", 0}
                      : done.Failures.back();
    }
    if (report != nullptr) {
        *report = std::move(done);
    }
    return outcome;
}

void ExportEngine::AfterTry(const OutboxEntry& entry, const Done& outcome) {
    if (!outcome && !entry.Failed) {
        // The failure's own line stands above; this says when the next try comes.
        std::u16string message =
            u"Försöker igen kl. " + FormatTime(DateTimeOf(entry.NextTry)).substr(0, 5) + u".";
        log_.ShowStatus(message, false);
        log_.WriteLog(message, true);
    }
    NotifyState();
}

const std::vector<OutboxEntry>& ExportEngine::Waiting() const {
    return outbox_->Entries();
}

std::size_t ExportEngine::RetryWaiting(const std::vector<std::u16string>& bibIds) {
    ResumeOutbox();
    std::vector<std::u16string> chosen = bibIds;
    if (chosen.empty()) {
        for (const OutboxEntry& entry : outbox_->Entries()) {
            chosen.push_back(entry.BibId);
        }
    }
    for (const std::u16string& bibId : chosen) {
        (void)outbox_->RunNow(bibId, Trying(nullptr), Tried());
    }
    NotifyState();
    return outbox_->Entries().size();
}

Done ExportEngine::DropWaiting(std::u16string_view bibId) {
    ResumeOutbox();
    if (outbox_->Find(bibId) == nullptr) {
        return Fault{FaultKind::BadData, u"no export of " + std::u16string(bibId) + u" waits", 0};
    }
    Done dropped = outbox_->Drop(bibId);
    NotifyState();
    return dropped;
}

}  // namespace tesselex
