#include "tests/support/FreePort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace tesselex::test {

int UnusedLoopbackPort() {
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    if (sock < 0) {
        throw std::runtime_error("no socket");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    // Bound but never listening: the port is reserved by the system's choice, then released.
    if (bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(sock);
        throw std::runtime_error("no free port");
    }
    close(sock);
    return ntohs(address.sin_port);
}

}  // namespace tesselex::test
