#include "config/SharedRoutines.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;

// Sets an environment variable for one test and puts the old value back.
class ScopedEnv {
  public:
    ScopedEnv(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            old_ = old;
        }
        setenv(name, value.c_str(), 1);
    }
    ~ScopedEnv() {
        if (old_) {
            setenv(name_, old_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    const char* name_;
    std::optional<std::string> old_;
};

// ---- UrlEncode ----

TEST(UrlEncode, LettersAndDigitsPassBlanksBecomePlus) {
    EXPECT_EQ(UrlEncode(u"Abc 123"), u"Abc+123");
    EXPECT_EQ(UrlEncode(u"Ämnesord på svenska"), u"Ämnesord+på+svenska");
    EXPECT_EQ(UrlEncode(u"ŠœŸ"), u"ŠœŸ");
    EXPECT_EQ(UrlEncode(u""), u"");
}

TEST(UrlEncode, OtherBytesAreHexWithoutLeadingZero) {
    EXPECT_EQ(UrlEncode(u"\n"), u"%A");
    EXPECT_EQ(UrlEncode(u"-"), u"%2D");
    EXPECT_EQ(UrlEncode(std::u16string(1, u'\0')), u"%0");
    EXPECT_EQ(UrlEncode(u"a&b=c/d"), u"a%26b%3Dc%2Fd");
    EXPECT_EQ(UrlEncode(u"«»"), u"%AB%BB");
    EXPECT_EQ(UrlEncode(u"€×"), u"%80%D7");
    // Outside the code page a character goes out as its substitute "?".
    EXPECT_EQ(UrlEncode(u"\u4E2D"), u"%3F");
}

// ---- ExpandDatePatterns ----

class DatePatterns : public ::testing::Test {
  protected:
    const DateTime at_{2026, 3, 3, 14, 5, 9};
    std::u16string Expand(std::u16string_view text) const { return ExpandDatePatterns(text, at_); }
};

TEST_F(DatePatterns, FileNamePatternGivesMonthDayHourMinuteSecond) {
    EXPECT_EQ(Expand(u"|%MMDDHHMMSS%.mrc"), u"|0303140509.mrc");
    EXPECT_EQ(Expand(u"%HH:MM%"), u"14:05");
    EXPECT_EQ(Expand(u"%hhmm%"), u"1405");
    EXPECT_EQ(Expand(u"%NN%"), u"05");
}

TEST_F(DatePatterns, YearsDaysAndSeveralPatterns) {
    EXPECT_EQ(Expand(u"%YYYY%-%MM%-%DD%"), u"2026-03-03");
    EXPECT_EQ(Expand(u"exp%YY%%MM%.mrc"), u"exp2603.mrc");
    EXPECT_EQ(Expand(u"%yyyymmdd%"), u"20260303");
    EXPECT_EQ(Expand(u"%M/D%"), u"3/3");
    const DateTime late{1999, 12, 31, 23, 59, 58};
    EXPECT_EQ(ExpandDatePatterns(u"%DDMMYY%-%HHMMSS%", late), u"311299-235958");
}

TEST_F(DatePatterns, UnknownLettersStandForThemselves) {
    EXPECT_EQ(Expand(u"%Q-%"), u"Q-");
    EXPECT_EQ(Expand(u"%MMM%"), u"MMM");
    EXPECT_EQ(Expand(u"%Y%"), u"Y");
    EXPECT_EQ(Expand(u"a%%b"), u"ab");
    EXPECT_EQ(Expand(u"no pattern"), u"no pattern");
}

TEST_F(DatePatterns, LoneSignStaysAndEndsTheExpansion) {
    EXPECT_EQ(Expand(u"100%"), u"100%");
    EXPECT_EQ(Expand(u"%"), u"%");
    EXPECT_EQ(Expand(u"%DD%x%"), u"03x%");
    EXPECT_EQ(Expand(u"%DD%%MM%%"), u"0303%");
    EXPECT_EQ(Expand(u"a%b%c%d"), u"abc%d");
}

TEST(DatePatternsClock, WithoutATimeTheLocalClockIsUsed) {
    const DateTime before = LocalNow();
    const std::u16string year = ExpandDatePatterns(u"%YYYY%");
    const DateTime after = LocalNow();
    EXPECT_TRUE(year == FormatNumber(before.Year, 4) || year == FormatNumber(after.Year, 4));
    EXPECT_GE(before.Month, 1);
    EXPECT_LE(before.Month, 12);
    EXPECT_GE(before.Day, 1);
    EXPECT_LE(before.Day, 31);
}

// ---- Files ----

TEST(Files, ReadWholeFileKeepsEveryByte) {
    TempDir dir;
    std::string bytes;
    for (int round = 0; round < 3; ++round) {
        for (int b = 0; b < 256; ++b) {
            bytes += static_cast<char>(b);
        }
    }
    WriteBytes(dir / "all.bin", bytes);
    const std::u16string text = ReadWholeFile(dir / "all.bin");
    EXPECT_EQ(text.size(), bytes.size());
    EXPECT_EQ(TextToAnsi(text), bytes);

    WriteBytes(dir / "empty.bin", "");
    EXPECT_EQ(ReadWholeFile(dir / "empty.bin"), u"");
    EXPECT_EQ(ReadWholeFile(dir / "missing.bin"), u"");
    EXPECT_EQ(ReadWholeFile(dir.Path()), u"");
    EXPECT_EQ(ReadWholeFile(""), u"");
}

TEST(Files, TempFileNameMakesNewEmptyFilesWithThePrefix) {
    TempDir dir;
    const ScopedEnv tmp("TMPDIR", dir.Path().string());
    const auto first = TempFileName(u"XX");
    const auto second = TempFileName(u"XX");
    ASSERT_FALSE(first.empty());
    ASSERT_FALSE(second.empty());
    EXPECT_NE(first, second);
    for (const auto& path : {first, second}) {
        EXPECT_EQ(path.parent_path(), dir.Path());
        EXPECT_EQ(path.filename().string().rfind("XX", 0), 0u) << path;
        EXPECT_TRUE(std::filesystem::is_regular_file(path));
        EXPECT_EQ(std::filesystem::file_size(path), 0u);
    }
    // A prefix never leads out of the temporary folder.
    const auto odd = TempFileName(u"../x/");
    ASSERT_FALSE(odd.empty());
    EXPECT_EQ(odd.parent_path(), dir.Path());
}

TEST(Files, TempFileNameIsEmptyWhenTheFolderIsUnusable) {
    TempDir dir;
    const ScopedEnv tmp("TMPDIR", (dir / "does-not-exist").string());
    EXPECT_TRUE(TempFileName(u"XX").empty());
}

TEST(LoginName, IsTheUsersName) {
    const std::u16string name = GetLoginName();
    ASSERT_FALSE(name.empty());
    EXPECT_EQ(name.find(u'\0'), std::u16string::npos);
    EXPECT_NE(name.front(), u' ');
    EXPECT_NE(name.back(), u' ');
}

// ---- ReadIniValue ----

class IniFile : public ::testing::Test {
  protected:
    void SetUp() override {
        // Windows-1252 text with every line-end style.
        WriteBytes(dir_ / "cat.ini",
                   "; Voyager settings\r\n"
                   "[Other]\r\n"
                   "HoldWorkFile=wrong\r\n"
                   "  [ Preferences ]  \n"
                   "HoldWorkFile=C:\\Voyager\\hold.mrc\r"
                   "  Spaced Key \t=  spaced value \t\r\n"
                   "Quoted=\"quoted value\"\r\n"
                   "Single='x y'\r\n"
                   "One=x\r\n"
                   "Empty=\r\n"
                   "Anv\xE4ndare=L\xF6sen\r\n"
                   "holdworkfile=second\r\n"
                   "Long=" +
                       std::string(300, 'L') +
                       "\r\n"
                       "[Last]\r\n"
                       "NoEnd=done");
    }
    std::u16string Read(std::u16string_view section, std::u16string_view key) const {
        return ReadIniValue(dir_ / "cat.ini", section, key);
    }
    TempDir dir_;
};

TEST_F(IniFile, FindsKeysCaseInsensitivelyInTheirSection) {
    EXPECT_EQ(Read(u"Preferences", u"HoldWorkFile"), u"C:\\Voyager\\hold.mrc");
    EXPECT_EQ(Read(u"PREFERENCES", u"holdworkfile"), u"C:\\Voyager\\hold.mrc");
    EXPECT_EQ(Read(u"other", u"HoldWorkFile"), u"wrong");
    EXPECT_EQ(Read(u"Preferences", u"Spaced Key"), u"spaced value");
    EXPECT_EQ(Read(u"Preferences", u"Användare"), u"Lösen");
    EXPECT_EQ(Read(u"Last", u"NoEnd"), u"done");
}

TEST_F(IniFile, QuotesAreDroppedAndLongValuesCut) {
    EXPECT_EQ(Read(u"Preferences", u"Quoted"), u"quoted value");
    EXPECT_EQ(Read(u"Preferences", u"Single"), u"x y");
    EXPECT_EQ(Read(u"Preferences", u"Long"), std::u16string(254, u'L'));
}

TEST_F(IniFile, MissingOrShortValuesAreEmpty) {
    EXPECT_EQ(Read(u"Preferences", u"One"), u"");
    EXPECT_EQ(Read(u"Preferences", u"Empty"), u"");
    EXPECT_EQ(Read(u"Preferences", u"Missing"), u"");
    EXPECT_EQ(Read(u"Missing", u"HoldWorkFile"), u"");
    EXPECT_EQ(Read(u"Last", u"HoldWorkFile"), u"");
    EXPECT_EQ(ReadIniValue(dir_ / "none.ini", u"Preferences", u"HoldWorkFile"), u"");
    // A value that happens to be the default character is still no value.
    WriteBytes(dir_ / "d.ini", "[S]\r\nK=\xA7\r\n");
    EXPECT_EQ(ReadIniValue(dir_ / "d.ini", u"S", u"K"), u"");
}

TEST_F(IniFile, BareFileNameIsTakenFromTheWindowsFolder) {
    const ScopedEnv home("TESSELEX_HOME", dir_.Path().string());
    EXPECT_EQ(ReadIniValue("cat.ini", u"Preferences", u"HoldWorkFile"), u"C:\\Voyager\\hold.mrc");
    TempDir other;
    const ScopedEnv elsewhere("TESSELEX_HOME", other.Path().string());
    EXPECT_EQ(ReadIniValue("cat.ini", u"Preferences", u"HoldWorkFile"), u"");
}

}  // namespace
}  // namespace tesselex
