// A long outage of the export server on the engine's clock: every holdings record saved while
// it is away waits in the outbox and goes out once, in the order saved, when it is back.

#include <gtest/gtest.h>

#include <algorithm>

#include "config/Utf.h"
#include "tests/app/engine/EngineFixture.h"

namespace tesselex {
namespace {

class OutboxOutageTest : public test::EngineFixture {};

TEST_F(OutboxOutageTest, AHundredSavesWhileTheServerIsAwayGoOutOnceInOrder) {
    std::vector<std::string> ids;
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        ids.push_back(std::to_string(200001 + i));
        const std::string record = test::BuildRecord({{"001", ids.back()}});
        server_.SetReply(ids.back(), record);
        expected += record;
    }
    std::string saving;
    bool queuedFirst = true;
    EngineSeams seams;
    seams.RemoveFile = [&](const std::filesystem::path& file, std::error_code& ec) {
        // The export is in the outbox, on the disk, before its workfile goes.
        queuedFirst =
            queuedFirst && std::filesystem::exists(home_ / "Outbox" / (saving + ".entry"));
        return std::filesystem::remove(file, ec);
    };
    StartUp(std::move(seams));
    const int port = server_.Port();
    server_.Stop();
    for (const std::string& id : ids) {
        saving = id;
        test::PlaceFile(workfile_, test::HoldingsRecord(id));
        PollAfter(1);
    }
    EXPECT_TRUE(queuedFirst);
    ASSERT_EQ(waiting_.size(), 100U);
    for (int second = 0; second < 400; ++second) {
        PollAfter(1);
    }
    server_.Start(port);
    int second = 0;
    for (; second < 400 && !waiting_.empty(); ++second) {
        PollAfter(1);
    }
    EXPECT_LE(second, 300) << "all delivered at the first try after the server is back";

    EXPECT_TRUE(waiting_.empty());
    EXPECT_EQ(Delivered(), expected);
    std::vector<std::string> asked;
    for (const std::string& request : ExportRequests()) {
        asked.push_back(request.substr(request.find("bibid=") + 6, 6));
    }
    EXPECT_EQ(asked, ids) << "once each, in the order saved";

    // Only the oldest was tried while the server was away (its back-off: OutboxRunnerTest; the
    // message: ExportEngineTest).
    std::size_t tries = 0;
    for (const StatusLine& line : lines_) {
        if (line.IsError()) {
            EXPECT_TRUE(line.Text.starts_with(u"Post #200001 ")) << TextToUtf8(line.Text);
            ++tries;
        }
    }
    EXPECT_EQ(tries, 6U);
    const auto first = std::find_if(lines_.begin(), lines_.end(), [](const StatusLine& line) {
        return line.Text.starts_with(u"Post #200001 sparad");
    });
    ASSERT_NE(first, lines_.end());
    EXPECT_EQ(first->Text, u"Post #200001 sparad till " + PathToText(destination_) +
                                  u" (försenad, sparad 10:00:01).");
}

}  // namespace
}  // namespace tesselex
