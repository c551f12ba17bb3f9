#include "config/SharedRoutines.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

#include "config/CodePage.h"
#include "config/Platform.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::ScopedEnv;
using test::TempDir;
using test::WriteBytes;

struct TextCase {
    std::u16string in;
    std::u16string out;
};

TEST(UrlEncode, KeepsLettersOfTheCodePageAndHexesTheRest) {
    const TextCase cases[] = {
        {u"Ämnesord på svenska", u"Ämnesord+på+svenska"},
        {u"ŠœŸ09", u"ŠœŸ09"},
        {u"", u""},
        // No leading zero: byte 0x0A is "%A".
        {u"\n-", u"%A%2D"},
        {std::u16string(1, u'\0'), u"%0"},
        {u"a&b=c/d", u"a%26b%3Dc%2Fd"},
        {u"«€×", u"%AB%80%D7"},
        {u"\u4E2D", u"%3F"},  // outside the code page: its substitute "?"
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(UrlEncode(c.in), c.out) << TextToUtf8(c.in);
    }
}

TEST(DatePatterns, ExpandAtAGivenTime) {
    const TextCase cases[] = {
        {u"|%MMDDHHMMSS%.mrc", u"|0303140509.mrc"},
        {u"%HH:MM%", u"14:05"},
        {u"%hhmm%%NN%", u"140505"},
        {u"%YYYY%-%MM%-%DD%", u"2026-03-03"},
        {u"exp%YY%%MM%.mrc", u"exp2603.mrc"},
        {u"%M/D%", u"3/3"},
        // What is no date part stands for itself.
        {u"%Q-%%MMM%%Y%", u"Q-MMMY"},
        {u"a%%b", u"ab"},
        // A lone "%" stays and ends the expansion.
        {u"100%", u"100%"},
        {u"%DD%x%", u"03x%"},
        {u"a%b%c%d", u"abc%d"},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(ExpandDatePatterns(c.in, DateTime{2026, 3, 3, 14, 5, 9}), c.out)
            << TextToUtf8(c.in);
    }
    EXPECT_EQ(ExpandDatePatterns(u"%DDMMYY%-%HHMMSS%", DateTime{1999, 12, 31, 23, 59, 58}),
              u"311299-235958");
    const DateTime before = LocalNow();
    const std::u16string year = ExpandDatePatterns(u"%YYYY%");
    EXPECT_TRUE(year == FormatNumber(before.Year, 4) || year == FormatNumber(LocalNow().Year, 4));
}

template <typename T>
std::optional<FaultKind> KindOf(const Outcome<T>& outcome) {
    return outcome ? std::nullopt : std::optional(outcome.Kind());
}

TEST(Files, WholeFilesKeepEveryByteAndFailuresSayWhy) {
    TempDir dir;
    std::string bytes;
    for (int b = 0; b < 3 * 256; ++b) {
        bytes += static_cast<char>(b);
    }
    ASSERT_TRUE(WriteFileContents(dir / "all.bin", AnsiToText(bytes)));
    EXPECT_EQ(TextToAnsi(ReadWholeFile(dir / "all.bin")), bytes);

    const Outcome<std::u16string> missing = FileContents(dir / "missing.bin");
    EXPECT_EQ(missing.Failure().Code, ENOENT);
    EXPECT_NE(missing.Reason().find(u"missing.bin: "), std::u16string::npos);
    EXPECT_EQ(ReadWholeFile(dir.Path()), u"");
    const struct {
        const char* What;
        std::optional<FaultKind> Kind;
        FaultKind Expected;
    } failures[] = {
        {"read a folder", KindOf(FileContents(dir.Path())), FaultKind::FileSystem},
        {"write a folder", KindOf(WriteFileContents(dir.Path(), u"x")), FaultKind::FileSystem},
        {"write in a missing folder", KindOf(WriteFileContents(dir / "no" / "x", u"x")),
         FaultKind::FileSystem},
#ifndef _WIN32
        {"write to a full disk", KindOf(WriteFileContents("/dev/full", u"x")), FaultKind::NoSpace},
#endif
    };
    for (const auto& c : failures) {
        EXPECT_EQ(c.Kind, c.Expected) << c.What;
    }
}

