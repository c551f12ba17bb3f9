#pragma once
// Certificates for the loopback TLS servers, made with the machine's openssl program when the
// test runs (under Wine too, through the Unix shell: ShellCommand.h):
// a certificate authority, a server certificate it signed and a self-signed one, both for
// 127.0.0.1 and localhost. Each server PEM holds the certificate and its key, as the servers
// load it.

#include <filesystem>
#include <string>

#include "tests/support/TempDir.h"

namespace tesselex::test {

class TestCertificates {
  public:
    // Throws std::runtime_error when openssl fails.
    TestCertificates();
    // One set for the whole test program: openssl is slow to make keys.
    static const TestCertificates& Shared();

    std::filesystem::path Authority() const { return dir_ / "ca.pem"; }  // the CA's certificate
    std::filesystem::path Signed() const { return dir_ / "signed.pem"; }
    std::filesystem::path SelfSigned() const { return dir_ / "self.pem"; }
    // "sha256//<base64>" of a server PEM's public key, as openssl computes it.
    std::string Pin(const std::filesystem::path& pem) const;

  private:
    std::string Run(const std::string& command) const;
    TempDir dir_;
};

}  // namespace tesselex::test
