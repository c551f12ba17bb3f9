#pragma once
// The export server's address: shown, edited on one line, handed back on Ok. The main form
// owns and stores the setting.

#include <QDialog>
#include <QString>

class QLabel;
class QLineEdit;
class QPushButton;

namespace tesselex {

class frmURL : public QDialog {
    Q_OBJECT

  public:
    explicit frmURL(const QString& currentAddress, QWidget* parent = nullptr);

    // The edited address without "\r\n"; the new setting once exec() returned Accepted.
    QString Address() const;
    // An address set elsewhere (by the administrator): shown greyed with `reason` as its tooltip;
    // only cancelling is left.
    void Lock(const QString& reason);

  protected:
    // Swallows Enter in the address box, so it neither breaks the line nor presses a button.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    // An address always stays on one line, however it was typed, pasted or set.
    void RemoveLineBreaks();
    void CopyFromClipboard();

    QLabel* lblInf_;
    QLineEdit* txtURL_;
    QPushButton* command1_;
    QPushButton* command2_;
    QPushButton* command3_;
};

}  // namespace tesselex
