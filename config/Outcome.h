#pragma once
// The one shape of everything that can fail outside the model's own rules: success (with a
// value, or none), or a fault that says what kind of failure it was and why, in the system's or
// the server's own words. Callers act on the kind (retry, report, give up) and show the reason.
// The model's described operations keep their error numbers (config/Error.h).

#include <cassert>
#include <string>
#include <utility>
#include <variant>

namespace tesselex {

enum class FaultKind {
    NoConnection,  // refused, unknown host, not an http(s) address, broken off
    TimedOut,      // connect, stall or overall limit
    HttpStatus,    // the server answered with a status of 400 or more (Code holds it)
    EmptyReply,    // a status below 400 but not one byte of body
    Refused,       // the server declined: FTP log-in, permission, missing folder
    NoSpace,       // disk full or quota: a later try may find room
    FileSystem,    // any other file-system failure: missing folder, permission, bad name
    BadData,       // input that does not hold what it must (no well-formed record, bad map)
    Held,          // in use by another program (a lock)
};

struct Fault {
    FaultKind Kind = FaultKind::FileSystem;
    std::u16string Reason;  // the system's or the server's words (English), for status and log
    int Code = 0;           // the HTTP status or the system's error number, where there is one
};

// Success with a value of T, or a Fault.
template <typename T>
class [[nodiscard]] Outcome {
  public:
    Outcome(T value) : state_(std::move(value)) {}  // NOLINT: success converts implicitly
    Outcome(Fault fault) : state_(std::move(fault)) {}  // NOLINT: so does a fault

    bool Ok() const { return state_.index() == 0; }
    explicit operator bool() const { return Ok(); }

    const T& Value() const& {
        assert(Ok());
        return std::get<0>(state_);
    }
    T& Value() & {
        assert(Ok());
        return std::get<0>(state_);
    }
    T&& Value() && {
        assert(Ok());
        return std::get<0>(std::move(state_));
    }
    const Fault& Failure() const {
        assert(!Ok());
        return std::get<1>(state_);
    }
    FaultKind Kind() const { return Failure().Kind; }
    const std::u16string& Reason() const { return Failure().Reason; }

  private:
    std::variant<T, Fault> state_;
};

// Success with nothing to hand back, or a Fault.
template <>
class [[nodiscard]] Outcome<void> {
  public:
    Outcome() = default;
    Outcome(Fault fault) : fault_(std::move(fault)), ok_(false) {}  // NOLINT: implicit

    bool Ok() const { return ok_; }
    explicit operator bool() const { return ok_; }
    const Fault& Failure() const {
        assert(!ok_);
        return fault_;
    }
    FaultKind Kind() const { return Failure().Kind; }
    const std::u16string& Reason() const { return Failure().Reason; }

  private:
    Fault fault_;
    bool ok_ = true;
};

using Done = Outcome<void>;

}  // namespace tesselex
