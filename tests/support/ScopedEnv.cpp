#include "tests/support/ScopedEnv.h"

#include <cstdlib>

namespace tesselex::test {
namespace {

void SetVariable(const std::string& name, const std::string* value) {
#ifdef _WIN32
    // An empty value removes the variable on Windows; the tests never set one empty.
    _putenv_s(name.c_str(), value == nullptr ? "" : value->c_str());
#else
    if (value == nullptr) {
        unsetenv(name.c_str());
    } else {
        setenv(name.c_str(), value->c_str(), 1);
    }
#endif
}

}  // namespace

ScopedEnv::ScopedEnv(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        old_ = old;
    }
    SetVariable(name_, &value);
}

ScopedEnv::~ScopedEnv() {
    SetVariable(name_, old_ ? &*old_ : nullptr);
}

}  // namespace tesselex::test
