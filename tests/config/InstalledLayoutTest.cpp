#include "config/InstalledLayout.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::TempDir;

struct FolderCase {
    const char* what;
    std::filesystem::path executableFolder;
    std::map<std::string, std::string> environment;
    std::filesystem::path expected;
};

// The per-user folder of an installed program is the platform's: %LOCALAPPDATA% on Windows,
// the XDG data folder elsewhere.
#ifdef _WIN32
const std::pair<const std::string, std::string> kUser{"LOCALAPPDATA",
                                                      "C:\\Users\\u\\AppData\\Local"};
const std::filesystem::path kPerUser = "C:\\Users\\u\\AppData\\Local\\TESSELEX";
#else
const std::pair<const std::string, std::string> kUser{"HOME", "/home/u"};
const std::filesystem::path kPerUser = "/home/u/.local/share/TESSELEX";
#endif

TEST(ChooseProgramFolder, BuildTreeBesideTheExecutableInstalledPerUser) {
    const std::filesystem::path installed = "/usr/bin";
    const FolderCase cases[] = {
        {"build tree", "/home/u/src/build/app", {kUser}, "/home/u/src/build/app"},
        {"installed", "/usr/bin", {kUser}, kPerUser},
        {"installed, trailing slash", "/usr/bin/", {kUser}, kPerUser},
#ifdef _WIN32
        {"relative LOCALAPPDATA ignored", "/usr/bin", {{"LOCALAPPDATA", "Local"}}, "/usr/bin"},
        // Windows names ignore case: a start from the Run key's path or a shortcut's is one.
        {"installed, other case", "/USR/Bin", {kUser}, kPerUser},
        {"the roaming folder is not the per-user one",
         "/usr/bin",
         {{"APPDATA", "C:\\Users\\u\\AppData\\Roaming"}},
         "/usr/bin"},
#else
        {"installed, XDG_DATA_HOME",
         "/usr/bin",
         {kUser, {"XDG_DATA_HOME", "/data/u"}},
         "/data/u/TESSELEX"},
        {"relative XDG_DATA_HOME ignored",
         "/usr/bin",
         {kUser, {"XDG_DATA_HOME", "data"}},
         kPerUser},
#endif
        {"TESSELEX_HOME over build tree", "/b/app", {{"TESSELEX_HOME", "/srv/t"}}, "/srv/t"},
        {"installed without any home", "/usr/bin", {}, "/usr/bin"},
        {"another prefix is not installed", "/usr/local/bin", {kUser}, "/usr/local/bin"},
    };
    for (const FolderCase& c : cases) {
        const auto lookup = [&c](const char* name) {
            const auto it = c.environment.find(name);
            return it == c.environment.end() ? std::string() : it->second;
        };
        EXPECT_EQ(ChooseProgramFolder(c.executableFolder, installed, lookup), c.expected) << c.what;
    }
}

TEST(FindReadOnlyFile, ProgramFolderFirstThenTheShippedCopy) {
    const TempDir dir;
    const auto program = dir / "program";
    const auto data = dir / "share";
    std::filesystem::create_directories(program);
    std::filesystem::create_directories(data / "charmaps");
    std::filesystem::create_directories(data / "display");
    test::WriteBytes(data / "charmaps" / "MARC8.txt", "shipped");
    test::WriteBytes(data / "display" / "Display.cfg", "shipped");
    test::WriteBytes(program / "Display.cfg", "own");

    EXPECT_EQ(FindReadOnlyFile("MARC8.txt", program, data), data / "charmaps" / "MARC8.txt");
    EXPECT_EQ(FindReadOnlyFile("Display.cfg", program, data), program / "Display.cfg");
    // Missing everywhere: the program folder's path, so the error names where it was expected.
    EXPECT_EQ(FindReadOnlyFile("Missing.cfg", program, data), program / "Missing.cfg");
}

}  // namespace
}  // namespace tesselex
