#pragma once
// The model's query operations that swallow their failures and answer empty (an ini value that
// cannot be read, a printer that refuses a line, a display configuration with a fault) do it
// here and nowhere else, so that every such place is found by this one name. Anything that must
// be reported answers an Outcome (config/Outcome.h) instead.

#include <exception>
#include <type_traits>
#include <utility>

namespace tesselex {

// The call's answer, or an empty (value-initialised) one when it throws.
template <typename Call>
auto EmptyOnFailure(Call&& call) -> std::invoke_result_t<Call> {
    using Answer = std::invoke_result_t<Call>;
    try {
        return std::forward<Call>(call)();
    } catch (const std::exception&) {
        if constexpr (!std::is_void_v<Answer>) {
            return Answer{};
        }
    }
}

}  // namespace tesselex
