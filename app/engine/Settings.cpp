#include "app/engine/Settings.h"

#include <QSettings>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <system_error>

#include "app/engine/QtText.h"
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

}  // namespace

Settings::Settings()
    : store_(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                         QStringLiteral("TESSELEX"), QStringLiteral("TESSELEX"))) {}

Settings::Settings(const std::filesystem::path& iniFile)
    : store_(std::make_unique<QSettings>(ToQString(iniFile), QSettings::IniFormat)) {}

Settings::~Settings() = default;

std::u16string Settings::Setting(std::u16string_view key) const {
    const QString stored = StoredKey(*store_, key);
    return ToText(store_->value(FullKey(stored)).toString());
}

std::u16string Settings::Setting(SettingKey key) const {
    return Setting(SettingName(key));
}

bool Settings::StoreSetting(std::u16string_view key, std::u16string_view value) {
    const QString stored = StoredKey(*store_, key);
    store_->setValue(FullKey(stored), ToQString(value));
    // QSettings writes a new file beside the old one and renames it (QSaveFile), so a failed
    // write leaves the old file; its status tells of the failure.
    store_->sync();
    if (store_->status() != QSettings::NoError) {
        return false;
    }
    // The file holds the FTP password: readable by its owner only.
    std::error_code ec;
    std::filesystem::permissions(
        TextToPath(ToText(store_->fileName())),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
        std::filesystem::perm_options::replace, ec);
    return true;
}

bool Settings::StoreSetting(SettingKey key, std::u16string_view value) {
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
    QSettings voyager(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("VoyagerCat"),
                      QStringLiteral("VoyagerCat"));
    const QVariant value = voyager.value(QStringLiteral("Preferences/HoldWorkFile"));
    if (!value.isValid()) {
        return std::u16string(fallback);
    }
    return ToText(value.toString());
}

}  // namespace tesselex
