// The system's credential store for real. On Windows the Credential Manager (under Wine in the
// cross build). Elsewhere the Secret Service of a GNOME Keyring on a D-Bus session of the test's
// own (scripts/with-keyring: the credential_store_keyring CTest entries), and where none
// answers: no D-Bus session at all, or a bus that never answers. Each case runs in a process of
// its own (tests/app/engine/CMakeLists.txt): the D-Bus library keeps its first session.

#include "app/engine/CredentialStore.h"

#include <gtest/gtest.h>

#include <QSettings>
#include <QString>
#include <cstdlib>

#include "app/engine/FtpPassword.h"
#include "app/engine/Settings.h"
#include "config/Utf.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

#ifndef _WIN32
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "tests/support/ScopedEnv.h"
#include "tests/support/export/ExportSandbox.h"
#endif

namespace tesselex {
namespace {

std::string ReasonOf(const Fault& fault) {
    return TextToUtf8(fault.Reason);
}

TEST(CredentialStoreTest, KeepsReadsReplacesAndRemovesASecretByName) {
    const std::shared_ptr<CredentialStore> store = SystemCredentialStore();
    const std::u16string name = u"TESSELEX:ftp://credential-store-test@ftp.example";
    const std::u16string secret = u"Lösen ord \"'\\ \U0001F511";
    const Done written = store->Write(name, secret);
    ASSERT_TRUE(written.Ok()) << ReasonOf(written.Failure());
    Outcome<std::optional<std::u16string>> read = store->Read(name);
    ASSERT_TRUE(read.Ok()) << ReasonOf(read.Failure());
    EXPECT_EQ(read.Value(), secret);

    ASSERT_TRUE(store->Write(name, u"annat").Ok());
    EXPECT_EQ(store->Read(name).Value(), u"annat");
    EXPECT_EQ(store->Read(name + u"2").Value(), std::nullopt) << "nothing kept under that name";

    ASSERT_TRUE(store->Remove(name).Ok());
    EXPECT_EQ(store->Read(name).Value(), std::nullopt);
    EXPECT_TRUE(store->Remove(name).Ok()) << "removing nothing is no failure";
}

#ifdef _WIN32

// The user's own settings, in the registry key the old program wrote: an old password there
// moves into the Credential Manager, and its registry value goes.
TEST(CredentialStoreTest, AnOldPasswordInTheRegistryMovesIntoTheCredentialManager) {
    Settings settings;
    ASSERT_TRUE(settings.StoreSetting(SettingKey::FTPServer, u"ftp.example"));
    ASSERT_TRUE(settings.StoreSetting(SettingKey::FTPUser, u"credential-store-test"));
    ASSERT_TRUE(settings.StoreSetting(SettingKey::FTPPassword, u"hemligt"));
    const std::u16string name = u"TESSELEX:ftp://credential-store-test@ftp.example";

    const Outcome<PasswordKept> kept = MoveFtpPasswordToStore(settings);
    ASSERT_TRUE(kept.Ok());
    EXPECT_EQ(kept.Value().Place, PasswordPlace::CredentialStore)
        << ReasonOf(kept.Value().StoreFault.value_or(Fault{}));
    const QSettings registry(QString::fromStdU16String(NativeSettingsKey(u"TESSELEX", true)),
                             QSettings::NativeFormat);
    EXPECT_FALSE(registry.contains(QStringLiteral("Settings/FTPPassword")));
    EXPECT_EQ(
        registry.value(QStringLiteral("Settings/FTPPasswordStore")).toString().toStdU16String(),
        name);
    EXPECT_EQ(SystemCredentialStore()->Read(name).Value(), u"hemligt");
    EXPECT_EQ(ReadFtpPassword(Settings()).Value(), u"hemligt");

    // Set empty, it is kept nowhere; the test's other values go too.
    EXPECT_EQ(StoreFtpPassword(settings, u"").Value().Place, PasswordPlace::Nowhere);
    EXPECT_EQ(SystemCredentialStore()->Read(name).Value(), std::nullopt);
    EXPECT_TRUE(settings.RemoveSetting(SettingKey::FTPServer));
    EXPECT_TRUE(settings.RemoveSetting(SettingKey::FTPUser));
}

#else

// The session bus the test was started on, before a sandbox names none.
const std::string kSessionBus = [] {
    const char* bus = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    return bus != nullptr ? std::string(bus) : std::string();
}();

class CredentialStoreCliTest : public ::testing::Test, protected test::ExportSandbox {
  protected:
    test::CliResult Run(const std::string& args) const { return Shell("\"$CLI\" " + args); }
    test::CliResult Shell(const std::string& script) const {
        return test::RunCliScript(script + " 2>&1");
    }
    std::string SettingsFile() const {
        return test::ReadBytes(dir_ / "config" / "TESSELEX" / "TESSELEX.conf");
    }

