#include "config/StopRequest.h"

#include <atomic>

namespace tesselex {
namespace {

// Lock-free atomics are safe to touch from a signal handler or the console handler's thread.
std::atomic<bool> requested{false};
std::atomic<StopNotify> notifyFunction{nullptr};
static_assert(std::atomic<bool>::is_always_lock_free);
static_assert(std::atomic<StopNotify>::is_always_lock_free);

}  // namespace

namespace detail {

void NoteStopRequest() {
    requested.store(true);
    if (const StopNotify notify = notifyFunction.load(); notify != nullptr) {
        notify();
    }
}

void SetStopNotify(StopNotify notify) {
    requested.store(false);
    notifyFunction.store(notify);
}

}  // namespace detail

bool StopRequested() {
    return requested.load();
}

}  // namespace tesselex
