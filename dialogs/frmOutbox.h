#pragma once
// The exports that wait in the outbox: one row each (bib id, when it was saved, how many tries,
// the last reason), "Försök nu" to try them at once and "Ta bort" to give one up (after a
// question). The dialog hands back bib ids; the engine does the trying and the removing.

#include <QDialog>
#include <QList>
#include <QStringList>
#include <functional>

class QLabel;
class QPushButton;
class QTableWidget;

namespace tesselex {

class frmOutbox : public QDialog {
    Q_OBJECT

  public:
    // Asks the question and answers true for yes; a message box when not given.
    using AskYesNo = std::function<bool(const QString& question)>;
    explicit frmOutbox(QWidget* parent = nullptr, AskYesNo ask = {});

    // The waiting exports, oldest first: bib id, saved at, attempts, last reason. The selection
    // stays on the same bib ids where they still wait.
    void SetEntries(const QList<QStringList>& rows);

  signals:
    // The selected bib ids, or every one when none is selected.
    void retryRequested(const QStringList& bibIds);
    // One bib id the cataloguer chose to give up, after saying yes.
    void removeRequested(const QString& bibId);

  private:
    QStringList SelectedBibIds() const;
    void Retry();
    void Remove();
    void UpdateButtons();

    AskYesNo ask_;
    QLabel* lblCount_;
    QTableWidget* grid_;
    QPushButton* cmdRetry_;
    QPushButton* cmdRemove_;
    QPushButton* cmdClose_;
};

}  // namespace tesselex
