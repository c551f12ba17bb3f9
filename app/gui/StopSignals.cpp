#include "app/gui/StopSignals.h"

#include <sys/socket.h>
#include <unistd.h>
#include <QSocketNotifier>
#include <csignal>

namespace tesselex::gui {
namespace {

// The handler may touch nothing but this descriptor.
int signalWriteEnd = -1;

extern "C" void WriteStopByte(int) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(signalWriteEnd, &byte, 1);
}

}  // namespace

StopSignals::StopSignals(QObject* parent) : QObject(parent) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        return;
    }
    signalWriteEnd = ends[0];
    notifier_ = new QSocketNotifier(ends[1], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this, readEnd = ends[1]] {
        char byte = 0;
        [[maybe_unused]] const ssize_t got = read(readEnd, &byte, 1);
        emit stopRequested();
    });
    struct sigaction action = {};
    action.sa_handler = WriteStopByte;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

StopSignals::~StopSignals() {
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
}

}  // namespace tesselex::gui
