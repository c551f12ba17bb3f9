#include "config/CfgClass.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "config/Error.h"
#include "config/MessageSink.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "tests/support/RaisedError.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::Raised;
using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;
using Names = std::vector<std::u16string>;

// Catches what the configuration text would show in a message box.
class CfgClassTest : public ::testing::Test {
  protected:
    // Every item as "full key=value", in item order.
    static Names Items(const CfgClass& cfg) {
        Names items;
        for (int i = 1; i <= cfg.Itemcount(); ++i) {
            items.push_back(cfg.Item(i)->Key + u"=" + cfg.Item(i)->Value);
        }
        return items;
    }
    std::u16string Value(std::u16string_view key) const { return cfg_.Item(key)->Value; }
    std::u16string File(const char* name) const { return PathToText(dir_ / name); }

    MessageSink Capture() {
        return [this](const std::u16string& title, const std::u16string& text) {
            messages_.emplace_back(title, text);
        };
    }

    std::vector<std::pair<std::u16string, std::u16string>> messages_;
    CfgClass cfg_{Capture()};
    TempDir dir_;
};

TEST_F(CfgClassTest, LinesAreClassifiedAndKeptAsTheyStand) {
    struct Case {
        const char16_t* text;
        Names items, sections;
    };
    const Case cases[] = {
        {u"Sigler=ABC\r\n[FTP]\r\n Dir = /in", {u"\\Sigler=ABC", u"FTP\\ Dir = /in"}, {u"FTP"}},
        {u" Key = 1\r\nA=B=C\r\nEmpty=\r\n=nothing\r\nno equals\r\n\r\n  ",
         {u"\\ Key = 1", u"\\A=B=C", u"\\Empty="},
         {}},
        // Headers are trimmed once; "[a=b]" is also an item of the section it opens.
        {u"  [Outer]  \r\n[ Inner ]\r\nk=1\r\n[a=b]\r\n[]\r\nz=2\r\n[\r\n]",
         {u" Inner \\k=1", u"a=b\\[a=b]", u"\\z=2"},
         {u"Outer", u" Inner ", u"a=b", u""}},
        // Lone LFs end lines only in a text without any CR LF; a lone CR always ends one.
        {u"a=1\nb=2\nc=3", {u"\\a=1", u"\\b=2", u"\\c=3"}, {}},
        {u"a=1\nb=2\r\nc=3", {u"\\a=1\nb=2", u"\\c=3"}, {}},
        {u"a=1\rb=2\r[S]\rc=3", {u"\\a=1", u"\\b=2", u"S\\c=3"}, {u"S"}},
        {u"a=1\rb=2\r\nc=3\n4", {u"\\a=1", u"\\b=2", u"\\c=3\n4"}, {}},
        // Text the code page cannot hold reads as a file holding it would: "?".
        {u"Ämne=€ \u4E2D \u0100", {u"\\Ämne=€ ? ?"}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(TextToUtf8(c.text));
        CfgClass cfg(Capture());
        cfg.LoadFromString(c.text);
        EXPECT_EQ(Items(cfg), c.items);
        EXPECT_EQ(cfg.Sections(), c.sections);
    }
    EXPECT_TRUE(messages_.empty());
}

TEST_F(CfgClassTest, ItemFindsByKeyOrPositionAndNeverFails) {
    cfg_.LoadFromString(
        u"Host=outside\r\n Key =1\r\n[ftp]\r\nHost=inside\r\n[Användare]\r\nLösenord=x1");
    EXPECT_EQ(Value(u"HOST"), u"outside");
    EXPECT_EQ(Value(u"Ftp\\HOST"), u"inside");
    EXPECT_EQ(Value(u"ANVÄNDARE\\LÖSENORD"), u"x1");
    EXPECT_EQ(cfg_.Item(u"FTP\\Host")->Key, u"ftp\\Host");
    for (const char16_t* missing :
         {u"Key", u"Lösenord", u"ftp\\Missing", u"", u"0", u"99999999999"}) {
        EXPECT_EQ(cfg_.Item(missing)->Key, u"") << TextToUtf8(missing);
    }
    EXPECT_EQ(cfg_.Item(1)->Key, u"\\Host");
    EXPECT_EQ(cfg_.Item(u" 3 ")->Key, u"ftp\\Host");
    for (const int bad : {0, -1, 5, 1 << 30}) {
        EXPECT_EQ(cfg_.Item(bad)->Key, u"") << bad;
    }
    // The stored record is handed out; a missing one is fresh each time and belongs to no one.
    cfg_.Item(u"ftp\\host")->Value = u"new";
    EXPECT_EQ(Value(u"FTP\\Host"), u"new");
    const CfgRecordPtr missing = cfg_.Item(u"ftp\\nothing");
    missing->Value = u"set";
    EXPECT_NE(cfg_.Item(u"ftp\\nothing"), missing);
    EXPECT_EQ(Value(u"ftp\\nothing"), u"");
    EXPECT_EQ(cfg_.Itemcount(), 4);
}

TEST_F(CfgClassTest, IsTrueReadsSwitches) {
    for (const char16_t* yes : {u"Yes", u"y", u"Ja", u"j", u"True", u"t", u"-1", u"0.5", u" 7 "}) {
        EXPECT_TRUE((CfgRecord{yes, u"\\k"}.IsTrue())) << TextToUtf8(yes);
    }
    for (const char16_t* no : {u"", u"No", u"nej", u"False", u"0", u"0.0", u" Yes", u"2x"}) {
        EXPECT_FALSE((CfgRecord{no, u"\\k"}.IsTrue())) << TextToUtf8(no);
    }
}

TEST_F(CfgClassTest, SectionsItemsAndLocateUseThePrefixOfTheFullKey) {
    cfg_.LoadFromString(
        u"Host=x\r\n[FTP]\r\nHost=h\r\nUser=u\r\n[FTPX]\r\nPort=21\r\n[Ämnesord]\r\n[]\r\n"
        u"[Codes]\r\nSEK=Sweden\r\nNOK=Norway\r\n[CodesX]\r\nDKK=Denmark\r\nFTP\\Dir=d");
    EXPECT_EQ(cfg_.SectionCount(), 6);
    EXPECT_EQ(cfg_.Section(2), u"FTPX");
    EXPECT_EQ(cfg_.Section(0), u"");
    EXPECT_EQ(cfg_.Section(7), u"");
    EXPECT_TRUE(cfg_.SectionExists(u"ÄMNESORD"));
    EXPECT_FALSE(cfg_.SectionExists(u"FTPY"));
    EXPECT_FALSE(cfg_.SectionExists(u""));  // held, but never reported as existing

    EXPECT_EQ(cfg_.SectionItems(u"ftp"), (Names{u"", u"Host", u"User", u"\\Port"}));
    EXPECT_EQ(cfg_.SectionItems(u"FTPX"), (Names{u"", u"Port"}));
    EXPECT_EQ(cfg_.SectionItems(u"Nothing"), Names{u""});

    EXPECT_EQ(cfg_.Locate(u"price in nok and sek", u"codes"), u"Sweden");
    EXPECT_EQ(cfg_.Locate(u"dkk", u"Codes"), u"Denmark");
    EXPECT_EQ(cfg_.Locate(u"nothing", u"Codes"), u"");
    EXPECT_EQ(cfg_.Locate(u"the dir", u"Codesx"), u"d");  // behind the last backslash
    EXPECT_EQ(cfg_.Locate(u"port", u""), u"21");
}

TEST_F(CfgClassTest, AddReportsADuplicateAndKeepsTheFirst) {
    cfg_.LoadFromString(u"[S]\r\nk=1\r\nK=2\r\nafter=3");
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].first, u"Error in configuration");
    EXPECT_EQ(messages_[0].second,
              u"S\\K\r\n" + FromAscii(Error::DescriptionOf(ErrorNumber::DuplicateKey)));
    EXPECT_EQ(Items(cfg_), (Names{u"S\\k=1", u"S\\after=3"}));
}

