// The FTP settings dialog: values in and out by row, the masked password, the file-name
// drop-down, and the grid following the dialog's size.

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <stdexcept>

#include "dialogs/FtpValueDelegate.h"
#include "dialogs/frmFTP.h"
#include "tests/dialogs/DialogTestApp.h"

namespace tesselex {
namespace {

// What a grid cell shows, as the delegate prepares it for drawing.
class ShownText : public FtpValueDelegate {
  public:
    using FtpValueDelegate::FtpValueDelegate;
    QString Of(const QModelIndex& index) const {
        QStyleOptionViewItem option;
        initStyleOption(&option, index);
        return option.text;
    }
};

class frmFTPTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* values[frmFTP::kRowCount] = {"127.0.0.1", "kat", "hemligt", "/in", "x.mrc"};
        for (int row = 0; row < frmFTP::kRowCount; ++row) {
            dialog_.SetValue(row, QString::fromUtf8(values[row]));
        }
        dialog_.show();
    }

    QTableWidget& Grid() { return *dialog_.findChild<QTableWidget*>(QStringLiteral("Grid")); }

    // Starts editing the row's value with F2, as a user would, and returns the editor.
    QWidget* EditRow(int row) {
        Grid().setCurrentCell(row, 1);
        QTest::keyClick(&Grid(), Qt::Key_F2);
        return Grid().indexWidget(Grid().currentIndex());
    }

    frmFTP dialog_;
};

TEST_F(frmFTPTest, OkKeepsEveryRowsValueIncludingTheCellStillBeingEdited) {
    const int result = test::ExecWhile(dialog_, [this] {
        auto* editor = qobject_cast<QLineEdit*>(EditRow(frmFTP::kDirectory));
        ASSERT_NE(editor, nullptr);
        QTest::keyClicks(editor, QStringLiteral("/ut"));
        test::Click(dialog_, QStringLiteral("Command1"));
    });
    EXPECT_EQ(result, QDialog::Accepted);
    const char* expected[frmFTP::kRowCount] = {"127.0.0.1", "kat", "hemligt", "/ut", "x.mrc"};
    for (int row = 0; row < frmFTP::kRowCount; ++row) {
        EXPECT_EQ(dialog_.Value(row).toStdString(), expected[row]) << "row " << row;
    }
    EXPECT_THROW(dialog_.Value(frmFTP::kRowCount), std::out_of_range);
    EXPECT_THROW(dialog_.SetValue(-1, QString()), std::out_of_range);
}

TEST_F(frmFTPTest, PasswordIsShownAndEditedMaskedWithItsValueUnchanged) {
    const ShownText shown(frmFTP::kPassword, frmFTP::kFilename, QString());
    const QString password = shown.Of(Grid().model()->index(frmFTP::kPassword, 1));
    EXPECT_EQ(password.size(), 7);
    EXPECT_FALSE(password.contains(QStringLiteral("hemligt")));
    EXPECT_EQ(shown.Of(Grid().model()->index(frmFTP::kUser, 1)).toStdString(), "kat");

    auto* editor = qobject_cast<QLineEdit*>(EditRow(frmFTP::kPassword));
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->echoMode(), QLineEdit::Password);
    EXPECT_EQ(editor->text().toStdString(), "hemligt");
}

TEST_F(frmFTPTest, OnlyTheFileNameRowOffersThePatternInAnEditableDropDown) {
    for (int row = 0; row < frmFTP::kFilename; ++row) {
        EXPECT_EQ(qobject_cast<QComboBox*>(EditRow(row)), nullptr) << "row " << row;
    }
    auto* combo = qobject_cast<QComboBox*>(EditRow(frmFTP::kFilename));
    ASSERT_NE(combo, nullptr);
    EXPECT_TRUE(combo->isEditable());
    ASSERT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->itemText(0).toStdString(), "%MMDDHHMMSS%.mrc");
    EXPECT_EQ(combo->currentText().toStdString(), "x.mrc");

    const int result = test::ExecWhile(dialog_, [&] {
        combo->setFocus();
        QTest::keyClick(combo, Qt::Key_Down);  // the one choice of the list
        test::Click(dialog_, QStringLiteral("Command1"));
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog_.Value(frmFTP::kFilename).toStdString(), "%MMDDHHMMSS%.mrc");
}

TEST_F(frmFTPTest, CancelRejectsAndResizingResizesTheGrid) {
    const QSize before = Grid().size();
    dialog_.resize(dialog_.width() + 200, dialog_.height() + 100);
    QApplication::processEvents();
    EXPECT_EQ(Grid().width(), before.width() + 200);
    EXPECT_EQ(Grid().height(), before.height() + 100);
    EXPECT_EQ(
        test::ExecWhile(dialog_, [this] { test::Click(dialog_, QStringLiteral("Command2")); }),
        QDialog::Rejected);
}

TEST_F(frmFTPTest, PlainFtpWithAPasswordIsWarnedAboutAndTheTesterGetsTheValuesShown) {
    auto& protocol = *dialog_.findChild<QComboBox*>(QStringLiteral("Protocol"));
    const auto& warning = *dialog_.findChild<QLabel*>(QStringLiteral("PasswordWarning"));
    EXPECT_EQ(dialog_.Protocol().toStdString(), "ftp");
    EXPECT_EQ(warning.text().toStdString(), "Lösenordet skickas okrypterat.");
    EXPECT_TRUE(warning.isVisibleTo(&dialog_));
    protocol.setFocus();
    QTest::keyClick(&protocol, Qt::Key_Down);
    EXPECT_EQ(dialog_.Protocol().toStdString(), "ftps");
    EXPECT_FALSE(warning.isVisibleTo(&dialog_));
    QTest::keyClick(&protocol, Qt::Key_Up);
    dialog_.SetValue(frmFTP::kPassword, QString());
    EXPECT_FALSE(warning.isVisibleTo(&dialog_)) << "no password, nothing to warn about";
    for (const auto& [given, shown] : {std::pair{"SFTP ", "sftp"},
                                       {"ftps-implicit", "ftps-implicit"},
                                       {"", "ftp"},
                                       {"scp", "ftp"}}) {
        dialog_.SetProtocol(QString::fromLatin1(given));
        EXPECT_EQ(dialog_.Protocol().toStdString(), shown);
    }

    dialog_.SetProtocol(QStringLiteral("sftp"));
    QString tested;
    dialog_.SetTester([&tested](frmFTP& shown) {
        tested = shown.Protocol() + QLatin1Char(' ') + shown.Value(frmFTP::kDirectory);
    });
    auto* editor = qobject_cast<QLineEdit*>(EditRow(frmFTP::kDirectory));
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, QStringLiteral("/ut"));
    test::Click(dialog_, QStringLiteral("TestButton"));
    EXPECT_EQ(tested.toStdString(), "sftp /ut") << "the open edit counts";
    EXPECT_TRUE(dialog_.isVisible()) << "testing leaves the dialog open";
}

}  // namespace
}  // namespace tesselex
