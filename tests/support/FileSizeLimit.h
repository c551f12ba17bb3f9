#pragma once
// Disk full and quota, produced for real: the body runs in a child process whose files cannot
// grow past the limit (RLIMIT_FSIZE, with SIGXFSZ ignored so a write fails with EFBIG).

#include <cstddef>
#include <functional>

namespace tesselex::test {

// True when the child ran the body and it answered true. The parent's own state is untouched:
// whatever the body changes in memory stays in the child.
bool RunWithFileSizeLimit(std::size_t bytes, const std::function<bool()>& body);

}  // namespace tesselex::test
