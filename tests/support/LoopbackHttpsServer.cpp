#include "tests/support/LoopbackHttpsServer.h"

#include <sstream>
#include <stdexcept>

#include "config/Strings.h"

namespace tesselex::test {

LoopbackHttpsServer::LoopbackHttpsServer()
    : script_(TESSELEX_HTTPS_SERVER_SCRIPT, {LoopbackScript::ScriptPath(dir_.Path())}) {
    std::istringstream line(script_.FirstLine());
    line >> signedPort_ >> selfPort_ >> signedPin_ >> selfPin_;
    if (signedPort_ <= 0 || selfPort_ <= 0 || !selfPin_.starts_with("sha256//")) {
        throw std::runtime_error("loopback HTTPS server did not start: " + script_.FirstLine());
    }
}

std::u16string LoopbackHttpsServer::SignedUrl(const std::string& pathAndQuery,
                                              const std::string& host) const {
    return FromAscii("https://" + host + ":" + std::to_string(signedPort_) + pathAndQuery);
}

std::u16string LoopbackHttpsServer::SelfSignedUrl(const std::string& pathAndQuery,
                                                  const std::string& host) const {
    return FromAscii("https://" + host + ":" + std::to_string(selfPort_) + pathAndQuery);
}

}  // namespace tesselex::test
