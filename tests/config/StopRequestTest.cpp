#include "config/StopRequest.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#endif

namespace tesselex {
namespace {

std::atomic<int> notified{0};

void CountNotify() {
    ++notified;
}

// The request arrives the way the system sends it: a signal, or a console event that the
// system hands to the handler on a thread of its own.
bool SendStopRequest() {
#ifdef _WIN32
    // A test run without a console (a service, a pipe) gets one of its own for the event.
    if (GetConsoleWindow() == nullptr) {
        AllocConsole();
    }
    return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, 0) != FALSE;
#else
    return std::raise(SIGTERM) == 0;
#endif
}

TEST(StopRequest, ASystemRequestIsNotedAndNotifiedUntilTheHandlerIsRemoved) {
    notified = 0;
    InstallStopHandler(CountNotify);
    EXPECT_FALSE(StopRequested());
#ifdef _WIN32
    // Where the system cannot raise a console event (no console of its own, or Wine, which
    // does not deliver generated events), the handler gets the events directly.
    if (!SendStopRequest()) {
        EXPECT_FALSE(detail::HandleConsoleEvent(CTRL_LOGOFF_EVENT + 100));
        EXPECT_FALSE(StopRequested());
        for (const int event : {CTRL_C_EVENT, CTRL_BREAK_EVENT, CTRL_CLOSE_EVENT}) {
            EXPECT_TRUE(detail::HandleConsoleEvent(static_cast<unsigned long>(event))) << event;
        }
        EXPECT_EQ(notified.load(), 3);
    }
#else
    ASSERT_TRUE(SendStopRequest());
#endif
    for (int wait = 0; wait < 500 && !StopRequested(); ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(StopRequested());
    EXPECT_GE(notified.load(), 1);
    RemoveStopHandler();
    EXPECT_FALSE(StopRequested());
}

}  // namespace
}  // namespace tesselex
