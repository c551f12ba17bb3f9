// The server address dialog: the address stays on one line however it arrives, Enter does
// nothing, and Ok hands the edited address back.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QTest>
#include <functional>

#include "dialogs/frmURL.h"
#include "tests/dialogs/DialogTestApp.h"

namespace tesselex {
namespace {

QLineEdit& TxtURL(frmURL& dialog) {
    return *dialog.findChild<QLineEdit*>(QStringLiteral("TxtURL"));
}

TEST(frmURLTest, LineBreaksAreRemovedHoweverTheAddressArrives) {
    const QString broken = QStringLiteral("http://tessel.example/\r\nexport\n?x=1\r");
    struct Case {
        const char* how;
        std::function<void(frmURL&)> enter;
    };
    const Case cases[] = {
        {"opened with it", [](frmURL&) {}},
        {"pasted with Ctrl+V",
         [](frmURL& d) {
             TxtURL(d).clear();
             QTest::keyClick(&TxtURL(d), Qt::Key_V, Qt::ControlModifier);
         }},
        {"copied from the clipboard button",
         [](frmURL& d) {
             TxtURL(d).clear();
             test::Click(d, QStringLiteral("Command3"));
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.how);
        QApplication::clipboard()->setText(broken);
        frmURL dialog(broken);
        c.enter(dialog);
        EXPECT_EQ(TxtURL(dialog).text().toStdString(), "http://tessel.example/export?x=1");
    }
}

TEST(frmURLTest, TypingInTheMiddleKeepsTheCursorAfterTheNewText) {
    frmURL dialog(QStringLiteral("http://a/"));
    TxtURL(dialog).setCursorPosition(7);
    QApplication::clipboard()->setText(QStringLiteral("b\r\nc"));
    QTest::keyClick(&TxtURL(dialog), Qt::Key_V, Qt::ControlModifier);
    QTest::keyClicks(&TxtURL(dialog), QStringLiteral("d"));
    EXPECT_EQ(TxtURL(dialog).text().toStdString(), "http://bcda/");
}

TEST(frmURLTest, EnterIsSwallowedAndOkHandsBackTheEditedAddress) {
    frmURL dialog(QStringLiteral("http://old/"));
    const int result = test::ExecWhile(dialog, [&dialog] {
        TxtURL(dialog).selectAll();
        QTest::keyClicks(&TxtURL(dialog), QStringLiteral("http://new/"));
        QTest::keyClick(&TxtURL(dialog), Qt::Key_Return);
        QTest::keyClick(&TxtURL(dialog), Qt::Key_Enter);
        EXPECT_TRUE(dialog.isVisible()) << "Enter closed the dialog";
        test::Click(dialog, QStringLiteral("Command1"));
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog.Address().toStdString(), "http://new/");
}

}  // namespace
}  // namespace tesselex
