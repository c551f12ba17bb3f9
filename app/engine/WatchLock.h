#pragma once
// Only one program polls a holdings workfile: two pollers would each read the same holdings
// record and deliver it twice. A watcher takes this lock on the workfile's path before it polls:
// a file in the user's runtime folder named after the path, locked by the operating system on an
// open handle (FileLock), so it is released when the holder ends, however it ends.

#include <filesystem>
#include <string>
#include <string_view>

#include "app/engine/FileLock.h"
#include "config/Outcome.h"

namespace tesselex {

class WatchLock {
  public:
    // Takes the lock at once. Held: another program has it (Code: its process id, 0 when
    // unknown); the program stays out. FileSystem: the lock file cannot be made (Reason: the
    // system's words); the program polls anyway, unguarded, rather than export nothing.
    [[nodiscard]] static Outcome<FileLock> Take(const std::filesystem::path& workfile);

    // The lock file of a workfile: the same for every spelling of its path.
    static std::filesystem::path LockPath(const std::filesystem::path& workfile);
};

// The lock file, in the user's runtime folder, of one kind of lock ("watch", "settings") on the
// file: the same for every spelling of its path, and never beside the file itself.
std::filesystem::path RuntimeLockPath(std::string_view kind, const std::filesystem::path& file);

// The user's own folder for the watch locks and the window program's hand-over: per user on every
// platform, so another user's program on the same machine is not taken for this user's.
std::filesystem::path UserRuntimeFolder();

}  // namespace tesselex
