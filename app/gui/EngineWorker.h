#pragma once
// The engine's side of the controller: lives on the engine's thread with the settings, the
// engine, the poll timer and the workfile lock, and posts what the engine reports back to the
// controller on the window's thread.

#include <QObject>
#include <QTimer>
#include <memory>
#include <optional>

#include "app/engine/WatchLock.h"
#include "app/gui/EngineController.h"
#include "marc/MarcObject.h"

namespace tesselex::gui {

class EngineWorker : public QObject {
  public:
    EngineWorker(ControllerOptions options, EngineController* controller);
    ~EngineWorker() override;

    // Start-up: the engine's LoadConfig, the workfile lock, the first publication, the poll.
    void Start();
    void Stop();
    bool Started() const { return engine_ != nullptr; }
    ExportEngine& Engine() { return *engine_; }
    // Sends what changed on the form to the window; runs after every event.
    void Publish();
    void ReportDialogValues();
    // Start-up ran again (a new server address): the workfile, and so its lock, may differ.
    void TakeWatchLock();

  private:
    void Poll();
    void Forward(const FormChange& change);
    QString RecordsHtml();
    void Post(std::function<void(EngineController&)> call);

    ControllerOptions options_;
    EngineController* controller_;
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<ExportEngine> engine_;
    std::optional<WatchLock> lock_;
    std::filesystem::path lockPath_;
    QTimer* timer_ = nullptr;
    MarcObject display_;
};

}  // namespace tesselex::gui
