// Wine hands a Unix program no process handle, so no exit status either: the shell prints its
// command's status on a line of its own after the output.

#include <stdexcept>
#include <string_view>

#include "tests/support/ShellCommand.h"
#include "tests/support/WineUnix.h"

namespace tesselex::test {

std::string RunShellCommand(const std::string& command) {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("no sockets to run: " + command);
    }
    std::string out;
    try {
        const SOCKET shell =
            wine::StartUnixProgram("/bin/sh", {"-c", command + "; printf '\\nstatus %d\\n' $?"});
        out = wine::ReadAll(shell, 60000);
        closesocket(shell);
    } catch (const std::exception&) {
        WSACleanup();
        throw;
    }
    WSACleanup();
    constexpr std::string_view kStatus = "\nstatus ";
    const std::size_t status = out.rfind(kStatus);
    if (status == std::string::npos || out.compare(status + kStatus.size(), 2, "0\n") != 0) {
        throw std::runtime_error("failed: " + command);
    }
    return out.substr(0, status);
}

std::string ShellPath(const std::filesystem::path& path) {
    return wine::UnixFileName(path);
}

}  // namespace tesselex::test
