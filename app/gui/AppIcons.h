#pragma once
// The program's icons, drawn rather than shipped: the normal one and the one the tray turns to
// after an error.

#include <QIcon>

namespace tesselex::gui {

QIcon AppIcon();
QIcon ErrorIcon();

}  // namespace tesselex::gui
