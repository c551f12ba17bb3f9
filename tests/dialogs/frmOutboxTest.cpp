// The waiting-exports dialog: rows shown with the count, "Försök nu" hands back the selected
// bib ids (all of them when none is selected), "Ta bort" only after a yes.

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include "dialogs/frmOutbox.h"
#include "tests/dialogs/DialogTestApp.h"

namespace tesselex {
namespace {

const QList<QStringList> kRows = {
    {QStringLiteral("101"), QStringLiteral("2026-11-24 10:40"), QStringLiteral("3"),
     QStringLiteral("ingen kontakt med exportservern")},
    {QStringLiteral("202"), QStringLiteral("2026-11-24 10:41"), QStringLiteral("1"),
     QStringLiteral("HTTP-status 503")},
};

QTableWidget& Grid(frmOutbox& dialog) {
    return *dialog.findChild<QTableWidget*>(QStringLiteral("GrdOutbox"));
}

QPushButton& Button(frmOutbox& dialog, const char* name) {
    return *dialog.findChild<QPushButton*>(QString::fromLatin1(name));
}

TEST(frmOutboxTest, RowsAndCountFollowWhatWaits) {
    frmOutbox dialog;
    const auto count = [&dialog] {
        return dialog.findChild<QLabel*>(QStringLiteral("LblCount"))->text().toStdString();
    };
    EXPECT_EQ(count(), "Inga exporter väntar.");
    EXPECT_FALSE(Button(dialog, "CmdRetry").isEnabled());
    dialog.SetEntries(kRows);
    EXPECT_EQ(count(), "2 exporter väntar:");
    ASSERT_EQ(Grid(dialog).rowCount(), 2);
    EXPECT_EQ(Grid(dialog).item(1, 3)->text().toStdString(), "HTTP-status 503");
    EXPECT_TRUE(Button(dialog, "CmdRetry").isEnabled());
    EXPECT_FALSE(Button(dialog, "CmdRemove").isEnabled());  // nothing chosen to remove

    Grid(dialog).selectRow(1);
    dialog.SetEntries({kRows[1], kRows[0]});  // refreshed: the choice stays on bib id 202
    EXPECT_EQ(Grid(dialog).selectedItems().first()->row(), 0);
    dialog.SetEntries({kRows[0]});
    EXPECT_EQ(count(), "1 export väntar:");
    EXPECT_TRUE(Grid(dialog).selectedItems().isEmpty());
}

TEST(frmOutboxTest, RetryHandsBackTheChosenBibIdsOrAll) {
    frmOutbox dialog;
    dialog.SetEntries(kRows);
    QSignalSpy retried(&dialog, &frmOutbox::retryRequested);
    QTest::mouseClick(&Button(dialog, "CmdRetry"), Qt::LeftButton);
    Grid(dialog).selectRow(1);
    QTest::mouseClick(&Button(dialog, "CmdRetry"), Qt::LeftButton);
    ASSERT_EQ(retried.count(), 2);
    EXPECT_EQ(retried[0][0].toStringList(),
              (QStringList{QStringLiteral("101"), QStringLiteral("202")}));
    EXPECT_EQ(retried[1][0].toStringList(), QStringList{QStringLiteral("202")});
}

TEST(frmOutboxTest, RemoveAsksFirstAndGivesUpOnlyOnYes) {
    QStringList asked;
    bool answer = false;
    frmOutbox dialog(nullptr, [&](const QString& question) {
        asked << question;
        return answer;
    });
    dialog.SetEntries(kRows);
    QSignalSpy removed(&dialog, &frmOutbox::removeRequested);
    Grid(dialog).selectRow(0);
    QTest::mouseClick(&Button(dialog, "CmdRemove"), Qt::LeftButton);
    EXPECT_EQ(removed.count(), 0);
    answer = true;
    QTest::mouseClick(&Button(dialog, "CmdRemove"), Qt::LeftButton);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed[0][0].toString().toStdString(), "101");
    ASSERT_EQ(asked.size(), 2);
    EXPECT_EQ(asked[0].toStdString(), "Ta bort exporten av post #101? Den skickas då inte.");
}

}  // namespace
}  // namespace tesselex
