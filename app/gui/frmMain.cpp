#include "app/gui/frmMain.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStyle>
#include <QTableWidget>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <utility>

#include "app/Version.h"
#include "app/gui/AppIcons.h"
#include "app/gui/GuiText.h"

namespace tesselex::gui {
namespace {

QFrame* Line(const QString& name) {
    auto* line = new QFrame;
    line->setObjectName(name);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

QTableWidget* Table(const QString& name, const QStringList& headers) {
    auto* table = new QTableWidget(0, static_cast<int>(headers.size()));
    table->setObjectName(name);
    table->setHorizontalHeaderLabels(headers);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->setVisible(false);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 4);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setWordWrap(false);
    return table;
}

}  // namespace

frmMain::frmMain(EngineController& controller, QWidget* parent)
    : QMainWindow(parent),
      controller_(controller),
      bindings_([&controller](Option option, const OptionValue& value) {
          controller.SetOption(option, value);
      }) {
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QStringLiteral("TESSEL Export (7)"));
    setWindowIcon(AppIcon());
    bindings_.SetPolicy(controller_.MachinePolicy());
    BuildMenus();

    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(BuildOptions());

    auto* statusLabel = new QLabel(QStringLiteral("Status:"));
    status_ = Table(QStringLiteral("Status"),
                    {QStringLiteral("Nr"), QStringLiteral("Tid"), QStringLiteral("Meddelande")});
    status_->horizontalHeader()->setVisible(false);
    // Fixed widths: measuring every line again as the list grows would slow each new line.
    status_->setColumnWidth(0,
                            status_->fontMetrics().horizontalAdvance(QStringLiteral("00000.")) + 8);
    status_->setColumnWidth(
        1, status_->fontMetrics().horizontalAdvance(QStringLiteral("00:00:00")) + 12);
    statusLabel->setBuddy(status_);
    status_->setAccessibleName(statusLabel->text());
    // The status list's heading row; the count of waiting exports belongs at its right end.
    auto* statusHeading = new QHBoxLayout;
    statusHeading->addWidget(statusLabel);
    statusHeading->addStretch(1);
    lblWaiting_ = new QLabel;
    lblWaiting_->setObjectName(QStringLiteral("lblWaiting"));
    lblWaiting_->setVisible(false);
    statusHeading->addWidget(lblWaiting_);
    layout->addLayout(statusHeading);
    layout->addWidget(status_, 1);

