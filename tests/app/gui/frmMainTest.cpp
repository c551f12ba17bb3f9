// The main window against the engine on its own thread: start-up fills the widgets, edits store
// settings, a workfile or the fetch button runs a whole export, and the window keeps running
// while the server is slow.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <thread>

#include "tests/app/gui/GuiFixture.h"

namespace tesselex::test {
namespace {

using gui::frmMain;

class FrmMainTest : public GuiFixture {};

TEST_F(FrmMainTest, TabOrderFollowsTheForm) {
    StartWindow();
    const char* order[] = {"txtBibId", "Command1", "cmb003",  "cmbAuth",  "cmbHold",
                           "cmbChars", "Chk035",   "ChkISBN", "ChkClear", "TxtSigler",
                           "TxtSubj",  "CmdSubs",  "TxtDest", "TxtFile"};
    ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
    // The fetch button takes the focus only while there is a bib id to fetch.
    QTest::keyClicks(Find<QLineEdit>("txtBibId"), QStringLiteral("1"));
    ASSERT_TRUE(WaitFor([&] { return Find<QPushButton>("Command1")->isEnabled(); }));
    Find<QWidget>(order[0])->setFocus();
    for (std::size_t i = 1; i < std::size(order); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), Find<QWidget>(order[i]))
            << order[i] << " got " << QApplication::focusWidget()->objectName().toStdString();
    }
}

struct StartCase {
    SettingKey Key;
    std::u16string Value;
    const char* Widget;
    int Expected;  // list index or check value
};

TEST_F(FrmMainTest, StartUpPutsEverySettingIntoItsWidget) {
    const StartCase cases[] = {
        {SettingKey::String003, u"SE-TESL", "cmb003", 0},
        {SettingKey::Holdtype, u"none", "cmbHold", 2},
        {SettingKey::Authtype, u"after", "cmbAuth", 1},
        {SettingKey::Compose, u"decompose", "cmbChars", 3},
        {SettingKey::Change035, u"Yes", "Chk035", 1},
        {SettingKey::ISBNDehyphenate, u"No", "ChkISBN", 0},
    };
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Charset, u"UTF-8").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Libraries, u"T S").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::LastBibId, u"12515882").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::FTPServer, u"ftp.example.org").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Clear, u"No").Ok());
    for (const StartCase& c : cases) {
        EXPECT_TRUE(settings_->StoreSetting(c.Key, c.Value).Ok());
    }
    StartWindow();
    ASSERT_TRUE(WaitFor([&] { return Find<QLineEdit>("txtBibId")->text() == u"12515882"; }));
    for (const StartCase& c : cases) {
        if (auto* combo = Find<QComboBox>(c.Widget)) {
            EXPECT_EQ(combo->currentIndex(), c.Expected) << c.Widget;
        } else {
            EXPECT_EQ(Find<QCheckBox>(c.Widget)->isChecked(), c.Expected == 1) << c.Widget;
        }
    }
    EXPECT_EQ(Find<QLineEdit>("TxtSigler")->text(), QStringLiteral("T S"));
    EXPECT_EQ(Find<QLineEdit>("TxtFile")->text(), QString::fromStdString(workfile_.string()));
    EXPECT_TRUE(Find<QPushButton>("Command1")->isEnabled());
    // An FTP server: one record at a time, locked, with the reason as its tool tip.
    auto* clear = Find<QCheckBox>("ChkClear");
    EXPECT_TRUE(clear->isChecked());
    EXPECT_FALSE(clear->isEnabled());
    EXPECT_TRUE(clear->toolTip().startsWith(QStringLiteral("Denna inställning kan endast")));
}

TEST_F(FrmMainTest, EditsStoreTheirSettingsAtOnce) {
    StartWindow();
    QTest::mouseClick(Find<QCheckBox>("Chk035"), Qt::LeftButton);
    auto* chars = Find<QComboBox>("cmbChars");
    chars->setFocus();
    chars->setCurrentIndex(0);
    QTest::keyClick(chars, Qt::Key_End);  // the last item: "UTF-8 Dekomponerad"
    auto* dest = Find<QLineEdit>("TxtDest");
    dest->clear();
    QTest::keyClicks(dest, QStringLiteral("/tmp/x.mrc"));
    QTest::keyClicks(Find<QLineEdit>("TxtSigler"), QStringLiteral("T"));
    QTest::mouseClick(Find<QCheckBox>("ChkClear"), Qt::LeftButton);
    Find<QAction>("ArkivLoggaFel")->trigger();

    ASSERT_TRUE(WaitFor([&] { return StoredSetting(SettingKey::LogErrors) == u"Yes"; }));
    EXPECT_EQ(StoredSetting(SettingKey::Change035), u"Yes");
    EXPECT_EQ(StoredSetting(SettingKey::Compose), u"compose");
    EXPECT_EQ(StoredSetting(SettingKey::Destination), u"/tmp/x.mrc");
    EXPECT_EQ(StoredSetting(SettingKey::Libraries), u"T");
    EXPECT_EQ(StoredSetting(SettingKey::Clear), u"Yes");
    EXPECT_TRUE(Find<QAction>("ArkivLoggaFel")->isChecked());
}

