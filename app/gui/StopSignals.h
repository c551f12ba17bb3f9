#pragma once
// A stop request from outside (SIGTERM or SIGINT; the console's control events on Windows) as a
// Qt signal on the window's thread. The handler only notes the request; a light timer looks for
// it, so nothing but a flag is touched inside the handler on any platform.

#include <QObject>

class QTimer;

namespace tesselex::gui {

class StopSignals : public QObject {
    Q_OBJECT

  public:
    explicit StopSignals(QObject* parent = nullptr);
    ~StopSignals() override;

  signals:
    void stopRequested();

  private:
    QTimer* timer_ = nullptr;
};

}  // namespace tesselex::gui
