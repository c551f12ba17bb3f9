#pragma once
// The window and its controller against the sample export server on loopback, in a fresh
// program folder with its own settings and runtime folder: nothing of the user's is touched.
// The poll runs every 50 ms so tests need not wait for whole seconds.

#include <gtest/gtest.h>

#include <QString>
#include <functional>
#include <memory>
#include <string>

#include "app/engine/Settings.h"
#include "app/gui/EngineController.h"
#include "app/gui/frmMain.h"
#include "app/sampleserver/SampleExportServer.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"

class QTableWidget;

namespace tesselex::test {

class GuiFixture : public ::testing::Test {
  protected:
    GuiFixture();
    ~GuiFixture() override;

    // The options the controller starts with in these tests.
    gui::ControllerOptions Options();
    // Controller and window, started; waits until start-up has run.
    void StartWindow();
    // Waits (running the event loop) until the condition holds; false after 20 s.
    static bool WaitFor(const std::function<bool()>& condition);
    // The settings as the engine stored them (read from the settings file).
    std::u16string StoredSetting(SettingKey key) const;
    void StoreSetting(SettingKey key, const std::u16string& value);

    template <typename Widget>
    Widget* Find(const char* name) const {
        return window_->findChild<Widget*>(QString::fromLatin1(name));
    }
    QStringList StatusMessages() const { return StatusMessages(*window_); }
    static QStringList StatusMessages(const QWidget& window);
    int GridRows() const;

    TempDir dir_;
    ScopedEnv home_;
    ScopedEnv config_;
    ScopedEnv runtime_;
    std::filesystem::path workfile_;
    std::filesystem::path destination_;
    SampleExportServer server_;
    std::unique_ptr<gui::EngineController> controller_;
    std::unique_ptr<gui::frmMain> window_;
};

// An ISO 2709 holdings record whose 004 names the bib id.
std::string HoldingsFor(const std::string& bibId);
// Writes beside the path and renames, so a poller never reads a half-written file.
void PlaceFileAtomically(const std::filesystem::path& path, const std::string& bytes);

}  // namespace tesselex::test
