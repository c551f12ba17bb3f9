#include "app/gui/PromptGate.h"

#include <QMetaObject>
#include <QThread>
#include <memory>
#include <optional>

namespace tesselex::gui {

bool PromptGate::Answer(QObject* window, std::function<bool()> ask, bool fallback) {
    if (QThread::currentThread() == window->thread()) {
        return ask();
    }
    auto answer = std::make_shared<std::optional<bool>>();
    std::unique_lock lock(mutex_);
    if (closed_) {
        return fallback;
    }
    // Dropped unasked when the window goes first; Close() then ends the wait.
    QMetaObject::invokeMethod(
        window,
        [this, answer, ask = std::move(ask)] {
            const bool yes = ask();
            const std::lock_guard given(mutex_);
            *answer = yes;
            answered_.notify_all();
        },
        Qt::QueuedConnection);
    answered_.wait(lock, [&] { return answer->has_value() || closed_; });
    return answer->value_or(fallback);
}

bool PromptGate::AskYesNo(QObject* window, std::function<bool()> ask) {
    // Nobody left to agree: nothing is changed on a question unanswered.
    return Answer(window, std::move(ask), false);
}

void PromptGate::Message(QObject* window, std::function<void()> show) {
    (void)Answer(
        window,
        [show = std::move(show)] {
            show();
            return true;
        },
        true);
}

void PromptGate::Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    answered_.notify_all();
}

}  // namespace tesselex::gui
