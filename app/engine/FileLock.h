#pragma once
// A lock held by the operating system on an open handle (flock on POSIX, LockFileEx on Windows):
// the kernel lets go of it when the holder's process ends, however it ends, so a lock never
// outlives its holder. The holder's process number is written into the file for the messages
// only; what the file holds (nothing, a torn number, another program's text) never keeps anyone
// out.

#include <chrono>
#include <filesystem>
#include <string_view>

#include "config/Outcome.h"

namespace tesselex {

class FileLock {
  public:
    // Takes the lock at once, making the file (and its folder) when missing. Held: another
    // process has it (Code: its process number as it wrote it, 0 when not readable).
    // FileSystem: the file cannot be made or opened (Reason: the system's words).
    [[nodiscard]] static Outcome<FileLock> TryTake(const std::filesystem::path& file);
    // TryTake, tried again while another process holds it, for at most `wait`.
    [[nodiscard]] static Outcome<FileLock> Take(const std::filesystem::path& file,
                                                std::chrono::milliseconds wait);
    // The process number the lock file names (0 when none can be read), for a message.
    static long long Holder(const std::filesystem::path& file);

    FileLock() = default;
    ~FileLock();
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool Held() const;

  private:
    void Release();
#ifdef _WIN32
    void* handle_ = nullptr;
#else
    int fd_ = -1;
#endif
};

// This program's process number.
long long ProcessNumber();
// The number the text starts with (0 when it starts with none): a holder's number as written.
long long LeadingNumber(std::string_view text);

}  // namespace tesselex
