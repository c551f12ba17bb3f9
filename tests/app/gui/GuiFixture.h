#pragma once
// The window and its controller in the export sandbox (its own program folder, settings and
// runtime folder, the sample export server on loopback): nothing of the user's is touched.
// The poll runs every 50 ms so tests need not wait for whole seconds.

#include <gtest/gtest.h>

#include <QString>
#include <functional>
#include <memory>
#include <string>

#include "app/gui/EngineController.h"
#include "app/gui/frmMain.h"
#include "tests/support/export/ExportSandbox.h"

class QTableWidget;

namespace tesselex::test {

class GuiFixture : public ::testing::Test, protected ExportSandbox {
  protected:
    ~GuiFixture() override;

    // The options the controller starts with in these tests.
    gui::ControllerOptions Options();
    // Controller and window, started; waits until start-up has run.
    void StartWindow();
    // Waits (running the event loop) until the condition holds; false after 20 s.
    static bool WaitFor(const std::function<bool()>& condition);
    // The settings as the engine stored them (read from the settings file).
    std::u16string StoredSetting(SettingKey key) const;

    template <typename Widget>
    Widget* Find(const char* name) const {
        return window_->findChild<Widget*>(QString::fromLatin1(name));
    }
    QStringList StatusMessages() const { return StatusMessages(*window_); }
    static QStringList StatusMessages(const QWidget& window);
    int GridRows() const;

    Policy policy_;  // the machine's policy the engine and the window see; none unless set
    std::unique_ptr<gui::EngineController> controller_;
    std::unique_ptr<gui::frmMain> window_;
};

}  // namespace tesselex::test
