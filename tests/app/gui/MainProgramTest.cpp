// The program as it starts and ends: tray or window, the no-tray fallback, the hand-over to a
// program already running, one watcher per workfile, the tray's error state, the dialogs.

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <optional>
#include <thread>
#ifdef _WIN32
#include <windows.h>
#endif

#include "app/engine/WatchLock.h"
#include "app/gui/AppIcons.h"
#include "app/gui/MainProgram.h"
#include "app/gui/SessionEnd.h"
#include "app/gui/SingleInstance.h"
#include "app/gui/frmMain.h"
#include "config/Strings.h"
#include "dialogs/FrmSubjects.h"
#include "dialogs/frmFTP.h"
#include "dialogs/frmOutbox.h"
#include "dialogs/frmSysTray.h"
#include "tests/app/gui/GuiFixture.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TestData.h"

namespace tesselex::test {
namespace {

using gui::MainProgram;

class MainProgramTest : public GuiFixture {
  protected:
    std::unique_ptr<MainProgram> Program(QStringList arguments, bool trayAvailable) {
        gui::ProgramOptions options;
        options.Arguments = std::move(arguments);
        options.Controller = Options();
        options.TrayAvailable = [trayAvailable] { return trayAvailable; };
        options.InstanceName = QString::fromStdString((dir_ / "run" / "instance").string());
        return std::make_unique<MainProgram>(std::move(options));
    }
    std::unique_ptr<MainProgram> Started(QStringList arguments, bool trayAvailable) {
        auto program = Program(std::move(arguments), trayAvailable);
        EXPECT_TRUE(program->Start());
        QSignalSpy started(&program->Controller(), &gui::EngineController::started);
        EXPECT_TRUE(WaitFor([&] { return started.count() > 0; }));
        return program;
    }
    static QStringList Messages(MainProgram& program) { return StatusMessages(program.Window()); }
};

TEST_F(MainProgramTest, StartsHiddenInTheTrayWithoutArgumentsAndShownWithOne) {
    struct Case {
        QStringList Arguments;
        bool TrayAvailable;
        bool WindowShown;
        bool Tray;
        bool SaysWhy;
    };
    const Case cases[] = {
        {{}, true, false, true, false},
        {{QStringLiteral("show")}, true, true, false, false},
        {{}, false, true, false, true},
    };
    for (const Case& c : cases) {
        auto program = Started(c.Arguments, c.TrayAvailable);
        EXPECT_EQ(program->Window().isVisible(), c.WindowShown);
        ASSERT_EQ(program->Tray() != nullptr, c.Tray);
        if (c.Tray) {
            EXPECT_EQ(program->Tray()->DefaultMenuIndex(), 0);
            ASSERT_EQ(program->Tray()->Menu()->actions().size(), 2);
        }
        // A line of its own after anything start-up says.
        program->Controller().ShowStatus(QStringLiteral("-"), false);
        ASSERT_TRUE(WaitFor([&] { return Messages(*program).contains(QStringLiteral("-")); }));
        EXPECT_EQ(Messages(*program).join(QString()).contains(QStringLiteral("meddelandefält")),
                  c.SaysWhy);
    }
}

TEST_F(MainProgramTest, TrayOpensTheWindowAndEndsTheProgram) {
    auto program = Started({}, true);
    emit program->Tray()->SysTrayDoubleClick(1);
    EXPECT_TRUE(program->Window().isVisible());
    program->Window().hide();
    emit program->Tray()->MenuClick(QStringLiteral("OPEN"), 0);
    EXPECT_TRUE(program->Window().isVisible());

    QSignalSpy finished(program.get(), &MainProgram::finished);
    emit program->Tray()->MenuClick(QStringLiteral("END"), 1);
    ASSERT_TRUE(WaitFor([&] { return finished.count() == 1; }));
    EXPECT_FALSE(program->Window().isVisible());
}

// Ends the program as "Avsluta" does, or as the platform says the desktop session ends:
// WM_ENDSESSION to a window on Windows (the program must have ended when it returns: Windows may
// end the process then), the session manager's Quit event elsewhere.
void End(MainProgram& program, bool session) {
    if (!session) {
        program.Window().findChild<QAction*>(QStringLiteral("ArkivAv"))->trigger();
        return;
    }
#ifdef _WIN32
    MSG msg{nullptr, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF, 0, {}};
    qintptr result = 0;
    QAbstractEventDispatcher::instance()->filterNativeEvent(QByteArrayLiteral("windows_generic_MSG"),
                                                            &msg, &result);
#else
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(QCoreApplication::instance(), &quit);
#endif
}

TEST_F(MainProgramTest, AvslutaAndTheSessionsEndWaitForTheExportUnderWay) {
    server_.SetExportDelay(std::chrono::milliseconds(1500));
    for (const bool session : {false, true}) {
        std::filesystem::remove(destination_);
        auto program = Started({QStringLiteral("show")}, true);
        const auto sessionEnd = gui::EndWithTheSession(*program);
        auto* bibId = program->Window().findChild<QLineEdit*>(QStringLiteral("txtBibId"));
        bibId->clear();
        QTest::keyClicks(bibId, QString::fromStdString(bibId_));
        auto* fetch = program->Window().findChild<QWidget*>(QStringLiteral("Command1"));
        ASSERT_TRUE(WaitFor([&] { return fetch->isEnabled(); })) << session;
        QTest::keyClick(bibId, Qt::Key_Return);
        QSignalSpy finished(program.get(), &MainProgram::finished);
        End(*program, session);
#ifdef _WIN32
        EXPECT_EQ(finished.count(), session ? 1 : 0) << "ended before WM_ENDSESSION is answered";
#endif
        ASSERT_TRUE(WaitFor([&] { return finished.count() == 1; })) << session;
        // Delivered in full before the end.
        EXPECT_EQ(ReadBytes(destination_), SampleReply()) << session;
    }
}

TEST_F(MainProgramTest, ASecondStartShowsTheRunningWindowAndEnds) {
    auto first = Started({}, true);
    EXPECT_FALSE(first->Window().isVisible());
    auto second = Program({}, true);
    bool handedOver = false;
    // The first program answers from this same event loop, so the second asks from a thread.
    std::thread asker([&] {
        gui::SingleInstance instance(QString::fromStdString((dir_ / "run" / "instance").string()));
        handedOver = instance.HandOver();
    });
    EXPECT_TRUE(WaitFor([&] { return first->Window().isVisible(); }));
    asker.join();
    EXPECT_TRUE(handedOver);
}

TEST_F(MainProgramTest, OnlyOneProgramWatchesAWorkfile) {
    {
        // tesselex-cli watch runs: the window says so and does not poll; once it has ended the
        // window takes the workfile over.
        std::optional<Outcome<FileLock>> other(WatchLock::Take(workfile_));
        ASSERT_TRUE(other->Ok());
        auto program = Started({QStringLiteral("show")}, true);
        EXPECT_TRUE(WaitFor([&] {
            return Messages(*program).join(QString()).contains(QStringLiteral("bevakas redan"));
        }));
        PlaceFile(workfile_, HoldingsRecord(server_.BibIds().front()));
        QTest::qWait(300);
        EXPECT_TRUE(std::filesystem::exists(workfile_));
        other.reset();
        EXPECT_TRUE(WaitFor([&] { return !std::filesystem::exists(workfile_); }));
        EXPECT_TRUE(Messages(*program).join(QString()).contains(QStringLiteral("bevakar den nu")));
    }
    // The window watches: tesselex-cli watch says so on stderr and ends with status 1.
    auto program = Started({QStringLiteral("show")}, true);
    QProcess cli;
    cli.start(QStringLiteral(TESSELEX_CLI_PATH),
              {QStringLiteral("watch"), QStringLiteral("--once")});
    ASSERT_TRUE(cli.waitForFinished(20000));
    EXPECT_EQ(cli.exitCode(), 1);
    EXPECT_TRUE(cli.readAllStandardError().contains("already watches"));
}

TEST_F(MainProgramTest, ALockThatCannotBeMadeIsAnErrorAndTheWindowStillExports) {
    // The runtime folder lies below a regular file: no lock file can be made, not even by root.
    WriteBytes(dir_ / "not-a-folder", "");
    const ScopedEnv runtime("XDG_RUNTIME_DIR", (dir_ / "not-a-folder" / "run").string());
    auto program = Started({QStringLiteral("show")}, true);
    EXPECT_TRUE(WaitFor([&] {
        return Messages(*program).join(QString()).contains(QStringLiteral("kunde inte skapas"));
    }));
    PlaceFile(workfile_, HoldingsRecord(server_.BibIds().front()));
    EXPECT_TRUE(WaitFor([&] { return !std::filesystem::exists(workfile_); }));
}

TEST_F(MainProgramTest, AnErrorTurnsTheTrayRedUntilTheWindowOpens) {
    auto program = Started({}, true);
    program->Controller().Export(QString());  // no bib id: "Ingen aktiv post!"
    ASSERT_TRUE(WaitFor([&] { return program->TrayShowsError(); }));
    EXPECT_EQ(program->Tray()->ToolTip(), QStringLiteral("Ingen aktiv post!"));
    emit program->Tray()->MenuClick(QStringLiteral("OPEN"), 0);
    EXPECT_FALSE(program->TrayShowsError());
}

// An export the server cannot take now waits: counted beside the status list and in the tray's
// tip (its icon red even once the window was opened), tried again from "Väntande exporter...",
// and the tray goes back to normal when the last one is out.
TEST_F(MainProgramTest, WaitingExportsShowInWindowAndTrayAndAreRetriedFromTheDialog) {
    auto program = Started({}, true);
    const std::string bibId = server_.BibIds().front();
    const std::string reply = server_.ExportReply(bibId, "interleaved");
    server_.SetReply(bibId, "", 503);
    program->Controller().Export(QString::fromStdString(bibId));
    frmSysTray& tray = *program->Tray();
    const auto& waiting = program->Controller().Waiting();
    ASSERT_TRUE(WaitFor([&] { return waiting.size() == 1 && waiting[0].Attempts == 1; }));
    EXPECT_EQ(tray.ToolTip(), QStringLiteral("Väntande exporter: 1"));
    emit tray.MenuClick(QStringLiteral("OPEN"), 0);
    const auto looksLike = [&tray](const QIcon& icon) {
        return tray.IconHandle().pixmap(16).toImage() == icon.pixmap(16).toImage();
    };
    EXPECT_TRUE(looksLike(gui::ErrorIcon())) << "red while it waits";
    auto* count = program->Window().findChild<QLabel*>(QStringLiteral("lblWaiting"));
    EXPECT_TRUE(count->isVisible());
    EXPECT_EQ(count->text(), QStringLiteral("Väntande exporter: 1"));

    server_.SetReply(bibId, reply);
    bool shown = false;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<frmOutbox*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        auto* grid = dialog->findChild<QTableWidget*>();
        shown = grid->rowCount() == 1 &&
                grid->item(0, 0)->text() == QString::fromStdString(bibId) &&
                grid->item(0, 3)->text().startsWith(QStringLiteral("Försöker igen kl. "));
        for (QPushButton* button : dialog->findChildren<QPushButton*>()) {
            if (button->text() == QStringLiteral("&Försök nu")) {
                button->click();
            }
        }
        EXPECT_TRUE(WaitFor([&] { return grid->rowCount() == 0; }));
        dialog->reject();
    });
    program->Window().findChild<QAction*>(QStringLiteral("ArkivVantande"))->trigger();
    EXPECT_TRUE(shown);
    EXPECT_TRUE(WaitFor([&] { return !count->isVisible(); }));
    EXPECT_EQ(tray.ToolTip(), QStringLiteral("TESSEL Export (7)"));
    EXPECT_TRUE(looksLike(gui::AppIcon()));
    EXPECT_EQ(ReadBytes(destination_), reply);
}

