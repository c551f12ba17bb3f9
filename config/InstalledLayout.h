#pragma once
// Where the program folder and the shipped read-only files lie: beside the executable in a build
// tree, per user when the programs run from the folder they were installed to (that folder is
// not writable). Pure rules, so that every case can be checked without installing anything.

#include <filesystem>
#include <functional>

namespace tesselex {

// Reads one environment variable as a path (in the platform's own wide form on Windows, so that
// a profile folder with letters like "Å" arrives whole); empty when it is not set.
using EnvironmentLookup = std::function<std::filesystem::path(const char* name)>;

// The program folder: TESSELEX_HOME when set; otherwise, when the executable's folder is the
// folder the programs are installed to, the per-user application-data folder
// ($XDG_DATA_HOME/TESSELEX, else ~/.local/share/TESSELEX; %LOCALAPPDATA%\TESSELEX on Windows);
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

// The folder the programs are installed to and the folder of the shipped data (absolute). Where
// the build was configured to install to; on Windows, where the per-user setup installs
// (%LOCALAPPDATA%\Programs\TESSELEX, packaging/windows) and the data beside the programs. (The
// per-machine setup's %ProgramFiles%\TESSELEX counts as installed too: config/PlatformWin.cpp.)
std::filesystem::path InstalledProgramsFolder();
std::filesystem::path InstalledDataFolder();

}  // namespace tesselex
