#pragma once
// A request from outside to end the program: Ctrl+C or SIGTERM on POSIX systems; Ctrl+C,
// Ctrl+Break, closing the console, log-off or shut-down through the console control handler on
// Windows. The handler only notes the request (and calls `notify`, which must be as restricted
// as a signal handler: no locks, no allocation), so a watch loop ends between polls, never
// inside a delivery.

namespace tesselex {

using StopNotify = void (*)();

// Installs the handler; `notify` (may be null) is called on each request.
void InstallStopHandler(StopNotify notify = nullptr);
// Gives the requests back to the system's default handling and forgets any request noted.
void RemoveStopHandler();
bool StopRequested();

namespace detail {
// The handler's own reaction to one request: notes it and calls the notify function.
void NoteStopRequest();
// Forgets any request noted and sets the function the handler calls.
void SetStopNotify(StopNotify notify);
#ifdef _WIN32
// The console control handler itself: true for the events that ask the program to end.
int HandleConsoleEvent(unsigned long event);
#endif
}  // namespace detail

}  // namespace tesselex