TEST_F(MainProgramTest, DialogsHandTheirTextsToTheEngine) {
    auto program = Started({QStringLiteral("show")}, true);
    // The subjects dialog: Ok stores what it shows.
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<FrmSubjects*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->SetStringValue(QStringLiteral("T:084,650;S:600"));
        dialog->accept();
    });
    QTest::mouseClick(program->Window().findChild<QWidget*>(QStringLiteral("CmdSubs")),
                      Qt::LeftButton);
    auto* subj = program->Window().findChild<QLineEdit*>(QStringLiteral("TxtSubj"));
    EXPECT_TRUE(WaitFor([&] { return subj->text() == QStringLiteral("T:084,650 ; S:600"); }));
    EXPECT_TRUE(
        WaitFor([&] { return StoredSetting(SettingKey::Subjects) == u"T:084,650 ; S:600"; }));

    // The FTP dialog: Ok stores its values.
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<frmFTP*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->SetValue(frmFTP::kServer, QStringLiteral("127.0.0.1:1"));
        dialog->accept();
    });
    program->Window().findChild<QAction*>(QStringLiteral("ArkivFTP"))->trigger();
    EXPECT_TRUE(WaitFor([&] { return StoredSetting(SettingKey::FTPServer) == u"127.0.0.1:1"; }));
}

