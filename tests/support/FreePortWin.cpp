#include <winsock2.h>

#include <stdexcept>

#include "tests/support/FreePort.h"

namespace tesselex::test {
namespace {

// A socket bound to a loopback port the system chose, and that port; throws when there is none.
// Each socket holds its own start of the socket library, given back by Close.
SOCKET BoundLoopbackSocket(int& port) {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("no sockets");
    }
    const SOCKET sock = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (sock == INVALID_SOCKET ||
        bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        closesocket(sock);
        WSACleanup();
        throw std::runtime_error("no free port");
    }
    port = ntohs(address.sin_port);
    return sock;
}

void Close(SOCKET sock) {
    closesocket(sock);
    WSACleanup();
}

}  // namespace

int UnusedLoopbackPort() {
    // Bound but never listening: the port is reserved by the system's choice, then released.
    int port = 0;
    Close(BoundLoopbackSocket(port));
    return port;
}

SilentLoopbackPort::SilentLoopbackPort() {
    socket_ = BoundLoopbackSocket(port_);  // in the body: port_ is initialised after socket_
    if (listen(socket_, 1) != 0) {
        Close(socket_);
        throw std::runtime_error("no listening socket");
    }
}

SilentLoopbackPort::~SilentLoopbackPort() {
    Close(socket_);
}

}  // namespace tesselex::test
