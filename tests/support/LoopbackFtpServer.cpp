#include "tests/support/LoopbackFtpServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

#include "config/Strings.h"

namespace tesselex::test {
namespace {

// Binds port 0 itself and prints the port it got, so there is no race for a free port.
constexpr const char* kServerScript = R"(
import logging, sys
from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer
logging.basicConfig(level=logging.WARNING)
user, password, root = sys.argv[1:4]
authorizer = DummyAuthorizer()
authorizer.add_user(user, password, root, perm="elradfmwMT")
authorizer.add_user("reader", password, root, perm="elr")
class Handler(FTPHandler):
    def ftp_STOR(self, file, mode="w"):
        # An upload named cut* loses its connection half way.
        if file.rsplit("/", 1)[-1].startswith("cut"):
            self.close()
            return
        return FTPHandler.ftp_STOR(self, file, mode)
Handler.authorizer = authorizer
Handler.auth_failed_timeout = 0
server = FTPServer(("127.0.0.1", 0), Handler)
print(server.address[1], flush=True)
server.serve_forever()
)";

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

LoopbackFtpServer::LoopbackFtpServer(std::string user, std::string password)
    : user_(std::move(user)), password_(std::move(password)) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        throw std::runtime_error("loopback FTP server: no pipe");
    }
    const std::string python = TESSELEX_PYTHON;
    const std::string root = root_.Path().string();
    // Everything exec needs is built before fork: only async-signal-safe calls follow it.
    std::vector<std::string> args = {python, "-c", kServerScript, user_, password_, root};
    std::vector<char*> argv;
    for (auto& arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);

    pid_ = fork();
    if (pid_ < 0) {
        close(pipeFds[0]);
        close(pipeFds[1]);
        throw std::runtime_error("loopback FTP server: fork failed");
    }
    if (pid_ == 0) {
        // The server must not outlive a test runner that crashes.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(pipeFds[1], STDOUT_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(pipeFds[1]);
    const std::string line = ReadFirstLine(pipeFds[0], 30000);
    close(pipeFds[0]);
    try {
        port_ = std::stoi(line);
    } catch (const std::exception&) {
        port_ = 0;
    }
    // The server listens before it prints its port, so a port read means it is up.
    if (port_ <= 0) {
        Stop();
        throw std::runtime_error("loopback FTP server did not start (" + python +
                                 " with pyftpdlib is needed)");
    }
}

LoopbackFtpServer::~LoopbackFtpServer() {
    Stop();
}

void LoopbackFtpServer::Stop() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        int status = 0;
        while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
    }
}

std::string LoopbackFtpServer::Address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::u16string LoopbackFtpServer::ServerText() const {
    return FromAscii(Address());
}
std::u16string LoopbackFtpServer::UserText() const {
    return FromAscii(user_);
}
std::u16string LoopbackFtpServer::PasswordText() const {
    return FromAscii(password_);
}

}  // namespace tesselex::test
