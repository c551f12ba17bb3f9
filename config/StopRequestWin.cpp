// The console control handler: Ctrl+C, Ctrl+Break, the console closed, log-off, shut-down.

#include <windows.h>

#include "config/StopRequest.h"

namespace tesselex {
namespace {

BOOL WINAPI OnConsoleControl(DWORD event) {
    return detail::HandleConsoleEvent(event);
}

}  // namespace

int detail::HandleConsoleEvent(unsigned long event) {
    switch (event) {
        case CTRL_C_EVENT:
        case CTRL_BREAK_EVENT:
        case CTRL_CLOSE_EVENT:
        case CTRL_LOGOFF_EVENT:
        case CTRL_SHUTDOWN_EVENT:
            detail::NoteStopRequest();
            return TRUE;  // handled: the program ends itself between polls
        default:
            return FALSE;
    }
}

void InstallStopHandler(StopNotify notify) {
    detail::SetStopNotify(notify);
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

void RemoveStopHandler() {
    SetConsoleCtrlHandler(OnConsoleControl, FALSE);
    detail::SetStopNotify(nullptr);
}

}  // namespace tesselex
