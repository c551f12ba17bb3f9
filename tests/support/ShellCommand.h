#pragma once
// A command line of the machine's POSIX shell, for test helpers that use the machine's own tools
// (openssl): run by /bin/sh, on Windows under Wine the Unix shell Wine starts for the test.

#include <filesystem>
#include <string>

namespace tesselex::test {

// What the command printed on its standard output, run in `folder`. Throws std::runtime_error
// when it cannot be run or ends with another status than 0.
std::string RunShellCommand(const std::string& command, const std::filesystem::path& folder);

}  // namespace tesselex::test
