#include "tests/support/ScopedEnv.h"

#include <cstdlib>

namespace tesselex::test {

ScopedEnv::ScopedEnv(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        old_ = old;
    }
    setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    if (old_) {
        setenv(name_.c_str(), old_->c_str(), 1);
    } else {
        unsetenv(name_.c_str());
    }
}

}  // namespace tesselex::test
