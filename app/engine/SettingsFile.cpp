// Qt 6.4's QSaveFile renames its new file over the old one even when the last buffered write
// failed, and QSettings then reports no error: under a file-size limit a settings file of a few
// KiB was cut short without a word. So QSettings writes a copy beside the file, the copy is read
// back and compared with what was meant, and only then renamed over the file
// (docs/behaviour.md).

#include "app/engine/SettingsFile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryFile>

#include <system_error>

#include "app/engine/DurableFile.h"
#include "app/engine/QtText.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// A new empty file beside `file` under a name not used before. QSettings keeps what it last
// read of a file name and takes an unchanged size and time as unchanged content, so only a name
// it has never seen is surely read from the disk.
std::filesystem::path FreshNameBeside(const std::filesystem::path& file) {
    QTemporaryFile scratch(ToQString(file) + QStringLiteral(".XXXXXX"));
    scratch.setAutoRemove(false);
    return scratch.open() ? TextToPath(ToText(scratch.fileName())) : std::filesystem::path();
}

bool WriteValues(const std::filesystem::path& file, const SettingValues& values) {
    QSettings out(ToQString(file), QSettings::IniFormat);
    for (const auto& [key, value] : values) {
        out.setValue(key, value);
    }
    out.sync();
    return out.status() == QSettings::NoError;
}

bool ReadsBackAs(const std::filesystem::path& file, const SettingValues& values) {
    QSettings written(ToQString(file), QSettings::IniFormat);
    if (written.status() != QSettings::NoError ||
        written.allKeys().size() != static_cast<qsizetype>(values.size())) {
        return false;
    }
    for (const auto& [key, value] : values) {
        if (written.value(key) != value) {
            return false;
        }
    }
    return true;
}

// A reader of the file notices the change only when its size or its time (to the millisecond)
// differs, so the new file is never given the old one's time. Set through Qt: the standard
// library's setter has whole seconds only on Windows.
void NewerThan(const std::filesystem::path& file, const std::filesystem::path& old) {
    const QDateTime before = QFileInfo(ToQString(old)).lastModified();
    QFile newer(ToQString(file));
    if (before.isValid() && QFileInfo(newer).lastModified() <= before &&
        newer.open(QIODevice::ReadWrite)) {
        newer.setFileTime(before.addMSecs(1), QFileDevice::FileModificationTime);
    }
}

}  // namespace

Done WriteSettingsFile(const std::filesystem::path& file, const SettingValues& values) {
    std::error_code ec;
    const std::filesystem::path written = FreshNameBeside(file);
    const std::filesystem::path checked = FreshNameBeside(file);
    Done done;
    if (written.empty() || checked.empty()) {
        done = Fault{FaultKind::FileSystem, u"no new file can be made beside it", 0};
    } else if (!WriteValues(written, values)) {
        done = Fault{FaultKind::FileSystem, u"the new file could not be written whole", 0};
    } else if (std::filesystem::rename(written, checked, ec); ec) {
        done = SystemFault(ec.value());
    } else if (!ReadsBackAs(checked, values)) {
        done = Fault{FaultKind::FileSystem, u"the new file does not read back as written", 0};
    } else {
        // It may hold the FTP password in plain text.
        std::filesystem::permissions(
            checked, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
            std::filesystem::perm_options::replace, ec);
        NewerThan(checked, file);
        // Flushed before the rename and the folder after, so a crash leaves either file whole.
        done = SyncFile(checked);
        if (done) {
            std::filesystem::rename(checked, file, ec);
            done = ec ? Done{SystemFault(ec.value())} : SyncFolder(file.parent_path());
        }
    }
    if (!done) {
        std::filesystem::remove(written, ec);
        std::filesystem::remove(checked, ec);
    }
    return done;
}

}  // namespace tesselex
