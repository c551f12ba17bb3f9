// WM_ENDSESSION through a native event filter, before Qt's own handling (which only quits).
// A hidden top-level window of the filter's own receives it while the program sits in the
// notification area with no window of its own made yet.
//
// The session sends the message to each top-level window of the program and ends the process
// as soon as every one is answered (Wine's wineboot too, at once). So the first one is not
// answered while the program ends: the process ends there, before the answer, with status 0.
// The wait is a loop of its own, not a QEventLoop: the other windows' messages come while it
// waits, and Qt answers each with QCoreApplication::quit(), which ends every event loop running;
// they are answered here instead, without Qt. Only a program that has not ended within
// kSessionEndWait has its first message answered too, and is ended by the session.

#include <windows.h>

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QDeadlineTimer>
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
        connect(&program_, &MainProgram::finished, this, [this] { finished_ = true; });
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    ~SessionEndFilter() override {
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override {
        const MSG* msg = static_cast<const MSG*>(message);
        // A session whose end was called off goes on.
        if (type != "windows_generic_MSG" || msg->message != WM_ENDSESSION ||
            msg->wParam == FALSE) {
            return false;
        }
        if (ended_) {
            *result = 0;
            return true;
        }
        ended_ = true;
        program_.Quit();
        const QDeadlineTimer deadline(kSessionEndWait);
        QTimer::singleShot(kSessionEndWait, this, [] {});  // wakes the wait at the deadline
        while (!finished_ && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        if (finished_) {
            ExitProcess(0);
        }
        return false;
    }

  private:
    MainProgram& program_;
    QWindow receiver_;
    bool ended_ = false;
    bool finished_ = false;
};

}  // namespace

std::unique_ptr<QObject> EndWithTheSession(MainProgram& program) {
    return std::make_unique<SessionEndFilter>(program);
}

}  // namespace tesselex::gui
