#pragma once
// The subject and sigel dialog: per library code (sigel), the MARC fields of the bibliographic
// record to copy for that library. It takes the subjects setting as one string, shows it as a
// two-column grid and hands the edited string back; the main form stores it.

#include <QDialog>
#include <QString>

class QLabel;
class QPushButton;
class QTableWidget;

namespace tesselex {

class FrmSubjects : public QDialog {
    Q_OBJECT

  public:
    explicit FrmSubjects(QWidget* parent = nullptr);

    // Items separated by ";", each "sigel:fields"; one grid row per item, trimmed. A ":" beyond
    // the first starts a third cell that the two-column grid does not keep.
    void SetStringValue(const QString& value);
    // "sigel:fields" of every row with a sigel, joined by " ; "; empty when no row has one.
    QString StringValue() const;
    // True once the dialog was closed with "&Ok" (the main form reads StringValue only then).
    bool IsOk() const { return ok_; }

  protected:
    // Every way of closing passes here: only "&Ok" (accept) sets the mark, Esc and the close
    // box clear it like "&Avbryt".
    void done(int result) override;

  private:
    void AddRow();
    void RemoveRow();

    QTableWidget* grid_;
    QLabel* label1_;
    QPushButton* action_[4];
    bool ok_ = false;
};

}  // namespace tesselex
