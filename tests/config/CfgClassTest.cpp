#include "config/CfgClass.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "config/CodePage.h"
#include "config/Error.h"
#include "config/MessageSink.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;
using Names = std::vector<std::u16string>;

// Catches what the configuration text would show in a message box.
class CfgClassTest : public ::testing::Test {
  protected:
    void SetUp() override {
        previous_ = SetMessageSink([this](const std::u16string& title, const std::u16string& text) {
            messages_.emplace_back(title, text);
        });
    }
    void TearDown() override { SetMessageSink(previous_); }

    std::vector<std::u16string> Keys() const {
        std::vector<std::u16string> keys;
        for (int i = 1; i <= cfg_.Itemcount(); ++i) {
            keys.push_back(cfg_.Item(i)->Key);
        }
        return keys;
    }
    std::u16string Value(std::u16string_view key) const { return cfg_.Item(key)->Value; }

    CfgClass cfg_;
    std::vector<std::pair<std::u16string, std::u16string>> messages_;
    MessageSink previous_;
};

// ---- reading lines ----

TEST_F(CfgClassTest, ExampleTextGivesItemsAndSections) {
    cfg_.LoadFromString(u"Sigler=ABC\r\n[FTP]\r\n Dir = /in");
    EXPECT_EQ(Keys(), (Names{u"\\Sigler", u"FTP\\ Dir "}));
    EXPECT_EQ(Value(u"Sigler"), u"ABC");
    EXPECT_EQ(Value(u"ftp\\ dir "), u" /in");
    EXPECT_EQ(cfg_.Sections(), Names{u"FTP"});
    EXPECT_TRUE(messages_.empty());
}

TEST_F(CfgClassTest, KeysAndValuesKeepTheirBlanks) {
    cfg_.LoadFromString(u" Key = 1\r\nA=B=C\r\nEmpty=\r\n=nothing\r\nno equals here\r\n\r\n  \r\n");
    EXPECT_EQ(Keys(), (Names{u"\\ Key ", u"\\A", u"\\Empty"}));
    EXPECT_EQ(Value(u"\\ Key "), u" 1");
    EXPECT_EQ(cfg_.Item(u"Key")->Key, u"");
    EXPECT_EQ(Value(u"A"), u"B=C");
    EXPECT_EQ(Value(u"Empty"), u"");
    EXPECT_FALSE(cfg_.Item(u"Empty")->IsTrue());
}

TEST_F(CfgClassTest, HeadersAreTrimmedOnceAndMayAlsoBeKeyLines) {
    cfg_.LoadFromString(u"  [Outer]  \r\n[ Inner ]\r\nk=1\r\n[a=b]\r\n[]\r\nz=2\r\n[\r\n]");
    EXPECT_EQ(cfg_.Sections(), (Names{u"Outer", u" Inner ", u"a=b", u""}));
    EXPECT_EQ(Value(u" inner \\k"), u"1");
    // "[a=b]" is a header and, because of its "=", an item of the section it opens.
    EXPECT_EQ(Value(u"a=b\\[a"), u"b]");
    EXPECT_EQ(Value(u"\\z"), u"2");
    EXPECT_EQ(cfg_.Itemcount(), 3);
}

TEST_F(CfgClassTest, LoneLineFeedsAreLineEndsOnlyWithoutAnyCrLf) {
    cfg_.LoadFromString(u"a=1\nb=2\nc=3");
    EXPECT_EQ(Keys(), (Names{u"\\a", u"\\b", u"\\c"}));

    CfgClass mixed;
    mixed.LoadFromString(u"a=1\nb=2\r\nc=3");
    ASSERT_EQ(mixed.Itemcount(), 2);
    EXPECT_EQ(mixed.Item(u"a")->Value, u"1\nb=2");
    EXPECT_EQ(mixed.Item(u"c")->Value, u"3");
}

TEST_F(CfgClassTest, LoneCarriageReturnsEndLines) {
    cfg_.LoadFromString(u"a=1\rb=2\r[S]\rc=3");
    EXPECT_EQ(Keys(), (Names{u"\\a", u"\\b", u"S\\c"}));

    // In a text with a CR LF a lone CR still ends a line.
    CfgClass mixed;
    mixed.LoadFromString(u"a=1\rb=2\r\nc=3\n4");
    EXPECT_EQ(mixed.Itemcount(), 3);
    EXPECT_EQ(mixed.Item(u"c")->Value, u"3\n4");
}

