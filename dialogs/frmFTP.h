#pragma once
// The FTP delivery settings as a two-column grid: labels on the left, values on the right, one
// row per setting (server, user, password, directory, file name), with the protocol chosen
// above it. The main form fills the values before showing the dialog and reads them back after
// Ok; it stores them itself. "Testa anslutning" hands the values shown to the main form's tester.

#include <QDialog>
#include <QString>
#include <functional>

class QComboBox;
class QLabel;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;

namespace tesselex {

class frmFTP : public QDialog {
    Q_OBJECT

  public:
    // Rows of the grid, in the order the main form's settings are stored.
    enum Row { kServer = 0, kUser = 1, kPassword = 2, kDirectory = 3, kFilename = 4 };
    static constexpr int kRowCount = 5;
    // The one choice offered for the file name (the date pattern the delivery expands).
    static constexpr const char* kFilenamePattern = "%MMDDHHMMSS%.mrc";

    explicit frmFTP(QWidget* parent = nullptr);

    // The value cell of a row (0-4); any other row throws std::out_of_range.
    void SetValue(int row, const QString& value);
    QString Value(int row) const;
    // The protocol as the setting names it: ftp, ftps, ftps-implicit or sftp. Any other text
    // (an empty one included) shows as ftp.
    void SetProtocol(const QString& protocol);
    QString Protocol() const;
    // Called by "Testa anslutning" with the dialog, its values as shown (an open edit included).
    void SetTester(std::function<void(frmFTP&)> tester);
    // A value set elsewhere (by the administrator): shown greyed, not editable, `reason` as its
    // tooltip.
    void Lock(int row, const QString& reason);

  protected:
    void done(int result) override;

  private:
    QTableWidgetItem* ValueItem(int row) const;
    // The warning beside plain FTP shows while a password would cross the network readably.
    void UpdateWarning();

    QComboBox* protocol_;
    QLabel* warning_;
    QTableWidget* grid_;
    QPushButton* test_;
    QPushButton* command1_;
    QPushButton* command2_;
    std::function<void(frmFTP&)> tester_;
};

}  // namespace tesselex
