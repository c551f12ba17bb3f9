#include <cstdio>
#include <stdexcept>

#include "tests/support/ShellCommand.h"

namespace tesselex::test {

std::string RunShellCommand(const std::string& command, const std::filesystem::path& folder) {
    const std::string line = "cd '" + folder.string() + "' && " + command;
    FILE* pipe = popen(line.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run: " + command);
    }
    std::string out;
    char buffer[256];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe)) {
        out.append(buffer, got);
    }
    if (pclose(pipe) != 0) {
        throw std::runtime_error("failed: " + command);
    }
    return out;
}

}  // namespace tesselex::test
