#include "app/sampleserver/SampleExportServer.h"

#include <gtest/gtest.h>

#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Utf.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

class SampleExportServerTest : public ::testing::Test {
  protected:
    void SetUp() override { server_.Start(); }
    std::string Get(const std::string& pathAndQuery) {
        return TextToAnsi(FetchUrl(Utf8ToText(server_.Address(pathAndQuery))));
    }
    SampleExportServer server_{test::SourceDir() / "data"};
};

TEST_F(SampleExportServerTest, ServesRecordsByBibIdWithTheirHoldingsAsAsked) {
    const std::string bib = Get("/export?bibid=12515882&holdings=none");
    EXPECT_EQ(ControlFieldOf(bib, "001"), "12515882");
    EXPECT_EQ(bib.find('\x1D'), bib.size() - 1) << "one record";
    const std::string all = Get("/export?bibid=12515882&holdings=after");
    EXPECT_EQ(all.rfind(bib, 0), 0U);
    const std::string holdings = all.substr(bib.size());
    EXPECT_EQ(ControlFieldOf(holdings, "004"), "12515882");
    EXPECT_EQ(std::count(holdings.begin(), holdings.end(), '\x1D'), 2);
    EXPECT_EQ(Get("/export?bibid=999"), "");
    EXPECT_EQ(server_.Requests().back(), "/export?bibid=999");
    EXPECT_EQ(server_.BibIds().size(), 20U);
}

TEST(ControlFieldOf, BrokenRecordsGiveNothing) {
    EXPECT_EQ(ControlFieldOf("", "001"), "");
    EXPECT_EQ(ControlFieldOf("00050nam  2200999 a 4500001001200000", "001"), "");
    EXPECT_EQ(ControlFieldOf("00050nam  22000ab a 4500", "001"), "");
}

TEST(SampleExportServer, AMissingDataFolderIsAClearError) {
    EXPECT_THROW(SampleExportServer("/nonexistent/folder"), std::runtime_error);
}

}  // namespace
}  // namespace tesselex
