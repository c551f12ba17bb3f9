#include "app/engine/Policy.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <QSettings>
#endif

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "config/Utf.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

// Each value alone: applied (and so locking its setting), or reported with the user's own
// setting left in force.
TEST(Policy, AValueIsAppliedOnlyWhenTheProgramCanUseIt) {
    struct Case {
        std::u16string Name, Value;
        bool Applied;
    };
    for (const Case& c : std::initializer_list<Case>{
             {u"FTPServer", u"ftp.bibl.example:2121", true},
             {u"FTPServer", u"[::1]:21", true},
             {u"FTPServer", u"", true},  // no FTP for anyone
             {u"FTPServer", u"ftp.bibl.example:65536", false},
             {u"FTPServer", u"ftp.bibl.example:0", false},
             {u"FTPServer", u"ftp.bibl.example:ftp", false},
             {u"ServerAddress", u"http://127.0.0.1:8080/config", true},
             {u"serveraddress", u"https://export.example/tab", true},
             {u"ServerAddress", u"http://export.example:70000/config", false},
             {u"ServerAddress", u"export.example/config", false},
             {u"ServerAddress", u"ftp://export.example/config", false},
             {u"ServerAddress", u"", false},
             {u"Logging", u"Yes", true},
             {u"Logging", u"yes", false},  // would quietly read as No
             {u"holdtype", u"AFTER", true},
             {u"Charset", u"UTF-16", false},
             {u"String003", u"SE-TESL", true},
             {u"Destination", u"C:\\Export\\&USER&.mrc", true},
             {u"FTPPassword", u"secret", false},  // every user could read it
             {u"LastBibId", u"4711", false},
             {u"NoSuchSetting", u"1", false},
         }) {
        SCOPED_TRACE(TextToUtf8(c.Name + u"=" + c.Value));
        const Policy policy({{c.Name, c.Value}}, u"test");
        const std::optional<SettingKey> key = FindSettingKey(c.Name);
        const bool applied = key ? policy.Locks(*key) : policy.ServerAddress().has_value();
        EXPECT_EQ(applied, c.Applied);
        EXPECT_EQ(policy.Problems().size(), c.Applied ? 0U : 1U);
        if (!c.Applied) {
            EXPECT_NE(policy.Problems()[0].find(u"används inte"), std::u16string::npos);
        }
    }
}

// The administrator's value is what the program reads and the user cannot change it; the user's
// own value stays stored underneath, and a value not applied leaves the user's in force.
TEST(Policy, OverridesAndLocksTheUsersSettingWithoutRewritingIt) {
    test::TempDir dir;
    const auto file = dir / "settings.ini";
    {
        Settings own(file);
        ASSERT_TRUE(own.StoreSetting(SettingKey::FTPServer, u"mine.example"));
        ASSERT_TRUE(own.StoreSetting(SettingKey::Logging, u"No"));
        ASSERT_TRUE(own.StoreSetting(SettingKey::Holdtype, u"after"));
    }
    Settings settings(file, Policy({{u"ftpserver", u"theirs.example:21"},
                                    {u"Logging", u"Yes"},
                                    {u"Holdtype", u"sideways"},
                                    {u"Authtype", u"none"}},
                                   u"test"));
    EXPECT_EQ(settings.Setting(SettingKey::FTPServer), u"theirs.example:21");
    EXPECT_EQ(settings.Setting(u"FTPSERVER"), u"theirs.example:21");
    EXPECT_TRUE(settings.IsYes(SettingKey::Logging));
    EXPECT_TRUE(settings.IsLocked(SettingKey::FTPServer));
    EXPECT_EQ(settings.Setting(SettingKey::Holdtype), u"after");
    EXPECT_FALSE(settings.IsLocked(SettingKey::Holdtype));

    EXPECT_TRUE(settings.StoreSetting(SettingKey::FTPServer, u"other.example"));
    EXPECT_TRUE(settings.StoreSetting(SettingKey::Holdtype, u"none"));
    EXPECT_EQ(settings.Setting(SettingKey::FTPServer), u"theirs.example:21");
    const Settings own(file);
    EXPECT_EQ(own.Setting(SettingKey::FTPServer), u"mine.example");
    EXPECT_EQ(own.Setting(SettingKey::Holdtype), u"none");

    // The window's choice of a locked option changes nothing, not even for this session.
    EngineSeams seams;
    seams.ProgramFolder = dir.Path();
    ExportEngine engine(settings, seams);
    engine.SetOption(Option::Authorities, Placement::After);
    engine.SetOption(Option::Holdings, Placement::After);
    EXPECT_EQ(engine.State().Options.Authorities, Placement::Interleaved);
    EXPECT_EQ(engine.State().Options.Holdings, Placement::After);
}