    test::ScopedEnv bus_{"DBUS_SESSION_BUS_ADDRESS", kSessionBus};
};

// tesselex-cli with the keyring: the password goes into it and never into the settings file,
// an old one in the settings file moves into it at the next start.
TEST_F(CredentialStoreCliTest, TheCliKeepsThePasswordInTheKeyringAndMovesAnOldOneThere) {
    ASSERT_FALSE(kSessionBus.empty()) << "run through scripts/with-keyring";
    ASSERT_EQ(Run("settings set FTPServer ftp.example").Status, 0);
    ASSERT_EQ(Run("settings set FTPUser anna").Status, 0);
    const test::CliResult set = Run("settings set FTPPassword 'hemligt åäö'");
    EXPECT_EQ(set.Status, 0);
    EXPECT_EQ(set.Out, "") << "no message: the keyring answered";
    EXPECT_EQ(SettingsFile().find("hemligt"), std::string::npos) << SettingsFile();
    EXPECT_NE(SettingsFile().find("FTPPasswordStore=TESSELEX:ftp://anna@ftp.example"),
              std::string::npos);
    EXPECT_NE(Run("settings list").Out.find("\nFTPPassword=******** (credential store)\n"),
              std::string::npos);
    EXPECT_EQ(Run("settings get FTPPassword --show-secret").Out, "hemligt åäö\n");
    const std::shared_ptr<CredentialStore> keyring = SystemCredentialStore();
    EXPECT_EQ(keyring->Read(u"TESSELEX:ftp://anna@ftp.example").Value(), u"hemligt åäö");

    // An older version's settings file holds a password in plain text: the next start moves it.
    ASSERT_TRUE(Settings(dir_ / "config" / "TESSELEX" / "TESSELEX.conf")
                    .StoreSetting(SettingKey::FTPPassword, u"gammalt")
                    .Ok());
    EXPECT_NE(Run("settings list").Out.find("\nFTPPassword=******** (settings file)\n"),
              std::string::npos);
    EXPECT_EQ(Run("request 1").Status, 0);
    EXPECT_EQ(SettingsFile().find("gammalt"), std::string::npos) << SettingsFile();
    EXPECT_EQ(keyring->Read(u"TESSELEX:ftp://anna@ftp.example").Value(), u"gammalt");
    EXPECT_EQ(Run("settings get FTPPassword --show-secret").Out, "gammalt\n");

    // The keyring out of reach (no session bus): the password is not read, and said why.
    const std::string noBus = "DBUS_SESSION_BUS_ADDRESS=unix:path=" + (dir_ / "none").string();
    const test::CliResult unread =
        Shell(noBus + " \"$CLI\" settings get FTPPassword --show-secret");
    EXPECT_EQ(unread.Status, 1);
    EXPECT_TRUE(
        unread.Out.starts_with("tesselex-cli: the credential store did not give the FTP "
                               "password (TESSELEX:ftp://anna@ftp.example): "))
        << unread.Out;
    const test::CliResult check = Shell(noBus + " \"$CLI\" ftp test");
    EXPECT_EQ(check.Status, 1);
    EXPECT_EQ(check.Out, unread.Out) << "nothing is tried without the password";

    // Set empty, it is kept nowhere.
    EXPECT_EQ(Run("settings set FTPPassword ''").Status, 0);
    EXPECT_EQ(keyring->Read(u"TESSELEX:ftp://anna@ftp.example").Value(), std::nullopt);
    EXPECT_NE(Run("settings list").Out.find("\nFTPPassword=\n"), std::string::npos);
}

// No D-Bus session (a service started without one, a server without a desktop): the store
// fails at once with the D-Bus library's reason, and the password is kept in the settings.
TEST(CredentialStoreTest, WithoutASessionBusNoStoreAnswers) {
    const test::TempDir dir;
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    ::unsetenv("DISPLAY");  // else the D-Bus library may start a bus for the display
    ::setenv("XDG_RUNTIME_DIR", dir.Path().c_str(), 1);  // where a desktop's own bus would be
    const std::shared_ptr<CredentialStore> store = SystemCredentialStore();
    const Outcome<std::optional<std::u16string>> read = store->Read(u"TESSELEX:ftp://a@b");
    ASSERT_FALSE(read.Ok());
    EXPECT_EQ(read.Kind(), FaultKind::NoConnection);
    EXPECT_FALSE(read.Reason().empty());

    Settings settings(dir / "settings.ini", Policy(), store);
    const Outcome<PasswordKept> kept = StoreFtpPassword(settings, u"hemligt");
    ASSERT_TRUE(kept.Ok());
    EXPECT_EQ(kept.Value().Place, PasswordPlace::SettingsFile);
    EXPECT_FALSE(kept.Value().StoreFault->Reason.empty());
    EXPECT_EQ(ReadFtpPassword(settings).Value(), u"hemligt");
}

// A bus that takes the connection and never says a word: given up after the time limit, and
// later requests fail at once while the first still waits.
TEST(CredentialStoreTest, ABusThatNeverAnswersIsGivenUpAfterTheTimeLimit) {
    const test::TempDir dir;
    const std::string path = (dir / "silent-bus").string();
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    // Connections wait in the backlog, never accepted, never answered.
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 16), 0);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);

    const std::shared_ptr<CredentialStore> store =
        SystemCredentialStore(std::chrono::milliseconds(500));
    const Outcome<std::optional<std::u16string>> read = store->Read(u"TESSELEX:ftp://a@b");
    ASSERT_FALSE(read.Ok());
    EXPECT_EQ(read.Kind(), FaultKind::TimedOut);
    EXPECT_EQ(read.Reason(), u"the Secret Service did not answer within 0.5 s");
    const Done written = store->Write(u"TESSELEX:ftp://a@b", u"hemligt");
    ASSERT_FALSE(written.Ok());
    EXPECT_EQ(written.Kind(), FaultKind::TimedOut);
    EXPECT_NE(written.Reason().find(u"has not answered an earlier request"), std::u16string::npos);
    ::close(listener);
}

#endif

}  // namespace
}  // namespace tesselex
