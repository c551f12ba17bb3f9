#include "tests/support/TestCertificates.h"

#include "tests/support/ShellCommand.h"
#include "tests/support/TestData.h"

namespace tesselex::test {

TestCertificates::TestCertificates() {
    const std::string key = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2";
    const std::string names = "subjectAltName=IP:127.0.0.1,DNS:localhost";
    WriteBytes(dir_ / "names.ext", names + "\n");
    Run("openssl req -x509" + key + " -subj /CN=TESSELEX-test-CA -keyout ca.key -out ca.pem");
    Run("openssl req" + key + " -subj /CN=localhost -keyout signed.key -out signed.csr");
    Run("openssl x509 -req -days 2 -in signed.csr -CA ca.pem -CAkey ca.key -CAcreateserial"
        " -extfile names.ext -out signed.crt");
    Run("openssl req -x509" + key + " -subj /CN=localhost -addext " + names +
        " -keyout self.key -out self.crt");
    WriteBytes(Signed(), ReadBytes(dir_ / "signed.crt") + ReadBytes(dir_ / "signed.key"));
    WriteBytes(SelfSigned(), ReadBytes(dir_ / "self.crt") + ReadBytes(dir_ / "self.key"));
}

const TestCertificates& TestCertificates::Shared() {
    static const TestCertificates certificates;
    return certificates;
}

std::string TestCertificates::Pin(const std::filesystem::path& pem) const {
    std::string base64 =
        RunShellCommand("openssl x509 -in '" + pem.filename().string() +
                            "' -pubkey -noout | openssl pkey -pubin -outform der"
                            " | openssl dgst -sha256 -binary | openssl enc -base64",
                        pem.parent_path());
    while (!base64.empty() && (base64.back() == '\n' || base64.back() == '\r')) {
        base64.pop_back();
    }
    return "sha256//" + base64;
}

std::string TestCertificates::Run(const std::string& command) const {
    return RunShellCommand(command + " 2>/dev/null", dir_.Path());
}

}  // namespace tesselex::test
