// The tray icon: the shell's mouse messages and the platform's activations raise its events in
// order, and the pop-up menu's items are added, enabled, removed, marked default and clicked by
// index. None of this needs a visible icon, so it runs where no notification area exists.

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTest>
#include <stdexcept>
#include <string>
#include <vector>

#include "dialogs/frmSysTray.h"
#include "tests/dialogs/DialogTestApp.h"

namespace tesselex {
namespace {

class frmSysTrayTest : public ::testing::Test {
  protected:
    void SetUp() override {
        auto record = [this](std::string what) { events_.push_back(std::move(what)); };
        QObject::connect(&tray_, &frmSysTray::SysTrayMouseDown,
                         [=](int b) { record("down " + std::to_string(b)); });
        QObject::connect(&tray_, &frmSysTray::SysTrayMouseUp,
                         [=](int b) { record("up " + std::to_string(b)); });
        QObject::connect(&tray_, &frmSysTray::SysTrayMouseMove, [=] { record("move"); });
        QObject::connect(&tray_, &frmSysTray::SysTrayDoubleClick,
                         [=](int b) { record("double " + std::to_string(b)); });
        QObject::connect(&tray_, &frmSysTray::MenuClick, [=](const QString& tag, int index) {
            record("menu " + tag.toStdString() + " " + std::to_string(index));
        });
    }

    // Opens the menu and clicks the item with the mouse, as on the screen.
    void ClickItem(int index) {
        QMenu* menu = tray_.Menu();
        menu->popup(QPoint(10, 10));
        ASSERT_TRUE(QTest::qWaitForWindowExposed(menu));
        QAction* action = menu->actions().at(index);
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
        menu->hide();
    }

    frmSysTray tray_;
    std::vector<std::string> events_;
};

TEST_F(frmSysTrayTest, ShellMessagesAndPlatformActivationsRaiseTheShellsEvents) {
    struct Message {
        int message;
        std::vector<std::string> events;
    };
    const Message messages[] = {
        {511, {}},           {512, {"move"}},   {513, {}},  // left press: nothing
        {514, {"down 1"}},                                  // left release reports a mouse down
        {515, {"double 1"}}, {516, {"down 2"}}, {517, {"up 2"}}, {518, {"double 2"}}, {519, {}},
    };
    for (const Message& c : messages) {
        events_.clear();
        tray_.HandleShellMessage(c.message);
        EXPECT_EQ(events_, c.events) << c.message;
    }

    auto* icon = tray_.findChild<QSystemTrayIcon*>();
    ASSERT_NE(icon, nullptr);
    struct Activation {
        QSystemTrayIcon::ActivationReason reason;
        std::vector<std::string> events;
    };
    const Activation activations[] = {
        {QSystemTrayIcon::Trigger, {"down 1"}},
        {QSystemTrayIcon::DoubleClick, {"double 1"}},
        {QSystemTrayIcon::Context, {"down 2", "up 2"}},
        {QSystemTrayIcon::MiddleClick, {}},
        {QSystemTrayIcon::Unknown, {}},
    };
    for (const Activation& c : activations) {
        events_.clear();
        emit icon->activated(c.reason);
        EXPECT_EQ(events_, c.events) << c.reason;
    }
}

TEST_F(frmSysTrayTest, MenuItemsClickEnableAndRemoveByTheirIndex) {
    EXPECT_EQ(tray_.AddMenuItem(QStringLiteral("Ö&ppna"), QStringLiteral("OPEN"), true), 0);
    EXPECT_EQ(tray_.AddMenuItem(QStringLiteral("&Avsluta"), QStringLiteral("END")), 1);
    ClickItem(1);
    tray_.EnableMenuItem(1, false);
    ClickItem(1);
    tray_.EnableMenuItem(1, true);
    tray_.RemoveMenuItem(0);
    ClickItem(0);  // "&Avsluta", now the first in the menu, keeps index 1
    EXPECT_EQ(tray_.AddMenuItem(QStringLiteral("Ny"), QStringLiteral("NEW")), 2);
    ClickItem(1);
    EXPECT_EQ(events_, (std::vector<std::string>{"menu END 1", "menu END 1", "menu NEW 2"}));
    EXPECT_THROW(tray_.EnableMenuItem(0, true), std::out_of_range);
    EXPECT_THROW(tray_.RemoveMenuItem(3), std::out_of_range);
}

TEST_F(frmSysTrayTest, DefaultItemIsTheOneShownBold) {
    tray_.AddMenuItem(QStringLiteral("Ö&ppna"), QStringLiteral("OPEN"), true);
    tray_.AddMenuItem(QStringLiteral("&Avsluta"), QStringLiteral("END"));
    const QList<QAction*> items = tray_.Menu()->actions();
    EXPECT_EQ(tray_.DefaultMenuIndex(), 0);
    EXPECT_TRUE(items[0]->font().bold());

    tray_.SetDefaultMenuIndex(1);
    EXPECT_EQ(tray_.Menu()->defaultAction(), items[1]);
    EXPECT_FALSE(items[0]->font().bold());
    EXPECT_TRUE(items[1]->font().bold());

    tray_.RemoveMenuItem(1);
    EXPECT_EQ(tray_.DefaultMenuIndex(), -1);
    EXPECT_EQ(tray_.Menu()->defaultAction(), nullptr);
}

}  // namespace
}  // namespace tesselex
