#pragma once
// Draws and edits the value column of the FTP grid: the password masked (its text unchanged),
// the file name with an editable drop-down offering the date pattern, other rows as plain text.

#include <QStyledItemDelegate>

namespace tesselex {

class FtpValueDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    FtpValueDelegate(int passwordRow, int filenameRow, QString filenamePattern,
                     QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

  private:
    int passwordRow_;
    int filenameRow_;
    QString filenamePattern_;
};

}  // namespace tesselex