TEST_F(MainProgramTest, TestingTheConnectionAsksBeforeItTrustsTheServer) {
    const LoopbackFtpServer sftp("tester", "secret", UploadProtocol::Sftp);
    auto program = Started({QStringLiteral("show")}, true);
    // Every message box "Testa anslutning" opens is read and answered: Yes to the question
    // whether to trust the server, Ok to the rest.
    QStringList shown;
    QTimer answer;
    answer.setInterval(20);
    QObject::connect(&answer, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box != nullptr && box->isVisible()) {
            shown << box->text();
            QAbstractButton* yes = box->button(QMessageBox::Yes);
            QTest::mouseClick(yes != nullptr ? yes : box->button(QMessageBox::Ok), Qt::LeftButton);
        }
    });
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<frmFTP*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->SetValue(frmFTP::kServer, QString::fromStdString(sftp.Address()));
        dialog->SetValue(frmFTP::kUser, QStringLiteral("tester"));
        dialog->SetValue(frmFTP::kPassword, QStringLiteral("secret"));
        dialog->SetProtocol(QStringLiteral("sftp"));
        answer.start();
        QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("TestButton")),
                          Qt::LeftButton);
        answer.stop();
        dialog->accept();
    });
    program->Window().findChild<QAction*>(QStringLiteral("ArkivFTP"))->trigger();
    const std::u16string trusted = u"sftp://127.0.0.1:" + FromAscii(std::to_string(sftp.Port())) +
                                   u" " + FromAscii(sftp.HostKey());
    EXPECT_TRUE(WaitFor([&] { return StoredSetting(SettingKey::FTPTrust) == trusted; }));
    EXPECT_EQ(StoredSetting(SettingKey::FTPProtocol), u"sftp");
    ASSERT_EQ(shown.size(), 2) << shown.join(u'|').toStdString();
    EXPECT_TRUE(shown[0].contains(QString::fromStdString(sftp.HostKey())));
    EXPECT_TRUE(shown[0].contains(QStringLiteral("Vill du lita på servern")));
    EXPECT_TRUE(shown[1].contains(QStringLiteral("Inloggningen lyckades")))
        << shown[1].toStdString();
}

