#include "tests/support/TempDir.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace tesselex::test {

TempDir::TempDir() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "tesselex-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot create a temporary folder");
    }
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

}  // namespace tesselex::test
