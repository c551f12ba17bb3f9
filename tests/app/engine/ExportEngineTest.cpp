#include "app/engine/ExportEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "app/engine/EngineMessages.h"
#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Utf.h"
#include "marc/RecordReader.h"
#include "tests/app/engine/EngineFixture.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;
using test::WriteBytes;

class ExportEngineTest : public test::EngineFixture {
  protected:
    std::size_t BadRecordLines() const {
        return test::Occurrences(ReadLog(true), ": " + TextToAnsi(BadRecordMessage()) + "\r\n");
    }
};

TEST_F(ExportEngineTest, AWorkfileBecomesADeliveredFileInReplyOrder) {
    EngineSeams seams;
    seams.DisplayConfig = PathToText(test::SourceDir() / "data" / "display" / "Display.cfg");
    ExportEngine& engine = StartUp(std::move(seams));
    EXPECT_EQ(engine.State().Workfile, PathToText(workfile_));
    test::PlaceFile(workfile_, ReadBytes(test::SourceDir() / "data" / "sample-workfile.mrc"));
    states_.clear();

    engine.Poll();

    EXPECT_FALSE(std::filesystem::exists(workfile_));
    // One bibliographic record and its two holdings records, in one append, as sent.
    EXPECT_EQ(Delivered(), SampleReply());
    ASSERT_EQ(ExportRequests().size(), 1U);
    EXPECT_EQ(settings_->Setting(SettingKey::LastBibId), u"12515882");
    EXPECT_EQ(lines_.size(), 1U) << "the delivery's";
    // The front end saw the bib id while the server was asked, then the export's end.
    ASSERT_EQ(states_.size(), 2U);
    EXPECT_TRUE(states_[0].Busy);
    EXPECT_EQ(states_[0].BibId, u"12515882");
    EXPECT_FALSE(states_[1].Busy);
    EXPECT_TRUE(states_[1].CanExport);
    EXPECT_EQ(engine.State(), states_[1]);
    // The report holds each record's bytes, grid rows and readable view, in reply order.
    ASSERT_EQ(reports_.size(), 1U);
    const ExportReport& report = reports_[0];
    EXPECT_TRUE(report.Delivered());
    EXPECT_TRUE(report.Failures.empty());
    EXPECT_EQ(report.SavedTo, PathToText(destination_));
    EXPECT_EQ(report.Request, Utf8ToText(server_.Address(ExportRequests()[0])));
    ASSERT_EQ(report.Records.size(), 3U);
    const KeptRecord& last = report.Records[2];
    EXPECT_TRUE(SampleReply().ends_with(TextToAnsi(last.Bytes)));
    EXPECT_EQ(last.Rows.front().Tag, u"000");
    EXPECT_NE(last.Html.find(u"<"), std::u16string::npos);
}

TEST_F(ExportEngineTest, AWorkfileStillBeingWrittenWaitsUntilCompleteOrFiveSecondsStill) {
    now_ = {2024, 5, 7, 23, 59, 58};  // the wait runs over midnight
    StartUp();
    const std::string record = test::HoldingsRecord(bibId_);

    // Written in two halves with a pause: the first half is left alone, the whole taken at once.
    WriteBytes(workfile_, record.substr(0, record.size() / 2));
    PollAfter(0);
    PollAfter(4);
    EXPECT_TRUE(std::filesystem::exists(workfile_)) << "the size changed less than 5 s ago";
    EXPECT_EQ(ExportRequests().size(), 0U);
    WriteBytes(workfile_, record);
    PollAfter(1);
    EXPECT_FALSE(std::filesystem::exists(workfile_));
    EXPECT_EQ(ExportRequests().size(), 1U);

    // An incomplete record that stops growing is taken as it is after 5 s.
    WriteBytes(workfile_, record.substr(0, record.size() - 1));
    PollAfter(0);
    PollAfter(4);
    EXPECT_TRUE(std::filesystem::exists(workfile_));
    PollAfter(1);
    EXPECT_FALSE(std::filesystem::exists(workfile_));
}

