// The session manager's end of the program arrives as the application's Quit event. Left to
// Qt it would end the event loop at once, or be refused by the window that only hides; taken
// here, it ends the program the way "Avsluta" does.

#include <QCoreApplication>
#include <QEvent>

#include "app/gui/MainProgram.h"
#include "app/gui/SessionEnd.h"

namespace tesselex::gui {
namespace {

class SessionEndFilter : public QObject {
  public:
    explicit SessionEndFilter(MainProgram& program) : program_(program) {
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched != QCoreApplication::instance() || event->type() != QEvent::Quit) {
            return false;
        }
        program_.Quit();
        return true;
    }

  private:
    MainProgram& program_;
};

}  // namespace

std::unique_ptr<QObject> EndWithTheSession(MainProgram& program) {
    return std::make_unique<SessionEndFilter>(program);
}

}  // namespace tesselex::gui
