// The display forms of a record: full display as rows and as HTML, the brief display, the main
// entry, the sort key and the publication date, with small configurations written per test
// (the shipped configuration is shown on real records by the tool tests).
#include <gtest/gtest.h>

#include <string>

#include "config/Strings.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"
#include "tests/support/IsoRecord.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::SF;

class OpacDisplayTest : public ::testing::Test {
  protected:
    void Configure(std::string text) {
        // Lines end in CR LF, as configuration files are written.
        for (std::size_t at = text.find('\n'); at != std::string::npos;
             at = text.find('\n', at + 2)) {
            text.insert(at, 1, '\r');
        }
        test::WriteBytes(dir / "display.cfg", text);
        record.OPACConfigFile(FromAscii((dir / "display.cfg").string()));
    }
    void Add(int tag, std::u16string_view ind, std::u16string_view value) {
        record.MarcFields()->Add(tag, ind.substr(0, 1), ind.substr(1, 1), value, false, false);
    }
    // The rows as "caption|text" lines.
    std::u16string Shown() {
        std::u16string shown;
        for (const DisplayRow& row : record.OPACDisplay().value_or(DisplayTable{})) {
            shown += row[0] + u"|" + row[1] + u"\n";
        }
        return shown;
    }

    test::TempDir dir;
    MarcObject record;
};

TEST_F(OpacDisplayTest, NoEmptyOrMisnamedConfigurationGivesNothing) {
    Add(20, u"  ", SF + u"a91-0-123");
    EXPECT_FALSE(record.OPACDisplay().has_value());
    Configure("");
    EXPECT_FALSE(record.OPACDisplay().has_value());
    EXPECT_EQ(record.OPACDisplayHTML(), u"");
    record.OPACConfigFile(FromAscii((dir / "missing.cfg").string()));
    EXPECT_FALSE(record.OPACDisplay().has_value());
    // A section name is read as a number, but its keys are looked up under three digits.
    Configure("[20]\nCaption=ISBN\nFields=a\n");
    EXPECT_EQ(Shown(), u"") << "keys of section 20 are not found as 020";
    Configure("[020]\nCaption=ISBN\nFields=a\n");
    EXPECT_EQ(Shown(), u"ISBN|91-0-123\n");
}

TEST_F(OpacDisplayTest, IndicatorTestsAreNotCombinedAndSpareControlFields) {
    Add(246, u"14", SF + u"aHidden");
    Add(246, u"20", SF + u"aShown");
    record.MarcFields()->Add(1, u"", u"", u"ocm42", false, false);
    Configure(
        "[246]\nCaption=Other title\nFields=a\nDisplayIf1=1\nDoNotDisplayIf2=4\n"
        "[001]\nCaption=Id\nFields=*\nDisplayIf1=x\nDisplayIf2=y\n");
    EXPECT_EQ(Shown(), u"Other title|Shown\nId|ocm42\n");
}

TEST_F(OpacDisplayTest, CaptionsByIndicatorsArePreferredInOrder) {
    Add(246, u"13", SF + u"aA");
    const std::pair<const char*, const char16_t*> cases[] = {
        {"I?3=Second only\nI1?=First only\nI13=Both\n", u"Both|A\n"},
        {"I?3=Second only\nI1?=First only\n", u"First only|A\n"},
        {"I?3=Second only\n", u"Second only|A\n"},
        {"I?4=Other\n", u"Plain|A\n"},
    };
    for (const auto& [keys, shown] : cases) {
        Configure(std::string("[246]\nCaption=Plain\nFields=a\n") + keys);
        EXPECT_EQ(Shown(), shown);
    }
}

