// Starts the loopback FTP server as a child process: its standard input a pipe kept open here,
// its first line read from a pipe on its standard output.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

#include "tests/support/LoopbackFtpServer.h"

namespace tesselex::test {
namespace {

// Reads the first line the child prints; gives up when nothing comes for `timeoutMs` or the
// child ends without a line.
std::string ReadFirstLine(int fd, int timeoutMs) {
    std::string line;
    pollfd pfd{fd, POLLIN, 0};
    char buffer[64];
    while (line.find('\n') == std::string::npos && poll(&pfd, 1, timeoutMs) > 0) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        line.append(buffer, static_cast<std::size_t>(got));
    }
    return line;
}

}  // namespace

struct LoopbackFtpServer::Process {
    pid_t pid = -1;
    int input = -1;  // the server serves until this closes
};

LoopbackFtpServer::LoopbackFtpServer(std::string user, std::string password,
                                     UploadProtocol protocol,
                                     const std::filesystem::path& certificate,
                                     std::vector<std::string> options)
    : user_(std::move(user)),
      password_(std::move(password)),
      protocol_(protocol),
      certificate_(certificate.string()),
      options_(std::move(options)),
      process_(std::make_unique<Process>()) {
    int output[2];
    int input[2];
    if (pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("loopback FTP server: no pipe");
    }
    if (pipe2(input, O_CLOEXEC) != 0) {
        close(output[0]);
        close(output[1]);
        throw std::runtime_error("loopback FTP server: no pipe");
    }
    process_->input = input[1];
    const std::string python = TESSELEX_PYTHON;
    const std::string root = root_.Path().string();
    // Everything exec needs is built before fork: only async-signal-safe calls follow it.
    std::vector<std::string> args = {python, Script(), user_, password_, root};
    for (const std::string& option : Options()) {
        args.push_back(option);
    }
    std::vector<char*> argv;
    for (auto& arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);

    process_->pid = fork();
    if (process_->pid == 0) {
        // The server must not outlive a test runner that crashes.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    const std::string line = process_->pid > 0 ? ReadFirstLine(output[0], 30000) : "";
    close(output[0]);
    TakePort(line);
}

LoopbackFtpServer::~LoopbackFtpServer() {
    Stop();
}

void LoopbackFtpServer::Stop() {
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

}  // namespace tesselex::test
