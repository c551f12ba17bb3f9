#include "app/gui/EngineWorker.h"

#include "app/engine/Settings.h"
#include "app/gui/GuiText.h"
#include "config/Utf.h"

namespace tesselex::gui {

EngineWorker::EngineWorker(ControllerOptions options, EngineController* controller)
    : options_(std::move(options)), controller_(controller) {}

EngineWorker::~EngineWorker() = default;

void EngineWorker::Post(std::function<void(EngineController&)> call) {
    EngineController* controller = controller_;
    QMetaObject::invokeMethod(
        controller, [controller, call = std::move(call)] { call(*controller); },
        Qt::QueuedConnection);
}

void EngineWorker::Start() {
    settings_ = options_.MakeSettings ? options_.MakeSettings() : std::make_unique<Settings>();
    engine_ = std::make_unique<ExportEngine>(*settings_, options_.Seams);
    EngineListener listener;
    listener.StateChanged = [this](const EngineState& state) {
        Post([state](EngineController& c) { c.TakeState(state); });
    };
    listener.Status = [this](const StatusLine& line) {
        Post([line](EngineController& c) { emit c.statusLine(line); });
    };
    listener.Exported = [this](const ExportReport& report) {
        Post([report](EngineController& c) { emit c.exported(report); });
    };
    listener.WaitingChanged = [this](const std::vector<OutboxEntry>& entries) {
        Post([entries](EngineController& c) { c.TakeWaiting(entries); });
    };
    engine_->SetListener(std::move(listener));
    engine_->Start();
    ReportDialogValues();
    // Said at start-up rather than at the first poll: another program watches the workfile.
    (void)engine_->Watch();
    timer_ = new QTimer(this);
    timer_->setInterval(options_.PollIntervalMs);
    connect(timer_, &QTimer::timeout, this, &EngineWorker::Poll);
    timer_->start();
    Post([](EngineController& c) { emit c.started(); });
}

void EngineWorker::Stop() {
    if (timer_) {
        timer_->stop();
    }
    // The engine and its locks go: another program may watch from now on.
    engine_.reset();
}

void EngineWorker::Poll() {
    engine_->Poll();
}

void EngineWorker::ReportDialogValues() {
    Post([ftp = engine_->Ftp(), address = Q(engine_->ServerAddress())](EngineController& c) {
        c.ftp_ = ftp;
        c.serverAddress_ = address;
    });
}

}  // namespace tesselex::gui
