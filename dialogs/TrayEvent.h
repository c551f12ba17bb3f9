#pragma once
// What a mouse notification of the notification-area icon means. The shell reports the mouse
// by message number (512-518); the platform's tray icon reports activations, which are turned
// into the same numbers so that both take one path to the icon's events.

#include <QSystemTrayIcon>
#include <optional>
#include <vector>

namespace tesselex {

enum class TrayEventKind { MouseDown, MouseUp, MouseMove, DoubleClick };

// Buttons as the events carry them.
constexpr int kLeftButton = 1;
constexpr int kRightButton = 2;

struct TrayEvent {
    TrayEventKind kind;
    int button;  // 0 for a mouse move
};

// The event for a shell message, or none. The left button reports its release (514) as a mouse
// down and never a mouse up, and its press (513) not at all; the main form relies on that.
std::optional<TrayEvent> TrayEventForMessage(int message);

// The shell messages an activation of the platform's tray icon stands for: a click is a press
// and a release, a double click the double-click message. Activations without a shell
// counterpart (the middle button) give none.
std::vector<int> ShellMessagesForActivation(QSystemTrayIcon::ActivationReason reason);

}  // namespace tesselex