TEST_F(ExportEngineTest, AWorkfileWithoutAUsableBibIdIsDeletedAndTriggersNoFetch) {
    ExportEngine& engine = StartUp();
    // An incomplete workfile is taken once its size has stood still for 5 s.
    const auto poll = [this] {
        PollAfter(0);
        PollAfter(60);
    };
    // The working record now holds a holdings record linked to the sample: none of the files
    // below may bring that link back.
    engine_->Export(u"12515882");
    const std::string holdings = test::HoldingsRecord(bibId_);
    std::string huge;
    while (huge.size() < (std::size_t{32} << 20)) {
        huge += "garbage without any structure ";
    }
    for (const std::string& contents :
         {test::HoldingsRecord("0"), test::HoldingsRecord("000"), test::HoldingsRecord("abc"),
          test::HoldingsRecord("-12"), test::HoldingsRecord(""), std::string(),
          holdings.substr(0, 30), huge}) {
        SCOPED_TRACE(contents.substr(0, 40));
        test::PlaceFile(workfile_, contents);
        poll();
        EXPECT_FALSE(std::filesystem::exists(workfile_));
        EXPECT_FALSE(engine.State().Busy);
    }
    EXPECT_EQ(ExportRequests().size(), 1U);
    // Cut inside its data, with the directory and the 004 intact, a workfile still counts.
    test::PlaceFile(workfile_, holdings.substr(0, holdings.size() - 4));
    poll();
    EXPECT_EQ(ExportRequests().size(), 2U);
}

TEST_F(ExportEngineTest, AWorkfileThatCannotBeDeletedIsExportedOnceUntilItChanges) {
    EngineSeams seams;
    seams.RemoveFile = [](const std::filesystem::path&, std::error_code& ec) {
        ec = std::make_error_code(std::errc::permission_denied);
        return false;
    };
    ExportEngine& engine = StartUp(std::move(seams));
    const std::u16string notRemoved = u"Arbetsfilen " + PathToText(workfile_) +
                                      u" kunde inte tas bort: Permission denied. Den exporteras "
                                      u"inte igen förrän den ändras.";
    const std::string changed = test::BuildRecord({{"004", bibId_}});  // its 852 gone
    for (const std::string& contents : {test::HoldingsRecord(bibId_), changed}) {
        test::PlaceFile(workfile_, contents);
        for (int poll = 0; poll < 3; ++poll) {
            engine.Poll();
        }
    }
    EXPECT_EQ(ExportRequests().size(), 2U) << "once per content";
    EXPECT_EQ(Delivered(), SampleReply() + SampleReply());
    ASSERT_EQ(lines_.size(), 4U);
    EXPECT_EQ(lines_[0].Text, notRemoved);
    EXPECT_TRUE(lines_[0].IsError());
    EXPECT_EQ(lines_[2].Text, notRemoved);
    EXPECT_FALSE(engine.State().Busy);
}

