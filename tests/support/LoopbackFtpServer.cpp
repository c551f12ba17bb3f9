#include "tests/support/LoopbackFtpServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <thread>
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
class Handler(FTPHandler):
    pass
Handler.authorizer = authorizer
Handler.auth_failed_timeout = 0
server = FTPServer(("127.0.0.1", 0), Handler)
print(server.address[1], flush=True)
server.serve_forever()
)";

// Reads the first line the child prints, waiting at most `timeout`.
std::string ReadFirstLine(int fd, std::chrono::milliseconds timeout) {
    std::string line;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (line.find('\n') == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            break;
        }
        pollfd pfd{fd, POLLIN, 0};
        const int ready = poll(&pfd, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            break;
        }
        char buffer[64];
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        line.append(buffer, static_cast<std::size_t>(got));
    }
    return line;
}

bool Accepts(int port) {
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    if (sock < 0) {
        return false;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(sock);
    return ok;
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
    const std::string line = ReadFirstLine(pipeFds[0], std::chrono::seconds(30));
    close(pipeFds[0]);
    try {
        port_ = std::stoi(line);
    } catch (const std::exception&) {
        port_ = 0;
    }
    bool up = false;
    for (int i = 0; port_ > 0 && i < 500 && !up; ++i) {
        up = Accepts(port_);
        if (!up) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    if (!up) {
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
