// Starts a test script as a child process: its standard input a pipe kept open here, its first
// line read from a pipe on its standard output (LoopbackScript.h).

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "tests/support/LoopbackScript.h"

namespace tesselex::test {

struct LoopbackScript::Process {
    pid_t pid = -1;
    int input = -1;  // the script serves until this closes
};

LoopbackScript::LoopbackScript(const std::string& script, const std::vector<std::string>& arguments)
    : process_(std::make_unique<Process>()) {
    int output[2];
    int input[2];
    if (pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("loopback script: no pipe");
    }
    if (pipe2(input, O_CLOEXEC) != 0) {
        close(output[0]);
        close(output[1]);
        throw std::runtime_error("loopback script: no pipe");
    }
    process_->input = input[1];
    // Everything exec needs is built before fork: only async-signal-safe calls follow it.
    std::vector<std::string> args = {TESSELEX_PYTHON, script};
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    process_->pid = fork();
    if (process_->pid == 0) {
        // The script must not outlive a test runner that crashes.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    pollfd pfd{output[0], POLLIN, 0};
    char buffer[256];
    while (process_->pid > 0 && firstLine_.find('\n') == std::string::npos &&
           poll(&pfd, 1, 30000) > 0) {
        const ssize_t got = read(output[0], buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        firstLine_.append(buffer, static_cast<std::size_t>(got));
    }
    close(output[0]);
    TakeFirstLine(script);
}

LoopbackScript::~LoopbackScript() {
    Stop();
}

void LoopbackScript::Stop() {
    if (process_->pid > 0) {
        kill(process_->pid, SIGKILL);
        int status = 0;
        while (waitpid(process_->pid, &status, 0) < 0 && errno == EINTR) {
        }
        process_->pid = -1;
    }
    if (process_->input >= 0) {
        close(process_->input);
        process_->input = -1;
    }
}

std::string LoopbackScript::ScriptPath(const std::filesystem::path& path) {
    return path.string();
}

}  // namespace tesselex::test
