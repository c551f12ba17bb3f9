#include "tests/support/Digits.h"

namespace tesselex::test {

std::string Digits(std::size_t value, std::size_t width) {
    std::string text = std::to_string(value);
    return std::string(width > text.size() ? width - text.size() : 0, '0') + text;
}

}  // namespace tesselex::test
