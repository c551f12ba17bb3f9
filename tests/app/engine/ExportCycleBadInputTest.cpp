// Broken and oversized input through the whole cycle: no crash, no hang, the described result.

#include <gtest/gtest.h>

#include "app/engine/ExportEngine.h"
#include "config/CodePage.h"
#include "tests/app/engine/EngineFixture.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

class ExportCycleBadInputTest : public test::EngineFixture {
  protected:
    void SetUp() override {
        EngineFixture::SetUp();
        settings_->StoreSetting(SettingKey::LogErrors, u"Yes");
    }
    std::string Good() const { return server_.ExportReply(bibId_, "none"); }
    std::size_t BadRecordLines() const {
        const std::string log = ErrorLog();
        const std::string line = TextToAnsi(BadRecordMessage());
        std::size_t count = 0;
        for (auto at = log.find(line); at != std::string::npos; at = log.find(line, at + 1)) {
            ++count;
        }
        return count;
    }
};

TEST_F(ExportCycleBadInputTest, EmptyTruncatedAndHugeWorkfilesAreRemovedWithoutAFetch) {
    ExportEngine& engine = StartUp();
    const std::string holdings = test::HoldingsRecord(bibId_);
    std::string huge;
    while (huge.size() < (std::size_t{32} << 20)) {
        huge += "garbage without any structure ";
    }
    for (const std::string& contents : {std::string(), holdings.substr(0, 30), huge}) {
        WriteWorkfile(contents);
        engine.Timer1_Timer();
        EXPECT_FALSE(std::filesystem::exists(workfile_)) << contents.size() << " bytes";
        EXPECT_TRUE(engine.Form().Timer1.Enabled);
    }
    EXPECT_TRUE(ExportRequests().empty());
    EXPECT_FALSE(WasDelivered());
}

TEST_F(ExportCycleBadInputTest, AWorkfileCutInsideItsDataStillYieldsItsLink) {
    // The directory and the 004 are intact; only the end of the record is missing.
    const std::string holdings = test::HoldingsRecord(bibId_);
    ExportEngine& engine = StartUp();
    WriteWorkfile(holdings.substr(0, holdings.size() - 8));
    engine.Timer1_Timer();
    EXPECT_EQ(engine.Form().txtBibId.Text, u"12515882");
    EXPECT_EQ(Delivered(), server_.ExportReply(bibId_, "interleaved"));
}

TEST_F(ExportCycleBadInputTest, AFiftyMegabyteReplyKeepsItsGoodRecordAndLogsTheRest) {
    std::string reply = Good();
    std::string junk(std::size_t{50} << 20, 'x');
    junk.replace(0, 5, "00042");
    reply += junk;
    server_.SetReply(bibId_, reply);
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), Good());
    EXPECT_EQ(BadRecordLines(), 1U);
}

TEST_F(ExportCycleBadInputTest, AReplyWithoutTerminatorIsCheckedWithTheTerminatorPutBack) {
    const std::string good = Good();
    server_.SetReply(bibId_, good.substr(0, good.size() - 1));
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), good);

    server_.SetReply(bibId_, "no records here, only text");
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), good) << "nothing appended";
    EXPECT_EQ(BadRecordLines(), 1U);
}

TEST_F(ExportCycleBadInputTest, AReplyOfOnlyBadPiecesLogsEachAndDeliversNothing) {
    server_.SetReply(bibId_,
                     "00010abc\x1D"
                     "99999\x1D\x1D"
                     "short\x1D");
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_FALSE(WasDelivered());
    EXPECT_EQ(BadRecordLines(), 3U);
    EXPECT_TRUE(lines_.empty());
}

TEST(RecordChecks, SplitAndLengthRules) {
    const auto pieces = SplitRecords(u"00006\x1D\x1Dtail");
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0], u"00006\x1D");
    EXPECT_EQ(pieces[1], u"tail\x1D");
    EXPECT_TRUE(IsWellFormed(pieces[0]));
    EXPECT_FALSE(IsWellFormed(pieces[1]));
    EXPECT_FALSE(IsWellFormed(u"00007\x1D"));
    EXPECT_TRUE(SplitRecords(u"").empty());
}

}  // namespace
}  // namespace tesselex
