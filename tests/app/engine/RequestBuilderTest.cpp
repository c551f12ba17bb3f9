#include "app/engine/RequestBuilder.h"

#include <gtest/gtest.h>

#include "app/engine/ExportOptions.h"
#include "config/CfgClass.h"

namespace tesselex {
namespace {

class RequestBuilderTest : public ::testing::Test {
  protected:
    void Table(std::u16string_view text) { table_.LoadFromString(text); }

    ExportOptions options_;
    CfgClass table_;
};

// The order and every kind of option in one request: ExportEngineTest, with the sample table.
// AddParameter's separators and bare pieces are seen through the requests built here.
TEST_F(RequestBuilderTest, EmptyTextUsesTheDefaultOfTheParameterName) {
    Table(
        u"baseURL=b?\r\n[bibid]\r\nname=id\r\ndefault=never\r\n[locations]\r\nname=loc\r\n"
        u"[loc]\r\ndefault=Tes\r\n");
    // The default is looked up by the parameter name, not the tag, and bibid has none under
    // its name "id": no bib id parameter at all.
    EXPECT_EQ(BuildRequest(options_, u"", table_), u"b?loc=Tes");
}

TEST_F(RequestBuilderTest, PiecesWithoutEqualsAndUnlistedChoicesAddNothing) {
    Table(u"baseURL=b?\r\n[isbn 1]\r\nname=isbn\r\n[change035 0]\r\nname=c=0\r\n");
    options_.IsbnNoHyphens = true;
    options_.Holdings = Placement::None;
    EXPECT_EQ(BuildRequest(options_, u"1", table_), u"b?c=0");
    // Without a base address the first parameter still gets its separator.
    CfgClass bare;
    bare.LoadFromString(u"[bibid]\r\nname=id\r\n");
    EXPECT_EQ(BuildRequest(options_, u"7", bare), u"&id=7");
}

}  // namespace
}  // namespace tesselex
