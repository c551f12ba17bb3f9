#pragma once
// Two HTTPS export servers on 127.0.0.1 for tests, run by the system Python
// (LoopbackHttpsServer.py, started as LoopbackScript.h says, so under Wine too): one with a
// certificate signed by a test certificate authority, one with a self-signed certificate, both
// for 127.0.0.1 and localhost and made afresh by openssl at start. Every GET is answered 200
// with the body "secure " and the path with its query. The constructor returns once both
// serve; the destructor ends them and removes the certificates.

#include <filesystem>
#include <string>

#include "tests/support/LoopbackScript.h"
#include "tests/support/TempDir.h"

namespace tesselex::test {

class LoopbackHttpsServer {
  public:
    // Throws std::runtime_error when the servers cannot be started (no Python, no openssl).
    LoopbackHttpsServer();

    // "https://HOST:<port>" and the path of the server whose certificate the authority signed,
    // or of the self-signed one.
    std::u16string SignedUrl(const std::string& pathAndQuery,
                             const std::string& host = "127.0.0.1") const;
    std::u16string SelfSignedUrl(const std::string& pathAndQuery,
                                 const std::string& host = "127.0.0.1") const;
    int SelfSignedPort() const { return selfPort_; }
    // "sha256//<base64>" of each server's public key, as openssl computes it.
    const std::string& SignedPin() const { return signedPin_; }
    const std::string& SelfSignedPin() const { return selfPin_; }
    // The authority's certificate (PEM), the CA file that verifies the signed server.
    std::filesystem::path Authority() const { return dir_ / "ca.pem"; }

  private:
    TempDir dir_;
    LoopbackScript script_;
    int signedPort_ = 0;
    int selfPort_ = 0;
    std::string signedPin_;
    std::string selfPin_;
};

}  // namespace tesselex::test
