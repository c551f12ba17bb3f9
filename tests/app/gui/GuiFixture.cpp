#include "tests/app/gui/GuiFixture.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include "config/Utf.h"
#include "tests/support/Digits.h"
#include "tests/support/TestData.h"

namespace tesselex::test {

std::string HoldingsFor(const std::string& bibId) {
    const std::string field004 = bibId + '\x1E';
    const std::string directory = "004" + Digits(field004.size(), 4) + "00000";
    const std::size_t base = 24 + directory.size() + 1;
    const std::size_t length = base + field004.size() + 1;
    return Digits(length, 5) + "nx  a22" + Digits(base, 5) + "1n 4500" + directory + '\x1E' +
           field004 + '\x1D';
}

void PlaceFileAtomically(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::path aside = path;
    aside += ".part";
    WriteBytes(aside, bytes);
    std::filesystem::rename(aside, path);
}

GuiFixture::GuiFixture()
    : home_("TESSELEX_HOME", (dir_ / "home").string()),
      config_("XDG_CONFIG_HOME", (dir_ / "config").string()),
      runtime_("XDG_RUNTIME_DIR", (dir_ / "run").string()),
      workfile_(dir_ / "hold.wrk"),
      destination_(dir_ / "out.mrc"),
      server_(SourceDir() / "data") {
    std::filesystem::create_directories(dir_ / "home");
    std::filesystem::create_directories(dir_ / "run");
    std::filesystem::permissions(dir_ / "run", std::filesystem::perms::owner_all);
    server_.Start();
    WriteBytes(dir_ / "home" / "export.url",
               "[InternetShortcut]\r\nURL=" + server_.Address("/config") + "\r\n");
    WriteBytes(dir_ / "home" / "cat.ini",
               "[Preferences]\r\nHoldWorkFile=" + workfile_.string() + "\r\n");
    StoreSetting(SettingKey::Destination, PathToText(destination_));
}

GuiFixture::~GuiFixture() {
    window_.reset();
    controller_.reset();
    server_.Stop();
}

gui::ControllerOptions GuiFixture::Options() {
    gui::ControllerOptions options;
    const std::filesystem::path ini = dir_ / "settings.ini";
    options.MakeSettings = [ini] { return std::make_unique<Settings>(ini); };
    options.Ask.AskYesNo = [](const QString&) { return true; };
    options.PollIntervalMs = 50;
    options.DisplayConfig =
        QString::fromStdString((SourceDir() / "data" / "display" / "Display.cfg").string());
    return options;
}

void GuiFixture::StartWindow() {
    controller_ = std::make_unique<gui::EngineController>(Options());
    window_ = std::make_unique<gui::frmMain>(*controller_);
    window_->show();
    window_->activateWindow();
    QSignalSpy started(controller_.get(), &gui::EngineController::started);
    controller_->Start();
    ASSERT_TRUE(WaitFor([&] { return started.count() > 0; }));
}

bool GuiFixture::WaitFor(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 20000);
}

std::u16string GuiFixture::StoredSetting(SettingKey key) const {
    return Settings(dir_ / "settings.ini").Setting(key);
}

void GuiFixture::StoreSetting(SettingKey key, const std::u16string& value) {
    Settings(dir_ / "settings.ini").StoreSetting(key, value);
}

QStringList GuiFixture::StatusMessages(const QWidget& window) {
    QStringList messages;
    auto* status = window.findChild<QTableWidget*>(QStringLiteral("Status"));
    for (int row = 0; row < status->rowCount(); ++row) {
        messages.append(status->item(row, 2) ? status->item(row, 2)->text() : QString());
    }
    return messages;
}

int GuiFixture::GridRows() const {
    return Find<QTableWidget>("Grid")->rowCount();
}

}  // namespace tesselex::test
