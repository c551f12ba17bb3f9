// WM_ENDSESSION through a native event filter, before Qt's own handling (which only quits).
// A hidden top-level window of the filter's own receives it while the program sits in the
// notification area with no window of its own made yet.

#include <windows.h>

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWindow>

#include "app/gui/MainProgram.h"
#include "app/gui/SessionEnd.h"

namespace tesselex::gui {
namespace {

class SessionEndFilter : public QObject, public QAbstractNativeEventFilter {
  public:
    explicit SessionEndFilter(MainProgram& program) : program_(program) {
        // Named as the program, for the list of programs Windows shows while it waits.
        receiver_.setTitle(QStringLiteral("TESSEL Export (7)"));
        receiver_.create();
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    ~SessionEndFilter() override {
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override {
        const MSG* msg = static_cast<const MSG*>(message);
        // Each top-level window is told; a session whose end was called off goes on.
        if (ended_ || type != "windows_generic_MSG" || msg->message != WM_ENDSESSION ||
            msg->wParam == FALSE) {
            return false;
        }
        ended_ = true;
        bool finished = false;
        QEventLoop loop;
        connect(&program_, &MainProgram::finished, &loop, [&] {
            finished = true;
            loop.quit();
        });
        QTimer::singleShot(kSessionEndWait, &loop, &QEventLoop::quit);
        program_.Quit();
        if (!finished) {
            loop.exec();
        }
        return false;
    }

  private:
    MainProgram& program_;
    QWindow receiver_;
    bool ended_ = false;
};

}  // namespace

std::unique_ptr<QObject> EndWithTheSession(MainProgram& program) {
    return std::make_unique<SessionEndFilter>(program);
}

}  // namespace tesselex::gui
