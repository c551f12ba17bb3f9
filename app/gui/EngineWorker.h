#pragma once
// The engine's side of the controller: lives on the engine's thread with the settings, the
// engine, the poll timer and the workfile lock, and posts what the engine reports back to the
// controller on the window's thread.

#include <QObject>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "app/engine/ExportEngine.h"
#include "app/gui/EngineController.h"

namespace tesselex::gui {

class EngineWorker : public QObject {
  public:
    EngineWorker(ControllerOptions options, EngineController* controller);
    ~EngineWorker() override;

    // Start-up: the engine's, the workfile lock, the poll.
    void Start();
    void Stop();
    bool Started() const { return engine_ != nullptr; }
    ExportEngine& Engine() { return *engine_; }
    // The FTP settings and server address the dialogs open with.
    void ReportDialogValues();

  private:
    void Poll();
    void Post(std::function<void(EngineController&)> call);

    ControllerOptions options_;
    EngineController* controller_;
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<ExportEngine> engine_;
    QTimer* timer_ = nullptr;
};

}  // namespace tesselex::gui
