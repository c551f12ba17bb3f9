#include "app/engine/WatchLock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>

#include "app/engine/QtText.h"

namespace tesselex {

// $XDG_RUNTIME_DIR as it is set: one that cannot hold the lock is reported, not silently
// exchanged for another folder that a second program might not choose. Without it, Qt's runtime
// folder; on Windows the user's temporary folder instead, as Qt's runtime folder there is the
// profile folder itself, where the lock files would lie in plain sight.
std::filesystem::path UserRuntimeFolder() {
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
#ifdef Q_OS_WIN
    if (folder.isEmpty()) {
        folder = QDir::tempPath();
    }
#endif
    if (folder.isEmpty()) {
        folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    }
    if (folder.isEmpty()) {
        folder = QDir::tempPath();
    }
    return std::filesystem::path(folder.toStdU16String());
}

std::filesystem::path RuntimeLockPath(std::string_view kind, const std::filesystem::path& file) {
    std::error_code ec;
    std::filesystem::path normal = std::filesystem::weakly_canonical(file, ec);
    if (ec) {
        normal = std::filesystem::absolute(file, ec).lexically_normal();
    }
    const QByteArray key =
        QCryptographicHash::hash(ToQString(normal).toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(16);
    return UserRuntimeFolder() /
           ("tesselex-" + std::string(kind) + "-" + key.toStdString() + ".lock");
}

std::filesystem::path WatchLock::LockPath(const std::filesystem::path& workfile) {
    return RuntimeLockPath("watch", workfile);
}

Outcome<FileLock> WatchLock::Take(const std::filesystem::path& workfile) {
    return FileLock::TryTake(LockPath(workfile));
}

}  // namespace tesselex
