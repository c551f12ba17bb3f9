// The poll of the holdings workfile: wait until the cataloguing client has written it, remove
// it, and export the bib id its 004 links to.

#include <optional>
#include <exception>
#include <system_error>

#include "app/engine/ExportEngine.h"
#include "app/engine/WholeWrite.h"
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

}  // namespace

void ExportEngine::Poll() {
    if (state_.Busy) {
        return;
    }
    TakeWorkfile();
    // Waiting exports go too, the one just queued among them.
    RunWaiting();
    NotifyState();
}

void ExportEngine::TakeWorkfile() {
    if (state_.Workfile.empty()) {
        return;
    }
    const std::filesystem::path workfile = TextToPath(state_.Workfile);
    std::error_code ec;
    if (!std::filesystem::is_regular_file(workfile, ec)) {
        return;
    }
    const std::u16string contents = ReadWholeFile(workfile);
    if (!WorkfileSettled(contents)) {
        return;  // left for the next polls
    }
    const Outcome<std::u16string> bibId = WorkfileBibId(contents);
    const bool exports = bibId && Val(bibId.Value()) > 0;
    // The export waits in the outbox before its workfile goes: neither a crash nor an absent
    // server loses it.
    const std::optional<bool> queued = exports ? QueueExport(bibId.Value()) : std::nullopt;
    // A bad workfile is still removed; each step goes on whatever the one before did.
    if (RemoveWorkfile(workfile, contents)) {
        if (queued.value_or(false)) {
            (void)outbox_->Drop(bibId.Value());  // left, it is delivered: no harm beyond that
        }
        return;  // exported already (docs/behaviour.md)
    }
    if (!bibId) {
        log_.Report(
            u"Arbetsfilen " + PathToText(workfile) + u" kunde inte läsas: " + bibId.Reason() + u".",
            true);
        return;
    }
    // A workfile without a usable link is removed without a word (docs/behaviour.md). The bib
    // id shows together with the export it starts.
    state_.BibId = bibId.Value();
    state_.CanExport = !state_.BibId.empty();
    if (exports && !queued) {
        (void)RunExport();  // without the outbox, as before it
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

}  // namespace tesselex
