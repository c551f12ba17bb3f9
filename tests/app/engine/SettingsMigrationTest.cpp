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

// Each option's text form as written; a value of another type or outside the choices is not one.
TEST(OptionStore, EachOptionHasOneTextFormAndRefusesWhatIsNotItsValue) {
    using Written = std::vector<OptionSetting>;
    const struct {
        Option Which;
        OptionValue Good;
        Written Settings;
        OptionValue Bad;
    } cases[] = {
        {Option::Code003, Code003::SeTesl, {{u"String003", u"SE-TESL"}}, static_cast<Code003>(2)},
        {Option::Authorities, Placement::None, {{u"Authtype", u"none"}}, true},
        {Option::Holdings, Placement::After, {{u"Holdtype", u"after"}}, static_cast<Placement>(3)},
        {Option::Characters, Characters::Utf8Decomposed,
         {{u"Charset", u"UTF-8"}, {u"Compose", u"compose"}}, Code003::Tessel},
        {Option::Change035, true, {{u"Change035", u"Yes"}}, std::u16string(u"Yes")},
        {Option::IsbnNoHyphens, false, {{u"ISBNDehyphenate", u"No"}}, Placement::After},
        {Option::Subjects, std::u16string(u"Tes:sao"), {{u"Subjects", u"Tes:sao"}},
         std::u16string()},
        {Option::Libraries, std::u16string(), {{u"libraries", u""}}, false},
        {Option::Destination, std::u16string(u"x.mrc"), {{u"Destination", u"x.mrc"}}, true},
        {Option::OneAtATime, true, {{u"Clear", u"Yes"}}, Characters::Latin1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.Which));
        const auto good = OptionSettings(c.Which, c.Good);
        ASSERT_TRUE(good.Ok());
        EXPECT_EQ(good.Value(), c.Settings);
        EXPECT_EQ(OptionSettings(c.Which, c.Bad).Kind(), FaultKind::BadData);
        ExportOptions options;
        PutOption(options, c.Which, c.Bad);
        EXPECT_EQ(options, ExportOptions()) << "a refused value changes nothing";
    }
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
