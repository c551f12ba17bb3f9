#include "dialogs/TrayEvent.h"

namespace tesselex {

namespace {

// The shell's mouse messages (the window messages of the mouse, delivered through the icon).
constexpr int kMouseMove = 512;
constexpr int kLeftDown = 513;
constexpr int kLeftUp = 514;
constexpr int kLeftDoubleClick = 515;
constexpr int kRightDown = 516;
constexpr int kRightUp = 517;
constexpr int kRightDoubleClick = 518;

}  // namespace

std::optional<TrayEvent> TrayEventForMessage(int message) {
    switch (message) {
        case kMouseMove:
            return TrayEvent{TrayEventKind::MouseMove, 0};
        case kLeftUp:
            return TrayEvent{TrayEventKind::MouseDown, kLeftButton};
        case kLeftDoubleClick:
            return TrayEvent{TrayEventKind::DoubleClick, kLeftButton};
        case kRightDown:
            return TrayEvent{TrayEventKind::MouseDown, kRightButton};
        case kRightUp:
            return TrayEvent{TrayEventKind::MouseUp, kRightButton};
        case kRightDoubleClick:
            return TrayEvent{TrayEventKind::DoubleClick, kRightButton};
        case kLeftDown:
        default:
            return std::nullopt;
    }
}

std::vector<int> ShellMessagesForActivation(QSystemTrayIcon::ActivationReason reason) {
    switch (reason) {
        case QSystemTrayIcon::Trigger:
            return {kLeftDown, kLeftUp};
        case QSystemTrayIcon::DoubleClick:
            return {kLeftDoubleClick};
        case QSystemTrayIcon::Context:
            return {kRightDown, kRightUp};
        case QSystemTrayIcon::MiddleClick:
        case QSystemTrayIcon::Unknown:
            return {};
    }
    return {};
}

}  // namespace tesselex
