#pragma once
// An export engine against the sample export server on loopback, in a fresh program folder
// (TESSELEX_HOME) with its own settings file and settings location: nothing of the user's is
// read or written, and the environment and settings location are put back afterwards. The
// engine's clock is now_, never the real one.

#include <gtest/gtest.h>

#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "app/sampleserver/SampleExportServer.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"

namespace tesselex::test {

// An ISO 2709 record built from (tag, data) pairs.
std::string BuildRecord(const std::vector<std::pair<std::string, std::string>>& fields,
                        char type = 'x');
// A holdings record whose 004 holds the link ("" leaves 004 out).
std::string HoldingsRecord(const std::string& link);
// Writes beside the path and renames, so a poller never reads a half-written file.
void PlaceFile(const std::filesystem::path& path, const std::string& bytes);

class EngineFixture : public ::testing::Test {
  protected:
    EngineFixture();
    void SetUp() override;
    void TearDown() override;

    // Creates the engine (the workfile named through cat.ini) and runs start-up; the clock is
    // now_ and the messages go to messages_ unless the seams bring their own.
    ExportEngine& StartUp(EngineSeams seams = {});
    std::string SampleReply(const std::string& holdings = "interleaved") const;
    std::string Delivered() const;  // "" when nothing was delivered
    std::vector<std::string> ExportRequests() const;
    std::string ReadLog(bool errors) const;  // today's error or export log

    TempDir dir_;
    DateTime now_{2024, 5, 7, 10, 0, 0};
    std::optional<ScopedEnv> homeEnv_;
    std::optional<ScopedEnv> configEnv_;
    QString settingsPath_;  // put back when the test ends
    std::filesystem::path home_;
    std::filesystem::path workfile_;
    std::filesystem::path destination_;
    SampleExportServer server_;
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<ExportEngine> engine_;
    std::vector<StatusLine> lines_;
    std::vector<EngineState> states_;    // every state sent
    std::vector<ExportReport> reports_;  // every export's report
    std::vector<std::pair<std::u16string, std::u16string>> messages_;
    const std::string bibId_ = "12515882";
};

}  // namespace tesselex::test
