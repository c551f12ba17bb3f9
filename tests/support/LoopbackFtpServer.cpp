#include "tests/support/LoopbackFtpServer.h"

#include "config/Strings.h"

namespace tesselex::test {

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
