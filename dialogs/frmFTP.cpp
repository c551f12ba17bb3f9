#include "dialogs/frmFTP.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <stdexcept>
#include <string>

#include "dialogs/FtpValueDelegate.h"
#include "dialogs/GridEditing.h"

namespace tesselex {

namespace {

constexpr int kLabelColumn = 0;
constexpr int kValueColumn = 1;
// The protocols as the setting names them.
constexpr const char* kProtocols[] = {"ftp", "ftps", "ftps-implicit", "sftp"};

}  // namespace

frmFTP::frmFTP(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("FTP-information"));

    grid_ = new QTableWidget(kRowCount, 2, this);
    grid_->setObjectName(QStringLiteral("Grid"));
    grid_->setAccessibleName(windowTitle());
    grid_->horizontalHeader()->hide();
    grid_->verticalHeader()->hide();
    grid_->setSelectionMode(QAbstractItemView::SingleSelection);
    grid_->horizontalHeader()->setSectionResizeMode(kValueColumn, QHeaderView::Stretch);
    grid_->setItemDelegateForColumn(
        kValueColumn,
        new FtpValueDelegate(kPassword, kFilename, QString::fromLatin1(kFilenamePattern), grid_));
    const char* labels[kRowCount] = {
        "IP-adress:", "Användare:", "Lösenord:", "Katalog:", "Filnamn:"};
    for (int row = 0; row < kRowCount; ++row) {
        auto* label = new QTableWidgetItem(QString::fromUtf8(labels[row]));
        label->setFlags(Qt::ItemIsEnabled);
        label->setBackground(palette().button());
        grid_->setItem(row, kLabelColumn, label);
        grid_->setItem(row, kValueColumn, new QTableWidgetItem);
    }
    // The labels read as the grid's fixed column, with room on both sides of the longest.
    grid_->resizeColumnToContents(kLabelColumn);
    grid_->setColumnWidth(kLabelColumn, grid_->columnWidth(kLabelColumn) + 12);
    grid_->verticalHeader()->setDefaultSectionSize(grid_->fontMetrics().height() + 10);
    grid_->setMinimumHeight(kRowCount * grid_->verticalHeader()->defaultSectionSize() +
                            2 * grid_->frameWidth());
    grid_->setCurrentCell(kServer, kValueColumn);

    protocol_ = new QComboBox(this);
    protocol_->setObjectName(QStringLiteral("Protocol"));
    protocol_->setAccessibleName(QStringLiteral("Protokoll"));
    for (const char* name : kProtocols) {
        protocol_->addItem(QString::fromLatin1(name));
    }
    auto* protocolLabel = new QLabel(QStringLiteral("&Protokoll:"), this);
    protocolLabel->setBuddy(protocol_);
    warning_ = new QLabel(QString::fromUtf8("Lösenordet skickas okrypterat."), this);
    warning_->setObjectName(QStringLiteral("PasswordWarning"));
    connect(protocol_, &QComboBox::currentIndexChanged, this, &frmFTP::UpdateWarning);
    connect(grid_, &QTableWidget::itemChanged, this, &frmFTP::UpdateWarning);

    test_ = new QPushButton(QStringLiteral("&Testa anslutning"), this);
    test_->setObjectName(QStringLiteral("TestButton"));
    connect(test_, &QPushButton::clicked, this, [this] {
        CommitOpenEditor(*grid_);
        if (tester_) {
            tester_(*this);
        }
    });

    command1_ = new QPushButton(QStringLiteral("&Ok"), this);
    command1_->setObjectName(QStringLiteral("Command1"));
    command1_->setDefault(true);
    command2_ = new QPushButton(QStringLiteral("&Avbryt"), this);
    command2_->setObjectName(QStringLiteral("Command2"));
    connect(command1_, &QPushButton::clicked, this, &QDialog::accept);
    connect(command2_, &QPushButton::clicked, this, &QDialog::reject);

    auto* protocolRow = new QHBoxLayout;
    protocolRow->addWidget(protocolLabel);
    protocolRow->addWidget(protocol_);
    protocolRow->addWidget(warning_, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(test_);
    buttons->addStretch();
    buttons->addWidget(command1_);
    buttons->addWidget(command2_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(protocolRow);
    layout->addWidget(grid_, 1);
    layout->addLayout(buttons);
    UpdateWarning();
    resize(440, minimumSizeHint().height());
}

void frmFTP::SetProtocol(const QString& protocol) {
    const int index = protocol_->findText(protocol.trimmed().toLower());
    protocol_->setCurrentIndex(index < 0 ? 0 : index);
}

QString frmFTP::Protocol() const {
    return protocol_->currentText();
}

void frmFTP::SetTester(std::function<void(frmFTP&)> tester) {
    tester_ = std::move(tester);
}

void frmFTP::UpdateWarning() {
    warning_->setVisible(protocol_->currentIndex() == 0 && !Value(kPassword).isEmpty());
}

void frmFTP::SetValue(int row, const QString& value) {
    ValueItem(row)->setText(value);
}


QString frmFTP::Value(int row) const {
    return ValueItem(row)->text();
}

void frmFTP::Lock(int row, const QString& reason) {
    ValueItem(row)->setFlags(Qt::NoItemFlags);
    ValueItem(row)->setToolTip(reason);
}

QTableWidgetItem* frmFTP::ValueItem(int row) const {
    if (row < 0 || row >= kRowCount) {
        throw std::out_of_range("frmFTP: no grid row " + std::to_string(row));
    }
    return grid_->item(row, kValueColumn);
}

void frmFTP::done(int result) {
    if (result == QDialog::Accepted) {
        CommitOpenEditor(*grid_);
    }
    QDialog::done(result);
}

}  // namespace tesselex
