#include "app/engine/OptionStore.h"
#include "app/engine/SettingsMigration.h"

#include <gtest/gtest.h>

#include "app/engine/Settings.h"
#include "config/CfgClass.h"
#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

TEST(ConvertSubjects, RegroupsChoicesByLibraryCode) {
    EXPECT_EQ(ConvertSubjects(u"sao=A,B;lcsh=A"), u"B:sao ; A:sao,lcsh");
    // Codes are trimmed and matched without regard to case, entries without "=" skipped, and a
    // code seen again moves to the end.
    EXPECT_EQ(ConvertSubjects(u"sao= A , B;junk;lcsh=B;fast=a"), u"B:sao,lcsh ; A:sao,fast");
    EXPECT_EQ(ConvertSubjects(u"noequals"), u"");
}

TEST(GetSelection, MapsStoredValuesToListIndexes) {
    const struct {
        std::u16string_view Kind;
        std::u16string_view Value;
        int Index;
    } cases[] = {
        {u"CHARSET", u"ISO-8859-1/", 0},   {u"CHARSET", u"utf-8/composelatin1", 1},
        {u"CHARSET", u"UTF-8/compose", 2}, {u"CHARSET", u"UTF-8/decompose", 3},
        {u"CHARSET", u"UTF-8/", 0},        {u"HOLDTYPE", u"after", 1},
        {u"AUTHTYPE", u"None", 2},         {u"HOLDTYPE", u"sideways", 0},
        {u"OTHER", u"AFTER", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(GetSelection(c.Kind, c.Value), c.Index)
            << std::string(c.Value.begin(), c.Value.end());
    }
}

TEST(CopySettings, EveryOldKeyLandsInItsSettingConvertedAndMissingKeysChangeNothing) {
    test::TempDir dir;
    Settings settings(dir / "settings.ini");
    CfgClass old;
    old.LoadFromString(
        u"Sigler=Tes,Tesm\r\nÄmnesord=sao=Tes\r\nTecken=UTF8/FORMD\r\nISBNUtanBindestreck=1\r\n"
        u"Ändra0359=0\r\nRensa=1\r\nDestination=C:\\Ut\\x.mrc\r\nLogga=1\r\nLoggaFel=0\r\n"
        u"SeparatBestånd=0\r\nSeparataAuktoriteter=1\r\n[FTP]\r\nServer=ftp.example\r\n"
        u"Användare=anna\r\nLösenord=hemligt\r\nKatalog=/in\r\nFil=|%MMDDHHMMSS%.mrc\r\n");
    ASSERT_TRUE(CopySettings(settings, old).Ok());
    const std::pair<SettingKey, std::u16string_view> expected[] = {
        {SettingKey::Libraries, u"Tes Tesm"},
        {SettingKey::Subjects, u"Tes:sao"},
        {SettingKey::Charset, u"UTF-8"},
        {SettingKey::Compose, u"decompose"},
        {SettingKey::ISBNDehyphenate, u"Yes"},
        {SettingKey::Change035, u"No"},
        {SettingKey::Clear, u"Yes"},
        {SettingKey::Destination, u"C:\\Ut\\x.mrc"},
        {SettingKey::Logging, u"Yes"},
        {SettingKey::LogErrors, u"No"},
        {SettingKey::Holdtype, u"interleaved"},
        {SettingKey::Authtype, u"after"},
        {SettingKey::FTPServer, u"ftp.example"},
        {SettingKey::FTPUser, u"anna"},
        {SettingKey::FTPPassword, u"hemligt"},
        {SettingKey::FTPDirectory, u"/in"},
        {SettingKey::FTPFilename, u"|%MMDDHHMMSS%.mrc"},
    };
    for (const auto& [key, value] : expected) {
        EXPECT_EQ(settings.Setting(key), value) << static_cast<int>(key);
    }

    // A second old file without those keys leaves them alone; unknown values are kept, and
    // subjects already in the new form (as the old-style save writes them) too.
    CfgClass second;
    second.LoadFromString(u"Tecken=EBCDIC\r\nLogga=2\r\nÄmnesord=B:sao ; A:sao,lcsh\r\n");
    ASSERT_TRUE(CopySettings(settings, second).Ok());
    EXPECT_EQ(settings.Setting(SettingKey::Clear), u"Yes");
    EXPECT_EQ(settings.Setting(SettingKey::Holdtype), u"interleaved");
    EXPECT_EQ(settings.Setting(SettingKey::Charset), u"ISO-8859-1");
    EXPECT_EQ(settings.Setting(SettingKey::Compose), u"");
    EXPECT_EQ(settings.Setting(SettingKey::Logging), u"2");
    EXPECT_EQ(settings.Setting(SettingKey::Subjects), u"B:sao ; A:sao,lcsh");
}

}  // namespace
}  // namespace tesselex
