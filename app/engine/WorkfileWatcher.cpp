#include "app/engine/WorkfileWatcher.h"

#include "app/engine/DurableFile.h"
#include "app/engine/WatchLock.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"

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

WorkfileWatcher::WorkfileWatcher(Seconds now, Remover remove)
    : now_(std::move(now)), remove_(std::move(remove)) {}

Watching WorkfileWatcher::Watch(const std::filesystem::path& workfile) {
    const std::filesystem::path lockPath = WatchLock::LockPath(workfile);
    if (lockPath != lockPath_) {
        lock_ = FileLock();
        lockPath_ = lockPath;
        taken_.reset();
    }
    if (lock_.Held() || (taken_ && taken_->Ok())) {
        return {};
    }
    Outcome<FileLock> taken = FileLock::TryTake(lockPath);
    if (taken) {
        const WatchNews news = taken_ ? WatchNews::TakenOver : WatchNews::None;
        lock_ = std::move(taken).Value();
        taken_ = Done();
        return {Done(), news};
    }
    if (taken.Kind() == FaultKind::Held) {
        const WatchNews news = taken_ ? WatchNews::None : WatchNews::Elsewhere;
        taken_ = taken.Failure();
        return {taken.Failure(), news};
    }
    // A lock that cannot be made must not stop the exports: the saves would wait unseen.
    taken_ = Done();
    return {taken.Failure(), WatchNews::Unguarded};
}

std::optional<std::u16string> WorkfileWatcher::Settled(const std::filesystem::path& workfile) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(workfile, ec)) {
        return std::nullopt;
    }
    std::u16string contents = ReadWholeFile(workfile);
    if (!IsIncomplete(contents)) {
        unsettled_.reset();
        return contents;
    }
    const long long now = now_();
    if (!unsettled_ || unsettled_->first != contents.size()) {
        unsettled_.emplace(contents.size(), now);
        return std::nullopt;
    }
    if (now - unsettled_->second < kSettleSeconds) {
        return std::nullopt;
    }
    unsettled_.reset();
    return contents;
}

Outcome<Removal> WorkfileWatcher::Remove(const std::filesystem::path& workfile,
                                         std::u16string_view contents) {
    std::error_code ec;
    if (remove_) {
        remove_(workfile, ec);
    } else {
        std::filesystem::remove(workfile, ec);
    }
    if (!ec) {
        undeletable_.reset();
        return Removal::Removed;
    }
    // Exported at every poll it would append and upload the same records once a second.
    std::error_code timeEc;
    const Identity identity{contents.size(), std::filesystem::last_write_time(workfile, timeEc),
                            std::hash<std::u16string_view>{}(contents)};
    if (undeletable_ == identity) {
        return Removal::SameAgain;
    }
    undeletable_ = identity;
    return SystemFault(ec.value());
}

}  // namespace tesselex
