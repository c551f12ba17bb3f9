#include "config/Error.h"

namespace tesselex {

Error::Error(ErrorNumber number) : std::runtime_error(DescriptionOf(number)), number_(number) {}

Error::Error(ErrorNumber number, const std::string& description)
    : std::runtime_error(description), number_(number) {}

const char* Error::DescriptionOf(ErrorNumber number) noexcept {
    switch (number) {
        case ErrorNumber::InvalidArgument:
            return "Invalid procedure call or argument";
        case ErrorNumber::Overflow:
            return "Overflow";
        case ErrorNumber::SubscriptOutOfRange:
            return "Subscript out of range";
        case ErrorNumber::TypeMismatch:
            return "Type mismatch";
        case ErrorNumber::DuplicateKey:
            return "This key is already associated with an element of this collection";
    }
    return "Application-defined or object-defined error";
}

}  // namespace tesselex
