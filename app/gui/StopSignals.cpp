#include "app/gui/StopSignals.h"

#include <QTimer>

#include "config/StopRequest.h"

namespace tesselex::gui {
namespace {

// Often enough that an ending session does not wait, rarely enough to cost nothing.
constexpr int kLookEveryMilliseconds = 200;

}  // namespace

StopSignals::StopSignals(QObject* parent) : QObject(parent), timer_(new QTimer(this)) {
    InstallStopHandler();
    connect(timer_, &QTimer::timeout, this, [this] {
        if (StopRequested()) {
            timer_->stop();
            emit stopRequested();
        }
    });
    timer_->start(kLookEveryMilliseconds);
}

StopSignals::~StopSignals() {
    RemoveStopHandler();
}

}  // namespace tesselex::gui
