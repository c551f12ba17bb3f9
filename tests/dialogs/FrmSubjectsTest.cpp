// The subject and sigel dialog: the setting string shown as grid rows and read back, and the
// four buttons clicked as a cataloguer clicks them.

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "dialogs/FrmSubjects.h"
#include "tests/dialogs/DialogTestApp.h"

namespace tesselex {
namespace {

using Rows = std::vector<std::vector<std::string>>;

class FrmSubjectsTest : public ::testing::Test {
  protected:
    QTableWidget& Grid() { return *dialog_.findChild<QTableWidget*>(QStringLiteral("Grid")); }

    Rows GridRows() {
        Rows rows;
        for (int row = 0; row < Grid().rowCount(); ++row) {
            std::vector<std::string> cells;
            for (int column = 0; column < Grid().columnCount(); ++column) {
                const QTableWidgetItem* item = Grid().item(row, column);
                cells.push_back(item != nullptr ? item->text().toStdString() : std::string());
            }
            rows.push_back(cells);
        }
        return rows;
    }

    FrmSubjects dialog_;
};

TEST_F(FrmSubjectsTest, ValueShowsOneRowPerItemAndReadsBackTrimmed) {
    struct Case {
        const char* value;
        Rows rows;
        const char* readBack;
    };
    const Case cases[] = {
        {"T:084,650;S:600", {{"T", "084,650"}, {"S", "600"}}, "T:084,650 ; S:600"},
        {"  T:084 ;S:600  ; ", {{"T", "084"}, {"S", "600"}, {"", ""}}, "T:084 ; S:600"},
        {"", {}, ""},
        // A second ":" starts a third cell, which the two columns do not keep.
        {"T:084:650", {{"T", "084"}}, "T:084"},
        {"T", {{"T", ""}}, "T:"},
        {":650;S:600", {{"", "650"}, {"S", "600"}}, "S:600"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        dialog_.SetStringValue(QString::fromUtf8(c.value));
        EXPECT_EQ(GridRows(), c.rows);
        EXPECT_EQ(dialog_.StringValue().toStdString(), c.readBack);
    }
}

TEST_F(FrmSubjectsTest, AddInsertsBelowTheCurrentRowAndEditsItsSigel) {
    dialog_.SetStringValue(QStringLiteral("T:084;S:600"));
    Grid().setCurrentCell(0, 1);
    const int result = test::ExecWhile(dialog_, [this] {
        test::Click(dialog_, QStringLiteral("Action0"));
        EXPECT_EQ(Grid().currentRow(), 1);
        EXPECT_EQ(Grid().currentColumn(), 0);
        auto* editor = qobject_cast<QLineEdit*>(Grid().indexWidget(Grid().currentIndex()));
        ASSERT_NE(editor, nullptr) << "the new row's sigel is not being edited";
        QTest::keyClicks(editor, QStringLiteral("X"));
        // Ok while the cell is still being edited keeps what was typed.
        test::Click(dialog_, QStringLiteral("Action2"));
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_TRUE(dialog_.IsOk());
    EXPECT_EQ(dialog_.StringValue().toStdString(), "T:084 ; X: ; S:600");
}

TEST_F(FrmSubjectsTest, RemoveTakesTheCurrentRowOnlyWhenThereIsOneAndAddThenAppends) {
    dialog_.SetStringValue(QStringLiteral("T:084;S:600;U:650"));
    dialog_.show();
    Grid().setCurrentCell(1, 0);
    test::Click(dialog_, QStringLiteral("Action1"));
    EXPECT_EQ(dialog_.StringValue().toStdString(), "T:084 ; U:650");
    test::Click(dialog_, QStringLiteral("Action1"));
    test::Click(dialog_, QStringLiteral("Action1"));
    EXPECT_EQ(Grid().rowCount(), 0);
    test::Click(dialog_, QStringLiteral("Action1"));  // nothing left: no change, no failure
    EXPECT_EQ(Grid().rowCount(), 0);
    test::Click(dialog_, QStringLiteral("Action0"));
    test::Click(dialog_, QStringLiteral("Action0"));
    EXPECT_EQ(Grid().rowCount(), 2);
    EXPECT_EQ(Grid().currentRow(), 1);
}

TEST_F(FrmSubjectsTest, AvbrytAndEscapeRejectAndClearAnEarlierOk) {
    const std::pair<const char*, std::function<void()>> closes[] = {
        {"Avbryt", [this] { test::Click(dialog_, QStringLiteral("Action3")); }},
        {"Escape", [this] { QTest::keyClick(&dialog_, Qt::Key_Escape); }},
    };
    for (const auto& [how, close] : closes) {
        SCOPED_TRACE(how);
        dialog_.accept();
        EXPECT_EQ(test::ExecWhile(dialog_, close), QDialog::Rejected);
        EXPECT_FALSE(dialog_.IsOk());
    }
}

}  // namespace
}  // namespace tesselex