// ---- look-ups ----

TEST_F(CfgClassTest, ItemFindsByKeyWhateverTheCase) {
    cfg_.LoadFromString(
        u"Host=outside\r\n[ftp]\r\nHost=inside\r\nUser=me\r\n[Användare]\r\nLösenord=x1");
    EXPECT_EQ(Value(u"Host"), u"outside");
    EXPECT_EQ(Value(u"HOST"), u"outside");
    EXPECT_EQ(Value(u"FTP\\Host"), u"inside");
    EXPECT_EQ(Value(u"Ftp\\HOST"), u"inside");
    EXPECT_EQ(Value(u"ANVÄNDARE\\LÖSENORD"), u"x1");
    EXPECT_EQ(cfg_.Item(u"FTP\\Host")->Key, u"ftp\\Host");
    EXPECT_EQ(Value(u"User"), u"");
    EXPECT_EQ(Value(u"ftp\\Missing"), u"");
    EXPECT_EQ(Value(u""), u"");
}

TEST_F(CfgClassTest, ItemByPositionAndNumericText) {
    cfg_.LoadFromString(u"a=1\r\nb=2\r\nc=3");
    EXPECT_EQ(cfg_.Item(1)->Key, u"\\a");
    EXPECT_EQ(cfg_.Item(3)->Value, u"3");
    EXPECT_EQ(cfg_.Item(u"2")->Key, u"\\b");
    EXPECT_EQ(cfg_.Item(u" 3 ")->Key, u"\\c");
    for (const int bad : {0, -1, 4, 1 << 30}) {
        EXPECT_EQ(cfg_.Item(bad)->Key, u"") << bad;
    }
    EXPECT_EQ(cfg_.Item(u"0")->Key, u"");
    EXPECT_EQ(cfg_.Item(u"99999999999")->Key, u"");
}

TEST_F(CfgClassTest, ItemGivesTheStoredRecordOrAFreshOne) {
    cfg_.LoadFromString(u"[S]\r\nk=old");
    cfg_.Item(u"S\\k")->Value = u"new";
    EXPECT_EQ(Value(u"s\\K"), u"new");
    const CfgRecordPtr missing = cfg_.Item(u"S\\nothing");
    missing->Value = u"set";
    EXPECT_EQ(Value(u"S\\nothing"), u"");
    EXPECT_NE(cfg_.Item(u"S\\nothing"), missing);
    EXPECT_EQ(cfg_.Itemcount(), 1);
}

TEST_F(CfgClassTest, IsTrueReadsSwitches) {
    for (const char16_t* yes :
         {u"Yes", u"y", u"Ja", u"j", u"True", u"t", u"1", u"-1", u"2", u"0.5", u" 7 "}) {
        CfgRecord record{yes, u"\\k"};
        EXPECT_TRUE(record.IsTrue()) << TextToUtf8(yes);
    }
    for (const char16_t* no :
         {u"", u"No", u"nej", u"False", u"f", u"0", u"0.0", u" 0 ", u"Off", u" Yes", u"2x", u"x"}) {
        CfgRecord record{no, u"\\k"};
        EXPECT_FALSE(record.IsTrue()) << TextToUtf8(no);
    }
}

TEST_F(CfgClassTest, SectionsByPositionAndName) {
    cfg_.LoadFromString(u"[FTP]\r\n[Ämnesord]\r\n[]");
    EXPECT_EQ(cfg_.SectionCount(), 3);
    EXPECT_EQ(cfg_.Section(1), u"FTP");
    EXPECT_EQ(cfg_.Section(2), u"Ämnesord");
    EXPECT_EQ(cfg_.Section(0), u"");
    EXPECT_EQ(cfg_.Section(4), u"");
    EXPECT_TRUE(cfg_.SectionExists(u"ftp"));
    EXPECT_TRUE(cfg_.SectionExists(u"ÄMNESORD"));
    EXPECT_FALSE(cfg_.SectionExists(u"FTPX"));
    // The empty section name is held but never reported as existing.
    EXPECT_FALSE(cfg_.SectionExists(u""));
}

