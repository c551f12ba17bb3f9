// Where the FTP password is kept (app/engine/FtpPassword.h), through the engine as the window
// and tesselex-cli use it, with a credential store in memory that can be made to fail: an old
// password moves out of the settings only once the store gives it back (and the old-style
// Config.TXT save does not copy it out again), an upload takes it from the store (asking again
// while the store does not answer), the FTP dialog's password goes where it is kept, and where
// no store answers the settings keep it and a status line says so.

#include "app/engine/FtpPassword.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>

#include "app/engine/CredentialStore.h"
#include "app/engine/EngineMessages.h"
#include "app/engine/Settings.h"
#include "config/Utf.h"
#include "tests/app/engine/EngineFixture.h"
#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;

// A credential store in memory. Down: every call fails as a store that does not answer.
// Forgetful: a write is answered as done but keeps nothing (a store that fails half way).
// Clinging: a removal is refused.
class MemoryStore final : public CredentialStore {
  public:
    Outcome<std::optional<std::u16string>> Read(std::u16string_view name) override {
        if (Down) {
            return Fault{FaultKind::NoConnection, u"no Secret Service", 0};
        }
        const auto found = Kept.find(std::u16string(name));
        return found == Kept.end() ? std::nullopt : std::optional(found->second);
    }
    Done Write(std::u16string_view name, std::u16string_view secret) override {
        if (Down) {
            return Fault{FaultKind::NoConnection, u"no Secret Service", 0};
        }
        if (!Forgetful) {
            Kept[std::u16string(name)] = secret;
        }
        return {};
    }
    Done Remove(std::u16string_view name) override {
        if (Down) {
            return Fault{FaultKind::NoConnection, u"no Secret Service", 0};
        }
        if (Clinging) {
            return Fault{FaultKind::Refused, u"removal refused", 0};
        }
        Kept.erase(std::u16string(name));
        return {};
    }

    std::map<std::u16string, std::u16string> Kept;
    bool Down = false;
    bool Forgetful = false;
    bool Clinging = false;
};

class FtpPasswordTest : public test::EngineFixture {
  protected:
    FtpPasswordTest() {
        settings_ = std::make_unique<Settings>(dir_ / "settings.ini", Policy(), store_);
    }

    // The settings file as it lies on the disk.
    std::string SettingsFile() const { return ReadBytes(dir_ / "settings.ini"); }
    // How many status lines had that text.
    std::size_t Shown(const std::u16string& text) const {
        return static_cast<std::size_t>(
            std::count_if(lines_.begin(), lines_.end(),
                          [&](const StatusLine& line) { return line.Text == text; }));
    }
    std::size_t Errors() const {
        return static_cast<std::size_t>(std::count_if(
            lines_.begin(), lines_.end(), [](const StatusLine& line) { return line.IsError(); }));
    }
    std::u16string NoStoreLine() const {
        return PasswordInSettingsMessage(settings_->FileName(),
                                         Fault{FaultKind::NoConnection, u"no Secret Service", 0});
    }

    std::shared_ptr<MemoryStore> store_ = std::make_shared<MemoryStore>();
};