    grid_ = Table(QStringLiteral("Grid"), {QStringLiteral("Fält"), QStringLiteral("Ind1"),
                                           QStringLiteral("Ind2"), QStringLiteral("Värde")});
    for (int column = 0; column < 3; ++column) {
        grid_->horizontalHeader()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
    grid_->setAccessibleName(QStringLiteral("Postens fält"));
    vw_ = new QTextBrowser;
    vw_->setObjectName(QStringLiteral("vw"));
    vw_->setAccessibleName(QStringLiteral("Posten"));
    // The display's links name catalogue searches, not pages this view could open.
    vw_->setOpenLinks(false);
    auto* records = new QSplitter(Qt::Horizontal);
    records->setObjectName(QStringLiteral("Records"));
    records->addWidget(grid_);
    records->addWidget(vw_);
    records->setStretchFactor(0, 1);
    records->setStretchFactor(1, 1);
    layout->addWidget(records, 2);
    setCentralWidget(central);
    resize(900, 720);

    // Form order, as a cataloguer tabs through it: the options (BuildOptions), then the lists.
    setTabOrder(txtFile_, status_);
    setTabOrder(status_, grid_);
    setTabOrder(grid_, vw_);

    connect(&controller_, &EngineController::stateChanged, this, &frmMain::ShowState);
    connect(&controller_, &EngineController::statusLine, this, &frmMain::AddStatusLine);
    connect(&controller_, &EngineController::exported, this, &frmMain::ShowRecords);
    connect(&controller_, &EngineController::busyChanged, this, &frmMain::UpdateFetchButton);
    connect(&controller_, &EngineController::waitingChanged, this,
            [this](const std::vector<OutboxEntry>& entries) {
                lblWaiting_->setText(WaitingText(entries.size()));
                lblWaiting_->setVisible(!entries.empty());
            });
}

void frmMain::BuildMenus() {
    QMenu* arkiv = menuBar()->addMenu(QStringLiteral("&Arkiv"));
    arkiv->setObjectName(QStringLiteral("Arkiv"));
    QAction* ftp = arkiv->addAction(QStringLiteral("&FTP-information..."));
    ftp->setObjectName(QStringLiteral("ArkivFTP"));
    connect(ftp, &QAction::triggered, this, &frmMain::ftpRequested);
    QAction* url = arkiv->addAction(QStringLiteral("&Serveradress..."));
    url->setObjectName(QStringLiteral("ArkivURL"));
    connect(url, &QAction::triggered, this, &frmMain::serverAddressRequested);
    QAction* save =
        arkiv->addAction(QStringLiteral("Spara &gammal inställningsfil (Config.TXT)..."));
    save->setObjectName(QStringLiteral("ArkivSpara"));
    connect(save, &QAction::triggered, &controller_, &EngineController::SaveOldSettings);
    QAction* waiting = arkiv->addAction(QStringLiteral("&Väntande exporter..."));
    waiting->setObjectName(QStringLiteral("ArkivVantande"));
    connect(waiting, &QAction::triggered, this, &frmMain::outboxRequested);

    QMenu* logging = arkiv->addMenu(QStringLiteral("&Loggning"));
    logging->setObjectName(QStringLiteral("ArkivLogg"));
    logAll_ = logging->addAction(QStringLiteral("Logga &export"));
    logAll_->setObjectName(QStringLiteral("ArkivLoggaAllt"));
    logErrors_ = logging->addAction(QStringLiteral("&Logga fel"));
    logErrors_->setObjectName(QStringLiteral("ArkivLoggaFel"));
    for (QAction* action : {logAll_, logErrors_}) {
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this] {
            controller_.SetLogging({logAll_->isChecked(), logErrors_->isChecked()});
        });
    }
    for (const auto& [action, key] :
         {std::pair{logAll_, SettingKey::Logging}, std::pair{logErrors_, SettingKey::LogErrors}}) {
        if (controller_.MachinePolicy().Locks(key)) {
            action->setEnabled(false);
            action->setToolTip(AdministratorSetText());
        }
    }
    logging->setToolTipsVisible(true);
    QAction* about = arkiv->addAction(QStringLiteral("&Om TESSEL Export..."));
    about->setObjectName(QStringLiteral("ArkivOm"));
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(
            this, QStringLiteral("Om TESSEL Export"),
            QStringLiteral("TESSEL Export (7)\nVersion ") + QString::fromLatin1(kVersion));
    });
    arkiv->addSeparator();
    QAction* quit = arkiv->addAction(QStringLiteral("&Avsluta"));
    quit->setObjectName(QStringLiteral("ArkivAv"));
    connect(quit, &QAction::triggered, this, &frmMain::quitRequested);
}

