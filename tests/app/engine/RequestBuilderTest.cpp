#include "app/engine/RequestBuilder.h"

#include <gtest/gtest.h>

#include "app/engine/FormState.h"
#include "config/CfgClass.h"

namespace tesselex {
namespace {

class RequestBuilderTest : public ::testing::Test {
  protected:
    void Table(std::u16string_view text) { table_.LoadFromString(text); }

    FormState form_;
    CfgClass table_;
};

TEST_F(RequestBuilderTest, PiecesFollowFormOrderAfterBaseUrl) {
    Table(
        u"baseURL=http://h/x?\r\n[f003 1]\r\nname=f003=TESSEL\r\n[bibid]\r\nname=id\r\n"
        u"[auth 2]\r\nname=auth=none\r\n[holdings 0]\r\nname=hold=i\r\n[charset 3]\r\n"
        u"name=cs=utf-8&nf=d\r\n[change035 1]\r\nname=c035=1\r\n[isbn 0]\r\nname=isbn=keep\r\n"
        u"[subjects]\r\nname=subj\r\n[locations]\r\nname=loc\r\n");
    form_.cmb003.ListIndex = 1;
    form_.txtBibId.Text = u"12515882";
    form_.cmbAuth.ListIndex = 2;
    form_.cmbHold.ListIndex = 0;
    form_.cmbChars.ListIndex = 3;
    form_.Chk035.Value = 1;
    form_.ChkISBN.Value = 0;
    form_.TxtSubj.Text = u"Tes:sao,lcsh";
    form_.TxtSigler.Text = u"Tes Åbo";
    EXPECT_EQ(BuildRequest(form_, table_),
              u"http://h/x?f003=TESSEL&id=12515882&auth=none&hold=i&cs=utf-8&nf=d&c035=1&"
              u"isbn=keep&subj=Tes%3Asao%2Clcsh&loc=Tes+Åbo");
}

TEST_F(RequestBuilderTest, EmptyTextUsesTheDefaultOfTheParameterName) {
    Table(
        u"baseURL=b?\r\n[bibid]\r\nname=id\r\ndefault=never\r\n[locations]\r\nname=loc\r\n"
        u"[loc]\r\ndefault=Tes\r\n");
    // The default is looked up by the parameter name, not the tag, and bibid has none under
    // its name "id": no bib id parameter at all.
    EXPECT_EQ(BuildRequest(form_, table_), u"b?loc=Tes");
}

TEST_F(RequestBuilderTest, PiecesWithoutEqualsAndUnknownIndexesAddNothing) {
    Table(u"baseURL=b?\r\n[isbn 1]\r\nname=isbn\r\n[change035 0]\r\nname=c=0\r\n");
    form_.ChkISBN.Value = 1;
    form_.cmbHold.ListIndex = -1;
    EXPECT_EQ(BuildRequest(form_, table_), u"b?c=0");
}

TEST(AddParameter, SeparatorAndEmptyValues) {
    std::u16string address = u"http://h/?";
    AddParameter(address, u"a", u"1");
    EXPECT_EQ(address, u"http://h/?a=1");
    AddParameter(address, u"b=2", u"");
    EXPECT_EQ(address, u"http://h/?a=1&b=2");
    AddParameter(address, u"bare", u"");
    EXPECT_EQ(address, u"http://h/?a=1&b=2");
    std::u16string empty;
    AddParameter(empty, u"a", u"1");
    EXPECT_EQ(empty, u"&a=1");
}

}  // namespace
}  // namespace tesselex
