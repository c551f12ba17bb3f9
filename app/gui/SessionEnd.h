#pragma once
// The end of the desktop session (log-off, shut-down) ends the window program as "Avsluta" does:
// an export under way is finished first. Windows tells the program's top-level windows with
// WM_ENDSESSION and ends the process as soon as that is answered, so there the process ends
// before the answer, once the program has ended (unless kSessionEndWait has passed first: the
// answer is given then, and the export waits in the outbox for the next start). Elsewhere the
// session manager's last word is the application's Quit event; a session that ends its programs
// by signal reaches StopSignals instead.

#include <QObject>
#include <chrono>
#include <memory>

namespace tesselex::gui {

class MainProgram;

inline constexpr std::chrono::seconds kSessionEndWait{20};

// Ends `program` with the session while the returned object lives.
std::unique_ptr<QObject> EndWithTheSession(MainProgram& program);

}  // namespace tesselex::gui
