#include "tests/support/FreePort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace tesselex::test {
namespace {

// A socket bound to a loopback port the system chose, and that port; throws when there is none.
int BoundLoopbackSocket(int& port) {
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    if (sock < 0) {
        throw std::runtime_error("no socket");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(sock);
        throw std::runtime_error("no free port");
    }
    port = ntohs(address.sin_port);
    return sock;
}

}  // namespace

int UnusedLoopbackPort() {
    // Bound but never listening: the port is reserved by the system's choice, then released.
    int port = 0;
    close(BoundLoopbackSocket(port));
    return port;
}

SilentLoopbackPort::SilentLoopbackPort() {
    const int sock = BoundLoopbackSocket(port_);  // in the body: port_ is initialised after socket_
    socket_ = static_cast<std::uintptr_t>(sock);
    if (listen(sock, 1) != 0) {
        close(sock);
        throw std::runtime_error("no listening socket");
    }
}

SilentLoopbackPort::~SilentLoopbackPort() {
    close(static_cast<int>(socket_));
}

}  // namespace tesselex::test
