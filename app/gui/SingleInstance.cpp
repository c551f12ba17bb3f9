#include "app/gui/SingleInstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include "app/engine/QtText.h"
#include "app/engine/WatchLock.h"

namespace tesselex::gui {
namespace {

const QByteArray ShowRequest = QByteArrayLiteral("show\n");
constexpr int WaitMs = 2000;

}  // namespace

SingleInstance::SingleInstance(QString name, QObject* parent)
    : QObject(parent), name_(name.isEmpty() ? DefaultName() : std::move(name)) {}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::DefaultName() {
    const QString folder = ToQString(UserRuntimeFolder());
    QDir().mkpath(folder);
    return folder + QStringLiteral("/tesselex.instance");
}

bool SingleInstance::AskRunning() {
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(WaitMs)) {
        return false;
    }
    socket.write(ShowRequest);
    // The reply tells that the request was read, not just sent into a dying socket.
    return socket.waitForBytesWritten(WaitMs) && socket.waitForReadyRead(WaitMs);
}

bool SingleInstance::HandOver() {
    if (AskRunning()) {
        return true;
    }
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_->listen(name_)) {
        // Someone may have started at the same moment; otherwise the socket is a dead
        // program's leftover.
        if (AskRunning()) {
            return true;
        }
        QLocalServer::removeServer(name_);
        if (!server_->listen(name_)) {
            listenError_ = server_->errorString();
        }
    }
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (socket->readAll().contains('\n')) {
                    socket->write("ok\n");
                    socket->flush();
                    emit showRequested();
                }
            });
        }
    });
    return false;
}

}  // namespace tesselex::gui
