#include "app/engine/Settings.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QStandardPaths>
#include <QString>

#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

// Keys without regard to case and values kept across processes are checked through the
// program's own commands and events (EngineCommandTest, ExportEngineTest).
TEST(Settings, VoyagerWorkfileComesFromTheClientsOwnSettings) {
    test::TempDir dir;
    const QString userDefault =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString(dir.Path().string()));
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/found/before.mrc");
    QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("VoyagerCat"),
              QStringLiteral("VoyagerCat"))
        .setValue(QStringLiteral("Preferences/HoldWorkFile"), QStringLiteral("/v/hold.mrc"));
    EXPECT_EQ(VoyagerHoldWorkFile(u"/found/before.mrc"), u"/v/hold.mrc");
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, userDefault);
}

}  // namespace
}  // namespace tesselex
