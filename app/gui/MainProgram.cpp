#include "app/gui/MainProgram.h"

#include <QApplication>
#include <QEventLoop>
#include <QStringList>
#include <chrono>
#include <thread>
#include <QMessageBox>
#include <QSystemTrayIcon>

#include "app/gui/AppIcons.h"
#include "app/gui/GuiText.h"
#include "app/gui/SingleInstance.h"
#include "app/gui/frmMain.h"
#include "config/InstalledLayout.h"
#include "config/Platform.h"
#include "config/Upload.h"
#include "dialogs/FrmSubjects.h"
#include "dialogs/frmFTP.h"
#include "dialogs/frmOutbox.h"
#include "dialogs/frmSysTray.h"
#include "dialogs/frmURL.h"

namespace tesselex::gui {
namespace {

const QString Caption = QStringLiteral("TESSEL Export (7)");

}  // namespace

Prompts DesktopPrompts() {
    Prompts prompts;
    prompts.Message = [](const QString& title, const QString& text) {
        QMessageBox::warning(nullptr, title, text);
    };
    prompts.AskYesNo = [](const QString& question) {
        return QMessageBox::question(nullptr, Caption, question) == QMessageBox::Yes;
    };
    return prompts;
}

QString DefaultDisplayConfig() {
    const std::filesystem::path found =
        FindReadOnlyFile("Display.cfg", ProgramFolder(), InstalledDataFolder());
    if (std::filesystem::exists(found)) {
        return QString::fromStdU16String(found.u16string());
    }
    // Run from the build folder: the source tree's copy.
    return QStringLiteral(TESSELEX_DATA_DIR "/display/Display.cfg");
}

MainProgram::MainProgram(ProgramOptions options, QObject* parent)
    : QObject(parent), options_(std::move(options)) {}

MainProgram::~MainProgram() = default;

bool MainProgram::Start() {
    instance_ = std::make_unique<SingleInstance>(options_.InstanceName);
    if (instance_->HandOver()) {
        return false;
    }
    connect(instance_.get(), &SingleInstance::showRequested, this, &MainProgram::ShowWindow);

    controller_ = std::make_unique<EngineController>(options_.Controller);
    window_ = std::make_unique<frmMain>(*controller_);
    connect(window_.get(), &frmMain::quitRequested, this, &MainProgram::Quit);
    connect(window_.get(), &frmMain::subjectsRequested, this, &MainProgram::OpenSubjects);
    connect(window_.get(), &frmMain::ftpRequested, this, &MainProgram::OpenFtp);
    connect(window_.get(), &frmMain::serverAddressRequested, this, &MainProgram::OpenServerAddress);
    connect(window_.get(), &frmMain::outboxRequested, this, &MainProgram::OpenOutbox);
    connect(controller_.get(), &EngineController::waitingChanged, this,
            [this](const std::vector<OutboxEntry>& entries) { OnWaiting(entries.size()); });
    connect(controller_.get(), &EngineController::statusLine, this,
            [this](const StatusLine& line) { OnStatus(Q(line.Text), line.IsError()); });
    connect(controller_.get(), &EngineController::stopped, this, [this] {
        window_->AllowClose();
        window_->close();
        if (tray_) {
            tray_->Hide();
        }
        emit finished();
    });
    connect(window_.get(), &frmMain::shown, this, [this] {
        trayError_ = false;
        if (tray_ && waiting_ == 0) {
            tray_->SetIconHandle(AppIcon());
        }
    });
    controller_->Start();

    const bool trayAvailable = options_.TrayAvailable ? options_.TrayAvailable()
                                                      : QSystemTrayIcon::isSystemTrayAvailable();
    if (options_.Arguments.isEmpty() && trayAvailable) {
        CreateTray();
    } else {
        window_->show();
        if (options_.Arguments.isEmpty()) {
            // Hidden with no icon to open it from, the program would run out of reach.
            controller_->ShowStatus(
                QStringLiteral("Skrivbordet har inget meddelandefält för en ikon; fönstret "
                               "visas i stället."),
                false);
        }
    }
    if (!instance_->ListenError().isEmpty()) {
        controller_->ShowStatus(QStringLiteral("En andra start av programmet kan inte visa "
                                               "detta fönster: ") +
                                    instance_->ListenError(),
                                true);
    }
    return true;
}

void MainProgram::CreateTray() {
    tray_ = std::make_unique<frmSysTray>();
    tray_->SetIconHandle(AppIcon());
    tray_->SetToolTip(Caption);
    tray_->AddMenuItem(QStringLiteral("Ö&ppna"), QStringLiteral("OPEN"), true);
    tray_->AddMenuItem(QStringLiteral("&Avsluta"), QStringLiteral("END"));
    connect(tray_.get(), &frmSysTray::MenuClick, this, [this](const QString& tag, int) {
        if (tag == QStringLiteral("OPEN")) {
            ShowWindow();
        } else if (tag == QStringLiteral("END")) {
            Quit();
        }
    });
    connect(tray_.get(), &frmSysTray::SysTrayDoubleClick, this, [this](int) { ShowWindow(); });
    window_->SetHidesToTray(true);
    tray_->Show();
}

void MainProgram::ShowWindow() {
    window_->ShowAndRestore();
}

void MainProgram::OnStatus(const QString& message, bool isError) {
    if (!tray_) {
        return;
    }
    // While exports wait the tip says how many; the line itself is in the window's list.
    tray_->SetToolTip(waiting_ > 0 ? WaitingText(waiting_) : message);
    if (isError && !window_->isVisible()) {
        trayError_ = true;
        tray_->SetIconHandle(ErrorIcon());
        tray_->ShowMessage(Caption, message, true);
    }
}

void MainProgram::OnWaiting(std::size_t count) {
    const std::size_t before = waiting_;
    waiting_ = count;
    if (!tray_) {
        return;
    }
    if (count > 0) {
        tray_->SetToolTip(WaitingText(count));
        tray_->SetIconHandle(ErrorIcon());
    } else if (before > 0) {
        tray_->SetToolTip(Caption);
        if (!trayError_) {
            tray_->SetIconHandle(AppIcon());
        }
        tray_->ShowMessage(Caption, QStringLiteral("Alla väntande exporter är levererade."), false);
    }
}

namespace {

// The dialog's rows: bib id, saved at, tries, last reason (with the next try or "misslyckad").
QList<QStringList> OutboxRows(const std::vector<OutboxEntry>& entries) {
    QList<QStringList> rows;
    for (const OutboxEntry& entry : entries) {
        QString reason = Q(entry.LastReason);
        if (entry.Failed) {
            reason = QStringLiteral("Misslyckad: ") + reason;
        } else if (entry.Attempts > 0) {
            reason = QStringLiteral("Försöker igen kl. ") +
                     Q(FormatTime(DateTimeOf(entry.NextTry))).left(5) + QStringLiteral(". ") +
                     reason;
        }
        rows.append({Q(entry.BibId), Q(FormatDateTime(entry.SavedAt)),
                     QString::number(entry.Attempts), reason});
    }
    return rows;
}

}  // namespace

void MainProgram::OpenOutbox() {
    frmOutbox dialog(window_.get());
    dialog.SetEntries(OutboxRows(controller_->Waiting()));
    connect(controller_.get(), &EngineController::waitingChanged, &dialog,
            [&dialog](const std::vector<OutboxEntry>& entries) {
                dialog.SetEntries(OutboxRows(entries));
            });
    connect(&dialog, &frmOutbox::retryRequested, controller_.get(),
            &EngineController::RetryWaiting);
    connect(&dialog, &frmOutbox::removeRequested, controller_.get(),
            &EngineController::DropWaiting);
    dialog.exec();
}

void MainProgram::Quit() {
    if (quitting_ || !controller_) {
        return;
    }
    quitting_ = true;
    // An open box or dialog would hold the end back (the engine may be waiting for its
    // answer): each is closed as with Esc.
    while (QWidget* modal = QApplication::activeModalWidget()) {
        if (!modal->close()) {
            break;
        }
    }
    controller_->Shutdown();
}

void MainProgram::OpenSubjects() {
    FrmSubjects dialog(window_.get());
    dialog.SetStringValue(Q(controller_->State().Options.Subjects));
    if (dialog.exec() == QDialog::Accepted && dialog.IsOk()) {
        controller_->SetOption(Option::Subjects, ToText(dialog.StringValue()));
    }
}

namespace {

// The FTP dialog's rows, in its order.
constexpr std::u16string FtpSettings::*FtpRows[] = {&FtpSettings::Server, &FtpSettings::User,
                                                    &FtpSettings::Password, &FtpSettings::Directory,
                                                    &FtpSettings::Filename};
static_assert(std::size(FtpRows) == frmFTP::kRowCount);
constexpr SettingKey FtpKeys[] = {SettingKey::FTPServer, SettingKey::FTPUser,
                                  SettingKey::FTPPassword, SettingKey::FTPDirectory,
                                  SettingKey::FTPFilename};
static_assert(std::size(FtpKeys) == frmFTP::kRowCount);

// The dialog's values as settings; the trusted fingerprints are not shown in it.
FtpSettings FtpOfDialog(const frmFTP& dialog, const FtpSettings& before) {
    FtpSettings ftp = before;
    for (int row = 0; row < frmFTP::kRowCount; ++row) {
        ftp.*FtpRows[row] = ToText(dialog.Value(row));
    }
    ftp.Protocol = ToText(dialog.Protocol());
    return ftp;
}

// What "Testa anslutning" found, as lines for the cataloguer.
QString CheckText(const ServerCheck& check) {
    QStringList lines{QStringLiteral("Protokoll: ") + Q(UploadProtocolName(check.Protocol))};
    if (!check.Fingerprint.empty()) {
        lines << QStringLiteral("Fingeravtryck: ") + Q(check.Fingerprint);
    }
    if (!check.Certificate.empty()) {
        lines << QStringLiteral("Certifikatets SHA256: ") + Q(check.Certificate);
    }
    lines << (check.Trusted ? QStringLiteral("Servern är betrodd.")
                            : QStringLiteral("Servern är inte betrodd."));
    if (check.Listing) {
        lines << QStringLiteral("Inloggningen lyckades; katalogen innehåller %1 filer.")
                     .arg(check.Listing.Value().size());
    } else if (check.Trusted) {
        lines << QStringLiteral("Anslutningen misslyckades: ") + Q(check.Listing.Reason());
    }
    return lines.join(u'\n');
}

// Connects with the dialog's values and shows what it found; a server not yet trusted is
// trusted only when the cataloguer says so, and a changed fingerprint is named as such. The
// check runs on a thread of its own, so a silent server does not freeze the window; the dialog
// waits disabled meanwhile.
void TestConnection(frmFTP& dialog, FtpSettings& ftp) {
    ftp = FtpOfDialog(dialog, ftp);
    const QString title = QStringLiteral("Testa anslutning");
    const auto check = [&] {
        Outcome<UploadTarget> target = UploadTargetOf(ftp);
        if (!target) {
            return Outcome<ServerCheck>(target.Failure());
        }
        target.Value().Limit = std::chrono::seconds(30);
        Outcome<ServerCheck> found = Fault{FaultKind::NoConnection, u"not tried", 0};
        QApplication::setOverrideCursor(Qt::WaitCursor);
        dialog.setEnabled(false);
        QEventLoop waiting;
        std::thread worker([&] {
            found = CheckServer(target.Value(), ftp.Directory);
            QMetaObject::invokeMethod(&waiting, &QEventLoop::quit, Qt::QueuedConnection);
        });
        waiting.exec();
        worker.join();
        dialog.setEnabled(true);
        QApplication::restoreOverrideCursor();
        return found;
    };
    Outcome<ServerCheck> found = check();
    if (!found) {
        QMessageBox::warning(&dialog, title,
                             QStringLiteral("Anslutningen misslyckades: ") + Q(found.Reason()));
        return;
    }
    const ServerCheck& seen = found.Value();
    if (seen.Trusted || seen.Fingerprint.empty()) {
        QMessageBox::information(&dialog, title, CheckText(seen));
        return;
    }
    const Outcome<UploadProtocol> protocol = ParseUploadProtocol(ftp.Protocol);
    const std::u16string stored = TrustedFingerprint(ftp.Trust, protocol.Value(), ftp.Server);
    const QString question =
        stored.empty()
            ? QStringLiteral("\n\nVill du lita på servern med detta fingeravtryck?")
            : QStringLiteral("\n\nVARNING: servern visar inte det betrodda fingeravtrycket ") +
                  Q(stored) +
                  QStringLiteral(". Det kan vara en annan server. Vill du ändå lita på den?");
    if (QMessageBox::question(&dialog, title, CheckText(seen) + question,
                              QMessageBox::Yes | QMessageBox::No,
                              QMessageBox::No) != QMessageBox::Yes) {
        return;
    }
    // Kept with the other values: stored when the dialog is closed with Ok.
    ftp.Trust = WithTrustedFingerprint(ftp.Trust, protocol.Value(), ftp.Server, seen.Fingerprint);
    found = check();
    QMessageBox::information(&dialog, title,
                             found ? CheckText(found.Value())
                                   : QStringLiteral("Anslutningen misslyckades: ") +
                                         Q(found.Reason()));
}

}  // namespace

void MainProgram::OpenFtp() {
    frmFTP dialog(window_.get());
    FtpSettings ftp = controller_->Ftp();
    for (int row = 0; row < frmFTP::kRowCount; ++row) {
        dialog.SetValue(row, Q(ftp.*FtpRows[row]));
        if (controller_->MachinePolicy().Locks(FtpKeys[row])) {
            dialog.Lock(row, AdministratorSetText());
        }
    }
    dialog.SetProtocol(Q(ftp.Protocol));
    dialog.SetTester([&ftp](frmFTP& shown) { TestConnection(shown, ftp); });
    if (dialog.exec() == QDialog::Accepted) {
        controller_->SetFtp(FtpOfDialog(dialog, ftp));
    }
}

void MainProgram::OpenServerAddress() {
    frmURL dialog(controller_->ServerAddress(), window_.get());
    if (controller_->MachinePolicy().ServerAddress()) {
        dialog.Lock(AdministratorSetText());
    }
    if (dialog.exec() == QDialog::Accepted) {
        controller_->SetServerAddress(dialog.Address());
    }
}

}  // namespace tesselex::gui