// Each failed export is one error line (status and log) and a fault in its report; only good
// records are delivered, and the bib id stays for a retry.
TEST_F(ExportEngineTest, FailedExportsSayWhyAndDeliverOnlyGoodRecords) {
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::LogErrors, u"Yes").Ok());
    const std::string good = SampleReply("none");
    std::string huge(std::size_t{50} << 20, 'x');
    huge.replace(0, 5, "00042");
    const std::vector<ReplyRecord> records = SplitReply(AnsiToText(SampleReply()));
    std::string broken = TextToAnsi(records[1].Bytes);
    broken.erase(30, 1);  // the leader's length is now off by one
    const std::string outer = TextToAnsi(records[0].Bytes + records[2].Bytes);
    const std::string neighbours =
        outer.substr(0, records[0].Bytes.size()) + broken + outer.substr(records[0].Bytes.size());
    const std::u16string noRecord =
        u"Post #12515882 kunde inte hämtas: svaret innehöll ingen korrekt post.";
    const struct {
        const char* Name;
        std::string Reply;
        int Status;
        std::string Delivered;  // appended by this reply
        std::size_t BadLines;
        std::u16string Error;  // the error status line, "" for a delivery
        FaultKind Kind;        // the report's last fault
    } cases[] = {
        {"a bad record between good ones", neighbours, 200, outer, 1, u"", FaultKind::BadData},
        {"50 MB after a good record", good + huge, 200, good, 1, u"", FaultKind::BadData},
        {"no final terminator", good.substr(0, good.size() - 1), 200, good, 0, u"",
         FaultKind::BadData},
        {"an HTML error page", "<html><body>Internal error</body></html>", 500, "", 1,
         u"Post #12515882 kunde inte hämtas: exportservern svarade med HTTP-status 500.",
         FaultKind::HttpStatus},
        {"text without terminator", "no records here, only text", 200, "", 1, noRecord,
         FaultKind::BadData},
        {"only bad pieces",
         "00010abc\x1D"
         "99999\x1D\x1D"
         "short\x1D",
         200, "", 3, noRecord, FaultKind::BadData},
        {"an empty reply", "", 200, "", 0,
         u"Post #12515882 kunde inte hämtas: exportservern gav ett tomt svar.",
         FaultKind::EmptyReply},
        {"no server", "", 0, "", 0,
         u"Post #12515882 kunde inte hämtas: ingen kontakt med exportservern.",
         FaultKind::NoConnection},
    };
    ExportEngine& engine = StartUp();
    const ExportReport none = engine.Export(u"-4");
    ASSERT_EQ(lines_.size(), 1U);
    EXPECT_EQ(lines_[0].Text, u"Ingen aktiv post!");
    EXPECT_TRUE(lines_[0].IsError());
    EXPECT_FALSE(none.Failures.empty());
    EXPECT_TRUE(reports_.empty()) << "nothing was exported";
    std::string delivered;
    std::size_t badLines = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        if (c.Status == 0) {
            server_.Stop();
        }
        server_.SetReply(bibId_, c.Reply, c.Status);
        lines_.clear();
        const ExportReport report = engine.Export(u"12515882");
        delivered += c.Delivered;
        badLines += c.BadLines;
        EXPECT_EQ(Delivered(), delivered);
        EXPECT_EQ(BadRecordLines(), badLines);
        EXPECT_EQ(report.Delivered(), !c.Delivered.empty());
        EXPECT_EQ(report.Failures.empty(), c.BadLines == 0 && c.Error.empty());
        if (!report.Failures.empty()) {
            EXPECT_EQ(report.Failures.back().Kind, c.Kind);
        }
        // A failure a later try may cure waits in the outbox and says when that try comes; the
        // others are the cataloguer's to see now, and wait for nothing.
        const bool waits =
            !report.Failures.empty() && !report.Delivered() && Retryable(report.Failures.back());
        EXPECT_EQ(waiting_.size(), waits ? 1U : 0U);
        ASSERT_EQ(lines_.size(), waits ? 2U : 1U);
        if (waits) {
            EXPECT_EQ(lines_[1].Text, u"Försöker igen kl. 10:00.");
            EXPECT_FALSE(lines_[1].IsError());
        }
        if (!c.Error.empty()) {
            EXPECT_EQ(lines_[0].Text, c.Error);
            EXPECT_TRUE(lines_[0].IsError());
            EXPECT_NE(ReadLog(true).find(TextToAnsi(c.Error) + "\r\n"), std::string::npos);
        }
    }
    EXPECT_NE(ReadLog(true).find("best\xE5nds-"), std::string::npos) << "logged in Windows-1252";
    EXPECT_EQ(engine.State().BibId, u"12515882");
    EXPECT_FALSE(engine.State().Busy);
}

TEST_F(ExportEngineTest, AnExportThatFailsHalfWayIsAFaultAndAnErrorLine) {
    EngineSeams seams;
    seams.Fetch = [](std::u16string_view address) -> std::u16string {
        if (address.find(u"/export") != std::u16string_view::npos) {
            throw std::runtime_error("out of memory");
        }
        return FetchUrl(address);
    };
    StartUp(std::move(seams));
    const ExportReport report = engine_->Export(u"12515882");
    ASSERT_EQ(report.Failures.size(), 1U);
    EXPECT_EQ(report.Failures[0].Reason, u"out of memory");
    ASSERT_EQ(lines_.size(), 1U);
    EXPECT_EQ(lines_[0].Text, u"Post #12515882 kunde inte exporteras: out of memory.");
    EXPECT_TRUE(lines_[0].IsError());
    EXPECT_FALSE(states_.back().Busy);
}

