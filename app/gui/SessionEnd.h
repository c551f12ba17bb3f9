#pragma once
// The end of the desktop session (log-off, shut-down) ends the window program as "Avsluta" does:
// an export under way is finished first. Windows tells the program's top-level windows with
// WM_ENDSESSION and may end the process as soon as that is answered, so there the answer waits
// until the program has ended (or kSessionEndWait has passed: the export then waits in the
// outbox for the next start). Elsewhere the session manager's last word is the application's
// Quit event; a session that ends its programs by signal reaches StopSignals instead.

#include <QObject>
#include <chrono>
#include <memory>

namespace tesselex::gui {

class MainProgram;

inline constexpr std::chrono::seconds kSessionEndWait{20};

// Ends `program` with the session while the returned object lives.
std::unique_ptr<QObject> EndWithTheSession(MainProgram& program);

}  // namespace tesselex::gui
