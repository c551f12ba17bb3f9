#pragma once
// An export engine in the export sandbox, its notifications collected. The engine's clock is
// now_, never the real one.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/engine/ExportEngine.h"
#include "tests/support/export/ExportSandbox.h"

namespace tesselex::test {

class EngineFixture : public ::testing::Test, protected ExportSandbox {
  protected:
    void TearDown() override { engine_.reset(); }

    // Creates the engine (the workfile named through cat.ini) and runs start-up; the clock is
    // now_ and the messages go to messages_ unless the seams bring their own.
    ExportEngine& StartUp(EngineSeams seams = {});
    std::string ReadLog(bool errors) const;  // today's error or export log
    // Moves the engine's clock on by that many seconds (across midnight too) and polls.
    void PollAfter(long long seconds);

    DateTime now_{2024, 5, 7, 10, 0, 0};
    std::unique_ptr<ExportEngine> engine_;
    std::vector<StatusLine> lines_;
    std::vector<EngineState> states_;    // every state sent
    std::vector<ExportReport> reports_;  // every export's report
    std::vector<OutboxEntry> waiting_;   // the outbox as last sent
    std::vector<std::pair<std::u16string, std::u16string>> messages_;
};

}  // namespace tesselex::test
