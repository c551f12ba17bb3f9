#pragma once
// The holdings workfile as the cataloguing client leaves it: watched by one program only (the
// watch lock), taken once it is written whole or has stood still for 5 seconds, and removed.
// It writes no status line: what happened comes back as a value for the engine to report.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>

#include "app/engine/FileLock.h"
#include "config/Outcome.h"

namespace tesselex {

// What taking the watch lock came to.
enum class WatchNews {
    None,       // nothing new: watching as before, or still kept out
    Elsewhere,  // another program watches the workfile (told once)
    TakenOver,  // the other program ended: this one watches from now on
    Unguarded,  // no lock can be made: watched anyway (told once, with the fault)
};

// What taking the watch lock came to: Held when another program watches the workfile, and this
// one takes nothing from it; FileSystem when no lock can be made, and it is watched unguarded.
struct Watching {
    Done Lock;
    WatchNews News = WatchNews::None;
};

// A workfile that was removed, or the same one that could not be removed before.
enum class Removal {
    Removed,
    SameAgain,  // not exported again until it changes
};

class WorkfileWatcher {
  public:
    using Seconds = std::function<long long()>;
    // Deletes the workfile, as std::filesystem::remove does.
    using Remover = std::function<bool(const std::filesystem::path&, std::error_code&)>;
    WorkfileWatcher(Seconds now, Remover remove);

    // Takes or keeps the watch lock of the workfile (a new path lets the old lock go).
    [[nodiscard]] Watching Watch(const std::filesystem::path& workfile);
    // The workfile's contents once it is there and written whole; nothing while it is missing
    // or still being written.
    std::optional<std::u16string> Settled(const std::filesystem::path& workfile);
    // Removes the taken workfile. The fault: it stays, and is exported this once.
    [[nodiscard]] Outcome<Removal> Remove(const std::filesystem::path& workfile,
                                          std::u16string_view contents);

  private:
    Seconds now_;
    Remover remove_;
    FileLock lock_;
    std::filesystem::path lockPath_;
    // The last try's outcome for lockPath_: Held while another program has it.
    std::optional<Done> taken_;
    // The size of an incomplete workfile and when it was first seen at that size.
    std::optional<std::pair<std::size_t, long long>> unsettled_;
    // Size, time and content hash of the last workfile that could not be removed.
    using Identity = std::tuple<std::size_t, std::filesystem::file_time_type, std::size_t>;
    std::optional<Identity> undeletable_;
};

}  // namespace tesselex
