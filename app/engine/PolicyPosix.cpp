#include <cstdlib>

#include "app/engine/Policy.h"

namespace tesselex {

// The system's configuration folder of the XDG base directories, which only an administrator
// writes; a test (or an administrator trying a file out) names another.
Policy Policy::Machine() {
    const char* file = std::getenv("TESSELEX_POLICY_FILE");
    return FromFile(file != nullptr && *file != '\0' ? std::filesystem::path(file)
                                                     : "/etc/xdg/TESSELEX/policy.conf");
}

}  // namespace tesselex
