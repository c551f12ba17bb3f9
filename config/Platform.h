#pragma once
// The platform edges the lower layers need, each behind one function.

#include <filesystem>

namespace tesselex {

// The program's own folder, where its files are found when named without a path: the folder
// named by the environment variable TESSELEX_HOME when set, otherwise the executable's folder,
// or the per-user folder when the program runs installed (config/InstalledLayout.h).
std::filesystem::path ProgramFolder();

// The folder a bare INI file name (cat.ini) is looked up in: %WINDIR% on Windows, the program
// folder elsewhere.
std::filesystem::path WindowsFolder();

// A name given without any path separator ('\' or '/') is taken from the program folder, or,
// when the program folder has no such file, from the installed data folder (the shipped
// character maps and display configurations); otherwise it is a path as it stands. Only files
// the program reads are resolved this way.
std::filesystem::path ResolveInProgramFolder(const std::filesystem::path& name);

}  // namespace tesselex
