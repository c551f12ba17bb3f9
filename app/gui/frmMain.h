#pragma once
// The main window "TESSEL Export (7)": the export options, the watched workfile, the
// destination, the numbered status lines and the records of the last export, with the Arkiv
// menu. It holds no rule of its own: user edits go to the controller, and the engine's state
// comes back whole and is shown through the option table. Widgets carry their form names as
// object names (for people and tests; the window itself never looks one up).

#include <QMainWindow>

#include "app/gui/EngineController.h"
#include "app/gui/OptionBindings.h"

class QAction;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;
class QTextBrowser;

namespace tesselex::gui {

class frmMain : public QMainWindow {
    Q_OBJECT

  public:
    // The most status lines the list keeps; older ones scroll away.
    static constexpr int StatusLinesKept = 1000;

    explicit frmMain(EngineController& controller, QWidget* parent = nullptr);

    // Brings the window back: shown, restored from minimised, in front.
    void ShowAndRestore();
    // With a tray icon the close box hides the window; without one it minimises it.
    void SetHidesToTray(bool hides) { hidesToTray_ = hides; }
    // The next close really closes (the program ends).
    void AllowClose() { closing_ = true; }

  signals:
    void quitRequested();
    void ftpRequested();
    void serverAddressRequested();
    void subjectsRequested();
    void outboxRequested();
    void shown();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void BuildMenus();
    QWidget* BuildOptions();
    void ShowState(const EngineState& state);
    void AddStatusLine(const StatusLine& line);
    void ShowRecords(const ExportReport& report);
    void UpdateFetchButton();

    EngineController& controller_;
    OptionBindings bindings_;
    QAction* logAll_ = nullptr;
    QAction* logErrors_ = nullptr;
    QLineEdit* txtBibId_ = nullptr;
    QLineEdit* txtFile_ = nullptr;
    QPushButton* command1_ = nullptr;
    QLabel* imgErr_ = nullptr;
    QLabel* lblWaiting_ = nullptr;
    QTableWidget* status_ = nullptr;
    QTableWidget* grid_ = nullptr;
    QTextBrowser* vw_ = nullptr;
    bool hidesToTray_ = false;
    bool closing_ = false;
};

}  // namespace tesselex::gui