TEST_F(ExportEngineTest, TheRequestTableFallsBackToTheLocalFileWhileTheServerIsDown) {
    const std::string live = server_.Address("/config");
    {
        SampleExportServer gone(test::SourceDir() / "data");
        gone.Start();
        WriteBytes(home_ / "export.url",
                   "[InternetShortcut]\r\nURL=" + gone.Address("/config") + "\r\n");
    }
    WriteBytes(home_ / "ConfigURL.TXT", server_.RequestTable());
    ExportEngine& engine = StartUp();
    EXPECT_TRUE(engine.ServerNotice().empty());
    EXPECT_TRUE(server_.Requests().empty());
    engine_->Export(u"12515882");
    EXPECT_EQ(Delivered(), SampleReply());

    // The server address dialog's new address is written and used at once.
    engine.SetServerAddress(Utf8ToText(live));
    EXPECT_EQ(ReadBytes(home_ / "export.url"), "[InternetShortcut]\r\nURL=" + live + "\r\n");
    EXPECT_EQ(engine.ServerNotice(), Utf8ToText(server_.RequestTable()));
}

TEST_F(ExportEngineTest, SavesMadeBeforeTheServerCouldBeReachedGoOnceItIsBackWithoutARestart) {
    const int port = server_.Port();
    const auto save = [this](const std::string& id) {
        server_.SetReply(id, test::BuildRecord({{"001", id}}));
        test::PlaceFile(workfile_, test::HoldingsRecord(id));
        PollAfter(1);
    };
    server_.Stop();
    StartUp();
    ASSERT_FALSE(lines_.empty());
    const std::u16string& noTable = lines_.back().Text;  // with the transport's reason
    EXPECT_TRUE(noTable.starts_with(u"Frågetabellen kunde inte hämtas från " +
                                    Utf8ToText(server_.Address("/config")) + u" (") &&
                noTable.ends_with(u"); exporterna väntar och tabellen hämtas igen."))
        << TextToUtf8(noTable);
    for (const std::string id : {"300001", "300002", "300003"}) {
        save(id);
    }
    ASSERT_EQ(waiting_.size(), 3U);
    EXPECT_EQ(waiting_[0].Attempts, 0) << "no request is built without a request table";
    server_.Start(port);
    for (int second = 0; second < 400 && !waiting_.empty(); ++second) {
        PollAfter(1);
    }
    EXPECT_TRUE(waiting_.empty());
    std::string expected;
    for (const std::string id : {"300001", "300002", "300003"}) {
        expected += test::BuildRecord({{"001", id}});
    }
    EXPECT_EQ(Delivered(), expected) << "once each, in the order saved";

    // The table is kept: the next start-up without the server builds its requests from it.
    server_.Stop();
    engine_.reset();
    StartUp();
    EXPECT_TRUE(lines_.back().Text.starts_with(u"Exportservern svarade inte; frågetabellen"));
    save("300004");
    ASSERT_EQ(waiting_.size(), 1U);
    EXPECT_EQ(waiting_[0].Attempts, 1) << "tried at once, with the kept table";
    server_.Start(port);
    for (int second = 0; second < 400 && !waiting_.empty(); ++second) {
        PollAfter(1);
    }
    EXPECT_EQ(Delivered(), expected + test::BuildRecord({{"001", "300004"}}));
}

TEST_F(ExportEngineTest, ChosenOptionsAreStoredAndComeBackAfterARestartAndInTheRequest) {
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Libraries, u"Old").Ok());
    ExportEngine& engine = StartUp();
    // No 003 choice yet: the second entry, stored as its text.
    EXPECT_EQ(settings_->Setting(SettingKey::String003), u"TESSEL");
    const std::pair<Option, OptionValue> choices[] = {
        {Option::Change035, true},
        {Option::IsbnNoHyphens, true},
        {Option::Holdings, Placement::None},
        {Option::Authorities, Placement::After},
        {Option::Characters, Characters::Utf8Decomposed},
        {Option::Code003, Code003::SeTesl},
        {Option::Libraries, std::u16string(u"Tes Tesm")},
        {Option::Subjects, std::u16string(u"Tes:sao")},
        {Option::Subjects, std::u16string()},   // an empty choice changes nothing
        {Option::Change035, Placement::After},  // not the option's type: ignored
    };
    for (const auto& [option, value] : choices) {
        engine.SetOption(option, value);
    }
    engine.SetLogging({false, true});
    engine.SetBibId(u"");
    EXPECT_FALSE(engine.State().CanExport);
    EXPECT_EQ(states_.back(), engine.State());

    const EngineState again = StartUp().State();
    EXPECT_TRUE(again.Options.Change035 && again.Options.IsbnNoHyphens);
    EXPECT_EQ(again.Options.Charset, Characters::Utf8Composed);  // the decomposed choice
    EXPECT_EQ(again.Options.Subjects, u"Tes:sao");
    EXPECT_EQ(again.Logging, (LogChoice{false, true}));
    EXPECT_EQ(settings_->StoredSettings().size(), 11U) << "one key per setting, whatever its case";
    EXPECT_EQ(Utf8ToText(server_.Address("/export?")) +
                  u"f003=SE-TESL&bibid=1&auth=after&"
                  u"holdings=none&charset=utf-8&compose=nfc&change035=1&isbn=nohyphens&"
                  u"subjects=Tes%3Asao&locations=Tes+Tesm",
              engine_->RequestFor(u"1"));
}

