#include "app/engine/ExportEngine.h"

#include <gtest/gtest.h>

#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/Utf.h"
#include "tests/app/engine/EngineFixture.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;
using test::WriteBytes;

class ExportEngineTest : public test::EngineFixture {
  protected:
    std::string SampleReply() const { return server_.ExportReply(bibId_, "interleaved"); }
};

TEST_F(ExportEngineTest, AWorkfileBecomesADeliveredFileInReplyOrder) {
    settings_->StoreSetting(SettingKey::Logging, u"Yes");
    ExportEngine& engine = StartUp();
    EXPECT_EQ(engine.Form().TxtFile.Text, PathToText(workfile_));
    WriteWorkfile(ReadBytes(test::SourceDir() / "data" / "sample-workfile.mrc"));

    engine.Timer1_Timer();

    EXPECT_FALSE(std::filesystem::exists(workfile_));
    // One bibliographic record and its two holdings records, in one append, as sent.
    const std::vector<std::u16string> records = SplitRecords(AnsiToText(SampleReply()));
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(Delivered(), SampleReply());
    ASSERT_EQ(ExportRequests().size(), 1U);
    EXPECT_NE(ExportRequests()[0].find("bibid=" + bibId_), std::string::npos);
    EXPECT_EQ(settings_->Setting(SettingKey::LastBibId), u"12515882");
    EXPECT_EQ(StatusMessages(), std::vector<std::u16string>{u"Post #12515882 sparad till " +
                                                            PathToText(destination_) + u"."});
    EXPECT_NE(ExportLog().find("Post #12515882 sparad till"), std::string::npos);
    EXPECT_TRUE(engine.Form().Timer1.Enabled);
    EXPECT_TRUE(engine.Form().Command1.Enabled);

    // The display lists every field of the three records: the leaders and both 004 links.
    const auto& rows = engine.DisplayRows();
    int leaders = 0;
    int links = 0;
    for (const DisplayField& row : rows) {
        leaders += row.Tag == u"000" ? 1 : 0;
        links += (row.Tag == u"004" && row.Value == u"12515882") ? 1 : 0;
    }
    EXPECT_EQ(leaders, 3);
    EXPECT_EQ(links, 2);
    EXPECT_EQ(rows.front().Tag, u"000");
}

TEST_F(ExportEngineTest, ABadRecordIsDroppedAndLoggedWhileItsNeighboursAreDelivered) {
    settings_->StoreSetting(SettingKey::LogErrors, u"Yes");
    const std::vector<std::u16string> records = SplitRecords(AnsiToText(SampleReply()));
    std::string broken = TextToAnsi(records[1]);
    broken.erase(30, 1);  // the leader's length is now off by one
    server_.SetReply(bibId_, TextToAnsi(records[0]) + broken + TextToAnsi(records[2]));
    ExportEngine& engine = StartUp();
    WriteWorkfile(test::HoldingsRecord(bibId_));

    engine.Timer1_Timer();

    EXPECT_EQ(Delivered(), TextToAnsi(records[0] + records[2]));
    const std::string expected = TextToAnsi(BadRecordMessage());
    EXPECT_NE(ErrorLog().find(": " + expected + "\r\n"), std::string::npos);
    EXPECT_NE(expected.find("best\xE5nds-"), std::string::npos) << "logged in Windows-1252";
    // Logged only: the one status line is the delivery's.
    EXPECT_EQ(lines_.size(), 1U);
}

TEST_F(ExportEngineTest, AWorkfileWithoutAUsableBibIdIsDeletedAndNothingIsFetched) {
    ExportEngine& engine = StartUp();
    for (const char* link : {"0", "000", "abc", "-12", ""}) {
        WriteWorkfile(test::HoldingsRecord(link));
        engine.Timer1_Timer();
        EXPECT_FALSE(std::filesystem::exists(workfile_)) << "004 '" << link << "'";
        EXPECT_TRUE(engine.Form().Timer1.Enabled);
    }
    EXPECT_TRUE(ExportRequests().empty());
    EXPECT_FALSE(WasDelivered());
}

