#include "app/engine/WatchLock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLockFile>
#include <QStandardPaths>
#include <cerrno>
#include <system_error>

#include "app/engine/QtText.h"
#include "app/engine/WholeWrite.h"
#include "config/CodePage.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::unique_ptr<QLockFile> LockFile(const std::filesystem::path& lockPath,
                                    std::error_code& folderError) {
    std::filesystem::create_directories(lockPath.parent_path(), folderError);
    auto lock = std::make_unique<QLockFile>(ToQString(lockPath));
    // Age alone never makes a lock stale: a watcher runs for days. A dead holder does.
    lock->setStaleLockTime(0);
    return lock;
}

long long HolderOf(QLockFile& lock) {
    qint64 pid = 0;
    QString host;
    QString app;
    return lock.getLockInfo(&pid, &host, &app) ? pid : 0;
}

}  // namespace

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
    return UserRuntimeFolder() / ("tesselex-watch-" + key.toStdString() + ".lock");
}

Outcome<WatchLock> WatchLock::Take(const std::filesystem::path& workfile) {
    return TakeAt(LockPath(workfile));
}

Outcome<WatchLock> WatchLock::TakeAt(const std::filesystem::path& lockPath) {
    std::error_code folderError;
    std::unique_ptr<QLockFile> lock = LockFile(lockPath, folderError);
    if (lock->tryLock(0)) {
        return WatchLock(std::move(lock));
    }
    if (lock->error() == QLockFile::LockFailedError) {
        return Fault{FaultKind::Held, u"", static_cast<int>(HolderOf(*lock))};
    }
    // The lock file's own error has no system number; the folder's says more when it failed.
    const int error = folderError                                   ? folderError.value()
                      : lock->error() == QLockFile::PermissionError ? EACCES
                                                                    : EIO;
    return Fault{FaultKind::FileSystem, AnsiToText(SystemReason(error)), error};
}

WatchLock::WatchLock(std::unique_ptr<QLockFile> lock) : lock_(std::move(lock)) {}

WatchLock::~WatchLock() = default;
WatchLock::WatchLock(WatchLock&&) noexcept = default;
WatchLock& WatchLock::operator=(WatchLock&&) noexcept = default;

std::u16string WatchedElsewhereMessage(const std::filesystem::path& workfile) {
    return u"Arbetsfilen " + PathToText(workfile) +
           u" bevakas redan av ett annat TESSELEX-program; den här kopian hämtar inga poster "
           u"från den.";
}

std::u16string LockNotMadeMessage(const std::filesystem::path& workfile, const Fault& fault) {
    return u"Låset för arbetsfilen " + PathToText(workfile) + u" kunde inte skapas: " +
           fault.Reason +
           u". Arbetsfilen bevakas ändå; bevakas den också av ett annat "
           u"TESSELEX-program kan en post levereras två gånger.";
}

}  // namespace tesselex
