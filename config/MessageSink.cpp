#include "config/MessageSink.h"

#include <iostream>
#include <mutex>

#include "config/Utf.h"

namespace tesselex {
namespace {

void WriteToStderr(const std::u16string& title, const std::u16string& text) {
    std::cerr << TextToUtf8(title) << ": " << TextToUtf8(text) << '\n';
}

// The one replaceable sink; guarded because tests install sinks from fixtures.
std::mutex& SinkMutex() {
    static std::mutex mutex;
    return mutex;
}

MessageSink& CurrentSink() {
    static MessageSink sink = WriteToStderr;
    return sink;
}

}  // namespace

MessageSink SetMessageSink(MessageSink sink) {
    std::lock_guard lock(SinkMutex());
    MessageSink previous = std::move(CurrentSink());
    CurrentSink() = sink ? std::move(sink) : MessageSink(WriteToStderr);
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