TEST_F(ExportEngineTest, AnUnreachableServerDeliversNothingAndKeepsTheBibIdForARetry) {
    ExportEngine& engine = StartUp();
    server_.Stop();
    WriteWorkfile(test::HoldingsRecord(bibId_));
    engine.Timer1_Timer();
    EXPECT_FALSE(std::filesystem::exists(workfile_));
    EXPECT_FALSE(WasDelivered());
    EXPECT_TRUE(lines_.empty());
    EXPECT_EQ(engine.Form().txtBibId.Text, u"12515882");
    EXPECT_TRUE(engine.Form().Timer1.Enabled);
}

TEST_F(ExportEngineTest, AnHtmlErrorPageFailsTheRecordCheck) {
    settings_->StoreSetting(SettingKey::LogErrors, u"Yes");
    server_.SetReply(bibId_, "<html><body>Internal error</body></html>", 500, "text/html");
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_FALSE(WasDelivered());
    EXPECT_NE(ErrorLog().find(TextToAnsi(BadRecordMessage())), std::string::npos);
    EXPECT_TRUE(lines_.empty());
}

TEST_F(ExportEngineTest, AManualFetchNeedsABibId) {
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"";
    engine.Command1_Click();
    engine.Form().txtBibId.Text = u"-4";
    engine.Command1_Click();
    EXPECT_EQ(StatusMessages(),
              (std::vector<std::u16string>{u"Ingen aktiv post!", u"Ingen aktiv post!"}));
    EXPECT_TRUE(lines_[0].IsError);
    EXPECT_TRUE(ExportRequests().empty());

    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), SampleReply());
}

TEST_F(ExportEngineTest, StartUpFallsBackToTheLocalRequestTableWhenTheServerIsDown) {
    {
        SampleExportServer gone(test::SourceDir() / "data");
        gone.Start();
        WriteBytes(home_ / "export.url",
                   "[InternetShortcut]\r\nURL=" + gone.Address("/config") + "\r\n");
    }
    WriteBytes(home_ / "ConfigURL.TXT", server_.RequestTable());
    ExportEngine& engine = StartUp();
    EXPECT_TRUE(engine.ServerNotice().empty());
    EXPECT_EQ(engine.UrlConfig().Item(u"baseURL")->Value, Utf8ToText(server_.Address("/export?")));
    EXPECT_EQ(server_.Requests().size(), 0U);
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), SampleReply());
}

TEST_F(ExportEngineTest, TheRequestCarriesTheStoredOptions) {
    settings_->StoreSetting(SettingKey::Holdtype, u"none");
    settings_->StoreSetting(SettingKey::String003, u"SE-TESL");
    settings_->StoreSetting(SettingKey::Charset, u"UTF-8");
    settings_->StoreSetting(SettingKey::Compose, u"compose");
    settings_->StoreSetting(SettingKey::Libraries, u"Tes Tesm");
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    EXPECT_EQ(engine.BuildRequest(),
              Utf8ToText(server_.Address("/export?f003=SE-TESL&bibid=12515882&auth=interleaved&"
                                         "holdings=none&charset=utf-8&compose=nfc&locations=Tes+"
                                         "Tesm")));
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), server_.ExportReply(bibId_, "none"));
}