TEST_F(OpacDisplayTest, SeparatorsEnclosuresWholeFieldAndCharacter28) {
    Add(20, u"  ", SF + u"a91-1" + SF + u"qhft." + SF + u"cpris" + SF + u"zbad");
    // c is not shown, but it is the previous code for z: the missing "cz" is one blank.
    Configure("[020]\nFields=aqz\naq= (\nEncl z=[]\n");
    EXPECT_EQ(Shown(), u"|91-1 (hft.) [bad]\n");
    // The separator before c is keyed by q, the subfield in front of it, though q is not shown.
    Configure("[020]\nFields=acz\nac=XX\nqc= {\ncz=, \nEncl c= <> \n");
    EXPECT_EQ(Shown(), u"|91-1 {<pris>}, bad\n");

    Add(500, u"  ", SF + u"aNote\u001Ctext" + SF + u"5SE");
    Configure("[500]\nCaption=Note\nFields=*\n");
    EXPECT_EQ(Shown(), u"Note|Notetext SE\n");
    Configure("[500]\nCaption=Note\nFields=\n");
    EXPECT_EQ(Shown(), u"") << "empty Fields yields nothing";
}

TEST_F(OpacDisplayTest, DuplicateLinesOfATagAreShownOnce) {
    Add(650, u" 0", SF + u"aPerl");
    Add(650, u" 0", SF + u"aPerl");
    Add(650, u" 0", SF + u"aPer");  // repeats the beginning of an earlier line: suppressed too
    Add(650, u" 0", SF + u"aPython");
    Add(600, u"10", SF + u"aPerl");  // another tag: not a duplicate
    Configure("[650]\nCaption=Subject\nFields=a\n[600]\nCaption=Person\nFields=a\n");
    EXPECT_EQ(Shown(), u"Subject|Perl\n|Python\nPerson|Perl\n");
}

TEST_F(OpacDisplayTest, BlankRowsAndHtml) {
    Add(100, u"1 ", SF + u"aAuthor");
    Add(245, u"10", SF + u"aTitle");
    Add(650, u" 0", SF + u"aOne");
    Add(650, u" 0", SF + u"aTwo");
    // No blank row at the very top; BlankAfter of 245, then BlankBefore of 100.
    Configure(
        "[245]\nCaption=Title\nFields=a\nBlankBefore=1\nBlankAfter=1\n"
        "[100]\nCaption=Author\nFields=a\nBlankBefore=1\n[650]\nCaption=Subject\nFields=a\n");
    EXPECT_EQ(Shown(), u"Title|Title\n|\n|\nAuthor|Author\nSubject|One\n|Two\n");
    Configure("[245]\nCaption=Title\nFields=a\nBlankAfter=x\n[650]\nCaption=Subject\nFields=a\n");
    EXPECT_EQ(record.OPACDisplayHTML(),
              u"<TABLE Border=0><TR><TD valign=top><b>Title</b></TD><TD>Title</TD></TR>\r\n"
              u"<tr><td>&nbsp;</td><td>&nbsp;</td></tr>"
              u"<TR><TD valign=top><b>Subject</b></TD><TD>One</TD></TR>\r\n"
              u"<TR><TD>&nbsp;</TD><TD>Two</TD></TR>\r\n</TABLE>");
    Configure("[HTML]\nBibRecordBorder=<table class=rec>\n[245]\nCaption=T\nFields=a\n");
    EXPECT_EQ(record.OPACDisplayHTML(),
              u"<table class=rec><TR><TD valign=top><b>T</b></TD><TD>Title</TD></TR>\r\n</TABLE>");
}

TEST_F(OpacDisplayTest, HtmlLinksFromOtherSubfieldOrOwnText) {
    Add(700, u"1 ", SF + u"aStr\u00F6m, \u00C5sa" + SF + u"0id 7");
    Add(856, u"40", SF + u"uhttp://x" + SF + u"zLink text");
    Configure(
        "[700]\nCaption=By\nFields=a\nhref a= <a href=\"p?id=!!$0\"> \n"
        "[856]\nCaption=Url\nFields=uz\nhref z=<a href=\"q?!!SELF!&r=!!SELF!\">\n");
    const std::u16string html = record.OPACDisplayHTML();
    EXPECT_NE(html.find(u"<TD><a href=\"p?id=id+7\">Str\u00F6m, \u00C5sa</a></TD>"),
              std::u16string::npos);
    EXPECT_NE(html.find(u"http://x <a href=\"q?Link+text&r=Link+text\">Link text</a>"),
              std::u16string::npos);
    EXPECT_EQ(Shown(), u"By|Str\u00F6m, \u00C5sa\nUrl|http://x Link text\n")
        << "rows carry no links";
    // A template naming an empty subfield makes no link at all.
    Configure("[700]\nCaption=By\nFields=a\nhref a=<a href=\"p?id=!!$9\">\n");
    EXPECT_NE(record.OPACDisplayHTML().find(u"<TD>Str\u00F6m, \u00C5sa</TD>"),
              std::u16string::npos);
}

