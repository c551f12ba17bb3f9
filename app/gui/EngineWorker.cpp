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
    engine_->SetFormChangeSink([this](const FormChange& change) { Forward(change); });
    engine_->Log().SetStatusSink([this](const StatusLine& line) {
        // The widgets first, so a status line never speaks of a state not yet shown.
        engine_->PublishFormChanges();
        Post([text = Q(line.Line), message = Q(line.Message), isError = line.IsError](
                 EngineController& c) { emit c.statusLine(text, message, isError); });
    });
    if (!options_.DisplayConfig.isEmpty()) {
        display_.OPACConfigFile(ToText(options_.DisplayConfig));
    }
    engine_->LoadConfig();
    Publish();
    ReportDialogValues();
    TakeWatchLock();
    timer_ = new QTimer(this);
    timer_->setInterval(options_.PollIntervalMs);
    connect(timer_, &QTimer::timeout, this, &EngineWorker::Poll);
    timer_->start();
    Post([](EngineController& c) { emit c.started(); });
}

void EngineWorker::TakeWatchLock() {
    const std::filesystem::path workfile = TextToPath(engine_->Form().TxtFile.Text);
    const std::filesystem::path lockPath =
        workfile.empty() ? std::filesystem::path() : WatchLock::LockPath(workfile);
    if (lock_ && lock_->Held() && lockPath == lockPath_) {
        return;
    }
    lock_.reset();
    lockPath_ = lockPath;
    if (workfile.empty()) {
        return;
    }
    lock_.emplace(workfile);
    if (!lock_->Held()) {
        engine_->Log().ShowStatus(WatchedElsewhereMessage(workfile), true);
    }
}

void EngineWorker::Stop() {
    if (timer_) {
        timer_->stop();
    }
    lock_.reset();
}

void EngineWorker::Poll() {
    // Another program polls this workfile: it delivers, this one stays out.
    if (!lock_ || !lock_->Held() || !engine_->Form().Timer1.Enabled) {
        return;
    }
    engine_->Timer1_Timer();
    Publish();
}

void EngineWorker::Publish() {
    engine_->PublishFormChanges();
}

void EngineWorker::ReportDialogValues() {
    const FtpSettings& ftp = engine_->Ftp();
    const QStringList values = {Q(ftp.Server), Q(ftp.User), Q(ftp.Password), Q(ftp.Directory),
                                Q(ftp.Filename)};
    Post([values, address = Q(engine_->ShortcutAddress())](EngineController& c) {
        c.ftpValues_ = values;
        c.serverAddress_ = address;
    });
}

void EngineWorker::Forward(const FormChange& change) {
    if (change.Aspect == FormAspect::Rows) {
        GridRows rows;
        for (const DisplayField& field : *change.Rows) {
            // The subfield delimiter has no glyph; cataloguers read it as "$". The display value
            // holds it as the record's display character, which is NUL unless a caller set one.
            QString value = Q(field.Value);
            value.replace(QChar(0x1F), QLatin1Char('$'));
            value.replace(QChar(0), QLatin1Char('$'));
            rows.append({Q(field.Tag), Q(field.Indicator1), Q(field.Indicator2), value});
        }
        Post([rows, html = RecordsHtml()](EngineController& c) {
            emit c.recordsChanged(rows, html);
        });
        return;
    }
    FormUpdate update{Q(change.Control), change.Aspect, Q(change.Text), change.Number};
    Post([update](EngineController& c) { c.Apply(update); });
}

QString EngineWorker::RecordsHtml() {
    QString html;
    for (const std::u16string& record : engine_->DisplayedRecords()) {
        // Read as the display rows were: UTF-8 for the UTF-8 character choices.
        display_.SourceIsUTF8 = engine_->Form().cmbChars.ListIndex >= 1;
        display_.Import(record);
        html += Q(display_.OPACDisplayHTML());
        html += QStringLiteral("<hr/>");
    }
    return html;
}

}  // namespace tesselex::gui
