#include "app/engine/WatchLock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLockFile>
#include <QStandardPaths>
#include <system_error>

#include "app/engine/QtText.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::filesystem::path RuntimeFolder() {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty()) {
        folder = QDir::tempPath();
    }
    return std::filesystem::path(folder.toStdU16String());
}

}  // namespace

std::filesystem::path WatchLock::LockPath(const std::filesystem::path& workfile) {
    std::error_code ec;
    std::filesystem::path normal = std::filesystem::weakly_canonical(workfile, ec);
    if (ec) {
        normal = std::filesystem::absolute(workfile, ec).lexically_normal();
    }
    const QByteArray key =
        QCryptographicHash::hash(ToQString(normal).toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(16);
    return RuntimeFolder() / ("tesselex-watch-" + key.toStdString() + ".lock");
}

WatchLock::WatchLock(const std::filesystem::path& workfile)
    : lock_(std::make_unique<QLockFile>(ToQString(LockPath(workfile)))) {
    std::error_code ec;
    std::filesystem::create_directories(LockPath(workfile).parent_path(), ec);
    // Age alone never makes a lock stale: a watcher runs for days. A dead holder does.
    lock_->setStaleLockTime(0);
    held_ = lock_->tryLock(0);
    if (!held_) {
        qint64 pid = 0;
        QString host;
        QString app;
        if (lock_->getLockInfo(&pid, &host, &app)) {
            holderPid_ = pid;
        }
    }
}

WatchLock::~WatchLock() = default;

std::u16string WatchedElsewhereMessage(const std::filesystem::path& workfile) {
    return u"Arbetsfilen " + PathToText(workfile) +
           u" bevakas redan av ett annat TESSELEX-program; den här kopian hämtar inga poster "
           u"från den.";
}

}  // namespace tesselex
