#include "app/gui/EngineController.h"

#include <QCoreApplication>
#include <QMetaObject>

#include "app/engine/Settings.h"
#include "app/gui/EngineWorker.h"
#include "app/gui/GuiText.h"
#include "config/MessageSink.h"

namespace tesselex::gui {
namespace {

// A question of the engine's thread answered on the window's thread, waiting for the answer.
template <typename Call>
void OnThreadOf(QObject* target, Call call) {
    if (QThread::currentThread() == target->thread()) {
        call();
    } else {
        QMetaObject::invokeMethod(target, call, Qt::BlockingQueuedConnection);
    }
}

}  // namespace

EngineController::EngineController(ControllerOptions options, QObject* parent)
    : QObject(parent), ask_(options.Ask) {
    if (!options.Seams.AskYesNo) {
        options.Seams.AskYesNo = [this](const std::u16string& question) {
            bool yes = true;
            OnThreadOf(this, [&] { yes = !ask_.AskYesNo || ask_.AskYesNo(Q(question)); });
            return yes;
        };
    }
    previousSink_ = SetMessageSink([this](const std::u16string& title, const std::u16string& text) {
        OnThreadOf(this, [&] {
            if (ask_.Message) {
                ask_.Message(Q(title), Q(text));
            }
        });
    });
    worker_ = new EngineWorker(std::move(options), this);
    worker_->moveToThread(&thread_);
    connect(&thread_, &QThread::finished, worker_, &QObject::deleteLater);
    thread_.setObjectName(QStringLiteral("engine"));
    thread_.start();
}

EngineController::~EngineController() {
    Post([](EngineWorker& worker) { worker.Stop(); });
    thread_.quit();
    // The engine's thread may be waiting for an answer from this one: keep answering.
    while (!thread_.wait(20)) {
        QCoreApplication::processEvents();
    }
    SetMessageSink(previousSink_);
}

void EngineController::Post(std::function<void(EngineWorker&)> call) {
    EngineWorker* worker = worker_;
    // Before start-up there is no engine: nothing to tell it.
    QMetaObject::invokeMethod(
        worker,
        [worker, call = std::move(call)] {
            if (worker->Started()) {
                call(*worker);
            }
        },
        Qt::QueuedConnection);
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

void EngineController::Apply(const FormUpdate& update) {
    if (update.Control == QStringLiteral("Timer1")) {
        const bool wasBusy = Busy();
        timerEnabled_ = update.Number != 0;
        if (Busy() != wasBusy) {
            emit busyChanged(Busy());
        }
        return;
    }
    emit formChanged(update);
}

void EngineController::SetManualFetch(int delta) {
    const bool wasBusy = Busy();
    manualFetches_ += delta;
    if (Busy() != wasBusy) {
        emit busyChanged(Busy());
    }
}

void EngineController::TextEdited(const QString& control, const QString& text) {
    Post([control, text = ToText(text)](EngineWorker& worker) {
        ExportEngine& engine = worker.Engine();
        FormState& form = engine.Form();
        if (control == QStringLiteral("TxtDest")) {
            form.TxtDest.Text = text;
            engine.FormShown();
            engine.TxtDest_Change();
        } else if (control == QStringLiteral("TxtSigler")) {
            form.TxtSigler.Text = text;
            engine.FormShown();
            engine.TxtSigler_Change();
        } else if (control == QStringLiteral("txtBibId")) {
            form.txtBibId.Text = text;
            engine.FormShown();
            engine.txtBibId_Change();
        }
        worker.Publish();
    });
}

void EngineController::CheckClicked(const QString& control, bool checked) {
    Post([control, value = checked ? 1 : 0](EngineWorker& worker) {
        ExportEngine& engine = worker.Engine();
        FormState& form = engine.Form();
        using Event = void (ExportEngine::*)();
        CheckBox* box = nullptr;
        Event handler = nullptr;
        if (control == QStringLiteral("Chk035")) {
            box = &form.Chk035;
            handler = &ExportEngine::Chk035_Click;
        } else if (control == QStringLiteral("ChkISBN")) {
            box = &form.ChkISBN;
            handler = &ExportEngine::ChkISBN_Click;
        } else if (control == QStringLiteral("ChkClear")) {
            box = &form.ChkClear;
            handler = &ExportEngine::ChkClear_Click;
        }
        if (box) {
            box->Value = value;
            engine.FormShown();
            (engine.*handler)();
        }
        worker.Publish();
    });
}

void EngineController::ComboActivated(const QString& control, int index) {
    Post([control, index](EngineWorker& worker) {
        ExportEngine& engine = worker.Engine();
        FormState& form = engine.Form();
        using Event = void (ExportEngine::*)();
        ComboBox* box = nullptr;
        Event handler = nullptr;
        if (control == QStringLiteral("cmb003")) {
            box = &form.cmb003;
            handler = &ExportEngine::cmb003_Click;
        } else if (control == QStringLiteral("cmbAuth")) {
            box = &form.cmbAuth;
            handler = &ExportEngine::cmbAuth_Click;
        } else if (control == QStringLiteral("cmbHold")) {
            box = &form.cmbHold;
            handler = &ExportEngine::cmbHold_Click;
        } else if (control == QStringLiteral("cmbChars")) {
            box = &form.cmbChars;
            handler = &ExportEngine::cmbChars_Click;
        }
        if (box) {
            box->ListIndex = index;
            engine.FormShown();
            (engine.*handler)();
        }
        worker.Publish();
    });
}

void EngineController::FetchClicked() {
    SetManualFetch(+1);
    Post([this](EngineWorker& worker) {
        worker.Engine().Command1_Click();
        worker.Publish();
        QMetaObject::invokeMethod(
            this, [this] { SetManualFetch(-1); }, Qt::QueuedConnection);
    });
}

void EngineController::MenuClicked(const QString& item) {
    Post([item](EngineWorker& worker) {
        if (item == QStringLiteral("ArkivLoggaAllt")) {
            worker.Engine().ArkivLoggaAllt_Click();
        } else if (item == QStringLiteral("ArkivLoggaFel")) {
            worker.Engine().ArkivLoggaFel_Click();
        }
        worker.Publish();
    });
}

void EngineController::SubjectsChosen(const QString& text) {
    Post([text = ToText(text)](EngineWorker& worker) {
        worker.Engine().SubjectsChosen(text);
        worker.Publish();
    });
}

void EngineController::FtpChosen(const QStringList& values) {
    FtpSettings ftp;
    std::u16string* fields[] = {&ftp.Server, &ftp.User, &ftp.Password, &ftp.Directory,
                                &ftp.Filename};
    for (qsizetype i = 0; i < values.size() && i < 5; ++i) {
        *fields[i] = ToText(values[i]);
    }
    Post([ftp](EngineWorker& worker) {
        worker.Engine().FtpSettingsChosen(ftp);
        worker.Publish();
        worker.ReportDialogValues();
    });
}

void EngineController::ServerAddressChosen(const QString& address) {
    Post([address = ToText(address)](EngineWorker& worker) {
        worker.Engine().ServerAddressChosen(address);
        worker.Publish();
        worker.ReportDialogValues();
        worker.TakeWatchLock();
    });
}

void EngineController::SaveOldSettings() {
    Post([](EngineWorker& worker) {
        worker.Engine().SaveConfig();
        worker.Publish();
        worker.ReportDialogValues();
        worker.TakeWatchLock();
    });
}

void EngineController::ShowStatus(const QString& message, bool isError) {
    Post([message = ToText(message), isError](EngineWorker& worker) {
        worker.Engine().Log().ShowStatus(message, isError);
    });
}

}  // namespace tesselex::gui