TEST_F(ExportEngineTest, AnOldSettingsFileInWindows1252IsMigratedOnce) {
    const std::string old =
        "Sigler=Tes,Tesm\r\n\xC4mnesord=sao=Tes\r\nTecken=UTF8/FORMD\r\n"
        "Rensa=1\r\nVoyagerFil=/old/work.fil\r\n";
    std::filesystem::remove(home_ / "cat.ini");
    WriteBytes(home_ / "Config.TXT", old);
    ExportEngine& engine = StartUp();
    EXPECT_EQ(settings_->Setting(SettingKey::Libraries), u"Tes Tesm");
    EXPECT_EQ(settings_->Setting(SettingKey::Subjects), u"Tes:sao");
    EXPECT_EQ(settings_->Setting(SettingKey::Clear), u"Yes");
    EXPECT_EQ(engine.Form().cmbChars.Text(), u"UTF-8 Dekomponerad");
    EXPECT_EQ(engine.Form().TxtFile.Text, u"/old/work.fil");
    EXPECT_EQ(engine.Form().ChkClear.Value, 1);
    EXPECT_FALSE(std::filesystem::exists(home_ / "Config.TXT"));
    EXPECT_EQ(ReadBytes(home_ / "config_old.TXT"), old);
    EXPECT_TRUE(messages_.empty());

    // A second old file cannot be moved aside: copied again, and the user is told.
    WriteBytes(home_ / "Config.TXT", "Sigler=Abc\r\nVoyagerFil=/old/work.fil\r\n");
    engine.LoadConfig();
    EXPECT_EQ(settings_->Setting(SettingKey::Libraries), u"Abc");
    EXPECT_TRUE(std::filesystem::exists(home_ / "Config.TXT"));
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_EQ(messages_[0].first, u"Fel vid namnändring");
    EXPECT_EQ(messages_[0].second.rfind(u"TESSELEX  använder inte längre filen " +
                                            PathToText(home_ / "Config.TXT") + u". Första",
                                        0),
              0U);
    EXPECT_TRUE(messages_[0].second.ends_with(
        u"\r\n\r\nTa i så fall manuellt bort såväl " + PathToText(home_ / "Config.TXT") + u" som " +
        PathToText(home_ / "config_old.TXT") +
        u" från datorn efter att du kört TESSEL EX en gång. "));
}

TEST_F(ExportEngineTest, AMissingWorkfileNameIsReported) {
    std::filesystem::remove(home_ / "cat.ini");
    StartUp();
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_EQ(messages_[0].first, u"TESSEL Export");
    EXPECT_EQ(messages_[0].second,
              u"Du måste ange ett filnamn i Voyager "
              u"Cataloging->Options->Preferences->Files/Folders->Workfiles Hldg");
}

TEST_F(ExportEngineTest, StartUpFillsTheFormFromTheSettings) {
    settings_->StoreSetting(SettingKey::ISBNDehyphenate, u"Yes");
    settings_->StoreSetting(SettingKey::Authtype, u"after");
    settings_->StoreSetting(SettingKey::LastBibId, u"77");
    settings_->StoreSetting(SettingKey::FTPDirectory, u"  /in  ");
    ExportEngine& engine = StartUp();
    EXPECT_EQ(engine.Form().ChkISBN.Value, 1);
    EXPECT_EQ(engine.Form().Chk035.Value, 0);
    EXPECT_EQ(engine.Form().cmbAuth.ListIndex, 1);
    EXPECT_EQ(engine.Form().txtBibId.Text, u"77");
    EXPECT_TRUE(engine.Form().Command1.Enabled);
    EXPECT_EQ(engine.Ftp().Directory, u"/in");
    // No 003 choice yet: the second entry, stored as its text.
    EXPECT_EQ(engine.Form().cmb003.ListIndex, 1);
    EXPECT_EQ(settings_->Setting(SettingKey::String003), u"TESSEL");
    EXPECT_TRUE(std::filesystem::is_directory(home_ / "Logs"));
}

TEST_F(ExportEngineTest, TheDecomposedChoiceComesBackAsComposedAfterARestart) {
    ExportEngine& engine = StartUp();
    engine.Form().cmbChars.ListIndex = 3;
    engine.cmbChars_Click();
    engine.Form().cmb003.ListIndex = 0;
    engine.cmb003_Click();
    ExportEngine& again = StartUp();
    EXPECT_EQ(again.Form().cmbChars.Text(), u"UTF-8 Prekomponerad");
    EXPECT_EQ(again.Form().cmb003.ListIndex, 0);
}