// What the administrator set is shown greyed with the reason, in the window and its dialogs,
// and stays as set; the user's own settings are not rewritten.
TEST_F(MainProgramTest, SettingsTheAdministratorSetAreGreyedWithTheReason) {
    policy_ = Policy(
        {{u"Holdtype", u"none"},
         {u"Subjects", u"T:084"},
         {u"Logging", u"Yes"},
         {u"FTPServer", u"ftp.bibl.example"},
         {u"ServerAddress", QString::fromStdString(server_.Address("/config")).toStdU16String()}},
        u"test");
    auto program = Started({QStringLiteral("show")}, true);
    QWidget& window = program->Window();
    const QString reason = QStringLiteral("Inställd av administratören");
    auto* hold = window.findChild<QComboBox*>(QStringLiteral("cmbHold"));
    ASSERT_TRUE(WaitFor([&] { return hold->currentIndex() == 2; }));
    for (const char* name : {"cmbHold", "TxtSubj", "CmdSubs"}) {
        auto* widget = window.findChild<QWidget*>(QString::fromLatin1(name));
        EXPECT_FALSE(widget->isEnabled()) << name;
        EXPECT_EQ(widget->toolTip(), reason) << name;
    }
    EXPECT_TRUE(window.findChild<QWidget*>(QStringLiteral("cmbAuth"))->isEnabled());
    auto* logAll = window.findChild<QAction*>(QStringLiteral("ArkivLoggaAllt"));
    EXPECT_TRUE(logAll->isChecked());
    EXPECT_FALSE(logAll->isEnabled());
    EXPECT_TRUE(window.findChild<QAction*>(QStringLiteral("ArkivLoggaFel"))->isEnabled());
    // With an FTP server set by policy one record at a time is on and locked, for that reason.
    EXPECT_FALSE(window.findChild<QWidget*>(QStringLiteral("ChkClear"))->isEnabled());

    QTimer::singleShot(0, [&reason] {
        auto* dialog = qobject_cast<frmFTP*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        auto* grid = dialog->findChild<QTableWidget*>(QStringLiteral("Grid"));
        EXPECT_EQ(dialog->Value(frmFTP::kServer), QStringLiteral("ftp.bibl.example"));
        EXPECT_FALSE(grid->item(frmFTP::kServer, 1)->flags() & Qt::ItemIsEnabled);
        EXPECT_EQ(grid->item(frmFTP::kServer, 1)->toolTip(), reason);
        EXPECT_TRUE(grid->item(frmFTP::kUser, 1)->flags() & Qt::ItemIsEditable);
        dialog->SetValue(frmFTP::kUser, QStringLiteral("anna"));
        dialog->accept();
    });
    window.findChild<QAction*>(QStringLiteral("ArkivFTP"))->trigger();
    EXPECT_TRUE(WaitFor([&] { return StoredSetting(SettingKey::FTPUser) == u"anna"; }));
    EXPECT_EQ(StoredSetting(SettingKey::FTPServer), u"") << "the user's own, not rewritten";
    EXPECT_EQ(StoredSetting(SettingKey::Holdtype), u"");

    QTimer::singleShot(0, [&reason] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        auto* address = dialog->findChild<QLineEdit*>(QStringLiteral("TxtURL"));
        EXPECT_FALSE(address->isEnabled());
        EXPECT_EQ(address->toolTip(), reason);
        EXPECT_FALSE(dialog->findChild<QPushButton*>(QStringLiteral("Command1"))->isEnabled());
        qobject_cast<QDialog*>(dialog)->reject();
    });
    window.findChild<QAction*>(QStringLiteral("ArkivURL"))->trigger();
}

}  // namespace
}  // namespace tesselex::test
