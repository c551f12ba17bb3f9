#pragma once
// The engine's UTF-16 texts as Qt strings (one spelling for std::u16string and views).

#include <QString>
#include <cstddef>
#include <string_view>

#include "app/engine/QtText.h"

namespace tesselex::gui {

inline QString Q(std::u16string_view text) {
    return ToQString(text);
}

// The count of waiting exports, beside the status list and as the tray's tool tip.
inline QString WaitingText(std::size_t count) {
    return QStringLiteral("Väntande exporter: %1").arg(count);
}

}  // namespace tesselex::gui
