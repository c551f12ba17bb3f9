// Starts a test script from a Windows test process under Wine, which runs the Linux Python when
// asked for a Unix program (tests/support/WineUnix.h): the script's standard input and output
// are one end of a loopback socket pair, its first line comes on it, and shutting down this end
// ends the script. A test process that dies closes the socket too.

#include <stdexcept>
#include <vector>

#include "tests/support/LoopbackScript.h"
#include "tests/support/WineUnix.h"

namespace tesselex::test {

struct LoopbackScript::Process {
    SOCKET control = INVALID_SOCKET;  // this end of the script's standard input and output
};

LoopbackScript::LoopbackScript(const std::string& script, const std::vector<std::string>& arguments)
    : process_(std::make_unique<Process>()) {
    std::vector<std::string> command = {script};
    command.insert(command.end(), arguments.begin(), arguments.end());
    process_->control = wine::StartUnixProgram(TESSELEX_PYTHON, command);
    firstLine_ = wine::ReadLine(process_->control, 30000);
    TakeFirstLine(script);
}

LoopbackScript::~LoopbackScript() {
    Stop();
}

void LoopbackScript::Stop() {
    if (process_->control == INVALID_SOCKET) {
        return;
    }
    // The script closes every connection on the end of its input, then exits: the end of its
    // output says it has gone.
    shutdown(process_->control, SD_SEND);
    while (!wine::ReadLine(process_->control, 10000).empty()) {
    }
    closesocket(process_->control);
    process_->control = INVALID_SOCKET;
}

std::string LoopbackScript::ScriptPath(const std::filesystem::path& path) {
    return wine::UnixFileName(path);
}

}  // namespace tesselex::test
