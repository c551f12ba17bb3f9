#include "config/MessageSink.h"

#include <iostream>
#include <mutex>

#include "config/Utf.h"

namespace tesselex {
void WriteMessageToStderr(const std::u16string& title, const std::u16string& text) {
    std::cerr << TextToUtf8(title) << ": " << TextToUtf8(text) << '\n';
}

namespace {

// The one replaceable sink; guarded because tests install sinks from fixtures.
std::mutex& SinkMutex() {
    static std::mutex mutex;
    return mutex;
}

MessageSink& CurrentSink() {
    static MessageSink sink = WriteMessageToStderr;
    return sink;
}

}  // namespace

MessageSink SetMessageSink(MessageSink sink) {
    std::lock_guard lock(SinkMutex());
    MessageSink previous = std::move(CurrentSink());
    CurrentSink() = sink ? std::move(sink) : MessageSink(WriteMessageToStderr);
    return previous;
}

void ShowMessage(const std::u16string& title, const std::u16string& text) {
    MessageSink sink;
    {
        std::lock_guard lock(SinkMutex());
        sink = CurrentSink();
    }
    sink(title, text);
}

}  // namespace tesselex
