#include "tests/support/LoopbackFtpServer.h"

#include <cstdlib>
#include <stdexcept>

#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex::test {

std::string ProtocolTestName(UploadProtocol protocol) {
    std::string name = TextToUtf8(UploadProtocolName(protocol));
    std::erase(name, '-');
    return name;
}

LoopbackFtpServer::LoopbackFtpServer(std::string user, std::string password,
                                     UploadProtocol protocol,
                                     const std::filesystem::path& certificate,
                                     std::vector<std::string> options)
    : user_(std::move(user)),
      password_(std::move(password)),
      protocol_(protocol),
      certificate_(certificate.string()),
      options_(std::move(options)) {
    std::vector<std::string> arguments = {user_, password_, LoopbackScript::ScriptPath(Root())};
    for (const std::string& option : Options()) {
        arguments.push_back(option);
    }
    try {
        script_ = std::make_unique<LoopbackScript>(Script(), arguments);
    } catch (const std::runtime_error&) {
        // Said below, with what the server needs.
    }
    TakePort(script_ ? script_->FirstLine() : std::string());
}

LoopbackFtpServer::~LoopbackFtpServer() {
    Stop();
}

void LoopbackFtpServer::Stop() {
    if (script_) {
        script_->Stop();
    }
}

void LoopbackFtpServer::TakePort(const std::string& firstLine) {
    port_ = std::atoi(firstLine.c_str());
    const std::size_t blank = firstLine.find(' ');
    if (blank != std::string::npos) {
        hostKey_ = firstLine.substr(blank + 1);
    }
    // The server listens before it prints its port, so a port read means it is up.
    if (port_ <= 0) {
        Stop();
        throw std::runtime_error(std::string("loopback upload server did not start (") +
                                 TESSELEX_PYTHON +
                                 " with pyftpdlib, pyOpenSSL and paramiko is needed)");
    }
}

std::string LoopbackFtpServer::Script() const {
    return protocol_ == UploadProtocol::Sftp ? TESSELEX_SFTP_SERVER_SCRIPT
                                             : TESSELEX_FTP_SERVER_SCRIPT;
}

std::vector<std::string> LoopbackFtpServer::Options() const {
    std::vector<std::string> options = {TextToUtf8(UploadProtocolName(protocol_))};
    if (!certificate_.empty()) {
        options.push_back(LoopbackScript::ScriptPath(certificate_));
    }
    options.insert(options.end(), options_.begin(), options_.end());
    return options;
}

UploadTarget LoopbackFtpServer::Target() const {
    UploadTarget target;
    target.Protocol = protocol_;
    target.Server = ServerText();
    target.User = UserText();
    target.Password = PasswordText();
    return target;
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
