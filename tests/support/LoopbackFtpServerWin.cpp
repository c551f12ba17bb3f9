// Starts the loopback upload server from a Windows test process under Wine, which runs the Linux
// Python when asked for a Unix program (tests/support/WineUnix.h): the server's standard input
// and output are one end of a loopback socket pair, its first line is the port, and shutting
// down this end ends it. A test process that dies closes the socket too.

#include "tests/support/LoopbackFtpServer.h"
#include "tests/support/WineUnix.h"

namespace tesselex::test {

struct LoopbackFtpServer::Process {
    SOCKET control = INVALID_SOCKET;  // this end of the server's standard input and output
};

LoopbackFtpServer::LoopbackFtpServer(std::string user, std::string password,
                                     UploadProtocol protocol,
                                     const std::filesystem::path& certificate,
                                     std::vector<std::string> options)
    : user_(std::move(user)),
      password_(std::move(password)),
      protocol_(protocol),
      options_(std::move(options)),
      process_(std::make_unique<Process>()) {
    // The server is a Unix program: every path it is given is a Unix one.
    if (!certificate.empty()) {
        certificate_ = wine::UnixFileName(certificate);
    }
    std::vector<std::string> arguments = {Script(), user_, password_, wine::UnixFileName(Root())};
    for (const std::string& option : Options()) {
        arguments.push_back(option);
    }
    process_->control = wine::StartUnixProgram(TESSELEX_PYTHON, arguments);
    TakePort(wine::ReadLine(process_->control, 30000));
}

LoopbackFtpServer::~LoopbackFtpServer() {
    Stop();
}

void LoopbackFtpServer::Stop() {
    if (process_->control == INVALID_SOCKET) {
        return;
    }
    // The server closes every connection on the end of its input, then exits: the end of its
    // output says it has gone.
    shutdown(process_->control, SD_SEND);
    while (!wine::ReadLine(process_->control, 10000).empty()) {
    }
    closesocket(process_->control);
    process_->control = INVALID_SOCKET;
}

}  // namespace tesselex::test
