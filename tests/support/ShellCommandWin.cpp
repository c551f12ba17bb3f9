// Wine hands a Unix program no process handle, so no exit status either: the shell prints its
// command's status on a line of its own after the output.

#include <stdexcept>
#include <string_view>

#include "tests/support/ShellCommand.h"
#include "tests/support/WineUnix.h"

namespace tesselex::test {

std::string RunShellCommand(const std::string& command, const std::filesystem::path& folder) {
    const SOCKET shell =
        wine::StartUnixProgram("/bin/sh", {"-c", "cd '" + wine::UnixFileName(folder) + "' && " +
                                                     command + "; printf '\\nstatus %d\\n' $?"});
    const std::string out = wine::ReadAll(shell, 60000);
    closesocket(shell);
    constexpr std::string_view kStatus = "\nstatus ";
    const std::size_t status = out.rfind(kStatus);
    if (status == std::string::npos || out.compare(status + kStatus.size(), 2, "0\n") != 0) {
        throw std::runtime_error("failed: " + command);
    }
    return out.substr(0, status);
}

}  // namespace tesselex::test