TEST(Policy, FileHoldsNameValueLinesAndAMissingFileIsNoPolicy) {
    test::TempDir dir;
    const Policy none = Policy::FromFile(dir / "policy.conf");
    EXPECT_TRUE(none.Problems().empty());
    EXPECT_FALSE(none.ServerAddress());
    EXPECT_FALSE(none.Locks(SettingKey::FTPServer));

    test::WriteBytes(dir / "policy.conf",
                     "\xEF\xBB\xBF# for every cataloguer\r\n"
                     "[General]\r\n"
                     "ServerAddress = http://export.example/config\r\n"
                     "\tFTPUser=bibl \r\n"
                     "; FTPServer=commented.example\n"
                     "Subjects=T:084,650 ; S:600\n"
                     "FTPDirectory=\n"
                     "just words\n"
                     "Libraries=T S");
    const Policy policy = Policy::FromFile(dir / "policy.conf");
    EXPECT_EQ(policy.ServerAddress(), u"http://export.example/config");
    EXPECT_EQ(*policy.Value(SettingKey::FTPUser), u"bibl");
    EXPECT_EQ(*policy.Value(SettingKey::Subjects), u"T:084,650 ; S:600");
    EXPECT_EQ(*policy.Value(SettingKey::FTPDirectory), u"");
    EXPECT_EQ(*policy.Value(SettingKey::Libraries), u"T S");
    EXPECT_FALSE(policy.Locks(SettingKey::FTPServer));
    ASSERT_EQ(policy.Problems().size(), 1U);
    EXPECT_NE(policy.Problems()[0].find(u"\"just words\""), std::u16string::npos);
}

#ifdef _WIN32
// The registry reader, on a key of the test's own under the user's hive (the machine's hive is
// the administrator's); a number (REG_DWORD) reads as its digits.
TEST(Policy, RegistryValuesAreReadByName) {
    const QString key = QStringLiteral("HKEY_CURRENT_USER\\Software\\TESSELEX-policy-test");
    {
        QSettings store(key, QSettings::NativeFormat);
        store.clear();
        store.setValue(QStringLiteral("ServerAddress"), QStringLiteral("http://127.0.0.1/c"));
        store.setValue(QStringLiteral("FTPServer"), QStringLiteral("ftp.example:99999"));
        store.setValue(QStringLiteral("FTPUser"), 42);
        store.sync();
    }
    const Policy policy = Policy::FromRegistry(key.toStdU16String());
    QSettings(QStringLiteral("HKEY_CURRENT_USER\\Software"), QSettings::NativeFormat)
        .remove(QStringLiteral("TESSELEX-policy-test"));
    EXPECT_EQ(policy.ServerAddress(), u"http://127.0.0.1/c");
    EXPECT_EQ(*policy.Value(SettingKey::FTPUser), u"42");
    EXPECT_FALSE(policy.Locks(SettingKey::FTPServer));
    EXPECT_EQ(policy.Problems().size(), 1U);
}
#endif

}  // namespace
}  // namespace tesselex
