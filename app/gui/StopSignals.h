#pragma once
// SIGTERM and SIGINT as a Qt signal on the window's thread: the handler only writes a byte to
// a socket pair; the event loop reads it and asks the program to end cleanly.

#include <QObject>

class QSocketNotifier;

namespace tesselex::gui {

class StopSignals : public QObject {
    Q_OBJECT

  public:
    explicit StopSignals(QObject* parent = nullptr);
    ~StopSignals() override;

  signals:
    void stopRequested();

  private:
    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace tesselex::gui