TEST_F(ExportEngineTest, OptionEventsStoreTheirSettings) {
    ExportEngine& engine = StartUp();
    engine.Form().Chk035.Value = 1;
    engine.Chk035_Click();
    engine.Form().cmbHold.ListIndex = 2;
    engine.cmbHold_Click();
    engine.Form().TxtSigler.Text = u"Tes";
    engine.TxtSigler_Change();
    engine.SubjectsChosen(u"");
    engine.SubjectsChosen(u"Tes:sao");
    engine.ArkivLoggaFel_Click();
    engine.Form().txtBibId.Text = u"";
    engine.txtBibId_Change();
    EXPECT_FALSE(engine.Form().Command1.Enabled);
    engine.Form().txtBibId.Text = u"5";
    engine.txtBibId_Change();
    EXPECT_TRUE(engine.Form().Command1.Enabled);
    EXPECT_EQ(settings_->Setting(SettingKey::Change035), u"Yes");
    EXPECT_EQ(settings_->Setting(SettingKey::Holdtype), u"none");
    EXPECT_EQ(settings_->Setting(SettingKey::Libraries), u"Tes");
    EXPECT_EQ(settings_->Setting(SettingKey::Subjects), u"Tes:sao");
    EXPECT_EQ(settings_->Setting(SettingKey::LogErrors), u"Yes");
    EXPECT_TRUE(engine.Log().LogErrors());
    ASSERT_EQ(settings_->StoredSettings().size(), 7U) << "one key per setting, whatever its case";
}

TEST_F(ExportEngineTest, SaveConfigWritesTheOldFileAfterAskingAndStartsAgain) {
    settings_->StoreSetting(SettingKey::Libraries, u"Tes Åbo");
    ExportEngine& engine = StartUp();
    WriteBytes(home_ / "Config.TXT", "old");
    engine.SaveConfig();  // no question seam: the headless default answers yes
    EXPECT_EQ(ReadBytes(home_ / "Config.BAK"), "old");
    // Start-up ran again and moved the new file aside as an old one.
    const std::string written = ReadBytes(home_ / "config_old.TXT");
    EXPECT_EQ(written.rfind("Sigler=Tes \xC5"
                            "bo\r\n\xC4mnesord=\r\nTecken=LATIN1\r\n",
                            0),
              0U);
    EXPECT_NE(written.find("\r\n[FTP]\r\nServer=\r\nAnv\xE4ndare=\r\n"), std::string::npos);
    ASSERT_FALSE(messages_.empty());
    EXPECT_EQ(messages_[0].second, u"Ändringar sparade.");
}

TEST_F(ExportEngineTest, SaveConfigAnsweredNoChangesNothing) {
    EngineSeams seams;
    seams.AskYesNo = [](const std::u16string& question) {
        EXPECT_EQ(question, u"Spara ändringar?");
        return false;
    };
    ExportEngine engine(*settings_, seams);
    engine.SaveConfig();
    EXPECT_FALSE(std::filesystem::exists(home_ / "Config.TXT"));
    EXPECT_TRUE(messages_.empty());
}

TEST_F(ExportEngineTest, UtfChoicesDecodeTheDisplayedRecordsFromUtf8) {
    const std::string utf8Record = test::BuildRecord({{"001", "1001"},
                                                      {"245",
                                                       "10\x1F"
                                                       "a\xC3\x85ret runt"}},
                                                     'a');
    server_.SetReply("1001", utf8Record);
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"1001";
    for (const int charset : {0, 2}) {
        engine.Form().cmbChars.ListIndex = charset;
        engine.Command1_Click();
        ASSERT_EQ(engine.DisplayRows().size(), 3U);
        const DisplayField& title = engine.DisplayRows()[2];
        EXPECT_EQ(title.Tag, u"245");
        EXPECT_EQ(title.Indicator1, u"1");
        EXPECT_EQ(title.Indicator2, u"0");
        EXPECT_NE(title.Value.find(charset == 0 ? u"\u00C3\u2026ret" : u"Året"),
                  std::u16string::npos);
    }
    // The bytes are delivered as sent, whatever the display made of them.
    EXPECT_EQ(Delivered(), utf8Record + utf8Record);
}

