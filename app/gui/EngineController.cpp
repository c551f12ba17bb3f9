#include "app/gui/EngineController.h"

#include <QMetaObject>

#include "app/engine/Settings.h"
#include "app/gui/EngineWorker.h"
#include "app/gui/GuiText.h"

namespace tesselex::gui {

EngineController::EngineController(ControllerOptions options, QObject* parent)
    : QObject(parent), policy_(options.MachinePolicy) {
    qRegisterMetaType<EngineState>();
    qRegisterMetaType<StatusLine>();
    qRegisterMetaType<ExportReport>();
    qRegisterMetaType<FtpSettings>();
    qRegisterMetaType<LogChoice>();
    qRegisterMetaType<Option>();
    qRegisterMetaType<OptionValue>();
    options.Seams.Ask.AskYesNo = [this, ask = options.Ask.AskYesNo](const std::u16string& q) {
        return gate_.AskYesNo(this, [ask, question = Q(q)] { return !ask || ask(question); });
    };
    options.Seams.Ask.Message = [this, show = options.Ask.Message](const std::u16string& title,
                                                                   const std::u16string& text) {
        gate_.Message(this, [show, title = Q(title), text = Q(text)] {
            if (show) {
                show(title, text);
            }
        });
    };
    if (options.Seams.DisplayConfig.empty()) {
        options.Seams.DisplayConfig = ToText(options.DisplayConfig);
    }
    worker_ = new EngineWorker(std::move(options), this);
    worker_->moveToThread(&thread_);
    connect(&thread_, &QThread::finished, worker_, &QObject::deleteLater);
    thread_.setObjectName(QStringLiteral("engine"));
    thread_.start();
}

EngineController::~EngineController() {
    // A question still open gets its default; the export it belongs to ends by itself.
    gate_.Close();
    Post([](EngineWorker& worker) { worker.Stop(); });
    thread_.quit();
    thread_.wait();
}

void EngineController::Post(std::function<void(EngineWorker&)> call) {
    EngineWorker* worker = worker_;
    ++callsUnderWay_;
    // Before start-up there is no engine: nothing to tell it.
    QMetaObject::invokeMethod(
        worker,
        [this, worker, call = std::move(call)] {
            if (worker->Started()) {
                call(*worker);
            }
            QMetaObject::invokeMethod(
                this, [this] { CallEnded(); }, Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
}

void EngineController::CallEnded() {
    if (--callsUnderWay_ == 0 && stateHeld_) {
        stateHeld_ = false;
        emit stateChanged(state_);
    }
}

void EngineController::Start() {
    EngineWorker* worker = worker_;
    QMetaObject::invokeMethod(
        worker, [worker] { worker->Start(); }, Qt::QueuedConnection);
}

void EngineController::Shutdown() {
    // Queued behind whatever runs: an export under way ends before the poll stops.
    Post([this](EngineWorker& worker) {
        worker.Stop();
        QMetaObject::invokeMethod(
            this, [this] { emit stopped(); }, Qt::QueuedConnection);
    });
}

void EngineController::TakeState(const EngineState& state) {
    state_ = state;
    // A state from before the window's latest calls would undo what the user just typed or
    // clicked: it is shown once the engine has taken them all.
    stateHeld_ = callsUnderWay_ > 0;
    if (!stateHeld_) {
        emit stateChanged(state_);
    }
}

void EngineController::ExportEnded() {
    if (--exportsAsked_ == 0) {
        emit busyChanged(false);
    }
}

void EngineController::SetOption(Option option, const OptionValue& value) {
    Post([option, value](EngineWorker& worker) { worker.Engine().SetOption(option, value); });
}

void EngineController::SetBibId(const QString& bibId) {
    Post([bibId = ToText(bibId)](EngineWorker& worker) { worker.Engine().SetBibId(bibId); });
}

void EngineController::Export(const QString& bibId) {
    if (exportsAsked_++ == 0) {
        emit busyChanged(true);
    }
    Post([this, bibId = ToText(bibId)](EngineWorker& worker) {
        (void)worker.Engine().Export(bibId);
        QMetaObject::invokeMethod(
            this, [this] { ExportEnded(); }, Qt::QueuedConnection);
    });
}

void EngineController::SetFtp(const FtpSettings& ftp) {
    Post([ftp](EngineWorker& worker) {
        worker.Engine().SetFtp(ftp);
        worker.ReportDialogValues();
    });
}

void EngineController::SetServerAddress(const QString& address) {
    Post([address = ToText(address)](EngineWorker& worker) {
        worker.Engine().SetServerAddress(address);
        worker.ReportDialogValues();
    });
}

void EngineController::SetLogging(LogChoice choice) {
    Post([choice](EngineWorker& worker) { worker.Engine().SetLogging(choice); });
}

void EngineController::SaveOldSettings() {
    Post([](EngineWorker& worker) {
        worker.Engine().SaveOldSettings();
        worker.ReportDialogValues();
    });
}

void EngineController::RetryWaiting(const QStringList& bibIds) {
    std::vector<std::u16string> chosen;
    for (const QString& bibId : bibIds) {
        chosen.push_back(ToText(bibId));
    }
    Post([chosen](EngineWorker& worker) { (void)worker.Engine().RetryWaiting(chosen); });
}

void EngineController::DropWaiting(const QString& bibId) {
    // A failure is the engine's to say.
    Post([bibId = ToText(bibId)](EngineWorker& worker) {
        (void)worker.Engine().DropWaiting(bibId);
    });
}

void EngineController::TakeWaiting(std::vector<OutboxEntry> entries) {
    waiting_ = std::move(entries);
    emit waitingChanged(waiting_);
}

void EngineController::ShowStatus(const QString& message, bool isError) {
    Post([message = ToText(message), isError](EngineWorker& worker) {
        worker.Engine().Log().ShowStatus(message, isError);
    });
}

}  // namespace tesselex::gui