TEST_F(ExportEngineTest, AnOldSettingsFileInWindows1252IsMigratedOnceAndNamesTheWorkfile) {
    const std::string old =
        "Sigler=Tes,Tesm\r\n\xC4mnesord=sao=Tes\r\nTecken=UTF8/FORMD\r\n"
        "Rensa=1\r\nVoyagerFil=/old/work.fil\r\n";
    NameClientWorkfile({});
    StartUp();
    EXPECT_EQ(messages_, (std::vector<std::pair<std::u16string, std::u16string>>{
                             {u"TESSEL Export",
                              u"Du måste ange ett filnamn i Voyager "
                              u"Cataloging->Options->Preferences->Files/"
                              u"Folders->Workfiles Hldg"}}));
    messages_.clear();

    WriteBytes(home_ / "Config.TXT", old);
    ExportEngine& engine = StartUp();  // each key's conversion: SettingsMigrationTest
    EXPECT_EQ(engine.State().Options.Charset, Characters::Utf8Decomposed);
    EXPECT_EQ(engine.State().Workfile, u"/old/work.fil");
    EXPECT_TRUE(engine.State().Options.OneAtATime);
    EXPECT_FALSE(std::filesystem::exists(home_ / "Config.TXT"));
    EXPECT_EQ(ReadBytes(home_ / "config_old.TXT"), old);
    EXPECT_TRUE(messages_.empty());

    // A second old file cannot be moved aside: copied again, and the user is told.
    WriteBytes(home_ / "Config.TXT", "Sigler=Abc\r\nVoyagerFil=/old/work.fil\r\n");
    engine.Start();
    EXPECT_EQ(settings_->Setting(SettingKey::Libraries), u"Abc");
    EXPECT_TRUE(std::filesystem::exists(home_ / "Config.TXT"));
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_EQ(messages_[0].first, u"Fel vid namnändring");
    const std::u16string config = PathToText(home_ / "Config.TXT");
    EXPECT_TRUE(messages_[0].second.starts_with(u"TESSELEX  använder inte längre filen " + config +
                                                u". Första"));
    EXPECT_TRUE(
        messages_[0].second.ends_with(u"\r\n\r\nTa i så fall manuellt bort såväl " + config +
                                      u" som " + PathToText(home_ / "config_old.TXT") +
                                      u" från datorn efter att du kört TESSEL EX en gång. "));
}