TEST_F(CfgClassTest, SectionItemsListsKeyNamesAfterAnEmptyFirstElement) {
    cfg_.LoadFromString(u"Host=x\r\n[FTP]\r\nHost=h\r\nUser=u\r\n[Other]\r\nHost=o");
    EXPECT_EQ(cfg_.SectionItems(u"FTP"), (Names{u"", u"Host", u"User"}));
    EXPECT_EQ(cfg_.SectionItems(u"ftp"), (Names{u"", u"Host", u"User"}));
    EXPECT_EQ(cfg_.SectionItems(u"Nothing"), Names{u""});
    // The section is a plain prefix of the full key.
    CfgClass prefix;
    prefix.LoadFromString(u"[FTP]\r\nHost=h\r\n[FTPX]\r\nPort=21");
    EXPECT_EQ(prefix.SectionItems(u"FTP"), (Names{u"", u"Host", u"\\Port"}));
}

TEST_F(CfgClassTest, LocateFindsTheKeyNameInsideATextOfTheSection) {
    cfg_.LoadFromString(
        u"[Codes]\r\nSEK=Sweden\r\nNOK=Norway\r\nSE=short\r\n[CodesX]\r\nDKK=Denmark\r\n[Z]\r\nEUR="
        u"no");
    EXPECT_EQ(cfg_.Locate(u"price in nok and sek", u"codes"), u"Sweden");
    EXPECT_EQ(cfg_.Locate(u"NOK only", u"Codes"), u"Norway");
    EXPECT_EQ(cfg_.Locate(u"se", u"Codes"), u"short");
    EXPECT_EQ(cfg_.Locate(u"dkk", u"Codes"), u"Denmark");
    EXPECT_EQ(cfg_.Locate(u"eur", u"Codes"), u"");
    EXPECT_EQ(cfg_.Locate(u"nothing", u"Codes"), u"");
    EXPECT_EQ(cfg_.Locate(u"eur", u""), u"no");
    // The key name is what follows the last backslash of the full key.
    CfgClass saved;
    saved.LoadFromString(u"FTP\\Host=h");
    EXPECT_EQ(saved.Locate(u"which host?", u"\\ftp"), u"h");
}

// ---- changes ----

TEST_F(CfgClassTest, AddReportsADuplicateAndKeepsTheFirst) {
    cfg_.LoadFromString(u"[S]\r\nk=1\r\nK=2\r\nafter=3");
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].first, u"Error in configuration");
    EXPECT_EQ(messages_[0].second,
              u"S\\K\r\n" + FromAscii(Error::DescriptionOf(ErrorNumber::DuplicateKey)));
    EXPECT_EQ(Keys(), (Names{u"S\\k", u"S\\after"}));
    EXPECT_EQ(Value(u"S\\k"), u"1");

    cfg_.Add(u"v", u"new", u"T");
    cfg_.Add(u"w", u"NEW", u"t");
    EXPECT_EQ(messages_.size(), 2u);
    EXPECT_EQ(Value(u"T\\New"), u"v");
}

TEST_F(CfgClassTest, ChangeAndRemoveTakeTheKeyAsGiven) {
    cfg_.LoadFromString(u"a=1\r\nb=2\r\n[S]\r\nc=3\r\nd=4");
    cfg_.Change(u"a", u"ignored");
    cfg_.Remove(u"b");
    EXPECT_EQ(Value(u"a"), u"1");
    EXPECT_EQ(cfg_.Itemcount(), 4);

    cfg_.Change(u"\\A", u"one");
    cfg_.Change(3, u"three");
    cfg_.Change(u"S\\nothing", u"x");
    cfg_.Change(9, u"x");
    EXPECT_EQ(Value(u"a"), u"one");
    EXPECT_EQ(Value(u"S\\c"), u"three");
    EXPECT_EQ(cfg_.Itemcount(), 4);

    cfg_.Remove(u"\\B");
    EXPECT_EQ(Keys(), (Names{u"\\a", u"S\\c", u"S\\d"}));
    // Keys behind a removed item still find their own items.
    EXPECT_EQ(Value(u"s\\d"), u"4");
    cfg_.Remove(1);
    cfg_.Remove(0);
    cfg_.Remove(7);
    cfg_.Remove(u"S\\gone");
    EXPECT_EQ(Keys(), (Names{u"S\\c", u"S\\d"}));
    EXPECT_EQ(Value(u"S\\d"), u"4");
    EXPECT_EQ(Value(u"a"), u"");
    // A removed key may be added again.
    cfg_.Add(u"back", u"a", u"");
    EXPECT_EQ(Value(u"a"), u"back");
    EXPECT_TRUE(messages_.empty());
}

