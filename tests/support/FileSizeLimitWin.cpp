#include "tests/support/FileSizeLimit.h"

namespace tesselex::test {

// Windows has no limit a process can put on the size of its files; the tests that need one
// skip there (kFileSizeLimitMissing), so this is never asked to run a body.
bool RunWithFileSizeLimit(std::size_t, const std::function<bool()>&) {
    return false;
}

}  // namespace tesselex::test