TEST_F(ExportEngineTest, SaveConfigWritesTheOldFileThatTheNextStartUpReadsBackUnchanged) {
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Libraries, u"Tes Åbo").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Subjects, u"B:sao ; A:sao,lcsh").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Holdtype, u"none").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Charset, u"UTF-8").Ok());
    EXPECT_TRUE(settings_->StoreSetting(SettingKey::Compose, u"decompose").Ok());
    EngineSeams answersNo;
    answersNo.Ask.AskYesNo = [](const std::u16string& question) {
        return question != u"Spara ändringar?";
    };
    ExportEngine(*settings_, answersNo).SaveOldSettings();
    EXPECT_FALSE(std::filesystem::exists(home_ / "Config.TXT"));
    EXPECT_TRUE(messages_.empty());

    ExportEngine& engine = StartUp();
    // An old file named in other letters is the one replaced, not left beside the new one.
    WriteBytes(home_ / "config.txt", "Sigler=Old\r\n");

    engine.SaveOldSettings();  // no question seam: the headless default answers yes

    EXPECT_EQ(ReadBytes(home_ / "Config.BAK"), "Sigler=Old\r\n");
    // Start-up ran again, copied the new file and moved it aside.
    const std::string written = ReadBytes(home_ / "config_old.TXT");
    EXPECT_TRUE(
        written.starts_with("Sigler=Tes \xC5"
                            "bo\r\n\xC4mnesord=B:sao ; A:sao,lcsh\r\n"
                            "Tecken=UTF8/FORMD\r\n"));
    EXPECT_NE(written.find("\r\n[FTP]\r\nServer=\r\nAnv\xE4ndare=\r\n"), std::string::npos);
    EXPECT_EQ(settings_->Setting(SettingKey::Libraries), u"Tes Åbo");
    EXPECT_EQ(engine.State().Options.Subjects, u"B:sao ; A:sao,lcsh");
    EXPECT_EQ(settings_->Setting(SettingKey::Holdtype), u"none");
    EXPECT_EQ(engine.State().Options.Charset, Characters::Utf8Decomposed);
    ASSERT_FALSE(messages_.empty());
    EXPECT_EQ(messages_[0].second, u"Ändringar sparade.");
}

TEST_F(ExportEngineTest, WritesThatFailLeaveTheOldFilesAndSaySo) {
    if (!test::kFileSizeLimitMissing.empty()) {
        GTEST_SKIP() << test::kFileSizeLimitMissing;
    }
    // A file-size limit of 1 KiB (disk full, quota) in a child process cuts each write short.
    ExportEngine& engine = StartUp();
    WriteBytes(home_ / "Config.TXT", "Sigler=Old\r\n");
    WriteBytes(home_ / "Config.BAK", "Sigler=Older\r\n");
    const auto before = [this] {
        std::vector<std::pair<std::filesystem::path, std::string>> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir_.Path())) {
            // A lock file names its last holder, a child process here.
            if (entry.is_regular_file() && entry.path().extension() != ".lock") {
                files.emplace_back(entry.path(), ReadBytes(entry.path()));
            }
        }
        std::sort(files.begin(), files.end());
        return files;
    };
    const auto files = before();
    ASSERT_LT(ReadBytes(dir_ / "settings.ini").size(), 1024U);

    EXPECT_TRUE(test::RunWithFileSizeLimit(1024, [&] {
        engine.SetOption(Option::Libraries, std::u16string(3000, u'x'));
        const std::u16string big(3000, u's');
        engine.SetFtp({big, big, big, big, big, big, big});
        const std::u16string failed =
            u"Inställningarna kunde inte sparas till " + PathToText(dir_ / "settings.ini") + u".";
        return lines_.size() == 2 && lines_[0].IsError() && lines_[0].Text == failed &&
               lines_[1].Text == failed;
    })) << "the settings, one line for each event";
    EXPECT_TRUE(test::RunWithFileSizeLimit(1024, [&] {
        engine.SetOption(Option::Libraries, std::u16string(3000, u'x'));
        engine.SaveOldSettings();
        return messages_.size() == 1 &&
               messages_[0].second == u"Ändringarna kunde inte sparas i " +
                                          PathToText(home_ / "Config.TXT") + u": File too large.";
    })) << "the old-style settings file";
    WriteBytes(home_ / "Config.TXT", "Sigler=" + std::string(3000, 'x') + "\r\n");
    EXPECT_TRUE(test::RunWithFileSizeLimit(1024, [&] {
        lines_.clear();
        engine.Start();
        return lines_.size() == 1 && lines_[0].Text.starts_with(u"Inställningarna kunde inte");
    })) << "the old settings file's copy";
    EXPECT_FALSE(std::filesystem::exists(home_ / "config_old.TXT")) << "copied again next time";
    WriteBytes(home_ / "Config.TXT", "Sigler=Old\r\n");
    EXPECT_EQ(before(), files) << "every file as it was, nothing left beside them";
    EXPECT_EQ(ReadBytes(home_ / "Config.TXT"), "Sigler=Old\r\n");
    EXPECT_EQ(ReadBytes(home_ / "Config.BAK"), "Sigler=Older\r\n");
    EXPECT_FALSE(std::filesystem::exists(home_ / "Config.TXT.part"));

    // Nor is Config.TXT replaced when it cannot become the backup.
    std::filesystem::remove(home_ / "Config.BAK");
    std::filesystem::create_directories(home_ / "Config.BAK" / "x");
    messages_.clear();
    engine.SaveOldSettings();
    ASSERT_EQ(messages_.size(), 1U);
    EXPECT_EQ(messages_[0].second, u"Ändringarna kunde inte sparas i " +
                                       PathToText(home_ / "Config.TXT") + u": Is a directory.");
    EXPECT_EQ(ReadBytes(home_ / "Config.TXT"), "Sigler=Old\r\n");

    // The server address cannot be written where a folder is in the way.
    std::filesystem::create_directory(home_ / "export.url.part");
    const std::string address = ReadBytes(home_ / "export.url");
    engine.SetServerAddress(u"http://127.0.0.1:1/elsewhere");
    ASSERT_FALSE(lines_.empty());
    EXPECT_EQ(lines_.back().Text, u"Serveradressen kunde inte sparas till " +
                                         PathToText(home_ / "export.url") + u": Is a directory.");
    EXPECT_EQ(ReadBytes(home_ / "export.url"), address);

    // Nor can the logs be kept where a file is in the way: said once, at start-up.
    std::filesystem::remove_all(home_ / "Logs");
    WriteBytes(home_ / "Logs", "");
    engine.Start();
    EXPECT_EQ(lines_.back().Text, u"Loggmappen " + PathToText(home_ / "Logs") +
                                         u" kunde inte skapas: Not a directory.");
    EXPECT_TRUE(lines_.back().IsError());
}

