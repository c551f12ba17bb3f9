#pragma once
// The one check of the model's error numbers for every test folder: what a call raises.

#include <optional>
#include <utility>

#include "config/Error.h"

namespace tesselex::test {

// The number of the error the call raises, or none.
template <typename Call>
std::optional<ErrorNumber> Raised(Call&& call) {
    try {
        std::forward<Call>(call)();
    } catch (const Error& error) {
        return error.Number();
    }
    return std::nullopt;
}

}  // namespace tesselex::test
