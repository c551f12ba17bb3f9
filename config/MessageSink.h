#pragma once
// Where the layers without a user interface report what the system shows as a message box. Each
// object that shows one is given its sink by its owner (the window's shows a box); without one
// it writes title and text to stderr.

#include <functional>
#include <string>

namespace tesselex {

using MessageSink = std::function<void(const std::u16string& title, const std::u16string& text)>;

// Title and text to stderr: the sink of an object that was given none.
void WriteMessageToStderr(const std::u16string& title, const std::u16string& text);

}  // namespace tesselex