TEST_F(CfgClassTest, ChangeAndRemoveTakeTheKeyAsGiven) {
    cfg_.LoadFromString(u"a=1\r\nb=2\r\n[S]\r\nc=3\r\nd=4");
    cfg_.Change(u"a", u"ignored");
    cfg_.Remove(u"b");
    cfg_.Change(u"S\\nothing", u"x");
    cfg_.Change(9, u"x");
    EXPECT_EQ(Items(cfg_), (Names{u"\\a=1", u"\\b=2", u"S\\c=3", u"S\\d=4"}));

    cfg_.Change(u"\\A", u"one");
    cfg_.Change(3, u"three");
    cfg_.Remove(u"\\B");
    EXPECT_EQ(Items(cfg_), (Names{u"\\a=one", u"S\\c=three", u"S\\d=4"}));
    EXPECT_EQ(Value(u"s\\d"), u"4");  // keys behind a removed item still find their items
    for (const int gone : {1, 0, 7}) {
        cfg_.Remove(gone);
    }
    cfg_.Remove(u"S\\gone");
    EXPECT_EQ(Items(cfg_), (Names{u"S\\c=three", u"S\\d=4"}));
    cfg_.Add(u"back", u"a", u"");  // a removed key may come again
    EXPECT_EQ(Value(u"a"), u"back");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(CfgClassTest, DuplicateSectionStopsTheLoadKeepingWhatCameBefore) {
    WriteBytes(dir_ / "dup.txt", "a=1\r\n[S]\r\nb=2\r\n[s]\r\nc=3\r\n");
    EXPECT_EQ(Raised([&] { cfg_.Load(File("dup.txt")); }), ErrorNumber::DuplicateKey);
    EXPECT_EQ(Items(cfg_), (Names{u"\\a=1", u"S\\b=2"}));
    EXPECT_EQ(cfg_.Sections(), Names{u"S"});
    // Across loads too: what is held is added to.
    WriteBytes(dir_ / "more.txt", "[T]\r\nk=2\r\n[S]\r\nlost=1\r\n");
    EXPECT_EQ(Raised([&] { cfg_.Load(File("more.txt")); }), ErrorNumber::DuplicateKey);
    EXPECT_EQ(Items(cfg_), (Names{u"\\a=1", u"S\\b=2", u"T\\k=2"}));
}

TEST_F(CfgClassTest, LoadReadsWindows1252AndIgnoresWhatIsNoFile) {
    WriteBytes(dir_ / "Config.TXT",
               "[Settings]\r\n\xC4mnesord=650\r\nAnv\xE4ndare=Bengt\rL\xF6senord=hemligt\xA7\r\n"
               "Lf=one\ntwo\r\n");
    for (const std::u16string& nothing : {std::u16string(), File("missing.txt"), File("")}) {
        cfg_.Load(nothing);
    }
    EXPECT_EQ(cfg_.Itemcount(), 0);
    cfg_.Load(File("Config.TXT"));
    EXPECT_EQ(Value(u"Settings\\Ämnesord"), u"650");
    EXPECT_EQ(Value(u"SETTINGS\\ANVÄNDARE"), u"Bengt");
    EXPECT_EQ(Value(u"settings\\lösenord"), u"hemligt§");
    EXPECT_EQ(Value(u"Settings\\Lf"), u"one\ntwo");
}

TEST_F(CfgClassTest, SaveWritesFullKeysThatReadBackOutsideAnySection) {
    cfg_.LoadFromString(u"Sigler=ABC\r\n[FTP]\r\nHost=ftp.example.org\r\n[Ämne]\r\nÅ=ö€=");
    cfg_.Save(File("saved.txt"));
    EXPECT_EQ(ReadBytes(dir_ / "saved.txt"),
              "\\Sigler=ABC\r\nFTP\\Host=ftp.example.org\r\n\xC4mne\\\xC5=\xF6\x80=\r\n");
    CfgClass reread;
    reread.Load(File("saved.txt"));
    EXPECT_EQ(Items(reread),
              (Names{u"\\\\Sigler=ABC", u"\\FTP\\Host=ftp.example.org", u"\\Ämne\\Å=ö€="}));
    EXPECT_EQ(reread.SectionCount(), 0);

    // Saving replaces the file; no name writes nothing; a file that cannot be written raises.
    CfgClass small;
    small.Add(u"1", u"only", u"");
    small.Save(File("saved.txt"));
    EXPECT_EQ(ReadBytes(dir_ / "saved.txt"), "\\only=1\r\n");
    EXPECT_NO_THROW(small.Save(u""));
    EXPECT_THROW(small.Save(PathToText(dir_ / "no-such-folder" / "x.txt")), Error);
    EXPECT_THROW(small.Save(File("")), Error);
}

TEST_F(CfgClassTest, CountsAreSixteenBit) {
    std::u16string items;
    std::u16string headers;
    for (int i = 0; i < 32768; ++i) {
        items += u"k" + FormatNumber(i, 1) + u"=v\r\n";
        headers += u"[S" + FormatNumber(i, 1) + u"]\r\n";
    }
    cfg_.LoadFromString(items.substr(0, items.rfind(u"k")));
    EXPECT_EQ(cfg_.Itemcount(), 32767);
    cfg_.Add(u"v", u"one more", u"");
    EXPECT_EQ(Raised([&] { (void)cfg_.Itemcount(); }), ErrorNumber::Overflow);
    EXPECT_EQ(cfg_.Item(32768)->Key, u"\\one more");  // the items stay reachable

    CfgClass sections;
    sections.LoadFromString(headers);
    EXPECT_EQ(Raised([&] { (void)sections.SectionCount(); }), ErrorNumber::Overflow);
    EXPECT_TRUE(sections.SectionExists(u"s32767"));
}

TEST_F(CfgClassTest, BadInputIsReadWithoutHarm) {
    const std::u16string nul(1, u'\0');
    cfg_.LoadFromString(u"[N" + nul + u"]\r\nk" + nul + u"y=v" + nul + u"\r\n" + nul + u"=x\r\n");
    EXPECT_EQ(cfg_.Sections(), Names{u"N" + nul});
    EXPECT_EQ(Value(u"n" + nul + u"\\K" + nul + u"Y"), u"v" + nul);
    EXPECT_EQ(Value(u"N" + nul + u"\\" + nul), u"x");

    const std::u16string big(1 << 20, u'x');
    const std::u16string crs(10000, u'\r');
    CfgClass other;
    other.LoadFromString(u"[L]\r\nkey=" + big + u"\r\n" + big + crs + u"a=1" + crs);
    EXPECT_EQ(other.Item(u"L\\key")->Value.size(), big.size());
    EXPECT_EQ(other.Item(u"L\\a")->Value, u"1");
    EXPECT_EQ(other.Itemcount(), 2);
}

}  // namespace
}  // namespace tesselex
