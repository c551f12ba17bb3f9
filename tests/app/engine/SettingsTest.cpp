#include "app/engine/Settings.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QStandardPaths>
#include <QString>

#include "config/Utf.h"
#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

// A value the file form cannot carry would fail its read-back and so every write of it. Values
// of one length written in quick succession must still be read anew.
TEST(Settings, AnyTextIsStoredWholeAndReadBackByAnotherReader) {
    test::TempDir dir;
    const std::filesystem::path file = dir / "TESSELEX" / "settings.ini";
    Settings settings(file);
    for (const std::u16string value :
         {u"", u"  blanks around  ", u"a,b;c=d # e", u"\"quoted\" and \\ back\\", u"@at",
          u"@ByteArray(x)", u"line\r\nnext\ttab\x01", u"Åbo ö € \U0001F600", u"[Settings]",
          u"same 1", u"same 2", u"same 3"}) {
        SCOPED_TRACE(TextToUtf8(value));
        ASSERT_TRUE(settings.StoreSetting(SettingKey::Libraries, value));
        EXPECT_EQ(Settings(file).Setting(SettingKey::Libraries), value);
        EXPECT_EQ(settings.Setting(SettingKey::Libraries), value);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file.parent_path()), {}), 1)
        << "nothing left beside the file";
}

// Keys without regard to case and values kept across processes are checked through the
// program's own commands and events (EngineCommandTest, ExportEngineTest).
// The client's value where the program reads it: on Windows the registry key of NativeSettingsKey
// (a value there before the test is put back), elsewhere QSettings's file in a folder of the test.
TEST(Settings, VoyagerWorkfileComesFromTheClientsOwnSettings) {
    test::TempDir dir;
    const QString userDefault =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(dir.Path().string()));
#ifdef _WIN32
    QSettings client(QString::fromStdU16String(NativeSettingsKey(u"VoyagerCat", true)),
                     QSettings::NativeFormat);
#else
    QSettings client(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("VoyagerCat"),
                     QStringLiteral("VoyagerCat"));
#endif
    const QString name = QStringLiteral("Preferences/HoldWorkFile");
    const QVariant before = client.value(name);
    if (!before.isValid()) {
        EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/found/before.mrc");
    }
    client.setValue(name, QStringLiteral("/v/hold.mrc"));
    client.sync();
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/v/hold.mrc");
    if (before.isValid()) {
        client.setValue(name, before);
    } else {
        client.remove(name);
    }
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, userDefault);
}

// An upgrading cataloguer on Windows keeps the settings the old program wrote; elsewhere the
// store is QSettings's own file.
TEST(Settings, NativeStoreIsWhereTheOldProgramKeptItsSettingsOnWindows) {
    EXPECT_EQ(NativeSettingsKey(u"TESSELEX", true),
              u"HKEY_CURRENT_USER\\Software\\VB and VBA Program Settings\\TESSELEX");
    EXPECT_EQ(NativeSettingsKey(u"VoyagerCat", true),
              u"HKEY_CURRENT_USER\\Software\\VB and VBA Program Settings\\VoyagerCat");
    EXPECT_EQ(NativeSettingsKey(u"TESSELEX", false), u"");
}

}  // namespace
}  // namespace tesselex
