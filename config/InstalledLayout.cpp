#include "config/InstalledLayout.h"

#include <system_error>
#ifdef _WIN32
#include <algorithm>
#include <cwctype>
#include <string>
#endif

#ifndef _WIN32
#include "config/InstallDirs.h"
#endif

namespace tesselex {

namespace {

// The per-user application-data folder: on Windows the local one (LOCALAPPDATA: the outbox and
// the logs belong to this machine; a roaming profile would carry waiting exports to another
// machine and deliver them twice), elsewhere that of the XDG base directories, where a relative
// XDG_DATA_HOME is ignored, as that standard asks.
std::filesystem::path UserDataFolder(const EnvironmentLookup& environment) {
#ifdef _WIN32
    const std::filesystem::path local = environment("LOCALAPPDATA");
    return local.is_absolute() ? local : std::filesystem::path();
#else
    const std::filesystem::path xdg = environment("XDG_DATA_HOME");
    if (xdg.is_absolute()) {
        return xdg;
    }
    const std::filesystem::path home = environment("HOME");
    if (home.empty()) {
        return {};
    }
    return home / ".local" / "share";
#endif
}

bool SameFolder(const std::filesystem::path& a, const std::filesystem::path& b) {
    // "/usr/bin/" and "/usr/bin" are one folder; on Windows so are "C:\Users" and "c:\users".
    auto normal = [](const std::filesystem::path& p) {
        auto n = p.lexically_normal();
        n = n.has_filename() ? n : n.parent_path();
#ifdef _WIN32
        std::wstring folded = n.native();
        std::transform(folded.begin(), folded.end(), folded.begin(),
                       [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
        return std::filesystem::path(folded);
#else
        return n;
#endif
    };
    return !a.empty() && normal(a) == normal(b);
}

}  // namespace

std::filesystem::path ChooseProgramFolder(const std::filesystem::path& executableFolder,
                                          const std::filesystem::path& installedProgramsFolder,
                                          const EnvironmentLookup& environment) {
    if (std::filesystem::path home = environment("TESSELEX_HOME"); !home.empty()) {
        return home;
    }
    if (!SameFolder(executableFolder, installedProgramsFolder)) {
        return executableFolder;
    }
    const std::filesystem::path data = UserDataFolder(environment);
    // Without any home folder there is no per-user place; the executable's folder is then the
    // only candidate, and writing there reports its failure like any other.
    return data.empty() ? executableFolder : data / "TESSELEX";
}

std::filesystem::path FindReadOnlyFile(const std::filesystem::path& name,
                                       const std::filesystem::path& programFolder,
                                       const std::filesystem::path& dataFolder) {
    const std::filesystem::path own = programFolder / name;
    std::error_code ec;
    if (std::filesystem::is_regular_file(own, ec)) {
        return own;
    }
    for (const char* sub : {"", "charmaps", "display"}) {
        const std::filesystem::path shipped = dataFolder / sub / name;
        if (std::filesystem::is_regular_file(shipped, ec)) {
            return shipped;
        }
    }
    return own;
}

#ifndef _WIN32
// On Windows in config/PlatformWin.cpp: the setup chooses the folder, not the build.
std::filesystem::path InstalledProgramsFolder() {
    return std::filesystem::path(install_dirs::kPrograms);
}

std::filesystem::path InstalledDataFolder() {
    return std::filesystem::path(install_dirs::kData);
}
#endif

}  // namespace tesselex
