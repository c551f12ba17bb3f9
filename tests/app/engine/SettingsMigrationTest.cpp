#include "app/engine/SettingsMigration.h"

#include <gtest/gtest.h>

#include "app/engine/Settings.h"
#include "config/CfgClass.h"
#include "tests/support/TempDir.h"

namespace tesselex {
namespace {

TEST(ConvertSubjects, RegroupsChoicesByLibraryCode) {
    EXPECT_EQ(ConvertSubjects(u"sao=A,B;lcsh=A"), u"B:sao ; A:sao,lcsh");
    // Codes are trimmed, entries without "=" skipped, and a code seen again moves to the end.
    EXPECT_EQ(ConvertSubjects(u"sao= A , B;junk;lcsh=B;fast=A"), u"B:sao,lcsh ; A:sao,fast");
    EXPECT_EQ(ConvertSubjects(u""), u"");
    EXPECT_EQ(ConvertSubjects(u"noequals"), u"");
}

TEST(ConvertSubjects, LibraryListMatchesCodesWithoutRegardToCase) {
    LibraryList list;
    list.AddLib(u"Tes", u"Tes:sao");
    EXPECT_TRUE(list.LibExists(u"TES"));
    EXPECT_EQ(list.StringItem(u"tes"), u"Tes:sao");
    list.AddLib(u"Abc", u"Abc:lcsh");
    list.RemoveLib(u"TES");
    EXPECT_FALSE(list.LibExists(u"Tes"));
    EXPECT_EQ(list.Joined(u" ; "), u"Abc:lcsh");
}

TEST(GetSelection, MapsStoredValuesToListIndexes) {
    EXPECT_EQ(GetSelection(u"CHARSET", u"ISO-8859-1/"), 0);
    EXPECT_EQ(GetSelection(u"CHARSET", u"utf-8/composelatin1"), 1);
    EXPECT_EQ(GetSelection(u"CHARSET", u"UTF-8/compose"), 2);
    EXPECT_EQ(GetSelection(u"CHARSET", u"UTF-8/decompose"), 3);
    EXPECT_EQ(GetSelection(u"CHARSET", u"UTF-8/"), 0);
    EXPECT_EQ(GetSelection(u"HOLDTYPE", u"after"), 1);
    EXPECT_EQ(GetSelection(u"AUTHTYPE", u"None"), 2);
    EXPECT_EQ(GetSelection(u"AUTHTYPE", u"interleaved"), 0);
    EXPECT_EQ(GetSelection(u"HOLDTYPE", u"sideways"), 0);
    EXPECT_EQ(GetSelection(u"OTHER", u"AFTER"), 0);
}

class CopySettingsTest : public ::testing::Test {
  protected:
    test::TempDir dir_;
    Settings settings_{dir_ / "settings.ini"};
    CfgClass old_;
};

TEST_F(CopySettingsTest, EveryOldKeyLandsInItsSettingConverted) {
    old_.LoadFromString(
        u"Sigler=Tes,Tesm\r\nÄmnesord=sao=Tes\r\nTecken=UTF8/FORMD\r\nISBNUtanBindestreck=1\r\n"
        u"Ändra0359=0\r\nRensa=1\r\nDestination=C:\\Ut\\x.mrc\r\nLogga=1\r\nLoggaFel=0\r\n"
        u"SeparatBestånd=0\r\nSeparataAuktoriteter=1\r\n[FTP]\r\nServer=ftp.example\r\n"
        u"Användare=anna\r\nLösenord=hemligt\r\nKatalog=/in\r\nFil=|%MMDDHHMMSS%.mrc\r\n");
    CopySettings(settings_, old_);
    EXPECT_EQ(settings_.Setting(SettingKey::Libraries), u"Tes Tesm");
    EXPECT_EQ(settings_.Setting(SettingKey::Subjects), u"Tes:sao");
    EXPECT_EQ(settings_.Setting(SettingKey::Charset), u"UTF-8");
    EXPECT_EQ(settings_.Setting(SettingKey::Compose), u"decompose");
    EXPECT_EQ(GetSelection(u"CHARSET", settings_.Setting(SettingKey::Charset) + u"/" +
                                           settings_.Setting(SettingKey::Compose)),
              3);
    EXPECT_EQ(settings_.Setting(SettingKey::ISBNDehyphenate), u"Yes");
    EXPECT_EQ(settings_.Setting(SettingKey::Change035), u"No");
    EXPECT_EQ(settings_.Setting(SettingKey::Clear), u"Yes");
    EXPECT_EQ(settings_.Setting(SettingKey::Destination), u"C:\\Ut\\x.mrc");
    EXPECT_EQ(settings_.Setting(SettingKey::Logging), u"Yes");
    EXPECT_EQ(settings_.Setting(SettingKey::LogErrors), u"No");
    EXPECT_EQ(settings_.Setting(SettingKey::Holdtype), u"interleaved");
    EXPECT_EQ(settings_.Setting(SettingKey::Authtype), u"after");
    EXPECT_EQ(settings_.Setting(SettingKey::FTPServer), u"ftp.example");
    EXPECT_EQ(settings_.Setting(SettingKey::FTPUser), u"anna");
    EXPECT_EQ(settings_.Setting(SettingKey::FTPPassword), u"hemligt");
    EXPECT_EQ(settings_.Setting(SettingKey::FTPDirectory), u"/in");
    EXPECT_EQ(settings_.Setting(SettingKey::FTPFilename), u"|%MMDDHHMMSS%.mrc");
}

TEST_F(CopySettingsTest, MissingKeysLeaveSettingsAloneAndOddCharsetsFallBackToLatin1) {
    settings_.StoreSetting(SettingKey::Clear, u"No");
    settings_.StoreSetting(SettingKey::Holdtype, u"none");
    old_.LoadFromString(u"Tecken=EBCDIC\r\n");
    CopySettings(settings_, old_);
    EXPECT_EQ(settings_.Setting(SettingKey::Clear), u"No");
    EXPECT_EQ(settings_.Setting(SettingKey::Holdtype), u"none");
    EXPECT_EQ(settings_.Setting(SettingKey::Charset), u"ISO-8859-1");
    EXPECT_EQ(settings_.Setting(SettingKey::Compose), u"");
}

TEST_F(CopySettingsTest, CopySettingKeepsValuesOtherThanZeroAndOne) {
    old_.LoadFromString(u"Rensa=2\r\nLogga=1\r\n");
    CopySetting(settings_, old_, u"Clear", u"Rensa");
    CopySetting(settings_, old_, u"logging", u"LOGGA");
    EXPECT_EQ(settings_.Setting(SettingKey::Clear), u"2");
    EXPECT_EQ(settings_.Setting(SettingKey::Logging), u"Yes");
}

}  // namespace
}  // namespace tesselex
