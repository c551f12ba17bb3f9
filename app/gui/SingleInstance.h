#pragma once
// One window program per user: a second start hands over to the running one (which shows its
// window) and ends. The running program listens on a local socket in the user's runtime folder.

#include <QObject>
#include <QString>

class QLocalServer;

namespace tesselex::gui {

class SingleInstance : public QObject {
    Q_OBJECT

  public:
    // The user's own socket name when empty.
    explicit SingleInstance(QString name = {}, QObject* parent = nullptr);
    ~SingleInstance() override;

    // True when a running program took the request to show itself: this one should end.
    // Otherwise this one listens from now on and is the running program.
    bool HandOver();

    static QString DefaultName();
    // Why this program could not listen for later starts ("" when it listens).
    QString ListenError() const { return listenError_; }

  signals:
    // A later start asked this program to show its window.
    void showRequested();

  private:
    bool AskRunning();

    QString name_;
    QLocalServer* server_ = nullptr;
    QString listenError_;
};

}  // namespace tesselex::gui