// ---- loading and saving files ----

TEST_F(CfgClassTest, DuplicateSectionStopsTheLoadKeepingWhatCameBefore) {
    TempDir dir;
    WriteBytes(dir / "dup.txt", "a=1\r\n[S]\r\nb=2\r\n[s]\r\nc=3\r\n");
    try {
        cfg_.Load(PathToText(dir / "dup.txt"));
        FAIL() << "a repeated section must raise";
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), ErrorNumber::DuplicateKey);
    }
    EXPECT_EQ(Keys(), (Names{u"\\a", u"S\\b"}));
    EXPECT_EQ(cfg_.Sections(), Names{u"S"});

    CfgClass fromText;
    EXPECT_THROW(fromText.LoadFromString(u"[X]\r\n[X]\r\nlost=1"), Error);
    EXPECT_EQ(fromText.Itemcount(), 0);
}

TEST_F(CfgClassTest, LoadReadsWindows1252AndCarriageReturnLines) {
    TempDir dir;
    WriteBytes(dir / "Config.TXT",
               "[Settings]\r\n\xC4mnesord=650\r\nAnv\xE4ndare=Bengt\rL\xF6senord=hemligt\xA7\r\n"
               "Lf=one\ntwo\r\n");
    cfg_.Load(PathToText(dir / "Config.TXT"));
    EXPECT_EQ(Value(u"Settings\\Ämnesord"), u"650");
    EXPECT_EQ(Value(u"SETTINGS\\ANVÄNDARE"), u"Bengt");
    EXPECT_EQ(Value(u"settings\\lösenord"), u"hemligt§");
    // A text in memory reads as the same text in a file would.
    cfg_.LoadFromString(u"[Text]\r\nÄmne=€ \u4E2D \u0100");
    EXPECT_EQ(Value(u"text\\ämne"), u"€ ? ?");
    EXPECT_EQ(Value(u"Settings\\Lf"), u"one\ntwo");
    EXPECT_EQ(cfg_.Itemcount(), 5);
}

TEST_F(CfgClassTest, LoadAddsToWhatIsHeldAndIgnoresMissingFiles) {
    TempDir dir;
    WriteBytes(dir / "one.txt", "[A]\r\nk=1\r\n");
    WriteBytes(dir / "two.txt", "[B]\r\nk=2\r\n[A]\r\n");
    cfg_.Load(u"");
    cfg_.Load(PathToText(dir / "missing.txt"));
    cfg_.Load(PathToText(dir.Path()));
    EXPECT_EQ(cfg_.Itemcount(), 0);
    cfg_.Load(PathToText(dir / "one.txt"));
    EXPECT_THROW(cfg_.Load(PathToText(dir / "two.txt")), Error);
    EXPECT_EQ(Keys(), (Names{u"A\\k", u"B\\k"}));
    EXPECT_TRUE(messages_.empty());
}

