// The order, back-off and repair of the waiting exports.

#include "app/engine/OutboxRunner.h"

#include <algorithm>
#include <system_error>

#include "app/engine/DurableFile.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// The longest back-off: a NextTry further away than this means the clock was put back.
constexpr long long kLongestWait = 300;

Fault NotWaiting(std::u16string_view bibId) {
    return Fault{FaultKind::BadData, u"no export of " + std::u16string(bibId) + u" waits", 0};
}

}  // namespace

OutboxRunner::OutboxRunner(Outbox outbox, std::filesystem::path lockFile,
                           std::function<long long()> now)
    : outbox_(std::move(outbox)), lockFile_(std::move(lockFile)), now_(std::move(now)) {}

OutboxRunner::Holding OutboxRunner::Hold() {
    Holding holding;
    if (!lock_.Held() && !unguarded_) {
        Outcome<FileLock> taken = FileLock::TryTake(lockFile_);
        if (taken) {
            lock_ = std::move(taken).Value();
            resumed_ = false;  // an earlier holder may have left appends to repair
        } else if (taken.Kind() == FaultKind::Held) {
            holding.Other = taken.Failure().Code;
            Look();
            return holding;
        } else {
            holding.LockMade = taken.Failure();
            unguarded_ = true;
        }
    }
    holding.Holder = true;
    if (resumed_) {
        Adopt();
    } else {
        resumed_ = true;
        holding.Unreadable = Resume();
    }
    return holding;
}

std::vector<Fault> OutboxRunner::Resume() {
    std::vector<Fault> problems;
    Outcome<OutboxContents> read = outbox_.Read();
    if (!read) {
        problems.push_back(read.Failure());
        return problems;
    }
    for (const std::filesystem::path& file : read.Value().Unreadable) {
        problems.push_back(
            Fault{FaultKind::BadData, u"the entry " + PathToText(file) + u" cannot be read", 0});
    }
    entries_ = std::move(read.Value().Entries);
    for (OutboxEntry& entry : entries_) {
        if (Done repaired = Repair(entry); !repaired) {
            problems.push_back(repaired.Failure());
        }
    }
    return problems;
}

void OutboxRunner::Look() {
    Outcome<OutboxContents> read = outbox_.Read();
    if (read) {
        entries_ = std::move(read.Value().Entries);
    }
}

void OutboxRunner::Adopt() {
    // Called at every poll: only entry files not read before are parsed.
    std::set<std::filesystem::path> known;
    for (const OutboxEntry& entry : entries_) {
        known.insert(outbox_.EntryFile(entry.BibId));
    }
    Outcome<OutboxContents> read = outbox_.Read(known);
    if (!read) {
        return;  // read again at the next run
    }
    bool adopted = false;
    for (OutboxEntry& entry : read.Value().Entries) {
        if (FindEntry(entry.BibId) == nullptr) {
            entries_.push_back(std::move(entry));
            adopted = true;
        }
    }
    if (adopted) {
        std::stable_sort(entries_.begin(), entries_.end(), SavedBefore);
    }
}

Done OutboxRunner::Repair(OutboxEntry& entry) {
    if (!entry.Append || entry.Saved) {
        return {};
    }
    switch (CheckAppend(*entry.Append)) {
        case AppendState::Complete:
            entry.Saved = true;  // the append stays noted: it names the file to upload
            return outbox_.Put(entry);
        case AppendState::Torn:
            if (Done cut = TruncateDurably(entry.Append->File, entry.Append->LengthBefore); !cut) {
                return cut;
            }
            break;
        case AppendState::NotMade:
            break;
    }
    entry.Append.reset();
    return outbox_.Put(entry);
}

Outcome<bool> OutboxRunner::Add(std::u16string_view bibId, const DateTime& savedAt,
                                const ExportOptions& options) {
    OutboxEntry* waiting = FindEntry(bibId);
    OutboxEntry entry;
    if (waiting != nullptr) {
        // Saved again: fetched again, from the options now in force, keeping its place.
        entry = *waiting;
        entry.Failed = false;
        entry.Saved = false;
        entry.Append.reset();
    } else {
        entry.BibId = std::u16string(bibId);
        entry.SavedAt = savedAt;
    }
    entry.Options = options;
    if (Done put = outbox_.Put(entry); !put) {
        return put.Failure();
    }
    fresh_ = entry.Sequence;
    if (waiting != nullptr) {
        *waiting = std::move(entry);
        return false;
    }
    entries_.push_back(std::move(entry));
    return true;
}

bool OutboxRunner::Due(const OutboxEntry& entry) const {
    const long long now = now_();
    return now >= entry.NextTry || entry.NextTry - now > kLongestWait;
}