// --- Sort key, publication date, main entry, brief display ------------------------------

const char* const SortConfig =
    "[Sort]\nCount=2\nTag 1=100\nSubfields 1=a\nTag 2=245\nSubfields 2=ab\n"
    "FilingIndicator 2=2\n";

TEST_F(OpacDisplayTest, SortKeyElementsReplaceMergeAndDropNonFilingCharacters) {
    Add(100, u"1 ", SF + u"aStrindberg, August,");
    Add(245, u"10", SF + u"aR\u00F6da rummet :" + SF + u"bskildringar");
    EXPECT_EQ(record.SortString(), u"") << "no configuration, no key";
    Configure(SortConfig);
    // Only the first chosen subfield is upper-cased; punctuation goes, blanks stay.
    EXPECT_EQ(record.SortString(), u"R\u00D6DA RUMMET skildringar");
    Configure(std::string(SortConfig) + "Merge 2=Yes\n");
    EXPECT_EQ(record.SortString(), u"STRINDBERG AUGUSTR\u00D6DA RUMMET skildringar");
    record.MarcFields()->Field(245)->SetIndicator(2, u"4");
    record.MarcFields()->Field(245)->SetValue(SF + u"aThe title");
    EXPECT_EQ(record.SortString(), u"STRINDBERG AUGUSTTITLE");
    Configure("[Sort]\nCount=1\nTag 1=130\nSubfields 1=a\n");
    EXPECT_EQ(record.SortString(), u"") << "a missing tag skips its element";
    // A mistyped count ends at the last element that has a tag (else this would not return).
    Configure("[Sort]\nCount=2000000000\nTag 1=100\nSubfields 1=a\n");
    EXPECT_EQ(record.SortString(), u"STRINDBERG AUGUST");
}

TEST_F(OpacDisplayTest, StripCharsKeepsCodePageLettersDigitsAndTheGivenCharacters) {
    EXPECT_EQ(StripChars(u"A, b. c: d/ 1-2 \u00E9\u00C5 \u00D7\u00F7 \u0416", u" "),
              u"A b c d 12 \u00E9\u00C5  ");
    EXPECT_EQ(StripChars(u"a-b_c", u"-"), u"a-bc");
    EXPECT_EQ(StripChars(u"", u" "), u"");
}

TEST_F(OpacDisplayTest, MainEntryBriefDisplayAndPublicationDate) {
    EXPECT_EQ(record.MainEntry(), u"");
    Add(245, u"10", SF + u"aRed room :" + SF + u"bscenes /" + SF + u"cby A.S.");
    EXPECT_EQ(record.MainEntry(), u"Red room : scenes / by A.S.") << "245 without a 1XX";
    Add(100, u"1 ", SF + u"aStrindberg, August," + SF + u"d1849-1912.");
    EXPECT_EQ(record.MainEntry(), u"Strindberg, August, 1849-1912.");
    EXPECT_EQ(record.ShortDisplay(), u"Strindberg, August, 1849-1912. Red room : scenes /");

    test::WriteBytes(dir / "brief.cfg", "[245]\r\nFields=a\r\n[100]\r\nFields=a\r\n");
    record.OPACConfigFileBrief(FromAscii((dir / "brief.cfg").string()));
    EXPECT_EQ(record.ShortDisplay(), u"Red room :. Strindberg, August,");

    // The publication date needs a fixed field of over 16 characters.
    EXPECT_EQ(record.PubDate(), u"");
    record.MarcFields()->Add(8, u"", u"", u"000107s2000    nyu", true, false);
    EXPECT_EQ(record.PubDate(), u"2000    ");
    record.Import(test::Iso({{u"008", u"000107q19992000x"}}));
    EXPECT_EQ(record.PubDate(), u"") << "16 characters";
}

}  // namespace
}  // namespace tesselex
