// The engine's outbox: every export waits there from the moment it is taken until its records
// are on the disk in the destination (and uploaded), and is retried while the server is away.

#include "app/engine/EngineMessages.h"
#include "app/engine/ExportEngine.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {

bool ExportEngine::ResumeOutbox() {
    const OutboxRunner::Holding holding = outbox_->Hold();
    outboxHolder_ = holding.Other;
    if (!holding.LockMade) {
        log_.ShowStatus(
            OutboxLockNotMadeMessage(programFolder_ / "Outbox.lock", holding.LockMade.Failure()),
            true);
    }
    for (const Fault& problem : holding.Unreadable) {
        log_.Report(OutboxUnreadableMessage(programFolder_ / "Outbox", problem), true);
    }
    return holding.Holder;
}

ExportJob ExportEngine::JobNow(std::u16string_view bibId) const {
    return ExportJob{std::u16string(bibId), seams_.Now ? seams_.Now() : LocalNow(), state_.Options};
}

Outcome<Queued> ExportEngine::QueueExport(const ExportJob& job) {
    const bool holder = ResumeOutbox();
    if (!holder && outbox_->Find(job.BibId) != nullptr) {
        log_.ShowStatus(HandedOverMessage(job.BibId, outboxHolder_), false);
        return Queued::HandedOver;  // it waits there already: the holder fetches it
    }
    const Outcome<bool> added = outbox_->Add(job.BibId, job.SavedAt, job.Options);
    if (!added) {
        log_.Report(NotQueuedMessage(job.BibId, programFolder_ / "Outbox", added.Failure()), true);
        return added.Failure();
    }
    NotifyState();
    if (!holder) {
        log_.ShowStatus(HandedOverMessage(job.BibId, outboxHolder_), false);
        return Queued::HandedOver;
    }
    return added.Value() ? Queued::New : Queued::Again;
}

Attempt ExportEngine::Trying(ExportReport* report) {
    return [this, report](const OutboxEntry& entry, bool late) {
        return TryWaiting(entry, late, report);
    };
}

AfterAttempt ExportEngine::Tried() {
    return [this](const OutboxEntry& entry, const Done& outcome) { AfterTry(entry, outcome); };
}

void ExportEngine::RunWaiting() {
    if (!ResumeOutbox()) {
        return;  // another program sends them
    }
    EnsureRequestTable();
    if (!requestTable_.Known() && !ServerAddress().empty()) {
        return;  // the requests cannot be built yet: they wait for the table, not fail
    }
    outbox_->RunDue(Trying(nullptr), Tried());
}

ExportReport ExportEngine::ExportNow(const std::u16string& bibId) {
    const ExportJob job = JobNow(bibId);
    const Outcome<Queued> queued = QueueExport(job);
    if (!queued) {
        return RunExport(job);  // without the outbox, as before it
    }
    ExportReport report;
    report.BibId = bibId;
    if (queued.Value() == Queued::HandedOver) {
        return report;
    }
    EnsureRequestTable();
    const Done outcome = outbox_->RunNow(bibId, Trying(&report), Tried());
    if (!outcome && !Retryable(outcome.Failure()) && !ServerFault(outcome.Failure())) {
        // The cataloguer saw it fail at once: a mistyped bib id does not wait for removal. A
        // server that refuses the upload keeps the export waiting until its settings are right.
        (void)DropWaiting(bibId);
    }
    return report;
}

Done ExportEngine::TryWaiting(const OutboxEntry& entry, bool late, ExportReport* report) {
    state_.BibId = entry.BibId;
    state_.CanExport = true;
    if (entry.Saved) {
        // Saved by an earlier try: only the upload is still due, of the file then written.
        if (ftp_.Server.empty() || !entry.Append) {
            return {};
        }
        return Upload(PathToText(entry.Append->File), entry.BibId);
    }
    if (Val(entry.BibId) <= 0) {
        log_.ShowStatus(NoActiveRecordMessage(), true);
        return Fault{FaultKind::BadData, NoActiveRecordMessage(), 0};
    }
    const DateTime now = seams_.Now ? seams_.Now() : LocalNow();
    const FromOutbox waiting{late ? LateNote(entry.SavedAt, now) : u""};
    const ExportJob job{entry.BibId, entry.SavedAt, entry.Options.value_or(state_.Options)};
    ExportReport done = RunExport(job, &waiting);
    Done outcome;
    if (!done.Delivered()) {
        outcome = done.Failures.empty() ? Fault{FaultKind::BadData, u"nothing was delivered", 0}
                                        : done.Failures.back();
    }
    if (report != nullptr) {
        *report = std::move(done);
    }
    return outcome;
}

void ExportEngine::AfterTry(const OutboxEntry& entry, const Done& outcome) {
    // The failure's own line stands above; this says when the next try comes, or, when the
    // server refused, that none comes until the cataloguer asks.
    if (!outcome && (!entry.Failed || ServerFault(outcome.Failure()))) {
        std::u16string message = entry.Failed ? WaitsForRetryMessage(entry.BibId)
                                              : RetryAtMessage(DateTimeOf(entry.NextTry));
        log_.ShowStatus(message, false);
        log_.WriteLog(message, true);
    }
    NotifyState();
}

const std::vector<OutboxEntry>& ExportEngine::Waiting() const {
    return outbox_->Entries();
}

Outcome<std::size_t> ExportEngine::RetryWaiting(const std::vector<std::u16string>& bibIds) {
    if (!ResumeOutbox()) {
        log_.ShowStatus(OutboxHeldMessage(outboxHolder_), true);
        return Fault{FaultKind::Held, u"", static_cast<int>(outboxHolder_)};
    }
    EnsureRequestTable();
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
    if (!ResumeOutbox()) {
        log_.ShowStatus(OutboxHeldMessage(outboxHolder_), true);
        return Fault{FaultKind::Held, u"", static_cast<int>(outboxHolder_)};
    }
    if (outbox_->Find(bibId) == nullptr) {
        return Fault{FaultKind::BadData, u"no export of " + std::u16string(bibId) + u" waits", 0};
    }
    Done dropped = outbox_->Drop(bibId);
    if (!dropped) {
        log_.ShowStatus(NotDroppedMessage(bibId, dropped.Failure()), true);
    }
    NotifyState();
    return dropped;
}

}  // namespace tesselex
