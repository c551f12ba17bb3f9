#pragma once
// An export engine against the sample export server on loopback, in a fresh program folder
// (TESSELEX_HOME) with its own settings file and settings location: nothing of the user's is
// read or written.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "app/sampleserver/SampleExportServer.h"
#include "config/MessageSink.h"
#include "tests/support/TempDir.h"

namespace tesselex::test {

// An ISO 2709 record built from (tag, data) pairs; control fields when the tag is below 010.
std::string BuildRecord(const std::vector<std::pair<std::string, std::string>>& fields,
                        char type = 'x');
// A holdings record whose 004 holds the link ("" leaves 004 out).
std::string HoldingsRecord(const std::string& link);

class EngineFixture : public ::testing::Test {
  public:
    EngineFixture();

  protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the engine (with a stored workfile path through cat.ini) and runs start-up.
    ExportEngine& StartUp();
    void WriteWorkfile(const std::string& bytes);
    std::string Delivered() const;
    bool WasDelivered() const;
    std::vector<std::string> ExportRequests() const;
    std::vector<std::u16string> StatusMessages() const;
    std::string ErrorLog() const;
    std::string ExportLog() const;

    TempDir dir_;
    std::filesystem::path home_;
    std::filesystem::path workfile_;
    std::filesystem::path destination_;
    SampleExportServer server_;
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<ExportEngine> engine_;
    std::vector<StatusLine> lines_;
    std::vector<std::pair<std::u16string, std::u16string>> messages_;
    MessageSink previousSink_;
    const std::string bibId_ = "12515882";
};

}  // namespace tesselex::test
