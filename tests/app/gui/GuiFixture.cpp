#include "tests/app/gui/GuiFixture.h"

#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include "config/Utf.h"
#include "tests/support/TestData.h"

namespace tesselex::test {

GuiFixture::~GuiFixture() {
    window_.reset();
    controller_.reset();
}

gui::ControllerOptions GuiFixture::Options() {
    gui::ControllerOptions options;
    const std::filesystem::path ini = dir_ / "settings.ini";
    options.MakeSettings = [ini, policy = policy_] {
        return std::make_unique<Settings>(ini, policy);
    };
    options.MachinePolicy = policy_;
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
