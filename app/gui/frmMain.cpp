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
#include <QSplitter>
#include <QStyle>
#include <QTableWidget>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "app/Version.h"
#include "app/engine/FormState.h"
#include "app/engine/QtText.h"
#include "app/gui/AppIcons.h"

namespace tesselex::gui {
namespace {

QString Text(std::u16string_view text) {
    return ToQString(text);
}

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
    : QMainWindow(parent), controller_(controller) {
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QStringLiteral("TESSEL Export (7)"));
    setWindowIcon(AppIcon());
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
    layout->addWidget(statusLabel);
    layout->addWidget(status_, 1);

    grid_ = Table(QStringLiteral("Grid"), {QStringLiteral("Fält"), QStringLiteral("Ind1"),
                                           QStringLiteral("Ind2"), QStringLiteral("Värde")});
    for (int column = 0; column < 3; ++column) {
        grid_->horizontalHeader()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
    vw_ = new QTextBrowser;
    vw_->setObjectName(QStringLiteral("vw"));
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

    // Form order, as a cataloguer tabs through it.
    const QStringList order = {
        QStringLiteral("txtBibId"),  QStringLiteral("Command1"), QStringLiteral("cmb003"),
        QStringLiteral("cmbAuth"),   QStringLiteral("cmbHold"),  QStringLiteral("cmbChars"),
        QStringLiteral("Chk035"),    QStringLiteral("ChkISBN"),  QStringLiteral("ChkClear"),
        QStringLiteral("TxtSigler"), QStringLiteral("TxtSubj"),  QStringLiteral("CmdSubs"),
        QStringLiteral("TxtDest"),   QStringLiteral("TxtFile"),  QStringLiteral("Status"),
        QStringLiteral("Grid"),      QStringLiteral("vw")};
    for (qsizetype i = 0; i + 1 < order.size(); ++i) {
        setTabOrder(findChild<QWidget*>(order[i]), findChild<QWidget*>(order[i + 1]));
    }

    connect(&controller_, &EngineController::formChanged, this, &frmMain::Apply);
    connect(&controller_, &EngineController::statusLine, this, &frmMain::AddStatusLine);
    connect(&controller_, &EngineController::recordsChanged, this, &frmMain::ShowRecords);
    connect(&controller_, &EngineController::busyChanged, this, &frmMain::UpdateFetchButton);
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

    const FormState texts;
    QMenu* logging = arkiv->addMenu(QStringLiteral("&Loggning"));
    logging->setObjectName(QStringLiteral("ArkivLogg"));
    for (const MenuItem* item : {&texts.ArkivLoggaAllt, &texts.ArkivLoggaFel}) {
        QAction* action = logging->addAction(Text(item->Caption));
        action->setObjectName(Text(item->Name));
        action->setCheckable(true);
        connect(action, &QAction::triggered, this,
                [this, name = Text(item->Name)] { controller_.MenuClicked(name); });
    }
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
    const FormState texts;
    auto* box = new QWidget;
    auto* grid = new QGridLayout(box);
    auto label = [](const QString& text, QWidget* buddy) {
        auto* l = new QLabel(text);
        l->setBuddy(buddy);
        return l;
    };
    auto line = [this](const TextBox& control, bool readOnly) {
        auto* edit = new QLineEdit;
        edit->setObjectName(Text(control.Name));
        edit->setReadOnly(readOnly);
        if (!readOnly) {
            connect(edit, &QLineEdit::textEdited, this,
                    [this, name = Text(control.Name)](const QString& text) {
                        controller_.TextEdited(name, text);
                    });
        }
        return edit;
    };
    auto combo = [this](const ComboBox& control) {
        auto* c = new QComboBox;
        c->setObjectName(Text(control.Name));
        for (std::u16string_view item : control.Items) {
            c->addItem(Text(item));
        }
        connect(c, &QComboBox::activated, this, [this, name = Text(control.Name)](int index) {
            controller_.ComboActivated(name, index);
        });
        return c;
    };
    auto check = [this](const CheckBox& control) {
        auto* c = new QCheckBox(Text(control.Caption));
        c->setObjectName(Text(control.Name));
        connect(c, &QCheckBox::clicked, this, [this, name = Text(control.Name)](bool checked) {
            controller_.CheckClicked(name, checked);
        });
        return c;
    };

    txtBibId_ = line(texts.txtBibId, false);
    txtBibId_->setMaximumWidth(160);
    command1_ = new QPushButton(Text(texts.Command1.Caption));
    command1_->setObjectName(QStringLiteral("Command1"));
    command1_->setEnabled(false);
    connect(command1_, &QPushButton::clicked, &controller_, &EngineController::FetchClicked);
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

    QComboBox* cmb003 = combo(texts.cmb003);
    QComboBox* cmbAuth = combo(texts.cmbAuth);
    QComboBox* cmbHold = combo(texts.cmbHold);
    QComboBox* cmbChars = combo(texts.cmbChars);
    grid->addWidget(label(QStringLiteral("Sträng i 003:"), cmb003), 2, 0);
    grid->addWidget(cmb003, 2, 1);
    grid->addWidget(label(QStringLiteral("Auktoriteter:"), cmbAuth), 2, 2);
    grid->addWidget(cmbAuth, 2, 3, 1, 2);
    grid->addWidget(label(QStringLiteral("Bestånd:"), cmbHold), 3, 0);
    grid->addWidget(cmbHold, 3, 1);
    grid->addWidget(label(QStringLiteral("Tecken:"), cmbChars), 3, 2);
    grid->addWidget(cmbChars, 3, 3, 1, 2);

    auto* checks = new QHBoxLayout;
    checks->addWidget(check(texts.Chk035));
    checks->addWidget(check(texts.ChkISBN));
    checks->addWidget(check(texts.ChkClear));
    checks->addStretch(1);
    grid->addLayout(checks, 4, 0, 1, 5);

    QLineEdit* sigler = line(texts.TxtSigler, false);
    QLineEdit* subj = line(texts.TxtSubj, true);
    auto* cmdSubs = new QPushButton(QStringLiteral("..."));
    cmdSubs->setObjectName(QStringLiteral("CmdSubs"));
    cmdSubs->setMaximumWidth(40);
    connect(cmdSubs, &QPushButton::clicked, this, &frmMain::subjectsRequested);
    grid->addWidget(label(QStringLiteral("Sigler:"), sigler), 5, 0);
    grid->addWidget(sigler, 5, 1);
    grid->addWidget(label(QStringLiteral("Ämnesord:"), subj), 5, 2);
    grid->addWidget(subj, 5, 3);
    grid->addWidget(cmdSubs, 5, 4);

    grid->addWidget(Line(QStringLiteral("Line2")), 6, 0, 1, 5);
    QLineEdit* dest = line(texts.TxtDest, false);
    QLineEdit* file = line(texts.TxtFile, true);
    grid->addWidget(label(QStringLiteral("Destination:"), dest), 7, 0);
    grid->addWidget(dest, 7, 1, 1, 4);
    grid->addWidget(label(QStringLiteral("Källfil:"), file), 8, 0);
    grid->addWidget(file, 8, 1, 1, 4);
    grid->addWidget(Line(QStringLiteral("Line3")), 9, 0, 1, 5);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    return box;
}

void frmMain::Apply(const FormUpdate& update) {
    if (update.Aspect == FormAspect::Checked) {
        if (auto* action = findChild<QAction*>(update.Control)) {
            action->setChecked(update.Number != 0);
        }
        return;
    }
    QWidget* widget = findChild<QWidget*>(update.Control);
    if (!widget) {
        return;
    }
    switch (update.Aspect) {
        case FormAspect::Text:
            if (auto* edit = qobject_cast<QLineEdit*>(widget);
                edit && edit->text() != update.Text) {
                edit->setText(update.Text);
            }
            break;
        case FormAspect::Value:
            if (auto* box = qobject_cast<QCheckBox*>(widget)) {
                box->setChecked(update.Number == 1);
            }
            break;
        case FormAspect::ListIndex:
            if (auto* box = qobject_cast<QComboBox*>(widget)) {
                box->setCurrentIndex(update.Number);
            }
            break;
        case FormAspect::Enabled:
            if (widget == command1_) {
                fetchEnabled_ = update.Number != 0;
                UpdateFetchButton();
            } else {
                widget->setEnabled(update.Number != 0);
            }
            break;
        case FormAspect::ToolTip:
            widget->setToolTip(update.Text);
            break;
        case FormAspect::Checked:
        case FormAspect::Rows:
            break;
    }
}

void frmMain::UpdateFetchButton() {
    // One export at a time: the button waits while one runs.
    command1_->setEnabled(fetchEnabled_ && !controller_.Busy());
}

void frmMain::AddStatusLine(const QString& line, const QString& message, bool isError) {
    QStringList cells = line.split(QLatin1Char('\t'));
    const int row = status_->rowCount();
    status_->insertRow(row);
    for (int column = 0; column < 3 && column < cells.size(); ++column) {
        auto* item = new QTableWidgetItem(cells[column].trimmed());
        if (isError) {
            item->setForeground(QColor(0xB0, 0x00, 0x20));
        }
        status_->setItem(row, column, item);
    }
    while (status_->rowCount() > StatusLinesKept) {
        status_->removeRow(0);
    }
    status_->scrollToBottom();
    if (isError) {
        imgErr_->setToolTip(message);
        imgErr_->setVisible(true);
        QApplication::beep();
    }
}

void frmMain::ShowRecords(const GridRows& rows, const QString& html) {
    grid_->setRowCount(static_cast<int>(rows.size()));
    for (int row = 0; row < rows.size(); ++row) {
        for (int column = 0; column < 4 && column < rows[row].size(); ++column) {
            grid_->setItem(row, column, new QTableWidgetItem(rows[row][column]));
        }
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
