#pragma once

#include <QObject>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace tesselex::gui {

// The engine's thread waits here for the window's answer to a question. Once closed (the
// program is ending) every question gets its default at once, so nothing waits on a window
// that no longer answers.
class PromptGate {
  public:
    bool AskYesNo(QObject* window, std::function<bool()> ask);
    void Message(QObject* window, std::function<void()> show);
    void Close();

  private:
    bool Answer(QObject* window, std::function<bool()> ask, bool fallback);
    std::mutex mutex_;
    std::condition_variable answered_;
    bool closed_ = false;
};

}  // namespace tesselex::gui
