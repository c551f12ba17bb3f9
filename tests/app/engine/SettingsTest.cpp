#include "app/engine/Settings.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QString>

#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

class SettingsTest : public ::testing::Test {
  protected:
    test::TempDir dir_;
};

TEST_F(SettingsTest, KeysAreOneSettingWhateverTheirCase) {
    Settings settings(dir_ / "settings.ini");
    EXPECT_EQ(settings.Setting(SettingKey::Libraries), u"");
    settings.StoreSetting(u"Libraries", u"Tes Tesm");
    settings.StoreSetting(u"libraries", u"Abc");
    EXPECT_EQ(settings.Setting(u"LIBRARIES"), u"Abc");
    EXPECT_EQ(settings.Setting(SettingKey::Libraries), u"Abc");
    // The first spelling is kept, and no second key appears beside it.
    const auto stored = settings.StoredSettings();
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(stored[0].first, u"Libraries");
}

TEST_F(SettingsTest, ValuesSurviveANewInstanceAndKeepNationalLetters) {
    {
        Settings settings(dir_ / "settings.ini");
        settings.StoreSetting(SettingKey::Destination, u"/ut/Ämnen &USER&.mrc");
    }
    Settings again(dir_ / "settings.ini");
    EXPECT_EQ(again.Setting(u"destination"), u"/ut/Ämnen &USER&.mrc");
}

TEST_F(SettingsTest, RegistryNamesAreFoundWithoutRegardToCase) {
    EXPECT_EQ(FindSettingKey(u"ftpserver"), SettingKey::FTPServer);
    EXPECT_EQ(FindSettingKey(u"LASTBIBID"), SettingKey::LastBibId);
    EXPECT_FALSE(FindSettingKey(u"VoyagerFil").has_value());
    for (const auto& info : SettingKeys()) {
        EXPECT_EQ(SettingName(info.Key), info.Name);
    }
}

TEST_F(SettingsTest, VoyagerWorkfileComesFromTheClientsOwnSettings) {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(dir_.Path().string()));
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/found/before.mrc");
    {
        QSettings voyager(QSettings::NativeFormat, QSettings::UserScope,
                          QStringLiteral("VoyagerCat"), QStringLiteral("VoyagerCat"));
        voyager.setValue(QStringLiteral("Preferences/HoldWorkFile"), QStringLiteral("/v/hold.mrc"));
    }
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/v/hold.mrc");
}

}  // namespace
}  // namespace tesselex
