#include "dialogs/FtpValueDelegate.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QStyle>
#include <utility>

namespace tesselex {

FtpValueDelegate::FtpValueDelegate(int passwordRow, int filenameRow, QString filenamePattern,
                                   QObject* parent)
    : QStyledItemDelegate(parent),
      passwordRow_(passwordRow),
      filenameRow_(filenameRow),
      filenamePattern_(std::move(filenamePattern)) {}

QWidget* FtpValueDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const {
    if (index.row() == filenameRow_) {
        auto* combo = new QComboBox(parent);
        combo->setEditable(true);
        combo->addItem(filenamePattern_);
        return combo;
    }
    QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
    if (index.row() == passwordRow_) {
        if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            line->setEchoMode(QLineEdit::Password);
        }
    }
    return editor;
}

void FtpValueDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        const QString text = index.data(Qt::EditRole).toString();
        combo->setCurrentIndex(combo->findText(text));
        combo->setEditText(text);
        return;
    }
    QStyledItemDelegate::setEditorData(editor, index);
}

void FtpValueDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                    const QModelIndex& index) const {
    if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        model->setData(index, combo->currentText(), Qt::EditRole);
        return;
    }
    QStyledItemDelegate::setModelData(editor, model, index);
}

void FtpValueDelegate::initStyleOption(QStyleOptionViewItem* option,
                                       const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    if (index.row() == passwordRow_) {
        // The same mask character a password line edit of the current style shows.
        const auto mask = static_cast<char16_t>(QApplication::style()->styleHint(
            QStyle::SH_LineEdit_PasswordCharacter, nullptr, option->widget));
        option->text = QString(option->text.size(), QChar(mask));
    }
}

}  // namespace tesselex
