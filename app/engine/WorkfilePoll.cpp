// The poll of the holdings workfile: wait until the cataloguing client has written it, remove
// it, and export the bib id its 004 links to.

#include <exception>
#include <optional>

#include "app/engine/EngineMessages.h"
#include "app/engine/ExportEngine.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"

namespace tesselex {

Done ExportEngine::Watch() {
    if (state_.Workfile.empty()) {
        return {};  // no workfile, nothing polled: nothing to share
    }
    const std::filesystem::path workfile = TextToPath(state_.Workfile);
    const Watching watching = watcher_.Watch(workfile);
    switch (watching.News) {
        case WatchNews::Elsewhere:
            log_.ShowStatus(WatchedElsewhereMessage(workfile), true);
            break;
        case WatchNews::TakenOver:
            log_.ShowStatus(WatchTakenOverMessage(workfile), false);
            break;
        case WatchNews::Unguarded:
            log_.ShowStatus(LockNotMadeMessage(workfile, watching.Lock.Failure()), true);
            break;
        case WatchNews::None:
            break;
    }
    return watching.Lock;
}

bool ExportEngine::MayTakeWorkfile() {
    const Done watching = Watch();
    return watching || watching.Kind() != FaultKind::Held;
}

void ExportEngine::Poll() {
    if (state_.Busy) {
        return;
    }
    if (MayTakeWorkfile()) {
        TakeWorkfile();
    }
    // Waiting exports go too, the one just queued among them.
    RunWaiting();
    NotifyState();
}

void ExportEngine::TakeWorkfile() {
    if (state_.Workfile.empty()) {
        return;
    }
    const std::filesystem::path workfile = TextToPath(state_.Workfile);
    const std::optional<std::u16string> contents = watcher_.Settled(workfile);
    if (!contents) {
        return;  // not there, or left for the next polls
    }
    const Outcome<std::u16string> bibId = WorkfileBibId(*contents);
    const bool exports = bibId && Val(bibId.Value()) > 0;
    const ExportJob job = JobNow(exports ? bibId.Value() : std::u16string());
    // The export waits in the outbox before its workfile goes: neither a crash nor an absent
    // server loses it.
    const std::optional<Outcome<Queued>> queued =
        exports ? std::optional<Outcome<Queued>>(QueueExport(job)) : std::nullopt;
    // A bad workfile is still removed; each step goes on whatever the one before did.
    const Outcome<Removal> removed = watcher_.Remove(workfile, *contents);
    if (!removed) {
        log_.Report(WorkfileNotRemovedMessage(workfile, removed.Failure()), true);
    } else if (removed.Value() == Removal::SameAgain) {
        if (queued && queued->Ok() && queued->Value() == Queued::New) {
            (void)outbox_->Drop(job.BibId);  // left, it is delivered: no harm beyond that
        }
        return;  // exported already (docs/behaviour.md)
    }
    if (!bibId) {
        log_.Report(WorkfileUnreadableMessage(workfile, bibId.Failure()), true);
        return;
    }
    // A workfile without a usable link is removed without a word (docs/behaviour.md). The bib
    // id shows together with the export it starts.
    state_.BibId = bibId.Value();
    state_.CanExport = !state_.BibId.empty();
    if (queued && !queued->Ok()) {
        (void)RunExport(job);  // without the outbox, as before it
    }
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

}  // namespace tesselex
