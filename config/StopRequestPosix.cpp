// SIGINT and SIGTERM. SA_RESTART keeps a running transfer from failing on the interruption.

#include <csignal>

#include "config/StopRequest.h"

namespace tesselex {
namespace {

extern "C" void OnStopSignal(int) {
    detail::NoteStopRequest();
}

void Handle(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

void InstallStopHandler(StopNotify notify) {
    detail::SetStopNotify(notify);
    Handle(OnStopSignal);
}

void RemoveStopHandler() {
    Handle(SIG_DFL);
    detail::SetStopNotify(nullptr);
}

}  // namespace tesselex
