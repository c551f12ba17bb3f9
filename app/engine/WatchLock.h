#pragma once
// Only one program polls a holdings workfile: two pollers would each read the same holdings
// record and deliver it twice. The window and `tesselex-cli watch` take this lock on the
// workfile's path before they poll; it is a file in the user's runtime folder named after the
// path, released when the holder ends (also when it crashes: a lock whose process is gone is
// taken over).

#include <filesystem>
#include <memory>
#include <string>

#include "config/Outcome.h"

class QLockFile;

namespace tesselex {

class WatchLock {
  public:
    // Takes the lock at once. Held: another program has it (Code: its process id, 0 when
    // unknown); the program stays out. FileSystem: the lock file cannot be made (Reason: the
    // system's words); the program polls anyway, unguarded, rather than export nothing.
    [[nodiscard]] static Outcome<WatchLock> Take(const std::filesystem::path& workfile);
    // The same with the lock file named.
    [[nodiscard]] static Outcome<WatchLock> TakeAt(const std::filesystem::path& lockPath);

    ~WatchLock();
    WatchLock(WatchLock&&) noexcept;
    WatchLock& operator=(WatchLock&&) noexcept;

    // The lock file of a workfile: the same for every spelling of its path.
    static std::filesystem::path LockPath(const std::filesystem::path& workfile);

  private:
    explicit WatchLock(std::unique_ptr<QLockFile> lock);

    std::unique_ptr<QLockFile> lock_;
};

// The user's own folder for the watch locks and the window program's hand-over: per user on every
// platform, so another user's program on the same machine is not taken for this user's.
std::filesystem::path UserRuntimeFolder();

// The status line (window) and stderr text (tesselex-cli) of a workfile someone else watches.
std::u16string WatchedElsewhereMessage(const std::filesystem::path& workfile);
// The error status line of a workfile whose lock cannot be made.
std::u16string LockNotMadeMessage(const std::filesystem::path& workfile, const Fault& fault);

}  // namespace tesselex
