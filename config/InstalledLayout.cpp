#include "config/InstalledLayout.h"

#include <system_error>

#include "config/InstallDirs.h"

namespace tesselex {

namespace {

// The per-user application-data folder: on Windows the roaming one (APPDATA), elsewhere that
// of the XDG base directories, where a relative XDG_DATA_HOME is ignored, as that standard asks.
std::filesystem::path UserDataFolder(const EnvironmentLookup& environment) {
#ifdef _WIN32
    const std::filesystem::path appData(environment("APPDATA"));
    return appData.is_absolute() ? appData : std::filesystem::path();
#else
    const std::filesystem::path xdg(environment("XDG_DATA_HOME"));
    if (xdg.is_absolute()) {
        return xdg;
    }
    const std::string home = environment("HOME");
    if (home.empty()) {
        return {};
    }
    return std::filesystem::path(home) / ".local" / "share";
#endif
}

bool SameFolder(const std::filesystem::path& a, const std::filesystem::path& b) {
    // "/usr/bin/" and "/usr/bin" are one folder.
    auto normal = [](const std::filesystem::path& p) {
        auto n = p.lexically_normal();
        return n.has_filename() ? n : n.parent_path();
    };
    return !a.empty() && normal(a) == normal(b);
}

}  // namespace

std::filesystem::path ChooseProgramFolder(const std::filesystem::path& executableFolder,
                                          const std::filesystem::path& installedProgramsFolder,
                                          const EnvironmentLookup& environment) {
    if (std::string home = environment("TESSELEX_HOME"); !home.empty()) {
        return std::filesystem::path(home);
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

std::filesystem::path InstalledProgramsFolder() {
    return std::filesystem::path(install_dirs::kPrograms);
}

std::filesystem::path InstalledDataFolder() {
    return std::filesystem::path(install_dirs::kData);
}

}  // namespace tesselex