QWidget* frmMain::BuildOptions() {
    auto* box = new QWidget;
    auto* grid = new QGridLayout(box);
    // Each label names its control for a screen reader; the keyboard reaches it in tab order.
    auto label = [](const QString& text, QWidget* buddy) {
        auto* l = new QLabel(text);
        l->setBuddy(buddy);
        buddy->setAccessibleName(text);
        return l;
    };
    auto line = [](const char* name, bool readOnly) {
        auto* edit = new QLineEdit;
        edit->setObjectName(QString::fromLatin1(name));
        edit->setReadOnly(readOnly);
        return edit;
    };
    auto combo = [this](const char* name, Option option, const auto& items) {
        auto* c = new QComboBox;
        c->setObjectName(QString::fromLatin1(name));
        for (std::u16string_view item : items) {
            c->addItem(Q(item));
        }
        bindings_.Bind(c, option);
        return c;
    };
    auto check = [this](const char* name, const QString& caption, Option option) {
        auto* c = new QCheckBox(caption);
        c->setObjectName(QString::fromLatin1(name));
        bindings_.Bind(c, option);
        return c;
    };

    txtBibId_ = line("txtBibId", false);
    txtBibId_->setMaximumWidth(160);
    connect(txtBibId_, &QLineEdit::textEdited, &controller_, &EngineController::SetBibId);
    command1_ = new QPushButton(QStringLiteral("&Hämta post"));
    command1_->setObjectName(QStringLiteral("Command1"));
    command1_->setEnabled(false);
    connect(command1_, &QPushButton::clicked, this,
            [this] { controller_.Export(txtBibId_->text()); });
    connect(txtBibId_, &QLineEdit::returnPressed, this, [this] {
        if (command1_->isEnabled()) {
            command1_->click();
        }
    });
    imgErr_ = new QLabel;
    imgErr_->setObjectName(QStringLiteral("ImgErr"));
    imgErr_->setPixmap(ErrorIcon().pixmap(32, 32));
    imgErr_->setVisible(false);

    auto* bib = new QHBoxLayout;
    bib->addWidget(label(QStringLiteral("Bib #"), txtBibId_));
    bib->addWidget(txtBibId_);
    bib->addWidget(command1_);
    bib->addStretch(1);
    bib->addWidget(imgErr_);
    grid->addLayout(bib, 0, 0, 1, 5);

    auto* lbl = new QLabel(QStringLiteral("Parametrar:"));
    lbl->setObjectName(QStringLiteral("Lbl"));
    grid->addWidget(lbl, 1, 0);
    grid->addWidget(Line(QStringLiteral("Line1")), 1, 1, 1, 4);

    QComboBox* cmb003 = combo("cmb003", Option::Code003, Code003Texts);
    QComboBox* cmbAuth = combo("cmbAuth", Option::Authorities, AuthoritiesTexts);
    QComboBox* cmbHold = combo("cmbHold", Option::Holdings, HoldingsTexts);
    QComboBox* cmbChars = combo("cmbChars", Option::Characters, CharactersTexts);
    grid->addWidget(label(QStringLiteral("Sträng i 003:"), cmb003), 2, 0);
    grid->addWidget(cmb003, 2, 1);
    grid->addWidget(label(QStringLiteral("Auktoriteter:"), cmbAuth), 2, 2);
    grid->addWidget(cmbAuth, 2, 3, 1, 2);
    grid->addWidget(label(QStringLiteral("Bestånd:"), cmbHold), 3, 0);
    grid->addWidget(cmbHold, 3, 1);
    grid->addWidget(label(QStringLiteral("Tecken:"), cmbChars), 3, 2);
    grid->addWidget(cmbChars, 3, 3, 1, 2);

    QCheckBox* chk035 =
        check("Chk035", QStringLiteral("&Ändra 035$9 till 035$a"), Option::Change035);
    QCheckBox* chkIsbn =
        check("ChkISBN", QStringLiteral("&ISBN utan bindestreck"), Option::IsbnNoHyphens);
    QCheckBox* chkClear =
        check("ChkClear", QStringLiteral("&Spara en post i taget"), Option::OneAtATime);
    auto* checks = new QHBoxLayout;
    checks->addWidget(chk035);
    checks->addWidget(chkIsbn);
    checks->addWidget(chkClear);
    checks->addStretch(1);
    grid->addLayout(checks, 4, 0, 1, 5);

    QLineEdit* sigler = line("TxtSigler", false);
    bindings_.Bind(sigler, Option::Libraries);
    QLineEdit* subj = line("TxtSubj", true);
    bindings_.Bind(subj, Option::Subjects);
    auto* cmdSubs = new QPushButton(QStringLiteral("..."));
    cmdSubs->setObjectName(QStringLiteral("CmdSubs"));
    cmdSubs->setAccessibleName(QStringLiteral("Välj ämnesordssystem"));
    cmdSubs->setMaximumWidth(40);
    connect(cmdSubs, &QPushButton::clicked, this, &frmMain::subjectsRequested);
    bindings_.BindOpener(cmdSubs, Option::Subjects);
    grid->addWidget(label(QStringLiteral("Sigler:"), sigler), 5, 0);
    grid->addWidget(sigler, 5, 1);
    grid->addWidget(label(QStringLiteral("Ämnesord:"), subj), 5, 2);
    grid->addWidget(subj, 5, 3);
    grid->addWidget(cmdSubs, 5, 4);

    grid->addWidget(Line(QStringLiteral("Line2")), 6, 0, 1, 5);
    QLineEdit* dest = line("TxtDest", false);
    bindings_.Bind(dest, Option::Destination);
    txtFile_ = line("TxtFile", true);
    grid->addWidget(label(QStringLiteral("Destination:"), dest), 7, 0);
    grid->addWidget(dest, 7, 1, 1, 4);
    grid->addWidget(label(QStringLiteral("Källfil:"), txtFile_), 8, 0);
    grid->addWidget(txtFile_, 8, 1, 1, 4);
    grid->addWidget(Line(QStringLiteral("Line3")), 9, 0, 1, 5);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);

    QWidget* const order[] = {txtBibId_, command1_, cmb003, cmbAuth, cmbHold, cmbChars, chk035,
                              chkIsbn,   chkClear,  sigler, subj,    cmdSubs, dest,     txtFile_};
    for (std::size_t i = 0; i + 1 < std::size(order); ++i) {
        setTabOrder(order[i], order[i + 1]);
    }
    return box;
}

