#pragma once
// Disk full and quota, produced for real: the body runs in a child process whose files cannot
// grow past the limit (RLIMIT_FSIZE, with SIGXFSZ ignored so a write fails with EFBIG).

#include <cstddef>
#include <functional>
#include <string_view>

namespace tesselex::test {

// Why a test that needs the limit does not run on Windows, or "" where it does. Such a test
// skips with these words when they are not empty.
#ifdef _WIN32
inline constexpr std::string_view kFileSizeLimitMissing =
    "needs a limit on the size of a process's files (a full disk produced for real), which "
    "Windows does not have";
#else
inline constexpr std::string_view kFileSizeLimitMissing;
#endif

// True when the child ran the body and it answered true. The parent's own state is untouched:
// whatever the body changes in memory stays in the child.
bool RunWithFileSizeLimit(std::size_t bytes, const std::function<bool()>& body);

}  // namespace tesselex::test
