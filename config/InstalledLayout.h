#pragma once
// Where the program folder and the shipped read-only files lie: beside the executable in a build
// tree, per user when the programs run from the folder they were installed to (that folder is
// not writable). Pure rules, so that every case can be checked without installing anything.

#include <filesystem>
#include <functional>
#include <string>

namespace tesselex {

// Reads one environment variable; "" when it is not set.
using EnvironmentLookup = std::function<std::string(const char* name)>;

// The program folder: TESSELEX_HOME when set; otherwise, when the executable's folder is the
// folder the programs are installed to, the per-user application-data folder
// ($XDG_DATA_HOME/TESSELEX, else ~/.local/share/TESSELEX; %APPDATA%\TESSELEX on Windows);
// otherwise the executable's folder.
std::filesystem::path ChooseProgramFolder(const std::filesystem::path& executableFolder,
                                          const std::filesystem::path& installedProgramsFolder,
                                          const EnvironmentLookup& environment);

// A file the program only reads (a character map, a display configuration), named without a
// folder: the program folder's copy when there is one, else the shipped copy in the data folder
// (its top or its charmaps/ or display/ folder), else the program folder's path (which then
// names the missing file in the reader's error).
std::filesystem::path FindReadOnlyFile(const std::filesystem::path& name,
                                       const std::filesystem::path& programFolder,
                                       const std::filesystem::path& dataFolder);

// The folders the build was configured to install to (absolute).
std::filesystem::path InstalledProgramsFolder();
std::filesystem::path InstalledDataFolder();

}  // namespace tesselex