TEST(Files, NewTempFilesAreEmptyAndInTheTemporaryFolder) {
    TempDir dir;
    const ScopedEnv tmp(test::kTempFolderVariable, dir.Path().string());
    std::vector<std::filesystem::path> made;
    for (const char16_t* prefix : {u"XX", u"XX", u"../x/"}) {  // never out of the folder
        const Outcome<std::filesystem::path> file = NewTempFile(prefix);
        ASSERT_TRUE(file) << TextToUtf8(prefix);
        made.push_back(file.Value());
        EXPECT_EQ(made.back().parent_path(), dir.Path());
        EXPECT_TRUE(std::filesystem::is_regular_file(made.back())) << made.back();
        EXPECT_EQ(std::filesystem::file_size(made.back()), 0u);
    }
    EXPECT_NE(made[0], made[1]);
    EXPECT_EQ(made[0].filename().string().rfind("XX", 0), 0u) << made[0];

    const ScopedEnv gone(test::kTempFolderVariable, (dir / "does-not-exist").string());
    EXPECT_EQ(KindOf(NewTempFile(u"XX")), FaultKind::FileSystem);
}

TEST(LoginName, IsTheUsersNameWithoutPadding) {
    const std::u16string name = GetLoginName();
    ASSERT_FALSE(name.empty());
    EXPECT_EQ(name.find(u'\0'), std::u16string::npos);
    EXPECT_EQ(Trim(name), name);
}

TEST(IniFile, ReadsTheValueOfAKeyInItsSection) {
    TempDir dir;
    // Windows-1252 text with every line-end style.
    WriteBytes(dir / "cat.ini",
               "; settings\r\n[Other]\r\nHoldWorkFile=wrong\r\n"
               "  [ Preferences ]  \nHoldWorkFile=C:\\Cat\\hold.mrc\r"
               "  Spaced Key \t=  spaced value \t\r\nQuoted=\"quoted value\"\r\n"
               "Single='x y'\r\nOne=x\r\nEmpty=\r\nAnv\xE4ndare=L\xF6sen\r\n"
               "holdworkfile=second\r\nLong=" +
                   std::string(300, 'L') + "\r\nDefault=\xA7\r\n[Last]\r\nNoEnd=done");
    const struct {
        const char16_t* section;
        const char16_t* key;
        std::u16string value;
    } cases[] = {
        {u"PREFERENCES", u"holdworkfile", u"C:\\Cat\\hold.mrc"},
        {u"other", u"HoldWorkFile", u"wrong"},
        {u"Preferences", u"Spaced Key", u"spaced value"},
        {u"Preferences", u"Användare", u"Lösen"},
        {u"Last", u"NoEnd", u"done"},
        {u"Preferences", u"Quoted", u"quoted value"},
        {u"Preferences", u"Single", u"x y"},
        {u"Preferences", u"Long", std::u16string(254, u'L')},
        // One character or less, or the default character itself, is no value.
        {u"Preferences", u"One", u""},
        {u"Preferences", u"Empty", u""},
        {u"Preferences", u"Default", u""},
        {u"Preferences", u"Missing", u""},
        {u"Missing", u"HoldWorkFile", u""},
        {u"Last", u"HoldWorkFile", u""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReadIniValue(dir / "cat.ini", c.section, c.key), c.value)
            << TextToUtf8(c.section) << " " << TextToUtf8(c.key);
    }
    // A missing file is no value; one that cannot be read is a fault.
    EXPECT_EQ(IniValue(dir / "none.ini", u"Preferences", u"HoldWorkFile").Value(), u"");
    std::filesystem::create_directory(dir / "folder.ini");
    EXPECT_EQ(KindOf(IniValue(dir / "folder.ini", u"Preferences", u"HoldWorkFile")),
              FaultKind::FileSystem);
    EXPECT_EQ(ReadIniValue(dir / "folder.ini", u"Preferences", u"HoldWorkFile"), u"");
}

TEST(IniFile, ABareFileNameIsLookedUpInTheWindowsFolder) {
#ifdef _WIN32
    // The real Windows folder; a test run without the right to write there has nothing to show.
    const std::filesystem::path folder = WindowsFolder();
    const std::string name = "tesselex-test-" + std::to_string(GetCurrentProcessId()) + ".ini";
#else
    // Elsewhere the program folder stands in for it.
    const TempDir dir;
    const std::filesystem::path folder = dir.Path();
    const ScopedEnv home("TESSELEX_HOME", folder.string());
    const std::string name = "cat.ini";
#endif
    std::error_code ec;
    std::filesystem::remove(folder / name, ec);
    EXPECT_EQ(ReadIniValue(name, u"Preferences", u"HoldWorkFile"), u"");
    try {
        WriteBytes(folder / name, "[Preferences]\r\nHoldWorkFile=C:\\Cat\\hold.mrc\r\n");
    } catch (const std::exception&) {
        GTEST_SKIP() << "cannot write in " << folder;
    }
    EXPECT_EQ(ReadIniValue(name, u"Preferences", u"HoldWorkFile"), u"C:\\Cat\\hold.mrc");
    std::filesystem::remove(folder / name, ec);
}

}  // namespace
}  // namespace tesselex