TEST_F(ExportEngineTest, ANewServerAddressIsWrittenAndUsedAtOnce) {
    std::filesystem::remove(home_ / "export.url");
    ExportEngine& engine = StartUp();
    EXPECT_TRUE(engine.UrlConfig().Item(u"baseURL")->Value.empty());
    engine.ServerAddressChosen(Utf8ToText(server_.Address("/config")));
    EXPECT_EQ(engine.UrlConfig().Item(u"baseURL")->Value, Utf8ToText(server_.Address("/export?")));
    EXPECT_EQ(ReadBytes(home_ / "export.url"),
              "[InternetShortcut]\r\nURL=" + server_.Address("/config") + "\r\n");
}

class ExportEngineFtpTest : public ExportEngineTest {
  protected:
    void SetUp() override {
        ExportEngineTest::SetUp();
        settings_->StoreSetting(SettingKey::FTPServer, ftp_.ServerText());
        settings_->StoreSetting(SettingKey::FTPUser, ftp_.UserText());
        settings_->StoreSetting(SettingKey::FTPPassword, ftp_.PasswordText());
        settings_->StoreSetting(SettingKey::FTPFilename, u"export.mrc");
        settings_->StoreSetting(SettingKey::Clear, u"No");
    }
    test::LoopbackFtpServer ftp_;
};

TEST_F(ExportEngineFtpTest, EachExportIsUploadedAlone) {
    ExportEngine& engine = StartUp();
    EXPECT_EQ(engine.Form().ChkClear.Value, 1);
    EXPECT_FALSE(engine.Form().ChkClear.Enabled);
    WriteBytes(destination_, "left over from yesterday");
    WriteWorkfile(test::HoldingsRecord(bibId_));
    engine.Timer1_Timer();
    EXPECT_EQ(Delivered(), SampleReply());
    EXPECT_EQ(ReadBytes(ftp_.Root() / "export.mrc"), SampleReply());
    EXPECT_EQ(StatusMessages().back(), u"Skickat post #12515882 till " + ftp_.ServerText());

    // Clearing the server in the FTP dialog gives the option back, ticked as stored.
    engine.FtpSettingsChosen({});
    EXPECT_TRUE(engine.Form().ChkClear.Enabled);
    EXPECT_EQ(engine.Form().ChkClear.Value, 0);
    EXPECT_FALSE(engine.ClearFlag());
}

TEST_F(ExportEngineFtpTest, ARefusedLoginLeavesTheDeliveredFile) {
    settings_->StoreSetting(SettingKey::FTPPassword, u"wrong");
    settings_->StoreSetting(SettingKey::LogErrors, u"Yes");
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_EQ(Delivered(), SampleReply());
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[1].Message, u"Kunde inte ansluta med FTP till " + ftp_.ServerText());
    EXPECT_TRUE(lines_[1].IsError);
    EXPECT_NE(ErrorLog().find(": Kunde inte ansluta med FTP till "), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(ftp_.Root()));
}

TEST_F(ExportEngineFtpTest, AnUnwritableDestinationStopsBeforeFtp) {
    settings_->StoreSetting(SettingKey::Destination, PathToText(dir_ / "missing" / "out.mrc"));
    ExportEngine& engine = StartUp();
    engine.Form().txtBibId.Text = u"12515882";
    engine.Command1_Click();
    EXPECT_TRUE(std::filesystem::is_empty(ftp_.Root()));
    EXPECT_FALSE(std::filesystem::exists(dir_ / "missing"));
    EXPECT_TRUE(lines_.empty());
}

}  // namespace
}  // namespace tesselex
