#include "app/engine/Settings.h"

#include <QSettings>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <system_error>
#include <utility>

#include "app/engine/FileLock.h"
#include "app/engine/QtText.h"
#include "app/engine/SettingsFile.h"
#include "app/engine/WatchLock.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

const QString& Group() {
    static const QString group = QStringLiteral("Settings");
    return group;
}

// The stored spelling of a key, or the key as given when none is stored yet.
QString StoredKey(QSettings& store, std::u16string_view key) {
    store.beginGroup(Group());
    const QStringList keys = store.childKeys();
    store.endGroup();
    for (const QString& stored : keys) {
        if (EqualsNoCase(ToText(stored), key)) {
            return stored;
        }
    }
    return ToQString(key);
}

QString FullKey(const QString& key) {
    return Group() + QLatin1Char('/') + key;
}

#ifdef Q_OS_WIN
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

std::unique_ptr<QSettings> OpenNativeSettings(std::u16string_view application) {
    const std::u16string key = NativeSettingsKey(application, kWindows);
    if (!key.empty()) {
        return std::make_unique<QSettings>(ToQString(std::u16string_view(key)),
                                           QSettings::NativeFormat);
    }
    const QString name = ToQString(application);
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, name, name);
}

}  // namespace

std::u16string NativeSettingsKey(std::u16string_view application, bool windows) {
    if (!windows) {
        return {};
    }
    return u"HKEY_CURRENT_USER\\Software\\VB and VBA Program Settings\\" +
           std::u16string(application);
}

Settings::Settings() : store_(OpenNativeSettings(u"TESSELEX")), policy_(Policy::Machine()) {
#ifndef Q_OS_WIN
    file_ = TextToPath(ToText(store_->fileName()));
#endif
}

Settings::Settings(const std::filesystem::path& iniFile, Policy policy)
    : store_(std::make_unique<QSettings>(ToQString(iniFile), QSettings::IniFormat)),
      file_(iniFile),
      policy_(std::move(policy)) {}

Settings::~Settings() = default;

std::u16string Settings::Setting(std::u16string_view key) const {
    if (const auto known = FindSettingKey(key)) {
        if (const std::u16string* locked = policy_.Value(*known)) {
            return *locked;
        }
    }
    const QString stored = StoredKey(*store_, key);
    return ToText(store_->value(FullKey(stored)).toString());
}

std::u16string Settings::Setting(SettingKey key) const {
    return Setting(SettingName(key));
}

Done Settings::StoreSetting(std::u16string_view key, std::u16string_view value) {
    if (const auto known = FindSettingKey(key); known && IsLocked(*known)) {
        return {};
    }
    if (file_.empty()) {
        // The registry writes each value whole.
        store_->setValue(FullKey(StoredKey(*store_, key)), ToQString(value));
        store_->sync();
        if (store_->status() != QSettings::NoError) {
            return Fault{FaultKind::FileSystem, u"the registry refused the value", 0};
        }
        return {};
    }
    // The file is written whole by WriteSettingsFile; store_ only reads it and so never writes
    // it itself (and so never takes QSettings' own lock). This lock keeps another program from
    // writing meanwhile; held by the system, it dies with a killed writer (QSettings' lock file
    // left empty by a kill kept every writer out for half a minute).
    std::error_code ec;
    std::filesystem::create_directories(file_.parent_path(), ec);
    const Outcome<FileLock> lock =
        FileLock::Take(RuntimeLockPath("settings", file_), std::chrono::seconds(10));
    if (!lock) {
        return lock.Failure();
    }
    store_->sync();  // what another program stored meanwhile
    const QString full = FullKey(StoredKey(*store_, key));
    SettingValues values;
    bool replaced = false;
    for (const QString& stored : store_->allKeys()) {
        replaced = replaced || stored == full;
        values.emplace_back(stored,
                            stored == full ? QVariant(ToQString(value)) : store_->value(stored));
    }
    if (!replaced) {
        values.emplace_back(full, ToQString(value));
    }
    Done written = WriteSettingsFile(file_, values);
    store_->sync();
    return written;
}

Done Settings::StoreSetting(SettingKey key, std::u16string_view value) {
    return StoreSetting(SettingName(key), value);
}

std::u16string Settings::FileName() const {
    return ToText(store_->fileName());
}

std::vector<std::pair<std::u16string, std::u16string>> Settings::StoredSettings() const {
    std::vector<std::pair<std::u16string, std::u16string>> result;
    store_->beginGroup(Group());
    for (const QString& key : store_->childKeys()) {
        result.emplace_back(ToText(key), ToText(store_->value(key).toString()));
    }
    store_->endGroup();
    return result;
}

std::u16string VoyagerHoldWorkFile(std::u16string_view fallback) {
    const QVariant value =
        OpenNativeSettings(u"VoyagerCat")->value(QStringLiteral("Preferences/HoldWorkFile"));
    if (!value.isValid()) {
        return std::u16string(fallback);
    }
    return ToText(value.toString());
}

}  // namespace tesselex
