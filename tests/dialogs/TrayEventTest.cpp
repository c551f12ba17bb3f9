// The shell's mouse messages and the platform's activations, mapped to the tray icon's events.

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "dialogs/TrayEvent.h"

namespace tesselex {
namespace {

TEST(TrayEventTest, ShellMessagesMapByTheTableWithTheLeftButtonAsymmetry) {
    using K = TrayEventKind;
    struct Case {
        int message;
        std::optional<TrayEvent> event;
    };
    const Case cases[] = {
        {511, std::nullopt},
        {512, TrayEvent{K::MouseMove, 0}},
        {513, std::nullopt},                // left press: nothing
        {514, TrayEvent{K::MouseDown, 1}},  // left release reports a mouse down
        {515, TrayEvent{K::DoubleClick, 1}},
        {516, TrayEvent{K::MouseDown, 2}},
        {517, TrayEvent{K::MouseUp, 2}},
        {518, TrayEvent{K::DoubleClick, 2}},
        {519, std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TrayEventForMessage(c.message), c.event) << c.message;
    }
}

TEST(TrayEventTest, ActivationsStandForTheShellMessagesOfTheSameAction) {
    struct Case {
        QSystemTrayIcon::ActivationReason reason;
        std::vector<int> messages;
    };
    const Case cases[] = {
        {QSystemTrayIcon::Trigger, {513, 514}}, {QSystemTrayIcon::DoubleClick, {515}},
        {QSystemTrayIcon::Context, {516, 517}}, {QSystemTrayIcon::MiddleClick, {}},
        {QSystemTrayIcon::Unknown, {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ShellMessagesForActivation(c.reason), c.messages) << c.reason;
    }
}

}  // namespace
}  // namespace tesselex
