#pragma once
// The program `tesselex` put together: the controller and the engine, the main window, the
// tray icon, the dialogs the window opens, and the hand-over to a program already running.
//
// Without an argument it starts hidden with a tray icon; with any argument it shows the window
// and has no tray icon; where the desktop has no notification area it shows the window and says
// why. After an error with the window out of sight the tray icon turns red and shows the
// message until the window is opened.

#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>

#include "app/gui/EngineController.h"

namespace tesselex {
class frmSysTray;
}

namespace tesselex::gui {

class frmMain;
class SingleInstance;

struct ProgramOptions {
    QStringList Arguments;  // after the program's name
    ControllerOptions Controller;
    // QSystemTrayIcon::isSystemTrayAvailable when empty.
    std::function<bool()> TrayAvailable;
    QString InstanceName;  // the user's own when empty
};

// Message boxes on the desktop: an exclamation box, a yes/no question.
Prompts DesktopPrompts();
// The display configuration of the readable record view: the program folder's Display.cfg,
// else the installed one, else the source tree's.
QString DefaultDisplayConfig();

class MainProgram : public QObject {
    Q_OBJECT

  public:
    explicit MainProgram(ProgramOptions options, QObject* parent = nullptr);
    ~MainProgram() override;

    // False when a program already running took over: this one ends at once, status 0.
    bool Start();
    // "&Avsluta", the tray's "&Avsluta", SIGTERM, SIGINT: ends after an export under way.
    void Quit();

    frmMain& Window() { return *window_; }
    EngineController& Controller() { return *controller_; }
    frmSysTray* Tray() { return tray_.get(); }
    // The tray icon shows the error state (red icon, balloon) until the window is opened.
    bool TrayShowsError() const { return trayError_; }
    // "Väntande exporter...": the waiting exports, tried again or given up from there.
    void OpenOutbox();

  signals:
    void finished();

  private:
    void CreateTray();
    void ShowWindow();
    void OnStatus(const QString& message, bool isError);
    void OpenSubjects();
    void OpenFtp();
    void OpenServerAddress();
    // The tray while exports wait: their count as the tip, the error icon; a balloon when the
    // last one went out.
    void OnWaiting(std::size_t count);

    ProgramOptions options_;
    std::unique_ptr<EngineController> controller_;
    std::unique_ptr<frmMain> window_;
    std::unique_ptr<frmSysTray> tray_;
    std::unique_ptr<SingleInstance> instance_;
    bool trayError_ = false;
    std::size_t waiting_ = 0;
    bool quitting_ = false;
};

}  // namespace tesselex::gui
