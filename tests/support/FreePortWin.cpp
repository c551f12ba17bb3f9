#include <winsock2.h>

#include <stdexcept>

#include "tests/support/FreePort.h"

namespace tesselex::test {

int UnusedLoopbackPort() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("no sockets");
    }
    const SOCKET sock = socket(AF_INET, SOCK_STREAM, 0);
    if (sock == INVALID_SOCKET) {
        WSACleanup();
        throw std::runtime_error("no socket");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    // Bound but never listening: the port is reserved by the system's choice, then released.
    const bool bound = bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                       getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    closesocket(sock);
    WSACleanup();
    if (!bound) {
        throw std::runtime_error("no free port");
    }
    return ntohs(address.sin_port);
}

}  // namespace tesselex::test
