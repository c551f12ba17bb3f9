#pragma once
// The export application in a folder of a test's own: a program folder (TESSELEX_HOME) whose
// export.url names the loopback sample export server, the workfile named as the cataloguing
// client names it (NameClientWorkfile), its own settings location (XDG_CONFIG_HOME and
// QSettings's user path), runtime folder (XDG_RUNTIME_DIR) and policy file (TESSELEX_POLICY_FILE,
// policy.conf in the test's folder, absent until a test writes it), a D-Bus session address
// that names no bus (so no credential store answers tesselex-cli: the user's keyring is never
// touched), and a settings file with the destination set. Nothing else of the user's is read or
// written; the environment and the settings location are put back afterwards. Shared by the
// engine, tesselex-cli and window tests, with the records and the tesselex-cli runner they use.

#include <QString>
#include <QVariant>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/engine/Settings.h"
#include "app/sampleserver/SampleExportServer.h"
#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"

namespace tesselex::test {

// An ISO 2709 record built from (tag, data) pairs.
std::string BuildRecord(const std::vector<std::pair<std::string, std::string>>& fields,
                        char type = 'x');
// A holdings record whose 004 holds the link ("" leaves 004 out).
std::string HoldingsRecord(const std::string& link);
// Writes beside the path and renames, so a poller never reads a half-written file.
void PlaceFile(const std::filesystem::path& path, const std::string& bytes);

struct CliResult {
    int Status = -1;
    std::string Out;
};
// Runs a POSIX shell script in which $CLI is tesselex-cli; its stdout and exit status. The
// sandbox's environment is what the program inherits.
CliResult RunCliScript(const std::string& script);
// Why a test that drives tesselex-cli through a shell script does not run on Windows, where the
// tests run under Wine without a POSIX shell (it skips with these words).
inline constexpr std::string_view kNoShell =
    "drives tesselex-cli through a POSIX shell script; the Windows tests run under Wine, which "
    "has none";

class ExportSandbox {
  protected:
    ExportSandbox();
    ~ExportSandbox();
    ExportSandbox(const ExportSandbox&) = delete;
    ExportSandbox& operator=(const ExportSandbox&) = delete;

    // Names the workfile as the cataloguing client does: in cat.ini in the program folder; on
    // Windows, which reads a bare cat.ini from the Windows folder every test shares, in the user's
    // registry value (put back afterwards; the suites using it take turns, tests/CMakeLists.txt).
    // An empty path names none.
    void NameClientWorkfile(const std::filesystem::path& workfile);
    std::string SampleReply(const std::string& holdings = "interleaved") const;
    std::string Delivered() const;  // "" when nothing was delivered
    std::vector<std::string> ExportRequests() const;

    TempDir dir_;
    std::filesystem::path home_;
    ScopedEnv homeEnv_;
    ScopedEnv configEnv_;
    ScopedEnv runtimeEnv_;
    ScopedEnv policyEnv_;   // the machine's policy file: none unless a test writes it
    ScopedEnv busEnv_;      // no D-Bus session: no Secret Service
    QString settingsPath_;  // put back at the end
    std::filesystem::path workfile_;
    std::filesystem::path destination_;
    SampleExportServer server_;
    std::unique_ptr<Settings> settings_;
    const std::string bibId_ = "12515882";
#ifdef _WIN32
    QVariant clientBefore_;
#endif
};

}  // namespace tesselex::test
