#include "dialogs/FrmSubjects.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "dialogs/GridEditing.h"

namespace tesselex {

namespace {

constexpr int kSigelColumn = 0;
constexpr int kFieldsColumn = 1;

QString CellText(const QTableWidget& grid, int row, int column) {
    const QTableWidgetItem* item = grid.item(row, column);
    return item != nullptr ? item->text() : QString();
}

}  // namespace

FrmSubjects::FrmSubjects(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Inkludera fält/sigler"));

    label1_ = new QLabel(
        QStringLiteral("Skriv sigel i vänsterkolumnen och de fält från detta sigel du vill "
                       "kopiera till den bibliografiska posten i högerkolumnen, separerade med "
                       "komma utan mellanslag (ex T | 084,650)"),
        this);
    label1_->setObjectName(QStringLiteral("Label1"));
    label1_->setWordWrap(true);

    grid_ = new QTableWidget(0, 2, this);
    grid_->setObjectName(QStringLiteral("Grid"));
    grid_->setAccessibleName(windowTitle());
    grid_->setHorizontalHeaderLabels({QStringLiteral("Sigel"), QStringLiteral("MARC-fält")});
    grid_->verticalHeader()->hide();
    grid_->setSelectionMode(QAbstractItemView::SingleSelection);
    grid_->horizontalHeader()->setSectionResizeMode(kFieldsColumn, QHeaderView::Stretch);
    grid_->setColumnWidth(kSigelColumn, 90);
    grid_->verticalHeader()->setDefaultSectionSize(grid_->fontMetrics().height() + 10);

    const char* captions[4] = {"&Lägg till", "&Ta bort", "&Ok", "&Avbryt"};
    auto* buttons = new QVBoxLayout;
    for (int i = 0; i < 4; ++i) {
        action_[i] = new QPushButton(QString::fromUtf8(captions[i]), this);
        action_[i]->setObjectName(QStringLiteral("Action") + QString::number(i));
        action_[i]->setAutoDefault(false);
        if (i == 2) {
            buttons->addStretch();
        }
        buttons->addWidget(action_[i]);
    }
    action_[2]->setDefault(true);
    connect(action_[0], &QPushButton::clicked, this, &FrmSubjects::AddRow);
    connect(action_[1], &QPushButton::clicked, this, &FrmSubjects::RemoveRow);
    connect(action_[2], &QPushButton::clicked, this, &QDialog::accept);
    connect(action_[3], &QPushButton::clicked, this, &QDialog::reject);

    auto* body = new QHBoxLayout;
    body->addWidget(grid_, 1);
    body->addLayout(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label1_);
    layout->addLayout(body, 1);
    resize(480, 320);
}

void FrmSubjects::SetStringValue(const QString& value) {
    grid_->setRowCount(0);
    if (value.isEmpty()) {
        return;
    }
    for (const QString& piece : value.split(QLatin1Char(';'))) {
        // Each ":" starts a new cell; cells beyond the grid's two columns are dropped.
        const QStringList cells = piece.trimmed().split(QLatin1Char(':'));
        const int row = grid_->rowCount();
        grid_->insertRow(row);
        grid_->setItem(row, kSigelColumn, new QTableWidgetItem(cells.value(0)));
        grid_->setItem(row, kFieldsColumn, new QTableWidgetItem(cells.value(1)));
    }
    grid_->setCurrentCell(0, kSigelColumn);
}

QString FrmSubjects::StringValue() const {
    QStringList items;
    for (int row = 0; row < grid_->rowCount(); ++row) {
        const QString sigel = CellText(*grid_, row, kSigelColumn);
        if (!sigel.isEmpty()) {
            items << sigel + QLatin1Char(':') + CellText(*grid_, row, kFieldsColumn);
        }
    }
    return items.join(QStringLiteral(" ; "));
}

void FrmSubjects::AddRow() {
    CommitOpenEditor(*grid_);
    const int current = grid_->currentRow();
    const int row = current >= 0 ? current + 1 : grid_->rowCount();
    grid_->insertRow(row);
    grid_->setItem(row, kSigelColumn, new QTableWidgetItem);
    grid_->setItem(row, kFieldsColumn, new QTableWidgetItem);
    grid_->setCurrentCell(row, kSigelColumn);
    grid_->setFocus();
    grid_->editItem(grid_->item(row, kSigelColumn));
}

void FrmSubjects::RemoveRow() {
    const int current = grid_->currentRow();
    if (grid_->rowCount() >= 1 && current >= 0) {
        grid_->removeRow(current);
    }
}

void FrmSubjects::done(int result) {
    ok_ = result == QDialog::Accepted;
    if (ok_) {
        CommitOpenEditor(*grid_);
    }
    QDialog::done(result);
}

}  // namespace tesselex
