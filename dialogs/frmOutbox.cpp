#include "dialogs/frmOutbox.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace tesselex {

frmOutbox::frmOutbox(QWidget* parent, AskYesNo ask) : QDialog(parent), ask_(std::move(ask)) {
    setWindowTitle(QStringLiteral("Väntande exporter"));
    if (!ask_) {
        ask_ = [this](const QString& question) {
            return QMessageBox::question(this, windowTitle(), question) == QMessageBox::Yes;
        };
    }
    lblCount_ = new QLabel(this);
    lblCount_->setObjectName(QStringLiteral("LblCount"));

    grid_ = new QTableWidget(0, 4, this);
    grid_->setObjectName(QStringLiteral("GrdOutbox"));
    grid_->setAccessibleName(QStringLiteral("Väntande exporter"));
    grid_->setHorizontalHeaderLabels({QStringLiteral("Post"), QStringLiteral("Sparad"),
                                      QStringLiteral("Försök"), QStringLiteral("Senaste fel")});
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->verticalHeader()->hide();
    grid_->horizontalHeader()->setStretchLastSection(true);
    connect(grid_, &QTableWidget::itemSelectionChanged, this, &frmOutbox::UpdateButtons);

    cmdRetry_ = new QPushButton(QStringLiteral("&Försök nu"), this);
    cmdRetry_->setObjectName(QStringLiteral("CmdRetry"));
    cmdRemove_ = new QPushButton(QStringLiteral("&Ta bort"), this);
    cmdRemove_->setObjectName(QStringLiteral("CmdRemove"));
    cmdClose_ = new QPushButton(QStringLiteral("&Stäng"), this);
    cmdClose_->setObjectName(QStringLiteral("CmdClose"));
    for (QPushButton* button : {cmdRetry_, cmdRemove_, cmdClose_}) {
        button->setAutoDefault(false);
    }
    connect(cmdRetry_, &QPushButton::clicked, this, &frmOutbox::Retry);
    connect(cmdRemove_, &QPushButton::clicked, this, &frmOutbox::Remove);
    connect(cmdClose_, &QPushButton::clicked, this, &QDialog::accept);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdRetry_);
    buttons->addWidget(cmdRemove_);
    buttons->addStretch();
    buttons->addWidget(cmdClose_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblCount_);
    layout->addWidget(grid_);
    layout->addLayout(buttons);
    resize(640, 320);
    SetEntries({});
}

void frmOutbox::SetEntries(const QList<QStringList>& rows) {
    const QStringList selected = SelectedBibIds();
    const QSet<QString> keep(selected.begin(), selected.end());
    const bool hadSelection = !grid_->selectedItems().isEmpty();
    grid_->clearSelection();
    grid_->setRowCount(static_cast<int>(rows.size()));
    for (int row = 0; row < rows.size(); ++row) {
        for (int column = 0; column < 4; ++column) {
            const QString text = column < rows[row].size() ? rows[row][column] : QString();
            grid_->setItem(row, column, new QTableWidgetItem(text));
        }
        if (hadSelection && keep.contains(rows[row].value(0))) {
            grid_->selectRow(row);
        }
    }
    grid_->resizeColumnsToContents();
    lblCount_->setText(rows.isEmpty() ? QStringLiteral("Inga exporter väntar.")
                       : rows.size() == 1
                           ? QStringLiteral("1 export väntar:")
                           : QStringLiteral("%1 exporter väntar:").arg(rows.size()));
    UpdateButtons();
}

QStringList frmOutbox::SelectedBibIds() const {
    QStringList ids;
    const QList<QTableWidgetSelectionRange> ranges = grid_->selectedRanges();
    for (int row = 0; row < grid_->rowCount(); ++row) {
        const bool chosen = std::any_of(ranges.begin(), ranges.end(), [row](const auto& range) {
            return row >= range.topRow() && row <= range.bottomRow();
        });
        if (chosen && grid_->item(row, 0) != nullptr) {
            ids << grid_->item(row, 0)->text();
        }
    }
    return ids;
}

void frmOutbox::Retry() {
    QStringList ids = SelectedBibIds();
    if (ids.isEmpty()) {
        for (int row = 0; row < grid_->rowCount(); ++row) {
            ids << grid_->item(row, 0)->text();
        }
    }
    if (!ids.isEmpty()) {
        emit retryRequested(ids);
    }
}

void frmOutbox::Remove() {
    const QStringList ids = SelectedBibIds();
    if (ids.size() != 1) {
        return;
    }
    if (ask_(QStringLiteral("Ta bort exporten av post #%1? Den skickas då inte.").arg(ids[0]))) {
        emit removeRequested(ids[0]);
    }
}

void frmOutbox::UpdateButtons() {
    cmdRetry_->setEnabled(grid_->rowCount() > 0);
    cmdRemove_->setEnabled(SelectedBibIds().size() == 1);
}

}  // namespace tesselex
