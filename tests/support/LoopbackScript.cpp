#include "tests/support/LoopbackScript.h"

#include <stdexcept>

namespace tesselex::test {

void LoopbackScript::TakeFirstLine(const std::string& script) {
    const std::size_t end = firstLine_.find('\n');
    if (end == std::string::npos) {
        Stop();
        throw std::runtime_error("loopback script " + script + " did not start");
    }
    firstLine_.erase(firstLine_.find_first_of("\r\n"));
}

}  // namespace tesselex::test
