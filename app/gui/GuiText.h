#pragma once
// The engine's UTF-16 texts as Qt strings (one spelling for std::u16string and views).

#include <QString>
#include <string_view>

#include "app/engine/QtText.h"

namespace tesselex::gui {

inline QString Q(std::u16string_view text) {
    return ToQString(text);
}

}  // namespace tesselex::gui
