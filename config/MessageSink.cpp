#include "config/MessageSink.h"

#include <iostream>

#include "config/Utf.h"

namespace tesselex {

void WriteMessageToStderr(const std::u16string& title, const std::u16string& text) {
    std::cerr << TextToUtf8(title) << ": " << TextToUtf8(text) << '\n';
}

}  // namespace tesselex
