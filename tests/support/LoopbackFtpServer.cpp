#include "tests/support/LoopbackFtpServer.h"

#include <cstdlib>
#include <stdexcept>

#include "config/Strings.h"

namespace tesselex::test {

void LoopbackFtpServer::TakePort(const std::string& firstLine) {
    port_ = std::atoi(firstLine.c_str());
    // The server listens before it prints its port, so a port read means it is up.
    if (port_ <= 0) {
        Stop();
        throw std::runtime_error(std::string("loopback FTP server did not start (") +
                                 TESSELEX_PYTHON + " with pyftpdlib is needed)");
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