void OutboxRunner::RunDue(const Attempt& attempt, const AfterAttempt& after) {
    // While the queue backs off nothing goes, a new export neither: like a mail queue's dead
    // destination, the server is asked again when the wait is over.
    const long long now = now_();
    if (now < queueNextTry_ && queueNextTry_ - now <= kLongestWait) {
        return;
    }
    std::vector<std::u16string> due;
    for (const OutboxEntry& entry : entries_) {
        if (!entry.Failed && Due(entry)) {
            due.push_back(entry.BibId);
        }
    }
    for (const std::u16string& bibId : due) {
        OutboxEntry* entry = FindEntry(bibId);
        if (entry == nullptr) {
            continue;
        }
        const Done outcome = Run(*entry, attempt, after);
        if (!outcome && ServerFault(outcome.Failure())) {
            return;  // Run held the queue: the rest waits for the server
        }
    }
}

Done OutboxRunner::RunNow(std::u16string_view bibId, const Attempt& attempt,
                          const AfterAttempt& after) {
    OutboxEntry* entry = FindEntry(bibId);
    if (entry == nullptr) {
        return NotWaiting(bibId);
    }
    return Run(*entry, attempt, after);
}

Done OutboxRunner::Run(OutboxEntry& entry, const Attempt& attempt, const AfterAttempt& after) {
    const bool late = entry.Sequence != fresh_ || entry.Attempts > 0;
    fresh_ = 0;
    const std::u16string bibId = entry.BibId;
    const Done outcome = attempt(entry, late);
    OutboxEntry* tried = FindEntry(bibId);
    if (outcome) {
        queueFailures_ = 0;
        queueNextTry_ = 0;
        const Done removed = outbox_.Remove(bibId);
        if (removed) {
            entries_.erase(entries_.begin() + (tried - entries_.data()));
            if (after) {
                OutboxEntry gone;
                gone.BibId = bibId;
                after(gone, outcome);
            }
        }
        return removed;
    }
    tried->LastReason = outcome.Reason();
    if (!tried->Saved) {
        tried->Append.reset();  // a failed append is cut back: nothing of it stays
    }
    ++tried->Attempts;  // a try that failed for good is a try too
    tried->Failed = !Retryable(outcome.Failure());
    if (!tried->Failed) {
        tried->NextTry = now_() + RetryDelaySeconds(tried->Attempts);
    }
    if (ServerFault(outcome.Failure())) {
        // Also when no retry cures it (a refused log-in, an untrusted server): the next entry
        // would only meet the same refusal, so the queue waits before it tries one more.
        ++queueFailures_;
        queueNextTry_ = now_() + RetryDelaySeconds(queueFailures_);
        tried->NextTry = std::max(tried->NextTry, queueNextTry_);
    }
    // A failed write leaves the entry as the try found it on the disk: it is tried again.
    (void)outbox_.Put(*tried);
    if (after) {
        after(*tried, outcome);
    }
    return outcome;
}

Done OutboxRunner::Drop(std::u16string_view bibId) {
    if (Done removed = outbox_.Remove(bibId); !removed) {
        return removed;
    }
    std::erase_if(entries_, [bibId](const OutboxEntry& entry) { return entry.BibId == bibId; });
    return {};
}

Done OutboxRunner::NoteAppend(std::u16string_view bibId, const PendingAppend& append) {
    OutboxEntry* noted = FindEntry(bibId);
    if (noted == nullptr) {
        return NotWaiting(bibId);
    }
    noted->Append = append;
    return outbox_.Put(*noted);
}

Done OutboxRunner::NoteSaved(std::u16string_view bibId) {
    OutboxEntry* noted = FindEntry(bibId);
    if (noted == nullptr) {
        return NotWaiting(bibId);
    }
    noted->Saved = true;
    return outbox_.Put(*noted);
}

OutboxEntry* OutboxRunner::FindEntry(std::u16string_view bibId) {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(),
                     [bibId](const OutboxEntry& entry) { return entry.BibId == bibId; });
    return found == entries_.end() ? nullptr : &*found;
}

const OutboxEntry* OutboxRunner::Find(std::u16string_view bibId) const {
    return const_cast<OutboxRunner*>(this)->FindEntry(bibId);
}

bool ServerFault(const Fault& fault) {
    switch (fault.Kind) {
        case FaultKind::HttpStatus:
        case FaultKind::EmptyReply:
        case FaultKind::BadData:
            return false;  // the server answered, for this record
        default:
            return true;
    }
}

DateTime DateTimeOf(long long seconds) {
    // The inverse of SecondsOf (Howard Hinnant's civil-from-days).
    long long days = seconds / 86400;
    long long rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        --days;
    }
    const long long z = days + 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const long long doe = z - era * 146097;
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long long mp = (5 * doy + 2) / 153;
    DateTime at;
    at.Day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    at.Month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    at.Year = static_cast<int>(yoe + era * 400 + (at.Month <= 2 ? 1 : 0));
    at.Hour = static_cast<int>(rest / 3600);
    at.Minute = static_cast<int>(rest % 3600 / 60);
    at.Second = static_cast<int>(rest % 60);
    return at;
}

}  // namespace tesselex