TEST_F(CfgClassTest, SaveWritesFullKeysAndReadsBackOutsideAnySection) {
    TempDir dir;
    cfg_.LoadFromString(
        u"Sigler=ABC\r\n[FTP]\r\nHost=ftp.example.org\r\nDir=/in=out\r\n[Ämne]\r\nÅ=ö€");
    cfg_.Save(PathToText(dir / "saved.txt"));
    EXPECT_EQ(ReadBytes(dir / "saved.txt"),
              "\\Sigler=ABC\r\nFTP\\Host=ftp.example.org\r\nFTP\\Dir=/in=out\r\n"
              "\xC4mne\\\xC5=\xF6\x80\r\n");

    CfgClass reread;
    reread.Load(PathToText(dir / "saved.txt"));
    EXPECT_EQ(reread.Itemcount(), cfg_.Itemcount());
    for (int i = 1; i <= reread.Itemcount(); ++i) {
        EXPECT_EQ(reread.Item(i)->Key, u"\\" + cfg_.Item(i)->Key);
        EXPECT_EQ(reread.Item(i)->Value, cfg_.Item(i)->Value);
    }
    EXPECT_EQ(reread.Item(u"\\FTP\\Host")->Value, u"ftp.example.org");
    EXPECT_EQ(reread.SectionCount(), 0);

    // Saving again replaces the file.
    CfgClass small;
    small.Add(u"1", u"only", u"");
    small.Save(PathToText(dir / "saved.txt"));
    EXPECT_EQ(ReadBytes(dir / "saved.txt"), "\\only=1\r\n");
}

TEST_F(CfgClassTest, SaveWithoutANameWritesNothingAndAnUnwritableFileRaises) {
    cfg_.Add(u"1", u"k", u"");
    EXPECT_NO_THROW(cfg_.Save(u""));
    TempDir dir;
    EXPECT_THROW(cfg_.Save(PathToText(dir / "no-such-folder" / "x.txt")), Error);
    EXPECT_THROW(cfg_.Save(PathToText(dir.Path())), Error);
}

// ---- counts and bad input ----

TEST_F(CfgClassTest, CountsAreSixteenBit) {
    std::u16string text;
    for (int i = 0; i < 32767; ++i) {
        text += u"k" + FormatNumber(i, 1) + u"=v\r\n";
    }
    cfg_.LoadFromString(text);
    EXPECT_EQ(cfg_.Itemcount(), 32767);
    cfg_.Add(u"v", u"one more", u"");
    try {
        (void)cfg_.Itemcount();
        FAIL() << "32,768 items must overflow";
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), ErrorNumber::Overflow);
    }
    // The items themselves stay reachable.
    EXPECT_EQ(Value(u"one more"), u"v");
    EXPECT_EQ(cfg_.Item(32768)->Key, u"\\one more");

    CfgClass sections;
    std::u16string headers;
    for (int i = 0; i < 32768; ++i) {
        headers += u"[S" + FormatNumber(i, 1) + u"]\r\n";
    }
    sections.LoadFromString(headers);
    EXPECT_THROW((void)sections.SectionCount(), Error);
    EXPECT_TRUE(sections.SectionExists(u"s32767"));
}

TEST_F(CfgClassTest, BadInputIsReadWithoutHarm) {
    const std::u16string nul(1, u'\0');
    cfg_.LoadFromString(u"[N" + nul + u"]\r\nk" + nul + u"y=v" + nul + u"\r\n" + nul + u"=x\r\n");
    EXPECT_EQ(cfg_.Sections(), Names{u"N" + nul});
    EXPECT_EQ(Value(u"n" + nul + u"\\K" + nul + u"Y"), u"v" + nul);
    EXPECT_EQ(Value(u"N" + nul + u"\\" + nul), u"x");

    CfgClass longLine;
    const std::u16string big(1 << 20, u'x');
    longLine.LoadFromString(u"[L]\r\nkey=" + big + u"\r\n" + big + u"\r\n");
    EXPECT_EQ(longLine.Item(u"L\\key")->Value.size(), big.size());
    EXPECT_EQ(longLine.Itemcount(), 1);

    CfgClass crs;
    crs.LoadFromString(std::u16string(10000, u'\r') + u"a=1" + std::u16string(10000, u'\r'));
    EXPECT_EQ(crs.Itemcount(), 1);

    CfgClass many;
    std::u16string text;
    for (int i = 0; i < 5000; ++i) {
        text += u"[Section" + FormatNumber(i, 1) + u"]\r\nkey=" + FormatNumber(i, 1) + u"\r\n";
    }
    many.LoadFromString(text);
    EXPECT_EQ(many.SectionCount(), 5000);
    EXPECT_EQ(many.Itemcount(), 5000);
    EXPECT_EQ(many.Item(u"section4999\\KEY")->Value, u"4999");
    EXPECT_EQ(many.SectionItems(u"Section4999"), (Names{u"", u"key"}));
}

}  // namespace
}  // namespace tesselex