void frmMain::ShowState(const EngineState& state) {
    bindings_.Show(state.Options);
    if (txtBibId_->text() != Q(state.BibId)) {
        txtBibId_->setText(Q(state.BibId));
    }
    txtFile_->setText(Q(state.Workfile));
    const QSignalBlocker all(logAll_);
    const QSignalBlocker errors(logErrors_);
    logAll_->setChecked(state.Logging.Exports);
    logErrors_->setChecked(state.Logging.Errors);
    UpdateFetchButton();
}

void frmMain::UpdateFetchButton() {
    // One export at a time: the button waits while one runs.
    const EngineState& state = controller_.State();
    command1_->setEnabled(state.CanExport && !state.Busy && !controller_.Busy());
}

void frmMain::AddStatusLine(const StatusLine& line) {
    const QStringList cells = {Q(StatusNumber(line)), Q(FormatTime(line.At)), Q(line.Text)};
    const int row = status_->rowCount();
    status_->insertRow(row);
    for (int column = 0; column < 3; ++column) {
        auto* item = new QTableWidgetItem(cells[column]);
        if (line.IsError()) {
            item->setForeground(QColor(0xB0, 0x00, 0x20));
        }
        status_->setItem(row, column, item);
    }
    while (status_->rowCount() > StatusLinesKept) {
        status_->removeRow(0);
    }
    status_->scrollToBottom();
    if (line.IsError()) {
        imgErr_->setToolTip(Q(line.Text));
        imgErr_->setVisible(true);
        QApplication::beep();
    }
}

void frmMain::ShowRecords(const ExportReport& report) {
    // An export that kept no record leaves the last records in view.
    if (report.Records.empty()) {
        return;
    }
    grid_->setRowCount(0);
    QString html;
    for (const KeptRecord& record : report.Records) {
        for (const DisplayField& field : record.Rows) {
            // The subfield delimiter has no glyph; cataloguers read it as "$".
            QString value = Q(field.Value);
            value.replace(QChar(0x1F), QLatin1Char('$'));
            value.replace(QChar(0), QLatin1Char('$'));
            const int row = grid_->rowCount();
            grid_->insertRow(row);
            const QString cells[] = {Q(field.Tag), Q(field.Indicator1), Q(field.Indicator2), value};
            for (int column = 0; column < 4; ++column) {
                grid_->setItem(row, column, new QTableWidgetItem(cells[column]));
            }
        }
        html += Q(record.Html) + QStringLiteral("<hr/>");
    }
    grid_->scrollToTop();
    vw_->setHtml(html);
}

void frmMain::ShowAndRestore() {
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (closing_) {
        event->accept();
        return;
    }
    // The close box never ends the program: it keeps watching out of sight.
    event->ignore();
    if (hidesToTray_) {
        hide();
    } else {
        showMinimized();
    }
}

void frmMain::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    emit shown();
}

}  // namespace tesselex::gui