TEST_F(ExportEngineTest, UtfChoicesDecodeTheDisplayedRecordsFromUtf8) {
    const std::string utf8Record = test::BuildRecord({{"001", "1001"},
                                                      {"245",
                                                       "10\x1F"
                                                       "a\xC3\x85ret runt"}},
                                                     'a');
    server_.SetReply("1001", utf8Record);
    ExportEngine& engine = StartUp();
    for (const Characters charset : {Characters::Latin1, Characters::Utf8Composed}) {
        engine.SetOption(Option::Characters, charset);
        engine.Export(u"1001");
        const std::vector<DisplayField>& rows = reports_.back().Records.at(0).Rows;
        ASSERT_EQ(rows.size(), 3U);
        const DisplayField& title = rows[2];
        EXPECT_EQ(title.Tag + title.Indicator1 + title.Indicator2, u"24510");
        EXPECT_NE(title.Value.find(charset == Characters::Latin1 ? u"\u00C3\u2026ret" : u"Året"),
                  std::u16string::npos);
    }
    // The bytes are delivered as sent, whatever the display made of them.
    EXPECT_EQ(Delivered(), utf8Record + utf8Record);
}

class ExportEngineFtpTest : public ExportEngineTest {
  protected:
    void SetUp() override {
        ExportEngineTest::SetUp();
        const std::pair<SettingKey, std::u16string> settings[] = {
            {SettingKey::FTPServer, ftp_.ServerText()},
            {SettingKey::FTPUser, ftp_.UserText()},
            {SettingKey::FTPPassword, ftp_.PasswordText()},
            {SettingKey::FTPDirectory, u"  ./  "},  // trimmed when read
            {SettingKey::FTPFilename, u"export.mrc"},
            {SettingKey::Clear, u"No"},
            {SettingKey::LogErrors, u"Yes"},
            {SettingKey::Logging, u"Yes"},
        };
        for (const auto& [key, value] : settings) {
            ASSERT_TRUE(settings_->StoreSetting(key, value).Ok());
        }
    }
    test::LoopbackFtpServer ftp_{"tester", "Pw-7qZx3-hemlis"};
};