TEST_F(FrmMainTest, EndingWithAQuestionUnansweredSavesNothing) {
    StartWindow();
    // "Spara ändringar?" is asked while the window's loop no longer runs: no is taken at once.
    controller_->SaveOldSettings();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    controller_.reset();
    // A saved file would be there, or already taken over by start-up under its old name.
    for (const char* name : {"Config.TXT", "config_old.TXT"}) {
        EXPECT_FALSE(std::filesystem::exists(home_ / name)) << name;
    }
}

TEST_F(FrmMainTest, FetchButtonFollowsTheBibIdAndEnterFetches) {
    StartWindow();
    auto* bibId = Find<QLineEdit>("txtBibId");
    auto* fetch = Find<QPushButton>("Command1");
    EXPECT_FALSE(fetch->isEnabled());
    QTest::keyClicks(bibId, QStringLiteral("0"));
    ASSERT_TRUE(WaitFor([&] { return fetch->isEnabled(); }));
    QTest::keyClick(bibId, Qt::Key_Return);
    ASSERT_TRUE(WaitFor([&] { return !StatusMessages().isEmpty(); }));
    EXPECT_EQ(StatusMessages().last(), QStringLiteral("Ingen aktiv post!"));
    EXPECT_TRUE(Find<QLabel>("ImgErr")->isVisibleTo(window_.get()));

    QTest::keyClick(bibId, Qt::Key_Backspace);
    ASSERT_TRUE(WaitFor([&] { return !fetch->isEnabled(); }));
    QTest::keyClicks(bibId, QStringLiteral("12515882"));
    ASSERT_TRUE(WaitFor([&] { return fetch->isEnabled(); }));
    QTest::keyClick(fetch, Qt::Key_H, Qt::AltModifier);  // the mnemonic
    QTest::mouseClick(fetch, Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return GridRows() > 0 && fetch->isEnabled(); }));
    EXPECT_NE(server_.Requests().back().find("bibid=12515882"), std::string::npos);

    // The window keeps running while the server holds its reply; one export at a time: the
    // button waits while the reply is held.
    server_.SetExportDelay(std::chrono::milliseconds(3000));
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(20);
    QTest::mouseClick(fetch, Qt::LeftButton);
    EXPECT_FALSE(fetch->isEnabled());
    ASSERT_TRUE(WaitFor([&] { return fetch->isEnabled(); }));
    EXPECT_GT(ticks, 2);
}

TEST_F(FrmMainTest, AWorkfileRunsOneWholeExportIntoGridAndStatus) {
    StartWindow();
    const std::string bibId = server_.BibIds().front();
    PlaceFile(workfile_, HoldingsRecord(bibId));
    // The export itself: ExportEngineTest; here what the window makes of it.
    ASSERT_TRUE(WaitFor([&] { return GridRows() > 0 && !StatusMessages().isEmpty(); }));
    EXPECT_EQ(Find<QLineEdit>("txtBibId")->text(), QString::fromStdString(bibId));
    auto* grid = Find<QTableWidget>("Grid");
    EXPECT_EQ(grid->item(0, 0)->text(), QStringLiteral("000"));
    // Subfield delimiters read as "$", never as a control character without a glyph.
    bool sawDelimiter = false;
    for (int row = 0; row < grid->rowCount(); ++row) {
        const QString value = grid->item(row, 3)->text();
        EXPECT_FALSE(value.contains(QChar(0)) || value.contains(QChar(0x1F))) << row;
        sawDelimiter = sawDelimiter || value.startsWith(QLatin1Char('$'));
    }
    EXPECT_TRUE(sawDelimiter);
    EXPECT_FALSE(Find<QTextBrowser>("vw")->toPlainText().isEmpty());
    EXPECT_TRUE(StatusMessages().last().contains(QString::fromStdString(bibId)))
        << StatusMessages().join(QLatin1Char('\n')).toStdString();
}

TEST_F(FrmMainTest, StatusListKeepsTheLastThousandLinesNumbered) {
    StartWindow();
    for (int i = 1; i <= 1005; ++i) {
        controller_->ShowStatus(QString::number(i), false);
    }
    auto* status = Find<QTableWidget>("Status");
    ASSERT_TRUE(WaitFor([&] {
        return status->rowCount() > 0 &&
               status->item(status->rowCount() - 1, 2)->text() == QStringLiteral("1005");
    }));
    EXPECT_EQ(status->rowCount(), frmMain::StatusLinesKept);
    EXPECT_EQ(status->item(status->rowCount() - 1, 0)->text(), QStringLiteral("1005."));
    EXPECT_EQ(status->item(0, 0)->text(), QStringLiteral("006."));
}

TEST_F(FrmMainTest, CloseBoxKeepsTheProgramRunning) {
    StartWindow();
    for (bool toTray : {true, false}) {
        window_->SetHidesToTray(toTray);
        window_->show();
        EXPECT_FALSE(window_->close());
        EXPECT_EQ(window_->isVisible(), !toTray);
        EXPECT_EQ(window_->isMinimized(), !toTray);
    }
}

}  // namespace
}  // namespace tesselex::test
