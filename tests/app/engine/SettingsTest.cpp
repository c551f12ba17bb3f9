#include "app/engine/Settings.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QString>

#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

TEST(Settings, KeysAreOneSettingWhateverTheirCaseAndSurviveANewInstance) {
    test::TempDir dir;
    {
        Settings settings(dir / "settings.ini");
        EXPECT_EQ(settings.Setting(SettingKey::Libraries), u"");
        settings.StoreSetting(u"Libraries", u"Tes Tesm");
        settings.StoreSetting(u"libraries", u"Åbo &USER&");
    }
    Settings again(dir / "settings.ini");
    EXPECT_EQ(again.Setting(u"LIBRARIES"), u"Åbo &USER&");
    // The first spelling is kept, and no second key appears beside it.
    const auto stored = again.StoredSettings();
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(stored[0].first, u"Libraries");
    EXPECT_EQ(FindSettingKey(u"ftpserver"), SettingKey::FTPServer);
    EXPECT_FALSE(FindSettingKey(u"VoyagerFil").has_value());
}

TEST(Settings, VoyagerWorkfileComesFromTheClientsOwnSettings) {
    test::TempDir dir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(dir.Path().string()));
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/found/before.mrc");
    QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("VoyagerCat"),
              QStringLiteral("VoyagerCat"))
        .setValue(QStringLiteral("Preferences/HoldWorkFile"), QStringLiteral("/v/hold.mrc"));
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/v/hold.mrc");
}

}  // namespace
}  // namespace tesselex
