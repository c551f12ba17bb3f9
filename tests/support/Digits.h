#pragma once
// The zero-padded numbers of an ISO 2709 leader and directory, for records built in tests.

#include <cstddef>
#include <string>

namespace tesselex::test {

// The value in decimal, padded with zeros to at least `width` digits.
std::string Digits(std::size_t value, std::size_t width);

}  // namespace tesselex::test