TEST_F(FtpPasswordTest, AnOldPasswordLeavesTheSettingsOnlyOnceTheStoreGivesItBack) {
    // As an older version kept it: in the settings file.
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPServer, u"ftp.example:2121").Ok());
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPUser, u"anna").Ok());
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPPassword, u"hemligt").Ok());
    const std::u16string name = u"TESSELEX:ftp://anna@ftp.example:2121";

    // The store takes the password but does not give it back: the settings keep it.
    store_->Forgetful = true;
    StartUp();
    EXPECT_NE(SettingsFile().find("FTPPassword=hemligt"), std::string::npos);
    EXPECT_EQ(settings_->Setting(SettingKey::FTPPasswordStore), u"");
    EXPECT_EQ(engine_->Ftp().Password, u"hemligt");

    // The next start tries again, and the password leaves the settings file.
    store_->Forgetful = false;
    lines_.clear();
    StartUp();
    EXPECT_EQ(SettingsFile().find("hemligt"), std::string::npos) << SettingsFile();
    EXPECT_EQ(settings_->Setting(SettingKey::FTPPasswordStore), name);
    EXPECT_EQ(WhereFtpPasswordIs(*settings_), PasswordPlace::CredentialStore);
    EXPECT_EQ(store_->Kept, (std::map<std::u16string, std::u16string>{{name, u"hemligt"}}));
    EXPECT_EQ(engine_->Ftp().Password, u"hemligt");
    EXPECT_EQ(Errors(), 0U);
    // The old-style save leaves out the password the store keeps; the start-up that follows
    // copies the file back (it becomes config_old.TXT) and leaves the password where it is.
    engine_->SaveOldSettings();
    EXPECT_NE(ReadBytes(home_ / "config_old.TXT").find("\r\nL\xF6senord=\r\nKatalog="),
              std::string::npos);
    EXPECT_EQ(ReadFtpPassword(*settings_).Value(), u"hemligt");
    EXPECT_EQ(WhereFtpPasswordIs(*settings_), PasswordPlace::CredentialStore);

    // Where no store answers, the settings keep it as before, and each start says so once.
    // By hand, or an older version.
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPPassword, u"nytt").Ok());
    store_->Down = true;
    lines_.clear();
    StartUp();
    EXPECT_NE(SettingsFile().find("FTPPassword=nytt"), std::string::npos);
    EXPECT_EQ(engine_->Ftp().Password, u"nytt") << "the settings' own password is the one in force";
    EXPECT_EQ(Shown(NoStoreLine()), 1U);
    EXPECT_EQ(Errors(), 0U) << "the program works as before";
    // The settings hold it in plain text: so does the old-style save, as before.
    std::filesystem::remove(home_ / "config_old.TXT");
    engine_->SaveOldSettings();
    EXPECT_NE(ReadBytes(home_ / "config_old.TXT").find("\r\nL\xF6senord=nytt\r\n"),
              std::string::npos);
    // Once the store answers again, the newer password replaces the older one in it.
    store_->Down = false;
    StartUp();
    EXPECT_EQ(SettingsFile().find("nytt"), std::string::npos);
    EXPECT_EQ(store_->Kept, (std::map<std::u16string, std::u16string>{{name, u"nytt"}}));
}

TEST_F(FtpPasswordTest, AnUploadTakesThePasswordFromTheStoreAndAsksAgainWhileItDoesNotAnswer) {
    const test::LoopbackFtpServer ftp("tester", "Pw-7qZx3-hemlis");
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPServer, ftp.ServerText()).Ok());
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPUser, ftp.UserText()).Ok());
    ASSERT_TRUE(settings_->StoreSetting(SettingKey::FTPFilename, u"export.mrc").Ok());
    const Outcome<PasswordKept> kept = StoreFtpPassword(*settings_, ftp.PasswordText());
    ASSERT_TRUE(kept.Ok());
    EXPECT_EQ(kept.Value().Place, PasswordPlace::CredentialStore);
    EXPECT_EQ(SettingsFile().find("hemlis"), std::string::npos);

    // A keyring still locked at start-up: said in an error line, and nothing is uploaded.
    store_->Down = true;
    ExportEngine& engine = StartUp();
    const std::u16string name = u"TESSELEX:ftp://tester@" + ftp.ServerText();
    const Fault unread{
        FaultKind::NoConnection,
        u"the credential store did not give the FTP password (" + name + u"): no Secret Service",
        0};
    ASSERT_EQ(Shown(PasswordUnreadMessage(unread)), 1U);
    EXPECT_TRUE(std::find_if(lines_.begin(), lines_.end(), [&](const StatusLine& line) {
                    return line.Text == PasswordUnreadMessage(unread);
                })->IsError());
    const ExportReport waiting = engine.Export(u"12515882");
    ASSERT_TRUE(waiting.Upload.has_value());
    EXPECT_EQ(waiting.Upload->Failure().Reason, unread.Reason);
    EXPECT_EQ(Shown(FtpNotConnectedMessage(ftp.ServerText(), unread)), 1U);
    EXPECT_TRUE(std::filesystem::is_empty(ftp.Root())) << "not even the user name was sent";
    // The FTP dialog closed with Ok and its empty password row: the stored password stays.
    engine.SetFtp(engine.Ftp());
    EXPECT_EQ(settings_->Setting(SettingKey::FTPPasswordStore), name);

    // The store answers again: the waiting upload goes with its password.
    store_->Down = false;
    const Outcome<std::size_t> left = engine.RetryWaiting();
    ASSERT_TRUE(left.Ok());
    EXPECT_EQ(left.Value(), 0U);
    EXPECT_EQ(ReadBytes(ftp.Root() / "export.mrc"), SampleReply());

    // The password removed from the store by hand: no try cures that, so the export waits for
    // the cataloguer as after a refused log-in.
    store_->Kept.clear();
    EXPECT_EQ(engine.Export(u"12515882").Upload->Failure().Kind, FaultKind::Refused);
    ASSERT_EQ(waiting_.size(), 1U);
    EXPECT_TRUE(waiting_[0].Failed);
    EXPECT_EQ(Shown(WaitsForRetryMessage(u"12515882")), 1U);
}

