#pragma once
// The one error type of the system. It carries the system's error number, so callers and tests
// can tell a subscript error from an overflow the way the cataloguing tools always could.

#include <stdexcept>
#include <string>

namespace tesselex {

enum class ErrorNumber : int {
    InvalidArgument = 5,
    Overflow = 6,
    SubscriptOutOfRange = 9,
    TypeMismatch = 13,
    // Raised by keyed collections (configuration sections) when a key is added twice.
    DuplicateKey = 457,
};

class Error : public std::runtime_error {
  public:
    explicit Error(ErrorNumber number);
    Error(ErrorNumber number, const std::string& description);

    ErrorNumber Number() const noexcept { return number_; }
    // The standard description of the number ("Subscript out of range", ...).
    static const char* DescriptionOf(ErrorNumber number) noexcept;

  private:
    ErrorNumber number_;
};

}  // namespace tesselex