// Each export is uploaded alone; a failed save uploads nothing, a refused login keeps the file
// and the export waits for the cataloguer.
// No password reaches a status line or a log.
TEST_F(ExportEngineFtpTest, EachExportIsUploadedAloneAfterASuccessfulSave) {
    ExportEngine& engine = StartUp();
    const ExportOptions& options = engine.State().Options;
    EXPECT_TRUE(options.OneAtATime && options.OneAtATimeLocked);
    EXPECT_EQ(options.LockedReason,
              u"Denna inställning kan endast göras om FTP inte används. Vid vidarebefordran med "
              u"FTP skickas alltid en post i taget.");
    engine.SetOption(Option::OneAtATime, false);
    EXPECT_TRUE(options.OneAtATime) << "locked";
    WriteBytes(destination_, "left over from yesterday");
    test::PlaceFile(workfile_, test::HoldingsRecord(bibId_));
    engine.Poll();
    EXPECT_EQ(Delivered(), SampleReply());
    EXPECT_EQ(ReadBytes(ftp_.Root() / "export.mrc"), SampleReply());
    ASSERT_EQ(reports_.size(), 1U);
    EXPECT_TRUE(reports_[0].Upload.has_value() && reports_[0].Delivered());

    engine.SetOption(Option::Destination, PathToText(dir_ / "missing" / "out.mrc"));
    const ExportReport failed = engine.Export(u"12515882");
    EXPECT_FALSE(failed.Upload.has_value()) << "the failed save only, no upload";
    ASSERT_EQ(failed.Failures.size(), 1U);
    EXPECT_EQ(failed.Failures[0].Kind, FaultKind::FileSystem);
    ASSERT_GE(lines_.size(), 2U);
    const StatusLine& notSaved = lines_[lines_.size() - 2];
    EXPECT_TRUE(notSaved.IsError());
    EXPECT_TRUE(notSaved.Text.starts_with(u"Post #12515882 kunde inte sparas till " +
                                          PathToText(dir_ / "missing" / "out.mrc") + u": "));
    EXPECT_TRUE(lines_.back().Text.starts_with(u"Post #12515882 väntar tills inställningarna"))
        << "a destination that cannot be written keeps the export waiting";
    ASSERT_TRUE(engine.DropWaiting(u"12515882").Ok());

    engine.SetOption(Option::Destination, PathToText(destination_));
    std::filesystem::remove(ftp_.Root() / "export.mrc");
    engine.SetFtp({ftp_.ServerText(), ftp_.UserText(), u"wrong", u"", u"export.mrc"});
    lines_.clear();
    const ExportReport refused = engine.Export(u"12515882");
    EXPECT_EQ(refused.Upload->Kind(), FaultKind::Refused) << "a log-in the server refused";
    EXPECT_EQ(Delivered(), SampleReply());
    ASSERT_EQ(lines_.size(), 3U);
    EXPECT_EQ(lines_[2].Text, u"Post #12515882 väntar tills inställningarna är rättade och du "
                              u"väljer Försök nu i Väntande exporter.")
        << "no retry cures a refused log-in";
    EXPECT_TRUE(waiting_.at(0).Saved && waiting_.at(0).Failed) << "not fetched again, not dropped";
    EXPECT_TRUE(lines_[1].Text.starts_with(u"Kunde inte ansluta med FTP till " +
                                              ftp_.ServerText() + u": "));
    EXPECT_TRUE(lines_[1].Text.ends_with(u"530."));
    EXPECT_TRUE(lines_[1].IsError());
    EXPECT_NE(ReadLog(true).find(": Kunde inte ansluta med FTP till "), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(ftp_.Root()));
    std::string seen = ReadLog(true) + ReadLog(false);  // every line, with both logs on
    for (const StatusLine& line : lines_) {
        seen += TextToUtf8(FormatStatusLine(line));
    }
    EXPECT_NE(seen.find("Skickat post #12515882"), std::string::npos);
    for (const char* password : {"Pw-7qZx3-hemlis", "wrong"}) {
        EXPECT_EQ(seen.find(password), std::string::npos) << seen;
    }

    // Clearing the server in the FTP dialog gives the option back, ticked as stored.
    engine.SetFtp({});
    EXPECT_FALSE(options.OneAtATimeLocked || options.OneAtATime);
    EXPECT_TRUE(options.LockedReason.empty());

    // A restart keeps the waiting export as saved: only its upload is due.
    StartUp().Poll();
    EXPECT_TRUE(engine_->Waiting().at(0).Saved);
}

}  // namespace
}  // namespace tesselex