TEST_F(FtpPasswordTest, TheDialogsPasswordGoesWhereItIsKept) {
    ExportEngine& engine = StartUp();
    FtpSettings ftp{u"ftp.example", u"anna", u"hemligt", u"", u"x.mrc"};
    engine.SetFtp(ftp);
    EXPECT_EQ(store_->Kept, (std::map<std::u16string, std::u16string>{
                                {u"TESSELEX:ftp://anna@ftp.example", u"hemligt"}}));
    EXPECT_EQ(SettingsFile().find("hemligt"), std::string::npos);

    // Another user and protocol: the password moves to their name, the older one goes.
    ftp.User = u"berit";
    ftp.Protocol = u"sftp";
    engine.SetFtp(ftp);
    EXPECT_EQ(store_->Kept, (std::map<std::u16string, std::u16string>{
                                {u"TESSELEX:sftp://berit@ftp.example", u"hemligt"}}));
    // An older copy the store will not let go is said so.
    store_->Clinging = true;
    ftp.Server = u"ftp2.example";
    lines_.clear();
    engine.SetFtp(ftp);
    EXPECT_EQ(store_->Kept.size(), 2U);
    EXPECT_EQ(settings_->Setting(SettingKey::FTPPasswordStore),
              u"TESSELEX:sftp://berit@ftp2.example");
    EXPECT_EQ(
        Shown(PasswordKeptMessage(PasswordKept{PasswordPlace::CredentialStore,
                                               Fault{FaultKind::Refused, u"removal refused", 0}},
                                  settings_->FileName())),
        1U);
    store_->Clinging = false;
    store_->Kept.erase(u"TESSELEX:sftp://berit@ftp.example");  // by hand

    // No store answers: the settings keep the new password, and a status line says so.
    store_->Down = true;
    ftp.Password = u"nytt";
    lines_.clear();
    engine.SetFtp(ftp);
    EXPECT_NE(SettingsFile().find("FTPPassword=nytt"), std::string::npos);
    EXPECT_EQ(ReadFtpPassword(*settings_).Value(), u"nytt");
    EXPECT_EQ(engine.Ftp().Password, u"nytt");
    EXPECT_EQ(Shown(NoStoreLine()), 1U);

    // An empty password is kept nowhere.
    store_->Down = false;
    ftp.Password.clear();
    engine.SetFtp(ftp);
    EXPECT_TRUE(store_->Kept.empty());
    EXPECT_EQ(WhereFtpPasswordIs(*settings_), PasswordPlace::Nowhere);
    EXPECT_EQ(SettingsFile().find("FTPPassword"), std::string::npos) << SettingsFile();
}

}  // namespace
}  // namespace tesselex
